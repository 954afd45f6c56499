#include "OTScrollView.h"

#include <QPointer>
#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QVariantAnimation>

#include <cmath>

/*!
    \qmltype OTScrollView
    \inqmlmodule OstFoundation
    \instantiates OTScrollView
    \brief A clipping viewport over content that the user drags, with paging and rubber-band
    ends.

    See the C++ class OTScrollView for how drags, lifts, paging and presses during a motion
    behave; its callbacks are the signals below.

    \qml
    OTScrollView {
        anchors.fill: parent
        pagingEnabled: true
        contentSize: Qt.size(width * 3, height)
        onScrollViewDidEndDecelerating: console.log("at", contentOffset.x / width)
    }
    \endqml
*/

namespace {

bool isFinite(QPointF p)
{
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

} // namespace

/*!
    \class OTScrollView
    \inmodule OstFoundation
    \brief The foundation's scroll view: a clipping viewport over content that the user drags,
    with paging and rubber-band ends.

    The user drags the content by touch (one finger) or with the left mouse button. Pages and
    other content are added with addSubview() and positioned by their owner in content
    coordinates; the content item sits at -contentOffset.

    Horizontal dragging is always on; vertical dragging only when the content is taller than the
    view. Past either end of the content the drag follows the finger with rubber-band resistance
    while \l bounces is set, and is held at the end otherwise.

    \section1 Callbacks

    They are emitted synchronously, in this order for one swipe:

    \table
    \header \li Signal \li When
    \row \li scrollViewWillBeginDragging()
         \li The finger has moved past the drag distance of the style hints. A press that lands
             on a child still starts a drag (the view takes the grab over from the child); a tap
             without movement still reaches the child.
    \row \li scrollViewDidScroll() \li At every change of contentOffset, whatever its cause.
    \row \li scrollViewWillEndDragging()
         \li The finger lifted, with its velocity in points per second in the direction of a
             growing offset (measured over the last 100 ms of movement since the finger last
             turned back, zero when it rested before lifting) and the offset where the content
             will come to rest.
    \row \li scrollViewDidEndDecelerating()
         \li The deceleration that followed the lift came to rest. Not emitted when the content
             was already at rest on its target when the finger lifted.
    \endtable

    \section1 Paging

    With \l pagingEnabled, a lift lands on a whole page (a page is the view's size): a flick goes
    to the nearest page boundary in the direction it was flicked (so a quick flick back undoes
    the turn the drag had begun), anything slower to the page nearest to the offset; never more
    than one page away from the page where the drag started (OTScrollMotion::pageTarget()).
    Without paging the content glides on and slows down, and springs back when it runs past an
    end. Keys and the wheel turn pages through scrollToPage(); a trackpad gesture turns a page
    once it has moved TrackpadPageDistance.

    \section1 A press during a motion

    A press while the content is decelerating or animating stops it where it is and is not
    passed on to the children. If that press turns into a drag the usual drag flow follows. If
    it lifts (or is cancelled) without a drag, the lift is reported as for a drag that rested
    before lifting: scrollViewWillEndDragging() with zero velocity and the nearest page (or the
    nearest offset inside the content) as its target, then the content decelerates there and
    reports scrollViewDidEndDecelerating(); a stopped deceleration that is already at rest there
    reports it at once. No scrollViewWillBeginDragging() comes first: the finger never dragged,
    and a receiver keeps measuring the motion from where the interrupted drag began. Only one
    finger drags: further fingers are left to the children.

    In QML the type is \l {OstFoundation::OTScrollView}{OTScrollView}.
*/
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

/*!
    \property OTScrollView::contentItem
    \brief The item that holds the subviews.

    It is moved to (-contentOffset.x, -contentOffset.y) and sized to contentSize (negative sizes
    count as empty).
*/
QQuickItem *OTScrollView::contentItem() const
{
    return m_contentItem;
}

/*!
    \property OTScrollView::contentSize
    \brief The size of the content.
*/
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

/*!
    \property OTScrollView::contentOffset
    \brief The point of the content shown at the view's top left corner.

    Writing it is setContentOffset() without animation.
*/
QPointF OTScrollView::contentOffset() const
{
    return m_contentOffset;
}

/*!
    Moves the content to \a offset. Without \a animated the content jumps there. With it the
    content eases out over 0.3 s and every frame is reported through scrollViewDidScroll(); no
    scrollViewDidEndDecelerating() follows. The offset is taken as given (it may lie outside the
    content).

    Either way a running deceleration or animation stops first, without
    scrollViewDidEndDecelerating(). While the user drags, the content jumps and the drag carries
    on from there.
*/
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

/*!
    \property OTScrollView::pagingEnabled
    \brief Whether a lift lands on a whole page.

    A page is the view's size. False by default.
*/
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

/*!
    \property OTScrollView::bounces
    \brief Whether the content follows a drag past an end with rubber-band resistance.

    True by default; without it the drag is held at the end.
*/
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

/*!
    \property OTScrollView::backgroundColor
    \brief The colour painted behind the content; transparent by default.
*/
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

/*!
    \property OTScrollView::dragging
    \brief Whether the user drags the content.

    True from scrollViewWillBeginDragging() until the lift has been reported through
    scrollViewWillEndDragging().
*/
bool OTScrollView::dragging() const
{
    return m_dragging;
}

/*!
    \property OTScrollView::decelerating
    \brief Whether the content moves on after a lift, until it comes to rest.
*/
bool OTScrollView::decelerating() const
{
    return m_decelerating;
}

/*!
    Puts \a child into the content item on top of its siblings. A child that already has a parent
    item (the content item included) is moved, and to the top. A child without an owner becomes
    owned by the content item.
*/
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

/*!
    Returns the content item's children from bottom to top in the order they were added.
*/
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

/*!
    \qmlproperty Item OTScrollView::contentItem
    \readonly

    The item that holds the subviews, moved to -contentOffset and sized to contentSize.
*/

/*!
    \qmlproperty size OTScrollView::contentSize

    The size of the content (negative sizes count as empty).
*/

/*!
    \qmlproperty point OTScrollView::contentOffset

    The point of the content shown at the view's top left corner. Setting it jumps there;
    setContentOffset() can animate.
*/

/*!
    \qmlproperty bool OTScrollView::pagingEnabled

    Whether a lift lands on a whole page (a page is the view's size). False by default.
*/

/*!
    \qmlproperty bool OTScrollView::bounces

    Whether the content follows a drag past an end with rubber-band resistance. True by
    default.
*/

/*!
    \qmlproperty color OTScrollView::backgroundColor

    Painted behind the content; transparent by default.
*/

/*!
    \qmlproperty bool OTScrollView::dragging
    \readonly

    True from scrollViewWillBeginDragging until the lift has been reported through
    scrollViewWillEndDragging.
*/

/*!
    \qmlproperty bool OTScrollView::decelerating
    \readonly

    True while the content moves on after a lift, until it comes to rest.
*/

/*!
    \qmlproperty bool OTScrollView::animating
    \readonly

    True while an animated setContentOffset() runs. It has no change signal.
*/

/*!
    \qmlmethod void OTScrollView::setContentOffset(point offset, bool animated)

    Moves the content to \a offset: at once, or eased out over 0.3 s with every frame reported
    through scrollViewDidScroll when \a animated. See OTScrollView::setContentOffset().
*/

/*!
    \qmlmethod bool OTScrollView::scrollToPage(point offset)

    Turns to the page nearest to \a offset as a swipe that lands there does. Returns false, and
    does nothing, without paging, while a finger or the mouse is down, or when the content
    already rests on that page.
*/

/*!
    \qmlmethod void OTScrollView::addSubview(Item child)

    Puts \a child into the content item on top of its siblings.
*/

/*!
    \qmlmethod list<Item> OTScrollView::subviews()

    Returns the content item's children from bottom to top in the order they were added.
*/

/*!
    \qmlsignal OTScrollView::scrollViewWillBeginDragging(OTScrollView scrollView)

    Emitted when the finger on \a scrollView has moved past the drag distance.
*/

/*!
    \qmlsignal OTScrollView::scrollViewDidScroll(OTScrollView scrollView)

    Emitted at every change of contentOffset of \a scrollView.
*/

/*!
    \qmlsignal OTScrollView::scrollViewWillEndDragging(OTScrollView scrollView, point velocity, point targetContentOffset)

    Emitted when the finger lifted from \a scrollView, with its \a velocity (points per second)
    and the \a targetContentOffset where the content will come to rest.
*/

/*!
    \qmlsignal OTScrollView::scrollViewDidEndDecelerating(OTScrollView scrollView)

    Emitted when the motion of \a scrollView that followed a lift came to rest.
*/

/*!
    \property OTScrollView::animating
    \brief Whether an animated setContentOffset() runs.

    It is polled: there is no change signal.
*/

/*!
    \fn OTScrollView::OTScrollView(QQuickItem *parent)

    Constructs a scroll view with \a parent.
*/

/*!
    \fn OTScrollView::~OTScrollView()

    Destroys the scroll view and its content item.
*/

/*!
    \fn bool OTScrollView::scrollToPage(QPointF offset)

    Turns to the page nearest to \a offset inside the content as a swipe that lands there does:
    scrollViewWillBeginDragging(), scrollViewWillEndDragging() with zero velocity and that page
    as its target, the settle to it (scrollViewDidScroll() on the way), and
    scrollViewDidEndDecelerating(). A page more than one page away is reached by a jump to its
    neighbour first (reported through scrollViewDidScroll()), so the user sees one page turn. A
    motion under way stops first; a turn already heading for that page is left to run.

    Returns \c false, and does nothing, without paging, while a finger or the mouse is down, or
    when the content already rests on that page.
*/

/*!
    \fn QPointF OTScrollView::targetContentOffset() const

    Returns where the content is heading: the end of the motion under way, else where it is.
*/

/*!
    \fn bool OTScrollView::isPressed() const

    Returns \c true while a finger or the mouse button is down on the view, dragging or not
    yet.
*/

/*!
    \variable OTScrollView::TrackpadPageDistance

    How far a trackpad gesture moves before it turns a page, in points.
*/

/*!
    \variable OTScrollView::GesturePauseMs

    Wheel events further apart than this, in milliseconds, belong to different gestures.
*/

/*!
    \fn void OTScrollView::scrollViewWillBeginDragging(OTScrollView *scrollView)

    This signal is emitted when the finger on \a scrollView has moved past the drag distance of
    the style hints.
*/

/*!
    \fn void OTScrollView::scrollViewDidScroll(OTScrollView *scrollView)

    This signal is emitted at every change of the contentOffset of \a scrollView, whatever its
    cause.
*/

/*!
    \fn void OTScrollView::scrollViewWillEndDragging(OTScrollView *scrollView, QPointF velocity, QPointF targetContentOffset)

    This signal is emitted when the finger lifted from \a scrollView, with its \a velocity in
    points per second in the direction of a growing offset and the \a targetContentOffset where
    the content will come to rest.
*/

/*!
    \fn void OTScrollView::scrollViewDidEndDecelerating(OTScrollView *scrollView)

    This signal is emitted when the deceleration of \a scrollView that followed a lift came to
    rest.
*/
