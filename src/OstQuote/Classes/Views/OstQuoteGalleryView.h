#pragma once

#include "OstQuoteGlobal.h"
#include "OstQuoteView.h"

#include <QPointer>
#include <QQmlComponent>
#include <QQuickItem>
#include <QSet>
#include <QtQml/qqmlregistration.h>

#include <OTScrollView.h>
class OstQuoteGalleryView;

// Supplies the gallery's pages: how many, and the page of one index. A page comes from the
// gallery's dequeueReusableView(), filled with the quote of that index when it is known.
class OSTQUOTE_EXPORT OstQuoteGalleryViewDataSource
{
public:
    virtual ~OstQuoteGalleryViewDataSource() = default;
    virtual qint64 numberOfQuotesInGalleryView(OstQuoteGalleryView *galleryView) = 0;
    virtual OstQuoteView *galleryViewQuoteAtIndex(OstQuoteGalleryView *galleryView, qint64 index) = 0;
};

// Told where the user is going: on reload with the current index, and when a finger lifts
// with the index the swipe will land on.
class OSTQUOTE_EXPORT OstQuoteGalleryViewDelegate
{
public:
    virtual ~OstQuoteGalleryViewDelegate() = default;
    virtual void galleryViewDidScrollToIndex(OstQuoteGalleryView *galleryView, qint64 index)
    {
        Q_UNUSED(galleryView);
        Q_UNUSED(index);
    }
};

#define OstQuoteGalleryViewDataSource_iid "org.ostrel.OstQuote.OstQuoteGalleryViewDataSource"
#define OstQuoteGalleryViewDelegate_iid "org.ostrel.OstQuote.OstQuoteGalleryViewDelegate"
Q_DECLARE_INTERFACE(OstQuoteGalleryViewDataSource, OstQuoteGalleryViewDataSource_iid)
Q_DECLARE_INTERFACE(OstQuoteGalleryViewDelegate, OstQuoteGalleryViewDelegate_iid)

// A full-screen paging gallery with one quote page per day index. Index 0 (today) is the
// rightmost page; each higher index is one page further left. Only the current page and its
// neighbours live in the scroll view: pages outside that range are dropped when a drag starts
// and when a scroll comes to rest, and the missing ones are asked of the data source. While a
// swipe runs, the page being left (or approached) is pinned in place behind the sliding one
// and shrinks and fades (or grows and appears).
//
// The data source and the delegate are QObjects implementing the interfaces above, held
// weakly.
class OSTQUOTE_EXPORT OstQuoteGalleryView : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(qint64 currentIndex READ currentIndex WRITE setCurrentIndex NOTIFY currentIndexChanged)
    Q_PROPERTY(qint64 numberOfQuotes READ numberOfQuotes NOTIFY numberOfQuotesChanged)
    Q_PROPERTY(OTScrollView *scrollView READ scrollView CONSTANT)
    // What the gallery makes its pages from: a component whose root is an OstQuoteView (a skin
    // of the host's own, made from OstQuoteViewTemplate). None, the module's OstQuoteView.
    // Pages already made stay as they are.
    Q_PROPERTY(QQmlComponent *pageComponent READ pageComponent WRITE setPageComponent NOTIFY pageComponentChanged)
public:
    explicit OstQuoteGalleryView(QQuickItem *parent = nullptr);
    ~OstQuoteGalleryView() override;

    QObject *dataSource() const { return m_dataSource; }
    void setDataSource(QObject *dataSource);
    QObject *delegate() const { return m_delegate; }
    void setDelegate(QObject *delegate);

    OTScrollView *scrollView() const { return m_scrollView; }
    QQmlComponent *pageComponent() const { return m_pageComponent; }
    void setPageComponent(QQmlComponent *component);

    qint64 currentIndex() const { return m_currentIndex; }
    void setCurrentIndex(qint64 index);
    qint64 numberOfQuotes() const { return m_numberOfQuotes; }
    qint64 readyCurrentIndex() const { return m_readyCurrentIndex; }
    bool isDraggingToRight() const { return m_isDraggingToRight; }
    double lastContentOffsetX() const { return m_lastContentOffsetX; }
    QSet<OstQuoteView *> reusableViewPool() const { return m_reusableViewPool; }

    // Asks the data source for the count again, sizes the content, scrolls (animated) to the
    // current page, makes one more page for it and settles as after a swipe.
    Q_INVOKABLE void reloadData();
    // Loads as reloadData() does, resting at `index` (one of the pages the data source
    // counts): the delegate learns that index and the gallery settles there, as after a swipe
    // that landed on it. For a screen that opens at a day other than today.
    void reloadDataAtIndex(qint64 index);
    // Turns to the page of `index` (held to the pages there are) as a swipe that lands there
    // does: the delegate learns the index when the turn begins, the page being left shrinks
    // and fades, and the gallery settles on it as after a swipe. A page further than one away
    // is reached by a jump to its neighbour, whose pages are made afresh, and one page turn.
    // Keys, the wheel and other ways in that have no finger use this. False, and nothing done,
    // before the first reload, while a finger is on the gallery, or when the gallery already
    // rests on that page.
    Q_INVOKABLE bool scrollToIndexAnimated(qint64 index);
    // The index the gallery rests on, or the one the turn under way lands on: where the next
    // page turn counts from. 0 before the first reload.
    qint64 landingIndex() const;

    // The topmost page of the current index, or null.
    OstQuoteView *currentQuoteView() const;
    // A page for the data source to fill, already on top of the scroll view's children.
    OstQuoteView *dequeueReusableView();
    // Puts `view` in the pool that dequeueReusableView() draws from first.
    void queueReusaleView(OstQuoteView *view);

    OstQuoteView *generateQuoteViewWithIndex(qint64 index);
    void renderSpecificQuoteViewWithIndex(qint64 index, OTScrollView *scrollView);
    void renderSerialQuoteViewsWithIndex(qint64 index, OTScrollView *scrollView);

    // The scroll view's callbacks.
    void scrollViewWillBeginDragging(OTScrollView *scrollView);
    void scrollViewDidScroll(OTScrollView *scrollView);
    void scrollViewWillEndDragging(OTScrollView *scrollView, QPointF velocity, QPointF targetContentOffset);
    void scrollViewDidEndDecelerating(OTScrollView *scrollView);

Q_SIGNALS:
    void currentIndexChanged();
    void numberOfQuotesChanged();
    void pageComponentChanged();

protected:
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    OstQuoteGalleryViewDataSource *dataSourceInterface() const;
    OstQuoteGalleryViewDelegate *delegateInterface() const;
    // Removes a page from the scroll view; it is released unless the pool holds it.
    void removeFromSuperview(QQuickItem *view);
    // The content offset that shows `index`.
    QPointF offsetOfIndex(qint64 index) const;
    // Applies the depth transition to one page.
    void transition(OstQuoteView *page, double x);

    OTScrollView *m_scrollView = nullptr;
    QPointer<QObject> m_dataSource;
    QPointer<QObject> m_delegate;
    QPointer<QQmlComponent> m_pageComponent;
    qint64 m_currentIndex = 0;
    qint64 m_numberOfQuotes = 0;
    qint64 m_readyCurrentIndex = 0;
    bool m_isDraggingToRight = false;
    double m_lastContentOffsetX = 0;
    QSet<OstQuoteView *> m_reusableViewPool;
};
