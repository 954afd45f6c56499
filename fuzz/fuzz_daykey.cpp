// Day keys: a text is read as a day exactly when it is a valid "yyyy-MM-dd" (told here
// without Qt's date parser), the day's first instant formats back to the same key and the
// second before it to another day, in zones whose clocks skip midnight too. The server's
// reading of day keys in its addresses agrees.

#include "FuzzCheck.h"

#include <OTClock.h>
#include <OTDate.h>
#include <QuoteCatalog.h>
#include <Snapshot.h>

#include <QTimeZone>

#include <cstddef>
#include <cstdint>

namespace {

// Zones with day boundaries that are easy to get wrong: no DST, DST at midnight
// (Sao Paulo, Havana, Beirut, Tehran), whole days skipped (Apia on 2011-12-30,
// Kiritimati on 1994-12-31), half- and quarter-hour offsets, offsets that once had seconds.
const char *const Zones[] = {
    "UTC", "Asia/Shanghai", "America/Sao_Paulo", "America/Havana", "Asia/Beirut", "Asia/Tehran",
    "Pacific/Apia", "Pacific/Kiritimati", "America/St_Johns", "Asia/Kathmandu", "Europe/London",
    "America/Los_Angeles", "Africa/Casablanca", "Australia/Lord_Howe", "Europe/Amsterdam", "Asia/Kolkata",
};
const char *const Locales[] = {"C", "en_US", "en_GB", "zh_CN", "ar_EG", "fa_IR"};

bool isLeap(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// The day a text names, worked out by hand: exactly four digits, '-', two, '-', two, a
// year from 1 (the calendar has no year 0), a month 1-12 and a day that month has.
bool expectedDay(const QString &key, int *year, int *month, int *day)
{
    if (key.size() != 10)
        return false;
    int fields[3] = {0, 0, 0};
    int field = 0;
    for (qsizetype i = 0; i < key.size(); ++i) {
        const char16_t c = key.at(i).unicode();
        if (i == 4 || i == 7) {
            if (c != u'-')
                return false;
            ++field;
            continue;
        }
        if (c < u'0' || c > u'9')
            return false;
        fields[field] = fields[field] * 10 + (c - u'0');
    }
    static const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    *year = fields[0];
    *month = fields[1];
    *day = fields[2];
    if (*year < 1 || *month < 1 || *month > 12 || *day < 1)
        return false;
    return *day <= lengths[*month - 1] + (*month == 2 && isLeap(*year) ? 1 : 0);
}

QString keyOf(const QDate &date)
{
    return QStringLiteral("%1-%2-%3")
        .arg(date.year(), 4, 10, QLatin1Char('0'))
        .arg(date.month(), 2, 10, QLatin1Char('0'))
        .arg(date.day(), 2, 10, QLatin1Char('0'));
}

const Snapshot &serverSnapshot()
{
    // The server's answers for 2016-10-01 .. 2016-10-08, as it publishes them on the first day.
    static const SnapshotPtr snapshot = [] {
        QList<DayQuote> days;
        for (QDate d = ostFirstQuoteDay(); d <= ostFirstQuoteDay().addDays(ostDaysAhead); d = d.addDays(1))
            days.append(DayQuote{d, keyOf(d), 1, QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")});
        return QuoteCatalog::buildSnapshot(days, ostFirstQuoteDay(), QDateTime(ostFirstQuoteDay().addDays(1), QTime(0, 0), Qt::UTC),
                                           QStringLiteral("http://127.0.0.1:8080"));
    }();
    return *snapshot;
}

void checkServerReading(const QString &key, bool valid, const QDate &date)
{
    const Snapshot &snapshot = serverSnapshot();
    const QByteArray latin1 = key.toLatin1();
    if (QString::fromLatin1(latin1) != key || latin1.contains('/') || latin1.contains('?'))
        return;   // not something that reaches the server as one path segment
    const std::string path = std::string(QuoteCatalog::ApiPrefix) + latin1.toStdString() + "/";
    if (snapshot.find(path)) {
        FUZZ_CHECK(valid && date >= snapshot.firstDay && date <= snapshot.lastDay, key);
        return;
    }
    const QString reason = snapshot.missReason(path);
    const QString detail = QStringLiteral("%1: %2").arg(key, reason);
    if (!valid)
        FUZZ_CHECK(reason.contains(QLatin1String("is not a day")), detail);
    else if (date < ostFirstQuoteDay())
        FUZZ_CHECK(reason.contains(QLatin1String("before 2016-10-01")), detail);
    else
        FUZZ_CHECK(date > snapshot.lastDay && reason.contains(QLatin1String("is not out yet")), detail);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // Byte 0: the zone; byte 1: the locale; then the key, and after a NUL byte a format.
    if (size < 2)
        return 0;
    const QTimeZone zone(Zones[data[0] % std::size(Zones)]);
    FUZZ_CHECK(zone.isValid(), QString::fromLatin1(Zones[data[0] % std::size(Zones)]));
    OTClock::setTimeZone(zone);
    const QString locale = QString::fromLatin1(Locales[data[1] % std::size(Locales)]);
    const QByteArray rest = QByteArray::fromRawData(reinterpret_cast<const char *>(data) + 2, qsizetype(size - 2));
    const qsizetype nul = rest.indexOf('\0');
    const QString key = QString::fromUtf8(nul < 0 ? rest : rest.left(nul));
    const QString format = nul < 0 ? QString() : QString::fromUtf8(rest.mid(nul + 1));
    const QString detail = QStringLiteral("%1 in %2").arg(fuzzPrintable(key.toUtf8()), QString::fromUtf8(zone.id()));

    int year = 0, month = 0, dayOfMonth = 0;
    const bool valid = expectedDay(key, &year, &month, &dayOfMonth);
    const QDateTime start = ot_dateFromStringFormatDate(key);
    checkServerReading(key, valid, valid ? QDate(year, month, dayOfMonth) : QDate());
    if (!valid) {
        FUZZ_CHECK(start.isNull(), detail);
        return 0;
    }
    const QDate date(year, month, dayOfMonth);
    if (start.isNull()) {
        // Only a day that the zone skipped as a whole has no first instant: the day
        // before it then runs straight into the day after.
        const QDateTime next = ot_dateFromStringFormatDate(keyOf(date.addDays(1)));
        FUZZ_CHECK(next.isValid() && descriptionWithFormat(next.addSecs(-1)) == keyOf(date.addDays(-1)), detail);
        return 0;
    }
    FUZZ_CHECK(descriptionWithFormat(start) == key, QStringLiteral("%1 -> %2").arg(detail, descriptionWithFormat(start)));
    FUZZ_CHECK(descriptionWithFormat(start.addSecs(-1)) != key,
               QStringLiteral("%1: a second before %2 is still that day").arg(detail, start.toString(Qt::ISODateWithMs)));
    FUZZ_CHECK(start.toTimeZone(zone).date() == date, detail);

    // Any pattern, in any locale: an answer, never a crash.
    (void)descriptionWithFormat(start, format, locale);
    return 0;
}
