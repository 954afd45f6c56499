#pragma once

#include "OstFoundationGlobal.h"

#include <QList>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

class OTCommonsViewController;
class QQmlEngine;
Q_MOC_INCLUDE("OTCommonsViewController.h")

// A navigation host: a stack of screens under a navigation bar with a back button and the top
// screen's title. Push and pop slide horizontally when animated; the bar slides up out of view
// and back when a screen hides or shows it.
//
// The host drives its screens' life cycle: loadViewIfNeeded before a screen first appears,
// then viewWillAppear / viewWillDisappear when a change starts and viewDidAppear /
// viewDidDisappear when it has finished (at once when not animated). A popped screen is
// deleted once it has disappeared, unless it was handed back by popViewController() to a
// caller that keeps it (see there).
//
// The host decides; its skin (OTNavigationControllerSkin.qml, the QML type OTNavigationController;
// this C++ type is OTNavigationControllerTemplate in QML) shows. Every
// change of the stack is asked of the skin by a request signal, which the skin carries out on
// its StackView with the StackView's own calls before the signal returns, and the skin binds
// that StackView's `busy` to stackViewBusy, by which the host knows when a change has finished.
// The bar's slide is the skin's too: the host sets navigationBarHiddenProgress, and a Behavior
// the skin declares on it (enabled while navigationBarAnimated) turns the change into motion.
// Without a skin (nothing connected to the requests) the top screen lies on the host itself,
// filling it, and every change is immediate.
class OSTFOUNDATION_EXPORT OTNavigationController : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(OTNavigationControllerTemplate)
    Q_PROPERTY(bool navigationBarHidden READ isNavigationBarHidden NOTIFY navigationBarHiddenChanged)
    // 0 with the bar in view, 1 with it out of view. Written by the host; the skin's Behavior
    // on it writes the steps in between.
    Q_PROPERTY(qreal navigationBarHiddenProgress READ navigationBarHiddenProgress WRITE setNavigationBarHiddenProgress
                   NOTIFY navigationBarHiddenProgressChanged)
    // Whether the bar's latest change is to be animated.
    Q_PROPERTY(bool navigationBarAnimated READ isNavigationBarAnimated NOTIFY navigationBarAnimatedChanged)
    Q_PROPERTY(int depth READ depth NOTIFY depthChanged)
    Q_PROPERTY(OTCommonsViewController *topViewController READ topViewController NOTIFY depthChanged)
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    // The skin's StackView is running a transition (bound to its `busy`).
    Q_PROPERTY(bool stackViewBusy READ isStackViewBusy WRITE setStackViewBusy NOTIFY stackViewBusyChanged)
public:
    explicit OTNavigationController(QQuickItem *parent = nullptr);
    ~OTNavigationController() override;

    // A new host with its skin, in `engine`. Null when the skin cannot be made.
    static OTNavigationController *create(QQmlEngine *engine, QQuickItem *parent = nullptr);

    // Pushes `viewController` (the host takes ownership) on top, animated or at once.
    Q_INVOKABLE void pushViewController(OTCommonsViewController *viewController, bool animated);
    // Pops the top screen unless it is the only one; returns it (null when nothing was
    // popped). The host deletes it after viewDidDisappear.
    Q_INVOKABLE OTCommonsViewController *popViewControllerAnimated(bool animated);
    // Pops every screen above the first.
    Q_INVOKABLE void popToRootViewControllerAnimated(bool animated);
    // Replaces the whole stack at once with `viewControllers` (bottom first; the host takes
    // ownership): the top screen goes as if popped, the new top appears as if pushed without
    // animation, and the screens that left are deleted. Every screen must be new to the
    // stack; nothing changes otherwise.
    void setViewControllers(const QList<OTCommonsViewController *> &viewControllers);

    QList<OTCommonsViewController *> viewControllers() const;
    OTCommonsViewController *topViewController() const;
    int depth() const;
    // True while a push or pop animation runs.
    bool isBusy() const;

    bool isNavigationBarHidden() const { return m_navigationBarHidden; }
    Q_INVOKABLE void setNavigationBarHidden(bool hidden, bool animated);
    qreal navigationBarHiddenProgress() const { return m_navigationBarHiddenProgress; }
    void setNavigationBarHiddenProgress(qreal progress);
    bool isNavigationBarAnimated() const { return m_navigationBarAnimated; }

    bool isStackViewBusy() const { return m_stackViewBusy; }
    void setStackViewBusy(bool busy);

    // The title of the top screen (its "title" property, when it has one).
    QString title() const;

Q_SIGNALS:
    void navigationBarHiddenChanged();
    void navigationBarHiddenProgressChanged();
    void navigationBarAnimatedChanged();
    void depthChanged();
    void titleChanged();
    void stackViewBusyChanged();
    // A push or pop has finished (its did-appear / did-disappear calls are done).
    void transitionFinished();

    // What the skin's StackView is to do. `item` goes on top; the items above `target` go
    // (`target` is then on top); `items` (bottom first) take the place of every item.
    void pushRequested(QQuickItem *item, bool animated);
    void popRequested(QQuickItem *target, bool animated);
    void replaceRequested(const QVariantList &items);

private:
    bool m_navigationBarHidden = false;
    bool m_navigationBarAnimated = false;
    bool m_stackViewBusy = false;
    qreal m_navigationBarHiddenProgress = 0;
    struct Private;
    Private *d = nullptr;
};
