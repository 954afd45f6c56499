#pragma once

#include "OstFoundationGlobal.h"

#include <QList>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

class OTCommonsViewController;
class QQmlEngine;
Q_MOC_INCLUDE("OTCommonsViewController.h")

// A navigation host: a stack of screens (Qt Quick Controls' StackView) under a navigation
// bar with a back button and the top screen's title. Push and pop slide horizontally when
// animated; the bar slides up out of view and back when a screen hides or shows it.
//
// The host drives its screens' life cycle: loadViewIfNeeded before a screen first appears,
// then viewWillAppear / viewWillDisappear when a change starts and viewDidAppear /
// viewDidDisappear when it has finished (at once when not animated). A popped screen is
// deleted once it has disappeared, unless it was handed back by popViewController() to a
// caller that keeps it (see there).
//
// The look is the skin OTNavigationControllerSkin.qml (root: this type), which assigns
// `stackView` and `navigationBar` and binds to the properties below.
class OSTFOUNDATION_EXPORT OTNavigationController : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool navigationBarHidden READ isNavigationBarHidden NOTIFY navigationBarHiddenChanged)
    // 0 with the bar in view, 1 with it out of view; animates between the two.
    Q_PROPERTY(qreal navigationBarHiddenProgress READ navigationBarHiddenProgress NOTIFY navigationBarHiddenProgressChanged)
    Q_PROPERTY(int depth READ depth NOTIFY depthChanged)
    Q_PROPERTY(OTCommonsViewController *topViewController READ topViewController NOTIFY depthChanged)
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    Q_PROPERTY(QQuickItem *stackView MEMBER m_stackView)
    Q_PROPERTY(QQuickItem *navigationBar MEMBER m_navigationBar)
public:
    static constexpr qreal NavigationBarHeight = 44.0;
    static constexpr int NavigationBarAnimationDuration = 250; // ms

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

    // The title of the top screen (its "title" property, when it has one).
    QString title() const;

    QQuickItem *stackView() const { return m_stackView; }
    QQuickItem *navigationBar() const { return m_navigationBar; }

Q_SIGNALS:
    void navigationBarHiddenChanged();
    void navigationBarHiddenProgressChanged();
    void depthChanged();
    void titleChanged();
    // A push or pop has finished (its did-appear / did-disappear calls are done).
    void transitionFinished();

private:
    QQuickItem *m_stackView = nullptr;
    QQuickItem *m_navigationBar = nullptr;
    bool m_navigationBarHidden = false;
    qreal m_navigationBarHiddenProgress = 0;
    struct Private;
    Private *d = nullptr;
};
