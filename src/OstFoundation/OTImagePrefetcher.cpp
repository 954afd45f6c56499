#include "OTImagePrefetcher.h"

#include "OTWebImage.h"

#include <QCoreApplication>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QThread>

OTImagePrefetcher::OTImagePrefetcher(QObject *parent)
    : QObject(parent)
{
}

OTImagePrefetcher *OTImagePrefetcher::sharedImagePrefetcher()
{
    static QMutex mutex;
    static QPointer<OTImagePrefetcher> shared;
    QMutexLocker locker(&mutex);
    if (!shared) {
        QCoreApplication *app = QCoreApplication::instance();
        if (app && QThread::currentThread() == app->thread()) {
            // Goes with the application.
            shared = new OTImagePrefetcher(app);
        } else {
            // First asked for from a worker: it still belongs to the GUI thread.
            shared = new OTImagePrefetcher;
            if (app)
                shared->moveToThread(app->thread());
        }
    }
    return shared;
}

QNetworkAccessManager *OTImagePrefetcher::networkAccessManager()
{
    // The cache follows the cache location of the moment (a test may move it).
    const QString directory = OTWebImage::diskCacheDirectory();
    if (!m_manager) {
        m_manager = OTWebImage::createNetworkAccessManager(this);
        m_cacheDirectory = directory;
    } else if (directory != m_cacheDirectory) {
        m_manager->setCache(OTWebImage::createDiskCache(m_manager));
        m_cacheDirectory = directory;
    }
    return m_manager;
}

void OTImagePrefetcher::prefetchURLs(const QStringList &urls)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [this, urls]() { prefetchURLs(urls); }, Qt::QueuedConnection);
        return;
    }
    Q_EMIT prefetchURLsRequested(urls);

    int started = 0;
    for (const QString &address : urls) {
        const QUrl url(address);
        if (address.isEmpty() || !url.isValid() || url.isRelative())
            continue;
        QNetworkRequest request(url);
        // What the cache holds is good enough: a prefetch only fills it.
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::PreferCache);
        QNetworkReply *reply = networkAccessManager()->get(request);
        // The body only needs to reach the cache.
        connect(reply, &QIODevice::readyRead, reply, [reply]() { reply->readAll(); });
        connect(reply, &QNetworkReply::finished, this, [this, reply, url]() { finish(reply, url); });
        ++m_pending;
        ++started;
    }
    if (started > 0)
        Q_EMIT pendingCountChanged();
    else if (m_pending == 0)
        Q_EMIT didFinishPrefetching();
}

void OTImagePrefetcher::finish(QNetworkReply *reply, const QUrl &url)
{
    reply->deleteLater();
    const bool succeeded = reply->error() == QNetworkReply::NoError;
    --m_pending;
    ++m_finished;
    Q_EMIT pendingCountChanged();
    Q_EMIT urlPrefetched(url, succeeded);
    if (m_pending == 0)
        Q_EMIT didFinishPrefetching();
}
