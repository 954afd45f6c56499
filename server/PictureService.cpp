#include "PictureService.h"

#include "DayPicture.h"
#include "HttpMessages.h"

#include <QThread>

PictureService::PictureService(std::size_t cacheBytes, int threads)
    : m_capacity(cacheBytes)
{
    m_pool.setMaxThreadCount(threads > 0 ? threads : std::max(1, QThread::idealThreadCount()));
    // Enough for every picture a page needs at once, few enough that a client asking for
    // thousands cannot queue minutes of drawing.
    m_maxWaiting = std::size_t(m_pool.maxThreadCount()) * 32;
    m_pool.setExpiryTimeout(60000);
}

PictureService::~PictureService()
{
    shutdown();
}

void PictureService::shutdown()
{
    {
        std::lock_guard lock(m_mutex);
        m_shutDown = true;
    }
    m_pool.waitForDone();
}

EncodedPicturePtr PictureService::cached(const std::string &path)
{
    std::lock_guard lock(m_mutex);
    const auto it = m_entries.find(path);
    if (it == m_entries.end())
        return nullptr;
    m_recent.splice(m_recent.begin(), m_recent, it->second.position);
    return it->second.picture;
}

EncodedPicturePtr PictureService::encode(Resource::Kind kind, const DayQuote &quote)
{
    const QImage image = kind == Resource::Kind::ShareCard ? DayPicture::shareCard(quote) : DayPicture::picture(quote.day);
    const QByteArray bytes = DayPicture::jpeg(image);
    if (bytes.isEmpty())
        return nullptr;
    auto picture = std::make_shared<EncodedPicture>();
    picture->body.assign(bytes.constData(), std::size_t(bytes.size()));
    picture->etag = Http::entityTag(picture->body);
    picture->head = Http::head(200, Http::JpegType, picture->body.size(), picture->etag, Http::ImmutableCaching);
    picture->notModified = Http::notModifiedHead(picture->etag, Http::ImmutableCaching);
    return picture;
}

bool PictureService::render(const std::string &path, Resource::Kind kind, const DayQuote &quote, Completion done)
{
    {
        std::lock_guard lock(m_mutex);
        if (m_shutDown)
            return false;
        const auto drawing = m_waiting.find(path);
        if (drawing != m_waiting.end()) {
            drawing->second.push_back(std::move(done));
            return true;
        }
        if (m_waiting.size() >= m_maxWaiting)
            return false;
        m_waiting[path].push_back(std::move(done));
    }
    m_pool.start([this, path, kind, quote]() {
        const EncodedPicturePtr picture = encode(kind, quote);
        std::vector<Completion> waiting;
        {
            std::lock_guard lock(m_mutex);
            if (picture)
                store(path, picture);
            waiting.swap(m_waiting[path]);
            m_waiting.erase(path);
        }
        for (Completion &completion : waiting)
            completion(picture);
    });
    return true;
}

void PictureService::store(const std::string &path, const EncodedPicturePtr &picture)
{
    if (m_entries.count(path) || picture->body.size() > m_capacity)
        return;
    m_recent.push_front(path);
    m_entries.emplace(path, Entry{picture, m_recent.begin()});
    m_bytes += picture->body.size();
    while (m_bytes > m_capacity && !m_recent.empty()) {
        const auto oldest = m_entries.find(m_recent.back());
        m_bytes -= oldest->second.picture->body.size();
        m_entries.erase(oldest);
        m_recent.pop_back();
    }
}
