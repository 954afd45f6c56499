// OTScrollView's ways to turn pages without a finger: scrollToPage() for keys and the like,
// and the wheel, whose events and trackpad gestures each turn one page through it.

#include "OTScrollView.h"

#include <QDateTime>
#include <QPointer>
#include <QWheelEvent>

#include <cmath>

namespace {

// `at` moved to within one `extent` of `to`, on one axis.
qreal nextTo(qreal at, qreal to, qreal extent)
{
    if (qAbs(to - at) <= extent)
        return at;
    return to > at ? to - extent : to + extent;
}

qreal sign(qreal value)
{
    return value > 0 ? 1 : (value < 0 ? -1 : 0);
}

} // namespace

QPointF OTScrollView::targetContentOffset() const
{
    return m_motion != Motion::None ? m_plan.target() : m_contentOffset;
}

bool OTScrollView::scrollToPage(QPointF offset)
{
    if (!std::isfinite(offset.x()) || !std::isfinite(offset.y())) {
        qWarning("OTScrollView: ignoring a page offset that is not finite");
        return false;
    }
    if (!canTurnPages())
        return false;
    const QPointF target = nearestPageOffset(offset);
    if (m_motion == Motion::Deceleration && m_plan.target() == target)
        return true;
    if (m_motion == Motion::None && m_contentOffset == target)
        return false;
    stopMotion();
    // It goes as a swipe that lands on the page: begun, lifted without speed, settled.
    if (!jumpNextToPage(target) || !beginPageSwipe())
        return false;
    return endPageSwipe(target);
}

void OTScrollView::wheelEvent(QWheelEvent *event)
{
    if (!canTurnPages() || !isEnabled()) {
        event->ignore();
        return;
    }
    event->accept();
    followWheelGesture(event);
    const QPointF pages = wheelPagesToTurn(event);
    if (!pages.isNull())
        turnPages(pages);
}

// --- a page turn, step by step ---------------------------------------------------------------

bool OTScrollView::canTurnPages() const
{
    return m_pagingEnabled && !m_pressed && width() > 0 && height() > 0;
}

QPointF OTScrollView::nearestPageOffset(QPointF offset) const
{
    const OTScrollMotion::Bounds limits = bounds();
    return {OTScrollMotion::nearestPage(offset.x(), limits.maximum.x(), width()),
            limits.vertical ? OTScrollMotion::nearestPage(offset.y(), limits.maximum.y(), height()) : m_contentOffset.y()};
}

bool OTScrollView::jumpNextToPage(QPointF target)
{
    // From afar, the last page only: the content jumps next to the target first.
    QPointer<OTScrollView> alive(this);
    applyOffset(QPointF(nextTo(m_contentOffset.x(), target.x(), width()),
                        nextTo(m_contentOffset.y(), target.y(), height())));
    return alive && !m_pressed && m_motion == Motion::None;
}

bool OTScrollView::beginPageSwipe()
{
    QPointer<OTScrollView> alive(this);
    setDragging(true);
    Q_EMIT scrollViewWillBeginDragging(this);
    return alive && !m_pressed && m_dragging;
}

bool OTScrollView::endPageSwipe(QPointF target)
{
    QPointer<OTScrollView> alive(this);
    const QPointF from = m_contentOffset;
    Q_EMIT scrollViewWillEndDragging(this, QPointF(), target);
    if (!alive)
        return false;
    setDragging(false);
    // The callbacks may have moved the content or started something of their own.
    if (m_pressed || m_motion != Motion::None || m_contentOffset != from)
        return true;
    const OTScrollMotion::Plan plan = OTScrollMotion::Plan::pageTurn(bounds(), from, target);
    if (plan.isEmpty())
        Q_EMIT scrollViewDidEndDecelerating(this);
    else
        startMotion(Motion::Deceleration, plan);
    return true;
}

// --- the wheel, step by step ---------------------------------------------------------------

void OTScrollView::followWheelGesture(const QWheelEvent *event)
{
    // Events without a time (made by hand) are timed on arrival.
    ulong timestamp = event->timestamp();
    if (timestamp == 0)
        timestamp = ulong(QDateTime::currentMSecsSinceEpoch());
    const bool newGesture = !m_wheelSeen || event->phase() == Qt::ScrollBegin || timestamp < m_wheelTimestamp
        || timestamp - m_wheelTimestamp > GesturePauseMs;
    m_wheelSeen = true;
    m_wheelTimestamp = timestamp;
    if (newGesture) {
        m_wheelPending = QPointF();
        m_wheelGestureTurned = false;
    }
}

QPointF OTScrollView::wheelPagesToTurn(const QWheelEvent *event)
{
    // A trackpad says how far the fingers moved in points; a wheel gives angles, 120 a notch.
    const bool trackpad = !event->pixelDelta().isNull();
    if (trackpad && m_wheelGestureTurned)
        return {};
    QPointF delta = trackpad ? QPointF(event->pixelDelta()) : QPointF(event->angleDelta());
    if (!scrollsVertically())
        delta = QPointF(qAbs(delta.x()) >= qAbs(delta.y()) ? delta.x() : delta.y(), 0);
    m_wheelPending += delta;

    const qreal step = trackpad ? TrackpadPageDistance : 120;
    const qreal pagesX = std::trunc(m_wheelPending.x() / step);
    const qreal pagesY = std::trunc(m_wheelPending.y() / step);
    if (pagesX == 0 && pagesY == 0)
        return {};
    // One page per event, however many notches it carries (a wheel spun fast sends them
    // together), and one per trackpad gesture, however far it goes on.
    m_wheelPending = QPointF();
    if (trackpad)
        m_wheelGestureTurned = true;
    return {sign(pagesX), sign(pagesY)};
}

void OTScrollView::turnPages(QPointF pages)
{
    // Each turn goes from the page in view or the one the content is heading for to its
    // neighbour, as a swipe would, never jumping over a page. The content moves against the
    // wheel.
    const QPointF from = targetContentOffset();
    scrollToPage(QPointF(from.x() - pages.x() * width(), from.y() - pages.y() * height()));
}
