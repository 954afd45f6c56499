#include "ServerHarness.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QLocale>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

// The quote API of the real server: its wire form, which day is today, which days are
// served, and the caching headers. The clock starts at 2016-10-02 20:00 UTC, which is
// already 3 October (04:00) in Shanghai.
class TestServerAPI : public QObject
{
    Q_OBJECT

    static constexpr const char *Now = "2016-10-02T20:00:00Z";

    QTemporaryDir m_dir;
    std::unique_ptr<ServerProcess> m_server;   // Asia/Shanghai: today is 2016-10-03

    QByteArray api(const QString &day) const { return ("/api/v2/quote/quotes/" + day + "/").toUtf8(); }

    static void verifyNotFound(const HttpResponse &response, const char *what)
    {
        QVERIFY2(response.status == 404, qPrintable(u"%1: status %2"_s.arg(what).arg(response.status)));
        QVERIFY2(response.header("Content-Type").startsWith("application/json"), what);
        const QJsonObject error = response.json().object();
        QVERIFY2(error.value("error").isString() && !error.value("error").toString().isEmpty(), what);
    }

    // Seconds from `now` to the next midnight in `zone`.
    static qint64 secondsToMidnight(const QDateTime &now, const QTimeZone &zone)
    {
        const QDate today = now.toTimeZone(zone).date();
        return now.secsTo(today.addDays(1).startOfDay(zone));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_server = std::make_unique<ServerProcess>(m_dir.path());
        QVERIFY2(m_server->start(QString::fromLatin1(Now), u"Asia/Shanghai"_s), qPrintable(m_server->errorString()));
    }

    void cleanupTestCase() { QVERIFY(m_server->stop()); }

    void quoteHasTheEightKeysOfTheWireForm()
    {
        const HttpResponse response = get(m_server->port(), "/api/v2/quote/quotes/2016-10-01/");
        QCOMPARE(response.status, 200);
        QCOMPARE(response.header("Content-Type"), QByteArray("application/json; charset=utf-8"));
        const QJsonObject quote = response.json().object();
        const QStringList keyList = quote.keys();
        const QSet<QString> keys(keyList.cbegin(), keyList.cend());
        QCOMPARE(keys, (QSet<QString>{"author", "content", "assign_date", "translation", "share_urls",
                                      "origin_img_urls", "share_img_urls", "share_img_url"}));
        QCOMPARE(quote.value("assign_date").toString(), u"2016-10-01"_s);
        for (const char *text : {"author", "content", "translation"})
            QVERIFY2(quote.value(text).isString() && !quote.value(text).toString().isEmpty(), text);

        const QString base = m_server->baseURL();
        const QString page = base + "/share/quotes/2016-10-01/";
        const QString picture = base + "/media/quotes/2016-10-01.jpg";
        const QString card = base + "/media/quotes/2016-10-01-share.jpg";
        const QStringList targets = {"weibo", "qq", "qzone", "mail", "douban", "twitter", "save_image", "copy_image"};

        const QJsonObject shareURLs = quote.value("share_urls").toObject();
        QCOMPARE(shareURLs.size(), targets.size() + 1);
        QCOMPARE(shareURLs.value("default").toString(), page);
        for (const QString &target : targets)
            QCOMPARE(shareURLs.value(target).toString(), page + "?via=" + target);

        QCOMPARE(quote.value("origin_img_urls").toArray(), QJsonArray{picture});
        QCOMPARE(quote.value("share_img_urls").toArray(), QJsonArray{card});
        const QJsonObject shareImage = quote.value("share_img_url").toObject();
        QCOMPARE(shareImage.size(), targets.size() + 1);
        QCOMPARE(shareImage.value("default").toString(), card);
        for (const QString &target : targets)
            QCOMPARE(shareImage.value(target).toString(), card);
    }

    void urlsFollowThePublicURL()
    {
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        QVERIFY2(server.start(QString::fromLatin1(Now), u"Asia/Shanghai"_s, {"--public-url", "https://cdn.example.com/quotes/"}),
                 qPrintable(server.errorString()));
        const QJsonObject quote = get(server.port(), "/api/v2/quote/quotes/today/").json().object();
        QCOMPARE(quote.value("origin_img_urls").toArray().first().toString(),
                 u"https://cdn.example.com/quotes/media/quotes/2016-10-03.jpg"_s);
        QCOMPARE(quote.value("share_urls").toObject().value("qq").toString(),
                 u"https://cdn.example.com/quotes/share/quotes/2016-10-03/?via=qq"_s);
    }

    void todayIsTheServersDay_data()
    {
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("today");
        QTest::newRow("UTC") << u"UTC"_s << u"2016-10-02"_s;
        QTest::newRow("Asia/Shanghai, already the next day") << u"Asia/Shanghai"_s << u"2016-10-03"_s;
        QTest::newRow("America/Los_Angeles") << u"America/Los_Angeles"_s << u"2016-10-02"_s;
    }

    void todayIsTheServersDay()
    {
        QFETCH(QString, zone);
        QFETCH(QString, today);
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        QVERIFY2(server.start(QString::fromLatin1(Now), zone), qPrintable(server.errorString()));

        const HttpResponse todays = get(server.port(), "/api/v2/quote/quotes/today/");
        QCOMPARE(todays.status, 200);
        QCOMPARE(todays.json().object().value("assign_date").toString(), today);
        // The same quote as under its date.
        QCOMPARE(todays.body, get(server.port(), api(today)).body);

        const QJsonArray batch = get(server.port(), "/api/v2/quote/quotes/batch/").json().array();
        QCOMPARE(batch.size(), 8);
        const QDate first = QDate::fromString(today, Qt::ISODate);
        for (int i = 0; i < 8; ++i) {
            const QJsonObject quote = batch.at(i).toObject();
            QCOMPARE(quote.value("assign_date").toString(), first.addDays(i).toString(Qt::ISODate));
            QCOMPARE(quote.size(), 8);
        }
    }

    // A day not served is a 404 that says why: which days are, or the form of a day.
    void servesFromTheFirstDayThroughAWeekAhead_data()
    {
        QTest::addColumn<QString>("day");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("says");
        QTest::newRow("the day before the first") << u"2016-09-30"_s << 404 << u"2016-10-01"_s;
        QTest::newRow("the first day") << u"2016-10-01"_s << 200 << QString();
        QTest::newRow("today") << u"2016-10-03"_s << 200 << QString();
        QTest::newRow("today + 7") << u"2016-10-10"_s << 200 << QString();
        QTest::newRow("today + 8") << u"2016-10-11"_s << 404 << u"2016-10-10"_s;
        QTest::newRow("years ahead") << u"2030-01-01"_s << 404 << QString();
        QTest::newRow("years before") << u"1999-12-31"_s << 404 << QString();
        QTest::newRow("no such day") << u"2016-02-30"_s << 404 << u"yyyy-MM-dd"_s;
    }

    void servesFromTheFirstDayThroughAWeekAhead()
    {
        QFETCH(QString, day);
        QFETCH(int, status);
        QFETCH(QString, says);
        const HttpResponse response = get(m_server->port(), api(day));
        if (status == 404) {
            verifyNotFound(response, qPrintable(day));
            const QString why = response.json()["error"].toString();
            QVERIFY2(why.contains(says), qPrintable(why));
        } else {
            QCOMPARE(response.status, 200);
            QCOMPARE(response.json().object().value("assign_date").toString(), day);
        }
    }

    void malformedDaysUnknownPathsAndEscapesAreNotFound_data()
    {
        QTest::addColumn<QByteArray>("target");
        for (const char *target : {
                 "/api/v2/quote/quotes/2016-02-30/", "/api/v2/quote/quotes/2016-1-1/",
                 "/api/v2/quote/quotes/2016-10-01x/", "/api/v2/quote/quotes/x2016-10-01/",
                 "/api/v2/quote/quotes/2016-10-01", "/api/v2/quote/quotes/today", "/api/v2/quote/quotes/yesterday/",
                 "/api/v2/quote/quotes/", "/api/v2/quote/quotes/2016-10-01/extra/", "/", "/api/", "/index.html",
                 "/api/v2/quote/quotes/today/../batch/", "/api/v2/quote/quotes/2016-10-01/../../../../etc/passwd",
                 "/../../etc/passwd", "/media/quotes/../../../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd",
                 "/api/v2/quote/quotes/2016%2D10%2D01/", "/media/quotes/2016-09-30.jpg",
                 "/media/quotes/2016-10-11.jpg", "/media/quotes/2016-10-01.png", "/share/quotes/2016-10-11/",
                 "//api/v2/quote/quotes/today/", "/API/V2/QUOTE/QUOTES/TODAY/", "http://127.0.0.1/etc/passwd"})
            QTest::newRow(target) << QByteArray(target);
    }

    void malformedDaysUnknownPathsAndEscapesAreNotFound()
    {
        QFETCH(QByteArray, target);
        verifyNotFound(get(m_server->port(), target), target.constData());
    }

    void otherMethodsAreNotAllowed_data()
    {
        QTest::addColumn<QByteArray>("method");
        for (const char *method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS", "BREW"})
            QTest::newRow(method) << QByteArray(method);
    }

    void otherMethodsAreNotAllowed()
    {
        QFETCH(QByteArray, method);
        const HttpResponse response = request(m_server->port(), method, "/api/v2/quote/quotes/today/",
                                              "Content-Type: application/json\r\nContent-Length: 2\r\n\r\n{}");
        QCOMPARE(response.status, 405);
        QCOMPARE(response.header("Allow"), QByteArray("GET, HEAD"));
        QVERIFY(response.json().object().value("error").isString());
    }

    void headAnswersTheHeadersWithoutTheBody()
    {
        RawClient client;
        QVERIFY(client.connectTo(m_server->port()));
        client.send("HEAD /api/v2/quote/quotes/today/ HTTP/1.1\r\nHost: x\r\n\r\n"
                    "GET /api/v2/quote/quotes/today/ HTTP/1.1\r\nHost: x\r\n\r\n");
        const std::optional<HttpResponse> head = client.read(true);
        QVERIFY(head);
        QCOMPARE(head->status, 200);
        // The next bytes on the wire are the GET's answer, so HEAD sent no body.
        QVERIFY2(client.pending().isEmpty() || client.pending().startsWith("HTTP/1.1 200"), client.pending().constData());
        const std::optional<HttpResponse> full = client.read();
        QVERIFY(full);
        QCOMPARE(full->status, 200);
        QCOMPARE(head->header("Content-Length").toInt(), full->body.size());
        QCOMPARE(head->header("ETag"), full->header("ETag"));
        QCOMPARE(head->header("Content-Type"), full->header("Content-Type"));

        client.send("HEAD /api/v2/quote/quotes/2016-09-30/ HTTP/1.1\r\nHost: x\r\n\r\n"
                    "GET /api/v2/quote/quotes/2016-10-01/ HTTP/1.1\r\nHost: x\r\n\r\n");
        const std::optional<HttpResponse> missing = client.read(true);
        QVERIFY(missing);
        QCOMPARE(missing->status, 404);
        QCOMPARE(client.read()->json().object().value("assign_date").toString(), u"2016-10-01"_s);
    }

    void entityTagsRevalidate_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::newRow("past day") << QByteArray("/api/v2/quote/quotes/2016-10-01/");
        QTest::newRow("today") << QByteArray("/api/v2/quote/quotes/today/");
        QTest::newRow("batch") << QByteArray("/api/v2/quote/quotes/batch/");
        QTest::newRow("share page") << QByteArray("/share/quotes/2016-10-02/");
        QTest::newRow("picture") << QByteArray("/media/quotes/2016-10-02.jpg");
    }

    void entityTagsRevalidate()
    {
        QFETCH(QByteArray, target);
        const HttpResponse first = get(m_server->port(), target);
        QCOMPARE(first.status, 200);
        const QByteArray etag = first.header("ETag");
        QVERIFY2(etag.size() > 2 && etag.startsWith('"') && etag.endsWith('"'), etag.constData());
        QCOMPARE(get(m_server->port(), target).header("ETag"), etag);

        for (const QByteArray &match : {etag, "W/" + etag, "\"other\", " + etag, QByteArray("*")}) {
            const HttpResponse revalidated = get(m_server->port(), target, "If-None-Match: " + match + "\r\n");
            QCOMPARE(revalidated.status, 304);
            QVERIFY(revalidated.body.isEmpty());
            QCOMPARE(revalidated.header("ETag"), etag);
            // A 304 carries the same freshness as the full answer.
            if (first.header("Cache-Control").endsWith("immutable"))
                QCOMPARE(revalidated.header("Cache-Control"), first.header("Cache-Control"));
            else
                QVERIFY(revalidated.header("Cache-Control").startsWith("public, max-age="));
            QVERIFY(revalidated.hasHeader("Date"));
        }
        const HttpResponse changed = get(m_server->port(), target, "If-None-Match: \"other\"\r\n");
        QCOMPARE(changed.status, 200);
        QCOMPARE(changed.body, first.body);
    }

    void pastDaysAreImmutableAndTheRestLastsUntilMidnight()
    {
        const QByteArray immutable = "public, max-age=31536000, immutable";
        QCOMPARE(get(m_server->port(), api(u"2016-10-01"_s)).header("Cache-Control"), immutable);
        QCOMPARE(get(m_server->port(), api(u"2016-10-02"_s)).header("Cache-Control"), immutable);

        // Shanghai's next midnight is 2016-10-03T16:00Z, 20 hours after the clock started.
        const QDateTime started = QDateTime::fromString(QString::fromLatin1(Now), Qt::ISODate);
        const qint64 atStart = secondsToMidnight(started, QTimeZone("Asia/Shanghai"));
        QCOMPARE(atStart, 72000);
        for (const QByteArray &target : {api(u"2016-10-03"_s), QByteArray("/api/v2/quote/quotes/today/"),
                                         QByteArray("/api/v2/quote/quotes/batch/"), api(u"2016-10-07"_s),
                                         QByteArray("/share/quotes/2016-10-05/")}) {
            const HttpResponse response = get(m_server->port(), target);
            const QByteArray cacheControl = response.header("Cache-Control");
            QVERIFY2(cacheControl.startsWith("public, max-age="), cacheControl.constData());
            QCOMPARE(response.headerCount("Cache-Control"), 1);
            const qint64 maxAge = cacheControl.mid(16).toLongLong();
            const qint64 elapsed = m_server->elapsed() / 1000;
            QVERIFY2(maxAge <= atStart && maxAge >= atStart - elapsed - 1,
                     qPrintable(u"%1: max-age %2, %3 s after start"_s.arg(target).arg(maxAge).arg(elapsed)));
        }
    }

    void maxAgeCountsDownToTheZonesOwnMidnight()
    {
        // The day British clocks go forward has 23 hours: 00:30 GMT to midnight BST is 22.5 h.
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        QVERIFY2(server.start(u"2017-03-26T00:30:00Z"_s, u"Europe/London"_s), qPrintable(server.errorString()));
        const HttpResponse today = get(server.port(), "/api/v2/quote/quotes/today/");
        QCOMPARE(today.json().object().value("assign_date").toString(), u"2017-03-26"_s);
        const qint64 maxAge = today.header("Cache-Control").mid(16).toLongLong();
        QVERIFY2(maxAge <= 81000 && maxAge >= 81000 - server.elapsed() / 1000 - 1, qPrintable(QString::number(maxAge)));
        QCOMPARE(get(server.port(), "/api/v2/quote/quotes/2017-03-25/").header("Cache-Control"),
                 QByteArray("public, max-age=31536000, immutable"));
    }

    void everyAnswerIsDated()
    {
        const QDateTime started = QDateTime::fromString(QString::fromLatin1(Now), Qt::ISODate);
        const QList<HttpResponse> answers = {
            get(m_server->port(), "/api/v2/quote/quotes/today/"),
            get(m_server->port(), "/api/v2/quote/quotes/2016-10-01/",
                "If-None-Match: " + get(m_server->port(), "/api/v2/quote/quotes/2016-10-01/").header("ETag") + "\r\n"),
            get(m_server->port(), "/nowhere"),
            request(m_server->port(), "DELETE", "/api/v2/quote/quotes/today/"),
            request(m_server->port(), "HEAD", "/api/v2/quote/quotes/batch/"),
        };
        QList<int> statuses;
        for (const HttpResponse &answer : answers) {
            statuses.append(answer.status);
            QCOMPARE(answer.headerCount("Date"), 1);
            const QDateTime date = QLocale::c().toDateTime(QString::fromLatin1(answer.header("Date")),
                                                           u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_s);
            QVERIFY2(date.isValid(), answer.header("Date").constData());
            // Read off the server's pinned clock, not the machine's.
            const QDateTime utc(date.date(), date.time(), Qt::UTC);
            QVERIFY2(utc >= started && utc <= started.addSecs(m_server->elapsed() / 1000 + 1),
                     answer.header("Date").constData());
        }
        QCOMPARE(statuses, (QList<int>{200, 304, 404, 405, 200}));
    }
};

QTEST_GUILESS_MAIN(TestServerAPI)
#include "tst_server_api.moc"
