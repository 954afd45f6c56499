#pragma once

#include <QDate>
#include <QString>

// The first day that has a quote.
inline QDate ostFirstQuoteDay() { return QDate(2016, 10, 1); }

// How many days past today are already served.
inline constexpr int ostDaysAhead = 7;

// One served day and the quote assigned to it.
struct DayQuote
{
    QDate day;
    QString key;          // the day key, "yyyy-MM-dd"
    qint64 quoteId = 0;
    QString author;
    QString content;
    QString translation;
};
