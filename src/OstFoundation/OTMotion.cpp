#include "OTMotion.h"

#include <QDebug>
#include <QMetaMethod>
#include <QTimer>

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
        m_writing = true;
        m_property.write(m_target, value);
        m_writing = false;
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
