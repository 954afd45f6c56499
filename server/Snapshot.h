#pragma once

#include "DayQuote.h"

#include <QDate>
#include <QString>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// How long a client may keep an answer.
enum class Freshness {
    Immutable,      // past days: a year, never revalidated
    UntilMidnight,  // today, the batch and future days: until the server's next midnight
};

// One address the server answers, with its answer prepared.
struct Resource
{
    enum class Kind {
        Document,   // JSON or HTML, complete in `body`
        Picture,    // the day's picture, rendered on demand (see PictureService)
        ShareCard,  // the day's share card, rendered on demand
    };

    std::string path;
    Kind kind = Kind::Document;
    Freshness freshness = Freshness::Immutable;
    std::string head;          // 200: status line and fixed headers (Cache-Control only when immutable)
    std::string notModified;   // 304: the same for a matching If-None-Match
    std::string body;
    std::string etag;
    int dayIndex = -1;         // pictures: the day, in Snapshot::days
};

// Everything the network threads serve for one "today": built on the main thread, never
// changed afterwards, replaced as a whole at the server's midnight.
struct Snapshot
{
    QDate firstDay;
    QDate today;
    QDate lastDay;
    std::int64_t nextMidnight = 0;    // seconds since the epoch
    QString publicBase;               // absolute, no trailing slash
    std::vector<DayQuote> days;       // firstDay..lastDay
    std::deque<Resource> resources;   // stable addresses for `routes`
    std::unordered_map<std::string_view, const Resource *> routes;

    // The resource at `path` (no query), or null.
    const Resource *find(std::string_view path) const
    {
        const auto it = routes.find(path);
        return it == routes.end() ? nullptr : it->second;
    }

    const DayQuote *day(const QDate &date) const;

    // Why nothing is served at `path`, for the 404 body.
    QString missReason(std::string_view path) const;
};

using SnapshotPtr = std::shared_ptr<const Snapshot>;

// The snapshot in service. The main thread publishes; network threads take their copy
// only when the generation moved, so serving touches no shared reference count.
class SnapshotHolder
{
public:
    void publish(SnapshotPtr snapshot)
    {
        {
            std::lock_guard lock(m_mutex);
            m_current = std::move(snapshot);
        }
        m_generation.fetch_add(1, std::memory_order_release);
    }

    SnapshotPtr current() const
    {
        std::lock_guard lock(m_mutex);
        return m_current;
    }

    std::uint64_t generation() const { return m_generation.load(std::memory_order_acquire); }

private:
    mutable std::mutex m_mutex;
    SnapshotPtr m_current;
    std::atomic<std::uint64_t> m_generation{0};
};
