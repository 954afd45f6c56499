#include "HttpFixture.h"
#include "ServerHarness.h"

#include "OTUserInfoStore+OstQuote.h"
#include "OstAPIClient+Quote.h"

#include <OTClock.h>
#include <OTDate.h>

#include <QTemporaryDir>
#include <QDir>
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

private:
    TestServer m_server;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<OstAPIClient> m_client;
};

QTEST_GUILESS_MAIN(TestOstQuoteAPI)
#include "tst_ostquoteapi.moc"
