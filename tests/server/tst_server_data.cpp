#include "ServerHarness.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// Which quote each day gets, and how that survives restarts, new quotes and the static
// export; the command line's refusals.
class TestServerData : public QObject
{
    Q_OBJECT

    static QList<QStringList> numberedQuotes(int from, int count)
    {
        QList<QStringList> quotes;
        for (int i = from; i < from + count; ++i)
            quotes.append({u"Author %1"_s.arg(i), u"Sentence number %1."_s.arg(i), u"第%1句。"_s.arg(i)});
        return quotes;
    }

    // day key -> content, for the days from 2016-10-01 through `last`: one keep-alive
    // connection, requests pipelined a few dozen at a time.
    static QHash<QString, QString> contents(quint16 port, const QDate &last)
    {
        QHash<QString, QString> days;
        RawClient client;
        if (!client.connectTo(port))
            return days;
        QList<QString> keys;
        for (QDate day(2016, 10, 1); day <= last; day = day.addDays(1))
            keys.append(day.toString(Qt::ISODate));
        constexpr qsizetype Depth = 32;
        for (qsizetype from = 0; from < keys.size(); from += Depth) {
            const QList<QString> batch = keys.mid(from, Depth);
            QByteArray requests;
            for (const QString &key : batch)
                requests += "GET /api/v2/quote/quotes/" + key.toUtf8() + "/ HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
            client.send(requests);
            for (const QString &key : batch) {
                const std::optional<HttpResponse> response = client.read();
                if (!response)
                    return days;
                days.insert(key, response->json()["content"].toString());
            }
        }
        return days;
    }

    // The first day in `days` (day key -> content) from `from` on whose quote one of the
    // `window` days before it already had, or an empty string.
    static QString firstRepeat(const QHash<QString, QString> &days, const QDate &from, const QDate &last, int window)
    {
        QHash<QString, QDate> lastSeen;   // content -> the latest day before `day` that had it
        for (QDate day = from.addDays(-window); day <= last; day = day.addDays(1)) {
            const QString content = days.value(day.toString(Qt::ISODate));
            if (content.isEmpty())
                continue;
            const auto seen = lastSeen.constFind(content);
            if (day >= from && seen != lastSeen.cend() && seen->daysTo(day) <= window)
                return day.toString(Qt::ISODate) + " repeats " + seen->toString(Qt::ISODate);
            lastSeen.insert(content, day);
        }
        return {};
    }

    static QByteArray fileBytes(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void noQuoteComesBackWithinAYear()
    {
        // The embedded dataset on a fresh database, every served day through late 2026.
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        QVERIFY2(server.start(u"2026-11-23T12:00:00Z"_s, u"UTC"_s), qPrintable(server.errorString()));
        const QDate last(2026, 11, 30);
        const QHash<QString, QString> days = contents(server.port(), last);
        QCOMPARE(days.size(), int(QDate(2016, 10, 1).daysTo(last)) + 1);
        QVERIFY(!days.values().contains(QString()));
        QCOMPARE(get(server.port(), "/api/v2/quote/quotes/2026-12-01/").status, 404);

        // Over ten years every quote has come round; there are more than a year's worth,
        // so none comes back within 365 days.
        const QList<QString> contentList = days.values();
        const QSet<QString> distinct(contentList.cbegin(), contentList.cend());
        QVERIFY2(distinct.size() > 365, qPrintable(QString::number(distinct.size())));
        const QString repeat = firstRepeat(days, QDate(2016, 10, 1), last, 365);
        QVERIFY2(repeat.isEmpty(), qPrintable(repeat));
    }

    void addedQuotesKeepTheWindow()
    {
        // 370 quotes for a year and a half, then 80 more; the pool's window is a year
        // throughout, and the days already dealt do not change.
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        ServerProcess::Options options;
        options.now = u"2018-03-01T12:00:00Z"_s;
        options.timeZone = u"UTC"_s;
        options.arguments = QStringList{"--dataset", writeDataset(dir.filePath("quotes.json"), numberedQuotes(1, 370))};
        QVERIFY2(server.start(options), qPrintable(server.errorString()));
        const QHash<QString, QString> before = contents(server.port(), QDate(2018, 3, 8));
        QVERIFY(server.stop());

        options.now = u"2019-06-01T12:00:00Z"_s;
        options.arguments = QStringList{"--dataset", writeDataset(dir.filePath("more.json"), numberedQuotes(1, 450))};
        QVERIFY2(server.start(options), qPrintable(server.errorString()));
        const QHash<QString, QString> after = contents(server.port(), QDate(2019, 6, 8));
        for (auto it = before.cbegin(); it != before.cend(); ++it)
            QCOMPARE(after.value(it.key()), it.value());
        const QString repeat = firstRepeat(after, QDate(2016, 10, 1), QDate(2019, 6, 8), 365);
        QVERIFY2(repeat.isEmpty(), qPrintable(repeat));
        // The eighty new quotes come first.
        QSet<QString> next;
        for (QDate day(2018, 3, 9); day < QDate(2018, 3, 9).addDays(80); day = day.addDays(1))
            next.insert(after.value(day.toString(Qt::ISODate)));
        QCOMPARE(next.size(), 80);
        for (const QString &content : std::as_const(next))
            QVERIFY2(content.mid(16).chopped(1).toInt() > 370, qPrintable(content));
    }

    void storedDaysNeverChange()
    {
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        ServerProcess::Options options;
        options.now = u"2016-10-05T12:00:00Z"_s;
        options.timeZone = u"UTC"_s;
        options.arguments = QStringList{"--dataset", writeDataset(dir.filePath("quotes.json"), numberedQuotes(1, 5))};
        QVERIFY2(server.start(options), qPrintable(server.errorString()));
        const QHash<QString, QString> before = contents(server.port(), QDate(2016, 10, 12));
        const QString pastBody = QString::fromUtf8(get(server.port(), "/api/v2/quote/quotes/2016-10-02/").body)
                                     .replace(server.baseURL(), "BASE");
        QVERIFY(server.stop());

        // The same clock again: the very same answers.
        QVERIFY2(server.start(options), qPrintable(server.errorString()));
        QCOMPARE(contents(server.port(), QDate(2016, 10, 12)), before);
        QVERIFY(server.stop());

        // Three days later, with three new quotes in the dataset: the twelve stored days
        // keep their quotes, the three new days get the quotes never used yet.
        options.now = u"2016-10-08T12:00:00Z"_s;
        options.arguments = QStringList{"--dataset", writeDataset(dir.filePath("more.json"), numberedQuotes(1, 8))};
        QVERIFY2(server.start(options), qPrintable(server.errorString()));
        const QHash<QString, QString> after = contents(server.port(), QDate(2016, 10, 15));
        for (auto it = before.cbegin(); it != before.cend(); ++it)
            QCOMPARE(after.value(it.key()), it.value());
        QCOMPARE(QString::fromUtf8(get(server.port(), "/api/v2/quote/quotes/2016-10-02/").body)
                     .replace(server.baseURL(), "BASE"),
                 pastBody);
        const QSet<QString> newDays = {after.value("2016-10-13"), after.value("2016-10-14"), after.value("2016-10-15")};
        QCOMPARE(newDays, (QSet<QString>{"Sentence number 6.", "Sentence number 7.", "Sentence number 8."}));
        // Five quotes: none again within four days; eight: within seven.
        QCOMPARE(firstRepeat(after, QDate(2016, 10, 1), QDate(2016, 10, 12), 4), QString());
        QCOMPARE(firstRepeat(after, QDate(2016, 10, 13), QDate(2016, 10, 15), 7), QString());
        QVERIFY(server.stop());
    }

    void midnightBringsTheNextDay()
    {
        QTemporaryDir dir;
        ServerProcess server(dir.path());
        QVERIFY2(server.start(u"2016-10-03T23:59:58+08:00"_s, u"Asia/Shanghai"_s), qPrintable(server.errorString()));
        QCOMPARE(get(server.port(), "/api/v2/quote/quotes/today/").json()["assign_date"].toString(), u"2016-10-03"_s);
        QCOMPARE(get(server.port(), "/api/v2/quote/quotes/2016-10-11/").status, 404);
        const QByteArray october3 = get(server.port(), "/api/v2/quote/quotes/2016-10-03/").body;

        // Two seconds later the server's midnight has passed.
        QTRY_COMPARE_WITH_TIMEOUT(get(server.port(), "/api/v2/quote/quotes/today/").json()["assign_date"].toString(),
                                  u"2016-10-04"_s, 8000);
        const QJsonArray batch = get(server.port(), "/api/v2/quote/quotes/batch/").json().array();
        QCOMPARE(batch.first()["assign_date"].toString(), u"2016-10-04"_s);
        QCOMPARE(batch.last()["assign_date"].toString(), u"2016-10-11"_s);
        QCOMPARE(get(server.port(), "/api/v2/quote/quotes/2016-10-11/").status, 200);
        const HttpResponse yesterday = get(server.port(), "/api/v2/quote/quotes/2016-10-03/");
        QCOMPARE(yesterday.body, october3);
        QCOMPARE(yesterday.header("Cache-Control"), QByteArray("public, max-age=31536000, immutable"));
        const qint64 maxAge = get(server.port(), "/api/v2/quote/quotes/today/").header("Cache-Control").mid(16).toLongLong();
        QVERIFY2(maxAge > 86400 - 10 && maxAge <= 86400, qPrintable(QString::number(maxAge)));
    }

    // An export without --database uses (and seeds) the same default store a server would;
    // --api-only leaves out the pictures and the share pages.
    void anApiOnlyExportOfTheDefaultDatabase()
    {
        QTemporaryDir home;
        const ServerRun run = runServer({"export", home.filePath("site"), "--api-only"}, u"2016-10-03T09:00:00+08:00"_s,
                                        "Asia/Shanghai", home.filePath("xdg"));
        QVERIFY2(run.exitCode == 0, run.err.constData());
        QVERIFY(QFileInfo::exists(home.filePath("xdg/ostrel/ostquote-server/quotes.sqlite")));
        const QJsonObject today = QJsonDocument::fromJson(fileBytes(home.filePath("site/api/v2/quote/quotes/today/index.json"))).object();
        QCOMPARE(today.value("assign_date").toString(), u"2016-10-03"_s);
        QStringList files;
        for (QDirIterator it(home.filePath("site"), QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            files.append(QDir(home.filePath("site")).relativeFilePath(it.next()));
        files.sort();
        QStringList expected = {"api/v2/quote/quotes/batch/index.json", "api/v2/quote/quotes/today/index.json"};
        for (int day = 1; day <= 10; ++day)
            expected.append(u"api/v2/quote/quotes/%1/index.json"_s.arg(QDate(2016, 10, day).toString(Qt::ISODate)));
        expected.sort();
        QCOMPARE(files, expected);
    }

    void exportWritesWhatTheServerAnswers()
    {
        QTemporaryDir dir;
        const QString now = u"2016-10-03T09:00:00+08:00"_s;
        const QString database = "sqlite:" + dir.filePath("quotes.sqlite");
        const QStringList common = {"--database", database, "--time-zone", "Asia/Shanghai", "--public-url", "http://quotes.test"};

        // What the live server answers ...
        ServerProcess server(dir.path());
        ServerProcess::Options options;
        options.now = now;
        options.database = database;
        options.arguments = QStringList{"--public-url", "http://quotes.test"};
        QVERIFY2(server.start(options), qPrintable(server.errorString()));
        QHash<QString, QByteArray> live;
        QStringList documents = {"today", "batch"};
        for (int day = 1; day <= 10; ++day)
            documents.append(QDate(2016, 10, day).toString(Qt::ISODate));
        for (const QString &document : documents)
            live.insert(document, get(server.port(), ("/api/v2/quote/quotes/" + document + "/").toUtf8()).body);
        const QByteArray sharePage = get(server.port(), "/share/quotes/2016-10-02/").body;
        const QByteArray picture = get(server.port(), "/media/quotes/2016-10-02.jpg").body;
        const QByteArray card = get(server.port(), "/media/quotes/2016-10-02-share.jpg").body;
        QVERIFY(server.stop());

        // ... is what the export writes, byte for byte.
        const QString site = dir.filePath("site");
        const ServerRun run = runServer(QStringList{"export", site} + common, now, "Asia/Shanghai");
        QVERIFY2(run.exitCode == 0, run.err.constData());
        QVERIFY2(run.out.contains("exported 10 days") && run.out.contains("20 pictures drawn"), run.out.constData());
        for (const QString &document : documents)
            QCOMPARE(fileBytes(site + "/api/v2/quote/quotes/" + document + "/index.json"), live.value(document));
        QCOMPARE(fileBytes(site + "/share/quotes/2016-10-02/index.html"), sharePage);
        QCOMPARE(fileBytes(site + "/media/quotes/2016-10-02.jpg"), picture);
        QCOMPARE(fileBytes(site + "/media/quotes/2016-10-02-share.jpg"), card);
        QCOMPARE(QDir(site + "/media/quotes").entryList(QDir::Files).size(), 20);
        QCOMPARE(QImage(site + "/media/quotes/2016-10-10.jpg").size(), QSize(750, 1334));
        QCOMPARE(QDir(site + "/share/quotes").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 10);

        // The next day: "today" moves on, a day comes into range, nothing is drawn twice.
        const QDateTime pictureTime = QFileInfo(site + "/media/quotes/2016-10-02.jpg").lastModified();
        const ServerRun nextDay = runServer(QStringList{"export", site} + common, u"2016-10-04T09:00:00+08:00"_s,
                                            "Asia/Shanghai");
        QVERIFY2(nextDay.exitCode == 0, nextDay.err.constData());
        QVERIFY2(nextDay.out.contains("2 pictures drawn, 20 already there"), nextDay.out.constData());
        QCOMPARE(QFileInfo(site + "/media/quotes/2016-10-02.jpg").lastModified(), pictureTime);
        QCOMPARE(QJsonDocument::fromJson(fileBytes(site + "/api/v2/quote/quotes/today/index.json"))["assign_date"].toString(),
                 u"2016-10-04"_s);
        QVERIFY(QFileInfo::exists(site + "/api/v2/quote/quotes/2016-10-11/index.json"));
        QCOMPARE(fileBytes(site + "/api/v2/quote/quotes/2016-10-01/index.json"), live.value("2016-10-01"));
    }

    void commandLineMistakesAreRefused_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown zone") << QStringList{"--time-zone", "Mars/Olympus_Mons"} << u"unknown time zone"_s;
        QTest::newRow("unknown database kind") << QStringList{"--database", "mysql://db/quotes"} << u"database URL"_s;
        QTest::newRow("SQLite without a file") << QStringList{"--database", "sqlite:"} << u"names no file"_s;
        QTest::newRow("unreachable PostgreSQL")
            << QStringList{"--database", "postgresql://nobody@127.0.0.1:1/quotes?connect_timeout=5"}
            << u"cannot open the database"_s;
        QTest::newRow("port out of range") << QStringList{"--port", "70000"} << u"--port"_s;
        QTest::newRow("unknown option") << QStringList{"--frobnicate"} << u"frobnicate"_s;
        QTest::newRow("bad public URL") << QStringList{"--public-url", "ftp://files.example"} << u"--public-url"_s;
        QTest::newRow("bad idle timeout") << QStringList{"--idle-timeout", "never"} << u"--idle-timeout"_s;
        QTest::newRow("bad stop timeout") << QStringList{"--stop-timeout", "-1"} << u"--stop-timeout"_s;
        QTest::newRow("missing dataset") << QStringList{"--dataset", "/nonexistent/quotes.json"} << u"dataset"_s;
        QTest::newRow("export without a directory") << QStringList{"export"} << u"export"_s;
        QTest::newRow("serving option on export") << QStringList{"export", "/tmp/x", "--port", "1"} << u"--port"_s;
    }

    void commandLineMistakesAreRefused()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const ServerRun run = runServer(arguments, u"2016-10-03T09:00:00+08:00"_s, "Asia/Shanghai", dir.path());
        QVERIFY(run.exitCode > 0);
        QVERIFY2(run.err.contains(message.toUtf8()), run.err.constData());
        QVERIFY(!run.out.contains("listening"));
    }

    void aPortInUseIsRefused()
    {
        QTcpServer occupant;
        QVERIFY(occupant.listen(QHostAddress::LocalHost, 0));
        QTemporaryDir dir;
        const ServerRun run = runServer({"--host", "127.0.0.1", "--port", QString::number(occupant.serverPort()),
                                         "--database", "sqlite:" + dir.filePath("q.sqlite")},
                                        u"2016-10-03T09:00:00+08:00"_s, "Asia/Shanghai", dir.path());
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains("in use"), run.err.constData());
    }
};

QTEST_GUILESS_MAIN(TestServerData)
#include "tst_server_data.moc"
