#pragma once

#include <QString>

class DemoHost;
class QQuickView;

// A walk through the demo driven by real touch and mouse events, one picture of the window
// per step written into a folder: the launch screen, its fade into home, home with the stored
// quote, the viewer on today, two swipes back, a tap on the bare picture and the share panel.
// Each step waits for its state (with a time limit) before the picture is taken.
class DemoTour
{
public:
    DemoTour(QQuickView *view, DemoHost *host, const QString &directory);

    // Walks every step: 0 when all were taken, 1 at the first step that timed out (the
    // pictures so far are written).
    int run();

private:
    bool shoot(const QString &name);
    bool fail(const QString &step, const QString &reason);

    QQuickView *m_view;
    DemoHost *m_host;
    QString m_directory;
};
