#include "OTWebImage.h"

#include <QDir>
#include "OTRequestGuard.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkDiskCache>
#include <QQmlEngine>
#include <QStandardPaths>

namespace {

constexpr qint64 kMaximumCacheSize = 50 * 1024 * 1024;

// Qt Quick's Image reads its reply itself and follows redirects itself, each hop a request of
// its own; the foundation's request limits are kept from outside (OTRequestGuard::watch): a
// cut-off as soon as the body (or its announced length) passes the largest picture, and one
// deadline for the picture across its hops. The manager remembers where each redirect leads:
// the request that follows it gets what is left of the deadline, and one past
// OTRequestGuard::MaximumRedirects hops fails without being sent.
class PictureNetworkAccessManager : public QNetworkAccessManager
{
public:
    using QNetworkAccessManager::QNetworkAccessManager;

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &original, QIODevice *data) override
    {
        QNetworkRequest request(original);
        // Followed by its reader, one hop at a time, and counted here.
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        // A picture's address names one picture for good: one in the cache is shown from
        // there at once, without asking the server whether it is still fresh.
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::PreferCache);

        const Hop hop = m_redirected.take(request.url());
        if (hop.count > OTRequestGuard::MaximumRedirects || (hop.count > 0 && hop.deadline.hasExpired())) {
            // Not sent: a request to no scheme fails at once.
            return QNetworkAccessManager::createRequest(operation, QNetworkRequest(QUrl(QStringLiteral("refused:"))), data);
        }
        QNetworkReply *reply = QNetworkAccessManager::createRequest(operation, request, data);
        const QDeadlineTimer deadline = hop.count > 0 ? hop.deadline : QDeadlineTimer(OTWebImage::PictureTimeout);
        OTRequestGuard::watch(reply, {int(qMax<qint64>(0, deadline.remainingTime())), OTWebImage::MaximumPictureSize});
        connect(reply, &QNetworkReply::finished, this, [this, reply, deadline, count = hop.count]() {
            const QUrl target = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
            if (target.isEmpty())
                return;
            // Where the redirects that nobody followed led, and for how long, is forgotten.
            m_redirected.removeIf([](const auto &entry) { return entry.value().deadline.hasExpired(); });
            m_redirected.insert(reply->url().resolved(target), {count + 1, deadline});
        });
        return reply;
    }

private:
    struct Hop
    {
        int count = 0;              // redirects followed to get here
        QDeadlineTimer deadline;    // the picture's, from its first request
    };
    QHash<QUrl, Hop> m_redirected;
};

} // namespace

QNetworkAccessManager *OTWebImageNetworkAccessManagerFactory::create(QObject *parent)
{
    return OTWebImage::createNetworkAccessManager(parent);
}

namespace OTWebImage {

QString diskCacheDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/images");
}

QNetworkDiskCache *createDiskCache(QObject *parent)
{
    auto *cache = new QNetworkDiskCache(parent);
    cache->setCacheDirectory(diskCacheDirectory());
    cache->setMaximumCacheSize(kMaximumCacheSize);
    return cache;
}

QNetworkAccessManager *createNetworkAccessManager(QObject *parent)
{
    auto *manager = new PictureNetworkAccessManager(parent);
    manager->setCache(createDiskCache(manager));
    return manager;
}

QQmlNetworkAccessManagerFactory *networkAccessManagerFactory()
{
    // Engines do not own their factory; this one outlives them all.
    static OTWebImageNetworkAccessManagerFactory factory;
    return &factory;
}

bool installDiskCache(QQmlEngine *engine)
{
    if (!engine)
        return false;
    QQmlNetworkAccessManagerFactory *shared = networkAccessManagerFactory();
    if (!engine->networkAccessManagerFactory())
        engine->setNetworkAccessManagerFactory(shared);
    return engine->networkAccessManagerFactory() == shared;
}

} // namespace OTWebImage
