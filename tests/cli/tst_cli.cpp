#include "HttpFixture.h"
#include "ServerHarness.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

// ostquote-cli as a user runs it: against the real server, with the desktop's data
// locations pointed at a temporary directory.
class TestCli : public QObject
{
    Q_OBJECT

    struct Run
    {
        int exitCode = -1;
        QByteArray out;
        QByteArray err;
    };

    Run cli(const QStringList &arguments, const QString &api = {}, const QString &now = {},
            const QString &zone = QStringLiteral("Asia/Shanghai"))
    {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_DATA_HOME", m_home->filePath("data"));
        env.insert("XDG_CONFIG_HOME", m_home->filePath("config"));
        env.insert("XDG_CACHE_HOME", m_home->filePath("cache"));
        env.insert("OSTQUOTE_TIME_ZONE", zone);
        env.insert("OSTQUOTE_API_BASE", api.isEmpty() ? m_server.baseURL().toString() : api);
        if (!now.isEmpty())
            env.insert("OSTQUOTE_NOW", now);
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(OSTQUOTE_CLI_BINARY), arguments);
        Run run;
        // The event loop keeps running meanwhile, for a fixture server in this process.
        if (!process.waitForStarted(10000)
            || !QTest::qWaitFor([&]() { return process.state() == QProcess::NotRunning; }, 30000)) {
            process.kill();
            process.waitForFinished(5000);
            return run;
        }
        run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
        run.out = process.readAllStandardOutput();
        run.err = process.readAllStandardError();
        return run;
    }

    static QJsonObject object(const QByteArray &out) { return QJsonDocument::fromJson(out).object(); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_server.start(QDateTime::fromString("2016-10-03T09:00:00+08:00", Qt::ISODate), "Asia/Shanghai"),
                 qPrintable(m_server.errorString()));
    }

    void init() { m_home = std::make_unique<QTemporaryDir>(); }

    // The README's synopsis and the program's own help list the same options, with the same
    // value names, so that neither drifts from the other.
    void theReadmeSynopsisListsEveryOption()
    {
        const Run help = cli({QStringLiteral("--help")});
        QCOMPARE(help.exitCode, 0);
        const QString text = QString::fromUtf8(help.out);
        const qsizetype optionsAt = text.indexOf(QLatin1String("\nOptions:\n"));
        QVERIFY(optionsAt >= 0);
        const QString optionsPart = text.mid(optionsAt, text.indexOf(QLatin1String("\nArguments:"), optionsAt) - optionsAt);
        // "  -h, --help   ..." and "  --api <URL>   ...": each name, with its value name.
        QStringList fromHelp;
        static const QRegularExpression line(QStringLiteral("^  (-\\w, )?(--[\\w-]+)(?: <(\\w+)>)?"),
                                             QRegularExpression::MultilineOption);
        for (auto it = line.globalMatch(optionsPart); it.hasNext();) {
            const QRegularExpressionMatch option = it.next();
            if (!option.captured(1).isEmpty())
                fromHelp.append(option.captured(1).chopped(2));
            fromHelp.append(option.captured(3).isEmpty() ? option.captured(2)
                                                         : option.captured(2) + u' ' + option.captured(3));
        }
        QVERIFY2(fromHelp.size() >= 6, qPrintable(text));

        QFile readme(QStringLiteral(OSTQUOTE_README));
        QVERIFY(readme.open(QIODevice::ReadOnly | QIODevice::Text));
        const QString all = QString::fromUtf8(readme.readAll());
        const qsizetype section = all.indexOf(QLatin1String("## The command-line client"));
        QVERIFY(section >= 0);
        const qsizetype open = all.indexOf(QLatin1String("```\n"), section);
        const qsizetype close = all.indexOf(QLatin1String("```"), open + 4);
        QVERIFY(open > section && close > open);
        const QString synopsis = all.mid(open + 4, close - open - 4);
        QStringList fromReadme;
        static const QRegularExpression mention(QStringLiteral("(?<![\\w-])(--?[a-z][\\w-]*)(?: ([A-Z][A-Z-]*))?"));
        for (auto it = mention.globalMatch(synopsis); it.hasNext();) {
            const QRegularExpressionMatch option = it.next();
            fromReadme.append(option.captured(2).isEmpty() ? option.captured(1)
                                                           : option.captured(1) + u' ' + option.captured(2));
        }
        fromHelp.sort();
        fromReadme.sort();
        fromReadme.removeDuplicates();
        QCOMPARE(fromReadme, fromHelp);

        // Each of the help options does what it says.
        for (const QString &option : {QStringLiteral("-h"), QStringLiteral("--help-all")}) {
            const Run run = cli({option});
            QCOMPARE(run.exitCode, 0);
            QCOMPARE(run.out, help.out);
        }
        const Run version = cli({QStringLiteral("-v")});
        QCOMPARE(version.exitCode, 0);
        QCOMPARE(version.out, QByteArray("ostquote-cli 1.0\n"));
    }

    void todayDayAndBatchPrintRecords()
    {
        const Run today = cli({"today"});
        QCOMPARE(today.exitCode, 0);
        const QJsonObject q = object(today.out);
        QCOMPARE(q.size(), 8);
        QCOMPARE(q.value("assign_date").toString(), QStringLiteral("2016-10-03"));
        QVERIFY(q.value("share_urls").isObject());
        QVERIFY(q.value("origin_img_urls").isArray());

        const Run day = cli({"--api", m_server.baseURL().toString(), "day", "2016-10-01"}, "http://127.0.0.1:1");
        QCOMPARE(day.exitCode, 0);
        QCOMPARE(object(day.out).value("assign_date").toString(), QStringLiteral("2016-10-01"));

        const Run batch = cli({"batch"});
        QCOMPARE(batch.exitCode, 0);
        const QJsonArray array = QJsonDocument::fromJson(batch.out).array();
        QCOMPARE(array.size(), 8);
        QCOMPARE(array.last().toObject().value("assign_date").toString(), QStringLiteral("2016-10-10"));
    }

    void updateThenLatestReadsItBack()
    {
        const Run fresh = cli({"latest"});
        QCOMPARE(fresh.exitCode, 0);
        QVERIFY(fresh.out.isEmpty());
        QVERIFY(fresh.err.isEmpty());

        const Run update = cli({"update"});
        QCOMPARE(update.exitCode, 0);
        const Run latest = cli({"latest"});
        QCOMPARE(latest.exitCode, 0);
        QCOMPARE(object(latest.out), object(update.out));
        QCOMPARE(object(latest.out).value("assign_date").toString(), QStringLiteral("2016-10-03"));
        // Kept where the desktop keeps application data.
        QVERIFY(QFile::exists(m_home->filePath("data/ostrel/ostquote-cli/ostrel-defaults.cbor")));
    }

    // A day is named by its key, by how many days back it lies, or by a link to it.
    void dayTakesAKeyACountBackOrALink_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("day");
        const QString share = m_server.baseURL().toString() + QStringLiteral("/share/quotes/2016-10-02/");
        QTest::newRow("a key") << QStringList{"day", "2016-10-02"} << "2016-10-02";
        QTest::newRow("two days back") << QStringList{"day", "-2"} << "2016-10-01";
        QTest::newRow("no day back") << QStringList{"day", "-0"} << "2016-10-03";
        QTest::newRow("a count back, options after it") << QStringList{"day", "-1", "--timeout", "10"} << "2016-10-02";
        QTest::newRow("the app link") << QStringList{"day", "ostquote://day/2016-10-02"} << "2016-10-02";
        QTest::newRow("the server's share page") << QStringList{"day", share} << "2016-10-02";
        QTest::newRow("the share page shared to a target") << QStringList{"day", share + "?via=weibo"} << "2016-10-02";
        QTest::newRow("a share page elsewhere") << QStringList{"day", "http://elsewhere.example/share/quotes/2016-10-02/"} << "";
        QTest::newRow("a link to no day") << QStringList{"day", "ostquote://day/2016-10-32"} << "";
        QTest::newRow("a count with a sign") << QStringList{"day", "+2"} << "";
        QTest::newRow("too far back to count") << QStringList{"day", "-99999999999"} << "";
    }

    void dayTakesAKeyACountBackOrALink()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, day);
        // 3 October, 01:00 in Shanghai: still 2 October in UTC, so "days back" count in the
        // zone the clock is set to.
        const Run run = cli(arguments, {}, QStringLiteral("2016-10-02T17:00:00Z"));
        if (day.isEmpty()) {
            QCOMPARE(run.exitCode, 2);
            QVERIFY2(run.err.contains("not a day"), run.err.constData());
            return;
        }
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(object(run.out).value("assign_date").toString(), day);
    }

    // Days back are calendar days in the clock's zone, also across a change of clocks: the
    // evening after the autumn change is 25 hours after the evening before it.
    void daysBackCountCalendarDays()
    {
        const Run run = cli({"day", "-1"}, {}, QStringLiteral("2016-10-30T23:30:00+01:00"), QStringLiteral("Europe/Berlin"));
        // Past the server's today, so refused; the day asked is in the message.
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains("/quotes/2016-10-29/"), run.err.constData());
    }

    void errorsGoToStderrWithAnExitStatus_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("says");
        QTest::newRow("no command") << QStringList{} << 2 << "no command";
        QTest::newRow("unknown command") << QStringList{"tomorrow"} << 2 << "unknown command";
        QTest::newRow("day without a day") << QStringList{"day"} << 2 << "usage";
        QTest::newRow("not a day") << QStringList{"day", "2016-02-30"} << 2 << "not a day";
        QTest::newRow("extra argument") << QStringList{"today", "now"} << 2 << "takes no arguments";
        QTest::newRow("bad api") << QStringList{"--api", "ftp://x", "today"} << 2 << "not an http";
        QTest::newRow("day out of range") << QStringList{"day", "2016-09-30"} << 1 << "404";
        QTest::newRow("bad option") << QStringList{"--frobnicate", "today"} << 2 << "frobnicate";
    }
    void errorsGoToStderrWithAnExitStatus()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, says);
        const Run run = cli(arguments);
        QCOMPARE(run.exitCode, exitCode);
        QVERIFY(run.out.isEmpty());
        QVERIFY2(QString::fromUtf8(run.err).contains(says, Qt::CaseInsensitive), run.err.constData());
    }

    void unreachableServerFailsCleanly()
    {
        const Run run = cli({"--timeout", "3", "today"}, QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort()));
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.err.contains("refused"));
        // A failed update leaves nothing behind for latest.
        QCOMPARE(cli({"update"}, QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort())).exitCode, 1);
        const Run latest = cli({"latest"});
        QCOMPARE(latest.exitCode, 0);
        QVERIFY(latest.out.isEmpty());
    }

    // A server that never finishes answering costs the --timeout given, or the cap, or the
    // redirect limit, each with its own message.
    void hostileServerEndsWithAMessage_data()
    {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("says");
        QTest::newRow("trickle") << "trickle" << "timed out after 2 s";
        QTest::newRow("endless body") << "endless" << "answer larger than 4 MiB";
        QTest::newRow("redirect loop") << "redirect-loop" << "too many redirects";
    }
    void hostileServerEndsWithAMessage()
    {
        QFETCH(QString, server);
        QFETCH(QString, says);
        HttpFixture fixture;
        QVERIFY(fixture.listen());
        if (server == "trickle")
            fixture.trickle(200);
        else if (server == "endless")
            fixture.streamEndlessly();
        else
            fixture.redirectTo({});
        const Run run = cli({"--timeout", "2", "today"}, fixture.baseURL());
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.out.isEmpty());
        QVERIFY2(QString::fromUtf8(run.err).contains(says), run.err.constData());
        QVERIFY(run.err.contains("/api/v2/quote/quotes/today/"));
        // Nothing is kept from a failed update either.
        QCOMPARE(cli({"--timeout", "2", "update"}, fixture.baseURL()).exitCode, 1);
        QVERIFY(cli({"latest"}).out.isEmpty());
    }

    void damagedStoreIsReportedByLatest()
    {
        QDir().mkpath(m_home->filePath("data/ostrel/ostquote-cli"));
        QFile file(m_home->filePath("data/ostrel/ostquote-cli/ostrel-defaults.cbor"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        // A valid settings map whose latest-quote entry is not an archive.
        file.write(QByteArray::fromHex("a1" "696b4e657751756f7465" "43010203"));
        file.close();
        const Run run = cli({"latest"});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.err.contains("cannot be read"));
        QCOMPARE(run.err.trimmed().count('\n'), 0);   // one line: not said by the store and again by the CLI
    }

    // A settings file that cannot be decoded: latest says so and where it went, nothing
    // is lost, and the next update starts a new store.
    void anUndecodableStoreIsMovedAsideAndSaidSo()
    {
        const QString store = m_home->filePath("data/ostrel/ostquote-cli/ostrel-defaults.cbor");
        QDir().mkpath(QFileInfo(store).absolutePath());
        const QByteArray damage = QByteArray::fromHex("a2616101646b65");   // a map cut short
        {
            QFile file(store);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(damage);
        }
        const Run latest = cli({"latest"});
        QCOMPARE(latest.exitCode, 1);
        QVERIFY(latest.out.isEmpty());
        const QStringList aside = QDir(QFileInfo(store).absolutePath()).entryList({"ostrel-defaults.cbor.damaged-*"});
        QCOMPARE(aside.size(), 1);
        QVERIFY2(latest.err.contains(aside.first().toUtf8()), latest.err.constData());
        QCOMPARE(latest.err.count("moved aside"), 1);
        QFile kept(QFileInfo(store).absolutePath() + u'/' + aside.first());
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), damage);

        QCOMPARE(cli({"update"}).exitCode, 0);
        const Run again = cli({"latest"});
        QCOMPARE(again.exitCode, 0);
        QCOMPARE(object(again.out).value("assign_date").toString(), QStringLiteral("2016-10-03"));
    }

    // Something other than a file in the store's place, or a folder that cannot be made: both
    // commands fail at once with the reason, and nothing is touched.
    void aStoreThatCannotBeUsedFailsWithTheReason()
    {
        const QString folder = m_home->filePath("data/ostrel/ostquote-cli");
        QDir().mkpath(folder);
        const QString store = folder + QStringLiteral("/ostrel-defaults.cbor");
        QVERIFY(::mkfifo(QFile::encodeName(store).constData(), 0600) == 0);
        for (const char *command : {"latest", "update"}) {
            const Run run = cli({QString::fromLatin1(command)});
            QCOMPARE(run.exitCode, 1);
            QVERIFY2(run.err.contains("not a regular file"), run.err.constData());
        }
        QVERIFY(QFileInfo(store).exists() && !QFileInfo(store).isFile());

        // The folder cannot be made: a plain file stands where it should be.
        QDir(folder).removeRecursively();
        QFile blocker(folder);
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        const Run update = cli({"update"});
        QCOMPARE(update.exitCode, 1);
        QVERIFY(update.out.isEmpty());
        QVERIFY2(update.err.contains("could not keep the quote") && update.err.contains("cannot"), update.err.constData());
    }

    // A day already fetched is answered from the cache when the server is gone; the last
    // "today", no longer fresh and no longer today, is not; the batch never is, and a day
    // never seen fails as before.
    void daysAlreadySeenAreAnsweredOffline()
    {
        // Two seconds before midnight: today's answer is fresh for two seconds only, so what
        // is asked after that must be answered by a server, or offline by the cache.
        TestServer server;
        QVERIFY2(server.start(QDateTime::fromString("2016-10-03T23:59:58+08:00", Qt::ISODate), "Asia/Shanghai"),
                 qPrintable(server.errorString()));
        const QString api = server.baseURL().toString();
        const Run day = cli({"day", "2016-10-01"}, api);
        const Run today = cli({"today"}, api);
        QCOMPARE(day.exitCode, 0);
        QCOMPARE(today.exitCode, 0);
        QCOMPARE(cli({"batch"}, api).exitCode, 0);
        server.stop();
        QTest::qWait(3000);

        const Run offlineDay = cli({"--timeout", "3", "day", "2016-10-01"}, api);
        QCOMPARE(offlineDay.exitCode, 0);
        QCOMPARE(object(offlineDay.out), object(day.out));
        const Run offlineToday = cli({"--timeout", "3", "today"}, api);
        QCOMPARE(offlineToday.exitCode, 1);
        QVERIFY2(offlineToday.err.contains("refused"), offlineToday.err.constData());
        const Run offlineBatch = cli({"--timeout", "3", "batch"}, api);
        QCOMPARE(offlineBatch.exitCode, 1);
        QVERIFY2(offlineBatch.err.contains("refused"), offlineBatch.err.constData());
        const Run neverSeen = cli({"--timeout", "3", "day", "2016-10-02"}, api);
        QCOMPARE(neverSeen.exitCode, 1);
        QVERIFY2(neverSeen.err.contains("refused"), neverSeen.err.constData());
    }

private:
    TestServer m_server;
    std::unique_ptr<QTemporaryDir> m_home;
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
