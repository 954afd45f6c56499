// A minimal host that starts on the launch screen: a QQuickView of 375x667 holding a
// navigation controller with an OstQuoteLaunchViewController pushed onto it, exactly what a
// host does at start. It times nothing itself.
//
//   bench-launch-app             prints, at the first frameSwapped whose frame shows a cached
//                                sentence (not the fixed one) with its picture loaded,
//                                "frame <CLOCK_MONOTONIC ns> <sentence>", and exits at once
//   bench-launch-app --stages    the same line with the moments main() began, the window was
//                                shown, the navigation controller and the launch screen were
//                                made and the screen was pushed appended (ns as well)
//   bench-launch-app --prepare   a first launch: waits until the batch has been filed and its
//                                pictures prefetched, prints "prepared <launch_quotes dir>"
//                                and quits
//
// The environment says where the cache lives (XDG_CACHE_HOME), which server answers
// (OSTQUOTE_API_BASE) and what day it is (OSTQUOTE_NOW, OSTQUOTE_TIME_ZONE).

#include "MonotonicClock.h"

#include <OTImagePrefetcher.h>
#include <OTNavigationController.h>
#include <OstQuoteLaunchViewController.h>

#include <QGuiApplication>
#include <QQuickView>
#include <QStandardPaths>

#include <cstdio>
#include <ctime>
#include <unistd.h>

int main(int argc, char *argv[])
{
    const long long mainAt = monotonicNs();
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("bench-launch-app"));
    const bool prepare = app.arguments().contains(QStringLiteral("--prepare"));
    const bool stages = app.arguments().contains(QStringLiteral("--stages"));

    QQuickView view;
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
    view.resize(375, 667);
    view.show();
    const long long shownAt = monotonicNs();

    OTNavigationController *navigation = OTNavigationController::create(view.engine(), view.rootObject());
    if (!navigation)
        return 2;
    navigation->setSize(QSizeF(375, 667));
    const long long navigationAt = monotonicNs();
    OstQuoteLaunchViewController *launch = OstQuoteLaunchViewController::create(view.engine());
    if (!launch)
        return 2;
    const long long createdAt = monotonicNs();

    long long pushedAt = 0;
    if (prepare) {
        // Done once the batch is on disk and the prefetcher has nothing left to fetch.
        OTImagePrefetcher *prefetcher = OTImagePrefetcher::sharedImagePrefetcher();
        bool filed = false;
        bool asked = false;
        const auto finishIfDone = [&]() {
            if (filed && asked && prefetcher->pendingCount() == 0) {
                std::printf("prepared %s\n", qPrintable(launch->quotesCachePath()));
                std::fflush(stdout);
                QCoreApplication::quit();
            }
        };
        QObject::connect(launch, &OstQuoteLaunchViewController::quotesCached, &app, [&]() {
            filed = true;
            finishIfDone();
        }, Qt::QueuedConnection);
        QObject::connect(prefetcher, &OTImagePrefetcher::prefetchURLsRequested, &app, [&]() { asked = true; });
        QObject::connect(prefetcher, &OTImagePrefetcher::didFinishPrefetching, &app, finishIfDone);
    } else {
        // What a frame shows is settled when the scene is synchronised for it; with the basic
        // render loop both signals come on this thread.
        bool shownInSync = false;
        QObject::connect(&view, &QQuickWindow::beforeSynchronizing, launch, [&]() {
            QQuickItem *label = launch->quoteLabel();
            QQuickItem *picture = launch->imageView();
            shownInSync = label && picture
                       && launch->quoteText() != QLatin1String(OstQuoteLaunchViewController::DefaultQuote)
                       && label->property("text").toString() == launch->quoteText()
                       && picture->property("source").toUrl() == launch->imageSource()
                       && !launch->imageSource().isLocalFile()
                       && picture->property("status").toInt() == 1; // Image.Ready
        }, Qt::DirectConnection);
        QObject::connect(&view, &QQuickWindow::frameSwapped, launch, [&]() {
            if (!shownInSync)
                return;
            const long long frameAt = monotonicNs();
            std::printf("frame %lld %s", frameAt, qPrintable(launch->quoteText()));
            if (stages)
                std::printf("\tmain %lld shown %lld navigation %lld created %lld pushed %lld", mainAt, shownAt,
                            navigationAt, createdAt, pushedAt);
            std::printf("\n");
            std::fflush(stdout);
            _exit(0);
        }, Qt::DirectConnection);
    }

    navigation->pushViewController(launch, false);
    pushedAt = monotonicNs();
    return app.exec();
}
