// The launch screen's two costs, against the real ostquote-server on loopback, offscreen:
//
//  1. Cold process start to the first frame that shows today's cached sentence with its
//     picture (bench-launch-app: the launch screen straight in the window, the app's StackView
//     loaded in the background), beside the same for the smallest Qt Quick program that
//     shows one sentence and one picture read from local files (bench-launch-floor), the
//     same floor as the first item of a StackView (Qt Quick Controls), and the launch screen
//     itself as the first item of a StackView (bench-launch-app --on-stack). The moment is
//     taken here, on CLOCK_MONOTONIC, just before the child is started, and the
//     child prints the same clock at its frame. Before the timed starts one launch runs
//     against the server and waits until its batch is filed and its pictures prefetched: the
//     timed starts are second launches. The server stays up, so each timed launch also sends
//     its batch request, as it does in a host (its answer may or may not beat the first
//     frame; it is never shown).
//  2. The longest stall of the GUI thread while a batch of 100 quotes is filed and its
//     pictures prefetched, with the launch screen on screen, against a baseline of the same
//     length with nothing going on. A 1 ms precise timer ticks on the GUI thread; a stall is
//     the longest time between two ticks.
//
//   bench-launch [--runs N] [--rounds N] [--batch N] [--stages] [--no-start] [--no-stall]

#include "MonotonicClock.h"

#include "ServerHarness.h"

#include <OTClock.h>
#include <OTCommonsViewController.h>
#include <OTImagePrefetcher.h>
#include <OTNavigationController.h>
#include <OstAPIClient+Quote.h>
#include <OstAPIClient.h>
#include <OstQuoteLaunchViewController.h>

#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QFuture>
#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QQuickView>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>

namespace {

// The server's and the launches' "now"; the batch of that day holds it and the seven after.
const QDateTime kNow(QDate(2017, 3, 1), QTime(10, 0), Qt::UTC);


double threadCpuMs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    if (values.isEmpty())
        return 0;
    const qsizetype n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

[[noreturn]] void fail(const QString &why)
{
    std::fprintf(stderr, "bench-launch: %s\n", qPrintable(why));
    std::exit(1);
}

// Runs the event loop (idle while nothing happens) until `condition` holds, checked every
// millisecond, or `timeoutMs` has passed.
bool waitFor(const std::function<bool()> &condition, int timeoutMs = 30000)
{
    if (condition())
        return true;
    QEventLoop loop;
    QTimer check;
    check.setInterval(1);
    QObject::connect(&check, &QTimer::timeout, &loop, [&]() {
        if (condition())
            loop.quit();
    });
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    check.start();
    loop.exec();
    return condition();
}

// Runs the event loop for `ms`.
void idle(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

QByteArray download(const QUrl &url)
{
    QNetworkAccessManager network;
    QNetworkReply *reply = network.get(QNetworkRequest(url));
    waitFor([reply]() { return reply->isFinished(); });
    const QByteArray body = reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
    delete reply;
    return body;
}

int countMatches(const QString &path, const QString &pattern)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    int count = 0;
    const QRegularExpression expression(pattern);
    for (auto it = expression.globalMatch(QString::fromUtf8(file.readAll())); it.hasNext(); it.next())
        ++count;
    return count;
}

// --- 1. Cold start -----------------------------------------------------------------------------

struct Child
{
    QString program;
    QStringList arguments;
};

struct Start
{
    double ms = 0;                 // from just before the start to the child's frame
    QString sentence;
    QList<double> stagesMs;        // the child's own marks, from the same origin
};

Start startOnce(const Child &child, const QProcessEnvironment &environment, bool stages)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QStringList arguments = child.arguments;
    if (stages)
        arguments << QStringLiteral("--stages");
    const long long startedAt = monotonicNs();
    process.start(child.program, arguments);
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        fail(child.program + QStringLiteral(" did not show its frame within 60 s"));
    }
    const QString line = QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    static const QRegularExpression frame(QStringLiteral("^frame (\\d+) ([^\\t]*)(?:\\t(.*))?$"));
    const QRegularExpressionMatch match = frame.match(line);
    if (!match.hasMatch())
        fail(child.program + QStringLiteral(" said: ") + line);
    Start start;
    start.ms = double(match.captured(1).toLongLong() - startedAt) / 1e6;
    start.sentence = match.captured(2);
    const QStringList marks = match.captured(3).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (qsizetype i = 1; i < marks.size(); i += 2)
        start.stagesMs.append(double(marks.at(i).toLongLong() - startedAt) / 1e6);
    return start;
}

void printSeries(const char *name, const QList<double> &ms)
{
    std::printf("  %-22s median %7.1f ms   min %7.1f ms   max %7.1f ms\n", name, median(ms),
                *std::min_element(ms.begin(), ms.end()), *std::max_element(ms.begin(), ms.end()));
}

void benchmarkStart(const TestServer &server, const QString &work, int runs, bool stages)
{
    const QString binaries = QCoreApplication::applicationDirPath();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("QSG_RENDER_LOOP"), QStringLiteral("basic"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), work + QStringLiteral("/cache"));
    environment.insert(QStringLiteral("OSTQUOTE_API_BASE"), server.baseURL().toString());
    environment.insert(QStringLiteral("OSTQUOTE_NOW"), kNow.toString(Qt::ISODate));
    environment.insert(QStringLiteral("OSTQUOTE_TIME_ZONE"), QStringLiteral("UTC"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), work);

    // The first launch ever: it shows the fixed sentence and fills the cache.
    QProcess first;
    first.setProcessEnvironment(environment);
    first.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    first.start(binaries + QStringLiteral("/bench-launch-app"), {QStringLiteral("--prepare")});
    if (!first.waitForFinished(120000) || first.exitCode() != 0)
        fail(QStringLiteral("the first launch did not file its batch"));
    const QString prepared = QString::fromUtf8(first.readAllStandardOutput()).trimmed();
    if (!prepared.startsWith(QLatin1String("prepared ")))
        fail(QStringLiteral("the first launch said: ") + prepared);
    const QString todayFile = prepared.mid(9) + QLatin1Char('/') + kNow.date().toString(Qt::ISODate);
    const OstQuotePtr today = OTModel::unarchiveObjectWithFile(todayFile).objectCast<OstQuote>();
    if (!today || today->content().isEmpty() || today->origin_img_urls().isEmpty())
        fail(QStringLiteral("no quote with a picture cached for today in ") + todayFile);

    // The floor's files: the same sentence, the same picture as a JPEG file.
    const QString sentencePath = work + QStringLiteral("/sentence.txt");
    const QString picturePath = work + QStringLiteral("/picture.jpg");
    const QByteArray picture = download(QUrl(today->origin_img_urls().first()));
    if (!picture.startsWith("\xff\xd8"))
        fail(QStringLiteral("today's picture is not a JPEG"));
    QFile sentenceFile(sentencePath), pictureFile(picturePath);
    if (!sentenceFile.open(QIODevice::WriteOnly) || !pictureFile.open(QIODevice::WriteOnly))
        fail(QStringLiteral("cannot write the floor's files"));
    sentenceFile.write(today->content().toUtf8());
    pictureFile.write(picture);
    sentenceFile.close();
    pictureFile.close();

    const Child ours{binaries + QStringLiteral("/bench-launch-app"), {}};
    const Child oursOnStack{binaries + QStringLiteral("/bench-launch-app"), {QStringLiteral("--on-stack")}};
    const Child floor{binaries + QStringLiteral("/bench-launch-floor"), {sentencePath, picturePath}};
    const Child stackFloor{binaries + QStringLiteral("/bench-launch-floor"),
                           {sentencePath, picturePath, QStringLiteral("--stack")}};
    const std::array<const Child *, 4> children = {&ours, &floor, &stackFloor, &oursOnStack};
    const std::array<const char *, 4> names = {"bench-launch-app", "bench-launch-floor", "floor on a StackView",
                                               "app on a StackView"};
    const auto check = [&](const Start &start, const char *who) {
        if (start.sentence != today->content())
            fail(QStringLiteral("%1 showed \"%2\"").arg(QLatin1String(who), start.sentence));
    };
    // One untimed start of each: binaries, libraries, fonts and QML in the page cache.
    for (std::size_t c = 0; c < children.size(); ++c)
        check(startOnce(*children[c], environment, false), names[c]);

    const QString log = server.accessLogPath();
    idle(400); // the access log is flushed every ~200 ms
    const QString pictureRequest = QStringLiteral("GET /media/quotes/\\S+");
    const int picturesBefore = countMatches(log, pictureRequest);
    std::array<QList<double>, 4> ms;
    QList<QList<double>> oursStages, floorStages, oursOnStackStages;
    for (int i = 0; i < runs; ++i) {
        // Who goes first rotates.
        for (std::size_t j = 0; j < children.size(); ++j) {
            const std::size_t c = (std::size_t(i) + j) % children.size();
            const Start start = startOnce(*children[c], environment, stages);
            check(start, names[c]);
            ms[c].append(start.ms);
            if (c == 0)
                oursStages.append(start.stagesMs);
            else if (c == 1)
                floorStages.append(start.stagesMs);
            else if (c == 3)
                oursOnStackStages.append(start.stagesMs);
        }
    }
    idle(400);
    const int picturesDuring = countMatches(log, pictureRequest) - picturesBefore;

    std::printf("1. cold start to the first frame with today's sentence and picture "
                "(offscreen 375x667, basic render loop, %d starts each, who goes first rotating)\n", runs);
    for (std::size_t c = 0; c < children.size(); ++c)
        printSeries(names[c], ms[c]);
    std::printf("  ratio of the medians   %.2fx (app / floor), %.2fx (app / floor on a StackView), "
                "%.2fx (app on a StackView / floor)\n",
                median(ms[0]) / median(ms[1]), median(ms[0]) / median(ms[2]), median(ms[3]) / median(ms[1]));
    std::printf("  picture requests to the server during the timed starts: %d\n", picturesDuring);
    if (stages) {
        const auto stageMedian = [](const QList<QList<double>> &all, int index) {
            QList<double> values;
            for (const QList<double> &one : all) {
                if (index < one.size())
                    values.append(one.at(index));
            }
            return median(values);
        };
        const auto printStages = [&](const char *who, const QList<QList<double>> &stages) {
            std::printf("  %s stages (median): main() %.1f ms, QML engine made %.1f ms, host loaded (launch screen "
                        "made) %.1f ms, first frame %.1f ms, picture loaded %.1f ms\n",
                        who, stageMedian(stages, 0), stageMedian(stages, 1), stageMedian(stages, 2),
                        stageMedian(stages, 3), stageMedian(stages, 4));
        };
        printStages("app", oursStages);
        printStages("app on a StackView", oursOnStackStages);
        std::printf("  floor stages (median): main() %.1f ms\n", stageMedian(floorStages, 0));
    }
    std::fflush(stdout);
}

// --- 2. GUI-thread stalls while a batch is filed ---------------------------------------------------

// Ticks every millisecond on the GUI thread and keeps the longest time between two ticks.
class StallProbe : public QObject
{
public:
    StallProbe()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(1);
        connect(&m_timer, &QTimer::timeout, this, [this]() { tick(); });
    }
    void start()
    {
        m_longestNs = 0;
        m_ticks = 0;
        m_over2 = 0;
        m_lastNs = monotonicNs();
        m_cpuAt = threadCpuMs();
        m_lastCpuMs = m_cpuAt;
        m_longestCpuMs = 0;
        m_timer.start();
    }
    void stop()
    {
        tick();
        m_timer.stop();
        m_cpuMs = threadCpuMs() - m_cpuAt;
    }
    double longestMs() const { return double(m_longestNs) / 1e6; }
    // What the GUI thread itself ran during the longest gap (the rest it waited for a core).
    double longestCpuMs() const { return m_longestCpuMs; }
    double longestAtMs(long long originNs) const { return double(m_longestAtNs - originNs) / 1e6; }
    int ticks() const { return m_ticks; }
    int gapsOver2ms() const { return m_over2; }
    double cpuMs() const { return m_cpuMs; }

private:
    void tick()
    {
        const long long now = monotonicNs();
        const double cpu = threadCpuMs();
        const long long gap = now - m_lastNs;
        if (gap > m_longestNs) {
            m_longestNs = gap;
            m_longestAtNs = m_lastNs;
            m_longestCpuMs = cpu - m_lastCpuMs;
        }
        m_lastCpuMs = cpu;
        if (gap > 2000000)
            ++m_over2;
        m_lastNs = now;
        ++m_ticks;
    }

    QTimer m_timer;
    long long m_lastNs = 0;
    long long m_longestNs = 0;
    long long m_longestAtNs = 0;
    int m_ticks = 0;
    int m_over2 = 0;
    double m_cpuAt = 0;
    double m_cpuMs = 0;
    double m_lastCpuMs = 0;
    double m_longestCpuMs = 0;
};

QList<OstQuotePtr> fetchDays(const QDate &last, int count)
{
    QList<OstQuotePtr> quotes(count);
    int pending = count;
    for (int i = 0; i < count; ++i) {
        const QString day = last.addDays(i - count + 1).toString(Qt::ISODate);
        getQuoteWithDate(OstAPIClient::sharedClient(), day, [&quotes, &pending, i](OstQuotePtr quote, const OTError &) {
            quotes[i] = quote;
            --pending;
        });
    }
    if (!waitFor([&pending]() { return pending == 0; }, 60000))
        fail(QStringLiteral("the days' quotes did not come"));
    for (const OstQuotePtr &quote : quotes) {
        if (!quote || quote->origin_img_urls().isEmpty())
            fail(QStringLiteral("a day without its quote or picture"));
    }
    return quotes;
}

void benchmarkStalls(const TestServer &server, const QString &work, int rounds, int batchSize)
{
    OTClock::setTimeZone(QTimeZone("UTC"));
    OTClock::setRunningFrom(kNow);
    OstAPIClient::sharedClient()->setBaseURL(server.baseURL());

    const QList<OstQuotePtr> batch = fetchDays(kNow.date(), batchSize);
    // The server draws a picture on its first request; drawn once here, they are served
    // ready-made during the rounds, as a deployment serves them.
    for (const OstQuotePtr &quote : batch)
        download(QUrl(quote->origin_img_urls().first()));

    QQuickView view;
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
    view.resize(375, 667);
    view.show();
    waitFor([&view]() { return view.isExposed(); });
    OTNavigationController *navigation = OTNavigationController::create(view.engine(), view.rootObject());
    navigation->setSize(QSizeF(375, 667));
    // The host's own first screen, under each round's launch screen.
    navigation->pushViewController(new OTCommonsViewController, false);

    OTImagePrefetcher *prefetcher = OTImagePrefetcher::sharedImagePrefetcher();
    StallProbe probe;
    QList<double> caching, baseline, durations, writes;
    for (int round = 0; round < rounds; ++round) {
        // A fresh cache each round: every file is new and every picture comes over the wire.
        qputenv("XDG_CACHE_HOME", QString(work + QStringLiteral("/stall-%1")).arg(round).toLocal8Bit());
        OstQuoteLaunchViewController *launch = OstQuoteLaunchViewController::create(view.engine());
        int filed = 0;
        QObject::connect(launch, &OstQuoteLaunchViewController::quotesCached, &view, [&filed]() { ++filed; },
                         Qt::QueuedConnection);
        navigation->pushViewController(launch, false);
        // The screen's own batch of 8 is filed and prefetched first.
        if (!waitFor([&]() { return filed == 1 && prefetcher->pendingCount() == 0; }))
            fail(QStringLiteral("the launch screen's own batch was not filed"));
        idle(300);

        bool asked = false;
        long long writtenAt = 0;
        QMetaObject::Connection onAsked = QObject::connect(prefetcher, &OTImagePrefetcher::prefetchURLsRequested,
                                                           &view, [&asked]() { asked = true; });
        QMetaObject::Connection onFiled = QObject::connect(
            launch, &OstQuoteLaunchViewController::quotesCached, &view, [&writtenAt]() { writtenAt = monotonicNs(); },
            Qt::DirectConnection);
        probe.start();
        const long long startedAt = monotonicNs();
        QFuture<void> write = QtConcurrent::run(QThreadPool::globalInstance(), [launch, batch]() { launch->cacheQuotes(batch); });
        if (!waitFor([&]() { return write.isFinished() && filed == 2 && asked && prefetcher->pendingCount() == 0; }, 120000))
            fail(QStringLiteral("the batch of %1 was not filed and prefetched").arg(batchSize));
        // Replies are deleted later; that belongs to the work too.
        idle(20);
        probe.stop();
        const long long endedAt = monotonicNs();
        caching.append(probe.longestMs());
        durations.append(double(endedAt - startedAt) / 1e6);
        writes.append(double(writtenAt - startedAt) / 1e6);
        std::printf("  round %d: %d quotes filed in %.0f ms, pictures in by %.0f ms; longest gap %.2f ms "
                    "(at %.0f ms, %.2f ms of it running), %d gaps over 2 ms in %d ticks, GUI thread CPU %.0f ms\n",
                    round + 1, batchSize, writes.last(), durations.last(), probe.longestMs(),
                    probe.longestAtMs(startedAt), probe.longestCpuMs(), probe.gapsOver2ms(), probe.ticks(), probe.cpuMs());
        QObject::disconnect(onAsked);
        QObject::disconnect(onFiled);

        // The same screen, the same length of time, nothing going on.
        probe.start();
        idle(int(durations.last()));
        probe.stop();
        baseline.append(probe.longestMs());
        std::printf("           baseline over %.0f ms: longest gap %.2f ms (%.2f ms of it running), %d gaps over 2 ms, GUI thread CPU %.0f ms\n",
                    durations.last(), probe.longestMs(), probe.longestCpuMs(), probe.gapsOver2ms(), probe.cpuMs());
        std::fflush(stdout);

        // The host takes the screen away and deletes it.
        navigation->popViewControllerAnimated(false);
        waitFor([navigation]() { return navigation->depth() == 1; });
    }

    std::printf("2. longest GUI-thread gap (1 ms precise timer) while %d quotes are filed and their pictures "
                "prefetched, launch screen shown (%d rounds)\n", batchSize, rounds);
    printSeries("caching", caching);
    printSeries("baseline, same length", baseline);
    std::printf("  caching took median %.0f ms (files written by %.0f ms)\n", median(durations), median(writes));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QSG_RENDER_LOOP", "basic");
    QGuiApplication app(argc, argv);

    QCommandLineParser parser;
    const QCommandLineOption runsOption(QStringLiteral("runs"), QStringLiteral("timed starts of each program"),
                                        QStringLiteral("N"), QStringLiteral("15"));
    const QCommandLineOption roundsOption(QStringLiteral("rounds"), QStringLiteral("batches to file"),
                                          QStringLiteral("N"), QStringLiteral("5"));
    const QCommandLineOption batchOption(QStringLiteral("batch"), QStringLiteral("quotes in a batch"),
                                         QStringLiteral("N"), QStringLiteral("100"));
    const QCommandLineOption stagesOption(QStringLiteral("stages"), QStringLiteral("report the children's stages"));
    const QCommandLineOption noStartOption(QStringLiteral("no-start"), QStringLiteral("skip the cold starts"));
    const QCommandLineOption noStallOption(QStringLiteral("no-stall"), QStringLiteral("skip the stall measurement"));
    parser.addOptions({runsOption, roundsOption, batchOption, stagesOption, noStartOption, noStallOption});
    parser.addHelpOption();
    parser.process(app);
    const int runs = std::max(1, parser.value(runsOption).toInt());
    const int rounds = std::max(1, parser.value(roundsOption).toInt());
    const int batchSize = std::clamp(parser.value(batchOption).toInt(), 1, 150);

    QTemporaryDir work;
    if (!work.isValid())
        fail(QStringLiteral("no temporary directory"));
    qputenv("XDG_RUNTIME_DIR", work.path().toLocal8Bit());
    TestServer server;
    TestServer::Options options;
    options.now = kNow;
    if (!server.start(options))
        fail(server.errorString());

    if (!parser.isSet(noStartOption))
        benchmarkStart(server, work.path(), runs, parser.isSet(stagesOption));
    if (!parser.isSet(noStallOption))
        benchmarkStalls(server, work.path(), rounds, batchSize);
    server.stop();
    return 0;
}
