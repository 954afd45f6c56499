#include "OTImagePrefetcher.h"

#include "OTWebImage.h"

#include <QCoreApplication>
#include <QMutex>
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
    while (m_running < MaximumConcurrentPrefetches && !m_waiting.isEmpty()) {
        const QUrl url = m_waiting.takeFirst();
        // The body has reached the cache (when the server lets it be kept) by now.
        OTWebImage::load(url, this, [this, url](const QByteArray &, const QString &error) { finish(url, error.isEmpty()); });
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
