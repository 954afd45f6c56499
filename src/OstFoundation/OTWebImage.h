#pragma once

// Remote pictures on disk: the one HTTP disk cache that Qt Quick's Image and the prefetcher
// share, so that a picture fetched once (shown or prefetched) is shown later from the disk
// without asking the network again: a picture's address names one picture for good, so a
// cached copy is used whatever its age (until the cache's size limit evicts it).

#include "OstFoundationGlobal.h"

#include <QQmlNetworkAccessManagerFactory>
#include <QString>

class QNetworkAccessManager;
class QNetworkDiskCache;
class QObject;
class QQmlEngine;

// Makes the network access managers of a QML engine: each with a QNetworkDiskCache on the
// shared picture directory. Qt Quick calls create() from its pixmap reader thread (and from
// the GUI thread for everything else); it is reentrant.
class OSTFOUNDATION_EXPORT OTWebImageNetworkAccessManagerFactory : public QQmlNetworkAccessManagerFactory
{
public:
    QNetworkAccessManager *create(QObject *parent) override;
};

namespace OTWebImage {

// The limits of a picture request, shown or prefetched: one deadline from send to the last
// byte, and the largest picture taken (beyond it the request is cut off). At most
// OTRequestGuard::MaximumRedirects redirects are followed.
inline constexpr int PictureTimeout = 30000;                       // ms
inline constexpr qint64 MaximumPictureSize = 16 * 1024 * 1024;     // bytes

// The disk cache's directory: "<QStandardPaths::CacheLocation>/images". Read at every call,
// so it follows the environment (XDG_CACHE_HOME) of the moment.
OSTFOUNDATION_EXPORT QString diskCacheDirectory();

// A disk cache on diskCacheDirectory(), 50 MB at most, owned by `parent`.
OSTFOUNDATION_EXPORT QNetworkDiskCache *createDiskCache(QObject *parent = nullptr);

// A network access manager whose cache is a new createDiskCache(), and whose every request
// keeps the picture limits above (a request past them is aborted and fails).
OSTFOUNDATION_EXPORT QNetworkAccessManager *createNetworkAccessManager(QObject *parent = nullptr);

// The factory shared by every engine (lives as long as the process).
OSTFOUNDATION_EXPORT QQmlNetworkAccessManagerFactory *networkAccessManagerFactory();

// Gives `engine` the shared factory unless it has a factory already (a host's own stays).
// True when the engine uses the shared factory afterwards. Call it before the engine loads
// its first remote picture; OTSkin::create() does so for every skin it makes.
OSTFOUNDATION_EXPORT bool installDiskCache(QQmlEngine *engine);

} // namespace OTWebImage
