#include "OTScrollView.h"

#include <QPointer>
#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QVariantAnimation>

#include <cmath>

namespace {

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
        m_pressRawOffset = bounds().unbounded(m_contentOffset) - fingerTravel;
        return;
    }
    stopMotion();
    if (animated && offset != m_contentOffset) {
        startMotion(Motion::Animation, OTScrollMotion::Plan::animation(m_contentOffset, offset));
    } else {
        applyOffset(offset);
    }
    if (m_pressed) {
        m_pressOffset = m_contentOffset;
        m_pressRawOffset = bounds().unbounded(m_contentOffset);
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

// --- after the lift ------------------------------------------------------------------------

void OTScrollView::endDrag(QPointF velocity, bool endsStoppedDeceleration)
{
    const QPointF from = m_contentOffset;
    const OTScrollMotion::Plan plan =
        OTScrollMotion::Plan::afterRelease(bounds(), m_pagingEnabled, from, m_pressOffset, velocity);
    const QPointF target = plan.target();

    QPointer<OTScrollView> alive(this);
    Q_EMIT scrollViewWillEndDragging(this, velocity, target);
    if (!alive)
        return;
    setDragging(false);
    // The callback may have moved the content or started something of its own.
    if (m_pressed || m_motion != Motion::None || m_contentOffset != from)
        return;
    if (plan.isEmpty()) {
        // Lifted at rest on the target: nothing follows, except the end of a deceleration
        // that the press cut short there.
        applyOffset(target);
        if (endsStoppedDeceleration && m_motion == Motion::None && !m_pressed)
            Q_EMIT scrollViewDidEndDecelerating(this);
        return;
    }
    startMotion(Motion::Deceleration, plan);
}

// --- geometry ------------------------------------------------------------------------------

bool OTScrollView::scrollsVertically() const
{
    return m_contentSize.height() > height();
}

OTScrollMotion::Bounds OTScrollView::bounds() const
{
    return {size(),
            {qMax(qreal(0), m_contentSize.width() - width()), qMax(qreal(0), m_contentSize.height() - height())},
            scrollsVertically(),
            m_bounces};
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

void OTScrollView::startMotion(Motion motion, const OTScrollMotion::Plan &plan)
{
    // A new duration makes the animation report a value for its old position; nothing
    // listens until the new motion is set up.
    m_motion = Motion::None;
    m_animation->stop();
    m_animation->setDuration(plan.durationMs());

    m_motion = motion;
    m_plan = plan;
    if (motion == Motion::Deceleration)
        setDecelerating(true);
    m_animation->start();
}

void OTScrollView::animationFrame(qreal progress)
{
    if (m_motion == Motion::None || m_plan.isEmpty())
        return;
    applyOffset(m_plan.offsetAt(progress * m_plan.durationMs()));
}

void OTScrollView::animationFinished()
{
    if (m_motion == Motion::None)
        return;
    applyOffset(m_plan.restOffset());
    if (m_motion == Motion::None) // stopped from a scroll callback
        return;
    const Motion finished = m_motion;
    m_motion = Motion::None;
    m_plan = {};
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
    m_plan = {};
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
