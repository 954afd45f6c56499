#pragma once

#include "OstFoundationGlobal.h"
#include "OTWebImage.h"

#include <QObject>
#include <QList>
#include <QPointer>
#include <QStringList>
#include <QUrl>

// Fetches pictures ahead of their showing into the disk cache that the pictures' image provider
// reads through (OTWebImage), so that a later Image of the same address needs no network
// request when the server let the copy be kept.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTImagePrefetcher : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int pendingCount READ pendingCount NOTIFY pendingCountChanged)
public:
    static constexpr int MaximumConcurrentPrefetches = 6;
    // One picture's deadline from send to its last byte (OTWebImage::pictureTimeout() rules),
    // and its largest size.
    static constexpr int PrefetchTimeout = OTWebImage::PictureTimeout;
    static constexpr qint64 MaximumPictureSize = OTWebImage::MaximumPictureSize;

    // The one prefetcher. Safe to call from any thread.
    static OTImagePrefetcher *sharedImagePrefetcher();

    // GETs every address of `urls` (strings as given, parsed with QUrl) through the disk
    // cache. Addresses that are empty or not valid are skipped. An empty list asks for
    // nothing (and still announces itself through prefetchURLsRequested()).
    Q_INVOKABLE void prefetchURLs(const QStringList &urls);

    // Addresses not finished yet, waiting or under way (GUI thread).
    int pendingCount() const { return int(m_waiting.size()) + m_running; }
    // Every address that finished since start, loaded or not (GUI thread).
    int finishedCount() const { return m_finished; }

Q_SIGNALS:
    // A call of prefetchURLs() reached the GUI thread, with its list as given.
    void prefetchURLsRequested(const QStringList &urls);
    // One address finished: loaded into the cache (`succeeded`) or not.
    void urlPrefetched(const QUrl &url, bool succeeded);
    // Nothing is under way any more (also after a list with nothing to fetch).
    void didFinishPrefetching();
    void pendingCountChanged();

private:
    explicit OTImagePrefetcher(QObject *parent = nullptr);
    void startWaiting();
    void finish(const QUrl &url, bool succeeded);

    QList<QUrl> m_waiting;
    int m_running = 0;
    int m_finished = 0;
};
