#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

#include <functional>

// One demo window per user. The first start listens on a local socket of the user's own (in
// the user's runtime folder, which only the user may enter); a later start hands its link
// to that window, which comes forward and opens the day, and ends.
//
// The exchange is one line each way: the link (empty for "come forward"), then "ok" once
// the window has taken it, or "refused" when it is no link to a day. A peer that sends more
// than a line of MaximumLineLength bytes, or nothing for PeerTimeout, is dropped. Starts
// take the lock file "<socket>.lock" from their look for a window to their listening, so
// two starts at once give one window.
class DemoInstance : public QObject
{
    Q_OBJECT
public:
    static constexpr int MaximumLineLength = 4096;
    static constexpr int PeerTimeout = 5000; // ms

    explicit DemoInstance(QObject *parent = nullptr);

    // The socket's path.
    static QString socketName();
    // Gives `link` to the demo already running. True when it took it; false when none runs
    // (`error` empty), or when it refused the link or did not answer (`error` says so).
    static bool handOver(const QString &link, QString *error);

    // What the window does with a link handed over: true when it took it.
    void setHandler(std::function<bool(const QString &link)> handler) { m_handler = std::move(handler); }
    // Starts listening, taking over a socket left by a demo that ended without removing it.
    bool listen(QString *error);

private:
    void takeConnection();

    QLocalServer m_server;
    std::function<bool(const QString &)> m_handler;
};
