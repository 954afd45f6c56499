#include "OTClock.h"

#include <QElapsedTimer>
#include <QMutex>
#include <QMutexLocker>

/*!
    \class OTClock
    \inmodule OstFoundation
    \brief The foundation's clock and time zone: "now" and the zone in which day keys are read
    and written.

    Everything that asks for the current instant or the local day goes through this class, so
    that a test, a demo or a process started with the environment variables below can pin both.

    \table
    \header \li Variable \li Meaning
    \row \li \c OSTQUOTE_NOW \li An ISO 8601 instant with offset, such as
         \c{2016-10-03T09:00:00+08:00}. The clock starts there and runs on from it.
    \row \li \c OSTQUOTE_TIME_ZONE \li An IANA zone name, such as \c{Europe/London}.
    \endtable

    All functions are static and may be called from any thread.

    \sa ot_todayKey(), ot_dateFromStringFormatDate()
*/

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

/*!
    Returns the current instant: the machine's, or the pinned one.
*/
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

/*!
    Returns the zone used for day keys and every day boundary: the pinned zone, else the
    machine's.
*/
QTimeZone OTClock::timeZone()
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    return s.zone.isValid() ? s.zone : QTimeZone::systemTimeZone();
}

/*!
    Freezes the clock at \a instant. A null \a instant goes back to the machine's clock.
*/
void OTClock::setNow(const QDateTime &instant)
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    s.pinned = instant;
    s.running = false;
}

/*!
    Lets the clock run on from \a instant, as a process started with \c OSTQUOTE_NOW does.
*/
void OTClock::setRunningFrom(const QDateTime &instant)
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    s.pinned = instant;
    s.running = instant.isValid();
    s.sincePinned.start();
}

/*!
    Moves a pinned clock on by \a seconds. It has no effect on the machine's clock.
*/
void OTClock::advance(qint64 seconds)
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    if (!s.pinned.isNull())
        s.pinned = s.pinned.addSecs(seconds);
}

/*!
    Pins the time zone to \a zone. An invalid \a zone goes back to the machine's zone.
*/
void OTClock::setTimeZone(const QTimeZone &zone)
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    readEnvironmentLocked(s);
    s.zone = zone;
}

/*!
    Sets the clock and the zone back to what the environment says.
*/
void OTClock::reset()
{
    ClockState &s = state();
    QMutexLocker lock(&s.mutex);
    s.pinned = QDateTime();
    s.running = false;
    s.zone = QTimeZone();
    s.environmentRead = false;
}
