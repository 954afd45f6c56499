#include "DemoHost.h"

#include "DemoHomeViewController.h"

#include <OTNavigationController.h>
#include <OstQuoteViewController.h>

#include <QImage>
#include <QPainter>
#include <QPropertyAnimation>
#include <QQuickPaintedItem>
#include <QQuickWindow>

namespace {

// A still picture of the window as it was, laid over everything.
class Snapshot : public QQuickPaintedItem
{
public:
    Snapshot(const QImage &image, QQuickItem *parent)
        : QQuickPaintedItem(parent)
        , m_image(image)
    {
    }

    void paint(QPainter *painter) override
    {
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        painter->drawImage(boundingRect(), m_image);
    }

private:
    QImage m_image;
};

} // namespace

DemoHost::DemoHost(QQuickWindow *window, OTNavigationController *navigation, QObject *parent)
    : QObject(parent)
    , m_window(window)
    , m_navigation(navigation)
{
}

DemoHost::~DemoHost()
{
    delete m_cover.data();
}

void DemoHost::setStage(Stage stage)
{
    if (m_stage == stage)
        return;
    m_stage = stage;
    Q_EMIT stageChanged();
}

DemoHomeViewController *DemoHost::makeHome()
{
    QQmlEngine *engine = qmlEngine(m_navigation);
    DemoHomeViewController *home = engine ? DemoHomeViewController::create(engine) : nullptr;
    if (!home)
        Q_EMIT failed(QStringLiteral("the home screen could not be made"));
    return home;
}

void DemoHost::startWithLaunchScreen()
{
    if (!m_navigation || m_stage != Starting)
        return;
    QQmlEngine *engine = qmlEngine(m_navigation);
    m_launch = engine ? OstQuoteLaunchViewController::create(engine) : nullptr;
    if (!m_launch) {
        Q_EMIT failed(QStringLiteral("the launch screen could not be made"));
        return;
    }
    m_launch->setDelegate(this);
    setStage(Launching);
    m_navigation->pushViewController(m_launch, false);
}

void DemoHost::startWithViewer()
{
    if (!m_navigation || m_stage != Starting)
        return;
    m_home = makeHome();
    if (!m_home)
        return;
    m_navigation->pushViewController(m_home, false);
    setStage(Home);
    openViewer(false);
}

void DemoHost::openViewer(bool animated)
{
    if (!m_navigation)
        return;
    if (OstQuoteViewController *viewer = OstQuoteViewController::create(qmlEngine(m_navigation)))
        m_navigation->pushViewController(viewer, animated);
}

void DemoHost::willDismissLaunchViewController(OstQuoteLaunchViewController *controller)
{
    if (controller != m_launch || m_dismissing || m_stage != Launching) {
        ++m_repeatedDismissals;
        return;
    }
    m_dismissing = true;
    // Told from inside the launch screen's own calls (a countdown, or the start of a slide
    // back from the viewer): the stack changes once those are over.
    QMetaObject::invokeMethod(this, &DemoHost::showHome, Qt::QueuedConnection);
}

void DemoHost::showHome()
{
    if (!m_navigation || m_stage != Launching)
        return;
    // A slide still under way ends first, so that the snapshot shows the launch screen alone.
    if (m_navigation->isBusy()) {
        auto *once = new QObject(this);
        connect(m_navigation, &OTNavigationController::transitionFinished, once, [this, once]() {
            delete once;
            QMetaObject::invokeMethod(this, &DemoHost::showHome, Qt::QueuedConnection);
        });
        return;
    }
    m_home = makeHome();
    if (!m_home)
        return;

    QQuickItem *content = m_window ? m_window->contentItem() : nullptr;
    const QImage still = content ? m_window->grabWindow() : QImage();
    if (!still.isNull()) {
        auto *cover = new Snapshot(still, content);
        cover->setObjectName(QStringLiteral("launchSnapshot"));
        cover->setZ(1000);
        cover->setSize(content->size());
        m_cover = cover;
    }

    m_navigation->setViewControllers({m_home});
    m_navigation->setNavigationBarHidden(false, false);

    if (!m_cover) {
        setStage(Home);
        return;
    }
    setStage(Fading);
    auto *fade = new QPropertyAnimation(m_cover, "opacity", m_cover);
    fade->setStartValue(1.0);
    fade->setEndValue(0.0);
    fade->setDuration(FadeDuration);
    fade->setEasingCurve(QEasingCurve::InOutQuad);
    connect(fade, &QAbstractAnimation::finished, this, [this]() {
        if (m_cover)
            m_cover->deleteLater();
        m_cover = nullptr;
        setStage(Home);
    });
    fade->start(QAbstractAnimation::DeleteWhenStopped);
}
