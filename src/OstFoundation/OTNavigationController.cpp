#include "OTNavigationController.h"

#include "OTCommonsViewController.h"
#include "OTMotion.h"
#include "OTSkin.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QQmlEngine>

#include <utility>

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

QList<OTCommonsViewController *> OTNavigationController::viewControllers() const
{
    QList<OTCommonsViewController *> list;
    for (const auto &screen : std::as_const(d->screens)) {
        if (screen)
            list.append(screen);
    }
    return list;
}

OTCommonsViewController *OTNavigationController::topViewController() const
{
    for (auto it = d->screens.crbegin(); it != d->screens.crend(); ++it) {
        if (*it)
            return *it;
    }
    return nullptr;
}

int OTNavigationController::depth() const
{
    return int(viewControllers().size());
}

bool OTNavigationController::isBusy() const
{
    return !d->changes.isEmpty() || m_stackViewBusy;
}

QString OTNavigationController::title() const
{
    return d->title;
}

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
