#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpServer>
#include <QTcpSocket>

// A loopback HTTP peer that answers every request with one canned response, or never
// answers at all: for the failures a well-behaved server does not produce (undecodable
// bodies, silence). Counts the requests it saw.
class HttpFixture : public QObject
{
    Q_OBJECT
public:
    explicit HttpFixture(QObject *parent = nullptr);

    bool listen();
    quint16 port() const { return m_server.serverPort(); }
    QString baseURL() const;

    // The response to send: status line, headers and body. An empty status means "hold the
    // connection open and say nothing".
    void respond(int status, const QByteArray &body, const QByteArray &extraHeaders = {});
    void stayQuiet() { m_status = 0; }
    // Holds each response back this long after its request has arrived (a slow server).
    void setResponseDelay(int milliseconds) { m_delay = milliseconds; }

    int requestCount() const { return m_requests.size(); }
    QList<QByteArray> requests() const { return m_requests; }

private:
    void readRequest(QTcpSocket *socket);

    QTcpServer m_server;
    QList<QByteArray> m_requests;
    int m_status = 200;
    int m_delay = 0;
    QByteArray m_body;
    QByteArray m_extraHeaders;
};
