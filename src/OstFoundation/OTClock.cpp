#include "OTClock.h"

#include <QElapsedTimer>
#include <QMutex>
#include <QMutexLocker>

namespace {

struct ClockState
{
    QMutex mutex;
    bool environmentRead = false;
    QDateTime pinned;          // null: the machine's clock
    bool running = false;      // pinned clock moves on with real time
    QElapsedTimer sincePinned;
    QTimeZone zone;            // invalid: the machine's zone
};

ClockState &state()
{
    static ClockState s;
    return s;
}

void readEnvironmentLocked(ClockState &s)
{
    if (s.environmentRead)
        return;
    s.environmentRead = true;
    const QByteArray now = qgetenv("OSTQUOTE_NOW");
    if (!now.isEmpty()) {
        const QDateTime instant = QDateTime::fromString(QString::fromUtf8(now), Qt::ISODate);
        if (instant.isValid()) {
            s.pinned = instant;
            s.running = true;
            s.sincePinned.start();
        } else {
            qWarning("OSTQUOTE_NOW is not an ISO 8601 instant: %s", now.constData());
        }
    }
    const QByteArray zone = qgetenv("OSTQUOTE_TIME_ZONE");
    if (!zone.isEmpty()) {
        const QTimeZone tz(zone);
        if (tz.isValid())
            s.zone = tz;
        else
            qWarning("OSTQUOTE_TIME_ZONE is not a known time zone: %s", zone.constData());
    }
}

} // namespace

QDateTime OTClock::now()
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    if (s.pinned.isNull())
        return QDateTime::currentDateTimeUtc();
    if (s.running)
        return s.pinned.addMSecs(s.sincePinned.elapsed());
    return s.pinned;
}

QTimeZone OTClock::timeZone()
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    return s.zone.isValid() ? s.zone : QTimeZone::systemTimeZone();
}

void OTClock::setNow(const QDateTime &instant)
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    s.pinned = instant;
    s.running = false;
}

void OTClock::setRunningFrom(const QDateTime &instant)
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    s.pinned = instant;
    s.running = instant.isValid();
    s.sincePinned.start();
}

void OTClock::advance(qint64 seconds)
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    if (!s.pinned.isNull())
        s.pinned = s.pinned.addSecs(seconds);
}

void OTClock::setTimeZone(const QTimeZone &zone)
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    s.zone = zone;
}

void OTClock::reset()
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    s.pinned = QDateTime();
    s.running = false;
    s.zone = QTimeZone();
    s.environmentRead = false;
}
