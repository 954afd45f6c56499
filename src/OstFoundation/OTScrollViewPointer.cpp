// OTScrollView's pointer tracking: presses, drags and lifts by mouse or touch, and the finger's
// recent positions for the lift speed. What the content does after the lift is planned by
// OTScrollMotion and run in OTScrollView.cpp.

#include "OTScrollView.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPointer>
#include <QPointingDevice>
#include <QQuickWindow>
#include <QStyleHints>
#include <QTouchEvent>

#include <span>

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
    m_pressRawOffset = bounds().unbounded(m_contentOffset);
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
            m_pressRawOffset = bounds().unbounded(m_contentOffset);
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
    applyOffset(bounds().bounded(m_pressRawOffset + travel));
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
