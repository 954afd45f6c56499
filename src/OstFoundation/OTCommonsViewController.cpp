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

/*!
    \qmltype OTCommonsViewController
    \inqmlmodule OstFoundation
    \instantiates OTCommonsViewController
    \brief The base of every full-window screen.

    Its life cycle follows the StackView it stands on, or, standing alone, whether it is shown
    in a window (see the C++ class OTCommonsViewController). The module's screens, \l OstQuoteLaunchViewController and
    \l OstQuoteViewController, are of this type.
*/

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
    // No item is a StackView before QtQuick.Templates, which registers the type, is loaded in
    // the process; the bare StackView that names the class is not made before then, since
    // making it would load that module (and its hundred types) before a launch screen that
    // stands alone has shown its first frame.
    if (qmlTypeId("QtQuick.Templates", 2, 0, "StackView") < 0)
        return nullptr;
    QQmlEngine *engine = item ? OTSkin::engineForItem(item) : nullptr;
    const QMetaObject *type = engine ? stackViewType(engine) : nullptr;
    return type && item->metaObject()->inherits(type) ? type : nullptr;
}

} // namespace

/*!
    \class OTCommonsViewController
    \inmodule OstFoundation
    \brief The base of every full-window screen.

    A screen is a QQuickItem whose look is a QML skin (its root is the screen's own type);
    behaviour lives in C++ subclasses such as OstQuoteViewController.

    \section1 Life cycle

    viewDidLoad() runs once, the first time loadViewIfNeeded() is called (before the screen first
    appears). viewWillAppear(), viewDidAppear(), viewWillDisappear() and viewDidDisappear() follow
    the screen as it is pushed, covered, uncovered and popped; \c animated says whether that
    change is animated. Overrides call the base class first.

    A screen standing alone, on no StackView and no navigation host (a launch screen put
    straight into the window, say), appears once it is shown in a window and disappears when it
    is hidden or leaves the window, each change made at once. When a StackView takes the screen
    in (as its first item, for instance), the StackView's status rules from then on; a screen in
    view stays in view, with no second call.

    On an OTNavigationController the host makes these calls. On any other StackView (a host app's
    own) the screen follows the StackView's attached status: activating and deactivating are the
    will-calls of an animated change, activated and deactivated its did-calls; a change made at
    once gives both calls with \c animated false. These calls come one turn of the event loop
    after the StackView's change, so that a screen (or its host, told by it) may ask the
    StackView for the next change: a StackView refuses changes while it makes one.

    \section1 The keyboard

    A screen is a focus scope, and the screen that has just appeared takes the keyboard: keys go
    to the item its skin gives the focus (or to the screen itself), and come back there when the
    screen is in view again.
*/
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

/*!
    Runs viewDidLoad() once: the first time it is called.
*/
void OTCommonsViewController::loadViewIfNeeded()
{
    if (m_viewLoaded)
        return;
    // Set first: a viewDidLoad that asks (or pushes itself somewhere) does not load twice.
    m_viewLoaded = true;
    viewDidLoad();
    Q_EMIT viewLoadedChanged();
}

/*!
    \property OTCommonsViewController::navigationController
    \brief The navigation host this screen is on, or null.
*/
OTNavigationController *OTCommonsViewController::navigationController() const
{
    return m_navigationController.data();
}

/*!
    Sets the navigation host the screen is on to \a navigationController. Only
    OTNavigationController calls it.
*/
void OTCommonsViewController::setNavigationController(OTNavigationController *navigationController)
{
    if (m_navigationController == navigationController)
        return;
    m_navigationController = navigationController;
    Q_EMIT navigationControllerChanged();
}

/*!
    Returns the orientations the screen supports. A desktop window ignores it; phones honour it.
*/
Qt::ScreenOrientations OTCommonsViewController::supportedInterfaceOrientations() const
{
    return Qt::PortraitOrientation | Qt::LandscapeOrientation | Qt::InvertedLandscapeOrientation;
}

/*!
    Takes the user back from this screen: pops it (animated) off its navigation host or the
    StackView it stands on, when it is the screen in view there. Nothing happens otherwise.
*/
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

/*!
    Returns the StackView this screen stands on: its navigation host's, or a host app's own;
    null when it stands on none.
*/
QQuickItem *OTCommonsViewController::stackView() const
{
    // A navigation host's screens stand on its skin's StackView like any other.
    return m_hostStackView;
}

/*!
    Pushes \a viewController, \a animated or at once, on the stack this screen stands on:
    through its navigation host, or by asking the StackView. A screen pushed on a host app's
    StackView this way belongs to that stack and is deleted once the stack lets go of it.

    Returns \c false, and pushes nothing (the caller keeps \a viewController), when the screen
    stands on no stack.
*/
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

/*!
    A screen declared in QML gives its engine the foundation's picture disk cache and limits, as
    the skins made from C++ do, before its first picture is asked for.
*/
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
    if (change == ItemParentHasChanged || change == ItemSceneChange || change == ItemVisibleHasChanged)
        followWindow();
}

void OTCommonsViewController::followWindow()
{
    // On a stack (a navigation host's or a host app's own) the stack says when the screen is
    // in view; standing alone, it is in view while it is shown in a window.
    if (m_navigationController || m_hostStackView)
        return;
    const StackStatus status = window() && isVisible() ? StackStatus::Active : StackStatus::Inactive;
    if (status != m_stackStatus)
        stackStatusChanged(status);
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

/*!
    Returns the QML engine of this screen's scene (its own, or that of an ancestor item), or
    null.
*/
QQmlEngine *OTCommonsViewController::qmlEngineForScene() const
{
    if (QQmlEngine *engine = OTSkin::engineForItem(this))
        return engine;
    // A screen made in C++ that is not in a scene yet: its host knows the engine.
    return m_navigationController ? OTSkin::engineForItem(m_navigationController) : nullptr;
}

/*!
    Returns what the screen shows, drawn now and synchronously: the screen's own items over the
    window's background, cut to the screen, in device pixels at the window's pixel ratio (a
    375x667 screen in a window of ratio 2 gives 750x1334 pixels, its devicePixelRatio() 2).
    Whatever lies above the screen in its window (a transient message, a host's overlay) is left
    out. Returns a null image when the screen is not in a window.
*/
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

/*!
    Builds what the screen needs once its skin exists. Overrides call the base class first.
*/
void OTCommonsViewController::viewDidLoad()
{
}

/*!
    Called when the screen is about to appear, \a animated or at once.
*/
void OTCommonsViewController::viewWillAppear(bool animated)
{
    Q_UNUSED(animated);
}

/*!
    Called when the screen has appeared, \a animated or at once. The screen takes the keyboard.
*/
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

/*!
    Called when the screen is about to disappear, \a animated or at once.
*/
void OTCommonsViewController::viewWillDisappear(bool animated)
{
    Q_UNUSED(animated);
    if (m_visibleOnScreen) {
        m_visibleOnScreen = false;
        Q_EMIT visibleOnScreenChanged();
    }
}

/*!
    Called when the screen has disappeared, \a animated or at once.
*/
void OTCommonsViewController::viewDidDisappear(bool animated)
{
    Q_UNUSED(animated);
}

/*!
    \qmlproperty OTNavigationController OTCommonsViewController::navigationController
    \readonly

    The navigation host this screen is on, or null.
*/

/*!
    \qmlproperty bool OTCommonsViewController::viewLoaded
    \readonly

    Whether the screen has loaded (its viewDidLoad has run).
*/

/*!
    \qmlproperty bool OTCommonsViewController::visibleOnScreen
    \readonly

    True between the screen's did-appear and will-disappear calls.
*/

/*!
    \qmlproperty string OTCommonsViewController::title

    What the navigation bar shows while the screen is on top; empty by default.
*/

/*!
    \qmlmethod void OTCommonsViewController::backAction()

    Takes the user back from this screen: pops it (animated) off its navigation host or the
    StackView it stands on, when it is the screen in view there. Nothing happens otherwise.
*/

/*!
    \property OTCommonsViewController::viewLoaded
    \brief Whether viewDidLoad() has run.
*/

/*!
    \property OTCommonsViewController::visibleOnScreen
    \brief Whether the screen is in view: between viewDidAppear() and viewWillDisappear().
*/

/*!
    \property OTCommonsViewController::title
    \brief What the navigation bar shows while the screen is on top; empty by default.
*/

/*!
    \fn OTCommonsViewController::OTCommonsViewController(QQuickItem *parent)

    Constructs a screen with \a parent.
*/

/*!
    \fn OTCommonsViewController::~OTCommonsViewController()

    Destroys the screen.
*/

/*!
    \fn void OTCommonsViewController::stackViewChanged()

    This signal is emitted when the screen comes to stand on another StackView, or on none.
*/

/*!
    \qmlsignal OTCommonsViewController::stackViewChanged()

    Emitted when the screen comes to stand on another StackView, or on none.
*/
