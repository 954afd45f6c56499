#pragma once

// Remote pictures: one download per picture for everybody who shows or prefetches it, one
// HTTP disk cache behind it, and a decode no larger than the screen shows.
//
// A picture's address names one picture for good: a copy the server let the disk cache keep
// is used whatever its age (until the cache's size limit evicts it), and requests for an
// address already under way wait for that download instead of starting their own. Only web
// addresses are fetched: every hop is http or https, never from https down to http; any
// other scheme ends the picture as failed without opening anything.

#include "OstFoundationGlobal.h"

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QQmlNetworkAccessManagerFactory>
#include <QSize>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <functional>

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

// The limits of a picture request, shown or prefetched: one deadline from send to the last byte
// (PictureTimeout unless setPictureTimeout() says otherwise), and the largest picture taken
// (beyond it the request is cut off).
inline constexpr int PictureTimeout = 30000;                       // ms
inline constexpr qint64 MaximumPictureSize = 16 * 1024 * 1024;     // bytes
// The largest decode, whatever the picture's shape and the area it fills: a side longer than
// this is scaled down while decoding (JPEG) or the picture is refused.
inline constexpr int MaximumDecodeSide = 4096;                     // pixels

// The deadline of every picture request from now on; 0 or less restores PictureTimeout.
// Safe from any thread.
OSTFOUNDATION_EXPORT void setPictureTimeout(int milliseconds);
OSTFOUNDATION_EXPORT int pictureTimeout();

// True for an absolute http or https address with a host: the only addresses a picture is
// fetched from.
OSTFOUNDATION_EXPORT bool isWebAddress(const QUrl &url);

// Where an Image shows the picture `address` from: a web address (or any other remote one) goes
// through the pictures' image provider ("image://ostpicture/..."), which downloads it once,
// refuses what is not http or https and decodes it at the Image's sourceSize; the app's own
// pictures (resources, "qrc:", and its engine's image providers, "image:") and the empty
// address stay as they are.
OSTFOUNDATION_EXPORT QUrl pictureSource(const QUrl &address);
// Where an Image shows the picture `address` from when the disk cache keeps it: the kept
// pictures' provider ("ostpicturekept"), which reads and decodes it on the thread that asks (at
// once, for an Image that is not asynchronous); pictureSource() otherwise.
OSTFOUNDATION_EXPORT QUrl keptPictureSource(const QUrl &address);
// The body of the picture `url` as the disk cache keeps it (a whole answer within
// MaximumPictureSize), or an empty array.
OSTFOUNDATION_EXPORT QByteArray keptPicture(const QUrl &url);

// The size to decode a picture of `original` pixels at, to cover `area` (device pixels; an
// empty side is not constrained) as a crop fill does: the smallest that covers both sides,
// never larger than the picture itself and never a side over MaximumDecodeSide.
OSTFOUNDATION_EXPORT QSize decodeSize(const QSize &original, const QSize &area, bool scalableDecode);

// Decodes `bytes` at decodeSize() of the size its header announces, before any pixel is
// read. A null image and `error` set when the picture is refused or damaged.
OSTFOUNDATION_EXPORT QImage decodePicture(const QByteArray &bytes, const QSize &area, QString *error = nullptr);

// Fetches `url` through the pictures' disk cache, once for everybody asking while it is under
// way, within the picture limits.
using Loaded = std::function<void(const QByteArray &body, const QString &error)>;
OSTFOUNDATION_EXPORT void load(const QUrl &url, QObject *receiver, Loaded done);

// Loads started since the process began, from the disk cache or the network (those that
// joined one under way or repeated a recent failure excluded).
OSTFOUNDATION_EXPORT int downloadCount();

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

// Gives `engine` the shared factory unless it has a factory already (a host's own stays), and
// the pictures' image providers ("ostpicture" and "ostpicturekept") that pictureSource() and
// keptPictureSource() addresses lead to.
OSTFOUNDATION_EXPORT bool installDiskCache(QQmlEngine *engine);

} // namespace OTWebImage

// OTPictures.source(address, Qt.size(width, height)) in QML: OTWebImage::pictureSource() for an
// Image's source.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTPictures : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;
    Q_INVOKABLE QUrl source(const QUrl &address, const QSizeF &area) const
    {
        const QUrl source = OTWebImage::pictureSource(address);
        return source != address && area.isEmpty() ? QUrl() : source;
    }
    Q_INVOKABLE QUrl keptSource(const QUrl &address, const QSizeF &area) const
    {
        if (area.isEmpty())
            return source(address, area);
        return OTWebImage::keptPictureSource(address);
    }
};
