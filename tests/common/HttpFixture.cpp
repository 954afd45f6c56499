#include "HttpFixture.h"

#include <QTimer>

#include <sys/socket.h>

namespace {

constexpr qint64 kChunk = 64 * 1024;

} // namespace

HttpFixture::HttpFixture(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this]() {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            socket->setParent(this);
            socket->setProperty("buffer", QByteArray());
            connect(socket, &QTcpSocket::readyRead, this, [this, socket]() { readRequest(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

bool HttpFixture::listen(quint16 port)
{
    return m_server.listen(QHostAddress::LocalHost, port);
}

QString HttpFixture::baseURL() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(port());
}

void HttpFixture::respond(int status, const QByteArray &body, const QByteArray &extraHeaders)
{
    m_mode = Mode::Canned;
    m_status = status;
    m_body = body;
    m_extraHeaders = extraHeaders;
}

void HttpFixture::streamEndlessly()
{
    m_mode = Mode::Endless;
}

void HttpFixture::trickle(int intervalMs)
{
    m_mode = Mode::Trickle;
    m_interval = intervalMs;
}

void HttpFixture::redirectTo(const QByteArray &base, int status)
{
    m_mode = Mode::Redirect;
    m_location = base;
    m_status = status;
}

void HttpFixture::redirectChain(int hops)
{
    m_mode = Mode::Chain;
    m_hops = hops;
}

void HttpFixture::respondRaw(const QByteArray &bytes, Ending ending)
{
    m_mode = Mode::Raw;
    m_body = bytes;
    m_ending = ending;
}

void HttpFixture::readRequest(QTcpSocket *socket)
{
    QByteArray buffer = socket->property("buffer").toByteArray() + socket->readAll();
    int end;
    while ((end = buffer.indexOf("\r\n\r\n")) >= 0) {
        const QByteArray head = buffer.left(end);
        m_requests.append(head);
        buffer.remove(0, end + 4);
        // "GET /path HTTP/1.1"
        answer(socket, head.left(head.indexOf("\r\n")).split(' ').value(1));
    }
    socket->setProperty("buffer", buffer);
}

void HttpFixture::answer(QTcpSocket *socket, const QByteArray &target)
{
    const auto redirect = [socket](int status, const QByteArray &location) {
        socket->write("HTTP/1.1 " + QByteArray::number(status) + " Moved\r\n"
                      "Location: " + location + "\r\n"
                      "Content-Length: 0\r\n\r\n");
    };
    switch (m_mode) {
    case Mode::Canned:
    {
        if (m_status == 0)
            return;
        const QByteArray response = "HTTP/1.1 " + QByteArray::number(m_status) + " Canned\r\n"
                                    "Content-Type: application/json\r\n"
                                    "Content-Length: " + QByteArray::number(m_body.size()) + "\r\n"
                                    + m_extraHeaders + "\r\n" + m_body;
        if (m_delay > 0)
            QTimer::singleShot(m_delay, socket, [socket, response]() { socket->write(response); });
        else
            socket->write(response);
        return;
    }
    case Mode::Redirect:
        redirect(m_status, m_location + target);
        return;
    case Mode::Chain: {
        // /hop/<n>/<path>: the n-th redirect has been followed.
        int hop = 0;
        QByteArray path = target;
        if (target.startsWith("/hop/")) {
            const qsizetype slash = target.indexOf('/', 5);
            hop = target.mid(5, slash - 5).toInt();
            path = target.mid(slash);
        }
        if (hop < m_hops) {
            redirect(302, "/hop/" + QByteArray::number(hop + 1) + path);
            return;
        }
        const Mode chain = m_mode;
        m_mode = Mode::Canned;
        answer(socket, path);
        m_mode = chain;
        return;
    }
    case Mode::Raw:
        socket->write(m_body);
        socket->flush();
        if (m_ending == Ending::Reset) {
            // No lingering: closing sends a reset instead of the end of the stream.
            const ::linger noLinger{1, 0};
            ::setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &noLinger, sizeof noLinger);
            socket->abort();
        } else {
            socket->disconnectFromHost();
        }
        return;
    case Mode::Endless:
    case Mode::Trickle:
        startStream(socket);
        return;
    }
}

void HttpFixture::startStream(QTcpSocket *socket)
{
    // No length: the body runs until the connection closes, which the fixture never does.
    socket->write("HTTP/1.1 200 OK\r\n"
                  "Content-Type: application/json\r\n"
                  "Connection: close\r\n\r\n");
    const auto count = [this, socket](qint64 bytes) {
        socket->setProperty("sent", socket->property("sent").toLongLong() + bytes);
        m_bodyBytesSent += bytes;
    };
    connect(socket, &QTcpSocket::disconnected, this,
            [this, socket]() { Q_EMIT streamClosed(socket->property("sent").toLongLong()); });
    if (m_mode == Mode::Endless) {
        // A small kernel buffer and at most two chunks queued in the socket: the peer's reading
        // paces the stream.
        socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, int(kChunk));
        const QByteArray chunk(kChunk, ' ');
        const auto refill = [socket, count, chunk]() {
            while (socket->state() == QAbstractSocket::ConnectedState && socket->bytesToWrite() < kChunk)
                count(socket->write(chunk));
        };
        connect(socket, &QTcpSocket::bytesWritten, socket, refill);
        refill();
    } else {
        auto *timer = new QTimer(socket);
        connect(timer, &QTimer::timeout, socket, [socket, count]() {
            if (socket->state() == QAbstractSocket::ConnectedState)
                count(socket->write(" "));
        });
        timer->start(m_interval);
    }
}
