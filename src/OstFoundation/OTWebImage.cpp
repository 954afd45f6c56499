#include "OTWebImage.h"

#include <QDir>
#include "OTRequestGuard.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QHash>
#include <QImageReader>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkDiskCache>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickAsyncImageProvider>
#include <QStandardPaths>
#include <QThread>

#include <atomic>
#include <cmath>
#include <utility>

namespace {

constexpr qint64 kMaximumCacheSize = 50 * 1024 * 1024;
constexpr auto kProviderName = "ostpicture";
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

class PictureProvider : public QQuickAsyncImageProvider
{
public:
    QQuickImageResponse *requestImageResponse(const QString &id, const QSize &requestedSize) override
    {
        const QByteArray address =
            QByteArray::fromBase64(id.toLatin1(), QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
        return new PictureResponse(QUrl::fromEncoded(address, QUrl::StrictMode), requestedSize);
    }
};

} // namespace

QNetworkAccessManager *OTWebImageNetworkAccessManagerFactory::create(QObject *parent)
{
    return OTWebImage::createNetworkAccessManager(parent);
}

namespace OTWebImage {

void setPictureTimeout(int milliseconds)
{
    g_pictureTimeout = milliseconds > 0 ? milliseconds : PictureTimeout;
}

int pictureTimeout()
{
    return g_pictureTimeout;
}

bool isWebAddress(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    return url.isValid() && (scheme == QLatin1String("http") || scheme == QLatin1String("https")) && !url.host().isEmpty();
}

QUrl pictureSource(const QUrl &address)
{
    // The app's own pictures (its resources, and its engine's own image providers) are shown
    // as they are; anything else goes through the pictures' provider, which takes the web only.
    if (address.isEmpty() || address.scheme() == QLatin1String("qrc") || address.scheme() == QLatin1String("image"))
        return address;
    return QUrl(QStringLiteral("image://%1/").arg(QLatin1String(kProviderName))
                + QString::fromLatin1(address.toEncoded().toBase64(QByteArray::Base64UrlEncoding
                                                                   | QByteArray::OmitTrailingEquals)));
}

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

void load(const QUrl &url, QObject *receiver, Loaded done)
{
    PictureLoader *target = loader();
    if (!target || !receiver)
        return;
    PictureLoader::Waiter waiter{receiver, std::move(done)};
    QMetaObject::invokeMethod(target, [target, url, waiter]() { target->start(url, waiter); }, Qt::QueuedConnection);
}

int downloadCount()
{
    return g_downloads;
}

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
    if (!engine->imageProvider(QLatin1String(kProviderName)))
        engine->addImageProvider(QLatin1String(kProviderName), new PictureProvider);
    return engine->networkAccessManagerFactory() == shared;
}

} // namespace OTWebImage
