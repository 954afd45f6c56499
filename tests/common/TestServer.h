#pragma once

#include <QDateTime>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

// The real ostquote-server, started on a free loopback port with its own database in a
// temporary directory and a pinned clock and zone.
class TestServer
{
public:
    struct Options
    {
        QDateTime now;                 // the server's clock starts here
        QString timeZone = QStringLiteral("UTC");
        QString database;              // empty: a fresh SQLite file in a temporary directory
        QStringList extraArguments;
    };

    TestServer() = default;
    ~TestServer();

    // Starts the server and waits for its "listening" line. False (with the reason in
    // errorString()) when it did not come up.
    bool start(const Options &options);
    void stop();

    QUrl baseURL() const { return m_baseURL; }
    quint16 port() const { return quint16(m_baseURL.port()); }
    QString errorString() const { return m_error; }
    QString databasePath() const;
    // One line per request the server answered, flushed every ~200 ms.
    QString accessLogPath() const;

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QProcess> m_process;
    QUrl m_baseURL;
    QString m_error;
};

// A port on 127.0.0.1 on which nothing listens.
quint16 ot_unusedLoopbackPort();
