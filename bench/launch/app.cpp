// A host that starts on the launch screen the way the README shows a Qt Quick app doing it: a
// QML Window with OstQuoteLaunchViewController straight in it and the app's StackView loaded
// in the background (the example app examples/qml-host's own Main.qml). It times nothing
// itself.
//
//   bench-launch-app --on-stack  the launch screen as the first item of a StackView declared in
//                                the window's own file instead (OnStack.qml)
//   bench-launch-app             prints, at the first frameSwapped whose frame shows a cached
//                                sentence (not the fixed one) with its picture loaded,
//                                "frame <CLOCK_MONOTONIC ns> <sentence>", and exits at once
//   bench-launch-app --stages    the same line with the moments main() began, the QML engine
//                                was made, the host's QML was loaded (the launch screen made),
//                                the first frame of any content was shown
//                                and the picture was first seen loaded appended (ns as well)
//   bench-launch-app --prepare   a first launch: waits until the batch has been filed and its
//                                pictures prefetched, prints "prepared <launch_quotes dir>"
//                                and quits
//
// The environment says where the cache lives (XDG_CACHE_HOME), which server answers
// (OSTQUOTE_API_BASE) and what day it is (OSTQUOTE_NOW, OSTQUOTE_TIME_ZONE).

#include "MonotonicClock.h"

#include <OTImagePrefetcher.h>
#include <OTWebImage.h>
#include <OstQuoteLaunchCache.h>
#include <OstQuoteLaunchViewController.h>

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <cstdio>
#include <unistd.h>

// Whether an Image's source shows the picture `address` through either pictures' provider:
// both name it by the same id. Asked at every sync until the frame, so it reads no disk.
static bool shownFromItsAddress(const QUrl &source, const QUrl &address)
{
    const QUrl web = OTWebImage::pictureSource(address);
    return source.scheme() == web.scheme() && source.path() == web.path();
}

int main(int argc, char *argv[])
{
    const long long mainAt = monotonicNs();
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("bench-launch-app"));
    const bool prepare = app.arguments().contains(QStringLiteral("--prepare"));
    const bool stages = app.arguments().contains(QStringLiteral("--stages"));

    QQmlApplicationEngine engine;
    engine.addImportPath(QStringLiteral(OST_QML_DIR));
    const long long engineAt = monotonicNs();

    // Everything below hangs on the window the host's QML makes; the launch screen is found
    // once it exists, before the first frame.
    OstQuoteLaunchViewController *launch = nullptr;
    bool shownInSync = false;
    long long loadedAt = 0;
    long long firstFrameAt = 0;   // the first frame of any content
    long long pictureAt = 0;      // the first sync with the picture loaded
    QObject::connect(&engine, &QQmlApplicationEngine::objectCreated, &app, [&](QObject *root) {
        auto *window = qobject_cast<QQuickWindow *>(root);
        launch = root ? root->findChild<OstQuoteLaunchViewController *>() : nullptr;
        if (!window || !launch) {
            std::fprintf(stderr, "bench-launch-app: the host has no launch screen\n");
            _exit(2);
        }
        if (prepare)
            return;
        // What a frame shows is settled when the scene is synchronised for it; with the basic
        // render loop both signals come on this thread.
        QObject::connect(window, &QQuickWindow::beforeSynchronizing, launch, [&]() {
            QQuickItem *label = launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"));
            QQuickItem *picture = launch->findChild<QQuickItem *>(QStringLiteral("imageView"));
            if (!pictureAt && picture && picture->property("status").toInt() == 1)
                pictureAt = monotonicNs();
            shownInSync = label && picture
                       && launch->quoteText() != QLatin1String(OstQuoteLaunchViewController::DefaultQuote)
                       && label->property("text").toString() == launch->quoteText()
                       && shownFromItsAddress(picture->property("source").toUrl(), launch->imageSource())
                       && !launch->imageSource().isLocalFile()
                       && picture->property("status").toInt() == 1; // Image.Ready
        }, Qt::DirectConnection);
        QObject::connect(window, &QQuickWindow::frameSwapped, launch, [&]() {
            if (!firstFrameAt)
                firstFrameAt = monotonicNs();
            if (!shownInSync)
                return;
            const long long frameAt = monotonicNs();
            std::printf("frame %lld %s", frameAt, qPrintable(launch->quoteText()));
            if (stages)
                std::printf("\tmain %lld engine %lld loaded %lld first-frame %lld picture %lld", mainAt, engineAt,
                            loadedAt, firstFrameAt, pictureAt);
            std::printf("\n");
            std::fflush(stdout);
            _exit(0);
        }, Qt::DirectConnection);
    });

    // Done once the batch is on disk and the prefetcher has nothing left to fetch.
    OTImagePrefetcher *prefetcher = prepare ? OTImagePrefetcher::sharedImagePrefetcher() : nullptr;
    bool filed = false;
    bool asked = false;
    const auto finishIfDone = [&]() {
        if (filed && asked && prefetcher->pendingCount() == 0) {
            std::printf("prepared %s\n", qPrintable(OstQuoteLaunchCache::directoryPath()));
            std::fflush(stdout);
            QCoreApplication::quit();
        }
    };
    if (prepare) {
        QObject::connect(OstQuoteLaunchCache::sharedCache(), &OstQuoteLaunchCache::quotesCached, &app, [&]() {
            filed = true;
            finishIfDone();
        }, Qt::QueuedConnection);
        QObject::connect(prefetcher, &OTImagePrefetcher::prefetchURLsRequested, &app, [&]() { asked = true; });
        QObject::connect(prefetcher, &OTImagePrefetcher::didFinishPrefetching, &app, finishIfDone);
    }

    engine.load(QUrl(app.arguments().contains(QStringLiteral("--on-stack")) ? QStringLiteral("qrc:/LaunchHost/OnStack.qml")
                                                                            : QStringLiteral("qrc:/LaunchHost/Main.qml")));
    loadedAt = monotonicNs();
    if (engine.rootObjects().isEmpty())
        return 2;
    return app.exec();
}
