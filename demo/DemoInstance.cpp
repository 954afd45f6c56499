#include "DemoInstance.h"

#include <QDir>
#include <QLocalSocket>
#include <QTimer>

#include <unistd.h>

DemoInstance::DemoInstance(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QLocalServer::newConnection, this, &DemoInstance::takeConnection);
}

QString DemoInstance::socketName()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir(runtime).exists())
        return QDir(runtime).filePath(QStringLiteral("ostquote-demo.socket"));
    return QDir(QDir::tempPath()).filePath(QStringLiteral("ostquote-demo-%1.socket").arg(::getuid()));
}

bool DemoInstance::handOver(const QString &link, QString *error)
{
    error->clear();
    QLocalSocket socket;
    socket.connectToServer(socketName());
    if (!socket.waitForConnected(1000))
        return false;
    socket.write(link.toUtf8() + '\n');
    // The window answers once it has the link; a busy one gets a few seconds.
    QByteArray answer;
    while (!answer.contains('\n') && socket.waitForReadyRead(PeerTimeout))
        answer += socket.readAll();
    if (answer.trimmed() == "ok")
        return true;
    *error = QStringLiteral("the demo already running (%1) did not take the link").arg(socketName());
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
            Q_EMIT linkReceived(QString::fromUtf8(line.chopped(1)).trimmed());
            socket->write("ok\n");
            socket->disconnectFromServer();
        });
    }
}
