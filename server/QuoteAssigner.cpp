#include "QuoteAssigner.h"

#include <algorithm>
#include <limits>

quint64 ostStableHash(QByteArrayView bytes)
{
    quint64 hash = 0xcbf29ce484222325ull;
    for (const char c : bytes) {
        hash ^= quint8(c);
        hash *= 0x100000001b3ull;
    }
    // splitmix64's finaliser spreads the few bits in which near day keys differ.
    hash ^= hash >> 30;
    hash *= 0xbf58476d1ce4e5b9ull;
    hash ^= hash >> 27;
    hash *= 0x94d049bb133111ebull;
    hash ^= hash >> 31;
    return hash;
}

QuoteAssigner::QuoteAssigner(QList<qint64> pool, std::map<qint64, qint64> history)
    : m_pool(pool.cbegin(), pool.cend())
    , m_history(std::move(history))
{
    std::sort(m_pool.begin(), m_pool.end());
    m_pool.erase(std::unique(m_pool.begin(), m_pool.end()), m_pool.end());
    for (const qint64 id : m_pool)
        m_uses.insert(id, 0);
    for (const auto &[day, id] : m_history) {
        const auto uses = m_uses.find(id);
        if (uses != m_uses.end())
            ++*uses;
    }
}

int QuoteAssigner::window() const
{
    return int(std::min<qsizetype>(MaxWindow, qsizetype(m_pool.size()) - 1));
}

qint64 QuoteAssigner::assign(const QDate &day)
{
    Q_ASSERT(!isEmpty());
    const qint64 julianDay = day.toJulianDay();
    Q_ASSERT(!m_history.contains(julianDay));
    const qint64 window = this->window();

    // The quotes of the days within the window before the day, and how soon each quote
    // comes next after it (only a day filled in inside the history has days after it).
    QSet<qint64> before;
    QHash<qint64, qint64> nextUse;
    for (auto it = m_history.lower_bound(julianDay - window); it != m_history.end() && it->first <= julianDay + window; ++it) {
        if (it->first < julianDay)
            before.insert(it->second);
        else if (!nextUse.contains(it->second))
            nextUse.insert(it->second, it->first - julianDay);
    }

    // Never a quote of the days before: at most `window` of them, holding at most pool - 1
    // quotes, so there is always one left. Then, for a day filled in, a quote that does not
    // come again within the window either, the one that comes again soonest after it (so
    // the quotes that are free for longer stay free for the next gap); when there is none,
    // the one that comes again latest. Then the fewest uses; then the day's hash.
    struct Candidate
    {
        qint64 id;
        bool comesBack;      // within the window after the day
        qint64 nextUse;      // days until it comes again; max() when it does not
        int uses;
    };
    std::vector<Candidate> candidates;
    for (const qint64 id : m_pool) {
        if (before.contains(id))
            continue;
        const qint64 next = nextUse.value(id, std::numeric_limits<qint64>::max());
        candidates.push_back({id, next <= window, next, m_uses.value(id)});
    }
    Q_ASSERT(!candidates.empty());
    const auto better = [](const Candidate &a, const Candidate &b) {
        if (a.comesBack != b.comesBack)
            return !a.comesBack;
        if (a.nextUse != b.nextUse)
            return a.comesBack ? a.nextUse > b.nextUse : a.nextUse < b.nextUse;
        return a.uses < b.uses;
    };
    const Candidate best = *std::min_element(candidates.cbegin(), candidates.cend(), better);
    std::vector<qint64> tied;
    for (const Candidate &candidate : candidates) {
        if (!better(best, candidate))
            tied.push_back(candidate.id);
    }
    const qint64 id = tied[ostStableHash(day.toString(Qt::ISODate).toUtf8()) % tied.size()];
    m_history.emplace(julianDay, id);
    ++m_uses[id];
    return id;
}
