#pragma once

#include "OstFoundationGlobal.h"

#include <QDateTime>
#include <QString>

// Day keys and date formatting. A day key is a day written "yyyy-MM-dd"; it is read and
// written in the foundation's time zone (OTClock::timeZone()), so that parsing a key and
// formatting the result gives the same key back.

// The pattern of a day key.
inline constexpr const char *OTDayKeyFormat = "yyyy-MM-dd";

// The calendar day that `dayKey` names, whatever the zone; an invalid QDate for anything that
// is not exactly a valid day key: "2016-02-30", "2016-1-5", " 2016-10-01", "2016-10-01x".
OSTFOUNDATION_EXPORT QDate ot_dayFromKey(QStringView dayKey);

// The instant at which the day `dayKey` begins in the foundation's time zone. Null for
// anything that is not exactly a valid day key: "2016-02-30", "2016-1-5", " 2016-10-01",
// "2016-10-01x" all give a null date time.
OSTFOUNDATION_EXPORT QDateTime ot_dateFromStringFormatDate(const QString &dayKey);

// `date` written with the date pattern `format` (QDateTime patterns, Gregorian calendar) in
// the foundation's time zone. A null format writes the day key. English month and day
// names ("C" locale).
OSTFOUNDATION_EXPORT QString descriptionWithFormat(const QDateTime &date, const QString &format = QString());

// The same in the locale named by `localeIdentifier` ("en_GB", "zh_CN", ...), for month and
// day names.
OSTFOUNDATION_EXPORT QString descriptionWithFormat(const QDateTime &date, const QString &format,
                                                   const QString &localeIdentifier);

// The day key of the current day in the foundation's time zone.
OSTFOUNDATION_EXPORT QString ot_todayKey();
