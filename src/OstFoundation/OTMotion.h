#pragma once

#include "OstFoundationGlobal.h"

#include <QList>
#include <QMetaProperty>
#include <QObject>
#include <QPointer>
#include <functional>

// The end of a presented motion, for the types whose skins present it. The type asks for a
// value of one of its own numeric properties (the page's cover offset, the share sheet's
// presentation, a message's opacity); moveTo writes it through the meta-object system, so a
// Behavior that the skin declares on that property turns the change into motion (the skin's
// animation then writes each step through the property's setter), and without one the value
// lands at once.
//
// The skin tells when its motion runs through a second property of the type, a bool it binds
// to its animation's `running`. A move ends when that motion stops (wherever an overshooting
// or spring easing leaves the value), or, with no motion running, when the property holds the
// value asked for. The completion runs when the move ends, or when a later request for another
// value takes over first; always on a later turn of the event loop, never inside moveTo, and
// not at all once the target object is gone.
//
// Whether a change is animated is the type's state too: it keeps a property the skin's
// Behavior binds its `enabled` to, and sets it before asking.
class OSTFOUNDATION_EXPORT OTMotion : public QObject
{
    Q_OBJECT
public:
    // Watches `property` (a number with a NOTIFY signal) of `target`, and `runningProperty` (a
    // bool with a NOTIFY signal that the skin holds true while its motion runs), if given;
    // owned by `target`.
    OTMotion(QObject *target, const char *property, const char *runningProperty = nullptr);

    void moveTo(qreal value, std::function<void()> completion = {});

    // A move is under way: asked for and not yet arrived.
    bool isMoving() const { return m_moving; }
    qreal goal() const { return m_goal; }

private Q_SLOTS:
    void propertyChanged();
    void runningChanged();

private:
    bool arrived() const;
    bool running() const;
    void finish();
    // Hands the waiting completions to the event loop, in the order they were asked for.
    void complete();

    QObject *m_target;
    QMetaProperty m_property;
    QMetaProperty m_running;
    qreal m_goal = 0;
    bool m_moving = false;
    bool m_writing = false;
    QList<std::function<void()>> m_waiting;
};
