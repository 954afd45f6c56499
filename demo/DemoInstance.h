#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

// One demo window per user. The first start listens on a local socket of the user's own
// (in $XDG_RUNTIME_DIR, else in the temporary folder under the user's id); a later start
// hands its link to that window, which comes forward and opens the day, and ends.
//
// The exchange is one line each way: the link (empty for "come forward"), then "ok" once
// the window has taken it. A peer that sends more than a line of MaximumLineLength bytes, or
// nothing for PeerTimeout, is dropped.
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
    // (`error` empty) or when it did not answer (`error` says so).
    static bool handOver(const QString &link, QString *error);

    // Starts listening, taking over a socket left by a demo that ended without removing it.
    bool listen(QString *error);

Q_SIGNALS:
    // A later start handed over `link` (empty when it had none).
    void linkReceived(const QString &link);

private:
    void takeConnection();

    QLocalServer m_server;
};
