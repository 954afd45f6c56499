#pragma once

#include <QByteArrayView>
#include <QDate>
#include <QHash>
#include <QList>
#include <QtGlobal>

#include <map>
#include <vector>

// A stable 64-bit hash (FNV-1a, then mixed), the same on every machine and every run.
quint64 ostStableHash(QByteArrayView bytes);

// Deals quotes out to days. A day never gets a quote used within `window()` days before
// it, nor (when a day inside the history is filled in) within as many days after it if
// another quote can be had; among the quotes allowed it gets one of those used least so
// far, the one at a position given by a stable hash of its day key. So every quote comes
// round once before any comes round twice, no quote comes back within a year (or within
// one round of a smaller pool), and the same pool and history always give the same choice.
class QuoteAssigner
{
public:
    // How far apart two days with the same quote are at least, pool allowing.
    static constexpr int MaxWindow = 365;

    // `pool`: the quote ids that may be dealt. `history`: the days that already have a
    // quote, as Julian day numbers, with their quote id (which need not be in the pool).
    QuoteAssigner(QList<qint64> pool, std::map<qint64, qint64> history);

    bool isEmpty() const { return m_pool.empty(); }
    // min(MaxWindow, pool size - 1): the days before a new day whose quotes it must not repeat.
    int window() const;
    // The quote for `day`, which has none in the history yet; records it there.
    qint64 assign(const QDate &day);

private:
    std::vector<qint64> m_pool;          // ascending
    QHash<qint64, int> m_uses;           // pool id -> days it has
    std::map<qint64, qint64> m_history;  // Julian day -> quote id
};
