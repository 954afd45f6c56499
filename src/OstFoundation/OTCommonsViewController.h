#pragma once

#include "OstFoundationGlobal.h"

#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

class OTNavigationController;
class QQmlEngine;
Q_MOC_INCLUDE("OTNavigationController.h")

// The base of every full-window screen. A screen is a QQuickItem whose look is a QML skin
// (its root is the screen's own type); behaviour lives in C++ subclasses.
//
// Life cycle: viewDidLoad() runs once, the first time loadViewIfNeeded() is called (the
// navigation host does so before the screen first appears). viewWillAppear / viewDidAppear /
// viewWillDisappear / viewDidDisappear are called by the navigation host as the screen is
// pushed, covered, uncovered and popped; `animated` says whether that change is animated.
// Overrides call the base class first.
class OSTFOUNDATION_EXPORT OTCommonsViewController : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(OTNavigationController *navigationController READ navigationController NOTIFY navigationControllerChanged)
    Q_PROPERTY(bool viewLoaded READ isViewLoaded NOTIFY viewLoadedChanged)
    Q_PROPERTY(bool visibleOnScreen READ isVisibleOnScreen NOTIFY visibleOnScreenChanged)
public:
    explicit OTCommonsViewController(QQuickItem *parent = nullptr);
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

    // Takes the user back from this screen: pops it (animated) off its navigation host.
    // Nothing happens when the screen is not on a navigation host.
    Q_INVOKABLE virtual void backAction();

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

protected:
    // Builds what the screen needs once its skin exists. Overrides call the base class first.
    virtual void viewDidLoad();

private:
    QPointer<OTNavigationController> m_navigationController;
    bool m_viewLoaded = false;
    bool m_visibleOnScreen = false;
};
