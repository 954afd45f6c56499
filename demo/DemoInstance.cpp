#include "DemoInstance.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QTimer>

DemoInstance::DemoInstance(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QLocalServer::newConnection, this, &DemoInstance::takeConnection);
}

QString DemoInstance::socketName()
{
    // $XDG_RUNTIME_DIR, or a folder Qt makes for the user alone (and checks is theirs).
    return QDir(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation))
        .filePath(QStringLiteral("ostquote-demo.socket"));
}

bool DemoInstance::handOver(const QString &link, QString *error)
{
    error->clear();
    QLocalSocket socket;
    socket.connectToServer(socketName());
    if (!socket.waitForConnected(1000))
        return false;
    socket.write(link.toUtf8() + '\n');
    // The window answers once it has the link; a busy one gets a few seconds in all.
    const QDeadlineTimer deadline(PeerTimeout);
    QByteArray answer;
    while (!answer.contains('\n') && answer.size() <= MaximumLineLength && !deadline.hasExpired()
           && socket.waitForReadyRead(int(deadline.remainingTime())))
        answer += socket.read(MaximumLineLength + 1 - answer.size());
    if (answer == "ok\n")
        return true;
    *error = answer == "refused\n"
        ? QStringLiteral("the demo already running refused \"%1\": not a link to a day it knows").arg(link)
        : QStringLiteral("the demo already running (%1) did not take the link").arg(socketName());
    return false;
}

bool DemoInstance::listen(QString *error)
{
    // Made aside and moved into place, the socket replaces one a demo that died left behind
    // (handOver() found nobody on it); only its user may connect.
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    if (m_server.listen(socketName()))
        return true;
    *error = QStringLiteral("cannot listen on %1: %2").arg(socketName(), m_server.errorString());
    return false;
}

void DemoInstance::takeConnection()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        auto *deadline = new QTimer(socket);
        deadline->setSingleShot(true);
        connect(deadline, &QTimer::timeout, socket, &QLocalSocket::abort);
        deadline->start(PeerTimeout);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket]() {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > MaximumLineLength)
                    socket->abort();
                return;
            }
            const QByteArray line = socket->readLine(MaximumLineLength + 1);
            if (!line.endsWith('\n')) {
                socket->abort();
                return;
            }
            const bool taken = !m_handler || m_handler(QString::fromUtf8(line.chopped(1)).trimmed());
            socket->write(taken ? "ok\n" : "refused\n");
            socket->disconnectFromServer();
        });
    }
}
