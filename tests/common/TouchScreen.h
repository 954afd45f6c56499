#pragma once

#include <QPointingDevice>
#include <QTest>
#include <QWindow>

// The one touch screen of a test process, registered once as a real one is (a device made
// per gesture would pile up for the life of the process).
inline QPointingDevice *touchScreen()
{
    static QPointingDevice *device = QTest::createTouchDevice();
    return device;
}

// Touch gestures on `window`. Touch events carry the real clock's time, so the waits between
// the moves set the speed.
inline void touchPress(QWindow *window, QPoint at)
{
    QTest::touchEvent(window, touchScreen()).press(0, at);
}

inline void touchLift(QWindow *window, QPoint at)
{
    QTest::touchEvent(window, touchScreen()).release(0, at);
}

inline void touchTap(QWindow *window, QPoint at)
{
    touchPress(window, at);
    touchLift(window, at);
}

// `steps` even moves from `from` by `by` in all, `intervalMs` apart; where the finger is then.
inline QPoint touchMoves(QWindow *window, QPoint from, QPoint by, int steps, int intervalMs)
{
    QPoint at = from;
    for (int i = 1; i <= steps; ++i) {
        QTest::qWait(intervalMs);
        at = from + QPoint(by.x() * i / steps, by.y() * i / steps);
        QTest::touchEvent(window, touchScreen()).move(0, at);
    }
    return at;
}

// A press, the moves, and the lift where they end.
inline void touchDrag(QWindow *window, QPoint from, QPoint by, int steps, int intervalMs)
{
    touchPress(window, from);
    touchLift(window, touchMoves(window, from, by, steps, intervalMs));
}

// A pointer, by touch or with the mouse, for the gestures run both ways. Mouse events carry
// QTest's own time, each move `intervalMs` after the last.
inline void pointerPress(QWindow *window, bool touch, QPoint at)
{
    touch ? touchPress(window, at) : QTest::mousePress(window, Qt::LeftButton, {}, at);
}

inline void pointerMove(QWindow *window, bool touch, QPoint at, int intervalMs)
{
    touch ? void(touchMoves(window, at, {}, 1, intervalMs)) : QTest::mouseMove(window, at, intervalMs);
}

inline void pointerLift(QWindow *window, bool touch, QPoint at)
{
    touch ? touchLift(window, at) : QTest::mouseRelease(window, Qt::LeftButton, {}, at);
}
