#include "OstCustomShareView.h"

#include "OTCommonsViewController.h"
#include "OTMotion.h"
#include "OTSkin.h"
#include "OTSocialService.h"

#include <QKeyEvent>
#include <QQuickWindow>

#include <functional>

/*!
    \class OstCustomShareViewDelegate
    \inmodule OstFoundation
    \brief Told what the user picked in the share panel.

    Implement it in a QObject (with Q_INTERFACES(OstCustomShareViewDelegate)) and hand that to
    OstCustomShareView::setDelegate(). Every call does nothing by default.
*/

/*!
    \qmltype OstCustomShareViewTemplate
    \inqmlmodule OstFoundation
    \instantiates OstCustomShareView
    \brief The share panel's state and actions, without a look.

    The base of the skin \l OstCustomShareView; the C++ class OstCustomShareView tells how the
    panel behaves.
*/

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
        // Up already (the system share route over the targets): it keeps the keyboard, and
        // the item to give it back to.
        if (q->m_holdsKeyboard)
            return;
        QQuickWindow *window = q->window();
        QQuickItem *current = window ? window->activeFocusItem() : nullptr;
        if (current && current != q && !q->isAncestorOf(current))
            focusBefore = current;
        q->forceActiveFocus(Qt::PopupFocusReason);
    }

    // The panel has the keyboard: its own item, or what its skin shows of it.
    bool hasKeyboard() const { return q->hasActiveFocus() || q->m_holdsKeyboard; }

    // Gives the keyboard back: to the item that had it before, when that can still take it,
    // else to the screen.
    void returnFocus()
    {
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

/*!
    \class OstCustomShareView
    \inmodule OstFoundation
    \brief The share panel: a sheet that rises from the bottom of a screen over a dimmed
    backdrop.

    The sheet has one button per share target (icon and name, from OTSocialService::platforms()),
    then "copy link", "copy text" and "more", and a cancel button. A tap on the backdrop or on
    cancel takes it away (animated); so do the two copy buttons after telling the delegate. A
    share target's button tells the delegate and leaves the panel where it is (the delegate
    decides).

    showSystemShareModuleWithActivityItems() opens the system's share route over a screen: a
    second sheet listing what the desktop offers for the items (copy the link, a mail draft,
    open in the browser), carried out through OTSocialService.

    While it is up the panel holds the keyboard: it takes the focus from the screen when it
    rises (Tab then goes through its buttons) and gives it back to the item that had it when it
    goes (or to the screen, when that item can no longer take it). Esc, Backspace, Alt+Left and
    the platform's back key take it away, as cancel does.

    The delegate is a QObject implementing OstCustomShareViewDelegate, held weakly. The look is
    the skin, the QML type \l {OstFoundation::OstCustomShareView}{OstCustomShareView}, whose
    root is this type: it binds the sheets to the state below and eases \l presentation to where
    the panel asks (a Behavior enabled while \l presentationAnimated holds); the panel leaves
    the screen once a hide has arrived at 0. In QML the bare type is
    \l {OstFoundation::OstCustomShareViewTemplate}{OstCustomShareViewTemplate}.
*/
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

/*!
    Returns a new panel with its skin, made in \a engine.
*/
OstCustomShareView *OstCustomShareView::create(QQmlEngine *engine)
{
    return OTSkin::createAs<OstCustomShareView>(engine, kSkinURL, "_ostCustomShareViewSkin");
}

/*!
    Sets the \a delegate: a QObject implementing OstCustomShareViewDelegate, held weakly.
*/
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

/*!
    \property OstCustomShareView::platforms
    \brief The share targets in panel order (OTSocialService::platforms()).
*/
QVariantList OstCustomShareView::platforms() const
{
    return OTSocialService::platforms();
}

/*!
    Lays the panel over \a controller (filling it, on top of its children) and raises the sheet,
    \a animated or at once.
*/
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

/*!
    Lowers the sheet (and the system share sheet), \a animated or at once, and takes the panel
    off the screen.
*/
void OstCustomShareView::hideWithAnimated(bool animated)
{
    d->setSystemShareShowing(false);
    // Whether the panel has the keyboard, asked while the skin still shows it (its popup may
    // close, and let the keyboard go, as soon as the panel stops showing).
    const bool hadKeyboard = d->hasKeyboard();
    d->setShowing(false);
    if (hadKeyboard)
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

/*!
    Opens the system share route for \a activityItems (strings and URLs) over \a controller.
*/
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

/*!
    What a share target's button calls: tells the delegate about \a platformType.
*/
void OstCustomShareView::platformClicked(int platformType)
{
    if (!isPlatform(platformType))
        return;
    if (OstCustomShareViewDelegate *delegate = d->delegate())
        delegate->shareViewShareToPlatform(this, platformType);
}

/*!
    What "copy link" calls: tells the delegate, with \a sender, then hides the panel.
*/
void OstCustomShareView::copyLinkClicked(QObject *sender)
{
    tellDelegateThenHide(&OstCustomShareViewDelegate::shareViewCopyLinkClicked, sender);
}

/*!
    What "copy text" calls: tells the delegate, with \a sender, then hides the panel.
*/
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

/*!
    What "more" calls: tells the delegate, with \a sender.
*/
void OstCustomShareView::moreClicked(QObject *sender)
{
    if (OstCustomShareViewDelegate *delegate = d->delegate())
        delegate->shareViewMoreButtonClicked(this, sender);
}

/*!
    What cancel and the backdrop call: hides the panel, animated.
*/
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

/*!
    What an entry of the system share sheet calls: carries out \a activity (\c copy, \c mail or
    \c browser) through OTSocialService and hides the panel.
*/
void OstCustomShareView::systemShareActivityClicked(const QString &activity)
{
    QPointer<OstCustomShareView> self(this);
    OTSocialService::defaultService()->performActivity(activity, m_activityItems);
    if (self)
        hideWithAnimated(true);
}

/*!
    \fn OstCustomShareViewDelegate::~OstCustomShareViewDelegate()

    Destroys the delegate.
*/

/*!
    \fn void OstCustomShareViewDelegate::shareViewShareToPlatform(OstCustomShareView *shareView, int platformType)

    Called when a share target's button of \a shareView was pressed; \a platformType is an
    OTSharePlatformType.
*/

/*!
    \fn void OstCustomShareViewDelegate::shareViewCopyLinkClicked(OstCustomShareView *shareView, QObject *sender)

    Called when "copy link" of \a shareView was pressed. \a sender is the button (unused by most
    delegates).
*/

/*!
    \fn void OstCustomShareViewDelegate::shareViewCopyTextClicked(OstCustomShareView *shareView, QObject *sender)

    Called when "copy text" of \a shareView was pressed: the quote in view as plain text.
    \a sender is the button.
*/

/*!
    \fn void OstCustomShareViewDelegate::shareViewMoreButtonClicked(OstCustomShareView *shareView, QObject *sender)

    Called when "more" of \a shareView was pressed: the system's share route. \a sender is the
    button.
*/

/*!
    \qmlproperty real OstCustomShareViewTemplate::presentation

    0 out of view (below the screen), 1 fully risen. Set to where the sheet is asked to go; the
    skin's motion writes the steps on the way.
*/

/*!
    \qmlproperty bool OstCustomShareViewTemplate::presentationAnimated
    \readonly

    Whether the move of the sheet under way eases (true) or jumps (false).
*/

/*!
    \qmlproperty bool OstCustomShareViewTemplate::sheetMoving

    Set by the skin while its motion of the sheet runs (bound to its animation's \c running): a
    move of the sheet ends when that motion does.
*/

/*!
    \qmlproperty bool OstCustomShareViewTemplate::holdsKeyboard

    Set by the skin while what it shows of the panel has the keyboard (the module's skin holds
    it in a Popup, outside the panel's own item). When the panel goes, the keyboard goes back to
    the item that had it only if the panel holds it.
*/

/*!
    \qmlproperty bool OstCustomShareViewTemplate::showing
    \readonly

    Whether the panel is up (or rising).
*/

/*!
    \qmlproperty bool OstCustomShareViewTemplate::systemShareShowing
    \readonly

    Whether the system share route's sheet is in the share targets' place.
*/

/*!
    \qmlproperty list OstCustomShareViewTemplate::platforms
    \readonly

    The share targets in panel order: maps with \c type, \c title, \c icon and
    \c iconHighlighted.
*/

/*!
    \qmlproperty list OstCustomShareViewTemplate::activityItems
    \readonly

    The items the system share route was opened for.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::showInController(OTCommonsViewController controller, bool animated)

    Lays the panel over \a controller and raises the sheet, \a animated or at once.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::hideWithAnimated(bool animated)

    Lowers the sheet (and the system share sheet), \a animated or at once, and takes the panel
    off the screen.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::showSystemShareModuleWithActivityItems(list activityItems, OTCommonsViewController controller)

    Opens the system share route for \a activityItems (strings and URLs) over \a controller.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::platformClicked(int platformType)

    What a share target's button calls, with its \a platformType.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::copyLinkClicked(QtObject sender)

    What "copy link" calls, with the button as \a sender.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::copyTextClicked(QtObject sender)

    What "copy text" calls, with the button as \a sender.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::moreClicked(QtObject sender)

    What "more" calls, with the button as \a sender.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::cancelClicked()

    What cancel and the backdrop call.
*/

/*!
    \qmlmethod void OstCustomShareViewTemplate::systemShareActivityClicked(string activity)

    What an entry of the system share sheet calls: \a activity is \c copy, \c mail or
    \c browser.
*/

/*!
    \property OstCustomShareView::presentation
    \brief 0 out of view (below the screen), 1 fully risen.

    Set here to where the sheet is asked to go; the skin's motion writes the steps on the way.
*/

/*!
    \property OstCustomShareView::presentationAnimated
    \brief Whether the move of the sheet under way eases (true) or jumps (false).
*/

/*!
    \property OstCustomShareView::sheetMoving
    \brief Whether the skin's motion of the sheet runs; set by the skin.
*/

/*!
    \property OstCustomShareView::holdsKeyboard
    \brief Whether what the skin shows of the panel has the keyboard; set by the skin.
*/

/*!
    \property OstCustomShareView::showing
    \brief Whether the panel is up (or rising).
*/

/*!
    \property OstCustomShareView::systemShareShowing
    \brief Whether the system share route's sheet is in the share targets' place.
*/

/*!
    \property OstCustomShareView::activityItems
    \brief The items the system share route was opened for.
*/

/*!
    \fn OstCustomShareView::OstCustomShareView(QQuickItem *parent)

    Constructs a panel without a skin, with \a parent. Use create() for a panel with its skin.
*/

/*!
    \fn OstCustomShareView::~OstCustomShareView()

    Destroys the panel.
*/

/*!
    \fn QObject *OstCustomShareView::delegate() const

    Returns the delegate, or null.
*/
