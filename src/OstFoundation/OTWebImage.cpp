#include "OTWebImage.h"

#include "OTRequestGuard.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QImageReader>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickAsyncImageProvider>
#include <QStandardPaths>
#include <QThread>

#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>

/*!
    \namespace OTWebImage
    \inmodule OstFoundation
    \brief Remote pictures: one download per picture, one HTTP disk cache, and a decode no
    larger than the screen shows.

    A picture's address names one picture for good: a copy the server let the disk cache keep is
    used whatever its age (until the cache's size limit evicts it), and requests for an address
    already under way wait for that download instead of starting their own. Only web addresses
    are fetched: every hop is http or https, never from https down to http; any other scheme ends
    the picture as failed without opening anything.

    Every request keeps the picture limits: one deadline from send to the last byte
    (PictureTimeout unless setPictureTimeout() says otherwise), the largest picture taken
    (MaximumPictureSize; beyond it the request is cut off), and at most
    OTRequestGuard::MaximumRedirects redirects.

    In QML, \l {OstFoundation::OTPictures}{OTPictures.source()} gives an Image its source.
*/

/*!
    \class OTWebImageNetworkAccessManagerFactory
    \inmodule OstFoundation
    \brief Makes the network access managers of a QML engine, each with a disk cache on the
    shared picture directory.

    Qt Quick calls create() from its pixmap reader thread (and from the GUI thread for
    everything else); it is reentrant.

    \sa OTWebImage::installDiskCache()
*/

/*!
    \class OTPictures
    \inmodule OstFoundation
    \brief An Image's source for a remote picture, from QML.

    In QML it is the singleton \l {OstFoundation::OTPictures}{OTPictures}.
*/

/*!
    \qmltype OTPictures
    \inqmlmodule OstFoundation
    \instantiates OTPictures
    \brief The source of an Image that shows a remote picture (a singleton).

    A remote picture waits for its Image to have an area (an empty source until then), so that
    it is never decoded before the size it fills is known; give that Image its size as
    sourceSize (Qt Quick turns it into device pixels).

    \qml
    Image {
        anchors.fill: parent
        fillMode: Image.PreserveAspectCrop
        sourceSize: Qt.size(width, height)
        source: OTPictures.source(quote.origin_img_urls[0], Qt.size(width, height))
    }
    \endqml
*/

namespace {

constexpr qint64 kMaximumCacheSize = 50 * 1024 * 1024;
constexpr auto kProviderName = "ostpicture";
constexpr auto kKeptProviderName = "ostpicturekept";
// How long a picture that failed is answered with its failure without asking again.
constexpr int kFailureMemory = 5000; // ms

std::atomic<int> g_pictureTimeout{OTWebImage::PictureTimeout};
std::atomic<int> g_downloads{0};

// A request that is not sent: the manager answers a request to no known scheme with a
// failed reply at once, without opening anything.
QNetworkRequest refusedRequest()
{
    return QNetworkRequest(QUrl(QStringLiteral("refused:")));
}

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
        // Pictures come from the web only: a local file, a FIFO, data or a resource that a
        // redirect points at is never opened, and https never leads down to http.
        const bool downgrade = hop.fromHttps && request.url().scheme().compare(QLatin1String("http"), Qt::CaseInsensitive) == 0;
        if (!OTWebImage::isWebAddress(request.url()) || downgrade || hop.count > OTRequestGuard::MaximumRedirects
            || (hop.count > 0 && hop.deadline.hasExpired())) {
            return QNetworkAccessManager::createRequest(operation, refusedRequest(), data);
        }
        QNetworkReply *reply = QNetworkAccessManager::createRequest(operation, request, data);
        const QDeadlineTimer deadline = hop.count > 0 ? hop.deadline : QDeadlineTimer(OTWebImage::pictureTimeout());
        OTRequestGuard::watch(reply, {int(qMax<qint64>(0, deadline.remainingTime())), OTWebImage::MaximumPictureSize});
        connect(reply, &QNetworkReply::finished, this, [this, reply, deadline, count = hop.count]() {
            const QUrl target = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
            if (target.isEmpty())
                return;
            // Where the redirects that nobody followed led, and for how long, is forgotten.
            m_redirected.removeIf([](const auto &entry) { return entry.value().deadline.hasExpired(); });
            const bool fromHttps = reply->url().scheme().compare(QLatin1String("https"), Qt::CaseInsensitive) == 0;
            m_redirected.insert(reply->url().resolved(target), {count + 1, deadline, fromHttps});
        });
        return reply;
    }

private:
    struct Hop
    {
        int count = 0;              // redirects followed to get here
        QDeadlineTimer deadline;    // the picture's, from its first request
        bool fromHttps = false;     // the hop that led here was https
    };
    QHash<QUrl, Hop> m_redirected;
};

// The one place pictures are downloaded from, on a thread of its own: requests for an address
// under way wait for its download, and what the server lets be kept goes to the disk cache.
class PictureLoader : public QObject
{
public:
    struct Waiter
    {
        QPointer<QObject> receiver;
        OTWebImage::Loaded done;
    };

    void start(const QUrl &url, const Waiter &waiter)
    {
        if (!OTWebImage::isWebAddress(url)) {
            deliver({waiter}, {}, QStringLiteral("%1: not a web address, not fetched").arg(url.toDisplayString()));
            return;
        }
        // A picture that has just failed fails again at once: a screen laid out anew asks for
        // it at its new size, and the server is not asked again so soon.
        m_failed.removeIf([](const auto &entry) { return entry.value().until.hasExpired(); });
        if (const auto failed = m_failed.constFind(url); failed != m_failed.cend()) {
            deliver({waiter}, {}, failed->error);
            return;
        }
        QList<Waiter> &waiting = m_inFlight[url];
        waiting.append(waiter);
        if (waiting.size() > 1)
            return;
        if (!m_manager)
            m_manager = new QNetworkAccessManager(this);
        // The cache follows the cache location of the moment (a test may move it).
        const QString cacheDirectory = OTWebImage::diskCacheDirectory();
        if (cacheDirectory != m_cacheDirectory) {
            m_manager->setCache(OTWebImage::createDiskCache(m_manager));
            m_cacheDirectory = cacheDirectory;
        }
        QNetworkRequest request(url);
        // A picture's address names one picture for good: a kept copy is used whatever its age.
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::PreferCache);
        ++g_downloads;
        // The guard follows redirects between http and https only (Qt refuses any other
        // scheme as a redirect target), never from https down to http.
        OTRequestGuard::send(m_manager, request, "GET", {}, {OTWebImage::pictureTimeout(), OTWebImage::MaximumPictureSize},
                             OTRequestGuard::KeepBody,
                             [this, url](QNetworkReply *reply, const QByteArray &body, const OTError &limitError) {
                                 QString error;
                                 if (limitError)
                                     error = limitError.description();
                                 else if (reply->error() != QNetworkReply::NoError)
                                     error = QStringLiteral("%1: %2").arg(url.toDisplayString(), reply->errorString());
                                 else if (!OTWebImage::isWebAddress(reply->url()))
                                     error = QStringLiteral("%1: led to %2, not a web address")
                                                 .arg(url.toDisplayString(), reply->url().toDisplayString());
                                 if (!error.isEmpty())
                                     m_failed.insert(url, {error, QDeadlineTimer(kFailureMemory)});
                                 deliver(m_inFlight.take(url), error.isEmpty() ? body : QByteArray(), error);
                             });
    }

    // Ends what is under way while this thread's event loop still runs (see OTImagePrefetcher).
    void shutDown()
    {
        if (!m_manager)
            return;
        for (QNetworkReply *reply : m_manager->findChildren<QNetworkReply *>())
            reply->abort();
        m_manager->clearConnectionCache();
        delete m_manager;
        m_manager = nullptr;
        m_inFlight.clear();
        m_failed.clear();
    }

private:
    static void deliver(const QList<Waiter> &waiters, const QByteArray &body, const QString &error)
    {
        for (const Waiter &waiter : waiters) {
            if (QObject *receiver = waiter.receiver.data()) {
                QMetaObject::invokeMethod(
                    receiver, [done = waiter.done, body, error]() { done(body, error); }, Qt::QueuedConnection);
            }
        }
    }

    QNetworkAccessManager *m_manager = nullptr;
    QString m_cacheDirectory;
    QHash<QUrl, QList<Waiter>> m_inFlight;
    struct Failure
    {
        QString error;
        QDeadlineTimer until;
    };
    QHash<QUrl, Failure> m_failed;
};

QMutex g_loaderMutex;
PictureLoader *g_loader = nullptr;
QThread *g_loaderThread = nullptr;

// Run as the application goes: the loader's thread is joined before Qt tears itself down.
void stopLoader()
{
    QMutexLocker locker(&g_loaderMutex);
    if (!g_loader)
        return;
    PictureLoader *loader = g_loader;
    QMetaObject::invokeMethod(loader, [loader]() { loader->shutDown(); }, Qt::BlockingQueuedConnection);
    g_loaderThread->quit();
    g_loaderThread->wait();
    delete g_loader;
    delete g_loaderThread;
    g_loader = nullptr;
    g_loaderThread = nullptr;
}

PictureLoader *loader()
{
    QMutexLocker locker(&g_loaderMutex);
    if (!g_loader && QCoreApplication::instance()) {
        g_loaderThread = new QThread;
        g_loaderThread->setObjectName(QStringLiteral("OTWebImage"));
        g_loader = new PictureLoader;
        g_loader->moveToThread(g_loaderThread);
        g_loaderThread->start();
        qAddPostRoutine(stopLoader);
    }
    return g_loader;
}

// One picture for Qt Quick: downloaded through the loader, decoded on the pixmap reader's
// thread at the size the Image asks for (its sourceSize), within the decode cap.
class PictureResponse : public QQuickImageResponse
{
public:
    PictureResponse(const QUrl &url, const QSize &area)
    {
        OTWebImage::load(url, this, [this, area](const QByteArray &body, const QString &error) {
            if (m_finished)
                return;
            m_error = error;
            if (m_error.isEmpty())
                m_image = OTWebImage::decodePicture(body, area, &m_error);
            finish();
        });
    }

    // Qt Quick no longer wants the picture (the Image changed its source, or its engine is
    // going): the response ends at once, as a cancelled response must, so that the engine can
    // delete it rather than wait for the download; the download itself goes on for whoever
    // else waits for it.
    void cancel() override
    {
        m_error = QStringLiteral("cancelled");
        finish();
    }

    QQuickTextureFactory *textureFactory() const override
    {
        return m_image.isNull() ? nullptr : QQuickTextureFactory::textureFactoryForImage(m_image);
    }
    QString errorString() const override { return m_error; }

private:
    void finish()
    {
        if (std::exchange(m_finished, true))
            return;
        Q_EMIT finished();
    }

    QImage m_image;
    QString m_error;
    bool m_finished = false;
};

// The address of a picture as `provider`'s image id, and back.
QUrl providerSource(const char *provider, const QUrl &address)
{
    return QUrl(QStringLiteral("image://%1/").arg(QLatin1String(provider))
                + QString::fromLatin1(address.toEncoded().toBase64(QByteArray::Base64UrlEncoding
                                                                   | QByteArray::OmitTrailingEquals)));
}

QUrl providerAddress(const QString &id)
{
    return QUrl::fromEncoded(
        QByteArray::fromBase64(id.toLatin1(), QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals),
        QUrl::StrictMode);
}

class PictureProvider : public QQuickAsyncImageProvider
{
public:
    QQuickImageResponse *requestImageResponse(const QString &id, const QSize &requestedSize) override
    {
        return new PictureResponse(providerAddress(id), requestedSize);
    }
};

// The disk cache's pictures, read and decoded on the thread that asks: at once for an Image
// that is not asynchronous, so that a screen's first frame has its picture, as it would from a
// local file. A picture the cache no longer keeps fails, as one that does not load.
class KeptPictureProvider : public QQuickImageProvider
{
public:
    KeptPictureProvider()
        : QQuickImageProvider(QQuickImageProvider::Image)
    {
    }

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override
    {
        const QByteArray body = OTWebImage::keptPicture(providerAddress(id));
        QString error;
        const QImage image = body.isEmpty() ? QImage() : OTWebImage::decodePicture(body, requestedSize, &error);
        if (!error.isEmpty())
            qWarning().noquote() << "OTPictures:" << error;
        if (size)
            *size = image.size();
        return image;
    }
};

// The disk cache of pictures: Qt's, except that an entry whose file is not a regular file of a
// picture's size (a FIFO, a link to a device, a directory, a huge file put in its place) is
// never opened, so that it cannot block or flood the thread that reads it; it counts as not
// kept, and the picture is fetched again.
class PictureDiskCache : public QNetworkDiskCache
{
public:
    using QNetworkDiskCache::QNetworkDiskCache;

    enum class Entry { Missing, Odd, Regular };

    // Where QNetworkDiskCache keeps `url` (data8/<x>/<id>.d under its directory) and what is
    // there.
    Entry entry(const QUrl &url) const
    {
        QUrl clean(url);
        clean.setPassword(QString());
        clean.setFragment(QString());
        const QByteArray hash = QCryptographicHash::hash(clean.toEncoded(), QCryptographicHash::Sha1);
        qlonglong head = 0;
        std::memcpy(&head, hash.constData(), sizeof head);
        const QByteArray id = QByteArray::number(head, 36).left(8);
        const QString path = QStringLiteral("%1/data8/%2/%3.d")
                                 .arg(cacheDirectory(), QString::number(id.back() % 16, 16), QString::fromLatin1(id));
        const QFileInfo file(path);
        if (!file.exists() && !file.isSymLink())
            return Entry::Missing;
        return file.isFile() && file.size() <= kMaximumEntrySize ? Entry::Regular : Entry::Odd;
    }

    QNetworkCacheMetaData metaData(const QUrl &url) override
    {
        return entry(url) == Entry::Odd ? QNetworkCacheMetaData() : QNetworkDiskCache::metaData(url);
    }

    QIODevice *data(const QUrl &url) override
    {
        return entry(url) == Entry::Odd ? nullptr : QNetworkDiskCache::data(url);
    }

private:
    // A picture's body and the entry's header around it.
    static constexpr qint64 kMaximumEntrySize = OTWebImage::MaximumPictureSize + 1024 * 1024;
};

// Whether the disk cache (`cache`, or one on the directory of the moment) keeps a whole answer
// for `url` in a regular file where it is looked for; only the entry's header is read.
bool keptAnswer(const QUrl &url, PictureDiskCache *cache = nullptr)
{
    PictureDiskCache own;
    if (!cache) {
        own.setCacheDirectory(OTWebImage::diskCacheDirectory());
        cache = &own;
    }
    if (cache->entry(url) != PictureDiskCache::Entry::Regular)
        return false;
    const QNetworkCacheMetaData kept = cache->QNetworkDiskCache::metaData(url);
    return kept.isValid() && kept.attributes().value(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200;
}

} // namespace

/*!
    Returns OTWebImage::createNetworkAccessManager() of \a parent.
*/
QNetworkAccessManager *OTWebImageNetworkAccessManagerFactory::create(QObject *parent)
{
    return OTWebImage::createNetworkAccessManager(parent);
}

namespace OTWebImage {

/*!
    \fn void OTWebImage::setPictureTimeout(int milliseconds)

    Sets the deadline of every picture request from now on to \a milliseconds; 0 or less
    restores PictureTimeout. Safe from any thread.
*/
void setPictureTimeout(int milliseconds)
{
    g_pictureTimeout = milliseconds > 0 ? milliseconds : PictureTimeout;
}

/*!
    \fn int OTWebImage::pictureTimeout()

    Returns the deadline of picture requests, in milliseconds.
*/
int pictureTimeout()
{
    return g_pictureTimeout;
}

/*!
    \fn bool OTWebImage::isWebAddress(const QUrl &url)

    Returns \c true for an absolute http or https \a url with a host: the only addresses a
    picture is fetched from.
*/
bool isWebAddress(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    return url.isValid() && (scheme == QLatin1String("http") || scheme == QLatin1String("https")) && !url.host().isEmpty();
}

/*!
    \fn QUrl OTWebImage::pictureSource(const QUrl &address)

    Returns where an Image shows the picture \a address from. A web address (or any other
    remote one) goes through the pictures' image provider (\c{image://ostpicture/...}), which
    downloads it once, refuses what is not http or https and decodes it at the Image's
    sourceSize; the app's own pictures (resources, \c{qrc:}, and its engine's image providers,
    \c{image:}) and the empty address stay as they are.
*/
QUrl pictureSource(const QUrl &address)
{
    // The app's own pictures (its resources, and its engine's own image providers) are shown
    // as they are; anything else goes through the pictures' provider, which takes the web only.
    if (address.isEmpty() || address.scheme() == QLatin1String("qrc") || address.scheme() == QLatin1String("image"))
        return address;
    return providerSource(kProviderName, address);
}

/*!
    \fn QUrl OTWebImage::keptPictureSource(const QUrl &address)

    Returns where an Image shows the picture \a address from when the disk cache keeps it: the
    kept pictures' image provider (\c{image://ostpicturekept/...}), which reads and decodes it on
    the thread that asks, at once for an Image that is not asynchronous. Any other address gives
    pictureSource().
*/
QUrl keptPictureSource(const QUrl &address)
{
    if (!isWebAddress(address) || !keptAnswer(address))
        return pictureSource(address);
    return providerSource(kKeptProviderName, address);
}

/*!
    \fn QByteArray OTWebImage::keptPicture(const QUrl &url)

    Returns the body of the picture \a url as the disk cache keeps it, or an empty array when
    the cache holds no whole answer for it (a kept redirect or error is no picture) or holds more
    than MaximumPictureSize. Only web addresses are looked up.
*/
QByteArray keptPicture(const QUrl &url)
{
    if (!isWebAddress(url))
        return {};
    PictureDiskCache cache;
    cache.setCacheDirectory(diskCacheDirectory());
    if (!keptAnswer(url, &cache))
        return {};
    // The entry has just been found a regular file: opened without looking again.
    const std::unique_ptr<QIODevice> body(cache.QNetworkDiskCache::data(url));
    if (!body || body->size() <= 0 || body->size() > MaximumPictureSize)
        return {};
    return body->readAll();
}

/*!
    \fn QSize OTWebImage::decodeSize(const QSize &original, const QSize &area, bool scalableDecode)

    Returns the size to decode a picture of \a original pixels at, to cover \a area (device
    pixels; an empty side is not constrained) as a crop fill does: the smallest that covers both
    sides, never larger than the picture itself and never a side over MaximumDecodeSide.

    Returns an empty size when the picture is to be refused: no size, or over the cap in a format
    that cannot be scaled down while decoding (\a scalableDecode false; JPEG can, down to an
    eighth).
*/
QSize decodeSize(const QSize &original, const QSize &area, bool scalableDecode)
{
    if (original.isEmpty())
        return {};
    const double width = original.width();
    const double height = original.height();
    // Enough to cover both sides of the area, never more than the picture has.
    double scale = 1.0;
    if (area.width() > 0 || area.height() > 0)
        scale = qMin(1.0, qMax(qMax(0, area.width()) / width, qMax(0, area.height()) / height));
    scale = qMin(scale, qMin(MaximumDecodeSide / width, MaximumDecodeSide / height));
    const QSize size(qBound(1, int(std::ceil(width * scale - 1e-6)), MaximumDecodeSide),
                     qBound(1, int(std::ceil(height * scale - 1e-6)), MaximumDecodeSide));
    if (size == original)
        return size;
    // Formats other than JPEG are read whole before they are scaled: the whole must fit the
    // cap. JPEG is read at an eighth of its size at best.
    const int limit = scalableDecode ? 8 * MaximumDecodeSide : MaximumDecodeSide;
    if (original.width() > limit || original.height() > limit)
        return {};
    return size;
}

/*!
    \fn QImage OTWebImage::decodePicture(const QByteArray &bytes, const QSize &area, QString *error)

    Decodes \a bytes at decodeSize() of the size its header announces and \a area, before any
    pixel is read. Returns a null image, with \a error set, when the picture is refused or
    damaged.
*/
QImage decodePicture(const QByteArray &bytes, const QSize &area, QString *error)
{
    QByteArray data(bytes);
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    // The header alone tells the size; nothing is decoded before the size is decided.
    const QSize original = reader.size();
    const QByteArray format = reader.format();
    const bool scalable = format == "jpeg" || format == "jpg";
    const QSize size = decodeSize(original, area, scalable);
    auto fail = [error](const QString &why) {
        if (error)
            *error = why;
        return QImage();
    };
    if (!original.isValid())
        return fail(QStringLiteral("not a picture (%1)").arg(reader.errorString()));
    if (size.isEmpty()) {
        return fail(QStringLiteral("picture of %1 x %2 pixels refused: over %3 pixels a side")
                        .arg(original.width())
                        .arg(original.height())
                        .arg(MaximumDecodeSide));
    }
    if (size != original)
        reader.setScaledSize(size);
    QImage image;
    if (!reader.read(&image))
        return fail(QStringLiteral("damaged picture (%1)").arg(reader.errorString()));
    if (image.width() > MaximumDecodeSide || image.height() > MaximumDecodeSide)
        return fail(QStringLiteral("picture decoded larger than announced"));
    return image;
}

/*!
    \fn void OTWebImage::load(const QUrl &url, QObject *receiver, Loaded done)

    Fetches \a url through the pictures' disk cache, once for everybody asking while it is under
    way, within the picture limits. \a done gets the body, or an error description (and an empty
    body), on \a receiver's thread; nothing is called once \a receiver is gone. An address that
    failed in the last few seconds fails again at once, without a request. Safe from any thread.
*/
void load(const QUrl &url, QObject *receiver, Loaded done)
{
    PictureLoader *target = loader();
    if (!target || !receiver)
        return;
    PictureLoader::Waiter waiter{receiver, std::move(done)};
    QMetaObject::invokeMethod(target, [target, url, waiter]() { target->start(url, waiter); }, Qt::QueuedConnection);
}

/*!
    \fn int OTWebImage::downloadCount()

    Returns the loads started since the process began, from the disk cache or the network
    (those that joined one under way or repeated a recent failure excluded).
*/
int downloadCount()
{
    return g_downloads;
}

/*!
    \fn QString OTWebImage::diskCacheDirectory()

    Returns the disk cache's directory: \c{<QStandardPaths::CacheLocation>/images}. It is read
    at every call, so it follows the environment (\c XDG_CACHE_HOME) of the moment.
*/
QString diskCacheDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/images");
}

/*!
    \fn QNetworkDiskCache *OTWebImage::createDiskCache(QObject *parent)

    Returns a disk cache on diskCacheDirectory(), 50 MB at most, owned by \a parent. An entry
    whose file is not a regular file of a picture's size (a FIFO, a link to a device) is never
    opened: it counts as not kept.
*/
QNetworkDiskCache *createDiskCache(QObject *parent)
{
    auto *cache = new PictureDiskCache(parent);
    cache->setCacheDirectory(diskCacheDirectory());
    cache->setMaximumCacheSize(kMaximumCacheSize);
    return cache;
}

/*!
    \fn QNetworkAccessManager *OTWebImage::createNetworkAccessManager(QObject *parent)

    Returns a network access manager owned by \a parent whose cache is a new createDiskCache(),
    and whose every request keeps the picture limits (a request past them is aborted and fails).
*/
QNetworkAccessManager *createNetworkAccessManager(QObject *parent)
{
    auto *manager = new PictureNetworkAccessManager(parent);
    manager->setCache(createDiskCache(manager));
    return manager;
}

/*!
    \fn QQmlNetworkAccessManagerFactory *OTWebImage::networkAccessManagerFactory()

    Returns the factory shared by every engine; it lives as long as the process.
*/
QQmlNetworkAccessManagerFactory *networkAccessManagerFactory()
{
    // Engines do not own their factory; this one outlives them all.
    static OTWebImageNetworkAccessManagerFactory factory;
    return &factory;
}

/*!
    \fn bool OTWebImage::installDiskCache(QQmlEngine *engine)

    Gives \a engine the shared factory unless it has a factory already (a host's own stays), and
    the pictures' image providers (\c ostpicture and \c ostpicturekept) that pictureSource() and
    keptPictureSource() addresses lead to. Returns
    \c true when the engine uses the shared factory afterwards.

    Call it before the engine loads its first remote picture; OTSkin::create() does so for every
    skin it makes, and a screen declared in QML for its engine.
*/
bool installDiskCache(QQmlEngine *engine)
{
    if (!engine)
        return false;
    QQmlNetworkAccessManagerFactory *shared = networkAccessManagerFactory();
    if (!engine->networkAccessManagerFactory())
        engine->setNetworkAccessManagerFactory(shared);
    if (!engine->imageProvider(QLatin1String(kProviderName)))
        engine->addImageProvider(QLatin1String(kProviderName), new PictureProvider);
    if (!engine->imageProvider(QLatin1String(kKeptProviderName)))
        engine->addImageProvider(QLatin1String(kKeptProviderName), new KeptPictureProvider);
    return engine->networkAccessManagerFactory() == shared;
}

} // namespace OTWebImage

/*!
    \variable OTWebImage::PictureTimeout

    The default deadline of a picture request, in milliseconds.
*/

/*!
    \variable OTWebImage::MaximumPictureSize

    The largest picture taken, in bytes.
*/

/*!
    \variable OTWebImage::MaximumDecodeSide

    The largest decode, in pixels, whatever the picture's shape and the area it fills: a side
    longer than this is scaled down while decoding (JPEG) or the picture is refused.
*/

/*!
    \typealias OTWebImage::Loaded

    The completion of load(): \c{void(const QByteArray &body, const QString &error)}.
*/

/*!
    \fn QUrl OTPictures::source(const QUrl &address, const QSizeF &area) const

    Returns OTWebImage::pictureSource() of \a address, or an empty URL for a remote picture while
    \a area is empty.
*/

/*!
    \fn QUrl OTPictures::keptSource(const QUrl &address, const QSizeF &area) const

    Returns OTWebImage::keptPictureSource() of \a address, or an empty URL for a remote picture
    while \a area is empty.
*/

/*!
    \qmlmethod url OTPictures::keptSource(url address, size area)

    Returns the source that shows the picture \a address in an Image of \a area, read straight
    from the disk cache when it keeps the picture: an Image that is not asynchronous then has it
    in its first frame. Otherwise, as source().
*/

/*!
    \qmlmethod url OTPictures::source(url address, size area)

    Returns the source that shows the picture \a address in an Image of \a area: through the
    pictures' provider for a web address (empty while \a area is empty), \a address itself for
    the app's own pictures.
*/
