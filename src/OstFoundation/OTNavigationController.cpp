#include "OTNavigationController.h"

#include "OTCommonsViewController.h"
#include "OTMotion.h"
#include "OTSkin.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QQmlEngine>

#include <utility>

/*!
    \qmltype OTNavigationControllerTemplate
    \inqmlmodule OstFoundation
    \instantiates OTNavigationController
    \brief A navigation host's state and requests, without a look.

    The base of the skin \l OTNavigationController. The C++ class OTNavigationController tells
    how it drives its screens and its skin.
*/

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/OstFoundation/OTNavigationControllerSkin.qml"));

} // namespace

// How the host follows its stack view: every push and pop is a "change" whose will-calls are
// made when it starts and whose did-calls are made once the stack view is at rest again (its
// `busy` turned false), or at once when nothing animates. A change that is still under way
// when the next one starts has its did-calls made first, so the calls always pair up.
// Popped screens are deleted only when the stack view is at rest: a transition that runs
// may still move them.
struct OTNavigationController::Private
{
    struct Change
    {
        QPointer<OTCommonsViewController> appearing;
        QPointer<OTCommonsViewController> disappearing;
        bool animated = false;
    };

    explicit Private(OTNavigationController *host)
        : q(host)
        , barMotion(new OTMotion(host, "navigationBarHiddenProgress"))
    {
    }

    OTNavigationController *q;
    QList<QPointer<OTCommonsViewController>> screens;
    QList<Change> changes;
    QList<QPointer<OTCommonsViewController>> popped;
    OTMotion *barMotion;
    QPointer<QObject> titleWatch;    // owns the relay of the top screen's title signal
    QPointer<OTCommonsViewController> titleSource;
    QString title;
    bool destroying = false;

    // A skin carries out the requests; without one the host lays its screens out itself.
    bool skinned() const
    {
        static const QMetaMethod push = QMetaMethod::fromSignal(&OTNavigationController::pushRequested);
        return q->isSignalConnected(push);
    }

    void prune()
    {
        screens.removeAll(QPointer<OTCommonsViewController>());
    }

    // The did-calls of every change under way.
    void finishChanges()
    {
        const QList<Change> finishing = std::exchange(changes, {});
        for (const Change &change : finishing) {
            if (change.disappearing)
                change.disappearing->viewDidDisappear(change.animated);
            if (change.appearing)
                change.appearing->viewDidAppear(change.animated);
            Q_EMIT q->transitionFinished();
        }
    }

    void finishIfAtRest()
    {
        if (q->m_stackViewBusy)
            return;
        finishChanges();
        // Screens pushed again in the meantime are back in the stack and stay.
        const auto burying = std::exchange(popped, {});
        for (const auto &screen : burying) {
            if (!screen || screens.contains(screen))
                continue;
            screen->setNavigationController(nullptr);
            screen->setParentItem(nullptr);
            screen->deleteLater();
        }
    }

    // Without a skin the top screen lies on the host itself, filling it.
    void layoutBare()
    {
        if (skinned())
            return;
        OTCommonsViewController *top = q->topViewController();
        for (const auto &screen : std::as_const(screens)) {
            if (!screen)
                continue;
            screen->setParentItem(q);
            screen->setSize(q->size());
            screen->setVisible(screen == top);
        }
        for (const auto &screen : std::as_const(popped)) {
            if (screen)
                screen->setVisible(false);
        }
    }

    void updateTitle()
    {
        OTCommonsViewController *top = q->topViewController();
        if (top != titleSource) {
            delete titleWatch;
            titleSource = top;
            if (top) {
                titleWatch = new QObject(q);
                QObject::connect(top, &OTCommonsViewController::titleChanged, titleWatch, [this]() { updateTitle(); });
            }
        }
        const QString text = top ? top->title() : QString();
        if (text != title) {
            title = text;
            Q_EMIT q->titleChanged();
        }
    }

    void adopt(OTCommonsViewController *screen)
    {
        popped.removeAll(screen);
        screen->setParent(q);
        QQmlEngine::setObjectOwnership(screen, QQmlEngine::CppOwnership);
        screen->setNavigationController(q);
        // A screen deleted by someone else leaves the stack.
        QObject::connect(screen, &QObject::destroyed, q, [this]() {
            if (destroying)
                return;
            const int before = int(screens.size());
            prune();
            if (screens.size() != before) {
                Q_EMIT q->depthChanged();
                updateTitle();
            }
        });
    }
};

/*!
    \class OTNavigationController
    \inmodule OstFoundation
    \brief A navigation host: a stack of screens under a navigation bar.

    The bar has a back button and the top screen's title. Push and pop slide horizontally when
    animated; the bar slides up out of view and back when a screen hides or shows it. A screen
    pushed or popped with the slide stands where it will stay from the first frame.

    The host drives its screens' life cycle: loadViewIfNeeded() before a screen first appears,
    then viewWillAppear() and viewWillDisappear() when a change starts and viewDidAppear() and
    viewDidDisappear() when it has finished (at once when not animated). A popped screen is
    deleted once it has disappeared.

    \code
    OTNavigationController *navigation = OTNavigationController::create(view.engine(), view.rootObject());
    navigation->setSize(view.size());
    navigation->pushViewController(OstQuoteLaunchViewController::create(view.engine()), false);
    \endcode

    \section1 The skin

    The host decides; its skin (the QML type \l {OstFoundation::OTNavigationController}
    {OTNavigationController}, whose root is this type) shows. Every change of the stack is asked
    of the skin by a request signal (pushRequested(), popRequested(), replaceRequested()), which
    the skin carries out on its StackView with the StackView's own calls before the signal
    returns, and the skin binds that StackView's \c busy to \l stackViewBusy, by which the host
    knows when a change has finished. The bar's slide is the skin's too: the host sets
    \l navigationBarHiddenProgress, and a Behavior the skin declares on it (enabled while
    \l navigationBarAnimated) turns the change into motion. Without a skin (nothing connected to
    the requests) the top screen lies on the host itself, filling it, and every change is
    immediate.

    In QML the bare type is \l {OstFoundation::OTNavigationControllerTemplate}
    {OTNavigationControllerTemplate}.
*/
OTNavigationController::OTNavigationController(QQuickItem *parent)
    : QQuickItem(parent)
    , d(new Private(this))
{
    connect(this, &QQuickItem::widthChanged, this, [this]() { d->layoutBare(); });
    connect(this, &QQuickItem::heightChanged, this, [this]() { d->layoutBare(); });
}

OTNavigationController::~OTNavigationController()
{
    d->destroying = true;
    delete d->titleWatch;
    // The screens are ours: they go first, while the stack view still exists and lets go
    // of each as it is deleted. (Clearing the stack view instead would lay every screen out
    // once more, in a scene that is being torn down.)
    QList<QPointer<OTCommonsViewController>> screens = d->screens + d->popped;
    for (const auto &change : std::as_const(d->changes))
        screens << change.appearing << change.disappearing;
    for (const auto &screen : std::as_const(screens)) {
        if (screen) {
            screen->disconnect(this);
            delete screen.data();
        }
    }
    delete d;
}

/*!
    Returns a new host with its skin, made in \a engine, with \a parent. Returns null when the
    skin cannot be made.
*/
OTNavigationController *OTNavigationController::create(QQmlEngine *engine, QQuickItem *parent)
{
    auto *host = OTSkin::createAs<OTNavigationController>(engine, kSkinURL, "_otNavigationControllerSkin");
    if (!host)
        return nullptr;
    if (parent) {
        host->setParent(parent);
        host->setParentItem(parent);
    }
    return host;
}

/*!
    Pushes \a viewController on top, \a animated or at once. The host takes ownership.
*/
void OTNavigationController::pushViewController(OTCommonsViewController *viewController, bool animated)
{
    if (!viewController) {
        qWarning("OTNavigationController::pushViewController: no screen");
        return;
    }
    d->prune();
    if (d->screens.contains(viewController)) {
        qWarning("OTNavigationController::pushViewController: the screen is on the stack already");
        return;
    }
    d->finishChanges();

    OTCommonsViewController *below = topViewController();
    d->adopt(viewController);
    viewController->loadViewIfNeeded();
    if (below)
        below->viewWillDisappear(animated);
    viewController->viewWillAppear(animated);
    d->screens.append(viewController);
    d->changes.append({viewController, below, animated});

    if (d->skinned()) {
        // The first screen has nothing to slide over.
        Q_EMIT pushRequested(viewController, animated && below);
    } else {
        d->layoutBare();
    }
    Q_EMIT depthChanged();
    d->updateTitle();
    d->finishIfAtRest();
}

/*!
    Pops the top screen, \a animated or at once, unless it is the only one, and returns it (null
    when nothing was popped). The host deletes it after viewDidDisappear().
*/
OTCommonsViewController *OTNavigationController::popViewControllerAnimated(bool animated)
{
    d->prune();
    if (d->screens.size() < 2)
        return nullptr;
    d->finishChanges();

    OTCommonsViewController *top = d->screens.takeLast();
    OTCommonsViewController *below = d->screens.last();
    top->viewWillDisappear(animated);
    below->viewWillAppear(animated);
    d->changes.append({below, top, animated});
    d->popped.append(top);

    if (d->skinned())
        Q_EMIT popRequested(below, animated);
    else
        d->layoutBare();
    Q_EMIT depthChanged();
    d->updateTitle();
    d->finishIfAtRest();
    return top;
}

/*!
    Pops every screen above the first, \a animated or at once.
*/
void OTNavigationController::popToRootViewControllerAnimated(bool animated)
{
    d->prune();
    if (d->screens.size() < 2)
        return;
    d->finishChanges();

    OTCommonsViewController *root = d->screens.first();
    OTCommonsViewController *top = d->screens.last();
    // The screens in between are covered already: they only go.
    for (qsizetype i = 1; i < d->screens.size(); ++i)
        d->popped.append(d->screens.at(i));
    d->screens.resize(1);
    top->viewWillDisappear(animated);
    root->viewWillAppear(animated);
    d->changes.append({root, top, animated});

    if (d->skinned())
        Q_EMIT popRequested(root, animated);
    else
        d->layoutBare();
    Q_EMIT depthChanged();
    d->updateTitle();
    d->finishIfAtRest();
}

/*!
    Replaces the whole stack at once with \a viewControllers (bottom first; the host takes
    ownership): the top screen goes as if popped, the new top appears as if pushed without
    animation, and the screens that left are deleted. Every screen must be new to the stack;
    nothing changes otherwise.
*/
void OTNavigationController::setViewControllers(const QList<OTCommonsViewController *> &viewControllers)
{
    d->prune();
    QList<OTCommonsViewController *> incoming;
    for (OTCommonsViewController *screen : viewControllers) {
        if (!screen || incoming.contains(screen))
            continue;
        if (d->screens.contains(screen)) {
            qWarning("OTNavigationController::setViewControllers: a screen is on the stack already");
            return;
        }
        incoming.append(screen);
    }
    if (incoming.isEmpty()) {
        qWarning("OTNavigationController::setViewControllers: no screen");
        return;
    }
    d->finishChanges();

    OTCommonsViewController *leaving = topViewController();
    OTCommonsViewController *top = incoming.last();
    for (const auto &screen : std::as_const(d->screens))
        d->popped.append(screen);
    // Screens below the top may be uncovered later without being pushed: all load now.
    for (OTCommonsViewController *screen : std::as_const(incoming)) {
        d->adopt(screen);
        screen->loadViewIfNeeded();
    }
    if (leaving)
        leaving->viewWillDisappear(false);
    top->viewWillAppear(false);
    d->screens.clear();
    for (OTCommonsViewController *screen : std::as_const(incoming))
        d->screens.append(screen);
    d->changes.append({top, leaving, false});

    if (d->skinned()) {
        QVariantList items;
        for (OTCommonsViewController *screen : std::as_const(incoming))
            items.append(QVariant::fromValue<QObject *>(screen));
        Q_EMIT replaceRequested(items);
    } else {
        d->layoutBare();
    }
    Q_EMIT depthChanged();
    d->updateTitle();
    d->finishIfAtRest();
}

/*!
    Returns the screens on the stack, bottom first.
*/
QList<OTCommonsViewController *> OTNavigationController::viewControllers() const
{
    QList<OTCommonsViewController *> list;
    for (const auto &screen : std::as_const(d->screens)) {
        if (screen)
            list.append(screen);
    }
    return list;
}

/*!
    \property OTNavigationController::topViewController
    \brief The screen on top, or null.
*/
OTCommonsViewController *OTNavigationController::topViewController() const
{
    for (auto it = d->screens.crbegin(); it != d->screens.crend(); ++it) {
        if (*it)
            return *it;
    }
    return nullptr;
}

/*!
    \property OTNavigationController::depth
    \brief The number of screens on the stack.
*/
int OTNavigationController::depth() const
{
    return int(viewControllers().size());
}

/*!
    Returns \c true while a push or pop animation runs.
*/
bool OTNavigationController::isBusy() const
{
    return !d->changes.isEmpty() || m_stackViewBusy;
}

/*!
    \property OTNavigationController::title
    \brief The title of the top screen (its \c title property, when it has one).
*/
QString OTNavigationController::title() const
{
    return d->title;
}

/*!
    Hides or shows the navigation bar as \a hidden says, sliding it when \a animated.
*/
void OTNavigationController::setNavigationBarHidden(bool hidden, bool animated)
{
    if (m_navigationBarHidden != hidden) {
        m_navigationBarHidden = hidden;
        Q_EMIT navigationBarHiddenChanged();
    }
    if (m_navigationBarAnimated != animated) {
        m_navigationBarAnimated = animated;
        Q_EMIT navigationBarAnimatedChanged();
    }
    // A bar caught half way turns round from where it is.
    d->barMotion->moveTo(hidden ? 1.0 : 0.0);
}

void OTNavigationController::setNavigationBarHiddenProgress(qreal progress)
{
    if (m_navigationBarHiddenProgress == progress)
        return;
    m_navigationBarHiddenProgress = progress;
    Q_EMIT navigationBarHiddenProgressChanged();
}

void OTNavigationController::setStackViewBusy(bool busy)
{
    if (m_stackViewBusy == busy)
        return;
    m_stackViewBusy = busy;
    Q_EMIT stackViewBusyChanged();
    if (!busy && !d->destroying)
        d->finishIfAtRest();
}

/*!
    \qmlproperty bool OTNavigationControllerTemplate::navigationBarHidden
    \readonly

    Whether the navigation bar is hidden (or being hidden).
*/

/*!
    \qmlproperty real OTNavigationControllerTemplate::navigationBarHiddenProgress

    0 with the bar in view, 1 with it out of view. Written by the host; the skin's Behavior on
    it writes the steps in between.
*/

/*!
    \qmlproperty bool OTNavigationControllerTemplate::navigationBarAnimated
    \readonly

    Whether the bar's latest change is to be animated.
*/

/*!
    \qmlproperty int OTNavigationControllerTemplate::depth
    \readonly

    The number of screens on the stack.
*/

/*!
    \qmlproperty OTCommonsViewController OTNavigationControllerTemplate::topViewController
    \readonly

    The screen on top, or null.
*/

/*!
    \qmlproperty string OTNavigationControllerTemplate::title
    \readonly

    The title of the top screen.
*/

/*!
    \qmlproperty bool OTNavigationControllerTemplate::stackViewBusy

    Whether the skin's StackView is running a transition: the skin binds it to the StackView's
    \c busy.
*/

/*!
    \qmlmethod void OTNavigationControllerTemplate::pushViewController(OTCommonsViewController viewController, bool animated)

    Pushes \a viewController on top, \a animated or at once. The host takes ownership.
*/

/*!
    \qmlmethod OTCommonsViewController OTNavigationControllerTemplate::popViewControllerAnimated(bool animated)

    Pops the top screen unless it is the only one, \a animated or at once, and returns it (null
    when nothing was popped).
*/

/*!
    \qmlmethod void OTNavigationControllerTemplate::popToRootViewControllerAnimated(bool animated)

    Pops every screen above the first, \a animated or at once.
*/

/*!
    \qmlmethod void OTNavigationControllerTemplate::setNavigationBarHidden(bool hidden, bool animated)

    Hides or shows the navigation bar as \a hidden says, \a animated or at once.
*/

/*!
    \qmlsignal OTNavigationControllerTemplate::transitionFinished()

    Emitted when a push or pop has finished (its did-appear and did-disappear calls are done).
*/

/*!
    \qmlsignal OTNavigationControllerTemplate::pushRequested(Item item, bool animated)

    Asks the skin's StackView to push \a item, \a animated or at once.
*/

/*!
    \qmlsignal OTNavigationControllerTemplate::popRequested(Item target, bool animated)

    Asks the skin's StackView to pop the items above \a target, \a animated or at once.
*/

/*!
    \qmlsignal OTNavigationControllerTemplate::replaceRequested(list items)

    Asks the skin's StackView to put \a items (bottom first) in the place of every item, at once.
*/

/*!
    \property OTNavigationController::navigationBarHidden
    \brief Whether the navigation bar is hidden (or being hidden).

    \sa setNavigationBarHidden()
*/

/*!
    \property OTNavigationController::navigationBarHiddenProgress
    \brief 0 with the bar in view, 1 with it out of view.

    Written by the host; the skin's Behavior on it writes the steps in between.
*/

/*!
    \property OTNavigationController::navigationBarAnimated
    \brief Whether the bar's latest change is to be animated.
*/

/*!
    \property OTNavigationController::stackViewBusy
    \brief Whether the skin's StackView is running a transition (bound to its \c busy).
*/

/*!
    \fn OTNavigationController::OTNavigationController(QQuickItem *parent)

    Constructs a host without a skin, with \a parent. Use create() for a host with its skin.
*/

/*!
    \fn OTNavigationController::~OTNavigationController()

    Destroys the host and the screens it owns.
*/

/*!
    \fn void OTNavigationController::transitionFinished()

    This signal is emitted when a push or pop has finished (its did-appear and did-disappear
    calls are done).
*/

/*!
    \fn void OTNavigationController::pushRequested(QQuickItem *item, bool animated)

    This signal asks the skin's StackView to push \a item, \a animated or at once.
*/

/*!
    \fn void OTNavigationController::popRequested(QQuickItem *target, bool animated)

    This signal asks the skin's StackView to pop the items above \a target (which is then on
    top), \a animated or at once.
*/

/*!
    \fn void OTNavigationController::replaceRequested(const QVariantList &items)

    This signal asks the skin's StackView to put \a items (bottom first) in the place of every
    item.
*/
