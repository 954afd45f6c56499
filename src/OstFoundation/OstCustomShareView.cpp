#include "OstCustomShareView.h"

#include "OTCommonsViewController.h"
#include "OTMotion.h"
#include "OTSkin.h"
#include "OTSocialService.h"

#include <QKeyEvent>
#include <QQuickWindow>

#include <functional>

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/OstFoundation/OstCustomShareViewSkin.qml"));

bool isPlatform(int type)
{
    return type >= OTSharePlatformWeibo && type <= OTSharePlatformCopyImage;
}

} // namespace

struct OstCustomShareView::Private
{
    explicit Private(OstCustomShareView *view) : q(view) {}

    OstCustomShareView *q;
    OTMotion *motion = nullptr;   // the sheet's way to where it is asked to be
    QPointer<OTCommonsViewController> controller;
    QList<QMetaObject::Connection> controllerConnections;
    // The item that had the keyboard before the panel took it.
    QPointer<QQuickItem> focusBefore;

    OstCustomShareViewDelegate *delegate() const
    {
        return q->m_delegate ? qobject_cast<OstCustomShareViewDelegate *>(q->m_delegate.data()) : nullptr;
    }

    void setShowing(bool showing)
    {
        if (q->m_showing == showing)
            return;
        q->m_showing = showing;
        Q_EMIT q->showingChanged();
    }

    void setSystemShareShowing(bool showing)
    {
        if (q->m_systemShareShowing == showing)
            return;
        q->m_systemShareShowing = showing;
        Q_EMIT q->systemShareShowingChanged();
    }

    // Lays the panel over `screen`, filling it, above everything the screen holds now.
    void attach(OTCommonsViewController *screen)
    {
        if (controller != screen) {
            detach();
            controller = screen;
            auto fit = [this]() {
                if (controller) {
                    q->setPosition(QPointF(0, 0));
                    q->setSize(controller->size());
                }
            };
            controllerConnections << QObject::connect(screen, &QQuickItem::widthChanged, q, fit)
                                  << QObject::connect(screen, &QQuickItem::heightChanged, q, fit);
            q->setParentItem(screen);
            fit();
        }
        qreal top = 0;
        for (QQuickItem *sibling : screen->childItems()) {
            if (sibling != q)
                top = qMax(top, sibling->z());
        }
        q->setZ(top + 1);
    }

    // Takes the keyboard from whatever has it, to give it back later.
    void takeFocus()
    {
        QQuickWindow *window = q->window();
        QQuickItem *current = window ? window->activeFocusItem() : nullptr;
        if (current && current != q && !q->isAncestorOf(current))
            focusBefore = current;
        q->forceActiveFocus(Qt::PopupFocusReason);
    }

    // Gives the keyboard back, if the panel has it: to the item that had it before, when that
    // can still take it, else to the screen.
    void returnFocus()
    {
        if (!q->hasActiveFocus() && !q->m_holdsKeyboard)
            return;
        q->setFocus(false);
        QQuickItem *before = focusBefore.data();
        focusBefore.clear();
        if (before && before->window() == q->window() && before->isVisible() && before->isEnabled()) {
            before->forceActiveFocus(Qt::PopupFocusReason);
            if (before->hasActiveFocus())
                return;
        }
        if (controller)
            controller->forceActiveFocus(Qt::PopupFocusReason);
    }

    void detach()
    {
        for (const auto &connection : std::as_const(controllerConnections))
            QObject::disconnect(connection);
        controllerConnections.clear();
        controller.clear();
        q->setParentItem(nullptr);
    }

    // Moves the sheet to `target` (0 or 1), eased by the skin or at once. `done` runs when it
    // gets there, or when a later move takes it elsewhere first.
    void moveTo(qreal target, bool animated, std::function<void()> done)
    {
        if (q->m_presentationAnimated != animated) {
            q->m_presentationAnimated = animated;
            Q_EMIT q->presentationAnimatedChanged();
        }
        motion->moveTo(target, std::move(done));
    }
};

OstCustomShareView::OstCustomShareView(QQuickItem *parent)
    : QQuickItem(parent)
    , d(new Private(this))
{
    setFlag(ItemIsFocusScope);
    d->motion = new OTMotion(this, "presentation", "sheetMoving");
}

OstCustomShareView::~OstCustomShareView()
{
    for (const auto &connection : std::as_const(d->controllerConnections))
        QObject::disconnect(connection);
    delete d;
}

OstCustomShareView *OstCustomShareView::create(QQmlEngine *engine)
{
    return OTSkin::createAs<OstCustomShareView>(engine, kSkinURL, "_ostCustomShareViewSkin");
}

void OstCustomShareView::setDelegate(QObject *delegate)
{
    if (delegate && !qobject_cast<OstCustomShareViewDelegate *>(delegate))
        qWarning() << "OstCustomShareView: the delegate does not implement OstCustomShareViewDelegate:" << delegate;
    m_delegate = delegate;
}

void OstCustomShareView::setSheetMoving(bool moving)
{
    if (m_sheetMoving == moving)
        return;
    m_sheetMoving = moving;
    Q_EMIT sheetMovingChanged();
}

void OstCustomShareView::setHoldsKeyboard(bool holds)
{
    if (m_holdsKeyboard == holds)
        return;
    m_holdsKeyboard = holds;
    Q_EMIT holdsKeyboardChanged();
}

void OstCustomShareView::setPresentation(qreal presentation)
{
    if (qFuzzyCompare(1.0 + m_presentation, 1.0 + presentation))
        return;
    m_presentation = presentation;
    Q_EMIT presentationChanged();
}

QVariantList OstCustomShareView::platforms() const
{
    return OTSocialService::platforms();
}

void OstCustomShareView::showInController(OTCommonsViewController *controller, bool animated)
{
    if (!controller) {
        qWarning("OstCustomShareView::showInController: no screen");
        return;
    }
    d->attach(controller);
    d->takeFocus();
    d->setShowing(true);
    d->moveTo(1, animated, {});
}

void OstCustomShareView::hideWithAnimated(bool animated)
{
    d->setSystemShareShowing(false);
    d->setShowing(false);
    d->returnFocus();
    if (!parentItem() || !animated) {
        d->moveTo(0, false, {});
        d->detach();
        return;
    }
    // Off the screen once down, unless shown again on the way.
    d->moveTo(0, true, [this]() {
        if (!m_showing)
            d->detach();
    });
}

void OstCustomShareView::showSystemShareModuleWithActivityItems(const QVariantList &activityItems,
                                                                OTCommonsViewController *controller)
{
    if (!controller)
        controller = d->controller;
    if (!controller || activityItems.isEmpty()) {
        qWarning("OstCustomShareView::showSystemShareModuleWithActivityItems: nothing to share or nowhere to show it");
        return;
    }
    m_activityItems = activityItems;
    d->attach(controller);
    d->takeFocus();
    d->setSystemShareShowing(true);
    d->setShowing(true);
    d->moveTo(1, true, {});
}

void OstCustomShareView::platformClicked(int platformType)
{
    if (!isPlatform(platformType))
        return;
    if (OstCustomShareViewDelegate *delegate = d->delegate())
        delegate->shareViewShareToPlatform(this, platformType);
}

void OstCustomShareView::copyLinkClicked(QObject *sender)
{
    tellDelegateThenHide(&OstCustomShareViewDelegate::shareViewCopyLinkClicked, sender);
}

void OstCustomShareView::copyTextClicked(QObject *sender)
{
    tellDelegateThenHide(&OstCustomShareViewDelegate::shareViewCopyTextClicked, sender);
}

void OstCustomShareView::tellDelegateThenHide(void (OstCustomShareViewDelegate::*call)(OstCustomShareView *, QObject *),
                                              QObject *sender)
{
    // The delegate may take the panel down with it.
    QPointer<OstCustomShareView> self(this);
    if (OstCustomShareViewDelegate *delegate = d->delegate())
        (delegate->*call)(this, sender);
    if (self)
        hideWithAnimated(true);
}

void OstCustomShareView::moreClicked(QObject *sender)
{
    if (OstCustomShareViewDelegate *delegate = d->delegate())
        delegate->shareViewMoreButtonClicked(this, sender);
}

void OstCustomShareView::cancelClicked()
{
    hideWithAnimated(true);
}

void OstCustomShareView::keyPressEvent(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const int key = event->key();
    const bool away = (modifiers == Qt::NoModifier
                       && (key == Qt::Key_Escape || key == Qt::Key_Backspace || key == Qt::Key_Back))
        || (modifiers == Qt::AltModifier && key == Qt::Key_Left);
    if (!away || !m_showing) {
        event->ignore();
        return;
    }
    event->accept();
    cancelClicked();
}

void OstCustomShareView::systemShareActivityClicked(const QString &activity)
{
    QPointer<OstCustomShareView> self(this);
    OTSocialService::defaultService()->performActivity(activity, m_activityItems);
    if (self)
        hideWithAnimated(true);
}
