// ostquote-sandbox: the quote gallery alone, full-window, over local quotes and pictures (no
// server, no network). Swipe between days and tap a page as in the viewer.
//
//   ostquote-sandbox [--quotes FILE] [--count N] [--size WxH] [--today yyyy-MM-dd]
//                    [--screenshot FILE]

#include "FixturePictures.h"
#include "FixtureQuotes.h"
#include "FixtureSource.h"
#include "ProgramCommandLine.h"

#include <OTClock.h>
#include <OTScrollView.h>
#include <OstQuoteGalleryView.h>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QTimer>

#include <cstdio>

namespace {

// The current page is in place with its text and its picture.
bool pageReady(OstQuoteGalleryView *gallery)
{
    OTScrollView *scroll = gallery->scrollView();
    if (scroll->dragging() || scroll->decelerating() || scroll->animating())
        return false;
    OstQuoteView *page = gallery->currentQuoteView();
    return page && page->quote() && !page->contentText().isEmpty() && page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))
        && page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))->property("status").toInt() == 1; // Image.Ready
}

} // namespace

int main(int argc, char *argv[])
{
    ProgramCommandLine commandLine(
        "ostquote-sandbox", QStringLiteral("The quote gallery alone, over local quotes and pictures drawn on the spot."));
    QCommandLineParser &parser = commandLine.parser();
    const QCommandLineOption quotesOption(QStringLiteral("quotes"),
                                          QStringLiteral("The quotes, a JSON array of {author, content, translation} (default %1).")
                                              .arg(QStringLiteral(OSTQUOTE_QUOTES_JSON)),
                                          QStringLiteral("FILE"), QStringLiteral(OSTQUOTE_QUOTES_JSON));
    const QCommandLineOption countOption(QStringLiteral("count"), QStringLiteral("Number of days in the gallery (default 3700)."),
                                         QStringLiteral("N"), QStringLiteral("3700"));
    const QCommandLineOption sizeOption(QStringLiteral("size"), QStringLiteral("Window size in points (default 375x667)."),
                                        QStringLiteral("WxH"), QStringLiteral("375x667"));
    const QCommandLineOption todayOption(QStringLiteral("today"), QStringLiteral("The day shown at index 0 (default: today)."),
                                         QStringLiteral("yyyy-MM-dd"));
    const QCommandLineOption screenshotOption(
        QStringLiteral("screenshot"),
        QStringLiteral("Once today's page shows its picture, save the window to FILE (PNG) and quit; runs without a display."),
        QStringLiteral("FILE"));
    parser.addOptions({quotesOption, countOption, sizeOption, todayOption, screenshotOption});
    if (const std::optional<int> status = commandLine.parse(argc, argv, 0))
        return *status;

    bool ok = false;
    const qint64 count = parser.value(countOption).toLongLong(&ok);
    if (!ok || count < 1 || count > 1000000)
        return commandLine.fail(
            QStringLiteral("--count wants a number of days from 1 to 1000000, not \"%1\"").arg(parser.value(countOption)));

    const std::optional<QSize> size = ProgramCommandLine::windowSize(parser.value(sizeOption), 2, 5);
    if (!size)
        return commandLine.fail(QStringLiteral("--size wants WIDTHxHEIGHT, not \"%1\"").arg(parser.value(sizeOption)));
    const QSize windowSize = *size;

    QDate today;
    if (parser.isSet(todayOption)) {
        today = QDate::fromString(parser.value(todayOption), QStringLiteral("yyyy-MM-dd"));
        if (!today.isValid())
            return commandLine.fail(QStringLiteral("--today wants a day as yyyy-MM-dd, not \"%1\"").arg(parser.value(todayOption)));
    }

    const QString screenshot = parser.value(screenshotOption);
    if (parser.isSet(screenshotOption) && screenshot.isEmpty())
        return commandLine.fail(QStringLiteral("--screenshot wants a file name"));

    FixtureQuotes quotes;
    QString error;
    if (!quotes.load(parser.value(quotesOption), &error))
        return commandLine.fail(error);

    if (!ProgramCommandLine::hasDisplay()) {
        if (screenshot.isEmpty())
            return commandLine.fail(QStringLiteral("no display to open a window on (QT_QPA_PLATFORM=offscreen runs "
                                                   "without one, or take a --screenshot)"));
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }

    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("ostquote-sandbox"));

    if (today.isValid())
        OTClock::setRunningFrom(QDateTime(today, QTime(9, 0), OTClock::timeZone()));
    quotes.setToday(OTClock::now().toTimeZone(OTClock::timeZone()).date());

    QQuickView view;
    view.engine()->addImportPath(QStringLiteral(OST_QML_DIR));
    view.engine()->addImageProvider(QLatin1String(FixturePictures::ProviderId), new FixturePictures);
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setColor(Qt::black);
    view.setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
    if (!view.rootObject())
        return commandLine.fail(QStringLiteral("the window's scene could not be made"));
    view.resize(windowSize);

    QQuickItem *root = view.rootObject();
    auto *gallery = new OstQuoteGalleryView(root);
    gallery->setSize(windowSize);
    QObject::connect(root, &QQuickItem::widthChanged, gallery, [=]() { gallery->setWidth(root->width()); });
    QObject::connect(root, &QQuickItem::heightChanged, gallery, [=]() { gallery->setHeight(root->height()); });

    FixtureSource source(quotes, count);
    const auto showDay = [&](qint64 index) {
        view.setTitle(QStringLiteral("OstQuote sandbox \u2014 %1 (day %2 of %3)")
                          .arg(quotes.dayAt(index).toString(Qt::ISODate))
                          .arg(index + 1)
                          .arg(count));
    };
    QObject::connect(&source, &FixtureSource::scrolledToIndex, &view, showDay);
    gallery->setDataSource(&source);
    gallery->setDelegate(&source);
    gallery->reloadData();
    view.show();

    if (screenshot.isEmpty())
        return app.exec();

    // Take the picture once the page has settled with its picture, and one more frame on.
    QElapsedTimer waited;
    waited.start();
    int result = -1;
    int readyPolls = 0;
    QTimer poll;
    poll.setInterval(20);
    QObject::connect(&poll, &QTimer::timeout, &app, [&]() {
        readyPolls = pageReady(gallery) ? readyPolls + 1 : 0;
        if (readyPolls >= 3) {
            poll.stop();
            const QImage image = view.grabWindow();
            if (image.isNull() || !image.save(screenshot, "PNG")) {
                std::fprintf(stderr, "ostquote-sandbox: cannot write the screenshot %s\n", qPrintable(screenshot));
                result = 1;
            } else {
                std::printf("%s: %dx%d, %s\n", qPrintable(screenshot), image.width(), image.height(),
                            qPrintable(quotes.today().toString(Qt::ISODate)));
                result = 0;
            }
            app.exit(result);
        } else if (waited.elapsed() > 30000) {
            poll.stop();
            std::fprintf(stderr, "ostquote-sandbox: today's page did not show its picture within 30 s\n");
            result = 1;
            app.exit(result);
        }
    });
    poll.start();
    return app.exec();
}
