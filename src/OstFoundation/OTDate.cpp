#include "OTDate.h"

#include "OTClock.h"

#include <QLocale>
#include <QTimeZone>

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

QDateTime ot_dateFromStringFormatDate(const QString &dayKey)
{
    const QDate day = ot_dayFromKey(dayKey);
    if (!day.isValid())
        return {};
    return firstInstantOf(day, OTClock::timeZone());
}

QString descriptionWithFormat(const QDateTime &date, const QString &format)
{
    return descriptionWithFormat(date, format, QStringLiteral("C"));
}

QString descriptionWithFormat(const QDateTime &date, const QString &format, const QString &localeIdentifier)
{
    if (!date.isValid())
        return {};
    const QString pattern = format.isNull() ? QString::fromLatin1(OTDayKeyFormat) : format;
    const QDateTime local = date.toTimeZone(OTClock::timeZone());
    return QLocale(localeIdentifier).toString(local, pattern);
}

QString ot_todayKey()
{
    return descriptionWithFormat(OTClock::now());
}
