#include "FixtureSource.h"

FixtureSource::FixtureSource(const FixtureQuotes &quotes, qint64 count, QObject *parent)
    : QObject(parent)
    , m_quotes(quotes)
    , m_count(count)
{
}

void FixtureSource::fillPage(QQuickItem *item, qint64 index)
{
    auto *page = qobject_cast<OstQuoteView *>(item);
    if (!page)
        return;
    page->setQuote(m_quotes.quoteAt(index));
    if (m_live.contains(page))
        return;
    m_live.insert(page);
    m_mostLive = qMax(m_mostLive, livePages());
    connect(page, &QObject::destroyed, this, [this](QObject *gone) { m_live.remove(gone); });
}

qint64 FixtureSource::numberOfQuotesInGalleryView(OstQuoteGalleryView *)
{
    return m_count;
}

OstQuoteView *FixtureSource::galleryViewQuoteAtIndex(OstQuoteGalleryView *galleryView, qint64 index)
{
    OstQuoteView *page = galleryView->dequeueReusableView();
    fillPage(page, index);
    return page;
}

void FixtureSource::galleryViewDidScrollToIndex(OstQuoteGalleryView *, qint64 index)
{
    Q_EMIT scrolledToIndex(index);
}
