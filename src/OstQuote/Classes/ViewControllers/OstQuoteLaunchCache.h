#pragma once

#include "OstQuoteGlobal.h"
#include "OstQuote.h"

#include <QFutureWatcher>
#include <QList>
#include <QObject>
#include <QStringList>

class QQuickItem;

// The launch cache on disk: one file per day in "<CacheLocation>/launch_quotes", named by the
// day key and holding that day's quote archive, filled for the launches to come.
// The reference (scripts/docs) documents it in full.
class OSTQUOTE_EXPORT OstQuoteLaunchCache : public QObject
{
    Q_OBJECT
public:
    // Largest file read back; a day's archive is a few hundred bytes.
    static constexpr qint64 MaximumFileSize = 1024 * 1024;

    // The cache of the process, made on first use on the application's thread.
    static OstQuoteLaunchCache *sharedCache();

    // "<CacheLocation>/launch_quotes", created (with its parents) on every call.
    static QString directoryPath();

    // Today's quote (by the foundation's clock and zone), or null: no file for today, or one
    // that cannot be read as a quote archive. Only a regular file of at most MaximumFileSize
    // is read; anything else counts as damaged. A damaged file is reported in one log line and
    // left in place: the next batch may replace it.
    OstQuotePtr loadTodaysQuote() const;

    // Asks the shared API client for the batch; a successful answer is filed on the thread
    // pool. A failure files nothing and says nothing. With a screen, the request goes once the
    // screen's window has shown its next frame, or for a screen not yet in a window, the
    // first frame after it is put in one (within FetchDelayLimit at most): nothing of it is
    // shown by this launch, and the first frame need not wait for the network's set-up.
    void fetchQuotes(QQuickItem *screen = nullptr);
    static constexpr int FetchDelayLimit = 500; // ms

    // Files `quotes`, one file per assign_date (a later one of the same day wins), then
    // prefetches each quote's first picture. Runs on the calling thread (any); returns the
    // day keys written, in order, and announces them with quotesCached().
    QStringList cacheQuotes(const QList<OstQuotePtr> &quotes);

    // Blocks until every batch being filed is on disk (GUI thread).
    void waitForPendingWrites();
    // Batches answered and not yet on disk (GUI thread).
    int pendingWriteCount() const { return int(m_writes.size()); }

Q_SIGNALS:
    // A batch has been filed; `dayKeys` are the files written, in order. Emitted on the thread
    // that wrote them.
    void quotesCached(const QStringList &dayKeys);

private:
    explicit OstQuoteLaunchCache(QObject *parent = nullptr);
    ~OstQuoteLaunchCache() override;

    // Each batch being filed, with its records, which are released here on the GUI thread
    // once the write is done.
    struct Write
    {
        QFutureWatcher<void> *watcher;
        QList<OstQuotePtr> quotes;
    };
    QList<Write> m_writes;
};
