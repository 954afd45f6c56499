#include "OTCommonsViewController.h"

#include "OTNavigationController.h"
#include "OTSkin.h"
#include "OTStackViewRequests.h"
#include "OTWebImage.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQml/qqml.h>

#include <memory>

namespace {

// Qt Quick's StackView type, as QML knows it in `engine`: the class of a bare StackView made
// from QtQuick.Templates once per engine (the screens' skins import that module anyway).
const QMetaObject *stackViewType(QQmlEngine *engine)
{
    static constexpr char key[] = "_otStackViewType";
    const QVariant known = engine->property(key);
    if (known.isValid())
        return reinterpret_cast<const QMetaObject *>(known.value<quintptr>());
    QQmlComponent component(engine);
    component.setData(QByteArrayLiteral("import QtQuick.Templates as T\nT.StackView {}\n"), QUrl());
    std::unique_ptr<QObject> stack(component.create());
    const QMetaObject *type = stack ? stack->metaObject() : nullptr;
    // Past any class QML added for the object itself, to Qt Quick's own.
    while (type && type->superClass() && QByteArrayView(type->className()).contains("_QML"))
        type = type->superClass();
    if (!type)
        qWarning().noquote() << "OTCommonsViewController: no StackView type:" << component.errorString();
    engine->setProperty(key, QVariant::fromValue(reinterpret_cast<quintptr>(type)));
    return type;
}

// The StackView type when `item` is a StackView (a StackView declared in QML is a subclass
// that QML made), or null.
const QMetaObject *stackViewClass(const QQuickItem *item)
{
    QQmlEngine *engine = item ? OTSkin::engineForItem(item) : nullptr;
    const QMetaObject *type = engine ? stackViewType(engine) : nullptr;
    return type && item->metaObject()->inherits(type) ? type : nullptr;
}

} // namespace

OTCommonsViewController::OTCommonsViewController(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope);
}

void OTCommonsViewController::setTitle(const QString &title)
{
    if (m_title == title)
        return;
    m_title = title;
    Q_EMIT titleChanged();
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
    // Only the screen in view can be left; a covered one waits for its turn.
    if (OTNavigationController *navigation = navigationController()) {
        if (navigation->topViewController() == this)
            navigation->popViewControllerAnimated(true);
        return;
    }
    if (m_hostStackView && m_hostStackView->property("currentItem").value<QQuickItem *>() == this)
        requestOnStackView(false, nullptr, true);
}

QQuickItem *OTCommonsViewController::stackView() const
{
    // A navigation host's screens stand on its skin's StackView like any other.
    return m_hostStackView;
}

bool OTCommonsViewController::pushOnStack(OTCommonsViewController *viewController, bool animated)
{
    if (!viewController)
        return false;
    if (OTNavigationController *navigation = navigationController()) {
        navigation->pushViewController(viewController, animated);
        return true;
    }
    return requestOnStackView(true, viewController, animated);
}

bool OTCommonsViewController::requestOnStackView(bool push, OTCommonsViewController *viewController, bool animated)
{
    QQuickItem *stack = m_hostStackView;
    QQmlEngine *engine = stack ? OTSkin::engineForItem(stack) : nullptr;
    if (!engine)
        return false;
    // Made for this one request: the StackView does what is asked before the signal returns.
    std::unique_ptr<OTStackViewRequests> requests(OTStackViewRequests::create(engine, stack, nullptr));
    if (!requests)
        return false;
    if (push) {
        viewController->m_ownedByStack = true;
        Q_EMIT requests->pushRequested(viewController, animated);
    } else {
        Q_EMIT requests->popRequested(animated);
    }
    return true;
}

void OTCommonsViewController::classBegin()
{
    QQuickItem::classBegin();
    OTWebImage::installDiskCache(qmlEngine(this));
}

void OTCommonsViewController::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickItem::itemChange(change, value);
    if (change == ItemParentHasChanged)
        followStackView(value.item);
}

void OTCommonsViewController::followStackView(QQuickItem *parent)
{
    // A StackView makes itself the parent of the items it shows.
    const QMetaObject *stackClass = stackViewClass(parent);
    if (stackClass && !m_stackAttached) {
        // The StackView tells an item's attached object of its status only when the object
        // exists already: it is made here, before the first change.
        QObject *attached = qmlAttachedPropertiesObject(this, qmlAttachedPropertiesFunction(this, stackClass), true);
        if (attached) {
            m_stackAttached = attached;
            OTSkin::onSignal(attached, "activating()", this, [this]() { stackStatusChanged(StackStatus::Activating); });
            OTSkin::onSignal(attached, "activated()", this, [this]() { stackStatusChanged(StackStatus::Active); });
            OTSkin::onSignal(attached, "deactivating()", this,
                             [this]() { stackStatusChanged(StackStatus::Deactivating); });
            OTSkin::onSignal(attached, "deactivated()", this, [this]() { stackStatusChanged(StackStatus::Inactive); });
            OTSkin::onSignal(attached, "removed()", this, [this]() { stackRemoved(); });
        }
    }
    QQuickItem *stack = stackClass ? parent : nullptr;
    if (m_hostStackView != stack) {
        m_hostStackView = stack;
        Q_EMIT stackViewChanged();
    }
}

void OTCommonsViewController::stackStatusChanged(StackStatus status)
{
    // A navigation host makes the life-cycle calls of its screens itself.
    if (m_navigationController)
        return;
    m_stackStatus = status;
    if (m_syncQueued)
        return;
    m_syncQueued = true;
    QMetaObject::invokeMethod(
        this,
        [this]() {
            m_syncQueued = false;
            syncWithStackView();
        },
        Qt::QueuedConnection);
}

void OTCommonsViewController::stackRemoved()
{
    if (m_navigationController)
        return;
    stackStatusChanged(StackStatus::Inactive);
    // A screen pushed on a host app's StackView by pushOnStack() goes with it; the life-cycle
    // calls still due come first.
    if (m_ownedByStack && !m_hostStackView) {
        m_ownedByStack = false;
        QMetaObject::invokeMethod(this, &QObject::deleteLater, Qt::QueuedConnection);
    }
}

void OTCommonsViewController::syncWithStackView()
{
    if (m_navigationController)
        return;
    // The screen (or its host, told by it) may go away in any of these calls.
    const QPointer<OTCommonsViewController> self(this);
    // A transition still under way when the screen is told is an animated one; a change made
    // at once has reached its end by then.
    const StackStatus status = m_stackStatus;
    if (status == StackStatus::Activating || status == StackStatus::Active) {
        const bool atRest = status == StackStatus::Active;
        if (m_appearance == Appearance::Disappeared || m_appearance == Appearance::Disappearing) {
            loadViewIfNeeded();
            if (!self)
                return;
            m_appearanceAnimated = !atRest;
            m_appearance = Appearance::Appearing;
            viewWillAppear(m_appearanceAnimated);
            if (!self)
                return;
        }
        if (atRest && m_appearance == Appearance::Appearing) {
            m_appearance = Appearance::Appeared;
            viewDidAppear(m_appearanceAnimated);
        }
    } else {
        const bool atRest = status == StackStatus::Inactive;
        if (m_appearance == Appearance::Appeared || m_appearance == Appearance::Appearing) {
            m_appearanceAnimated = !atRest;
            m_appearance = Appearance::Disappearing;
            viewWillDisappear(m_appearanceAnimated);
            if (!self)
                return;
        }
        if (atRest && m_appearance == Appearance::Disappearing) {
            m_appearance = Appearance::Disappeared;
            viewDidDisappear(m_appearanceAnimated);
        }
    }
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
    if (window())
        forceActiveFocus(Qt::OtherFocusReason);
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
