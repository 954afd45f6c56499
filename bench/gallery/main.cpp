// The gallery against Qt's ListView, offscreen, through the same scripted swipes. The fair
// anchor is a ListView whose delegates play the same depth transition through bindings on
// their place in the view; a plain ListView (no transition) runs beside them.
//
//   bench-gallery [--swipes N] [--days N] [--seed N] [--only NAME]
//
// Each contender lives in its own 375x667 QQuickView over the same fixture quotes and the
// same locally drawn pictures. The script (quick flicks and slow drags, mostly back in
// time, never past either end) is played with QTest mouse events, one frame at a time: every
// step moves animation time on by 16 ms, delivers that frame's input with that time as its
// timestamp, and lets the window render its frame, at most one as on a display (a frame asked
// for again within the step is made in the next one). A step's cost is the GUI thread's CPU time over all
// of that (input, scroll handling, polish, sync, render: with the basic render loop they all
// run on this thread), and beside it the whole process's CPU time over the same step, which
// also takes in what Qt hands to its worker threads. The script runs in legs, and the
// contender that goes first rotates from leg to leg.

#include "FixturePictures.h"
#include "FixtureQuotes.h"
#include "FixtureSource.h"

#include <OTClock.h>
#include <OTScrollView.h>
#include <OstQuoteGalleryView.h>

#include <QAnimationDriver>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <unistd.h>

namespace {

constexpr int kFrameMs = 16;
constexpr QSize kWindow(375, 667);

// Animation time that moves on by one frame when told, and only then.
class FrameClock : public QAnimationDriver
{
public:
    void tick()
    {
        m_elapsed += kFrameMs;
        advance();
    }
    qint64 elapsed() const override { return m_elapsed; }

private:
    qint64 m_elapsed = 0;
};

double cpuMs(clockid_t clock)
{
    timespec t{};
    clock_gettime(clock, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

double rssMB()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toDouble() * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0) : 0;
}

double percentile(QList<double> values, double p)
{
    if (values.isEmpty())
        return 0;
    std::sort(values.begin(), values.end());
    const qsizetype rank = qBound(qsizetype(1), qsizetype(std::ceil(p * double(values.size()))), values.size());
    return values[rank - 1];
}

// One swipe of the script. The finger goes right for an older day and left for a newer one.
struct Swipe
{
    bool older = true;
    bool flick = true;
    int distance = 0;   // points the finger travels
    int moveFrames = 0; // frames it takes
    int holdFrames = 0; // frames it rests before lifting
    QPoint start;
};

QList<Swipe> makeScript(int swipes, qint64 days, quint32 seed, qint64 *deepest)
{
    std::mt19937 random(seed);
    const auto pick = [&random](int low, int high) { return low + int(random() % quint32(high - low + 1)); };
    QList<Swipe> script;
    qint64 index = 0;
    *deepest = 0;
    for (int i = 0; i < swipes; ++i) {
        Swipe swipe;
        swipe.older = pick(0, 99) < 75;
        if (index == 0)
            swipe.older = true;
        else if (index == days - 1)
            swipe.older = false;
        swipe.flick = pick(0, 1) == 0;
        if (swipe.flick) {
            swipe.distance = pick(60, 140);
            swipe.moveFrames = pick(2, 5);
        } else {
            swipe.distance = pick(215, 300);
            swipe.moveFrames = pick(16, 32);
            swipe.holdFrames = pick(0, 4);
        }
        const int y = pick(150, 520);
        swipe.start = QPoint(swipe.older ? pick(25, 60) : pick(315, 350), y);
        index += swipe.older ? 1 : -1;
        *deepest = qMax(*deepest, index);
        script.append(swipe);
    }
    return script;
}

// A display shows at most one frame per refresh. A frame asked for while a step's frame is
// being made (a layer asks for one as it is first drawn) is made in the next step, as a
// vsync-driven window makes it, not a second time within the same 16 ms.
class FrameGate : public QObject
{
public:
    explicit FrameGate(QWindow *window)
        : QObject(window)
        , m_window(window)
    {
        window->installEventFilter(this);
    }

    void beginStep()
    {
        m_frameMade = false;
        if (m_carried) {
            m_carried = false;
            m_window->requestUpdate();
        }
    }
    int carried() const { return m_carriedCount; }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::UpdateRequest)
            return false;
        if (!m_frameMade) {
            m_frameMade = true;
            return false;
        }
        m_carried = true;
        ++m_carriedCount;
        return true;
    }

private:
    QWindow *m_window;
    bool m_frameMade = false;
    bool m_carried = false;
    int m_carriedCount = 0;
};

struct Contender
{
    QString name;
    std::unique_ptr<FixtureSource> source;
    std::unique_ptr<QQuickView> view;
    std::function<qint64()> index;
    std::function<bool()> atRest;
    std::function<bool()> pictureShown;
    qint64 expected = 0;

    FrameGate *gate = nullptr;
    int renders = 0;
    bool measuring = false;
    int carriedAtStart = 0; // frames carried to the next step before measuring began
    QList<double> frameCpu;        // GUI thread, steps that rendered a frame
    QList<double> frameProcessCpu; // whole process, the same steps
    double cpuTotal = 0;        // GUI thread, every measured step
    double processCpuTotal = 0; // whole process, every measured step
    int steps = 0;
    int stepsWithTwoFrames = 0;
    int offScript = 0;
    double rssFirst = -1;
    double rssLast = 0;
    double rssGrowth = 0;
};

class Bench
{
public:
    explicit Bench(FrameClock &clock)
        : m_clock(clock)
    {
    }

    // One frame: animation time moves on, the frame's input arrives stamped with that time,
    // the window renders, and what was released is deleted, as the event loop would.
    void step(Contender &c, const std::function<void()> &input = {})
    {
        const int rendersBefore = c.renders;
        const double start = cpuMs(CLOCK_THREAD_CPUTIME_ID);
        const double processStart = cpuMs(CLOCK_PROCESS_CPUTIME_ID);
        m_clock.tick();
        c.gate->beginStep();
        if (input) {
            QTest::lastMouseTimestamp = int(m_clock.elapsed()) - 1; // the next event is stamped now
            input();
        }
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const double cpu = cpuMs(CLOCK_THREAD_CPUTIME_ID) - start;
        const double processCpu = cpuMs(CLOCK_PROCESS_CPUTIME_ID) - processStart;
        if (!c.measuring)
            return;
        const int rendered = c.renders - rendersBefore;
        c.cpuTotal += cpu;
        c.processCpuTotal += processCpu;
        ++c.steps;
        if (rendered > 0) {
            c.frameCpu.append(cpu);
            c.frameProcessCpu.append(processCpu);
        }
        if (rendered > 1)
            ++c.stepsWithTwoFrames;
    }

    // Frames until the contender is at rest with the picture of its page in view.
    void settle(Contender &c)
    {
        for (int i = 0; i < 2 || (!c.atRest() && i < 400); ++i)
            step(c);
        QElapsedTimer waited;
        waited.start();
        while (!c.pictureShown() && waited.elapsed() < 10000) {
            step(c);
            QThread::usleep(300); // the picture is drawn on Qt Quick's loader thread
        }
        step(c);
    }

    void swipe(Contender &c, const Swipe &s)
    {
        QQuickView *view = c.view.get();
        const int sign = s.older ? 1 : -1;
        step(c, [&]() { QTest::mousePress(view, Qt::LeftButton, {}, s.start); });
        QPoint at = s.start;
        for (int k = 1; k <= s.moveFrames; ++k) {
            at = s.start + QPoint(sign * s.distance * k / s.moveFrames, 0);
            step(c, [&]() { QTest::mouseMove(view, at); });
        }
        for (int k = 0; k < s.holdFrames; ++k)
            step(c);
        step(c, [&]() { QTest::mouseRelease(view, Qt::LeftButton, {}, at); });
        settle(c);
        c.expected += sign;
        if (c.index() != c.expected) {
            ++c.offScript;
            c.expected = c.index(); // carry on from where it really is
        }
    }

private:
    FrameClock &m_clock;
};

void prepareView(Contender &c)
{
    c.view = std::make_unique<QQuickView>();
    c.view->engine()->addImportPath(QStringLiteral(OST_QML_DIR));
    // A dozen pictures drawn up front and shared by all days: the pictures cost the same to
    // show as ones read from disk, but drawing them costs nothing during the run.
    c.view->engine()->addImageProvider(QLatin1String(FixturePictures::ProviderId), new FixturePictures(12));
    c.view->setResizeMode(QQuickView::SizeRootObjectToView);
    c.view->setColor(Qt::black);
    QObject::connect(c.view.get(), &QQuickWindow::afterRendering, c.view.get(), [&c]() { ++c.renders; },
                     Qt::DirectConnection);
    c.gate = new FrameGate(c.view.get());
}

bool imageReady(QQuickItem *page)
{
    const QQuickItem *item = page ? page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView")) : nullptr;
    return item && item->property("status").toInt() == 1; // Image.Ready
}

int fail(const QString &message)
{
    std::fprintf(stderr, "bench-gallery: %s\n", qPrintable(message));
    return 2;
}

} // namespace

int main(int argc, char *argv[])
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("QSG_RENDER_LOOP"))
        qputenv("QSG_RENDER_LOOP", "basic");
    // A window asks for its next frame by a timer; at 0 ms the frame is rendered within the
    // step that asked for it instead of a few milliseconds of idling later.
    qputenv("QT_QPA_UPDATE_IDLE_TIME", "0");
    QGuiApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The quote gallery against ListView through scripted swipes."));
    parser.addHelpOption();
    const QCommandLineOption swipesOption(QStringLiteral("swipes"), QStringLiteral("Swipes in the script (default 1000)."),
                                          QStringLiteral("N"), QStringLiteral("1000"));
    const QCommandLineOption daysOption(QStringLiteral("days"), QStringLiteral("Days in each contender (default 3700)."),
                                        QStringLiteral("N"), QStringLiteral("3700"));
    const QCommandLineOption seedOption(QStringLiteral("seed"), QStringLiteral("Seed of the script (default 20161005)."),
                                        QStringLiteral("N"), QStringLiteral("20161005"));
    const QCommandLineOption onlyOption(QStringLiteral("only"),
                                        QStringLiteral("Play the script on one contender only (for profiling): \"gallery\", "
                                                       "\"ListView, depth transition\" or \"ListView, plain\"."),
                                        QStringLiteral("NAME"));
    parser.addOptions({swipesOption, daysOption, seedOption, onlyOption});
    parser.process(app);
    bool swipesOk = false, daysOk = false, seedOk = false;
    const int swipes = parser.value(swipesOption).toInt(&swipesOk);
    const qint64 days = parser.value(daysOption).toLongLong(&daysOk);
    const quint32 seed = parser.value(seedOption).toUInt(&seedOk);
    if (!swipesOk || swipes < 1)
        return fail(QStringLiteral("--swipes wants a positive number"));
    if (!daysOk || days < 2 || days > 1000000)
        return fail(QStringLiteral("--days wants a number from 2 to 1000000"));
    if (!seedOk)
        return fail(QStringLiteral("--seed wants a non-negative number"));
    const QString only = parser.value(onlyOption);
    if (!only.isEmpty() && only != QLatin1String("gallery") && !only.startsWith(QLatin1String("ListView, ")))
        return fail(QStringLiteral("--only wants gallery, \"ListView, depth transition\" or \"ListView, plain\""));

    auto *clock = new FrameClock;
    clock->install();
    OTClock::setTimeZone(QTimeZone("UTC"));

    FixtureQuotes quotes;
    QString error;
    if (!quotes.load(QStringLiteral(OSTQUOTE_QUOTES_JSON), &error))
        return fail(error);
    quotes.setToday(QDate(2016, 10, 5));

    qint64 deepest = 0;
    const QList<Swipe> script = makeScript(swipes, days, seed, &deepest);
    const auto flicks = std::count_if(script.begin(), script.end(), [](const Swipe &s) { return s.flick; });
    const auto older = std::count_if(script.begin(), script.end(), [](const Swipe &s) { return s.older; });

    Bench bench(*clock);

    // Ours: the gallery full-window, fed by the fixture data source.
    Contender ours;
    ours.name = QStringLiteral("OstQuoteGalleryView");
    ours.source = std::make_unique<FixtureSource>(quotes, days);
    prepareView(ours);
    ours.view->setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
    ours.view->resize(kWindow);
    auto *gallery = new OstQuoteGalleryView(ours.view->rootObject());
    gallery->setSize(kWindow);
    gallery->setDataSource(ours.source.get());
    gallery->setDelegate(ours.source.get());
    ours.index = [gallery]() { return gallery->currentIndex(); };
    ours.atRest = [gallery]() {
        const OTScrollView *scroll = gallery->scrollView();
        return !scroll->dragging() && !scroll->decelerating() && !scroll->animating();
    };
    ours.pictureShown = [gallery]() { return imageReady(gallery->currentQuoteView()); };

    // The anchors: ListView with the same skin as its delegate, with the same depth transition
    // (the fair one) and without.
    const auto makeListView = [&](Contender &c, const QString &name, const QString &qml) -> bool {
        c.name = name;
        c.source = std::make_unique<FixtureSource>(quotes, days);
        prepareView(c);
        // Sized from the start: a ListView completed at width 0 would make every delegate once.
        c.view->setInitialProperties({{QStringLiteral("fixtures"), QVariant::fromValue<QObject *>(c.source.get())},
                                      {QStringLiteral("width"), kWindow.width()},
                                      {QStringLiteral("height"), kWindow.height()}});
        c.view->setSource(QUrl(qml));
        if (!c.view->rootObject()) {
            fail(QStringLiteral("%1 could not be made: %2").arg(name, c.view->errors().value(0).toString()));
            return false;
        }
        c.view->resize(kWindow);
        QQuickItem *listView = c.view->rootObject();
        c.index = [listView]() { return listView->property("currentIndex").toLongLong(); };
        c.atRest = [listView]() {
            return !listView->property("moving").toBool() && !listView->property("dragging").toBool();
        };
        c.pictureShown = [listView]() { return imageReady(listView->property("currentItem").value<QQuickItem *>()); };
        return true;
    };
    Contender depth;
    Contender list;
    if (!makeListView(depth, QStringLiteral("ListView, depth transition"), QStringLiteral("qrc:/bench-gallery/DepthListViewAnchor.qml"))
        || !makeListView(list, QStringLiteral("ListView, plain"), QStringLiteral("qrc:/bench-gallery/ListViewAnchor.qml")))
        return 2;
    const std::array<Contender *, 3> contenders = {&ours, &depth, &list};

    for (Contender *c : contenders) {
        c->view->show();
        if (!QTest::qWaitForWindowExposed(c->view.get()))
            return fail(QStringLiteral("the %1 window was not exposed").arg(c->name));
    }
    gallery->reloadData();

    // Warm-up, not measured: skins compiled, glyphs cached, first pictures drawn; back to today.
    QElapsedTimer wall;
    wall.start();
    for (Contender *c : contenders) {
        bench.settle(*c);
        for (int i = 0; i < 6; ++i) {
            Swipe s;
            s.older = i < 3;
            s.flick = i % 2 == 0;
            s.distance = s.flick ? 100 : 250;
            s.moveFrames = s.flick ? 3 : 20;
            s.start = QPoint(s.older ? 40 : 330, 400);
            bench.swipe(*c, s);
        }
        c->offScript = 0;
        c->expected = c->index();
        c->source->resetMostLivePages();
        c->carriedAtStart = c->gate->carried();
        c->measuring = true;
        if (c->index() != 0)
            return fail(QStringLiteral("the warm-up did not bring %1 back to today").arg(c->name));
    }

    // Legs: each contender plays the same part of the script in turn; who goes first rotates.
    const int legs = qMin(6, swipes);
    for (int leg = 0; leg < legs; ++leg) {
        const int begin = int(qint64(swipes) * leg / legs);
        const int end = int(qint64(swipes) * (leg + 1) / legs);
        for (int turn = 0; turn < int(contenders.size()); ++turn) {
            Contender *c = contenders[std::size_t((leg + turn) % int(contenders.size()))];
            if (!only.isEmpty() && c->name != only && !(only == QLatin1String("gallery") && c == &ours))
                continue;
            const double rssStart = rssMB();
            if (c->rssFirst < 0)
                c->rssFirst = rssStart;
            for (int i = begin; i < end; ++i)
                bench.swipe(*c, script[i]);
            c->rssLast = rssMB();
            c->rssGrowth += c->rssLast - rssStart;
            std::printf("  leg %d/%d %-28s swipes %4d-%-4d at day %lld, %.0f s so far\n", leg + 1, legs,
                        qPrintable(c->name), begin + 1, end, static_cast<long long>(c->index()), wall.elapsed() / 1000.0);
        }
    }

    std::printf("\ngallery benchmark: %d swipes (%lld quick flicks, %lld slow drags; %lld back, %lld forward; "
                "deepest day %lld), %lld days, %dx%d, %s, scene graph \"%s\", seed %u, %d legs, who goes first rotating\n",
                swipes, static_cast<long long>(flicks), static_cast<long long>(swipes - flicks),
                static_cast<long long>(older), static_cast<long long>(swipes - older), static_cast<long long>(deepest),
                static_cast<long long>(days), kWindow.width(), kWindow.height(),
                qPrintable(QGuiApplication::platformName() + QStringLiteral(" / ") + qEnvironmentVariable("QSG_RENDER_LOOP")),
                qPrintable(QQuickWindow::sceneGraphBackend().isEmpty() ? QStringLiteral("default")
                                                                      : QQuickWindow::sceneGraphBackend()),
                seed, legs);
    std::printf("CPU per rendered frame (input + scroll handling + polish + sync + render), GUI thread and whole process:\n\n");
    std::printf("| contender | frames | frames carried to the next step | steps with 2 frames | GUI median ms | GUI p99 ms | process median ms | process p99 ms "
                "| GUI CPU ms/swipe | process CPU ms/swipe | max live pages | RSS growth MB | off script |\n");
    std::printf("|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    for (const Contender *c : contenders) {
        std::printf("| %s | %lld | %d | %d | %.3f | %.3f | %.3f | %.3f | %.2f | %.2f | %d | %+.1f | %d |\n", qPrintable(c->name),
                    static_cast<long long>(c->frameCpu.size()), c->gate->carried() - c->carriedAtStart,
                    c->stepsWithTwoFrames, percentile(c->frameCpu, 0.5),
                    percentile(c->frameCpu, 0.99), percentile(c->frameProcessCpu, 0.5),
                    percentile(c->frameProcessCpu, 0.99), c->cpuTotal / swipes, c->processCpuTotal / swipes,
                    c->source->mostLivePages(), c->rssGrowth, c->offScript);
    }
    const auto ratio = [](double a, double b) { return a / qMax(1e-9, b); };
    std::printf("\nours / ListView with the depth transition (targets in brackets):\n");
    const double perSwipe = ratio(ours.cpuTotal, depth.cpuTotal);
    const double perFrame = ratio(percentile(ours.frameProcessCpu, 0.5), percentile(depth.frameProcessCpu, 0.5));
    const double p99 = ratio(percentile(ours.frameCpu, 0.99), percentile(depth.frameCpu, 0.99));
    std::printf("  GUI CPU per swipe %.2fx (<= 1.0x: %s)\n", perSwipe, perSwipe <= 1.0 ? "met" : "NOT met");
    std::printf("  whole-process CPU per frame, median %.2fx (<= 1.0x: %s)\n", perFrame, perFrame <= 1.0 ? "met" : "NOT met");
    std::printf("  p99 frame, GUI thread %.2fx (<= 1.5x: %s)\n", p99, p99 <= 1.5 ? "met" : "NOT met");
    std::printf("  steps that rendered two frames: %d (none: %s)\n", ours.stepsWithTwoFrames,
                ours.stepsWithTwoFrames == 0 ? "met" : "NOT met");
    std::printf("  most pages alive: %d (<= 5: %s); RSS growth %+.1f MB (< 10 MB: %s)\n", ours.source->mostLivePages(),
                ours.source->mostLivePages() <= 5 ? "met" : "NOT met", ours.rssGrowth, ours.rssGrowth < 10 ? "met" : "NOT met");
    std::printf("ours / plain ListView: GUI CPU per swipe %.2fx, whole-process CPU per frame %.2fx, p99 %.2fx\n",
                ratio(ours.cpuTotal, list.cpuTotal),
                ratio(percentile(ours.frameProcessCpu, 0.5), percentile(list.frameProcessCpu, 0.5)),
                ratio(percentile(ours.frameCpu, 0.99), percentile(list.frameCpu, 0.99)));
    std::printf("wall time %.0f s\n", wall.elapsed() / 1000.0);
    return 0;
}
