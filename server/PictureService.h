#pragma once

#include "DayQuote.h"
#include "Snapshot.h"

#include <QThreadPool>

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

// A day's picture or share card as served: JPEG bytes with their prepared heads.
struct EncodedPicture
{
    std::string head;          // 200, long-lived caching
    std::string notModified;   // 304
    std::string body;
    std::string etag;
};
using EncodedPicturePtr = std::shared_ptr<const EncodedPicture>;

// Renders pictures on a worker pool, away from the network threads, and keeps the
// encoded JPEGs most recently asked for in memory. Requests for a picture that is already
// being rendered wait for that rendering rather than starting another. Thread-safe.
class PictureService
{
public:
    using Completion = std::function<void(EncodedPicturePtr)>;

    explicit PictureService(std::size_t cacheBytes = 64u << 20, int threads = 0);
    ~PictureService();

    // The picture at `path` when it is in memory (it then counts as just used), else null.
    EncodedPicturePtr cached(const std::string &path);

    // Renders the picture of `kind` for `quote`'s day, keeps it under `path` and hands it to
    // `done` on a pool thread (null when it could not be encoded). False, without calling
    // `done`, when too many pictures are already waiting to be drawn or the service is
    // shutting down.
    bool render(const std::string &path, Resource::Kind kind, const DayQuote &quote, Completion done);

    // Waits for the renderings under way; later calls to render() do nothing.
    void shutdown();

    // Draws and encodes one picture, on the calling thread.
    static EncodedPicturePtr encode(Resource::Kind kind, const DayQuote &quote);

private:
    void store(const std::string &path, const EncodedPicturePtr &picture);

    struct Entry
    {
        EncodedPicturePtr picture;
        std::list<std::string>::iterator position;
    };

    std::mutex m_mutex;
    std::size_t m_capacity;
    std::size_t m_bytes = 0;
    std::list<std::string> m_recent;                              // most recent first
    std::unordered_map<std::string, Entry> m_entries;
    std::unordered_map<std::string, std::vector<Completion>> m_waiting;   // renderings under way
    std::size_t m_maxWaiting;
    bool m_shutDown = false;
    QThreadPool m_pool;
};
