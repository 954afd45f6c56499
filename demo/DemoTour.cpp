#include "DemoTour.h"

#include "DemoHomeViewController.h"
#include "DemoHost.h"

#include <OTNavigationController.h>
#include <OTScrollView.h>
#include <OstCustomShareView.h>
#include <OstQuoteGalleryView.h>
#include <OstQuoteView.h>
#include <OstQuoteViewController.h>

#include <QDir>
#include <QQuickView>
#include <QTest>

#include <cstdio>
#include <functional>

namespace {

constexpr int kImageReady = 1; // Image.Ready

bool imageReady(QQuickItem *image)
{
    return image && image->property("status").toInt() == kImageReady;
}

QPoint centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

OTNavigationController *navigationOf(DemoHost *host)
{
    if (DemoHomeViewController *home = host->homeViewController())
        return home->navigationController();
    if (OstQuoteLaunchViewController *launch = host->launchViewController())
        return launch->navigationController();
    return nullptr;
}

OstQuoteViewController *viewerOf(DemoHost *host)
{
    OTNavigationController *navigation = navigationOf(host);
    return navigation ? qobject_cast<OstQuoteViewController *>(navigation->topViewController()) : nullptr;
}

// The viewer at rest on page `index`, that day's quote and picture in place.
bool viewerRestsOn(DemoHost *host, qint64 index)
{
    OstQuoteViewController *viewer = viewerOf(host);
    OstQuoteGalleryView *gallery = viewer ? viewer->galleryView() : nullptr;
    if (!gallery || gallery->numberOfQuotes() <= index || gallery->currentIndex() != index)
        return false;
    OTScrollView *scroll = gallery->scrollView();
    if (scroll->dragging() || scroll->decelerating() || scroll->property("animating").toBool())
        return false;
    OstQuoteView *page = gallery->currentQuoteView();
    return page && page->quote() && imageReady(page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView")));
}

} // namespace

DemoTour::DemoTour(QQuickView *view, DemoHost *host, const QString &directory)
    : m_view(view)
    , m_host(host)
    , m_directory(directory)
{
}

bool DemoTour::shoot(const QString &name)
{
    const QString path = QDir(m_directory).filePath(name);
    if (!m_view->grabWindow().save(path))
        return fail(name, QStringLiteral("could not write %1").arg(path));
    std::printf("%s\n", qPrintable(path));
    std::fflush(stdout);
    return true;
}

bool DemoTour::fail(const QString &step, const QString &reason)
{
    std::fprintf(stderr, "ostquote-demo: tour step %s: %s\n", qPrintable(step), qPrintable(reason));
    return false;
}

int DemoTour::run()
{
    struct Step
    {
        QString name;
        int timeout;                     // ms
        std::function<bool()> ready;     // the state the picture shows
        std::function<void()> before;    // what the user does first
        std::function<QString()> broken = {}; // why the state can no longer come, if so
    };

    QPointingDevice *touch = QTest::createTouchDevice();
    // A quick swipe to the right, past the middle of the page: back one day, however slowly
    // the machine delivers it.
    auto swipeBack = [this, touch]() {
        const QPoint from(40, m_view->height() * 3 / 5);
        const int dx = m_view->width() * 3 / 5;
        QTest::touchEvent(m_view, touch).press(0, from);
        for (int i = 1; i <= 4; ++i) {
            QTest::qWait(8);
            QTest::touchEvent(m_view, touch).move(0, from + QPoint(dx * i / 4, 0));
        }
        QTest::touchEvent(m_view, touch).release(0, from + QPoint(dx, 0));
    };
    auto currentPage = [this]() -> OstQuoteView * {
        OstQuoteViewController *viewer = viewerOf(m_host);
        return viewer && viewer->galleryView() ? viewer->galleryView()->currentQuoteView() : nullptr;
    };

    const QList<Step> steps = {
        {QStringLiteral("01-launch.png"), 10000,
         [this]() {
             OstQuoteLaunchViewController *launch = m_host->launchViewController();
             return m_host->stage() == DemoHost::Launching && launch && launch->isVisibleOnScreen()
                 && !launch->quoteText().isEmpty() && imageReady(launch->findChild<QQuickItem *>(QStringLiteral("imageView")));
         },
         {}},
        // Caught part way through the fade.
        {QStringLiteral("02-dismiss.png"), 10000,
         [this]() { return m_host->stage() == DemoHost::Fading && m_host->fadeCover()
                        && m_host->fadeCover()->opacity() <= 0.7; },
         {}},
        {QStringLiteral("03-home.png"), 30000,
         [this]() {
             DemoHomeViewController *home = m_host->homeViewController();
             OTNavigationController *navigation = navigationOf(m_host);
             return m_host->stage() == DemoHost::Home && home && home->state() == DemoHomeViewController::Updated
                 && home->hasQuote() && navigation && !navigation->isBusy()
                 && navigation->navigationBarHiddenProgress() == 0.0;
         },
         {},
         [this]() {
             DemoHomeViewController *home = m_host->homeViewController();
             return home && home->state() == DemoHomeViewController::Failed ? home->statusText() : QString();
         }},
        {QStringLiteral("04-viewer.png"), 30000,
         [this]() {
             OTNavigationController *navigation = navigationOf(m_host);
             return navigation && !navigation->isBusy() && navigation->navigationBarHiddenProgress() == 1.0
                 && viewerRestsOn(m_host, 0);
         },
         [this]() {
             DemoHomeViewController *home = m_host->homeViewController();
             QTest::mouseClick(m_view, Qt::LeftButton, {}, centreOf(home->findChild<QQuickItem *>(QStringLiteral("openViewerButton"))));
         }},
        {QStringLiteral("05-swipe-back-1.png"), 30000, [this]() { return viewerRestsOn(m_host, 1); }, swipeBack},
        {QStringLiteral("06-swipe-back-2.png"), 30000, [this]() { return viewerRestsOn(m_host, 2); }, swipeBack},
        // The text cover slid all the way off the page.
        {QStringLiteral("07-tap-picture.png"), 5000,
         [currentPage]() {
             OstQuoteView *page = currentPage();
             return page && !page->isShowing() && page->coverOffset() > 0
                 && page->findChild<QQuickItem *>(QStringLiteral("coverView"))->y() >= page->height() - 0.5;
         },
         [this, currentPage]() {
             // Above the text, below the top cover: bare picture.
             OstQuoteView *page = currentPage();
             const QPoint picture = page->mapToScene(QPointF(page->width() / 2, page->height() * 0.35)).toPoint();
             QTest::mouseClick(m_view, Qt::LeftButton, {}, picture);
         }},
        {QStringLiteral("08-share-panel.png"), 5000,
         [this]() {
             OstQuoteViewController *viewer = viewerOf(m_host);
             return viewer && viewer->shareView()->isShowing() && viewer->shareView()->presentation() == 1.0;
         },
         [this]() { QTest::mouseClick(m_view, Qt::LeftButton, {}, centreOf(viewerOf(m_host)->findChild<QQuickItem *>(QStringLiteral("shareButton")))); }},
        // "Copy link": the panel goes and the message says the link was copied.
        {QStringLiteral("09-link-copied.png"), 5000,
         [this]() {
             OstQuoteViewController *viewer = viewerOf(m_host);
             const QQuickItem *message = m_view->contentItem()->findChild<QQuickItem *>(QStringLiteral("OTHUD"));
             return viewer && viewer->shareView()->presentation() == 0.0 && message
                 && message->opacity() == 1.0;
         },
         [this]() {
             QQuickItem *copy = viewerOf(m_host)->shareView()->findChild<QQuickItem *>(QStringLiteral("shareCopyLinkButton"));
             QTest::mouseClick(m_view, Qt::LeftButton, {}, centreOf(copy));
         }},
    };

    for (const Step &step : steps) {
        if (step.before)
            step.before();
        const auto settled = [&step]() { return step.ready() || (step.broken && !step.broken().isEmpty()); };
        if (!QTest::qWaitFor(settled, step.timeout)) {
            fail(step.name, QStringLiteral("timed out after %1 ms").arg(step.timeout));
            return 1;
        }
        if (!step.ready()) {
            fail(step.name, step.broken());
            return 1;
        }
        if (!shoot(step.name))
            return 1;
        if (step.name.startsWith(QLatin1String("03-"))) {
            // What home shows, for whoever runs the tour.
            DemoHomeViewController *home = m_host->homeViewController();
            std::printf("home day: %s\nhome quote: %s\nhome author: %s\nhome translation: %s\n",
                        home->dayText().toUtf8().constData(), home->quoteText().toUtf8().constData(),
                        home->authorText().toUtf8().constData(),
                        home->translationText().toUtf8().constData());
            std::fflush(stdout);
        }
    }
    return 0;
}
