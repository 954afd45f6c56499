#pragma once

#include "OstFoundationGlobal.h"
#include "OTScrollMotion.h"

#include <QColor>
#include <QList>
#include <QPointF>
#include <QQuickItem>
#include <QSizeF>
#include <QtQml/qqmlregistration.h>

#include <array>

class QVariantAnimation;

// The foundation's scroll view: a clipping viewport over a content item that the user drags by
// touch (one finger) or with the left mouse button.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTScrollView : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickItem *contentItem READ contentItem CONSTANT)
    Q_PROPERTY(QSizeF contentSize READ contentSize WRITE setContentSize NOTIFY contentSizeChanged)
    Q_PROPERTY(QPointF contentOffset READ contentOffset WRITE setContentOffset NOTIFY contentOffsetChanged)
    Q_PROPERTY(bool pagingEnabled READ pagingEnabled WRITE setPagingEnabled NOTIFY pagingEnabledChanged)
    Q_PROPERTY(bool bounces READ bounces WRITE setBounces NOTIFY bouncesChanged)
    Q_PROPERTY(QColor backgroundColor READ backgroundColor WRITE setBackgroundColor NOTIFY backgroundColorChanged)
    Q_PROPERTY(bool dragging READ dragging NOTIFY draggingChanged)
    Q_PROPERTY(bool decelerating READ decelerating NOTIFY deceleratingChanged)
    // True while an animated setContentOffset runs (polled; no change signal).
    Q_PROPERTY(bool animating READ animating)

public:
    explicit OTScrollView(QQuickItem *parent = nullptr);
    ~OTScrollView() override;

    // Holds the subviews; moved to (-contentOffset.x, -contentOffset.y) and sized to
    // contentSize (negative sizes count as empty).
    QQuickItem *contentItem() const;

    QSizeF contentSize() const;
    void setContentSize(QSizeF size);

    QPointF contentOffset() const;
    // Without animation the content jumps there. With animation it eases out over 0.3 s and
    // every frame is reported through scrollViewDidScroll; no scrollViewDidEndDecelerating.
    // The offset is taken as given (it may lie outside the content). Either way a running
    // deceleration or animation stops first, without scrollViewDidEndDecelerating. While
    // the user drags, the content jumps and the drag carries on from there.
    Q_INVOKABLE void setContentOffset(QPointF offset, bool animated = false);

    bool pagingEnabled() const;
    void setPagingEnabled(bool enabled);

    bool bounces() const;
    void setBounces(bool bounces);

    // Painted behind the content; transparent by default.
    QColor backgroundColor() const;
    void setBackgroundColor(const QColor &color);

    // True from scrollViewWillBeginDragging until the lift has been reported through
    // scrollViewWillEndDragging.
    bool dragging() const;
    // True while the content moves on after a lift, until it comes to rest.
    bool decelerating() const;
    bool animating() const { return m_motion == Motion::Animation; }

    // Turns to the page nearest to `offset` inside the content as a swipe that lands there
    // does: scrollViewWillBeginDragging, scrollViewWillEndDragging with zero velocity and that
    // page as its target, the settle to it (scrollViewDidScroll on the way), and
    // scrollViewDidEndDecelerating. A page more than one page away is reached by a jump to its
    // neighbour first (reported through scrollViewDidScroll), so the user sees one page turn.
    // A motion under way stops first; a turn already heading for that page is left to run.
    // False, and nothing done, without paging, while a finger or the mouse is down, or when
    // the content already rests on that page.
    Q_INVOKABLE bool scrollToPage(QPointF offset);
    // Where the content is heading: the end of the motion under way, else where it is.
    QPointF targetContentOffset() const;
    // A finger or the mouse button is down on the view (dragging or not yet).
    bool isPressed() const { return m_pressed; }

    // A trackpad gesture turns a page once it has moved this far (points).
    static constexpr qreal TrackpadPageDistance = 80;
    // Wheel events further apart than this belong to different gestures.
    static constexpr ulong GesturePauseMs = 200;

    // Puts `child` into the content item on top of its siblings; a child that already has
    // a parent item (the content item included) is moved, and to the top. A child without
    // an owner becomes owned by the content item.
    Q_INVOKABLE void addSubview(QQuickItem *child);
    // The content item's children from bottom to top in the order they were added.
    Q_INVOKABLE QList<QQuickItem *> subviews() const;

Q_SIGNALS:
    void contentSizeChanged();
    void contentOffsetChanged();
    void pagingEnabledChanged();
    void bouncesChanged();
    void backgroundColorChanged();
    void draggingChanged();
    void deceleratingChanged();

    void scrollViewWillBeginDragging(OTScrollView *scrollView);
    void scrollViewDidScroll(OTScrollView *scrollView);
    void scrollViewWillEndDragging(OTScrollView *scrollView, QPointF velocity, QPointF targetContentOffset);
    void scrollViewDidEndDecelerating(OTScrollView *scrollView);

protected:
    bool childMouseEventFilter(QQuickItem *item, QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent *event) override;
    void touchUngrabEvent() override;
    void wheelEvent(QWheelEvent *event) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;

private:
    enum class Motion { None, Animation, Deceleration };
    enum class Press { Ignored, Tracked, Stopped };

    bool filterMouse(QMouseEvent *event);
    bool filterTouch(QTouchEvent *event);
    Press pointerPressed(const QInputDevice *device, bool touch, int pointId, QPointF scenePos, ulong timestamp);
    bool pointerMoved(QPointF scenePos, ulong timestamp, bool mayStartDrag);
    void pointerReleased(QPointF scenePos, ulong timestamp);
    void pointerCancelled();
    bool tracks(const QInputDevice *device, int pointId) const;
    qsizetype trackedPointIndex(const QTouchEvent *event) const;
    qsizetype pointToFollow(const QTouchEvent *event) const;
    void endPress();

    void dragTo(QPointF position);
    void recordSample(QPointF position, ulong timestamp);
    QPointF releaseVelocity() const;
    // Reports the lift and moves the content on to where it lands. `endsStoppedDeceleration`:
    // the lift ends a press that cut a deceleration short, whose end is reported even when
    // the content is already at rest there.
    void endDrag(QPointF velocity, bool endsStoppedDeceleration = false);

    bool scrollsVertically() const;
    OTScrollMotion::Bounds bounds() const;

    // Turning a page without a finger: whether one may turn now, the page nearest an offset,
    // and the steps of the turn. Each step answers false when a callback took the view over
    // (a press, a motion of its own) or deleted it, and the turn stops there.
    bool canTurnPages() const;
    QPointF nearestPageOffset(QPointF offset) const;
    bool jumpNextToPage(QPointF target);
    bool beginPageSwipe();
    bool endPageSwipe(QPointF target);
    // The wheel: keeps track of the gesture an event belongs to, adds the event to what the
    // gesture has moved and gives the pages (-1, 0 or 1 an axis) that it turns now, and turns
    // them on from where the content is heading.
    void followWheelGesture(const QWheelEvent *event);
    QPointF wheelPagesToTurn(const QWheelEvent *event);
    void turnPages(QPointF pages);

    void applyOffset(QPointF offset);
    void setDragging(bool dragging);
    void setDecelerating(bool decelerating);
    void startMotion(Motion motion, const OTScrollMotion::Plan &plan);
    void animationFrame(qreal progress);
    void animationFinished();
    void stopMotion();

    QQuickItem *m_contentItem = nullptr;
    QVariantAnimation *m_animation = nullptr;
    QSizeF m_contentSize;
    QPointF m_contentOffset;
    QColor m_backgroundColor = Qt::transparent;
    bool m_pagingEnabled = false;
    bool m_bounces = true;
    bool m_dragging = false;
    bool m_decelerating = false;

    // The press being followed (one point of one device).
    const QInputDevice *m_pressDevice = nullptr;
    int m_pressPointId = -1;
    bool m_pressed = false;
    bool m_pressIsTouch = false;
    bool m_pressStoppedMotion = false;
    bool m_pressStoppedDeceleration = false;
    ulong m_pressTimestamp = 0;
    QPointF m_pressScenePos;     // where the press landed, as given by the event
    QPointF m_pressPos;          // the same in this item's coordinates
    QPointF m_lastPos;
    QPointF m_pressOffset;       // contentOffset when the press (or drag) began
    QPointF m_pressRawOffset;    // the same, before rubber-band resistance

    // Recent finger positions for the lift velocity, a ring.
    std::array<OTScrollMotion::Sample, 32> m_samples;
    int m_sampleCount = 0;
    int m_sampleHead = 0;

    Motion m_motion = Motion::None;
    OTScrollMotion::Plan m_plan;

    // The wheel gesture under way: what it has moved and not yet turned, whether it has
    // turned its page (a trackpad's), and when its last event came.
    QPointF m_wheelPending;
    bool m_wheelGestureTurned = false;
    bool m_wheelSeen = false;
    ulong m_wheelTimestamp = 0;
};
