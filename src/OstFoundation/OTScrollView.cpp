#include "OTScrollView.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPointer>
#include <QPointingDevice>
#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QStyleHints>
#include <QTouchEvent>
#include <QVariantAnimation>

#include <cmath>

namespace {

constexpr qreal RubberBandStiffness = 0.55;
constexpr qreal Friction = 2000;            // pt/s², the glide without paging
constexpr int AnimatedScrollMs = 300;
constexpr int ShortestPageSettleMs = 200;
constexpr int LongestPageSettleMs = 450;
constexpr int BounceBackMs = 400;
constexpr int LongestGlideMs = 2500;
constexpr qreal AtRest = 1e-6;

// How far the content goes past an end for a finger `distance` past it, in a view `extent`
// long: it starts 1:1 and never reaches a whole view.
qreal rubberBand(qreal distance, qreal extent)
{
    if (!(distance > 0) || !(extent > 0))
        return 0;
    return (1 - 1 / (distance * RubberBandStiffness / extent + 1)) * extent;
}

// The finger distance that gives `overshoot`.
qreal rubberBandInverse(qreal overshoot, qreal extent)
{
    if (!(overshoot > 0) || !(extent > 0))
        return 0;
    const qreal ratio = qMin(overshoot / extent, qreal(0.999));
    return extent / RubberBandStiffness * (1 / (1 - ratio) - 1);
}

qreal bounded(qreal raw, qreal maximum, qreal extent, bool bounces)
{
    if (raw < 0)
        return bounces ? -rubberBand(-raw, extent) : 0;
    if (raw > maximum)
        return bounces ? maximum + rubberBand(raw - maximum, extent) : maximum;
    return raw;
}

qreal unbounded(qreal offset, qreal maximum, qreal extent)
{
    if (offset < 0)
        return -rubberBandInverse(-offset, extent);
    if (offset > maximum)
        return maximum + rubberBandInverse(offset - maximum, extent);
    return offset;
}

// A curve from 0 to 1 that comes to rest at the end and leaves the start with slope
// `startSpeed`: 2 is a quadratic ease-out, 3 a cubic one, 0 eases in and out. Monotonic for
// every slope in [0, 3].
qreal eased(qreal s, qreal startSpeed)
{
    const qreal s2 = s * s;
    const qreal s3 = s2 * s;
    return startSpeed * (s3 - 2 * s2 + s) + (3 * s2 - 2 * s3);
}

qreal length(QPointF p)
{
    return std::hypot(p.x(), p.y());
}

bool isFinite(QPointF p)
{
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

} // namespace

OTScrollView::OTScrollView(QQuickItem *parent)
    : QQuickItem(parent)
    , m_contentItem(new QQuickItem(this))
    , m_animation(new QVariantAnimation(this))
{
    setFlag(ItemHasContents);
    setClip(true);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    setFiltersChildMouseEvents(true);

    m_animation->setStartValue(0.0);
    m_animation->setEndValue(1.0);
    connect(m_animation, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &value) { animationFrame(value.toReal()); });
    connect(m_animation, &QAbstractAnimation::finished, this, &OTScrollView::animationFinished);
}

OTScrollView::~OTScrollView()
{
    m_motion = Motion::None;
    m_animation->disconnect(this);
    delete m_animation;
    m_animation = nullptr;
}

QQuickItem *OTScrollView::contentItem() const
{
    return m_contentItem;
}

QSizeF OTScrollView::contentSize() const
{
    return m_contentSize;
}

void OTScrollView::setContentSize(QSizeF size)
{
    if (!std::isfinite(size.width()) || !std::isfinite(size.height())) {
        qWarning("OTScrollView: ignoring a content size that is not finite");
        return;
    }
    if (size == m_contentSize)
        return;
    m_contentSize = size;
    m_contentItem->setSize(QSizeF(qMax(qreal(0), size.width()), qMax(qreal(0), size.height())));
    Q_EMIT contentSizeChanged();
}

QPointF OTScrollView::contentOffset() const
{
    return m_contentOffset;
}

void OTScrollView::setContentOffset(QPointF offset, bool animated)
{
    if (!isFinite(offset)) {
        qWarning("OTScrollView: ignoring a content offset that is not finite");
        return;
    }
    if (m_pressed && m_dragging) {
        // The drag carries on from the new offset under the same finger.
        m_pressOffset += offset - m_contentOffset;
        applyOffset(offset);
        QPointF fingerTravel = m_pressPos - m_lastPos;
        if (!scrollsVertically())
            fingerTravel.setY(0);
        m_pressRawOffset = unboundedOffset(m_contentOffset) - fingerTravel;
        return;
    }
    stopMotion();
    if (animated && offset != m_contentOffset) {
        m_segments[0] = {m_contentOffset, offset, 3, AnimatedScrollMs};
        startMotion(Motion::Animation, 1);
    } else {
        applyOffset(offset);
    }
    if (m_pressed) {
        m_pressOffset = m_contentOffset;
        m_pressRawOffset = unboundedOffset(m_contentOffset);
    }
}

bool OTScrollView::pagingEnabled() const
{
    return m_pagingEnabled;
}

void OTScrollView::setPagingEnabled(bool enabled)
{
    if (enabled == m_pagingEnabled)
        return;
    m_pagingEnabled = enabled;
    Q_EMIT pagingEnabledChanged();
}

bool OTScrollView::bounces() const
{
    return m_bounces;
}

void OTScrollView::setBounces(bool bounces)
{
    if (bounces == m_bounces)
        return;
    m_bounces = bounces;
    Q_EMIT bouncesChanged();
}

QColor OTScrollView::backgroundColor() const
{
    return m_backgroundColor;
}

void OTScrollView::setBackgroundColor(const QColor &color)
{
    if (color == m_backgroundColor)
        return;
    m_backgroundColor = color;
    update();
    Q_EMIT backgroundColorChanged();
}

bool OTScrollView::dragging() const
{
    return m_dragging;
}

bool OTScrollView::decelerating() const
{
    return m_decelerating;
}

void OTScrollView::addSubview(QQuickItem *child)
{
    if (!child || child == this || child == m_contentItem || child->isAncestorOf(this)) {
        qWarning("OTScrollView: addSubview() needs an item that is not the view or one of its ancestors");
        return;
    }
    if (child->parentItem() == m_contentItem) {
        const QList<QQuickItem *> siblings = m_contentItem->childItems();
        if (siblings.last() != child)
            child->stackAfter(siblings.last());
    } else {
        child->setParentItem(m_contentItem);
    }
    if (!child->parent())
        child->setParent(m_contentItem);
}

QList<QQuickItem *> OTScrollView::subviews() const
{
    return m_contentItem->childItems();
}

// --- pointer input -------------------------------------------------------------------------
//
// Presses reach the view in two ways: directly, when nothing above it takes them, and through
// childMouseEventFilter() when they are on their way to a child. Both feed the same press
// state; the filter additionally takes the grab over from the child once a drag begins.

bool OTScrollView::childMouseEventFilter(QQuickItem *, QEvent *event)
{
    if (!isVisible() || !isEnabled())
        return false;
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
        return filterMouse(static_cast<QMouseEvent *>(event));
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
        return filterTouch(static_cast<QTouchEvent *>(event));
    default:
        return false;
    }
}

bool OTScrollView::filterMouse(QMouseEvent *event)
{
    if (event->pointCount() < 1)
        return false;
    const QEventPoint &point = event->point(0);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        if (event->button() != Qt::LeftButton)
            return false;
        if (pointerPressed(event->device(), false, point.id(), point.scenePosition(), event->timestamp()) != Press::Stopped)
            return false;
        // The press stops the content; it is not a tap on the child.
        event->setExclusiveGrabber(point, this);
        event->accept();
        return true;
    case QEvent::MouseMove: {
        if (!tracks(event->device(), point.id()))
            return false;
        QObject *grabber = event->exclusiveGrabber(point);
        // Already ours: the view has the move, its passive grabbers (a TapHandler) see it
        // too and give up once it is past their threshold.
        if (grabber == this)
            return false;
        const auto *grabberItem = qobject_cast<QQuickItem *>(grabber);
        if (!pointerMoved(point.scenePosition(), event->timestamp(), !grabberItem || !grabberItem->keepMouseGrab()))
            return false;
        event->setExclusiveGrabber(point, this);
        // Taken from a child: it sees no more of this press.
        return grabber != nullptr;
    }
    case QEvent::MouseButtonRelease: {
        if (event->button() != Qt::LeftButton || !tracks(event->device(), point.id()))
            return false;
        const bool intercept = m_dragging || m_pressStoppedMotion;
        pointerReleased(point.scenePosition(), event->timestamp());
        return intercept;
    }
    default:
        return false;
    }
}

bool OTScrollView::filterTouch(QTouchEvent *event)
{
    if (event->type() == QEvent::TouchCancel) {
        if (m_pressed && m_pressDevice == event->device())
            pointerCancelled();
        return false;
    }
    const qsizetype index = pointToFollow(event);
    if (index < 0)
        return false;
    QEventPoint &point = event->point(index);
    switch (point.state()) {
    case QEventPoint::State::Pressed:
        if (pointerPressed(event->device(), true, point.id(), point.scenePosition(), event->timestamp()) != Press::Stopped)
            return false;
        event->setExclusiveGrabber(point, this);
        return true;
    case QEventPoint::State::Updated: {
        QObject *grabber = event->exclusiveGrabber(point);
        if (grabber == this)
            return false;
        const auto *grabberItem = qobject_cast<QQuickItem *>(grabber);
        if (!pointerMoved(point.scenePosition(), event->timestamp(), !grabberItem || !grabberItem->keepTouchGrab()))
            return false;
        event->setExclusiveGrabber(point, this);
        return grabber != nullptr;
    }
    case QEventPoint::State::Released: {
        const bool intercept = m_dragging || m_pressStoppedMotion;
        pointerReleased(point.scenePosition(), event->timestamp());
        return intercept;
    }
    default:
        return false;
    }
}

void OTScrollView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || event->pointCount() < 1) {
        event->ignore();
        return;
    }
    const QEventPoint &point = event->point(0);
    const Press press = pointerPressed(event->device(), false, point.id(), point.scenePosition(), event->timestamp());
    event->setAccepted(press != Press::Ignored);
}

void OTScrollView::mouseMoveEvent(QMouseEvent *event)
{
    if (event->pointCount() < 1 || !tracks(event->device(), event->point(0).id())) {
        event->ignore();
        return;
    }
    pointerMoved(event->point(0).scenePosition(), event->timestamp(), true);
    event->accept();
}

void OTScrollView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || event->pointCount() < 1
        || !tracks(event->device(), event->point(0).id())) {
        event->ignore();
        return;
    }
    pointerReleased(event->point(0).scenePosition(), event->timestamp());
    event->accept();
}

void OTScrollView::mouseUngrabEvent()
{
    if (m_pressed && !m_pressIsTouch)
        pointerCancelled();
}

void OTScrollView::touchEvent(QTouchEvent *event)
{
    if (event->type() == QEvent::TouchCancel) {
        if (m_pressed && m_pressIsTouch)
            pointerCancelled();
        event->accept();
        return;
    }
    const qsizetype index = pointToFollow(event);
    if (index < 0) {
        event->ignore();
        return;
    }
    const QEventPoint &point = event->point(index);
    switch (point.state()) {
    case QEventPoint::State::Pressed:
        if (pointerPressed(event->device(), true, point.id(), point.scenePosition(), event->timestamp()) == Press::Ignored) {
            event->ignore();
            return;
        }
        break;
    case QEventPoint::State::Updated:
        pointerMoved(point.scenePosition(), event->timestamp(), true);
        break;
    case QEventPoint::State::Released:
        pointerReleased(point.scenePosition(), event->timestamp());
        break;
    default:
        break;
    }
    event->accept();
}

void OTScrollView::touchUngrabEvent()
{
    if (m_pressed && m_pressIsTouch)
        pointerCancelled();
}

bool OTScrollView::tracks(const QInputDevice *device, int pointId) const
{
    return m_pressed && device == m_pressDevice && pointId == m_pressPointId;
}

qsizetype OTScrollView::pointToFollow(const QTouchEvent *event) const
{
    const qsizetype tracked = trackedPointIndex(event);
    // A second finger does not take over; a new touch sequence does.
    if (tracked >= 0 || (m_pressed && event->type() != QEvent::TouchBegin))
        return tracked;
    const QList<QEventPoint> &points = event->points();
    for (qsizetype i = 0; i < points.size(); ++i) {
        if (points.at(i).state() == QEventPoint::State::Pressed)
            return i;
    }
    return -1;
}

qsizetype OTScrollView::trackedPointIndex(const QTouchEvent *event) const
{
    if (!m_pressed || event->device() != m_pressDevice)
        return -1;
    for (qsizetype i = 0; i < event->pointCount(); ++i) {
        if (event->points().at(i).id() == m_pressPointId)
            return i;
    }
    return -1;
}

OTScrollView::Press OTScrollView::pointerPressed(const QInputDevice *device, bool touch, int pointId,
                                                 QPointF scenePos, ulong timestamp)
{
    if (m_pressed) {
        // The same press seen twice: through the filter on its way to a child, then here.
        if (device == m_pressDevice && pointId == m_pressPointId && timestamp == m_pressTimestamp
            && scenePos == m_pressScenePos && !m_dragging)
            return m_pressStoppedMotion ? Press::Stopped : Press::Tracked;
        // Another finger or pointer while this one drags: left to others.
        if (m_dragging)
            return Press::Ignored;
        // An earlier press whose release never came here (its receiver went away): end it.
        pointerCancelled();
    }
    const bool wasMoving = m_motion != Motion::None;
    const bool wasDecelerating = m_motion == Motion::Deceleration;
    stopMotion();

    m_pressed = true;
    m_pressDevice = device;
    m_pressIsTouch = touch;
    m_pressPointId = pointId;
    m_pressStoppedMotion = wasMoving;
    m_pressStoppedDeceleration = wasDecelerating;
    m_pressTimestamp = timestamp;
    m_pressScenePos = scenePos;
    m_pressPos = mapFromScene(scenePos);
    m_lastPos = m_pressPos;
    m_pressOffset = m_contentOffset;
    m_pressRawOffset = unboundedOffset(m_contentOffset);
    m_sampleCount = 0;
    m_sampleHead = 0;
    recordSample(m_pressPos, timestamp);
    return wasMoving ? Press::Stopped : Press::Tracked;
}

bool OTScrollView::pointerMoved(QPointF scenePos, ulong timestamp, bool mayStartDrag)
{
    if (!m_pressed)
        return false;
    const QPointF position = mapFromScene(scenePos);
    m_lastPos = position;
    recordSample(position, timestamp);
    if (!m_dragging) {
        const QPointF travel = position - m_pressPos;
        const int threshold = QGuiApplication::styleHints()->startDragDistance();
        const bool beyond = qAbs(travel.x()) > threshold || (scrollsVertically() && qAbs(travel.y()) > threshold);
        if (!beyond || !mayStartDrag)
            return false;
        if (m_motion != Motion::None) {
            stopMotion();
            m_pressOffset = m_contentOffset;
            m_pressRawOffset = unboundedOffset(m_contentOffset);
        }
        setDragging(true);
        QPointer<OTScrollView> alive(this);
        Q_EMIT scrollViewWillBeginDragging(this);
        if (!alive || !m_pressed || !m_dragging)
            return false;
    }
    dragTo(position);
    return true;
}

void OTScrollView::pointerReleased(QPointF scenePos, ulong timestamp)
{
    if (!m_pressed)
        return;
    if (!m_dragging) {
        const bool stopped = m_pressStoppedMotion;
        const bool stoppedDeceleration = m_pressStoppedDeceleration;
        endPress();
        // A press that stopped the content and lifts where it pressed ends like a drag that
        // rested before lifting: the lift says where the content goes, and it goes there.
        if (stopped)
            endDrag(QPointF(), stoppedDeceleration);
        return;
    }
    const QPointF position = mapFromScene(scenePos);
    if (position != m_lastPos) {
        m_lastPos = position;
        dragTo(position);
    }
    recordSample(position, timestamp);
    const QPointF velocity = releaseVelocity();
    endPress();
    endDrag(velocity);
}

void OTScrollView::pointerCancelled()
{
    if (!m_pressed)
        return;
    const bool wasDragging = m_dragging;
    const bool stopped = m_pressStoppedMotion;
    const bool stoppedDeceleration = m_pressStoppedDeceleration;
    endPress();
    if (wasDragging || stopped)
        endDrag(QPointF(), stoppedDeceleration && !wasDragging);
}

void OTScrollView::endPress()
{
    m_pressed = false;
    m_pressDevice = nullptr;
    m_pressPointId = -1;
    m_pressStoppedMotion = false;
    m_pressStoppedDeceleration = false;
}

void OTScrollView::dragTo(QPointF position)
{
    QPointF travel = m_pressPos - position;
    if (!scrollsVertically())
        travel.setY(0);
    applyOffset(boundedOffset(m_pressRawOffset + travel));
}

void OTScrollView::recordSample(QPointF position, ulong timestamp)
{
    m_samples[m_sampleHead] = {timestamp, position};
    m_sampleHead = (m_sampleHead + 1) % int(m_samples.size());
    m_sampleCount = qMin(m_sampleCount + 1, int(m_samples.size()));
}

QPointF OTScrollView::releaseVelocity() const
{
    // The ring, oldest first.
    const int size = int(m_samples.size());
    decltype(m_samples) ordered;
    for (int i = 0; i < m_sampleCount; ++i)
        ordered[i] = m_samples[(m_sampleHead - m_sampleCount + i + size) % size];
    return OTScrollMotion::releaseVelocity(std::span(ordered.data(), m_sampleCount), scrollsVertically());
}

// --- after the lift ------------------------------------------------------------------------

void OTScrollView::endDrag(QPointF velocity, bool endsStoppedDeceleration)
{
    const QPointF from = m_contentOffset;
    QPointF target = from;
    int segments = 0;

    if (m_pagingEnabled) {
        target = pagingTarget(velocity);
        const QPointF way = target - from;
        const qreal distance = length(way);
        if (distance > AtRest) {
            const qreal extent = (scrollsVertically() && qAbs(way.y()) > qAbs(way.x())) ? height() : width();
            const qreal share = extent > 0 ? distance / extent : 1;
            const int duration = qBound(ShortestPageSettleMs, int(ShortestPageSettleMs + 250 * share), LongestPageSettleMs);
            // Leave with the finger's speed as far as an ease-out allows.
            const qreal towards = (velocity.x() * way.x() + velocity.y() * way.y()) / distance;
            const qreal slope = qBound(qreal(2), towards * duration / 1000 / distance, qreal(3));
            m_segments[0] = {from, target, slope, duration};
            segments = 1;
        }
    } else {
        const QPointF inside = clampedToContent(from);
        const qreal speed = length(velocity);
        if (length(inside - from) > AtRest) {
            // Let go past an end: back to it.
            target = inside;
            m_segments[0] = {from, target, 2, BounceBackMs};
            segments = 1;
        } else if (speed > 1) {
            // Glide on at constant friction: a quadratic ease-out whose start speed is the
            // finger's, cut short at an end of the content.
            const QPointF direction = velocity / speed;
            const qreal glide = speed * speed / (2 * Friction);
            const QPointF projected = from + direction * glide;
            const QPointF stop = clampedToContent(projected);
            if (length(stop - projected) <= AtRest) {
                target = projected;
                m_segments[0] = {from, target, 2, qMin(LongestGlideMs, int(1000 * speed / Friction))};
                segments = 1;
            } else {
                // How far along the glide the first end is met.
                qreal reach = glide;
                const QPointF maximum = maximumOffset();
                for (int axis = 0; axis < 2; ++axis) {
                    const qreal d = axis == 0 ? direction.x() : direction.y();
                    const qreal at = axis == 0 ? from.x() : from.y();
                    const qreal end = d > 0 ? (axis == 0 ? maximum.x() : maximum.y()) : 0;
                    if (qAbs(d) > AtRest)
                        reach = qMin(reach, qMax(qreal(0), (end - at) / d));
                }
                QPointF edge = from + direction * reach;
                if (m_bounces) {
                    // Run past the end by a little of what was left, then spring back.
                    const qreal extent = qAbs(direction.x()) >= qAbs(direction.y()) ? width() : height();
                    const qreal overshoot = qMin(rubberBand(glide - reach, extent), extent) * 0.3;
                    const QPointF peak = edge + direction * overshoot;
                    const qreal way = reach + overshoot;
                    if (way > AtRest)
                        m_segments[segments++] = {from, peak, 3, qBound(100, int(3000 * way / speed), LongestGlideMs)};
                    target = clampedToContent(peak);
                    if (length(target - peak) > AtRest)
                        m_segments[segments++] = {peak, target, 0, BounceBackMs};
                } else {
                    target = clampedToContent(edge);
                    if (reach > AtRest)
                        m_segments[segments++] = {from, target, 3, qBound(100, int(3000 * reach / speed), LongestGlideMs)};
                }
            }
        }
    }

    QPointer<OTScrollView> alive(this);
    Q_EMIT scrollViewWillEndDragging(this, velocity, target);
    if (!alive)
        return;
    setDragging(false);
    // The callback may have moved the content or started something of its own.
    if (m_pressed || m_motion != Motion::None || m_contentOffset != from)
        return;
    if (segments == 0) {
        // Lifted at rest on the target: nothing follows, except the end of a deceleration
        // that the press cut short there.
        applyOffset(target);
        if (endsStoppedDeceleration && m_motion == Motion::None && !m_pressed)
            Q_EMIT scrollViewDidEndDecelerating(this);
        return;
    }
    startMotion(Motion::Deceleration, segments);
}

// --- geometry ------------------------------------------------------------------------------

bool OTScrollView::scrollsVertically() const
{
    return m_contentSize.height() > height();
}

QPointF OTScrollView::maximumOffset() const
{
    return {qMax(qreal(0), m_contentSize.width() - width()), qMax(qreal(0), m_contentSize.height() - height())};
}

QPointF OTScrollView::boundedOffset(QPointF raw) const
{
    const QPointF maximum = maximumOffset();
    return {bounded(raw.x(), maximum.x(), width(), m_bounces),
            scrollsVertically() ? bounded(raw.y(), maximum.y(), height(), m_bounces) : raw.y()};
}

QPointF OTScrollView::unboundedOffset(QPointF offset) const
{
    const QPointF maximum = maximumOffset();
    return {unbounded(offset.x(), maximum.x(), width()),
            scrollsVertically() ? unbounded(offset.y(), maximum.y(), height()) : offset.y()};
}

QPointF OTScrollView::pagingTarget(QPointF velocity) const
{
    const QPointF maximum = maximumOffset();
    return {OTScrollMotion::pageTarget(m_contentOffset.x(), m_pressOffset.x(), velocity.x(), maximum.x(), width()),
            scrollsVertically()
                ? OTScrollMotion::pageTarget(m_contentOffset.y(), m_pressOffset.y(), velocity.y(), maximum.y(), height())
                : m_contentOffset.y()};
}

QPointF OTScrollView::clampedToContent(QPointF offset) const
{
    const QPointF maximum = maximumOffset();
    return {qBound(qreal(0), offset.x(), maximum.x()),
            scrollsVertically() ? qBound(qreal(0), offset.y(), maximum.y()) : offset.y()};
}

// --- motion --------------------------------------------------------------------------------

void OTScrollView::applyOffset(QPointF offset)
{
    if (offset == m_contentOffset)
        return;
    m_contentOffset = offset;
    m_contentItem->setPosition(-offset);
    Q_EMIT contentOffsetChanged();
    Q_EMIT scrollViewDidScroll(this);
}

void OTScrollView::setDragging(bool dragging)
{
    if (dragging == m_dragging)
        return;
    m_dragging = dragging;
    // Keep an enclosing flickable from taking the finger away mid-drag.
    setKeepMouseGrab(dragging);
    setKeepTouchGrab(dragging);
    Q_EMIT draggingChanged();
}

void OTScrollView::setDecelerating(bool decelerating)
{
    if (decelerating == m_decelerating)
        return;
    m_decelerating = decelerating;
    Q_EMIT deceleratingChanged();
}

void OTScrollView::startMotion(Motion motion, int segmentCount)
{
    int duration = 0;
    for (int i = 0; i < segmentCount; ++i) {
        m_segments[i].durationMs = qMax(1, m_segments[i].durationMs);
        duration += m_segments[i].durationMs;
    }
    // A new duration makes the animation report a value for its old position; nothing
    // listens until the new motion is set up.
    m_motion = Motion::None;
    m_animation->stop();
    m_animation->setDuration(duration);

    m_motion = motion;
    m_segmentCount = segmentCount;
    m_motionDurationMs = duration;
    if (motion == Motion::Deceleration)
        setDecelerating(true);
    m_animation->start();
}

void OTScrollView::animationFrame(qreal progress)
{
    if (m_motion == Motion::None || m_segmentCount == 0)
        return;
    qreal elapsed = progress * m_motionDurationMs;
    int index = 0;
    while (index + 1 < m_segmentCount && elapsed >= m_segments[index].durationMs) {
        elapsed -= m_segments[index].durationMs;
        ++index;
    }
    const Segment &segment = m_segments[index];
    const qreal s = qBound(qreal(0), elapsed / segment.durationMs, qreal(1));
    applyOffset(segment.from + (segment.to - segment.from) * eased(s, segment.startSpeed));
}

void OTScrollView::animationFinished()
{
    if (m_motion == Motion::None)
        return;
    applyOffset(m_segments[m_segmentCount - 1].to);
    if (m_motion == Motion::None) // stopped from a scroll callback
        return;
    const Motion finished = m_motion;
    m_motion = Motion::None;
    m_segmentCount = 0;
    if (finished == Motion::Deceleration) {
        setDecelerating(false);
        Q_EMIT scrollViewDidEndDecelerating(this);
    }
}

void OTScrollView::stopMotion()
{
    if (m_motion == Motion::None)
        return;
    m_motion = Motion::None;
    m_segmentCount = 0;
    m_animation->stop();
    setDecelerating(false);
}

// --- item ----------------------------------------------------------------------------------

void OTScrollView::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickItem::itemChange(change, value);
    switch (change) {
    case ItemSceneChange:
        // A press that can no longer end here ends now.
        if (m_pressed)
            pointerCancelled();
        break;
    case ItemVisibleHasChanged:
    case ItemEnabledHasChanged:
        if (m_pressed && !value.boolValue)
            pointerCancelled();
        break;
    default:
        break;
    }
}

void OTScrollView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size())
        update();
}

QSGNode *OTScrollView::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    if (m_backgroundColor.alpha() == 0 || width() <= 0 || height() <= 0 || !window()) {
        delete oldNode;
        return nullptr;
    }
    auto *node = static_cast<QSGRectangleNode *>(oldNode);
    if (!node)
        node = window()->createRectangleNode();
    node->setRect(boundingRect());
    node->setColor(m_backgroundColor);
    return node;
}
