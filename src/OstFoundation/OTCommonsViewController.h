#pragma once

#include "OstFoundationGlobal.h"

#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

class OTNavigationController;
class QQmlEngine;
Q_MOC_INCLUDE("OTNavigationController.h")

// The base of every full-window screen.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTCommonsViewController : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(OTNavigationController *navigationController READ navigationController NOTIFY navigationControllerChanged)
    Q_PROPERTY(bool viewLoaded READ isViewLoaded NOTIFY viewLoadedChanged)
    Q_PROPERTY(bool visibleOnScreen READ isVisibleOnScreen NOTIFY visibleOnScreenChanged)
    // What the navigation bar shows while the screen is on top; empty by default.
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
public:
    explicit OTCommonsViewController(QQuickItem *parent = nullptr);

    QString title() const { return m_title; }
    void setTitle(const QString &title);
    ~OTCommonsViewController() override;

    // Runs viewDidLoad() once.
    void loadViewIfNeeded();
    bool isViewLoaded() const { return m_viewLoaded; }
    // Between viewDidAppear and viewWillDisappear.
    bool isVisibleOnScreen() const { return m_visibleOnScreen; }

    // The navigation host this screen is on, or null.
    OTNavigationController *navigationController() const;

    // The orientations the screen supports (a desktop window ignores it; phones honour it).
    virtual Qt::ScreenOrientations supportedInterfaceOrientations() const;

    // Takes the user back from this screen: pops it (animated) off its navigation host or the
    // StackView it stands on, when it is the screen in view there. Nothing happens otherwise.
    Q_INVOKABLE virtual void backAction();

    // The StackView this screen stands on: its navigation host's, or a host app's own; null
    // when it stands on none.
    QQuickItem *stackView() const;
    // Pushes `viewController` on the stack this screen stands on: through its navigation host,
    // or by asking the StackView (stackPushRequested). A screen pushed on a host app's
    // StackView this way belongs to that stack and is deleted once the stack lets go of it.
    // False, and nothing pushed (the caller keeps `viewController`), when the screen stands
    // on no stack.
    bool pushOnStack(OTCommonsViewController *viewController, bool animated);

    // The QML engine of this screen's scene (its own, or that of an ancestor item), or null.
    QQmlEngine *qmlEngineForScene() const;

    // What the screen shows, drawn now and synchronously: the screen's own items over the
    // window's background, cut to the screen, in device pixels at the window's pixel ratio
    // (a 375x667 screen in a window of ratio 2 gives 750x1334 pixels, its devicePixelRatio()
    // 2). Whatever lies above the screen in its window (a transient message, a host's overlay)
    // is left out. A null image when the screen is not in a window.
    QImage renderViewImage();

    // Called by the navigation host.
    virtual void viewWillAppear(bool animated);
    virtual void viewDidAppear(bool animated);
    virtual void viewWillDisappear(bool animated);
    virtual void viewDidDisappear(bool animated);

    // Used by OTNavigationController only.
    void setNavigationController(OTNavigationController *navigationController);

Q_SIGNALS:
    void navigationControllerChanged();
    void viewLoadedChanged();
    void visibleOnScreenChanged();
    void stackViewChanged();
    void titleChanged();

protected:
    // Builds what the screen needs once its skin exists. Overrides call the base class first.
    virtual void viewDidLoad();
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    // A screen declared in QML gives its engine the foundation's picture disk cache and
    // limits, as the skins made from C++ do, before its first picture is asked for.
    void classBegin() override;

private:
    // The StackView's attached status of this screen, and how far the screen has been told.
    enum class StackStatus { Inactive, Deactivating, Activating, Active };
    enum class Appearance { Disappeared, Appearing, Appeared, Disappearing };

    void followStackView(QQuickItem *parent);
    void followWindow();
    void stackStatusChanged(StackStatus status);
    void stackRemoved();
    void syncWithStackView();
    bool requestOnStackView(bool push, OTCommonsViewController *viewController, bool animated);

    QPointer<OTNavigationController> m_navigationController;
    QPointer<QObject> m_stackAttached;  // the StackView's attached object of this screen
    QPointer<QQuickItem> m_hostStackView; // the host app's StackView this screen stands on
    StackStatus m_stackStatus = StackStatus::Inactive;
    Appearance m_appearance = Appearance::Disappeared;
    bool m_appearanceAnimated = false;
    bool m_syncQueued = false;
    bool m_ownedByStack = false;
    bool m_viewLoaded = false;
    bool m_visibleOnScreen = false;
    QString m_title;
};
