#pragma once

#include "DatabaseLocation.h"
#include "DayQuote.h"
#include "QuoteAssigner.h"
#include "QuoteDataset.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <map>
#include <optional>
#include <vector>

// The quote store: quotes (seeded from the dataset) and the day -> quote table. The same
// schema on SQLite and PostgreSQL. Used from one thread (the main thread); several servers
// may share one database, and every change is made in a transaction that holds the
// database's write lock (SQLite's, or an advisory lock on PostgreSQL), so two servers that
// meet a new day at once store one quote for it and both read that one.
//
// Nothing read back is taken on trust: rows whose day is not a valid day key are ignored
// (and reported once), and a day whose quote is gone or unusable is dealt a new one.
class QuoteDatabase
{
public:
    QuoteDatabase();
    ~QuoteDatabase();
    QuoteDatabase(const QuoteDatabase &) = delete;
    QuoteDatabase &operator=(const QuoteDatabase &) = delete;

    // Connects (creating a SQLite file and its directory when missing) and creates the
    // tables when they are not there.
    bool open(const DatabaseLocation &location);

    // Adds the dataset's quotes that the store does not have yet (matched by content), takes
    // the dataset's author and translation for those it has, and makes the dataset's quotes
    // the pool that new days are dealt from (quotes that left the dataset keep the days they
    // have). The number added, or -1.
    int seed(const QList<DatasetQuote> &quotes);

    // Gives every day from the first quote day through `lastDay` that has no quote yet, or
    // whose quote is gone, its quote (QuoteAssigner), in day order. Days that have one keep
    // it. The number of days assigned, or -1.
    int assignThrough(const QDate &lastDay);

    // The days from `from` through `to` that have a usable quote, in day order.
    std::optional<QList<DayQuote>> days(const QDate &from, const QDate &to);

    QString errorString() const { return m_error; }

private:
    bool createSchema();
    bool beginWrite();
    bool commit();
    void rollback();
    bool fail(const QString &what, const QString &detail);
    void reportBadDayKeys(const QStringList &keys);

    QString m_connectionName;
    DatabaseLocation::Kind m_kind = DatabaseLocation::Kind::SQLite;
    QString m_error;
    QList<qint64> m_datasetIds;          // the pool for new days, once seed() has run
    QSet<QString> m_reportedKeys;        // bad day keys already logged
};
