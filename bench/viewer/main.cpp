// The quote viewer against the real server on loopback, offscreen:
//
//  1. from the arrival of the "today" answer to the first frame that shows today's page
//     with its text, and to the first frame with its picture (median of many openings);
//  2. the process's memory before and after browsing back through 365 days.
//
//   bench-viewer [--runs N] [--days N]

#include "ServerHarness.h"

#include <OTClock.h>
#include <OTCommonsViewController.h>
#include <OTNavigationController.h>
#include <OTScrollView.h>
#include <OstAPIClient.h>
#include <OstQuoteViewController.h>

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QQmlEngine>
#include <QQuickView>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdlib>
#include <cstdio>

namespace {

const QDateTime kNow(QDate(2026, 11, 22), QTime(10, 0), Qt::UTC);

double rssMB()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toDouble() * 4096 / (1024.0 * 1024.0) : 0;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

bool waitFor(const std::function<bool()> &condition, int timeoutMs = 20000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

struct Host
{
    QQuickView view;
    OTNavigationController *navigation = nullptr;

    Host()
    {
        view.setResizeMode(QQuickView::SizeRootObjectToView);
        view.setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
        view.resize(375, 667);
        view.show();
        navigation = OTNavigationController::create(view.engine(), view.rootObject());
        navigation->setSize(QSizeF(375, 667));
        navigation->pushViewController(new OTCommonsViewController, false);
    }
};

// One opening of the viewer: frames and milliseconds from the "today" answer to text and picture.
struct Opening
{
    int framesToText = -1;     // frames after the answer until today's page shows its text
    double msToText = -1;
    double msToInPlace = -1;   // until the reload's scroll has brought the page fully in view
    double msToPicture = -1;   // until that page shows its picture
};

Opening openOnce(Host &host)
{
    Opening result;
    QElapsedTimer clock;
    clock.start();
    qint64 answeredAt = -1;
    int framesSinceAnswer = 0;
    bool textInSync = false;
    bool inPlaceInSync = false;
    bool pictureInSync = false;

    OstQuoteViewController *viewer = OstQuoteViewController::create(host.view.engine());
    OstQuoteGalleryView *gallery = viewer->galleryView();
    // The answer reloads the gallery from inside its completion.
    QList<QMetaObject::Connection> connections;
    connections << QObject::connect(gallery, &OstQuoteGalleryView::numberOfQuotesChanged, gallery, [&]() {
        if (answeredAt < 0)
            answeredAt = clock.nsecsElapsed();
    });
    // What a frame shows is fixed when the scene is synchronised for it.
    connections << QObject::connect(&host.view, &QQuickWindow::beforeSynchronizing, gallery, [&]() {
        // Today's page counts as shown when some of it is inside the gallery's viewport.
        OstQuoteView *page = gallery->currentQuoteView();
        const double offset = gallery->scrollView()->contentOffset().x();
        const bool inView = page && page->isVisible() && page->opacity() > 0
                         && page->x() + page->width() > offset + 1 && page->x() < offset + gallery->width() - 1;
        textInSync = inView && !page->contentText().isEmpty();
        inPlaceInSync = inView && qAbs(page->x() - offset) < 0.5;
        pictureInSync = inPlaceInSync && page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))->property("status").toInt() == 1;
    }, Qt::DirectConnection);
    connections << QObject::connect(&host.view, &QQuickWindow::frameSwapped, gallery, [&]() {
        if (answeredAt < 0)
            return;
        ++framesSinceAnswer;
        const double ms = (clock.nsecsElapsed() - answeredAt) / 1e6;
        if (textInSync && result.framesToText < 0) {
            result.framesToText = framesSinceAnswer;
            result.msToText = ms;
        }
        if (inPlaceInSync && result.msToInPlace < 0)
            result.msToInPlace = ms;
        if (pictureInSync && result.msToPicture < 0)
            result.msToPicture = ms;
    }, Qt::DirectConnection);

    host.navigation->pushViewController(viewer, false);
    if (!waitFor([&]() { return result.msToPicture >= 0; }))
        std::fprintf(stderr, "bench-viewer: today's picture never showed\n");
    // The watchers read this frame's locals: gone before the screen goes.
    for (const QMetaObject::Connection &connection : std::as_const(connections))
        QObject::disconnect(connection);
    host.navigation->popViewControllerAnimated(false);
    waitFor([&]() { return host.navigation->depth() == 1; });
    QCoreApplication::processEvents();
    return result;
}

void swipeOlder(QQuickView &view, OstQuoteGalleryView *gallery)
{
    static QPointingDevice *touch = QTest::createTouchDevice();
    const QPoint from(40, 400);
    QTest::touchEvent(&view, touch).press(0, from);
    for (int i = 1; i <= 4; ++i) {
        QTest::qWait(8);
        QTest::touchEvent(&view, touch).move(0, from + QPoint(50 * i, 0));
    }
    QTest::touchEvent(&view, touch).release(0, from + QPoint(200, 0));
    OTScrollView *scroll = gallery->scrollView();
    waitFor([&]() { return !scroll->dragging() && !scroll->decelerating() && !scroll->property("animating").toBool(); });
}

} // namespace

int main(int argc, char *argv[])
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QSG_RENDER_LOOP", "basic");
    QGuiApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);

    QCommandLineParser parser;
    const QCommandLineOption runsOption(QStringLiteral("runs"), QStringLiteral("openings to time"), QStringLiteral("N"), QStringLiteral("10"));
    const QCommandLineOption daysOption(QStringLiteral("days"), QStringLiteral("days to browse"), QStringLiteral("N"), QStringLiteral("365"));
    parser.addOptions({runsOption, daysOption});
    parser.process(app);
    const int runs = std::max(1, parser.value(runsOption).toInt());
    const int days = std::max(1, parser.value(daysOption).toInt());

    OTClock::setTimeZone(QTimeZone("UTC"));
    TestServer server;
    // A server whose today is `now`. A deployment serves pictures ready-made (the static
    // export, a CDN): the server draws the `pictures` most recent days' pictures before
    // anything is timed.
    const auto serveFrom = [&server](const QDateTime &now, int pictures) {
        TestServer::Options options;
        options.now = now;
        if (!server.start(options)) {
            std::fprintf(stderr, "bench-viewer: %s\n", qPrintable(server.errorString()));
            std::exit(1);
        }
        OTClock::setRunningFrom(now);
        OstAPIClient::sharedClient()->setBaseURL(server.baseURL());
        QNetworkAccessManager network;
        int pending = 0;
        for (int i = 0; i < pictures; ++i) {
            const QString day = now.date().addDays(-i).toString(Qt::ISODate);
            QNetworkReply *reply = network.get(QNetworkRequest(server.baseURL().resolved(QUrl("/media/quotes/" + day + ".jpg"))));
            ++pending;
            QObject::connect(reply, &QNetworkReply::finished, reply, [&pending, reply]() { --pending; reply->deleteLater(); });
            if (pending >= 8)
                waitFor([&]() { return pending < 8; }, 60000);
        }
        waitFor([&]() { return pending == 0; }, 60000);
    };

    Host host;
    waitFor([&]() { return host.view.isExposed(); });
    std::fprintf(stderr, "bench-viewer: window up\n");

    // Each opening on another day, so that its picture comes over the network and not from
    // Qt Quick's picture cache.
    serveFrom(kNow.addDays(-runs - 1), 1);
    std::fprintf(stderr, "bench-viewer: server up, warming up\n");
    openOnce(host);   // warm-up: QML types compiled, fonts loaded
    std::fprintf(stderr, "bench-viewer: warmed up\n");
    QList<double> toText, toInPlace, toPicture, frames;
    for (int i = runs; i >= 1; --i) {
        serveFrom(kNow.addDays(-i), 1);
        const Opening opening = openOnce(host);
        toText.append(opening.msToText);
        toInPlace.append(opening.msToInPlace);
        toPicture.append(opening.msToPicture);
        frames.append(opening.framesToText);
    }
    serveFrom(kNow, days + 2);

    // Browsing: one viewer, `days` swipes back in time.
    OstQuoteViewController *viewer = OstQuoteViewController::create(host.view.engine());
    host.navigation->pushViewController(viewer, false);
    OstQuoteGalleryView *gallery = viewer->galleryView();
    waitFor([&]() { return gallery->numberOfQuotes() > 0 && gallery->currentQuoteView(); });
    QTest::qWait(300);
    const double rssBefore = rssMB();
    for (int i = 0; i < days; ++i) {
        swipeOlder(host.view, gallery);
        if ((i + 1) % 73 == 0)
            std::printf("  after %d days: RSS %.1f MB\n", i + 1, rssMB());
        // Let the page's own answer and picture come in, as a reader would.
        waitFor([&]() {
            OstQuoteView *page = gallery->currentQuoteView();
            return page && page->quote() && page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))->property("status").toInt() == 1;
        }, 5000);
    }
    const qint64 reached = gallery->currentIndex();
    QTest::qWait(300);
    const double rssAfter = rssMB();

    std::printf("viewer over ostquote-server on loopback, offscreen 375x667, %d openings\n", runs);
    std::printf("  today's answer -> first frame with its text:    median %.2f ms, %g frame(s) (max %g)\n",
                median(toText), median(frames), *std::max_element(frames.begin(), frames.end()));
    std::printf("  today's answer -> page fully in view:            median %.2f ms (max %.2f ms)\n",
                median(toInPlace), *std::max_element(toInPlace.begin(), toInPlace.end()));
    std::printf("  today's answer -> first frame with its picture: median %.2f ms (max %.2f ms)\n",
                median(toPicture), *std::max_element(toPicture.begin(), toPicture.end()));
    std::printf("browsing %d days back (reached index %lld)\n", days, static_cast<long long>(reached));
    std::printf("  RSS before %.1f MB, after %.1f MB, growth %.1f MB\n", rssBefore, rssAfter, rssAfter - rssBefore);
    return 0;
}
