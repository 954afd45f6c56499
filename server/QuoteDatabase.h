#pragma once

#include "DatabaseLocation.h"
#include "DayQuote.h"
#include "QuoteDataset.h"

#include <QHash>
#include <QList>
#include <QString>

#include <map>
#include <vector>

// A stable 64-bit hash (FNV-1a, then mixed), the same on every machine and every run.
quint64 ostStableHash(QByteArrayView bytes);

// Deals quotes out to days: a day gets one of the quotes used least so far, the one at a
// position given by a stable hash of its day key. So every quote comes round once before
// any comes round twice, and the same pool and history always give the same choice.
class QuoteAssigner
{
public:
    // Every quote id in the pool with the number of days it already has.
    explicit QuoteAssigner(const QHash<qint64, int> &useCounts);

    bool isEmpty() const { return m_idsByUse.empty(); }
    // The quote for `dayKey`; counts it as used once more.
    qint64 assign(const QString &dayKey);

private:
    std::map<int, std::vector<qint64>> m_idsByUse;   // use count -> ids, ascending
};

// The quote store: quotes (seeded from the dataset) and the day -> quote table. The same
// schema on SQLite and PostgreSQL. Used from one thread (the main thread).
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

    // Adds the dataset's quotes that the store does not have yet (matched by content).
    // The number added, or -1.
    int seed(const QList<DatasetQuote> &quotes);

    // Gives every day from the first quote day through `lastDay` that has no quote yet its
    // quote, in day order. Days that have one keep it. The number of days assigned, or -1.
    int assignThrough(const QDate &lastDay);

    // The days from `from` through `to` that have a quote, in day order.
    std::optional<QList<DayQuote>> days(const QDate &from, const QDate &to);

    QString errorString() const { return m_error; }

private:
    bool createSchema();
    bool fail(const QString &what, const QString &detail);

    QString m_connectionName;
    QString m_error;
};
