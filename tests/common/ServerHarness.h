#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QUrl>
#include <QJsonDocument>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTcpSocket>

#include <memory>
#include <optional>

// The one harness for tests that need the real ostquote-server: the binary on a loopback
// port, with its clock and zone pinned through OSTQUOTE_NOW / OSTQUOTE_TIME_ZONE and
// --time-zone, its files in a directory the test owns. A server outlives no test.
//
// ServerProcess is the server itself, for the server's own tests; TestServer is the same in a
// temporary directory of its own, for the tests of its clients.
class ServerProcess
{
public:
    struct Options
    {
        QString now = QStringLiteral("2016-10-03T09:00:00+08:00");
        QString timeZone = QStringLiteral("Asia/Shanghai");
        QString database;          // empty: sqlite:<directory>/quotes.sqlite
        QStringList arguments;     // more options
        // The access log on the server's standard output (--access-log -), which is then a
        // pipe that the test reads only through readOutput(); else a file in the directory.
        bool logToPipe = false;
        // The server's open-file limits (soft, hard), when not 0: as a service manager sets them.
        unsigned long openFilesSoft = 0;
        unsigned long openFilesHard = 0;
    };

    explicit ServerProcess(const QString &directory);
    ~ServerProcess();

    // Starts the server and reads its "listening on" line. False, with the reason in
    // errorString(), when it did not come up within a few seconds.
    bool start(const Options &options);
    bool start() { return start(Options()); }
    // The clock at `now` in `timeZone`, with more options.
    bool start(const QString &now, const QString &timeZone, const QStringList &arguments = {})
    {
        Options options;
        options.now = now;
        options.timeZone = timeZone;
        options.arguments = arguments;
        return start(options);
    }
    // The default clock and zone, with more options.
    bool start(const QStringList &arguments)
    {
        Options options;
        options.arguments = arguments;
        return start(options);
    }
    // SIGTERM, then waits for a clean exit. False when it did not exit cleanly.
    bool stop();
    // SIGTERM without waiting: stop() or waitForExit() then collects the exit.
    void requestStop();
    // The exit status once the server has ended by itself within `timeoutMs`; -1 when it
    // crashed or is still running (it is then killed).
    int waitForExit(int timeoutMs);

    // With logToPipe: what the server wrote to its standard output after the "listening
    // on" line, read until the server's end of the pipe closes or `timeoutMs` passes.
    QByteArray readOutput(int timeoutMs);
    // Everything the server wrote to its standard error so far.
    QByteArray errorOutput() const;

    quint16 port() const { return m_port; }
    QString baseURL() const { return m_baseURL; }
    QString accessLogPath() const;
    QString databaseURL() const { return m_databaseURL; }
    QString errorString() const { return m_error; }
    // Milliseconds since start() was called: how far the server's clock has run at most.
    qint64 elapsed() const { return m_sinceStart.elapsed(); }
    bool isRunning() const { return m_process && m_process->state() == QProcess::Running; }

private:
    QString m_directory;
    std::unique_ptr<QProcess> m_process;
    QElapsedTimer m_sinceStart;
    quint16 m_port = 0;
    QString m_baseURL;
    QString m_databaseURL;
    QString m_error;
    int m_outputFd = -1;       // the reading end of the server's standard output, with logToPipe
    QByteArray m_output;       // read from it and not yet handed out
};

// The server for the tests of its clients: a ServerProcess in a fresh temporary directory
// (database, access log, data home), its clock started at a QDateTime.
class TestServer
{
public:
    struct Options
    {
        QDateTime now;                 // the server's clock starts here
        QString timeZone = QStringLiteral("UTC");
        QString database;              // empty: a fresh SQLite file in the temporary directory
        QStringList extraArguments;
    };

    TestServer() = default;
    ~TestServer();

    // Starts the server and waits for its "listening" line. False (with the reason in
    // errorString()) when it did not come up.
    bool start(const Options &options);
    bool start(const QDateTime &now, const QString &timeZone = QStringLiteral("UTC"), const QStringList &extraArguments = {})
    {
        Options options;
        options.now = now;
        options.timeZone = timeZone;
        options.extraArguments = extraArguments;
        return start(options);
    }
    void stop();

    QUrl baseURL() const { return m_baseURL; }
    quint16 port() const { return quint16(m_baseURL.port()); }
    QString errorString() const { return m_error; }
    QString databasePath() const;
    // One line per request the server answered, flushed every ~200 ms.
    QString accessLogPath() const;
    // The quote API requests the server has answered, in order, from its access log: "today",
    // "batch" or a day key each.
    QStringList requestedQuotes() const;
    // Lines of the access log that contain `text` ("GET /media/quotes/2017-03-01.jpg").
    int accessLogLines(const QString &text) const;

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ServerProcess> m_process;
    QUrl m_baseURL;
    QString m_error;
};

// A port on 127.0.0.1 on which nothing listens.
quint16 ot_unusedLoopbackPort();

// Runs the binary to completion (for export and command-line errors).
struct ServerRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};
ServerRun runServer(const QStringList &arguments, const QString &now, const QString &timeZone,
                    const QString &dataHome = {});

// One HTTP/1.1 answer as read off the wire.
struct HttpResponse
{
    int status = 0;
    QByteArray statusLine;
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;

    bool hasHeader(const QByteArray &name) const;
    QByteArray header(const QByteArray &name) const;     // the first with that name, case-insensitively
    int headerCount(const QByteArray &name) const;
    QJsonDocument json() const { return QJsonDocument::fromJson(body); }
};

// A raw client connection, for exact control over the bytes and the connection's life.
class RawClient
{
public:
    bool connectTo(quint16 port);
    void send(const QByteArray &bytes);
    // Reads one answer; `head` for the answer to a HEAD request (no body whatever the
    // Content-Length). Nullopt when none arrives in time or the connection closes first.
    std::optional<HttpResponse> read(bool head = false, int timeoutMs = 10000);
    // True when the server closes the connection within `timeoutMs`.
    bool waitForClose(int timeoutMs);
    bool isOpen() const { return m_socket.state() == QAbstractSocket::ConnectedState; }
    // Bytes received and not yet read as an answer.
    QByteArray pending() const { return m_buffer; }

private:
    bool fill(int timeoutMs);

    QTcpSocket m_socket;
    QByteArray m_buffer;
};

// GET (or another method) on a fresh connection that asks to be closed afterwards.
HttpResponse request(quint16 port, const QByteArray &method, const QByteArray &target,
                     const QByteArray &extraHeaders = {});
inline HttpResponse get(quint16 port, const QByteArray &target, const QByteArray &extraHeaders = {})
{
    return request(port, "GET", target, extraHeaders);
}

// Writes a dataset file of (author, content, translation) triples; returns its path.
QString writeDataset(const QString &path, const QList<QStringList> &quotes);
