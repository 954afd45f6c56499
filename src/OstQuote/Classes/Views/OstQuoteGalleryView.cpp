#include "OstQuoteGalleryView.h"

#include <limits>

#include <OTPalette.h>
#include <OTScrollView.h>

#include <QDebug>
#include <QQmlContext>
#include <QQmlEngine>
#include <QtMath>

/*!
    \class OstQuoteGalleryViewDataSource
    \inmodule OstQuote
    \brief Supplies the gallery's pages: how many, and the page of one index.

    A page comes from the gallery's OstQuoteGalleryView::dequeueReusableView(), filled with the
    quote of that index when it is known. Implement it in a QObject (with Q_INTERFACES) and hand
    that to OstQuoteGalleryView::setDataSource().
*/

/*!
    \class OstQuoteGalleryViewDelegate
    \inmodule OstQuote
    \brief Told where the user is going in the gallery.

    On reload with the current index, and when a finger lifts with the index the swipe will land
    on. Implement it in a QObject (with Q_INTERFACES) and hand that to
    OstQuoteGalleryView::setDelegate().
*/

/*!
    \qmltype OstQuoteGalleryView
    \inqmlmodule OstQuote
    \instantiates OstQuoteGalleryView
    \brief A full-screen paging gallery with one quote page per day index.

    Index 0 (today) is the rightmost page. Its pages come from a data source set from C++
    (OstQuoteGalleryView::setDataSource()); the viewer screen declares one in its skin.
*/

namespace {

constexpr double kPinFactor = 0.5;
constexpr double kMinimumScale = 0.8;
// The page being approached grows from nothing: its scale is its progress, whatever that is.
constexpr double kNoMinimumScale = std::numeric_limits<double>::lowest();
constexpr double kBackDepth = -10.0;
constexpr double kFrontDepth = 0.0;
constexpr double kIndexStep = -1.0;

// Children of the scroll view are read as pages without a type test where the gallery's
// bookkeeping says so: their index and quote come through the property system, so anything
// else in there simply reads as index 0 without a quote.
// The scroll view holds the gallery's pages only.
qint64 itemIndexOf(const QQuickItem *child)
{
    const auto *page = qobject_cast<const OstQuoteView *>(child);
    return page ? page->itemIndex() : 0;
}

bool hasQuote(const QQuickItem *child)
{
    const auto *page = qobject_cast<const OstQuoteView *>(child);
    return page && page->quote();
}

} // namespace

/*!
    \class OstQuoteGalleryView
    \inmodule OstQuote
    \brief A full-screen paging gallery with one quote page per day index.

    Index 0 (today) is the rightmost page; each higher index is one page further left. Only the
    current page and its neighbours live in the scroll view: pages outside that range are dropped
    when a drag starts and when a scroll comes to rest, and the missing ones are asked of the
    data source. While a swipe runs, the page being left (or approached) is pinned in place
    behind the sliding one and shrinks and fades (or grows and appears).

    The data source and the delegate are QObjects implementing OstQuoteGalleryViewDataSource and
    OstQuoteGalleryViewDelegate, held weakly. In QML the type is
    \l {OstQuote::OstQuoteGalleryView}{OstQuoteGalleryView}.
*/
OstQuoteGalleryView::OstQuoteGalleryView(QQuickItem *parent)
    : QQuickItem(parent)
    , m_scrollView(new OTScrollView(this))
{
    m_scrollView->setBackgroundColor(OTPalette::galleryBackgroundColor());
    m_scrollView->setPagingEnabled(true);
    connect(m_scrollView, &OTScrollView::scrollViewWillBeginDragging, this, &OstQuoteGalleryView::scrollViewWillBeginDragging);
    connect(m_scrollView, &OTScrollView::scrollViewDidScroll, this, &OstQuoteGalleryView::scrollViewDidScroll);
    connect(m_scrollView, &OTScrollView::scrollViewWillEndDragging, this, &OstQuoteGalleryView::scrollViewWillEndDragging);
    connect(m_scrollView, &OTScrollView::scrollViewDidEndDecelerating, this, &OstQuoteGalleryView::scrollViewDidEndDecelerating);
}

OstQuoteGalleryView::~OstQuoteGalleryView()
{
    // Pooled pages that are not in the scroll view belong to nobody else.
    for (OstQuoteView *view : std::as_const(m_reusableViewPool)) {
        if (!view->parentItem())
            delete view;
    }
}

/*!
    Sets the \a dataSource: a QObject implementing OstQuoteGalleryViewDataSource, held weakly.
*/
void OstQuoteGalleryView::setDataSource(QObject *dataSource)
{
    m_dataSource = dataSource;
}

/*!
    Sets the \a delegate: a QObject implementing OstQuoteGalleryViewDelegate, held weakly.
*/
void OstQuoteGalleryView::setDelegate(QObject *delegate)
{
    m_delegate = delegate;
}

OstQuoteGalleryViewDataSource *OstQuoteGalleryView::dataSourceInterface() const
{
    return qobject_cast<OstQuoteGalleryViewDataSource *>(m_dataSource.data());
}

OstQuoteGalleryViewDelegate *OstQuoteGalleryView::delegateInterface() const
{
    return qobject_cast<OstQuoteGalleryViewDelegate *>(m_delegate.data());
}

void OstQuoteGalleryView::setCurrentIndex(qint64 index)
{
    if (m_currentIndex == index)
        return;
    m_currentIndex = index;
    Q_EMIT currentIndexChanged();
}

void OstQuoteGalleryView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    // The scroll view always has the gallery's size.
    m_scrollView->setSize(newGeometry.size());
    if (newGeometry.size() == oldGeometry.size() || m_numberOfQuotes <= 0)
        return;
    // Resized after loading (a bar came or went, the window changed): the content and the
    // pages take the new size at their places at once, also in the middle of a drag.
    const double w = newGeometry.width();
    const double h = newGeometry.height();
    m_scrollView->setContentSize(QSizeF(double(m_numberOfQuotes) * w, h));
    for (QQuickItem *child : m_scrollView->subviews()) {
        child->setPosition(QPointF(double(m_numberOfQuotes - 1 - itemIndexOf(child)) * w, 0));
        child->setSize(QSizeF(w, h));
    }
    if (m_scrollView->dragging()) {
        // The finger keeps its place on the page under it, and the page being left or
        // approached is pinned again at the new size.
        const double ratio = oldGeometry.width() > 0 ? w / oldGeometry.width() : 1.0;
        m_lastContentOffsetX *= ratio;
        const QPointF offset = m_scrollView->contentOffset();
        m_scrollView->setContentOffset(QPointF(offset.x() * ratio, offset.y()));
        scrollViewDidScroll(m_scrollView);
        return;
    }
    // A glide under way ends on its page at once, and settles as it would have.
    const bool gliding = m_scrollView->decelerating();
    const qint64 index = gliding ? m_readyCurrentIndex : m_currentIndex;
    m_scrollView->setContentOffset(QPointF(double(m_numberOfQuotes - 1 - index) * w, 0));
    if (gliding)
        scrollViewDidEndDecelerating(m_scrollView);
}

/*!
    Asks the data source for the count again, sizes the content, scrolls (animated) to the
    current page, makes one more page for it and settles as after a swipe.
*/
void OstQuoteGalleryView::reloadData()
{
    const double w = width();
    const double h = height();
    if (OstQuoteGalleryViewDataSource *source = dataSourceInterface()) {
        const qint64 count = source->numberOfQuotesInGalleryView(this);
        if (count != m_numberOfQuotes) {
            m_numberOfQuotes = count;
            Q_EMIT numberOfQuotesChanged();
        }
    }
    m_scrollView->setContentSize(QSizeF(double(m_numberOfQuotes) * w, h));
    m_scrollView->setContentOffset(QPointF(double(m_numberOfQuotes - 1 - m_currentIndex) * w, 0), true);
    // One more page for the current index on every reload; the older one stays until pruned.
    generateQuoteViewWithIndex(m_currentIndex);
    if (OstQuoteGalleryViewDelegate *d = delegateInterface())
        d->galleryViewDidScrollToIndex(this, m_currentIndex);
    scrollViewDidEndDecelerating(m_scrollView);
}

/*!
    Loads as reloadData() does, resting at \a index (one of the pages the data source counts):
    the delegate learns that index and the gallery settles there, as after a swipe that landed on
    it. For a screen that opens at a day other than today.
*/
void OstQuoteGalleryView::reloadDataAtIndex(qint64 index)
{
    // reloadData() settles on the index a swipe would land on: that is this one.
    m_readyCurrentIndex = qMax<qint64>(0, index);
    setCurrentIndex(m_readyCurrentIndex);
    reloadData();
}

QPointF OstQuoteGalleryView::offsetOfIndex(qint64 index) const
{
    return QPointF(double(m_numberOfQuotes - 1 - index) * width(), 0);
}

/*!
    Returns the index the gallery rests on, or the one the turn under way lands on: where the
    next page turn counts from. 0 before the first reload.
*/
qint64 OstQuoteGalleryView::landingIndex() const
{
    const double w = width();
    if (m_numberOfQuotes <= 0 || !(w > 0))
        return 0;
    const qint64 index = m_numberOfQuotes - 1 - qRound64(m_scrollView->targetContentOffset().x() / w);
    return qBound(qint64(0), index, m_numberOfQuotes - 1);
}

/*!
    Turns to the page of \a index (held to the pages there are) as a swipe that lands there does:
    the delegate learns the index when the turn begins, the page being left shrinks and fades,
    and the gallery settles on it as after a swipe. A page further than one away is reached by a
    jump to its neighbour, whose pages are made afresh, and one page turn. Keys, the wheel and
    other ways in that have no finger use this.

    Returns \c false, and does nothing, before the first reload, while a finger is on the
    gallery, or when the gallery already rests on that page.
*/
bool OstQuoteGalleryView::scrollToIndexAnimated(qint64 index)
{
    if (m_numberOfQuotes <= 0 || !(width() > 0) || m_scrollView->isPressed())
        return false;
    index = qBound(qint64(0), index, m_numberOfQuotes - 1);
    const qint64 from = landingIndex();
    if (qAbs(index - from) > 1) {
        // A long way: the gallery jumps next to the page and comes to rest there, with pages
        // made afresh (those it had carry the last swipe's depth effect for other places),
        // then turns the last page.
        const qint64 next = index + (from > index ? 1 : -1);
        for (QQuickItem *child : m_scrollView->subviews())
            removeFromSuperview(child);
        m_scrollView->setContentOffset(offsetOfIndex(next));
        m_readyCurrentIndex = next;
        scrollViewDidEndDecelerating(m_scrollView);
    }
    return m_scrollView->scrollToPage(offsetOfIndex(index));
}

/*!
    Returns the topmost page of the current index, or null.
*/
OstQuoteView *OstQuoteGalleryView::currentQuoteView() const
{
    OstQuoteView *result = nullptr;
    for (QQuickItem *child : m_scrollView->subviews()) {
        auto *page = qobject_cast<OstQuoteView *>(child);
        if (page && page->itemIndex() == m_currentIndex)
            result = page;
    }
    return result;
}

/*!
    Returns a page for the data source to fill, already on top of the scroll view's children.
*/
OstQuoteView *OstQuoteGalleryView::dequeueReusableView()
{
    OstQuoteView *view = nullptr;
    if (!m_reusableViewPool.isEmpty()) {
        view = *m_reusableViewPool.begin();
        m_scrollView->addSubview(view);
        m_reusableViewPool.remove(view);
        return view;
    }
    if (m_pageComponent) {
        QObject *made = m_pageComponent->create(qmlContext(m_pageComponent));
        view = qobject_cast<OstQuoteView *>(made);
        if (!view) {
            qWarning() << "OstQuoteGalleryView: the page component does not make an OstQuoteView:"
                       << m_pageComponent->errorString();
            delete made;
        } else {
            QQmlEngine::setObjectOwnership(view, QQmlEngine::CppOwnership);
        }
    }
    if (!view)
        view = OstQuoteView::create(this);
    if (!view)
        view = new OstQuoteView; // outside a QML scene: a page without its skin
    m_scrollView->addSubview(view);
    return view;
}

void OstQuoteGalleryView::setPageComponent(QQmlComponent *component)
{
    if (m_pageComponent == component)
        return;
    m_pageComponent = component;
    Q_EMIT pageComponentChanged();
}

/*!
    Puts \a view in the pool that dequeueReusableView() draws from first.
*/
void OstQuoteGalleryView::queueReusaleView(OstQuoteView *view)
{
    if (view)
        m_reusableViewPool.insert(view);
}

/*!
    Returns the data source's page of \a index, placed at its position in the content.
*/
OstQuoteView *OstQuoteGalleryView::generateQuoteViewWithIndex(qint64 index)
{
    OstQuoteGalleryViewDataSource *source = dataSourceInterface();
    OstQuoteView *page = source ? source->galleryViewQuoteAtIndex(this, index) : nullptr;
    if (!page)
        return nullptr;
    const double w = width();
    page->setItemIndex(index);
    page->setPosition(QPointF(double(m_numberOfQuotes - 1 - index) * w, 0));
    page->setSize(QSizeF(w, height()));
    return page;
}

/*!
    Makes sure \a scrollView holds a page of \a index that shows its quote, asking the data
    source for one when it does not.
*/
void OstQuoteGalleryView::renderSpecificQuoteViewWithIndex(qint64 index, OTScrollView *scrollView)
{
    bool rendered = false;
    for (QQuickItem *child : scrollView->subviews()) {
        if (itemIndexOf(child) == index && hasQuote(child))
            rendered = true;
    }
    if (rendered)
        return;
    if (m_numberOfQuotes > index)
        generateQuoteViewWithIndex(index);
}

/*!
    Makes sure \a scrollView holds the pages of \a index and its two neighbours; the oldest page
    is never made as a neighbour, only once it is current.
*/
void OstQuoteGalleryView::renderSerialQuoteViewsWithIndex(qint64 index, OTScrollView *)
{
    // The oldest page is never rendered as a neighbour: it appears once it is current.
    if (index + 1 < m_numberOfQuotes - 1)
        renderSpecificQuoteViewWithIndex(index + 1, m_scrollView);
    renderSpecificQuoteViewWithIndex(index, m_scrollView);
    if (index - 1 >= 0)
        renderSpecificQuoteViewWithIndex(index - 1, m_scrollView);
}

void OstQuoteGalleryView::removeFromSuperview(QQuickItem *view)
{
    view->setParentItem(nullptr);
    auto *page = qobject_cast<OstQuoteView *>(view);
    if (!page || !m_reusableViewPool.contains(page))
        view->deleteLater();
}

/*!
    The gallery's answer to \a scrollView's callback of that name.
*/
void OstQuoteGalleryView::scrollViewWillBeginDragging(OTScrollView *scrollView)
{
    const double n = double(m_numberOfQuotes);
    const double x = scrollView->contentOffset().x();
    const double w = width();
    setCurrentIndex(qint64((n - x / w) + kIndexStep));
    for (QQuickItem *child : m_scrollView->subviews()) {
        auto *page = qobject_cast<OstQuoteView *>(child);
        if (page && (page->itemIndex() < m_currentIndex - 1 || page->itemIndex() > m_currentIndex + 1))
            removeFromSuperview(page);
    }
    renderSerialQuoteViewsWithIndex(m_currentIndex, scrollView);
    m_lastContentOffsetX = scrollView->contentOffset().x();
}

/*!
    The gallery's answer to \a scrollView's callback of that name: the depth effect.
*/
void OstQuoteGalleryView::scrollViewDidScroll(OTScrollView *scrollView)
{
    const double x = scrollView->contentOffset().x();
    m_isDraggingToRight = x <= m_lastContentOffsetX;
    for (QQuickItem *child : scrollView->subviews()) {
        if (auto *page = qobject_cast<OstQuoteView *>(child))
            transition(page, scrollView->contentOffset().x());
    }
}

void OstQuoteGalleryView::transition(OstQuoteView *page, double x)
{
    const qint64 i = page->itemIndex();
    auto pin = [this, page, x]() {
        const QPointF center(x + kPinFactor * width(), kPinFactor * height());
        page->setPosition(center - QPointF(page->width() / 2, page->height() / 2));
        page->setZ(kBackDepth);
    };
    if (m_isDraggingToRight) {
        if (i != m_currentIndex)
            return;
        pin();
        page->setDepth(x / width() - double(m_numberOfQuotes - 2 - m_currentIndex), kMinimumScale);
    } else {
        if (i == m_currentIndex) {
            const double place = double(m_numberOfQuotes - 1 - m_currentIndex) * width();
            if (x < place) {
                // The drag caught a glide short of this page's place: the page stays pinned
                // and goes on from exactly where the glide left it (whether it was shrinking
                // as the page left, or growing as the page approached), fading in with the
                // travel and never shrinking, so that it is whole when it reaches its place.
                pin();
                page->setDepth(x / width() - double(m_numberOfQuotes - 2 - m_currentIndex), page->depthScale());
                return;
            }
            // From its place on it slides away with the content, whole. (A drag that began
            // at rest on it finds it so already.)
            page->setPosition(QPointF(place, 0));
            page->setDepth(1, 0);
            page->setZ(kFrontDepth);
        } else if (i == m_currentIndex - 1) {
            pin();
            page->setDepth(x / width() - double(m_numberOfQuotes - 1 - m_currentIndex), kNoMinimumScale);
        }
    }
}

/*!
    The gallery's answer to \a scrollView's callback of that name, with the lift's \a velocity
    and \a targetContentOffset: tells the delegate the index the swipe lands on.
*/
void OstQuoteGalleryView::scrollViewWillEndDragging(OTScrollView *scrollView, QPointF velocity,
                                                    QPointF targetContentOffset)
{
    Q_UNUSED(velocity);
    const double w = width();
    m_readyCurrentIndex = qint64((scrollView->contentSize().width() - targetContentOffset.x() - w) / w);
    if (OstQuoteGalleryViewDelegate *d = delegateInterface())
        d->galleryViewDidScrollToIndex(this, m_readyCurrentIndex);
}

/*!
    The gallery's answer to \a scrollView's callback of that name: settles on the page.
*/
void OstQuoteGalleryView::scrollViewDidEndDecelerating(OTScrollView *scrollView)
{
    setCurrentIndex(m_readyCurrentIndex);
    for (QQuickItem *child : m_scrollView->subviews()) {
        const qint64 index = itemIndexOf(child);
        if (index < m_currentIndex - 1 || index > m_currentIndex + 1)
            removeFromSuperview(child);
    }
    renderSerialQuoteViewsWithIndex(m_currentIndex, scrollView);
}

/*!
    \fn OstQuoteGalleryViewDataSource::~OstQuoteGalleryViewDataSource()

    Destroys the data source.
*/

/*!
    \fn qint64 OstQuoteGalleryViewDataSource::numberOfQuotesInGalleryView(OstQuoteGalleryView *galleryView)

    Returns how many pages \a galleryView has.
*/

/*!
    \fn OstQuoteView *OstQuoteGalleryViewDataSource::galleryViewQuoteAtIndex(OstQuoteGalleryView *galleryView, qint64 index)

    Returns the page of \a index for \a galleryView, taken from its dequeueReusableView().
*/

/*!
    \fn OstQuoteGalleryViewDelegate::~OstQuoteGalleryViewDelegate()

    Destroys the delegate.
*/

/*!
    \fn void OstQuoteGalleryViewDelegate::galleryViewDidScrollToIndex(OstQuoteGalleryView *galleryView, qint64 index)

    Called when \a galleryView is going to \a index. Does nothing by default.
*/

/*!
    \qmlproperty int OstQuoteGalleryView::currentIndex

    The index of the page in view.
*/

/*!
    \qmlproperty int OstQuoteGalleryView::numberOfQuotes
    \readonly

    How many pages the data source counts.
*/

/*!
    \qmlproperty OTScrollView OstQuoteGalleryView::scrollView
    \readonly

    The paging scroll view the pages live in.
*/

/*!
    \qmlproperty Component OstQuoteGalleryView::pageComponent

    What the gallery makes its pages from: a component whose root is a quote page (a skin of the
    host's own, made from OstQuoteViewTemplate). None, the module's OstQuoteView. Pages already
    made stay as they are.
*/

/*!
    \qmlmethod void OstQuoteGalleryView::reloadData()

    Asks the data source for the count again and settles on the current page as after a swipe.
*/

/*!
    \qmlmethod bool OstQuoteGalleryView::scrollToIndexAnimated(int index)

    Turns to the page of \a index as a swipe that lands there does. Returns false, and does
    nothing, before the first reload, while a finger is on the gallery, or when the gallery
    already rests on that page.
*/

/*!
    \property OstQuoteGalleryView::currentIndex
    \brief The index of the page in view.
*/

/*!
    \property OstQuoteGalleryView::numberOfQuotes
    \brief How many pages the data source counts.
*/

/*!
    \property OstQuoteGalleryView::scrollView
    \brief The paging scroll view the pages live in.
*/

/*!
    \fn OstQuoteGalleryView::OstQuoteGalleryView(QQuickItem *parent)

    Constructs a gallery with \a parent.
*/

/*!
    \fn OstQuoteGalleryView::~OstQuoteGalleryView()

    Destroys the gallery and its pages.
*/

/*!
    \fn QObject *OstQuoteGalleryView::dataSource() const

    Returns the data source, or null.
*/

/*!
    \fn QObject *OstQuoteGalleryView::delegate() const

    Returns the delegate, or null.
*/

/*!
    \fn qint64 OstQuoteGalleryView::readyCurrentIndex() const

    Returns the index the last lift said the swipe lands on.
*/

/*!
    \fn bool OstQuoteGalleryView::isDraggingToRight() const

    Returns \c true while the drag under way goes right: back in time.
*/

/*!
    \fn double OstQuoteGalleryView::lastContentOffsetX() const

    Returns the scroll view's horizontal offset at the last scroll.
*/

/*!
    \fn QSet<OstQuoteView *> OstQuoteGalleryView::reusableViewPool() const

    Returns the pages waiting to be reused.
*/
