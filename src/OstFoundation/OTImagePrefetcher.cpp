#include "OTImagePrefetcher.h"

#include "OTRequestGuard.h"
#include "OTWebImage.h"

#include <QCoreApplication>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QThread>

#include <functional>

namespace {

// Lives on the prefetcher's network thread: sends the GETs through the pictures' disk cache
// and tells the prefetcher when each has finished.
class OTImagePrefetcherNetwork : public QObject
{
public:
    void get(const QUrl &url, OTImagePrefetcher *prefetcher, const std::function<void(const QUrl &, bool)> &finished)
    {
        if (!m_manager)
            m_manager = new QNetworkAccessManager(this);
        // The cache follows the cache location of the moment (a test may move it).
        const QString cacheDirectory = OTWebImage::diskCacheDirectory();
        if (cacheDirectory != m_cacheDirectory) {
            m_manager->setCache(OTWebImage::createDiskCache(m_manager));
            m_cacheDirectory = cacheDirectory;
        }
        QNetworkRequest request(url);
        // What the cache holds is good enough: a prefetch only fills it.
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::PreferCache);
        const QPointer<OTImagePrefetcher> target(prefetcher);
        // The body only needs to reach the cache.
        OTRequestGuard::send(
            m_manager, request, "GET", {},
            {OTImagePrefetcher::PrefetchTimeout, OTImagePrefetcher::MaximumPictureSize}, OTRequestGuard::DiscardBody,
            [url, target, finished](QNetworkReply *reply, const QByteArray &, const OTError &limitError) {
                const bool succeeded = !limitError && reply->error() == QNetworkReply::NoError;
                if (target)
                    QMetaObject::invokeMethod(target, [url, succeeded, finished]() { finished(url, succeeded); },
                                              Qt::QueuedConnection);
            });
    }

    // Ends what is under way before the thread goes: the replies are aborted and the
    // manager, its connections and its own HTTP thread are torn down while this thread's
    // event loop still runs, so that nothing Qt defers to it is left behind.
    void shutDown()
    {
        if (!m_manager)
            return;
        for (QNetworkReply *reply : m_manager->findChildren<QNetworkReply *>())
            reply->abort();
        m_manager->clearConnectionCache();
        delete m_manager;
        m_manager = nullptr;
    }

private:
    QNetworkAccessManager *m_manager = nullptr;
    QString m_cacheDirectory;
};

} // namespace

OTImagePrefetcher::OTImagePrefetcher(QObject *parent)
    : QObject(parent)
{
}

OTImagePrefetcher::~OTImagePrefetcher()
{
    if (m_networkThread) {
        // Requests still under way go with the network access manager, on its own thread.
        auto *network = static_cast<OTImagePrefetcherNetwork *>(m_network);
        QMetaObject::invokeMethod(network, [network]() { network->shutDown(); }, Qt::BlockingQueuedConnection);
        m_networkThread->quit();
        m_networkThread->wait();
        delete m_networkThread;
    }
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

void OTImagePrefetcher::prefetchURLs(const QStringList &urls)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [this, urls]() { prefetchURLs(urls); }, Qt::QueuedConnection);
        return;
    }
    Q_EMIT prefetchURLsRequested(urls);

    int added = 0;
    for (const QString &address : urls) {
        const QUrl url(address);
        if (address.isEmpty() || !url.isValid() || url.isRelative())
            continue;
        m_waiting.append(url);
        ++added;
    }
    if (added > 0) {
        startWaiting();
        Q_EMIT pendingCountChanged();
    } else if (pendingCount() == 0) {
        Q_EMIT didFinishPrefetching();
    }
}

void OTImagePrefetcher::startWaiting()
{
    if (m_waiting.isEmpty() || m_running >= MaximumConcurrentPrefetches)
        return;
    if (!m_networkThread) {
        m_networkThread = new QThread;
        m_networkThread->setObjectName(QStringLiteral("OTImagePrefetcher"));
        auto *network = new OTImagePrefetcherNetwork;
        network->moveToThread(m_networkThread);
        // Deleted on its own thread, as the thread ends.
        connect(m_networkThread, &QThread::finished, network, [network]() { delete network; }, Qt::DirectConnection);
        m_network = network;
        // Prefetching is for later: it gets a core only when nothing else wants one, so that
        // a screen being drawn meanwhile never waits for it.
        m_networkThread->start(QThread::IdlePriority);
    }
    auto *network = static_cast<OTImagePrefetcherNetwork *>(m_network);
    const auto finished = [this](const QUrl &url, bool succeeded) { finish(url, succeeded); };
    while (m_running < MaximumConcurrentPrefetches && !m_waiting.isEmpty()) {
        const QUrl url = m_waiting.takeFirst();
        QMetaObject::invokeMethod(
            network, [network, url, this, finished]() { network->get(url, this, finished); }, Qt::QueuedConnection);
        ++m_running;
    }
}

void OTImagePrefetcher::finish(const QUrl &url, bool succeeded)
{
    --m_running;
    ++m_finished;
    startWaiting();
    Q_EMIT pendingCountChanged();
    Q_EMIT urlPrefetched(url, succeeded);
    if (pendingCount() == 0)
        Q_EMIT didFinishPrefetching();
}
