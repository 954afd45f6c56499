#include "OTWebImage.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QQmlEngine>
#include <QStandardPaths>

namespace {

constexpr qint64 kMaximumCacheSize = 50 * 1024 * 1024;

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
    auto *manager = new QNetworkAccessManager(parent);
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
