#include "HttpFixture.h"
#include "TestServer.h"

#include <OstAPIClient.h>

#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <optional>

class Item : public OTModel
{
    Q_OBJECT
    Q_PROPERTY(QString name MEMBER name NOTIFY changed)
public:
    Q_INVOKABLE explicit Item(QObject *parent = nullptr) : OTModel(parent) {}
    QHash<QString, QString> JSONKeyPathsByPropertyKey() const override { return {{"name", "name"}}; }
    QString name;
};
OT_REGISTER_MODEL(Item)

namespace {

struct Outcome
{
    int calls = 0;
    OTModelPtr model;
    QList<OTModelPtr> models;
    OTError error;
    QThread *thread = nullptr;
};

OstAPIClient::ModelCompletion recordInto(Outcome &outcome)
{
    return [&outcome](OTModelPtr model, const OTError &error) {
        ++outcome.calls;
        outcome.model = model;
        outcome.error = error;
        outcome.thread = QThread::currentThread();
    };
}

OstAPIClient::ModelsCompletion recordListInto(Outcome &outcome)
{
    return [&outcome](const QList<OTModelPtr> &models, const OTError &error) {
        ++outcome.calls;
        outcome.models = models;
        outcome.error = error;
        outcome.thread = QThread::currentThread();
    };
}

// Waits for the completion, then a little longer to catch a second call.
bool settle(const Outcome &outcome, int timeout = 10000)
{
    if (!QTest::qWaitFor([&]() { return outcome.calls > 0; }, timeout))
        return false;
    QTest::qWait(50);
    return true;
}

} // namespace

class TestOstAPIClient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_fixture = std::make_unique<HttpFixture>();
        QVERIFY(m_fixture->listen());
        m_client = std::make_unique<OstAPIClient>();
        m_client->setBaseURL(QUrl(m_fixture->baseURL()));
    }

    void defaultBaseURLComesFromTheEnvironment()
    {
        qputenv("OSTQUOTE_API_BASE", "http://quotes.example:9000/v");
        QCOMPARE(OstAPIClient::defaultBaseURL(), QUrl("http://quotes.example:9000/v"));
        qputenv("OSTQUOTE_API_BASE", "");
        QCOMPARE(OstAPIClient::defaultBaseURL(), QUrl("http://127.0.0.1:8080"));
        QVERIFY(OstAPIClient::sharedClient());
        QCOMPARE(OstAPIClient::sharedClient(), OstAPIClient::sharedClient());
    }

    void pathsGoBelowTheBaseURL()
    {
        m_client->setBaseURL(QUrl("http://cdn.example/quotes/"));
        QCOMPARE(m_client->URLForAPI("/api/v2/x/"), QUrl("http://cdn.example/quotes/api/v2/x/"));
        m_client->setBaseURL(QUrl("http://cdn.example"));
        QCOMPARE(m_client->URLForAPI("/api/v2/x/", {{"day", "2016-10-01"}}),
                 QUrl("http://cdn.example/api/v2/x/?day=2016-10-01"));
    }

    void objectAnswerBuildsTheModel()
    {
        m_fixture->respond(200, "{\"name\": \"Ada\", \"other\": 1}");
        Outcome outcome;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(outcome));
        QVERIFY(settle(outcome));
        QCOMPARE(outcome.calls, 1);
        QVERIFY(!outcome.error);
        QCOMPARE(outcome.model.objectCast<Item>()->name, QStringLiteral("Ada"));
        QCOMPARE(outcome.thread, QThread::currentThread());
        QVERIFY(m_fixture->requests().value(0).startsWith("GET /api/item/ HTTP/1.1"));
    }

    void failuresSayWhichKind_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("mentions");
        QTest::newRow("404 with a reason") << 404 << QByteArray("{\"error\": \"no quote for 2016-09-30\"}")
                                           << int(OTError::HTTPStatus) << "no quote for 2016-09-30";
        QTest::newRow("500 without a body") << 500 << QByteArray() << int(OTError::HTTPStatus) << "500";
        QTest::newRow("not JSON") << 200 << QByteArray("<html>oops</html>") << int(OTError::Undecodable) << "invalid JSON";
        QTest::newRow("truncated JSON") << 200 << QByteArray("{\"name\": \"Ad") << int(OTError::Undecodable) << "invalid JSON";
        QTest::newRow("array for an object") << 200 << QByteArray("[{\"name\": \"x\"}]") << int(OTError::Undecodable) << "not an object";
        QTest::newRow("empty body") << 200 << QByteArray() << int(OTError::Undecodable) << "invalid JSON";
    }
    void failuresSayWhichKind()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, kind);
        QFETCH(QString, mentions);
        m_fixture->respond(status, body);
        Outcome outcome;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(outcome));
        QVERIFY(settle(outcome));
        QCOMPARE(outcome.calls, 1);
        QVERIFY(!outcome.model);
        QCOMPARE(int(outcome.error.kind()), kind);
        QVERIFY2(outcome.error.description().contains(mentions), qPrintable(outcome.error.description()));
        if (kind == OTError::HTTPStatus)
            QCOMPARE(outcome.error.httpStatus(), status);
    }

    void arrayAnswerBuildsEveryElement()
    {
        m_fixture->respond(200, "[{\"name\": \"a\"}, {\"name\": \"b\"}, {}]");
        Outcome outcome;
        m_client->modelWithAPI("/api/items/", {}, &Item::staticMetaObject, true, recordListInto(outcome));
        QVERIFY(settle(outcome));
        QCOMPARE(outcome.calls, 1);
        QVERIFY(!outcome.error);
        QCOMPARE(outcome.models.size(), 3);
        QCOMPARE(outcome.models.at(1).objectCast<Item>()->name, QStringLiteral("b"));
        QVERIFY(outcome.models.at(2).objectCast<Item>()->name.isNull());

        m_fixture->respond(200, "[{\"name\": \"a\"}, 7]");
        Outcome bad;
        m_client->modelWithAPI("/api/items/", {}, &Item::staticMetaObject, true, recordListInto(bad));
        QVERIFY(settle(bad));
        QCOMPARE(bad.error.kind(), OTError::Undecodable);
        QVERIFY(bad.models.isEmpty());
    }

    void refusedConnectionIsANetworkError()
    {
        m_client->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort())));
        Outcome outcome;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(outcome));
        QVERIFY(settle(outcome));
        QCOMPARE(outcome.calls, 1);
        QCOMPARE(outcome.error.kind(), OTError::Network);
        QVERIFY(!outcome.error.isTimeout());
        QVERIFY(outcome.error.description().contains("refused", Qt::CaseInsensitive));
    }

    void silentServerTimesOut()
    {
        m_fixture->stayQuiet();
        m_client->setTransferTimeout(300);
        Outcome single, list;
        QElapsedTimer timer;
        timer.start();
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(single));
        m_client->modelWithAPI("/api/items/", {}, &Item::staticMetaObject, true, recordListInto(list));
        QVERIFY(settle(single));
        QVERIFY(settle(list));
        QCOMPARE(single.calls, 1);
        QCOMPARE(list.calls, 1);
        QCOMPARE(single.error.kind(), OTError::Network);
        QVERIFY(single.error.isTimeout());
        QVERIFY(list.error.isTimeout());
        QVERIFY(timer.elapsed() < 8000);
    }

    void completionRunsOnTheClientsThreadWhenAskedFromAnother()
    {
        m_fixture->respond(200, "{\"name\": \"x\"}");
        Outcome outcome;
        std::unique_ptr<QThread> worker(QThread::create([&]() {
            m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(outcome));
        }));
        worker->start();
        QVERIFY(worker->wait(5000));
        QVERIFY(settle(outcome));
        QCOMPARE(outcome.calls, 1);
        QCOMPARE(outcome.thread, QThread::currentThread());
    }

    void destroyedContextDropsTheAnswer()
    {
        m_fixture->respond(200, "{\"name\": \"x\"}");
        Outcome outcome;
        auto context = std::make_unique<QObject>();
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(outcome), context.get());
        context.reset();
        QTRY_COMPARE(m_fixture->requestCount(), 1);
        QTest::qWait(200);
        QCOMPARE(outcome.calls, 0);
    }

    void networkRequiredBypassesTheCache()
    {
        // With a disk cache and a cacheable answer, a plain request is served from the cache
        // the second time; a network-required one always reaches the server.
        QTemporaryDir dir;
        auto *cache = new QNetworkDiskCache(m_client.get());
        cache->setCacheDirectory(dir.path());
        m_client->networkAccessManager()->setCache(cache);
        const QByteArray date = QLocale::c().toString(QDateTime::currentDateTimeUtc(), "ddd, dd MMM yyyy hh:mm:ss 'GMT'").toLatin1();
        m_fixture->respond(200, "[{\"name\": \"x\"}]", "Cache-Control: public, max-age=3600\r\nDate: " + date + "\r\n");

        for (int i = 0; i < 2; ++i) {
            Outcome cached;
            m_client->modelWithMethod("GET", "/api/items/", {}, &Item::staticMetaObject,
                                      [&](OTModelPtr, const OTError &) { ++cached.calls; });
            QVERIFY(settle(cached));
        }
        QCOMPARE(m_fixture->requestCount(), 1);

        for (int i = 0; i < 2; ++i) {
            Outcome fresh;
            m_client->modelWithAPI("/api/items/", {}, &Item::staticMetaObject, true, recordListInto(fresh));
            QVERIFY(settle(fresh));
            QVERIFY(!fresh.error);
        }
        QCOMPARE(m_fixture->requestCount(), 3);
    }

private:
    std::unique_ptr<HttpFixture> m_fixture;
    std::unique_ptr<OstAPIClient> m_client;
};

QTEST_GUILESS_MAIN(TestOstAPIClient)
#include "tst_ostapiclient.moc"
