#include "TestServer.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

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
};

QTEST_GUILESS_MAIN(TestPostgres)
#include "tst_postgres.moc"
