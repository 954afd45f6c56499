#include "DemoHost.h"

#include "DemoHomeViewController.h"
#include "DemoSnapshot.h"

#include <OTNavigationController.h>
#include <OstQuoteViewController.h>

#include <OTSkin.h>

#include <QImage>
#include <QQuickWindow>

#include <utility>

namespace {

const QUrl kCoverSkinURL(QStringLiteral("qrc:/DemoLaunchCover.qml"));

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
    if (m_stage == Home && !m_pendingDay.isEmpty())
        openViewer(true, std::exchange(m_pendingDay, QString()));
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

void DemoHost::startWithViewer(const QString &day)
{
    if (!m_navigation || m_stage != Starting)
        return;
    m_home = makeHome();
    if (!m_home)
        return;
    m_navigation->pushViewController(m_home, false);
    setStage(Home);
    openViewer(false, day);
}

void DemoHost::openViewer(bool animated, const QString &day)
{
    if (!m_navigation)
        return;
    if (OstQuoteViewController *viewer = OstQuoteViewController::create(qmlEngine(m_navigation))) {
        if (!day.isEmpty())
            viewer->setInitialDay(day);
        m_navigation->pushViewController(viewer, animated);
    }
}

void DemoHost::openDay(const QString &day)
{
    if (!m_navigation || day.isEmpty())
        return;
    if (m_stage != Home) {
        m_pendingDay = day;
        return;
    }
    // What stands over the screens gives way: home's day picker, the viewer's share panel.
    if (m_home)
        m_home->closeDayPicker();
    if (auto *viewer = qobject_cast<OstQuoteViewController *>(m_navigation->topViewController())) {
        if (viewer->isSharePanelShowing())
            viewer->shareView()->hideWithAnimated(true);
        viewer->showDay(day);
    } else {
        openViewer(true, day);
    }
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
    QQmlEngine *engine = qmlEngine(m_navigation);
    if (!still.isNull() && engine) {
        if (auto *cover = OTSkin::createAs<DemoSnapshot>(engine, kCoverSkinURL, "_demoLaunchCover")) {
            cover->setImage(still);
            cover->setParentItem(content);
            cover->setZ(1000);
            cover->setSize(content->size());
            m_cover = cover;
        }
    }

    m_navigation->setViewControllers({m_home});
    m_navigation->setNavigationBarHidden(false, false);

    if (!m_cover) {
        setStage(Home);
        return;
    }
    // The cover's skin fades it; it goes once it is out of sight.
    setStage(Fading);
    connect(m_cover, &QQuickItem::opacityChanged, this, &DemoHost::coverFaded);
    m_cover->setFading(true);
    coverFaded();
}

void DemoHost::coverFaded()
{
    if (m_stage != Fading || !m_cover || m_cover->opacity() > 0)
        return;
    m_cover->deleteLater();
    m_cover = nullptr;
    setStage(Home);
}
