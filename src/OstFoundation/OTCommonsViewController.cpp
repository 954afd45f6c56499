#include "OTCommonsViewController.h"

#include "OTNavigationController.h"
#include "OTSkin.h"

OTCommonsViewController::OTCommonsViewController(QQuickItem *parent)
    : QQuickItem(parent)
{
}

OTCommonsViewController::~OTCommonsViewController() = default;

void OTCommonsViewController::loadViewIfNeeded()
{
    if (m_viewLoaded)
        return;
    // Set first: a viewDidLoad that asks (or pushes itself somewhere) does not load twice.
    m_viewLoaded = true;
    viewDidLoad();
    Q_EMIT viewLoadedChanged();
}

OTNavigationController *OTCommonsViewController::navigationController() const
{
    return m_navigationController.data();
}

void OTCommonsViewController::setNavigationController(OTNavigationController *navigationController)
{
    if (m_navigationController == navigationController)
        return;
    m_navigationController = navigationController;
    Q_EMIT navigationControllerChanged();
}

Qt::ScreenOrientations OTCommonsViewController::supportedInterfaceOrientations() const
{
    return Qt::PortraitOrientation | Qt::LandscapeOrientation | Qt::InvertedLandscapeOrientation;
}

void OTCommonsViewController::backAction()
{
    OTNavigationController *navigation = navigationController();
    // Only the screen in view can be left; a covered one waits for its turn.
    if (navigation && navigation->topViewController() == this)
        navigation->popViewControllerAnimated(true);
}

QQmlEngine *OTCommonsViewController::qmlEngineForScene() const
{
    if (QQmlEngine *engine = OTSkin::engineForItem(this))
        return engine;
    // A screen made in C++ that is not in a scene yet: its host knows the engine.
    return m_navigationController ? OTSkin::engineForItem(m_navigationController) : nullptr;
}

void OTCommonsViewController::viewDidLoad()
{
}

void OTCommonsViewController::viewWillAppear(bool animated)
{
    Q_UNUSED(animated);
}

void OTCommonsViewController::viewDidAppear(bool animated)
{
    Q_UNUSED(animated);
    if (!m_visibleOnScreen) {
        m_visibleOnScreen = true;
        Q_EMIT visibleOnScreenChanged();
    }
}

void OTCommonsViewController::viewWillDisappear(bool animated)
{
    Q_UNUSED(animated);
    if (m_visibleOnScreen) {
        m_visibleOnScreen = false;
        Q_EMIT visibleOnScreenChanged();
    }
}

void OTCommonsViewController::viewDidDisappear(bool animated)
{
    Q_UNUSED(animated);
}
