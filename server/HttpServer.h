#pragma once

#include <QString>

#include <chrono>
#include <memory>

class AccessLog;
class PictureService;
class SnapshotHolder;

// The HTTP/1.1 front, on Boost.Beast's parser and Asio. One event loop is run by one
// thread per core: whichever thread is free serves whichever connection is ready, so a
// thread that the system preempts leaves no connection waiting for it. Network threads
// only read the published snapshot: a request is parsed, looked up and answered with
// prepared bytes; a picture not yet in memory is drawn by the PictureService and answered
// when ready.
class HttpServer
{
public:
    struct Settings
    {
        QString host = QStringLiteral("127.0.0.1");
        quint16 port = 8080;
        int threads = 0;                                    // 0: one per core
        std::chrono::milliseconds idleTimeout{15000};      // idle keep-alive connections close after this
    };

    HttpServer(const Settings &settings, SnapshotHolder &snapshots, PictureService &pictures, AccessLog &log);
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    // Binds and listens; connections queue until start(). False, with the reason in
    // *error, when the address cannot be used (bad host, port in use, ...).
    bool listen(QString *error);
    // The bound address as http://HOST:PORT.
    QString url() const;
    quint16 port() const;

    // Starts the network threads.
    void start();
    // Closes every connection and stops the threads (the access log writes out their lines
    // when it closes).
    void stop();

    class Impl;

private:
    std::unique_ptr<Impl> d;
};
