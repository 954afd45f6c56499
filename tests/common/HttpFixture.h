#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpServer>
#include <QTcpSocket>

// A loopback HTTP peer for the failures a well-behaved server does not produce. It answers
// every request the same way: with one canned response, or not at all (silence), or with
// one of the hostile answers below (an endless body, a trickle, a redirect that never ends
// or leads somewhere silent, a chain of redirects of a given length). Counts the requests it
// saw and the body bytes it sent.
class HttpFixture : public QObject
{
    Q_OBJECT
public:
    explicit HttpFixture(QObject *parent = nullptr);

    bool listen(quint16 port = 0);
    quint16 port() const { return m_server.serverPort(); }
    QString baseURL() const;

    // The response to send: status line, headers and body. An empty status means "hold the
    // connection open and say nothing".
    void respond(int status, const QByteArray &body, const QByteArray &extraHeaders = {});
    void stayQuiet() { respond(0, {}); }
    // Holds each canned response back this long after its request has arrived (a slow server).
    void setResponseDelay(int milliseconds) { m_delay = milliseconds; }

    // A 200 with headers and then a body without end, sent as fast as the peer reads it (never
    // more than a little ahead of it, so the fixture's own memory stays flat).
    void streamEndlessly();
    // A 200 whose body comes one byte every `intervalMs` and never ends.
    void trickle(int intervalMs);
    // A redirect (`status`) to `base` followed by the path asked for: an empty base sends the
    // client back to the very address it asked for, for ever.
    void redirectTo(const QByteArray &base, int status = 301);
    // `hops` 302 redirects one after the other (/hop/1/<path>, /hop/2/<path>, …), then the
    // canned response of respond().
    void redirectChain(int hops);

    // These bytes, as they are, in answer to every request; then the connection is closed, or
    // reset (a TCP RST, the way a dropped connection or a crashed server ends).
    enum class Ending { Close, Reset };
    void respondRaw(const QByteArray &bytes, Ending ending = Ending::Close);

    int requestCount() const { return m_requests.size(); }
    QList<QByteArray> requests() const { return m_requests; }
    // Bytes of endless and trickled bodies handed to the sockets so far.
    qint64 bodyBytesSent() const { return m_bodyBytesSent; }

Q_SIGNALS:
    // A peer hung up on an endless or trickled body after `bodyBytes` of it.
    void streamClosed(qint64 bodyBytes);

private:
    enum class Mode { Canned, Endless, Trickle, Redirect, Chain, Raw };

    void readRequest(QTcpSocket *socket);
    void answer(QTcpSocket *socket, const QByteArray &target);
    void startStream(QTcpSocket *socket);

    QTcpServer m_server;
    QList<QByteArray> m_requests;
    Mode m_mode = Mode::Canned;
    int m_status = 200;
    int m_delay = 0;
    QByteArray m_body;
    QByteArray m_extraHeaders;
    int m_interval = 0;
    QByteArray m_location;
    int m_hops = 0;
    qint64 m_bodyBytesSent = 0;
    Ending m_ending = Ending::Close;
};
