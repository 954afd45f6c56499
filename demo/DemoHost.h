#pragma once

#include "DemoHomeViewController.h"
#include "DemoSnapshot.h"

#include <OstQuoteLaunchViewController.h>

#include <QObject>
#include <QPointer>

class OTNavigationController;
class QQuickItem;
class QQuickWindow;

// The demo app's own logic around the module's screens, on the app's navigation stack.
//
// The app starts on the module's launch screen, as its delegate. When the launch screen says
// it may go, the home screen replaces it as the root of the stack and the navigation bar
// comes back; a snapshot of the launch screen laid over the window fades out meanwhile, so
// the one screen dissolves into the other (the snapshot's skin, DemoLaunchCover.qml, owns the
// fade; the host asks for it and waits for it to end). The launch screen may say so more than once (on
// the way back from the viewer it says so at once and again 2.5 s later): only the first
// time counts.
//
// A day to open (from a link) opens in a quote viewer over home: at once when home is up
// (the viewer in view turns to it instead), or once home has come after the launch screen.
class DemoHost : public QObject, public OstQuoteLaunchViewControllerDelegate
{
    Q_OBJECT
    Q_INTERFACES(OstQuoteLaunchViewControllerDelegate)
    Q_PROPERTY(Stage stage READ stage NOTIFY stageChanged)
public:
    enum Stage {
        Starting,  // nothing shown yet
        Launching, // the launch screen is up
        Fading,    // the home screen is the root; the launch screen's snapshot fades out
        Home,      // the home screen is the root
    };
    Q_ENUM(Stage)

    // The cross-fade from the launch screen to home.
    static constexpr int FadeDuration = 400; // ms

    DemoHost(QQuickWindow *window, OTNavigationController *navigation, QObject *parent = nullptr);
    ~DemoHost() override;

    // The launch screen first, home after it.
    void startWithLaunchScreen();
    // Home at once, with a quote viewer pushed over it (at `day`, a day key, when given).
    void startWithViewer(const QString &day = QString());

    // Pushes a new quote viewer, at `day` when given.
    Q_INVOKABLE void openViewer(bool animated = true, const QString &day = QString());
    // Shows the day `day` (a day key) in a quote viewer, as soon as home is up.
    void openDay(const QString &day);

    void willDismissLaunchViewController(OstQuoteLaunchViewController *controller) override;

    Stage stage() const { return m_stage; }
    OstQuoteLaunchViewController *launchViewController() const { return m_launch; }
    DemoHomeViewController *homeViewController() const { return m_home; }
    // The launch screen's snapshot while it fades, or null.
    DemoSnapshot *fadeCover() const { return m_cover; }
    // How often the launch screen said it may go after the first time.
    int repeatedDismissals() const { return m_repeatedDismissals; }

Q_SIGNALS:
    void stageChanged();
    // The home screen could not be made (its skin is broken).
    void failed(const QString &message);

private:
    void setStage(Stage stage);
    void showHome();
    void coverFaded();
    DemoHomeViewController *makeHome();

    QQuickWindow *m_window;
    QPointer<OTNavigationController> m_navigation;
    QPointer<OstQuoteLaunchViewController> m_launch;
    QPointer<DemoHomeViewController> m_home;
    QPointer<DemoSnapshot> m_cover;
    Stage m_stage = Starting;
    bool m_dismissing = false;
    QString m_pendingDay;
    int m_repeatedDismissals = 0;
};
