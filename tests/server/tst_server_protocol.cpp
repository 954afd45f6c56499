#include "ServerHarness.h"

#include <QFile>
#include <QMap>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

// HTTP/1.1 as the server speaks it on the wire: connection handling, limits, pipelining,
// timeouts, hostile input and the access log.
class TestServerProtocol : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<ServerProcess> m_server;

    static QByteArray todayRequest(const QByteArray &headers = {})
    {
        return "GET /api/v2/quote/quotes/today/ HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers + "\r\n";
    }

    void verifyStillServing()
    {
        const HttpResponse response = get(m_server->port(), "/api/v2/quote/quotes/today/");
        QCOMPARE(response.status, 200);
        QCOMPARE(response.json().object().value("assign_date").toString(), u"2016-10-03"_s);
    }

    QString accessLog() const
    {
        QFile file(m_server->accessLogPath());
        file.open(QIODevice::ReadOnly);
        return QString::fromUtf8(file.readAll());
    }

    // Sends `total` GETs of `target` over `connections` keep-alive connections at once,
    // `depth` pipelined on each at a time. Returns how many were answered with a 200; stops
    // at the first answer that does not come within the client's timeout.
    static int load(quint16 port, const QByteArray &target, int total, int connections = 4, int depth = 8)
    {
        std::vector<std::unique_ptr<RawClient>> clients;
        for (int i = 0; i < connections; ++i) {
            clients.push_back(std::make_unique<RawClient>());
            if (!clients.back()->connectTo(port))
                return 0;
        }
        const QByteArray one = "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
        int sent = 0;
        int answered = 0;
        while (sent < total) {
            std::vector<int> inFlight(std::size_t(connections), 0);
            for (int c = 0; c < connections && sent < total; ++c) {
                inFlight[c] = std::min(depth, total - sent);
                clients[c]->send(one.repeated(inFlight[c]));
                sent += inFlight[c];
            }
            for (int c = 0; c < connections; ++c) {
                for (int i = 0; i < inFlight[c]; ++i) {
                    const std::optional<HttpResponse> response = clients[c]->read();
                    if (!response)
                        return answered;
                    answered += response->status == 200;
                }
            }
        }
        return answered;
    }

    // Access log lines for requests whose target contains `marker`.
    static qsizetype countLines(const QByteArray &log, const QByteArray &marker)
    {
        qsizetype count = 0;
        for (const QByteArray &line : log.split('\n'))
            count += line.contains(" GET ") && line.contains(marker) && line.endsWith("us");
        return count;
    }

    // The sum of the lines the server reported dropped on stderr.
    static qint64 droppedLines(const QByteArray &errors)
    {
        static const QRegularExpression report(uR"(access log.*?(\d+) lines? dropped)"_s);
        qint64 dropped = 0;
        for (auto it = report.globalMatch(QString::fromUtf8(errors)); it.hasNext();)
            dropped += it.next().captured(1).toLongLong();
        return dropped;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_server = std::make_unique<ServerProcess>(m_dir.path());
        QVERIFY2(m_server->start(), qPrintable(m_server->errorString()));
    }

    void cleanupTestCase() { QVERIFY(m_server->stop()); }

    void keepsConnectionsAliveAndAnswersPipelinedRequestsInOrder()
    {
        RawClient client;
        QVERIFY(client.connectTo(m_server->port()));
        client.send("GET /api/v2/quote/quotes/2016-10-01/ HTTP/1.1\r\nHost: x\r\n\r\n"
                    "GET /api/v2/quote/quotes/2016-09-30/ HTTP/1.1\r\nHost: x\r\n\r\n"
                    "HEAD /media/quotes/2016-10-02.jpg HTTP/1.1\r\nHost: x\r\n\r\n"
                    "GET /api/v2/quote/quotes/2016-10-02/ HTTP/1.1\r\nHost: x\r\n\r\n");
        const std::optional<HttpResponse> first = client.read();
        const std::optional<HttpResponse> second = client.read();
        const std::optional<HttpResponse> third = client.read(true);
        const std::optional<HttpResponse> fourth = client.read();
        QVERIFY(first && second && third && fourth);
        QCOMPARE(first->json().object().value("assign_date").toString(), u"2016-10-01"_s);
        QCOMPARE(second->status, 404);
        QCOMPARE(third->status, 200);
        QCOMPARE(third->header("Content-Type"), QByteArray("image/jpeg"));
        QCOMPARE(fourth->json().object().value("assign_date").toString(), u"2016-10-02"_s);
        for (const HttpResponse &response : {*first, *second, *third, *fourth})
            QVERIFY(!response.hasHeader("Connection"));

        // Still open for more, however long it waits (no idle timeout unless asked for).
        QVERIFY(!client.waitForClose(2000));
        client.send(todayRequest());
        QCOMPARE(client.read()->status, 200);
        QVERIFY(client.isOpen());
    }

    void connectionCloseIsHonoured()
    {
        RawClient client;
        QVERIFY(client.connectTo(m_server->port()));
        // The second request follows a "close" and must not be answered.
        client.send(todayRequest("Connection: close\r\n") + todayRequest());
        const std::optional<HttpResponse> response = client.read();
        QVERIFY(response);
        QCOMPARE(response->status, 200);
        QCOMPARE(response->header("Connection"), QByteArray("close"));
        QVERIFY(client.waitForClose(5000));
        QVERIFY2(client.pending().isEmpty(), client.pending().constData());
    }

    void http10ClosesUnlessAskedToKeepAlive()
    {
        RawClient once;
        QVERIFY(once.connectTo(m_server->port()));
        once.send("GET /api/v2/quote/quotes/today/ HTTP/1.0\r\n\r\n");
        const std::optional<HttpResponse> answer = once.read();
        QVERIFY(answer);
        QCOMPARE(answer->status, 200);
        QVERIFY(once.waitForClose(5000));

        RawClient kept;
        QVERIFY(kept.connectTo(m_server->port()));
        kept.send("GET /api/v2/quote/quotes/today/ HTTP/1.0\r\nConnection: keep-alive\r\n\r\n");
        const std::optional<HttpResponse> first = kept.read();
        QVERIFY(first);
        QCOMPARE(first->header("Connection"), QByteArray("keep-alive"));
        kept.send("GET /api/v2/quote/quotes/batch/ HTTP/1.0\r\nConnection: keep-alive\r\n\r\n");
        const std::optional<HttpResponse> second = kept.read();
        QVERIFY(second);
        QCOMPARE(second->status, 200);
        QVERIFY(second->json().isArray());
    }

    void hostileInputNeverBringsItDown_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("binary") << QByteArray("\x00\x01\x02\xff\xfe\r\n\r\n", 9);
        QTest::newRow("blank lines") << QByteArray("\r\n\r\n\r\n\r\n");
        QTest::newRow("no target") << QByteArray("GET\r\n\r\n");
        QTest::newRow("header without colon") << QByteArray("GET / HTTP/1.1\r\nHost x\r\n\r\n");
        QTest::newRow("NUL in target") << QByteArray("GET /api/\0v2 HTTP/1.1\r\n\r\n", 26);
        QTest::newRow("space in target") << QByteArray("GET /api/ v2/ HTTP/1.1\r\n\r\n");
        QTest::newRow("negative length") << todayRequest("Content-Length: -5\r\n");
        QTest::newRow("two lengths") << todayRequest("Content-Length: 1\r\nContent-Length: 2\r\n");
        QTest::newRow("bad chunk") << todayRequest("Transfer-Encoding: chunked\r\n") + "zz\r\n\r\n";
        QTest::newRow("long method") << QByteArray(3000, 'G') + " / HTTP/1.1\r\n\r\n";
        QTest::newRow("cut short") << QByteArray("GET /api/v2/quote/quotes/tod");
        QRandomGenerator random(20161001);
        QByteArray noise(64 * 1024, Qt::Uninitialized);
        random.fillRange(reinterpret_cast<quint32 *>(noise.data()), noise.size() / 4);
        QTest::newRow("64 KiB of noise") << noise;
        QTest::newRow("noise after a request") << todayRequest() + noise.left(4096);
    }

    void hostileInputNeverBringsItDown()
    {
        QFETCH(QByteArray, bytes);
        {
            RawClient client;
            QVERIFY(client.connectTo(m_server->port()));
            client.send(bytes);
            // Whatever comes back is a complete answer (a quote or a JSON error) or nothing.
            while (std::optional<HttpResponse> response = client.read(false, 1000)) {
                QVERIFY2(response->status == 200 || (response->status >= 400 && response->status < 500),
                         response->statusLine.constData());
                if (response->status >= 400)
                    QVERIFY(response->json().object().value("error").isString());
            }
        }
        verifyStillServing();
    }

    void absoluteFormTargetsAreRoutedByTheirPath()
    {
        RawClient client;
        QVERIFY(client.connectTo(m_server->port()));
        client.send("GET http://127.0.0.1/api/v2/quote/quotes/2016-10-01/ HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        const std::optional<HttpResponse> day = client.read();
        QVERIFY(day);
        QCOMPARE(day->status, 200);
        QCOMPARE(day->json().object().value("assign_date").toString(), u"2016-10-01"_s);

        // The scheme and host are any case; the host in the target wins over the header's.
        const HttpResponse plain = get(m_server->port(), "/api/v2/quote/quotes/today/");
        client.send("HEAD HTTP://Quotes.Example:8080/api/v2/quote/quotes/today/?from=proxy HTTP/1.1\r\n"
                    "Host: other.example\r\n\r\n");
        const std::optional<HttpResponse> head = client.read(true);
        QVERIFY(head);
        QCOMPARE(head->status, 200);
        QCOMPARE(head->header("Content-Length").toLongLong(), plain.body.size());
        QCOMPARE(head->header("ETag"), plain.header("ETag"));

        client.send("GET http://127.0.0.1/api/v2/quote/quotes/2016-09-30/ HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"
                    "GET http://127.0.0.1:1/media/quotes/2016-10-02.jpg HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        const std::optional<HttpResponse> outside = client.read();
        const std::optional<HttpResponse> picture = client.read();
        QVERIFY(outside && picture);
        QCOMPARE(outside->status, 404);
        QVERIFY(outside->json().object().value("error").isString());
        QCOMPARE(picture->status, 200);
        QCOMPARE(picture->header("Content-Type"), QByteArray("image/jpeg"));
        QVERIFY(client.isOpen());
    }

    void laterHttp1VersionsAreServedAsHttp11()
    {
        RawClient client;
        QVERIFY(client.connectTo(m_server->port()));
        client.send("GET /api/v2/quote/quotes/today/ HTTP/1.2\r\nHost: 127.0.0.1\r\n\r\n"
                    "GET /api/v2/quote/quotes/2016-10-01/ HTTP/1.9\r\nHost: 127.0.0.1\r\n\r\n");
        const std::optional<HttpResponse> first = client.read();
        const std::optional<HttpResponse> second = client.read();
        QVERIFY(first && second);
        QCOMPARE(first->statusLine, QByteArray("HTTP/1.1 200 OK"));
        QCOMPARE(first->json().object().value("assign_date").toString(), u"2016-10-03"_s);
        QVERIFY(!first->hasHeader("Connection"));   // kept alive, as 1.1 is by default
        QCOMPARE(second->json().object().value("assign_date").toString(), u"2016-10-01"_s);
        QVERIFY(!client.waitForClose(500));

        // And held to 1.1's rules.
        client.send("GET /api/v2/quote/quotes/today/ HTTP/1.2\r\n\r\n");
        const std::optional<HttpResponse> hostless = client.read();
        QVERIFY(hostless);
        QCOMPARE(hostless->status, 400);
    }

    void requestsAgainstTheProtocolAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("head");

        const QByteArray today = "GET /api/v2/quote/quotes/today/ ";
        // A request hidden in a body that the server cannot frame must never be answered.
        const QByteArray smuggled = "GET /api/v2/quote/quotes/2016-10-01/ HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
        const QByteArray chunkedSmuggled = QByteArray::number(smuggled.size(), 16) + "\r\n" + smuggled + "\r\n0\r\n\r\n";

        QTest::newRow("HTTP/1.1 without Host") << today + "HTTP/1.1\r\nAccept: */*\r\n\r\n" << 400 << false;
        QTest::newRow("HEAD without Host")
            << QByteArray("HEAD /api/v2/quote/quotes/today/ HTTP/1.1\r\n\r\n") << 400 << true;
        QTest::newRow("absolute form without Host")
            << QByteArray("GET http://127.0.0.1/api/v2/quote/quotes/today/ HTTP/1.1\r\n\r\n") << 400 << false;
        QTest::newRow("two Host headers") << todayRequest("Host: 127.0.0.1\r\n") << 400 << false;
        QTest::newRow("two Host headers, HTTP/1.0")
            << today + "HTTP/1.0\r\nHost: a.example\r\nHost: b.example\r\n\r\n" << 400 << false;
        QTest::newRow("Host with a path") << today + "HTTP/1.1\r\nHost: 127.0.0.1/api\r\n\r\n" << 400 << false;
        QTest::newRow("Host with user info") << today + "HTTP/1.1\r\nHost: me@127.0.0.1\r\n\r\n" << 400 << false;
        QTest::newRow("absolute form, empty host")
            << QByteArray("GET http:///api/v2/quote/quotes/today/ HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n") << 400 << false;
        QTest::newRow("relative target")
            << QByteArray("GET api/v2/quote/quotes/today/ HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n") << 400 << false;

        QTest::newRow("gzip body") << todayRequest("Transfer-Encoding: gzip\r\n") + smuggled << 501 << false;
        QTest::newRow("gzip, chunked")
            << todayRequest("Transfer-Encoding: gzip, chunked\r\n") + chunkedSmuggled << 501 << false;
        QTest::newRow("chunked, gzip")
            << todayRequest("Transfer-Encoding: chunked, gzip\r\n") + smuggled << 501 << false;
        QTest::newRow("gzip and chunked on two lines")
            << todayRequest("Transfer-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n") + chunkedSmuggled << 501
            << false;
        QTest::newRow("deflate with a length")
            << todayRequest("Transfer-Encoding: deflate\r\nContent-Length: " + QByteArray::number(smuggled.size())
                            + "\r\n")
                   + smuggled
            << 501 << false;
        QTest::newRow("HEAD, gzip")
            << "HEAD /api/v2/quote/quotes/today/ HTTP/1.1\r\nHost: 127.0.0.1\r\nTransfer-Encoding: gzip\r\n\r\n"
                   + smuggled
            << 501 << true;
        QTest::newRow("chunked twice")
            << todayRequest("Transfer-Encoding: chunked, chunked\r\n") + chunkedSmuggled << 400 << false;
        QTest::newRow("empty coding") << todayRequest("Transfer-Encoding: \r\n") + smuggled << 400 << false;
        QTest::newRow("chunked in HTTP/1.0")
            << today + "HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n" + chunkedSmuggled << 400 << false;

        QTest::newRow("one huge header") << todayRequest("X-Padding: " + QByteArray(16 * 1024, 'a') + "\r\n") << 431 << false;
        QByteArray many;
        for (int i = 0; i < 600; ++i)
            many += "X-Header-" + QByteArray::number(i) + ": value\r\n";
        QTest::newRow("many headers") << todayRequest(many) << 431 << false;
        QTest::newRow("huge target") << "GET /" + QByteArray(12 * 1024, 'x') + " HTTP/1.1\r\nHost: x\r\n\r\n" << 431 << false;
        QTest::newRow("huge body") << todayRequest("Content-Length: 10000000\r\n").replace("GET", "POST") + QByteArray(1000, 'b')
                                   << 413 << false;

        QTest::newRow("HTTP/2.0") << QByteArray("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n") << 505 << false;
        QTest::newRow("HTTP/9.9") << today + "HTTP/9.9\r\nHost: 127.0.0.1\r\n\r\n" << 505 << false;
        QTest::newRow("HTTP/0.9") << today + "HTTP/0.9\r\n\r\n" << 505 << false;
    }

    // Each, against the protocol or past its limits, is refused with a JSON error, and the
    // connection closes after it: nothing after the head is read as another request.
    void requestsAgainstTheProtocolAreRefused()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, status);
        QFETCH(bool, head);
        RawClient client;
        QVERIFY(client.connectTo(m_server->port()));
        client.send(bytes);
        const std::optional<HttpResponse> response = client.read(head);
        QVERIFY(response);
        QCOMPARE(response->status, status);
        QCOMPARE(response->header("Connection"), QByteArray("close"));
        if (head)
            QVERIFY(response->body.isEmpty());
        else
            QVERIFY2(response->json().object().value("error").isString(), response->body.constData());
        QVERIFY(client.waitForClose(5000));
        QVERIFY2(client.pending().isEmpty(), client.pending().constData());
        verifyStillServing();
    }

    void idleConnectionsAreClosedAfterTheTimeout()
    {
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        QVERIFY2(server.start(QStringList{"--idle-timeout", "1"}), qPrintable(server.errorString()));

        RawClient afterAnswer;
        QVERIFY(afterAnswer.connectTo(server.port()));
        afterAnswer.send(todayRequest());
        QCOMPARE(afterAnswer.read()->status, 200);
        RawClient silent;
        QVERIFY(silent.connectTo(server.port()));
        RawClient halfRequest;
        QVERIFY(halfRequest.connectTo(server.port()));
        halfRequest.send("GET /api/v2/quote/quotes/today/ HTTP/1.1\r\nHo");

        QTest::qWait(300);
        QVERIFY(afterAnswer.isOpen());
        QVERIFY(afterAnswer.waitForClose(5000));
        QVERIFY(silent.waitForClose(5000));
        QVERIFY(halfRequest.waitForClose(5000));
        QVERIFY2(halfRequest.pending().isEmpty(), halfRequest.pending().constData());
        QVERIFY(server.stop());
    }

    void accessLogHasALinePerRequest()
    {
        const HttpResponse ok = get(m_server->port(), "/api/v2/quote/quotes/2016-10-04/?probe=log");
        QCOMPARE(ok.status, 200);
        QCOMPARE(get(m_server->port(), "/api/v2/quote/quotes/2016-09-01/?probe=log").status, 404);
        QCOMPARE(request(m_server->port(), "HEAD", "/api/v2/quote/quotes/2016-10-04/?probe=log").status, 200);

        // Lines are handed over in batches, within a fraction of a second; each network
        // thread hands over its own, so lines of different connections may interleave.
        const QRegularExpression line(
            uR"(^\S+ 127\.0\.0\.1 (GET|HEAD) /api/v2/quote/quotes/(2016-\d\d-\d\d)/\?probe=log (\d{3}) (\d+) \d+us$)"_s,
            QRegularExpression::MultilineOption);
        QMap<QString, qint64> bytesByRequest;   // "METHOD day status" -> bytes
        QTRY_VERIFY_WITH_TIMEOUT(([&]() {
            bytesByRequest.clear();
            for (auto it = line.globalMatch(accessLog()); it.hasNext();) {
                const QRegularExpressionMatch match = it.next();
                bytesByRequest.insert(match.captured(1) + ' ' + match.captured(2) + ' ' + match.captured(3),
                                      match.captured(4).toLongLong());
            }
            return bytesByRequest.size() == 3;
        }()), 5000);
        QCOMPARE(bytesByRequest.value(u"GET 2016-10-04 200"_s, -1), ok.body.size());
        QVERIFY(bytesByRequest.value(u"GET 2016-09-01 404"_s, -1) > 0);
        QCOMPARE(bytesByRequest.value(u"HEAD 2016-10-04 200"_s, -1), 0);
    }

    void stoppingFlushesTheAccessLog()
    {
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        QVERIFY2(server.start(), qPrintable(server.errorString()));
        QCOMPARE(get(server.port(), "/api/v2/quote/quotes/today/?last=words").status, 200);
        QVERIFY(server.stop());
        QFile log(server.accessLogPath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("GET /api/v2/quote/quotes/today/?last=words 200"));
    }

    // The default log, standard output, into a pipe that nobody reads: requests go on being
    // answered, and the lines that do not fit are dropped and reported, to the line.
    void accessLogIntoAStalledPipeNeverHoldsUpRequests()
    {
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        ServerProcess::Options options;
        options.logToPipe = true;
        QVERIFY2(server.start(options), qPrintable(server.errorString()));

        const QByteArray marker = "?stalled=" + QByteArray(1000, 's');   // long lines, to fill any buffer quickly
        constexpr int Requests = 20000;
        QCOMPARE(load(server.port(), "/api/v2/quote/quotes/today/" + marker, Requests), Requests);
        QTRY_VERIFY_WITH_TIMEOUT(droppedLines(server.errorOutput()) > 0, 10000);

        QVERIFY(server.stop());   // gives up on the pipe after a moment
        const QByteArray written = server.readOutput(10000);
        const qsizetype lines = countLines(written, marker);
        QVERIFY(lines > 0);
        QCOMPARE(lines + droppedLines(server.errorOutput()), Requests);
    }

    void accessLogFileGetsEveryLineUnderLoad()
    {
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        QVERIFY2(server.start(), qPrintable(server.errorString()));
        const auto logged = [&]() {
            QFile log(server.accessLogPath());
            return log.open(QIODevice::ReadOnly) ? countLines(log.readAll(), "?load=file") : -1;
        };
        constexpr int Requests = 20000;
        QCOMPARE(load(server.port(), "/api/v2/quote/quotes/2016-10-02/?load=file", Requests), Requests);
        QTRY_COMPARE_WITH_TIMEOUT(logged(), Requests, 10000);
        QVERIFY(server.stop());
        QCOMPARE(logged(), Requests);
        QCOMPARE(droppedLines(server.errorOutput()), 0);
    }

    // Lines waiting for a slow reader when the server stops are still written out.
    void stoppingWritesOutLinesQueuedForASlowReader()
    {
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        ServerProcess::Options options;
        options.logToPipe = true;
        QVERIFY2(server.start(options), qPrintable(server.errorString()));

        // Several times what the pipe holds, well within what the server keeps queued.
        const QByteArray marker = "?queued=" + QByteArray(200, 'q');
        constexpr int Requests = 3000;
        QCOMPARE(load(server.port(), "/api/v2/quote/quotes/today/" + marker, Requests), Requests);
        server.requestStop();
        const QByteArray written = server.readOutput(20000);
        QVERIFY(server.stop());
        QCOMPARE(countLines(written, marker), Requests);
        QCOMPARE(droppedLines(server.errorOutput()), 0);
    }
};

QTEST_GUILESS_MAIN(TestServerProtocol)
#include "tst_server_protocol.moc"
