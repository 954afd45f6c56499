#include "OTDate.h"

#include "OTClock.h"

#include <QLocale>
#include <QTimeZone>

/*!
    \headerfile <OTDate.h>
    \inmodule OstFoundation
    \title Day keys and dates
    \brief Reading and writing day keys, and formatting dates, in the foundation's time zone.

    A day key is a day written \c yyyy-MM-dd. It is read and written in the foundation's time
    zone (OTClock::timeZone()), so that parsing a key and formatting the result gives the same
    key back, in zones that skip or repeat midnight too.
*/

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

int digits(QStringView s)
{
    int value = 0;
    for (QChar c : s)
        value = value * 10 + (c.unicode() - u'0');
    return value;
}

// The first instant of `day` in `zone`. startOfDay copes with zones whose clocks skip
// midnight (the day then starts at the first instant that exists), but where the clocks go
// back across midnight, so that it happens twice, it gives the second one: the day began at
// the first.
QDateTime firstInstantOf(QDate day, const QTimeZone &zone)
{
    const QDateTime start = day.startOfDay(zone);
    const auto dayAt = [&zone](qint64 ms) { return QDateTime::fromMSecsSinceEpoch(ms, zone).date(); };
    qint64 inDay = start.toMSecsSinceEpoch();
    if (!start.isValid() || dayAt(inDay - 1000) != day)
        return start;
    // Clocks go back by an hour or two; the day began within the three hours before.
    qint64 before = inDay - 3 * 3600 * 1000;
    if (dayAt(before) == day)
        return start;
    while (inDay - before > 1000) {
        const qint64 middle = before + (inDay - before) / 2 / 1000 * 1000;
        (dayAt(middle) == day ? inDay : before) = middle;
    }
    return QDateTime::fromMSecsSinceEpoch(inDay, zone);
}

} // namespace

/*!
    \relates <OTDate.h>

    Returns the calendar day that \a dayKey names, whatever the zone, or an invalid QDate for
    anything that is not exactly a valid day key: \c{"2016-02-30"}, \c{"2016-1-5"},
    \c{" 2016-10-01"} and \c{"2016-10-01x"} all give an invalid date.
*/
QDate ot_dayFromKey(QStringView dayKey)
{
    // Exactly dddd-dd-dd; QDate::fromString alone would accept one-digit fields and
    // surrounding text.
    if (dayKey.size() != 10 || dayKey.at(4) != u'-' || dayKey.at(7) != u'-')
        return {};
    for (int i : {0, 1, 2, 3, 5, 6, 8, 9}) {
        if (!isDigit(dayKey.at(i)))
            return {};
    }
    return QDate(digits(dayKey.mid(0, 4)), digits(dayKey.mid(5, 2)), digits(dayKey.mid(8, 2)));
}

/*!
    \relates <OTDate.h>

    Returns the instant at which the day \a dayKey begins in the foundation's time zone, or a
    null date time for anything that is not exactly a valid day key.

    \sa ot_dayFromKey()
*/
QDateTime ot_dateFromStringFormatDate(const QString &dayKey)
{
    const QDate day = ot_dayFromKey(dayKey);
    if (!day.isValid())
        return {};
    return firstInstantOf(day, OTClock::timeZone());
}

/*!
    \relates <OTDate.h>

    Returns \a date written with the date pattern \a format (QDateTime patterns, Gregorian
    calendar) in the foundation's time zone, with English month and day names (the "C" locale).
    A null \a format writes the day key.
*/
QString descriptionWithFormat(const QDateTime &date, const QString &format)
{
    return descriptionWithFormat(date, format, QStringLiteral("C"));
}

/*!
    \relates <OTDate.h>
    \overload

    Writes the month and day names in the locale named by \a localeIdentifier (\c en_GB,
    \c zh_CN, ...).
*/
QString descriptionWithFormat(const QDateTime &date, const QString &format, const QString &localeIdentifier)
{
    if (!date.isValid())
        return {};
    const QString pattern = format.isNull() ? QString::fromLatin1(OTDayKeyFormat) : format;
    const QDateTime local = date.toTimeZone(OTClock::timeZone());
    return QLocale(localeIdentifier).toString(local, pattern);
}

/*!
    \relates <OTDate.h>

    Returns the day key of the current day (OTClock::now()) in the foundation's time zone.
*/
QString ot_todayKey()
{
    return descriptionWithFormat(OTClock::now());
}

/*!
    \variable OTDayKeyFormat
    \relates <OTDate.h>

    The pattern of a day key: \c{"yyyy-MM-dd"}.
*/
