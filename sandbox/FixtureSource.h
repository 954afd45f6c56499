#pragma once

#include "FixtureQuotes.h"

#include <OstQuoteGalleryView.h>

#include <QObject>
#include <QSet>

// Feeds a gallery (or any list of quote pages) from FixtureQuotes: `count` days, today at
// index 0, every page filled with its day's quote at once. It also keeps track of the pages
// it has filled that are still alive.
class FixtureSource : public QObject, public OstQuoteGalleryViewDataSource, public OstQuoteGalleryViewDelegate
{
    Q_OBJECT
    Q_INTERFACES(OstQuoteGalleryViewDataSource OstQuoteGalleryViewDelegate)
    Q_PROPERTY(qint64 count READ count CONSTANT)
public:
    FixtureSource(const FixtureQuotes &quotes, qint64 count, QObject *parent = nullptr);

    qint64 count() const { return m_count; }

    // Gives `page` (an OstQuoteView) the quote of `index`.
    Q_INVOKABLE void fillPage(QQuickItem *page, qint64 index);

    // Pages filled here that have not been destroyed yet, and the most there ever were at once.
    int livePages() const { return int(m_live.size()); }
    int mostLivePages() const { return m_mostLive; }
    void resetMostLivePages() { m_mostLive = livePages(); }

    qint64 numberOfQuotesInGalleryView(OstQuoteGalleryView *galleryView) override;
    OstQuoteView *galleryViewQuoteAtIndex(OstQuoteGalleryView *galleryView, qint64 index) override;
    void galleryViewDidScrollToIndex(OstQuoteGalleryView *galleryView, qint64 index) override;

Q_SIGNALS:
    void scrolledToIndex(qint64 index);

private:
    const FixtureQuotes &m_quotes;
    qint64 m_count;
    QSet<QObject *> m_live;
    int m_mostLive = 0;
};
