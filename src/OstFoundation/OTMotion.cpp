#include "OTMotion.h"

#include <QDebug>
#include <QMetaMethod>
#include <QTimer>

#include <utility>

/*!
    \class OTMotion
    \inmodule OstFoundation
    \brief The end of a presented motion, for the types whose skins present it.

    The type asks for a value of one of its own numeric properties (the page's cover offset, the
    share sheet's presentation, a message's opacity); moveTo() writes it through the meta-object
    system, so a Behavior that the skin declares on that property turns the change into motion
    (the skin's animation then writes each step through the property's setter), and without one
    the value lands at once.

    The skin tells when its motion runs through a second property of the type, a bool it binds
    to its animation's \c running. A move ends when that motion stops (wherever an overshooting
    or spring easing leaves the value), or, with no motion running, when the property holds the
    value asked for. The completion runs when the move ends, or when a later request for another
    value takes over first; always on a later turn of the event loop, never inside moveTo(), and
    not at all once the target object is gone.

    Whether a change is animated is the type's state too: it keeps a property the skin's
    Behavior binds its \c enabled to, and sets it before asking.
*/
OTMotion::OTMotion(QObject *target, const char *property, const char *runningProperty)
    : QObject(target)
    , m_target(target)
{
    const QMetaObject *meta = target->metaObject();
    if (runningProperty) {
        const int running = meta->indexOfProperty(runningProperty);
        if (running >= 0 && meta->property(running).hasNotifySignal()) {
            m_running = meta->property(running);
            const int slot = metaObject()->indexOfSlot("runningChanged()");
            connect(target, m_running.notifySignal(), this, metaObject()->method(slot));
        } else {
            qWarning() << "OTMotion: no property" << runningProperty << "with a notify signal on" << target;
        }
    }
    const int index = meta->indexOfProperty(property);
    if (index < 0) {
        qWarning() << "OTMotion: no property" << property << "on" << target;
        return;
    }
    m_property = meta->property(index);
    m_goal = m_property.read(target).toReal();
    if (m_property.hasNotifySignal()) {
        const int slot = metaObject()->indexOfSlot("propertyChanged()");
        connect(target, m_property.notifySignal(), this, metaObject()->method(slot));
    } else {
        qWarning() << "OTMotion: property" << property << "of" << target << "has no notify signal";
    }
}

/*!
    Asks for \a value and runs \a completion, on a later turn of the event loop, once the
    property holds it or a later request for another value has taken over.
*/
void OTMotion::moveTo(qreal value, std::function<void()> completion)
{
    // A move to somewhere else has been overtaken: what waited for it is done with.
    if (m_moving && !qFuzzyCompare(1.0 + m_goal, 1.0 + value))
        complete();
    m_goal = value;
    m_moving = true;
    if (completion)
        m_waiting.append(std::move(completion));
    if (m_property.isValid()) {
        // Through the skin's Behavior, if it has one. Its motion may stop and start again on
        // the way: only where things stand afterwards counts.
        const bool writing = std::exchange(m_writing, true);
        m_property.write(m_target, value);
        m_writing = writing;
    }
    // Landed at once (no Behavior, a Behavior turned off, or already there).
    propertyChanged();
}

bool OTMotion::running() const
{
    return m_running.isValid() && m_running.read(m_target).toBool();
}

bool OTMotion::arrived() const
{
    if (!m_property.isValid())
        return true;
    return qAbs(m_property.read(m_target).toReal() - m_goal) <= 1e-9 * qMax<qreal>(1.0, qAbs(m_goal));
}

void OTMotion::propertyChanged()
{
    if (m_moving && !m_writing && !running() && arrived())
        finish();
}

void OTMotion::runningChanged()
{
    // The skin's motion has stopped: the move is over, wherever it left the value.
    if (m_moving && !m_writing && !running())
        finish();
}

void OTMotion::finish()
{
    m_moving = false;
    complete();
}

void OTMotion::complete()
{
    const QList<std::function<void()>> waiting = std::exchange(m_waiting, {});
    for (const auto &completion : waiting)
        QTimer::singleShot(0, this, completion);
}

/*!
    \fn OTMotion::OTMotion(QObject *target, const char *property, const char *runningProperty)

    Watches \a property (a number with a change signal) of \a target, and \a runningProperty
    (a bool with a change signal that the skin holds \c true while its motion runs), if given.
    The motion is owned by \a target.
*/

/*!
    \fn bool OTMotion::isMoving() const

    Returns \c true while a move is under way: asked for and not yet arrived.
*/

/*!
    \fn qreal OTMotion::goal() const

    Returns the value last asked for.
*/
