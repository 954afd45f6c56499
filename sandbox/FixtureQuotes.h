#pragma once

#include <OstQuote.h>

#include <QDate>
#include <QList>
#include <QString>

// Quotes for any day, made locally from a dataset file (a JSON array of {"author",
// "content", "translation"} objects, as data/quotes.json). Every day gets one dataset entry
// and one picture URL from the fixture picture provider; the same day always gets the same
// quote, whatever day is today.
class FixtureQuotes
{
public:
    struct Entry
    {
        QString author;
        QString content;
        QString translation;
    };

    // Reads `path`. False, with the reason in *error, when the file cannot be read, is not
    // such an array, has an entry without one of the three texts, or has no entries.
    bool load(const QString &path, QString *error);
    qsizetype size() const { return m_entries.size(); }

    // The day `index` days before `today` (index 0 is today).
    void setToday(const QDate &today) { m_today = today; }
    QDate today() const { return m_today; }
    QDate dayAt(qint64 index) const { return m_today.addDays(-index); }

    // The quote of the day `index` days before today; null before load().
    OstQuotePtr quoteAt(qint64 index) const;

private:
    QList<Entry> m_entries;
    QDate m_today;
};
