#include "ServerHarness.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <unistd.h>

// ostquote-server processes started at the same moment, each on its own loopback port and
// with the same pinned clock, so that they meet the same days at once. Each may seed from a
// dataset of its own (`datasets[i]`, the built-in one where there is none).
class ServerGroup
{
public:
    ~ServerGroup() { stop(); }

    bool start(int count, const QString &database, const QString &now, QString *error,
               const QList<QList<QStringList>> &datasets = {})
    {
        stop();
        m_dir = std::make_unique<QTemporaryDir>();
        for (int i = 0; i < count; ++i) {
            QStringList arguments{"--host", "127.0.0.1", "--port", "0", "--database", database, "--time-zone", "UTC",
                                  "--access-log", m_dir->filePath(QString("access-%1.log").arg(i))};
            if (i < datasets.size())
                arguments << "--dataset" << writeDataset(m_dir->filePath(QString("quotes-%1.json").arg(i)), datasets[i]);
            auto process = std::make_unique<QProcess>();
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert("OSTQUOTE_NOW", now);
            env.insert("OSTQUOTE_TIME_ZONE", "UTC");
            env.insert("QT_QPA_PLATFORM", "offscreen");
            env.insert("XDG_DATA_HOME", m_dir->filePath(QString("data-%1").arg(i)));
            process->setProcessEnvironment(env);
            process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
            process->start(OSTQUOTE_SERVER_BINARY, arguments);
            m_processes.push_back(std::move(process));
        }
        static const QRegularExpression listening("listening on (http://\\S+)");
        for (auto &process : m_processes) {
            QByteArray output;
            QDeadlineTimer deadline(60000);
            QUrl url;
            while (url.isEmpty() && !deadline.hasExpired() && process->state() != QProcess::NotRunning) {
                process->waitForReadyRead(100);
                output += process->readAllStandardOutput();
                const QRegularExpressionMatch match = listening.match(QString::fromUtf8(output));
                if (match.hasMatch())
                    url = QUrl(match.captured(1));
            }
            if (url.isEmpty()) {
                *error = QString("server %1 did not start: %2").arg(m_urls.size()).arg(QString::fromUtf8(output));
                return false;
            }
            m_urls.append(url);
        }
        return true;
    }

    void stop()
    {
        for (auto &process : m_processes) {
            process->terminate();
            if (!process->waitForFinished(10000)) {
                process->kill();
                process->waitForFinished(5000);
            }
        }
        m_processes.clear();
        m_urls.clear();
    }

    const QList<QUrl> &urls() const { return m_urls; }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::vector<std::unique_ptr<QProcess>> m_processes;
    QList<QUrl> m_urls;
};

// The quote server on a real PostgreSQL server: a private cluster started in a temporary
// directory for this test, on a free loopback port.
class TestPostgres : public QObject
{
    Q_OBJECT

    QString m_bin;
    std::unique_ptr<QTemporaryDir> m_dir;
    quint16 m_port = 0;
    bool m_running = false;

    // PostgreSQL refuses to run as root; as root the cluster belongs to "postgres".
    bool runAsClusterOwner(const QString &program, const QStringList &arguments, QByteArray *output = nullptr)
    {
        QProcess process;
        if (geteuid() == 0)
            process.start("runuser", QStringList{"-u", "postgres", "--", m_bin + "/" + program} + arguments);
        else
            process.start(m_bin + "/" + program, arguments);
        process.setProcessChannelMode(QProcess::MergedChannels);
        const bool ok = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit
                        && process.exitCode() == 0;
        if (output)
            *output = process.readAll();
        return ok;
    }

    QJsonObject get(const QUrl &base, const QString &path)
    {
        QNetworkAccessManager network;
        QNetworkReply *reply = network.get(QNetworkRequest(base.resolved(QUrl(path))));
        if (!QTest::qWaitFor([&]() { return reply->isFinished(); }, 10000))
            return {};
        const QJsonObject object = QJsonDocument::fromJson(reply->readAll()).object();
        delete reply;
        return object;
    }

    // GETs every (server, path) pair at once, several connections per server, and returns
    // the bodies in the same order; an empty body where no 200 came.
    static QList<QByteArray> getAll(const QList<std::pair<QUrl, QString>> &requests)
    {
        // Qt opens at most six connections per host and manager; more managers, more at once.
        std::vector<std::unique_ptr<QNetworkAccessManager>> managers(6);
        for (auto &manager : managers)
            manager = std::make_unique<QNetworkAccessManager>();
        QList<QNetworkReply *> replies;
        for (qsizetype i = 0; i < requests.size(); ++i) {
            QNetworkRequest request(requests[i].first.resolved(QUrl(requests[i].second)));
            request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
            replies.append(managers[std::size_t(i) % managers.size()]->get(request));
        }
        const bool finished = QTest::qWaitFor(
            [&]() { return std::all_of(replies.cbegin(), replies.cend(), [](QNetworkReply *r) { return r->isFinished(); }); },
            60000);
        if (!finished)
            qWarning("%lld requests did not finish", qint64(std::count_if(replies.cbegin(), replies.cend(),
                                                                         [](QNetworkReply *r) { return !r->isFinished(); })));
        QList<QByteArray> bodies;
        for (QNetworkReply *reply : replies) {
            const bool ok = reply->isFinished() && reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200;
            bodies.append(ok ? reply->readAll() : QByteArray());
            delete reply;
        }
        return bodies;
    }

    // A quote answer with its server's address taken out.
    static QByteArray portable(QByteArray body, const QUrl &base)
    {
        return body.replace(base.toString(QUrl::StripTrailingSlash).toUtf8(), "BASE");
    }

    static QJsonObject withoutURLs(QJsonObject quote)
    {
        for (const char *key : {"share_urls", "origin_img_urls", "share_img_urls", "share_img_url"})
            quote.remove(key);
        return quote;
    }

private Q_SLOTS:
    void initTestCase()
    {
        const QStringList versions = QDir("/usr/lib/postgresql").entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        if (versions.isEmpty())
            QSKIP("PostgreSQL is not installed (scripts/setup installs it)");
        m_bin = "/usr/lib/postgresql/" + versions.last() + "/bin";
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        if (geteuid() == 0)
            QVERIFY(QProcess::execute("chown", {"-R", "postgres:postgres", m_dir->path()}) == 0);
        const QString data = m_dir->filePath("cluster");
        QByteArray output;
        QVERIFY2(runAsClusterOwner("initdb", {"-D", data, "-A", "trust", "-U", "ostquote", "-E", "UTF8", "--no-sync"}, &output),
                 output.constData());
        m_port = ot_unusedLoopbackPort();
        QVERIFY2(runAsClusterOwner("pg_ctl", {"-D", data, "-w", "-l", m_dir->filePath("cluster.log"), "-o",
                                              QString("-p %1 -k %2 -c listen_addresses=127.0.0.1 -c fsync=off")
                                                  .arg(m_port).arg(m_dir->path()),
                                              "start"},
                                   &output),
                 output.constData());
        m_running = true;
        QVERIFY2(runAsClusterOwner("createdb", {"-h", "127.0.0.1", "-p", QString::number(m_port), "-U", "ostquote", "quotes"}, &output),
                 output.constData());
    }

    void cleanupTestCase()
    {
        if (m_running)
            runAsClusterOwner("pg_ctl", {"-D", m_dir->filePath("cluster"), "-m", "immediate", "stop"});
    }

    void servesTheSameDaysAsSQLiteAndKeepsThemAcrossRestarts()
    {
        TestServer::Options options;
        options.now = QDateTime::fromString("2017-01-15T12:00:00Z", Qt::ISODate);
        options.timeZone = "UTC";
        options.database = QString("postgresql://ostquote@127.0.0.1:%1/quotes").arg(m_port);

        TestServer onPostgres;
        QVERIFY2(onPostgres.start(options), qPrintable(onPostgres.errorString()));
        const QJsonObject first = get(onPostgres.baseURL(), "/api/v2/quote/quotes/2016-10-01/");
        const QJsonObject today = get(onPostgres.baseURL(), "/api/v2/quote/quotes/today/");
        QCOMPARE(first.value("assign_date").toString(), QStringLiteral("2016-10-01"));
        QCOMPARE(today.value("assign_date").toString(), QStringLiteral("2017-01-15"));
        QVERIFY(!first.value("content").toString().isEmpty());
        onPostgres.stop();

        // Restarted on the same database, and on the libpq keyword form of the same address.
        options.database = QString("host=127.0.0.1 port=%1 user=ostquote dbname=quotes").arg(m_port);
        QVERIFY2(onPostgres.start(options), qPrintable(onPostgres.errorString()));
        QCOMPARE(withoutURLs(get(onPostgres.baseURL(), "/api/v2/quote/quotes/2016-10-01/")), withoutURLs(first));
        QCOMPARE(withoutURLs(get(onPostgres.baseURL(), "/api/v2/quote/quotes/today/")), withoutURLs(today));

        // The assignment does not depend on the database behind it.
        options.database.clear();
        TestServer onSQLite;
        QVERIFY2(onSQLite.start(options), qPrintable(onSQLite.errorString()));
        for (const char *day : {"2016-10-01", "2016-12-25", "2017-01-15", "2017-01-22"}) {
            const QString path = QString("/api/v2/quote/quotes/%1/").arg(day);
            QCOMPARE(withoutURLs(get(onSQLite.baseURL(), path)), withoutURLs(get(onPostgres.baseURL(), path)));
        }
    }

    void serversSharingTheDatabaseServeTheSameNewDays()
    {
        QByteArray output;
        QVERIFY2(runAsClusterOwner("createdb", {"-h", "127.0.0.1", "-p", QString::number(m_port), "-U", "ostquote", "shared"}, &output),
                 output.constData());
        const QString database = QString("postgresql://ostquote@127.0.0.1:%1/shared").arg(m_port);

        // Two servers come up at once on the empty database: both create the tables, seed
        // the quotes and deal the days through 2017-03-18. Seconds later their midnight comes
        // and both deal 2017-03-19 at the same moment. They seed from different pools (400
        // quotes each, 300 of them shared), so left to itself each would deal other quotes:
        // only the database can make them agree.
        const auto pool = [](int from) {
            QList<QStringList> quotes;
            for (int i = from; i < from + 400; ++i)
                quotes.append({QString("Author %1").arg(i), QString("Sentence number %1.").arg(i), QString("第%1句。").arg(i)});
            return quotes;
        };
        const QList<QList<QStringList>> pools = {pool(1), pool(101)};
        ServerGroup servers;
        QString error;
        QVERIFY2(servers.start(2, database, "2017-03-11T23:59:54Z", &error, pools), qPrintable(error));
        const QList<QUrl> urls = servers.urls();
        for (const QUrl &url : urls)
            QTRY_COMPARE_WITH_TIMEOUT(get(url, "/api/v2/quote/quotes/today/").value("assign_date").toString(),
                                      QStringLiteral("2017-03-12"), 30000);

        // Many first requests for the new days, to both at once: one answer for each day.
        const QStringList newDays = {"/api/v2/quote/quotes/2017-03-19/", "/api/v2/quote/quotes/today/",
                                     "/api/v2/quote/quotes/batch/"};
        QList<std::pair<QUrl, QString>> requests;
        for (int round = 0; round < 20; ++round) {
            for (const QString &path : newDays) {
                for (const QUrl &url : urls)
                    requests.append({url, path});
            }
        }
        QList<QByteArray> bodies = getAll(requests);
        for (qsizetype i = 0; i < requests.size(); ++i) {
            const qsizetype first = i % (newDays.size() * urls.size()) - i % urls.size();   // same path, first server
            QVERIFY2(!bodies[i].isEmpty(), qPrintable(requests[i].second));
            QCOMPARE(portable(bodies[i], requests[i].first), portable(bodies[first], requests[first].first));
        }
        QCOMPARE(QJsonDocument::fromJson(bodies[0]).object().value("assign_date").toString(), QStringLiteral("2017-03-19"));
        servers.stop();

        // Both started together again fifteen months on: both deal the 455 days they have
        // not seen, at the same moment. Every day is then asked of both, all at once.
        QVERIFY2(servers.start(2, database, "2018-06-10T12:00:00Z", &error, pools), qPrintable(error));
        requests.clear();
        QStringList keys;
        for (QDate day(2016, 10, 1); day <= QDate(2018, 6, 17); day = day.addDays(1)) {
            keys.append(day.toString(Qt::ISODate));
            for (const QUrl &url : servers.urls())
                requests.append({url, "/api/v2/quote/quotes/" + keys.last() + "/"});
        }
        bodies = getAll(requests);
        QHash<QString, QString> contents;
        for (qsizetype i = 0; i < requests.size(); i += 2) {
            QVERIFY2(!bodies[i].isEmpty() && !bodies[i + 1].isEmpty(), qPrintable(requests[i].second));
            QCOMPARE(portable(bodies[i + 1], requests[i + 1].first), portable(bodies[i], requests[i].first));
            contents.insert(keys[i / 2], QJsonDocument::fromJson(bodies[i]).object().value("content").toString());
        }

        // And what they agree on keeps a year between repeats (every quote has come round by
        // now, so the distinct contents are the pool).
        const QList<QString> all = contents.values();
        const int window = std::min(365, int(QSet<QString>(all.cbegin(), all.cend()).size()) - 1);
        QVERIFY(window > 300);
        for (qsizetype i = 0; i < keys.size(); ++i) {
            for (qsizetype back = std::max<qsizetype>(0, i - window); back < i; ++back)
                QVERIFY2(contents[keys[back]] != contents[keys[i]], qPrintable(keys[back] + " and " + keys[i]));
        }
    }
};

QTEST_GUILESS_MAIN(TestPostgres)
#include "tst_postgres.moc"
