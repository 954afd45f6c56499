#include "HttpFixture.h"
#include "Processes.h"
#include "OddFiles.h"
#include "ServerHarness.h"

#include <OTImagePrefetcher.h>
#include <OstAPIClient.h>

#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <atomic>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

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

// The process's resident memory in bytes (the fixture streams from this process too).
qint64 residentBytes()
{
    return processMemory("VmRSS");
}

constexpr qint64 MiB = 1024 * 1024;

// `data` repeated `times` times, gzip-compressed as it is produced: 200 MiB of zeros cost a
// fifth of a megabyte here.
QByteArray gzipped(const QByteArray &data, int times = 1)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    QByteArray out;
    char buffer[64 * 1024];
    for (int left = times; left > 0; --left) {
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.constData()));
        stream.avail_in = uInt(data.size());
        do {
            stream.next_out = reinterpret_cast<Bytef *>(buffer);
            stream.avail_out = sizeof buffer;
            deflate(&stream, left == 1 ? Z_FINISH : Z_NO_FLUSH);
            out.append(buffer, int(sizeof buffer - stream.avail_out));
        } while (stream.avail_out == 0 || stream.avail_in > 0);
    }
    deflateEnd(&stream);
    return out;
}

// Cache headers of an answer that may be kept but is stale at once, so that the next request
// asks the server again.
QByteArray staleAtOnce()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    return "Expires: Thu, 01 Jan 1970 00:00:00 GMT\r\nDate: "
           + QLocale::c().toString(now, "ddd, dd MMM yyyy hh:mm:ss 'GMT'").toLatin1() + "\r\n";
}

// The answer files of the client's disk cache.
QStringList cacheFiles()
{
    QStringList files;
    QDirIterator it(OstAPIClient::cacheDirectory(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    return files;
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
        // A new client on a device that has seen nothing.
        QDir(OstAPIClient::cacheDirectory()).removeRecursively();
        m_client = std::make_unique<OstAPIClient>();
        m_client->setBaseURL(QUrl(m_fixture->baseURL()));
    }

    void defaultBaseURLComesFromTheEnvironment()
    {
        qputenv("OSTQUOTE_API_BASE", "http://quotes.example:9000/v");
        QCOMPARE(OstAPIClient::defaultBaseURL(), QUrl("http://quotes.example:9000/v"));
        qputenv("OSTQUOTE_API_BASE", "");
        QCOMPARE(OstAPIClient::defaultBaseURL(), QUrl("http://127.0.0.1:8080"));
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

    // One deadline from send to completion: neither a body that keeps coming a byte at a
    // time nor a redirect to a server that never answers holds the request past it.
    void deadlineCoversTheWholeRequest_data()
    {
        QTest::addColumn<QString>("server");
        QTest::newRow("trickled body") << "trickle";
        QTest::newRow("redirect to a silent server") << "redirect-silent";
        QTest::newRow("silent server") << "silent";
    }
    void deadlineCoversTheWholeRequest()
    {
        QFETCH(QString, server);
        HttpFixture silent;
        QVERIFY(silent.listen());
        silent.stayQuiet();
        if (server == "trickle")
            m_fixture->trickle(100);
        else if (server == "redirect-silent")
            m_fixture->redirectTo(silent.baseURL().toLatin1());
        else
            m_fixture->stayQuiet();
        m_client->setTransferTimeout(1000);

        Outcome single, list;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(single));
        m_client->modelWithAPI("/api/items/", {}, &Item::staticMetaObject, true, recordListInto(list));
        QVERIFY(settle(single, 20000));
        QVERIFY(settle(list, 20000));
        for (const Outcome *outcome : {&single, &list}) {
            QCOMPARE(outcome->calls, 1);
            QCOMPARE(outcome->thread, QThread::currentThread());
            QCOMPARE(outcome->error.kind(), OTError::Network);
            QVERIFY(outcome->error.isTimeout());
            QVERIFY2(outcome->error.description().contains("timed out after 1 s"),
                     qPrintable(outcome->error.description()));
        }
        QVERIFY(!single.model);
        QVERIFY(list.models.isEmpty());
        if (server == "trickle") {
            // The body was still coming when the deadline struck: a pause timer would not have.
            QVERIFY(m_fixture->bodyBytesSent() >= 2);
        } else if (server == "redirect-silent") {
            QCOMPARE(m_fixture->requestCount(), 2);
            QCOMPARE(silent.requestCount(), 2);
        }
        // Nothing more comes later.
        QTest::qWait(300);
        QCOMPARE(single.calls, 1);
        QCOMPARE(list.calls, 1);
    }

    // A body without end is cut off as it arrives, a little past the cap, and the process's
    // memory stays flat meanwhile.
    void endlessBodyStopsAtTheCap_data()
    {
        QTest::addColumn<qint64>("cap");
        QTest::addColumn<QString>("says");
        QTest::newRow("default cap") << qint64(0) << "answer larger than 4 MiB";
        QTest::newRow("1 MiB cap") << MiB << "answer larger than 1 MiB";
    }
    void endlessBodyStopsAtTheCap()
    {
        QFETCH(qint64, cap);
        QFETCH(QString, says);
        m_fixture->streamEndlessly();
        if (cap > 0)
            m_client->setMaximumAnswerSize(cap);
        const qint64 limit = cap > 0 ? cap : OstAPIClient::DefaultMaximumAnswerSize;
        // Long enough that the cap, not the deadline, ends it.
        m_client->setTransferTimeout(60000);

        const qint64 before = residentBytes();
        QVERIFY(before > 0);
        Outcome outcome;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(outcome));
        QVERIFY(settle(outcome, 60000));
        const qint64 grown = residentBytes() - before;
        QCOMPARE(outcome.calls, 1);
        QCOMPARE(outcome.thread, QThread::currentThread());
        QCOMPARE(outcome.error.kind(), OTError::Network);
        QVERIFY(!outcome.error.isTimeout());
        QVERIFY2(outcome.error.description().contains(says), qPrintable(outcome.error.description()));
        // What was sent beyond the cap sat in socket buffers on the way.
        const qint64 sent = m_fixture->bodyBytesSent();
        QVERIFY2(sent > limit && sent < limit + 8 * MiB, qPrintable(QString::number(sent)));
        QVERIFY2(grown < 64 * MiB, qPrintable(QString::number(grown)));
    }

    // The cap holds for an answer that says its length, too; an answer of exactly the cap
    // is whole.
    void answerUpToTheCapIsWhole()
    {
        m_client->setMaximumAnswerSize(64 * 1024);
        const QByteArray prefix = "{\"name\": \"";
        const QByteArray atCap = prefix + QByteArray(64 * 1024 - prefix.size() - 2, 'x') + "\"}";
        QCOMPARE(atCap.size(), 64 * 1024);
        m_fixture->respond(200, atCap);
        Outcome whole;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(whole));
        QVERIFY(settle(whole));
        QVERIFY2(!whole.error, qPrintable(whole.error.description()));
        QCOMPARE(whole.model.objectCast<Item>()->name.size(), 64 * 1024 - prefix.size() - 2);

        m_fixture->respond(200, prefix + QByteArray(64 * 1024 - prefix.size() - 1, 'x') + "\"}");
        Outcome over;
        m_client->modelWithAPI("/api/items/", {}, &Item::staticMetaObject, true, recordListInto(over));
        QVERIFY(settle(over));
        QCOMPARE(over.calls, 1);
        QCOMPARE(over.error.kind(), OTError::Network);
        QVERIFY2(over.error.description().contains("answer larger than 64 KiB"),
                 qPrintable(over.error.description()));
    }

    // Five redirects are followed; a sixth, or a loop, ends the request as such (not as the
    // redirect's own status).
    void redirectsAreLimited_data()
    {
        QTest::addColumn<int>("hops");
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("chain of 5") << 5 << true;
        QTest::newRow("chain of 6") << 6 << false;
        QTest::newRow("loop") << -1 << false;
    }
    void redirectsAreLimited()
    {
        QFETCH(int, hops);
        QFETCH(bool, succeeds);
        m_fixture->respond(200, "{\"name\": \"end of the chain\"}");
        if (hops >= 0)
            m_fixture->redirectChain(hops);
        else
            m_fixture->redirectTo({});
        m_client->setTransferTimeout(20000);
        Outcome outcome;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(outcome));
        QVERIFY(settle(outcome, 30000));
        QCOMPARE(outcome.calls, 1);
        QCOMPARE(outcome.thread, QThread::currentThread());
        if (succeeds) {
            QVERIFY2(!outcome.error, qPrintable(outcome.error.description()));
            QCOMPARE(outcome.model.objectCast<Item>()->name, QStringLiteral("end of the chain"));
            QVERIFY(m_fixture->requests().last().startsWith("GET /hop/5/api/item/ "));
        } else {
            QCOMPARE(outcome.error.kind(), OTError::Network);
            QVERIFY(!outcome.error.isTimeout());
            QVERIFY2(outcome.error.description().contains("too many redirects"),
                     qPrintable(outcome.error.description()));
        }
        // The first request and the redirects followed, no more.
        QCOMPARE(m_fixture->requestCount(), succeeds ? hops + 1 : OTRequestGuard::MaximumRedirects + 1);
    }

    // The picture prefetcher's GETs keep the same limits, with a picture-sized cap.
    void prefetcherKeepsTheLimits()
    {
        QTemporaryDir cache;
        qputenv("XDG_CACHE_HOME", cache.path().toLocal8Bit());
        OTImagePrefetcher *prefetcher = OTImagePrefetcher::sharedImagePrefetcher();
        QSignalSpy prefetched(prefetcher, &OTImagePrefetcher::urlPrefetched);

        m_fixture->streamEndlessly();
        prefetcher->prefetchURLs({m_fixture->baseURL() + "/endless.jpg"});
        QVERIFY(prefetched.wait(60000));
        QCOMPARE(prefetched.takeFirst().value(1).toBool(), false);
        const qint64 sent = m_fixture->bodyBytesSent();
        QVERIFY2(sent > OTImagePrefetcher::MaximumPictureSize && sent < OTImagePrefetcher::MaximumPictureSize + 8 * MiB,
                 qPrintable(QString::number(sent)));

        m_fixture->redirectTo({});
        prefetcher->prefetchURLs({m_fixture->baseURL() + "/loop.jpg"});
        QVERIFY(prefetched.wait(30000));
        QCOMPARE(prefetched.takeFirst().value(1).toBool(), false);
        // Five redirects followed, not Qt's fifty. (The network thread's connections may send
        // one of the loop's requests twice, so the count on the wire is not exact.)
        const int loopRequests = m_fixture->requestCount() - 1;
        const int followed = 1 + OTRequestGuard::MaximumRedirects;
        QVERIFY2(loopRequests >= followed && loopRequests <= 2 * followed, qPrintable(QString::number(loopRequests)));
        QTest::qWait(300);
        QCOMPARE(m_fixture->requestCount(), loopRequests + 1);

        // And a picture that behaves still loads.
        m_fixture->respond(200, QByteArray(1000, 'p'), "Cache-Control: max-age=3600\r\n");
        prefetcher->prefetchURLs({m_fixture->baseURL() + "/fine.jpg"});
        QVERIFY(prefetched.wait(30000));
        QCOMPARE(prefetched.takeFirst().value(1).toBool(), true);
        qunsetenv("XDG_CACHE_HOME");
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

    // Whatever fails after an answer was kept ends the request at once, with its own error,
    // and leaves the kept answer to answer offline: an error status, a page that is not JSON,
    // a body cut short or reset, a compressed body that decodes past the cap.
    void failuresEndAtOnceAndKeepTheKeptAnswer_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("reset");
        QTest::addColumn<int>("kind"); // -1: the kept answer stands in
        QTest::addColumn<QString>("says");
        const QByteArray year = "Cache-Control: public, max-age=31536000\r\n";
        const QByteArray html = "<html>Sign in to the Wi-Fi</html>";
        const QByteArray bomb = gzipped(QByteArray(MiB, '\0'), 200);
        QTest::newRow("502") << "HTTP/1.1 502 Bad Gateway\r\nContent-Type: application/json\r\n" + year
                                    + "Content-Length: 2\r\n\r\n{}"
                             << false << int(OTError::HTTPStatus) << "HTTP 502";
        QTest::newRow("404 kept for a year") << "HTTP/1.1 404 Not Found\r\n" + year + "Content-Length: 0\r\n\r\n"
                                             << false << int(OTError::HTTPStatus) << "HTTP 404";
        QTest::newRow("captive portal page")
            << "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n" + year + "Content-Length: "
                   + QByteArray::number(html.size()) + "\r\n\r\n" + html
            << false << int(OTError::Undecodable) << "invalid JSON";
        QTest::newRow("body cut short") << "HTTP/1.1 200 OK\r\n" + year + "Content-Length: 100\r\n\r\n{\"name\": \"cu"
                                        << false << -1 << "";
        QTest::newRow("connection reset") << "HTTP/1.1 200 OK\r\n" + year + "Content-Length: 100\r\n\r\n{\"name\": \"re"
                                          << true << -1 << "";
        QTest::newRow("200 MB of zeros, gzipped")
            << "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n" + year + "Content-Length: "
                   + QByteArray::number(bomb.size()) + "\r\n\r\n" + bomb
            << false << int(OTError::Network) << "does not decode within 4 MiB";
        // Not a bomb by its ratio, yet past the cap once decoded.
        QByteArray text;
        for (quint32 x = 1; text.size() < 6 * MiB; x = x * 1103515245u + 12345u)
            text += QByteArray::number(x >> 8, 36);
        const QByteArray dense = gzipped(text);
        QTest::newRow("6 MB of text, gzipped")
            << "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n" + year + "Content-Length: "
                   + QByteArray::number(dense.size()) + "\r\n\r\n" + dense
            << false << int(OTError::Network) << "answer larger than 4 MiB";
    }
    void failuresEndAtOnceAndKeepTheKeptAnswer()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, reset);
        QFETCH(int, kind);
        QFETCH(QString, says);
        m_client->setTransferTimeout(20000);
        // Kept, and stale at once, so that the next request asks the server.
        m_fixture->respond(200, "{\"name\": \"kept\"}", staleAtOnce());
        Outcome first;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(first));
        QVERIFY(settle(first));
        QVERIFY2(!first.error, qPrintable(first.error.description()));

        m_fixture->respondRaw(answer, reset ? HttpFixture::Ending::Reset : HttpFixture::Ending::Close);
        QElapsedTimer clock;
        clock.start();
        Outcome failed;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(failed));
        QVERIFY(settle(failed, 30000));
        const qint64 took = clock.elapsed();
        QCOMPARE(failed.calls, 1);
        if (kind < 0) {
            // The network failed: the kept answer stands in.
            QVERIFY2(!failed.error, qPrintable(failed.error.description()));
            QCOMPARE(failed.model.objectCast<Item>()->name, QStringLiteral("kept"));
        } else {
            QVERIFY(!failed.model);
            QCOMPARE(int(failed.error.kind()), kind);
            QVERIFY2(!failed.error.isTimeout(), qPrintable(failed.error.description()));
            QVERIFY2(failed.error.description().contains(says), qPrintable(failed.error.description()));
        }
        // At once, not at the deadline (a generous margin for a loaded machine).
        QVERIFY2(took < 8000, qPrintable(QString::number(took)));
        QCOMPARE(m_fixture->requestCount(), 2);

        // The server gone: the kept answer, unchanged, answers.
        m_fixture.reset();
        Outcome offline;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(offline));
        QVERIFY(settle(offline, 30000));
        QVERIFY2(!offline.error, qPrintable(offline.error.description()));
        QCOMPARE(offline.model.objectCast<Item>()->name, QStringLiteral("kept"));
    }

    // Only JSON answers with status 200 are kept: nothing else answers offline.
    void onlyGoodAnswersAreKept_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("500") << 500 << QByteArray("{\"name\": \"error page\"}");
        QTest::newRow("203") << 203 << QByteArray("{\"name\": \"transformed\"}");
        QTest::newRow("HTML") << 200 << QByteArray("<html></html>");
        QTest::newRow("empty") << 200 << QByteArray();
    }
    void onlyGoodAnswersAreKept()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        m_fixture->respond(status, body, "Cache-Control: public, max-age=31536000\r\n");
        Outcome online;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(online));
        QVERIFY(settle(online));
        QVERIFY(cacheFiles().isEmpty());
        m_fixture.reset();
        Outcome offline;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(offline));
        QVERIFY(settle(offline));
        QCOMPARE(offline.error.kind(), OTError::Network);
        QVERIFY(!offline.model);
    }

    // What stands in the cache folder in place of a kept answer is never opened: a FIFO would
    // block the client for good.
    void oddFilesInTheCacheAreNotRead_data() { addOddFileRows(64 * MiB); }
    void oddFilesInTheCacheAreNotRead()
    {
        QFETCH(QString, kind);
        m_fixture->respond(200, "{\"name\": \"kept\"}", staleAtOnce());
        Outcome first;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(first));
        QVERIFY(settle(first));
        const QStringList kept = cacheFiles();
        QCOMPARE(kept.size(), 1);
        QVERIFY(QFile::remove(kept.first()));
        QVERIFY(makeOddFile(kept.first(), kind, 64 * MiB));

        // Should the FIFO be opened anyway, this lets the test end (and fail) instead of hanging.
        std::atomic<bool> done = false;
        std::thread rescue([&done, path = QFile::encodeName(kept.first())]() {
            for (int i = 0; i < 200 && !done; ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
                const int fd = ::open(path.constData(), O_WRONLY | O_NONBLOCK);
                if (fd >= 0)
                    ::close(fd);
            }
        });
        m_fixture.reset();
        QElapsedTimer clock;
        clock.start();
        Outcome offline;
        m_client->modelWithMethod("GET", "/api/item/", {}, &Item::staticMetaObject, recordInto(offline));
        const bool answered = settle(offline);
        done = true;
        rescue.join();
        QVERIFY(answered);
        QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(offline.calls, 1);
        QCOMPARE(offline.error.kind(), OTError::Network);
        if (kind != QLatin1String("large") && kind != QLatin1String("directory"))
            QVERIFY(!QFileInfo(kept.first()).isSymLink() && !QFileInfo::exists(kept.first()));
    }

private:
    std::unique_ptr<HttpFixture> m_fixture;
    std::unique_ptr<OstAPIClient> m_client;
};

QTEST_GUILESS_MAIN(TestOstAPIClient)
#include "tst_ostapiclient.moc"
