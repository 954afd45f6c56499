#include "HttpFixture.h"

#include <QTimer>

HttpFixture::HttpFixture(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this]() {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            socket->setParent(this);
            socket->setProperty("buffer", QByteArray());
            connect(socket, &QTcpSocket::readyRead, this, [this, socket]() { readRequest(socket); });
        }
    });
}

bool HttpFixture::listen()
{
    return m_server.listen(QHostAddress::LocalHost, 0);
}

QString HttpFixture::baseURL() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(port());
}

void HttpFixture::respond(int status, const QByteArray &body, const QByteArray &extraHeaders)
{
    m_status = status;
    m_body = body;
    m_extraHeaders = extraHeaders;
}

void HttpFixture::readRequest(QTcpSocket *socket)
{
    QByteArray buffer = socket->property("buffer").toByteArray() + socket->readAll();
    int end;
    while ((end = buffer.indexOf("\r\n\r\n")) >= 0) {
        m_requests.append(buffer.left(end));
        buffer.remove(0, end + 4);
        if (m_status == 0)
            continue;
        QByteArray response = "HTTP/1.1 " + QByteArray::number(m_status) + " Canned\r\n"
                              "Content-Type: application/json\r\n"
                              "Content-Length: " + QByteArray::number(m_body.size()) + "\r\n" + m_extraHeaders
                              + "\r\n" + m_body;
        if (m_delay > 0)
            QTimer::singleShot(m_delay, socket, [socket, response]() { socket->write(response); });
        else
            socket->write(response);
    }
    socket->setProperty("buffer", buffer);
}
