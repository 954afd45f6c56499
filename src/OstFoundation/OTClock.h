#pragma once

#include "OstFoundationGlobal.h"

#include <QDateTime>
#include <QTimeZone>

// The foundation owns "now" and the time zone in which day keys are read and written.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTClock
{
public:
    // The current instant: the machine's, or the pinned one.
    static QDateTime now();
    // The zone used for day keys and every day boundary.
    static QTimeZone timeZone();

    // Freezes the clock at `instant` (a null instant goes back to the machine's clock).
    static void setNow(const QDateTime &instant);
    // Lets the clock run on from `instant`, as a process started with OSTQUOTE_NOW does.
    static void setRunningFrom(const QDateTime &instant);
    // Moves a pinned clock on by `seconds`; no effect on the machine's clock.
    static void advance(qint64 seconds);
    // An invalid zone goes back to the machine's zone.
    static void setTimeZone(const QTimeZone &zone);
    // Both back to what the environment says.
    static void reset();
};
