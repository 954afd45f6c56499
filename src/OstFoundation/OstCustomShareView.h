#pragma once

#include "OstFoundationGlobal.h"

#include <QPointer>
#include <QQuickItem>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class OTCommonsViewController;
class OstCustomShareView;

// Told what the user picked in the share panel.
class OSTFOUNDATION_EXPORT OstCustomShareViewDelegate
{
public:
    virtual ~OstCustomShareViewDelegate() = default;
    // A share target's button; `platformType` is one of OTSocialService's platform types.
    virtual void shareViewShareToPlatform(OstCustomShareView *shareView, int platformType)
    {
        Q_UNUSED(shareView);
        Q_UNUSED(platformType);
    }
    // "Copy link". `sender` is the button (unused by most delegates).
    virtual void shareViewCopyLinkClicked(OstCustomShareView *shareView, QObject *sender)
    {
        Q_UNUSED(shareView);
        Q_UNUSED(sender);
    }
    // "Copy text": the quote in view as plain text.
    virtual void shareViewCopyTextClicked(OstCustomShareView *shareView, QObject *sender)
    {
        Q_UNUSED(shareView);
        Q_UNUSED(sender);
    }
    // "More": the system's share route.
    virtual void shareViewMoreButtonClicked(OstCustomShareView *shareView, QObject *sender)
    {
        Q_UNUSED(shareView);
        Q_UNUSED(sender);
    }
};

#define OstCustomShareViewDelegate_iid "org.ostrel.OstFoundation.OstCustomShareViewDelegate"
Q_DECLARE_INTERFACE(OstCustomShareViewDelegate, OstCustomShareViewDelegate_iid)

// The share panel: a sheet that rises from the bottom of a screen over a dimmed backdrop,
// with one button per share target (icon and name, from OTSocialService::platforms()), then
// "copy link", "copy text" and "more", and a cancel button. A tap on the backdrop or on cancel
// takes it away (animated); so do the two copy buttons after telling the delegate. A share target's button
// tells the delegate and leaves the panel where it is (the delegate decides).
//
// showSystemShareModuleWithActivityItems opens the system's share route over a screen: a
// second sheet listing what the desktop offers for the items (copy the link, a mail draft,
// open in the browser), carried out through OTSocialService.
//
// While it is up the panel holds the keyboard: it takes the focus from the screen when it
// rises (Tab then goes through its buttons) and gives it back to the item that had it when
// it goes (or to the screen, when that item can no longer take it). Esc, Backspace, Alt+Left
// and the platform's back key take it away, as cancel does.
//
// The delegate is a QObject implementing OstCustomShareViewDelegate, held weakly. The look is
// the skin OstCustomShareViewSkin.qml, the QML type OstCustomShareView (this C++ type is
// OstCustomShareViewTemplate in QML, for a skin of a host's own): it binds the sheets to the state
// below and eases `presentation` to where the panel asks (a Behavior enabled while
// presentationAnimated holds); the panel leaves the screen once a hide has arrived at 0.
class OSTFOUNDATION_EXPORT OstCustomShareView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(OstCustomShareViewTemplate)
    // 0 out of view (below the screen), 1 fully risen. Set here to where the sheet is asked
    // to go; the skin's motion writes the steps on the way.
    Q_PROPERTY(qreal presentation READ presentation WRITE setPresentation NOTIFY presentationChanged)
    // Whether the move of the sheet under way eases (true) or jumps (false).
    Q_PROPERTY(bool presentationAnimated READ presentationAnimated NOTIFY presentationAnimatedChanged)
    // Set by the skin while its motion of the sheet runs: a move ends when that motion does.
    Q_PROPERTY(bool sheetMoving READ sheetMoving WRITE setSheetMoving NOTIFY sheetMovingChanged)
    // Set by the skin while what it shows of the panel has the keyboard (a skin on Qt Quick's
    // Popup holds it in the popup, outside this item): the keyboard goes back when the panel
    // goes only if the panel has it.
    Q_PROPERTY(bool holdsKeyboard READ holdsKeyboard WRITE setHoldsKeyboard NOTIFY holdsKeyboardChanged)
    Q_PROPERTY(bool showing READ isShowing NOTIFY showingChanged)
    Q_PROPERTY(bool systemShareShowing READ isSystemShareShowing NOTIFY systemShareShowingChanged)
    Q_PROPERTY(QVariantList platforms READ platforms CONSTANT)
    Q_PROPERTY(QVariantList activityItems READ activityItems NOTIFY systemShareShowingChanged)
public:
    explicit OstCustomShareView(QQuickItem *parent = nullptr);
    ~OstCustomShareView() override;

    // A new panel with its skin, in `engine`.
    static OstCustomShareView *create(QQmlEngine *engine);

    QObject *delegate() const { return m_delegate; }
    void setDelegate(QObject *delegate);

    // Lays the panel over `controller` (filling it, on top of its children) and raises the
    // sheet, animated or at once.
    Q_INVOKABLE void showInController(OTCommonsViewController *controller, bool animated);
    // Lowers the sheet (and the system share sheet) and takes the panel off the screen.
    Q_INVOKABLE void hideWithAnimated(bool animated);
    // Opens the system share route for `activityItems` (strings and URLs) over `controller`.
    Q_INVOKABLE void showSystemShareModuleWithActivityItems(const QVariantList &activityItems,
                                                            OTCommonsViewController *controller);

    bool isShowing() const { return m_showing; }
    bool isSystemShareShowing() const { return m_systemShareShowing; }
    qreal presentation() const { return m_presentation; }
    bool presentationAnimated() const { return m_presentationAnimated; }
    bool sheetMoving() const { return m_sheetMoving; }
    void setSheetMoving(bool moving);
    bool holdsKeyboard() const { return m_holdsKeyboard; }
    void setHoldsKeyboard(bool holds);
    QVariantList platforms() const;
    QVariantList activityItems() const { return m_activityItems; }

    // What the skin's buttons call.
    Q_INVOKABLE void platformClicked(int platformType);
    Q_INVOKABLE void copyLinkClicked(QObject *sender = nullptr);
    Q_INVOKABLE void copyTextClicked(QObject *sender = nullptr);
    Q_INVOKABLE void moreClicked(QObject *sender = nullptr);
    Q_INVOKABLE void cancelClicked();
    // An entry of the system share sheet: "copy", "mail" or "browser".
    Q_INVOKABLE void systemShareActivityClicked(const QString &activity);

Q_SIGNALS:
    void presentationChanged();
    void presentationAnimatedChanged();
    void sheetMovingChanged();
    void holdsKeyboardChanged();
    void showingChanged();
    void systemShareShowingChanged();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void tellDelegateThenHide(void (OstCustomShareViewDelegate::*call)(OstCustomShareView *, QObject *), QObject *sender);
    void setPresentation(qreal presentation);

    QPointer<QObject> m_delegate;
    bool m_showing = false;
    bool m_systemShareShowing = false;
    qreal m_presentation = 0;
    bool m_presentationAnimated = true;
    bool m_sheetMoving = false;
    bool m_holdsKeyboard = false;
    QVariantList m_activityItems;
    struct Private;
    Private *d = nullptr;
};
