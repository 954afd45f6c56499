#pragma once

#include <QString>

#include <chrono>
#include <cstdint>
#include <memory>

class AccessLog;
class PictureService;
class SnapshotHolder;

// The HTTP/1.1 front, on Boost.Beast's parser and Asio. Each network thread (one per core
// by default) runs an event loop of its own with a listening socket of its own on the same
// port (SO_REUSEPORT), and serves the connections it accepted from start to end: nothing
// is shared between threads on the way of a request, no lock, no scheduler, no list of
// connections. Network threads only read the published snapshot: a request is parsed,
// looked up and answered with prepared bytes; a picture not yet in memory is drawn by the
// PictureService and answered when ready.
//
// When accept() runs out of file descriptors, a thread closes its oldest idle keep-alive
// connections to make room and accepts on.
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

    // What a stop did.
    struct StopReport
    {
        std::uint64_t answered = 0;     // requests answered after the stop began
        std::uint64_t idleClosed = 0;   // idle connections closed when it began
        std::uint64_t cut = 0;          // connections closed with a request or an answer unfinished
        bool timedOut = false;          // the grace period ran out
        bool aborted = false;           // stopNow() cut it short
    };
    // Stops accepting, closes idle connections, answers every request already received
    // (the rest of a pipelined batch included) and closes each connection once it has
    // nothing left to do; after `grace`, or at stopNow(), closes the rest. Then stops the
    // threads (the access log writes out their lines when it closes). Only the first
    // call does anything.
    StopReport stop(std::chrono::milliseconds grace = std::chrono::milliseconds(0));
    // From any thread, during stop(): ends the grace period now.
    void stopNow();

    class Impl;

private:
    std::unique_ptr<Impl> d;
};
