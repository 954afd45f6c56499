#include "OstQuoteLaunchCache.h"

#include "OstAPIClient+Quote.h"

#include <OTClock.h>
#include <OTDate.h>
#include <OTImagePrefetcher.h>

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QThread>
#include <QThreadPool>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <memory>
#include <utility>

#ifdef Q_OS_LINUX
#include <pthread.h>
#include <sched.h>
#endif

/*!
    \class OstQuoteLaunchCache
    \inmodule OstQuote
    \brief The launch screen's cache on disk: one file per coming day, filled for the launches to
    come.

    The files are in directoryPath(), each named by its day key and holding that day's quote
    archive.

    The batch a launch asks for belongs to the process, not to the screen that asked: a host that
    takes its launch screen away before the answer comes (most launches on a slow network) still
    has the batch filed. The one cache lives on the GUI thread; it files each batch on the global
    thread pool and, when the application goes, waits for the files being written.
*/
OstQuoteLaunchCache::OstQuoteLaunchCache(QObject *parent)
    : QObject(parent)
{
    // Made here, on the GUI thread, before a write on the pool first asks for it.
    OTImagePrefetcher::sharedImagePrefetcher();
}

OstQuoteLaunchCache::~OstQuoteLaunchCache()
{
    waitForPendingWrites();
}

/*!
    Returns the cache of the process, made on first use on the application's thread.
*/
OstQuoteLaunchCache *OstQuoteLaunchCache::sharedCache()
{
    static QPointer<OstQuoteLaunchCache> cache;
    static QMutex mutex;
    QMutexLocker lock(&mutex);
    if (!cache) {
        QCoreApplication *app = QCoreApplication::instance();
        cache = new OstQuoteLaunchCache;
        if (app) {
            cache->moveToThread(app->thread());
            // Batches still being written are finished before the application's objects go.
            QObject::connect(app, &QCoreApplication::aboutToQuit, cache, &OstQuoteLaunchCache::waitForPendingWrites);
            cache->setParent(app);
        }
    }
    return cache;
}

/*!
    Returns \c{<CacheLocation>/launch_quotes}, created (with its parents) on every call.
*/
QString OstQuoteLaunchCache::directoryPath()
{
    const QString path =
        QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/launch_quotes");
    // Whatever stands in the way shows up later, as files that cannot be read or written.
    QDir().mkpath(path);
    return path;
}

/*!
    Returns today's quote (by the foundation's clock and zone), or null: no file for today, or one
    that cannot be read as a quote archive. Only a regular file of at most MaximumFileSize is
    read; anything else counts as damaged. A damaged file is reported in one log line and left in
    place: the next batch may replace it.
*/
OstQuotePtr OstQuoteLaunchCache::loadTodaysQuote() const
{
    const QString path = directoryPath() + QLatin1Char('/') + descriptionWithFormat(OTClock::now());
    if (!QFileInfo::exists(path))
        return {};
    OTError error;
    const OTModelPtr model = OTModel::unarchiveObjectWithFile(path, &error, MaximumFileSize);
    if (error)
        qWarning().noquote() << error.description();
    return model.objectCast<OstQuote>();
}

/*!
    Asks the shared API client for the batch; a successful answer is filed on the thread pool. A
    failure files nothing and says nothing.

    With a \a screen, the request goes once the screen's window has shown its next frame, or for
    a screen not yet in a window, the first frame after it is put in one (within FetchDelayLimit
    at most): nothing of it is shown by this launch, and the first frame need not wait for the
    network's set-up.
*/
void OstQuoteLaunchCache::fetchQuotes(QQuickItem *screen)
{
    if (screen) {
        // Whichever comes first: the next frame of the screen's window, or the limit. A host
        // that loads the screen before putting it in a window (a navigation stack does) gets
        // the frame after it is put in one.
        const auto sent = std::make_shared<bool>(false);
        const auto send = [this, sent]() {
            if (!std::exchange(*sent, true))
                fetchQuotes();
        };
        const auto afterNextFrame = [this, send](QQuickWindow *window) {
            if (window) {
                connect(window, &QQuickWindow::frameSwapped, this, send,
                        Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
            }
        };
        if (screen->window())
            afterNextFrame(screen->window());
        else
            connect(screen, &QQuickItem::windowChanged, this, afterNextFrame, Qt::SingleShotConnection);
        // A screen destroyed before it was ever drawn asks for nothing.
        QTimer::singleShot(FetchDelayLimit, screen, send);
        return;
    }
    getQuotesWithBlock(
        OstAPIClient::sharedClient(),
        [this](const QList<OstQuotePtr> &quotes, const OTError &error) {
            if (error)
                return;
            auto *watcher = new QFutureWatcher<void>(this);
            connect(watcher, &QFutureWatcher<void>::finished, this, [this, watcher]() {
                m_writes.removeIf([watcher](const Write &write) { return write.watcher == watcher; });
                watcher->deleteLater();
            });
            m_writes.append({watcher, quotes});
            watcher->setFuture(QtConcurrent::run(QThreadPool::globalInstance(), [this, quotes]() { cacheQuotes(quotes); }));
        },
        this);
}

namespace {

// Filing a batch is for later launches: on a background thread it runs at idle priority
// (Linux's SCHED_IDLE), so that a screen being drawn meanwhile gets a core whenever it wants
// one. The thread, one of the shared pool's, gets its scheduling back afterwards.
class BackgroundPriority
{
public:
    BackgroundPriority()
    {
#ifdef Q_OS_LINUX
        const QCoreApplication *app = QCoreApplication::instance();
        if ((app && QThread::currentThread() == app->thread())
            || pthread_getschedparam(pthread_self(), &m_policy, &m_parameters) != 0)
            return;
        const sched_param idle{};
        m_lowered = pthread_setschedparam(pthread_self(), SCHED_IDLE, &idle) == 0;
#endif
    }
    ~BackgroundPriority()
    {
#ifdef Q_OS_LINUX
        if (m_lowered)
            pthread_setschedparam(pthread_self(), m_policy, &m_parameters);
#endif
    }
    BackgroundPriority(const BackgroundPriority &) = delete;
    BackgroundPriority &operator=(const BackgroundPriority &) = delete;

private:
#ifdef Q_OS_LINUX
    int m_policy = SCHED_OTHER;
    sched_param m_parameters{};
    bool m_lowered = false;
#endif
};

} // namespace

/*!
    Files \a quotes, one file per assign_date (a later one of the same day wins), then
    prefetches each quote's first picture. Runs on the calling thread (any); returns the day keys
    written, in order, and announces them with quotesCached().
*/
QStringList OstQuoteLaunchCache::cacheQuotes(const QList<OstQuotePtr> &quotes)
{
    if (quotes.isEmpty())
        return {};
    const BackgroundPriority yielding;
    QStringList pictures;
    QStringList written;
    const QString directory = directoryPath();
    for (const OstQuotePtr &quote : quotes) {
        if (!quote)
            continue;
        const QString dayKey = quote->assign_date();
        // A name that would leave the directory is not a day key; it is not written.
        if (!dayKey.isNull() && !dayKey.isEmpty() && !dayKey.contains(QLatin1Char('/')) && dayKey != QLatin1String("..")
            && dayKey != QLatin1String(".")) {
            OTError error;
            if (quote->archiveRootObjectToFile(directory + QLatin1Char('/') + dayKey, &error))
                written.append(dayKey);
            else
                qWarning().noquote() << error.description();
        }
        const QStringList images = quote->origin_img_urls();
        if (!images.isEmpty())
            pictures.append(images.first());
    }
    Q_EMIT quotesCached(written);
    OTImagePrefetcher::sharedImagePrefetcher()->prefetchURLs(pictures);
    return written;
}

/*!
    Blocks until every batch being filed is on disk (GUI thread).
*/
void OstQuoteLaunchCache::waitForPendingWrites()
{
    for (const Write &write : std::as_const(m_writes))
        write.watcher->waitForFinished();
}

/*!
    \variable OstQuoteLaunchCache::MaximumFileSize

    The largest file read back: 1 MiB (a day's archive is a few hundred bytes).
*/

/*!
    \variable OstQuoteLaunchCache::FetchDelayLimit

    The longest a fetch waits for its screen's next frame, in milliseconds.
*/

/*!
    \fn int OstQuoteLaunchCache::pendingWriteCount() const

    Returns the batches answered and not yet on disk (GUI thread).
*/

/*!
    \fn void OstQuoteLaunchCache::quotesCached(const QStringList &dayKeys)

    This signal is emitted when a batch has been filed; \a dayKeys are the files written, in
    order. It is emitted on the thread that wrote them.
*/
