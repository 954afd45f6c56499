#include "OTCommonsViewController.h"

#include "OTNavigationController.h"
#include "OTSkin.h"

#include <QQuickWindow>

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

QImage OTCommonsViewController::renderViewImage()
{
    QQuickWindow *quickWindow = window();
    if (!quickWindow)
        return QImage();

    // Everything painted after this screen, at each level up to the window's root: later
    // siblings and those with a higher z. They are made transparent for the one frame drawn
    // here and given back their opacity in the same turn of the event loop, so nobody sees it.
    QList<QPair<QPointer<QQuickItem>, qreal>> covering;
    for (QQuickItem *item = this; QQuickItem *parent = item->parentItem(); item = parent) {
        const QList<QQuickItem *> siblings = parent->childItems();
        const qsizetype position = siblings.indexOf(item);
        for (qsizetype i = 0; i < siblings.size(); ++i) {
            QQuickItem *sibling = siblings.at(i);
            if (sibling == item || !sibling->isVisible() || sibling->opacity() <= 0)
                continue;
            const bool above = sibling->z() > item->z() || (sibling->z() == item->z() && i > position);
            if (above)
                covering.append({sibling, sibling->opacity()});
        }
    }
    for (const auto &[item, opacity] : std::as_const(covering))
        item->setOpacity(0);
    const QImage whole = quickWindow->grabWindow();
    for (const auto &[item, opacity] : std::as_const(covering)) {
        if (item)
            item->setOpacity(opacity);
    }

    // The grab is in device pixels; the image does not always say at which ratio (the software
    // scene graph leaves it at 1), so the window's own ratio is the one to go by.
    const qreal ratio = quickWindow->effectiveDevicePixelRatio();
    const QRectF area = mapRectToScene(QRectF(0, 0, width(), height()));
    const QRect pixels = QRectF(area.topLeft() * ratio, area.size() * ratio).toAlignedRect() & whole.rect();
    QImage image = whole.copy(pixels);
    image.setDevicePixelRatio(ratio);
    return image;
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
