#include "OTImagePrefetcher.h"

#include "OTWebImage.h"

#include <QCoreApplication>
#include <QMutex>
#include <QThread>

/*!
    \class OTImagePrefetcher
    \inmodule OstFoundation
    \brief Fetches pictures ahead of their showing into the pictures' disk cache.

    A later Image of the same address then needs no network request when the server let the
    copy be kept (OTWebImage). A picture already in the cache is not asked for again, and one
    whose download is under way (an Image showing it, say) is not downloaded twice: the prefetch
    waits for that download.

    The prefetcher lives on the GUI thread; prefetchURLs() may be called from any thread and hops
    there. The downloads are OTWebImage::load()'s, on its own network thread; at most
    MaximumConcurrentPrefetches are under way at a time and the other addresses wait their turn.
    Each GET keeps the picture limits: it ends within the picture deadline, follows at most a few
    redirects between web addresses and is cut off past MaximumPictureSize, so a hostile server
    costs neither a slot for ever nor the disk cache. Failures are quiet: a picture that does not
    load is simply not cached.
*/
OTImagePrefetcher::OTImagePrefetcher(QObject *parent)
    : QObject(parent)
{
}

/*!
    Returns the one prefetcher. Safe to call from any thread.
*/
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

/*!
    GETs every address of \a urls (strings as given, parsed with QUrl) through the disk cache.
    Addresses that are empty or not valid are skipped. An empty list asks for nothing (and still
    announces itself through prefetchURLsRequested()).
*/
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

/*!
    \variable OTImagePrefetcher::MaximumConcurrentPrefetches

    The most downloads under way at a time: as many connections as the network access manager
    opens to one host.
*/

/*!
    \variable OTImagePrefetcher::PrefetchTimeout

    One picture's default deadline from send to its last byte, in milliseconds
    (OTWebImage::pictureTimeout() rules).
*/

/*!
    \variable OTImagePrefetcher::MaximumPictureSize

    The largest picture prefetched, in bytes.
*/

/*!
    \property OTImagePrefetcher::pendingCount
    \brief The addresses not finished yet, waiting or under way (GUI thread).
*/

/*!
    \fn int OTImagePrefetcher::finishedCount() const

    Returns every address that finished since start, loaded or not (GUI thread).
*/

/*!
    \fn void OTImagePrefetcher::prefetchURLsRequested(const QStringList &urls)

    This signal is emitted when a call of prefetchURLs() reached the GUI thread, with its list
    \a urls as given.
*/

/*!
    \fn void OTImagePrefetcher::urlPrefetched(const QUrl &url, bool succeeded)

    This signal is emitted when \a url finished: loaded into the cache when \a succeeded, or not.
*/

/*!
    \fn void OTImagePrefetcher::didFinishPrefetching()

    This signal is emitted when nothing is under way any more, also after a list with nothing to
    fetch.
*/
