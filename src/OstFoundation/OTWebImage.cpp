#include "OTWebImage.h"

#include <QDir>
#include "OTRequestGuard.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkDiskCache>
#include <QQmlEngine>
#include <QStandardPaths>

namespace {

constexpr qint64 kMaximumCacheSize = 50 * 1024 * 1024;

// Qt Quick's Image reads its reply itself, so the foundation's request limits are kept from
// outside it (OTRequestGuard::watch): one deadline for the picture, redirects included, a
// cut-off as soon as the body (or its announced length) passes the largest picture, and at
// most a few redirects, followed inside the one reply.
class PictureNetworkAccessManager : public QNetworkAccessManager
{
public:
    using QNetworkAccessManager::QNetworkAccessManager;

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &original, QIODevice *data) override
    {
        QNetworkRequest request(original);
        OTRequestGuard::limitRedirects(request);
        // A picture's address names one picture for good: one in the cache is shown from
        // there at once, without asking the server whether it is still fresh.
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::PreferCache);
        QNetworkReply *reply = QNetworkAccessManager::createRequest(operation, request, data);
        OTRequestGuard::watch(reply, {OTWebImage::PictureTimeout, OTWebImage::MaximumPictureSize});
        return reply;
    }
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
