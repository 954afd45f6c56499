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

QString OstQuoteLaunchCache::directoryPath()
{
    const QString path =
        QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/launch_quotes");
    // Whatever stands in the way shows up later, as files that cannot be read or written.
    QDir().mkpath(path);
    return path;
}

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

void OstQuoteLaunchCache::waitForPendingWrites()
{
    for (const Write &write : std::as_const(m_writes))
        write.watcher->waitForFinished();
}
