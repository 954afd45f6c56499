#include "HttpFixture.h"
#include "ServerHarness.h"

#include "OTUserInfoStore+OstQuote.h"
#include "OstAPIClient+Quote.h"

#include <OTClock.h>
#include <OTDate.h>

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

// The module's calls against the real quote server, its clock pinned to 3 October 2016,
// 09:00 in Shanghai (01:00 UTC).
class TestOstQuoteAPI : public QObject
{
    Q_OBJECT

    struct Answer
    {
        int calls = 0;
        OstQuotePtr quote;
        OTModelPtr result;
        QList<OstQuotePtr> quotes;
        OTError error;
    };

    OstQuoteBlock into(Answer &a)
    {
        return [&a](OstQuotePtr q, const OTError &e) { ++a.calls; a.quote = q; a.error = e; };
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_server.start(QDateTime::fromString("2016-10-03T09:00:00+08:00", Qt::ISODate), "Asia/Shanghai"),
                 qPrintable(m_server.errorString()));
        OTClock::setTimeZone(QTimeZone("Asia/Shanghai"));
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        OTUserInfoStore::setStorePath(m_dir->filePath("defaults.cbor"));
        // A new client on a device that has seen nothing.
        QDir(OstAPIClient::cacheDirectory()).removeRecursively();
        m_client = std::make_unique<OstAPIClient>();
        m_client->setBaseURL(m_server.baseURL());
    }

    void quoteOfOneDay()
    {
        Answer a;
        getQuoteWithDate(m_client.get(), "2016-10-01", into(a));
        QTRY_COMPARE(a.calls, 1);
        QVERIFY2(!a.error, qPrintable(a.error.description()));
        QCOMPARE(a.quote->assign_date(), QStringLiteral("2016-10-01"));
        QVERIFY(!a.quote->content().isEmpty());
        QVERIFY(!a.quote->author().isEmpty());
        QVERIFY(!a.quote->translation().isEmpty());
        QVERIFY(!a.quote->share_urls().isEmpty());
        QVERIFY(a.quote->origin_img_urls().value(0).endsWith(".jpg"));
        QVERIFY(!a.quote->share_img_urls().isEmpty());
        QVERIFY(!a.quote->share_img_url().isEmpty());
    }

    void todayByWordStoresNothing()
    {
        Answer a;
        getQuoteWithDate(m_client.get(), "today", into(a));
        QTRY_COMPARE(a.calls, 1);
        QVERIFY(!a.error);
        QCOMPARE(a.quote->assign_date(), QStringLiteral("2016-10-03"));
        QVERIFY(!latestQuote());
        QVERIFY(OTUserInfoStore::ostrelDefaults().isEmpty());
    }

    void missingDayIs404AndKeepsTheStoreAsItIs()
    {
        for (const char *day : {"2016-09-30", "2016-10-11", "2016-02-30", "yesterday"}) {
            Answer a;
            getQuoteWithDate(m_client.get(), day, into(a));
            QTRY_COMPARE(a.calls, 1);
            QVERIFY(!a.quote);
            QCOMPARE(a.error.kind(), OTError::HTTPStatus);
            QCOMPARE(a.error.httpStatus(), 404);
        }
    }

    void updateStoresTodayAndCallsTheBlock()
    {
        Answer a;
        updateQuoteWithBlock(m_client.get(), [&](OTModelPtr r, const OTError &e) { ++a.calls; a.result = r; a.error = e; });
        QTRY_COMPARE(a.calls, 1);
        QVERIFY(!a.error);
        auto stored = latestQuote().objectCast<OstQuote>();
        QVERIFY(stored);
        QCOMPARE(stored->assign_date(), QStringLiteral("2016-10-03"));
        QVERIFY(stored->isEqualToModel(a.result.data()));
    }

    void updateWithoutABlockStillStores()
    {
        updateQuoteWithBlock(m_client.get());
        QTRY_VERIFY(latestQuote());
        QCOMPARE(latestQuote().objectCast<OstQuote>()->assign_date(), QStringLiteral("2016-10-03"));
    }

    void failedUpdateKeepsTheStoredQuote()
    {
        auto kept = OstQuote::fromJSON(QJsonObject{{"content", "kept"}, {"assign_date", "2016-10-01"}});
        QVERIFY(updateQuote(kept.data()));

        // A refused connection, then an answer that is not a quote record.
        m_client->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort())));
        Answer refused;
        updateQuoteWithBlock(m_client.get(), [&](OTModelPtr r, const OTError &e) { ++refused.calls; refused.result = r; refused.error = e; });
        QTRY_COMPARE(refused.calls, 1);
        QCOMPARE(refused.error.kind(), OTError::Network);
        QVERIFY(latestQuote()->isEqualToModel(kept.data()));

        HttpFixture fixture;
        QVERIFY(fixture.listen());
        fixture.respond(200, "[1, 2, 3]");
        m_client->setBaseURL(QUrl(fixture.baseURL()));
        Answer odd;
        updateQuoteWithBlock(m_client.get(), [&](OTModelPtr r, const OTError &e) { ++odd.calls; odd.result = r; odd.error = e; });
        QTRY_COMPARE(odd.calls, 1);
        QCOMPARE(odd.error.kind(), OTError::Undecodable);
        QVERIFY(latestQuote()->isEqualToModel(kept.data()));
    }

    void batchHoldsTodayAndTheComingWeek()
    {
        Answer a;
        getQuotesWithBlock(m_client.get(), [&](const QList<OstQuotePtr> &q, const OTError &e) { ++a.calls; a.quotes = q; a.error = e; });
        QTRY_COMPARE(a.calls, 1);
        QVERIFY(!a.error);
        QCOMPARE(a.quotes.size(), 8);
        const QDateTime today = ot_dateFromStringFormatDate("2016-10-03");
        for (int i = 0; i < 8; ++i)
            QCOMPARE(a.quotes.at(i)->assign_date(), descriptionWithFormat(today.addDays(i)));
    }

    void timeoutAndUndecodableBodies()
    {
        HttpFixture fixture;
        QVERIFY(fixture.listen());
        m_client->setBaseURL(QUrl(fixture.baseURL()));
        m_client->setTransferTimeout(300);

        fixture.stayQuiet();
        Answer silent;
        getQuoteWithDate(m_client.get(), "2016-10-01", into(silent));
        QTRY_COMPARE_WITH_TIMEOUT(silent.calls, 1, 10000);
        QVERIFY(silent.error.isTimeout());

        fixture.respond(200, "{\"content\": ");
        Answer garbled;
        getQuotesWithBlock(m_client.get(), [&](const QList<OstQuotePtr> &q, const OTError &e) { ++garbled.calls; garbled.quotes = q; garbled.error = e; });
        QTRY_COMPARE(garbled.calls, 1);
        QCOMPARE(garbled.error.kind(), OTError::Undecodable);
        QVERIFY(garbled.quotes.isEmpty());
        QTest::qWait(100);
        QCOMPARE(silent.calls, 1);
        QCOMPARE(garbled.calls, 1);
    }

    // The disk cache keeps a day's answer only when it is that day's quote, and gives back a
    // kept "today" only while it is fresh and its day is still today by the module's clock.
    void cacheKeepsOnlyRightDays_data()
    {
        QTest::addColumn<QString>("asked");       // "today" or a day key
        QTest::addColumn<QString>("answered");    // the assign_date of the server's answer
        QTest::addColumn<QByteArray>("headers");  // its cache headers
        QTest::addColumn<int>("later");           // seconds the clock moves on before asking again
        QTest::addColumn<bool>("fromCache");      // asked again online: answered without the server
        QTest::addColumn<bool>("offline");        // asked again offline: answered
        const QByteArray stale = "Expires: Thu, 01 Jan 1970 00:00:00 GMT\r\n";
        const QByteArray year = "Cache-Control: public, max-age=31536000, immutable\r\n";
        const int nextDay = 16 * 3600; // 3 October 09:00 in Shanghai to 4 October 01:00
        QTest::newRow("a day's own quote, long stale") << "2016-10-01" << "2016-10-01" << stale << 400 * 86400 << false << true;
        QTest::newRow("a day's own quote, for a year") << "2016-10-01" << "2016-10-01" << year << 0 << true << true;
        QTest::newRow("another day under a day") << "2016-10-01" << "2016-10-02" << year << 0 << false << false;
        QTest::newRow("no day at all") << "2016-10-01" << "" << year << 0 << false << false;
        QTest::newRow("a day with a slash") << "2016-10-01" << "2016/10/01" << year << 0 << false << false;
        QTest::newRow("today, fresh, still today") << "today" << "2016-10-03" << year << 3600 << true << true;
        QTest::newRow("today, fresh, past midnight") << "today" << "2016-10-03" << year << nextDay << false << false;
        QTest::newRow("today, stale, still today") << "today" << "2016-10-03" << stale << 0 << false << false;
        QTest::newRow("today pinned to another day") << "today" << "2016-10-02" << year << 0 << false << false;
        QTest::newRow("today without a day") << "today" << "soon" << year << 0 << false << false;
    }
    void cacheKeepsOnlyRightDays()
    {
        QFETCH(QString, asked);
        QFETCH(QString, answered);
        QFETCH(QByteArray, headers);
        QFETCH(int, later);
        QFETCH(bool, fromCache);
        QFETCH(bool, offline);
        OTClock::setNow(QDateTime::fromString("2016-10-03T09:00:00+08:00", Qt::ISODate));
        const auto restore = qScopeGuard([] { OTClock::setNow(QDateTime()); });
        auto fixture = std::make_unique<HttpFixture>();
        QVERIFY(fixture->listen());
        m_client->setBaseURL(QUrl(fixture->baseURL()));
        const QByteArray body = QJsonDocument(QJsonObject{{"assign_date", answered}, {"content", "served"}}).toJson();
        fixture->respond(200, body, headers);
        Answer first;
        getQuoteWithDate(m_client.get(), asked, into(first));
        QTRY_COMPARE(first.calls, 1);

        OTClock::advance(later);
        Answer again;
        getQuoteWithDate(m_client.get(), asked, into(again));
        QTRY_COMPARE(again.calls, 1);
        QCOMPARE(fixture->requestCount(), fromCache ? 1 : 2);

        fixture.reset();
        Answer gone;
        getQuoteWithDate(m_client.get(), asked, into(gone));
        QTRY_COMPARE(gone.calls, 1);
        if (offline) {
            QVERIFY2(!gone.error, qPrintable(gone.error.description()));
            QCOMPARE(gone.quote->assign_date(), answered);
        } else {
            QVERIFY(!gone.quote);
            QCOMPARE(gone.error.kind(), OTError::Network);
        }
    }

    // Offline past midnight, the kept "today" is no answer: the update fails and stores nothing.
    void updateOfflineAfterMidnightStoresNothing()
    {
        OTClock::setNow(QDateTime::fromString("2016-10-03T23:00:00+08:00", Qt::ISODate));
        const auto restore = qScopeGuard([] { OTClock::setNow(QDateTime()); });
        auto fixture = std::make_unique<HttpFixture>();
        QVERIFY(fixture->listen());
        m_client->setBaseURL(QUrl(fixture->baseURL()));
        fixture->respond(200, R"({"assign_date": "2016-10-03", "content": "Monday."})",
                         "Cache-Control: public, max-age=31536000\r\n");
        Answer today;
        getQuoteWithDate(m_client.get(), "today", into(today));
        QTRY_COMPARE(today.calls, 1);
        QVERIFY2(!today.error, qPrintable(today.error.description()));

        OTClock::advance(2 * 3600);
        fixture.reset();
        Answer update;
        updateQuoteWithBlock(m_client.get(), [&](OTModelPtr r, const OTError &e) { ++update.calls; update.result = r; update.error = e; });
        QTRY_COMPARE(update.calls, 1);
        QCOMPARE(update.error.kind(), OTError::Network);
        QVERIFY(!update.result);
        QVERIFY(!latestQuote());
    }

    // A settings file that cannot be read is moved aside, whole, and today's quote is stored.
    void updateStoresOverADamagedSettingsFile()
    {
        const QByteArray damage = "\xff\x00 not a settings file";
        QFile file(OTUserInfoStore::storePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(damage), damage.size());
        file.close();
        Answer a;
        updateQuoteWithBlock(m_client.get(), [&](OTModelPtr r, const OTError &e) { ++a.calls; a.result = r; a.error = e; });
        QTRY_COMPARE(a.calls, 1);
        QVERIFY2(!a.error, qPrintable(a.error.description()));
        const OstQuotePtr stored = latestQuote().objectCast<OstQuote>();
        QVERIFY(stored);
        QCOMPARE(stored->assign_date(), QStringLiteral("2016-10-03"));
        const QStringList aside = QDir(m_dir->path()).entryList({"defaults.cbor.damaged-*"}, QDir::Files);
        QCOMPARE(aside.size(), 1);
        QFile moved(m_dir->filePath(aside.first()));
        QVERIFY(moved.open(QIODevice::ReadOnly));
        QCOMPARE(moved.readAll(), damage);
    }

private:
    TestServer m_server;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<OstAPIClient> m_client;
};

QTEST_GUILESS_MAIN(TestOstQuoteAPI)
#include "tst_ostquoteapi.moc"
