#include "OTScrollMotion.h"

#include <QtGlobal>

#include <cmath>

/*!
    \namespace OTScrollMotion
    \inmodule OstFoundation
    \brief The scroll view's motion, apart from any pointer, item or timer.

    How fast the content was moving when the finger left it, where it lands (a page, the end of a
    glide, back inside after a pull past an end), the eased path it takes there, and the rubber
    band that resists a pull past an end. OTScrollView moves its content with these.
*/

/*!
    \class OTScrollMotion::Sample
    \inmodule OstFoundation
    \brief Where the finger was, and when.
*/

/*!
    \class OTScrollMotion::Bounds
    \inmodule OstFoundation
    \brief The view a motion happens in.

    Its size, how far its content scrolls on each axis, whether it scrolls vertically at all,
    and whether it lets the content past an end.
*/

/*!
    \class OTScrollMotion::Segment
    \inmodule OstFoundation
    \brief One eased stretch of a motion.

    It leaves \l from at \l startSpeed times the average speed (see OTScrollMotion::eased())
    and comes to rest on \l to after \l durationMs.
*/

/*!
    \class OTScrollMotion::Plan
    \inmodule OstFoundation
    \brief A planned motion of the content.

    At most two eased segments back to back: a glide past an end, then the spring back. An
    empty plan is no motion.
*/

namespace OTScrollMotion {

namespace {

// Page positions within this of a boundary count as on it.
constexpr qreal OnABoundary = 1e-6;
// Distances and speeds under this are none.
constexpr qreal AtRest = 1e-6;
// How hard the rubber band pulls back: the larger, the sooner it stiffens.
constexpr qreal RubberBandStiffness = 0.55;

qreal length(QPointF p)
{
    return std::hypot(p.x(), p.y());
}

qreal boundedOnAxis(qreal raw, qreal maximum, qreal extent, bool bounces)
{
    if (raw < 0)
        return bounces ? -rubberBand(-raw, extent) : 0;
    if (raw > maximum)
        return bounces ? maximum + rubberBand(raw - maximum, extent) : maximum;
    return raw;
}

qreal unboundedOnAxis(qreal offset, qreal maximum, qreal extent)
{
    if (offset < 0)
        return -rubberBandInverse(-offset, extent);
    if (offset > maximum)
        return maximum + rubberBandInverse(offset - maximum, extent);
    return offset;
}

qreal lastPage(qreal maximum, qreal extent)
{
    return std::ceil(maximum / extent - 1e-9);
}

qreal coordinate(QPointF p, int axis)
{
    return axis == 0 ? p.x() : p.y();
}

// One axis of releaseVelocity().
qreal velocityOnAxis(std::span<const Sample> samples, int axis, ulong windowMs)
{
    const qsizetype newest = qsizetype(samples.size()) - 1;
    const Sample &lift = samples[newest];
    qsizetype oldest = newest;
    int direction = 0;
    for (qsizetype i = newest - 1; i >= 0; --i) {
        const Sample &sample = samples[i];
        if (sample.timestamp > lift.timestamp || lift.timestamp - sample.timestamp > windowMs)
            break;
        const qreal step = coordinate(samples[i + 1].position, axis) - coordinate(sample.position, axis);
        if (step != 0) {
            const int sign = step > 0 ? 1 : -1;
            if (direction == 0)
                direction = sign;
            else if (sign != direction)
                break; // the finger turned back here
        }
        oldest = i;
    }
    // Nothing but the lift itself in the window: the finger rested before lifting.
    if (oldest == newest || samples[oldest].timestamp == lift.timestamp)
        return 0;
    const qreal seconds = qreal(lift.timestamp - samples[oldest].timestamp) / 1000;
    const qreal velocity = (coordinate(samples[oldest].position, axis) - coordinate(lift.position, axis)) / seconds;
    if (!std::isfinite(velocity))
        return 0;
    return qBound(-MaximumVelocity, velocity, MaximumVelocity);
}

// How long a paging view takes to settle on a page `way` away: longer the further it goes,
// within ShortestPageSettleMs and LongestPageSettleMs.
int pageSettleMs(const Bounds &bounds, QPointF way)
{
    const qreal extent = (bounds.vertical && qAbs(way.y()) > qAbs(way.x())) ? bounds.viewport.height()
                                                                            : bounds.viewport.width();
    const qreal share = extent > 0 ? length(way) / extent : 1;
    return qBound(ShortestPageSettleMs, int(ShortestPageSettleMs + 250 * share), LongestPageSettleMs);
}

} // namespace

/*!
    Returns the content's velocity at the lift, in points per second in the direction of a
    growing offset (the content moves against the finger). \a samples run from the oldest to the
    lift.

    Each axis is measured over the finger's movement within the last \a windowMs and since it
    last turned back on that axis, so a quick flick back at the end of a drag counts as a flick
    back. The result is zero when the finger rested before lifting; its vertical part is zero
    unless \a vertical.
*/
QPointF releaseVelocity(std::span<const Sample> samples, bool vertical, ulong windowMs)
{
    if (samples.size() < 2)
        return {};
    return {velocityOnAxis(samples, 0, windowMs), vertical ? velocityOnAxis(samples, 1, windowMs) : 0};
}

/*!
    \fn qreal OTScrollMotion::pageTarget(qreal offset, qreal startOffset, qreal velocity, qreal maximum, qreal extent)

    Returns the offset, along one axis, that a lift at \a offset lands on in a paging view whose
    pages are \a extent long and whose offset runs from 0 to \a maximum (the last page may be
    short); the drag began at \a startOffset.

    A flick (a \a velocity whose size is above PageFlickVelocity) goes to the nearest page boundary in the
    direction of the velocity (the page it is on when it is exactly on one), so a flick back
    cancels a turn; anything slower goes to the nearest page. The target is never more than one
    page from the page the drag began on.
*/
qreal pageTarget(qreal offset, qreal startOffset, qreal velocity, qreal maximum, qreal extent)
{
    if (!(extent > 0))
        return qBound(qreal(0), offset, maximum);
    const qreal last = lastPage(maximum, extent);
    const qreal startPage = qBound(qreal(0), std::round(startOffset / extent), last);
    const qreal position = offset / extent;
    qreal page;
    if (velocity > PageFlickVelocity)
        page = std::ceil(position - OnABoundary);
    else if (velocity < -PageFlickVelocity)
        page = std::floor(position + OnABoundary);
    else
        page = std::round(position);
    page = qBound(startPage - 1, page, startPage + 1);
    page = qBound(qreal(0), page, last);
    return qMin(page * extent, maximum);
}

/*!
    \fn qreal OTScrollMotion::nearestPage(qreal offset, qreal maximum, qreal extent)

    Returns the page boundary nearest to \a offset along one axis, for pages \a extent long and
    offsets from 0 to \a maximum.
*/
qreal nearestPage(qreal offset, qreal maximum, qreal extent)
{
    if (!(extent > 0))
        return qBound(qreal(0), offset, maximum);
    const qreal page = qBound(qreal(0), std::round(offset / extent), lastPage(maximum, extent));
    return qMin(page * extent, maximum);
}

/*!
    \fn qreal OTScrollMotion::rubberBand(qreal distance, qreal extent)

    Returns how far the content goes past an end for a finger \a distance past it, in a view
    \a extent long. It follows the finger at a little over half its pace at first, ever more
    slowly after, and never reaches a whole view. Zero for no distance.
*/
qreal rubberBand(qreal distance, qreal extent)
{
    if (!(distance > 0) || !(extent > 0))
        return 0;
    return (1 - 1 / (distance * RubberBandStiffness / extent + 1)) * extent;
}

/*!
    \fn qreal OTScrollMotion::rubberBandInverse(qreal overshoot, qreal extent)

    Returns the finger distance that gives \a overshoot in a view \a extent long: the inverse of
    rubberBand(), for overshoots under a view.
*/
qreal rubberBandInverse(qreal overshoot, qreal extent)
{
    if (!(overshoot > 0) || !(extent > 0))
        return 0;
    const qreal ratio = qMin(overshoot / extent, qreal(0.999));
    return extent / RubberBandStiffness * (1 / (1 - ratio) - 1);
}

/*!
    \fn qreal OTScrollMotion::eased(qreal s, qreal startSpeed)

    Returns a curve from 0 (\a s = 0) to 1 (\a s = 1) that comes to rest at the end and leaves
    the start with slope \a startSpeed: 2 is a quadratic ease-out, 3 a cubic one, 0 eases in and
    out. It is monotonic for every slope in [0, 3].
*/
qreal eased(qreal s, qreal startSpeed)
{
    const qreal s2 = s * s;
    const qreal s3 = s2 * s;
    return startSpeed * (s3 - 2 * s2 + s) + (3 * s2 - 2 * s3);
}

// --- Bounds --------------------------------------------------------------------------------

QPointF Bounds::clamped(QPointF offset) const
{
    return {qBound(qreal(0), offset.x(), maximum.x()), vertical ? qBound(qreal(0), offset.y(), maximum.y()) : offset.y()};
}

QPointF Bounds::bounded(QPointF raw) const
{
    return {boundedOnAxis(raw.x(), maximum.x(), viewport.width(), bounces),
            vertical ? boundedOnAxis(raw.y(), maximum.y(), viewport.height(), bounces) : raw.y()};
}

QPointF Bounds::unbounded(QPointF offset) const
{
    return {unboundedOnAxis(offset.x(), maximum.x(), viewport.width()),
            vertical ? unboundedOnAxis(offset.y(), maximum.y(), viewport.height()) : offset.y()};
}

// --- Plan ----------------------------------------------------------------------------------

void Plan::append(const Segment &segment)
{
    Segment &added = m_segments[std::size_t(m_count++)];
    added = segment;
    added.durationMs = qMax(1, segment.durationMs);
}

Plan Plan::animation(QPointF from, QPointF to)
{
    Plan plan;
    plan.m_target = to;
    plan.append({from, to, 3, AnimatedScrollMs});
    return plan;
}

Plan Plan::afterRelease(const Bounds &bounds, bool paging, QPointF from, QPointF dragStart, QPointF velocity)
{
    if (paging)
        return settleOnPage(bounds, from, dragStart, velocity);
    const QPointF inside = bounds.clamped(from);
    if (length(inside - from) > AtRest)
        return backInside(from, inside);
    return glide(bounds, from, velocity);
}

Plan Plan::settleOnPage(const Bounds &bounds, QPointF from, QPointF dragStart, QPointF velocity)
{
    Plan plan;
    plan.m_target = {pageTarget(from.x(), dragStart.x(), velocity.x(), bounds.maximum.x(), bounds.viewport.width()),
                     bounds.vertical ? pageTarget(from.y(), dragStart.y(), velocity.y(), bounds.maximum.y(),
                                                  bounds.viewport.height())
                                     : from.y()};
    const QPointF way = plan.m_target - from;
    const qreal distance = length(way);
    if (distance > AtRest) {
        const int duration = pageSettleMs(bounds, way);
        // Leave with the finger's speed as far as an ease-out allows.
        const qreal towards = (velocity.x() * way.x() + velocity.y() * way.y()) / distance;
        const qreal slope = qBound(qreal(2), towards * duration / 1000 / distance, qreal(3));
        plan.append({from, plan.m_target, slope, duration});
    }
    return plan;
}

Plan Plan::backInside(QPointF from, QPointF inside)
{
    Plan plan;
    plan.m_target = inside;
    plan.append({from, inside, 2, BounceBackMs});
    return plan;
}

Plan Plan::glide(const Bounds &bounds, QPointF from, QPointF velocity)
{
    const qreal speed = length(velocity);
    if (!(speed > 1)) {
        Plan still;
        still.m_target = from;
        return still;
    }
    // Glide on at constant friction: a quadratic ease-out whose start speed is the finger's,
    // cut short at an end of the content.
    const QPointF direction = velocity / speed;
    const qreal glide = speed * speed / (2 * Friction);
    const QPointF projected = from + direction * glide;
    if (length(bounds.clamped(projected) - projected) > AtRest)
        return glideToAnEnd(bounds, from, direction, speed, glide);
    Plan plan;
    plan.m_target = projected;
    plan.append({from, projected, 2, qMin(LongestGlideMs, int(1000 * speed / Friction))});
    return plan;
}

Plan Plan::glideToAnEnd(const Bounds &bounds, QPointF from, QPointF direction, qreal speed, qreal glide)
{
    // How far along the glide the first end is met.
    qreal reach = glide;
    for (int axis = 0; axis < 2; ++axis) {
        const qreal d = axis == 0 ? direction.x() : direction.y();
        const qreal at = axis == 0 ? from.x() : from.y();
        const qreal end = d > 0 ? (axis == 0 ? bounds.maximum.x() : bounds.maximum.y()) : 0;
        if (qAbs(d) > AtRest)
            reach = qMin(reach, qMax(qreal(0), (end - at) / d));
    }
    const QPointF edge = from + direction * reach;
    Plan plan;
    if (!bounds.bounces) {
        plan.m_target = bounds.clamped(edge);
        if (reach > AtRest)
            plan.append({from, plan.m_target, 3, qBound(100, int(3000 * reach / speed), LongestGlideMs)});
        return plan;
    }
    // Run past the end by a little of what was left, then spring back.
    const qreal extent =
        qAbs(direction.x()) >= qAbs(direction.y()) ? bounds.viewport.width() : bounds.viewport.height();
    const qreal overshoot = qMin(rubberBand(glide - reach, extent), extent) * 0.3;
    const QPointF peak = edge + direction * overshoot;
    const qreal way = reach + overshoot;
    if (way > AtRest)
        plan.append({from, peak, 3, qBound(100, int(3000 * way / speed), LongestGlideMs)});
    plan.m_target = bounds.clamped(peak);
    if (length(plan.m_target - peak) > AtRest)
        plan.append({peak, plan.m_target, 0, BounceBackMs});
    return plan;
}

Plan Plan::pageTurn(const Bounds &bounds, QPointF from, QPointF to)
{
    Plan plan;
    plan.m_target = to;
    const QPointF way = to - from;
    if (length(way) > AtRest)
        plan.append({from, to, 2, pageSettleMs(bounds, way)});
    return plan;
}

int Plan::durationMs() const
{
    int duration = 0;
    for (int i = 0; i < m_count; ++i)
        duration += m_segments[std::size_t(i)].durationMs;
    return duration;
}

QPointF Plan::restOffset() const
{
    return m_count > 0 ? m_segments[std::size_t(m_count - 1)].to : m_target;
}

QPointF Plan::offsetAt(qreal elapsedMs) const
{
    if (m_count == 0)
        return m_target;
    int index = 0;
    while (index + 1 < m_count && elapsedMs >= m_segments[std::size_t(index)].durationMs) {
        elapsedMs -= m_segments[std::size_t(index)].durationMs;
        ++index;
    }
    const Segment &segment = m_segments[std::size_t(index)];
    const qreal s = qBound(qreal(0), elapsedMs / segment.durationMs, qreal(1));
    return segment.from + (segment.to - segment.from) * eased(s, segment.startSpeed);
}

} // namespace OTScrollMotion

/*!
    \variable OTScrollMotion::PageFlickVelocity

    Lift speeds (points per second) at or below this are no flick: the content lands on the
    nearest page.
*/

/*!
    \variable OTScrollMotion::MaximumVelocity

    Lift speeds are held to this, either way (points per second).
*/

/*!
    \variable OTScrollMotion::VelocityWindowMs

    Only the finger's movements in this many milliseconds before the lift count for its speed.
*/

/*!
    \variable OTScrollMotion::AnimatedScrollMs

    How long an animated scroll asked for in code takes, in milliseconds.
*/

/*!
    \variable OTScrollMotion::ShortestPageSettleMs

    The shortest time a paging view takes to settle on its page, in milliseconds.
*/

/*!
    \variable OTScrollMotion::LongestPageSettleMs

    The longest time a paging view takes to settle on its page, in milliseconds.
*/

/*!
    \variable OTScrollMotion::BounceBackMs

    How long content let go past an end takes to spring back, in milliseconds.
*/

/*!
    \variable OTScrollMotion::LongestGlideMs

    The longest glide, in milliseconds.
*/

/*!
    \variable OTScrollMotion::Friction

    The glide's constant deceleration without paging, in points per second squared.
*/

/*!
    \variable OTScrollMotion::Sample::timestamp

    The event's timestamp, in milliseconds.
*/

/*!
    \variable OTScrollMotion::Sample::position

    The finger's position.
*/

/*!
    \variable OTScrollMotion::Bounds::viewport

    The view's size.
*/

/*!
    \variable OTScrollMotion::Bounds::maximum

    The largest offset on each axis; 0 when the content fits.
*/

/*!
    \variable OTScrollMotion::Bounds::vertical

    Whether the content scrolls vertically; when \c false the vertical offset is left as it is.
*/

/*!
    \variable OTScrollMotion::Bounds::bounces

    Whether the content may go past an end, held back by the rubber band.
*/

/*!
    \fn QPointF OTScrollMotion::Bounds::clamped(QPointF offset) const

    Returns the offset nearest to \a offset that shows nothing past an end.
*/

/*!
    \fn QPointF OTScrollMotion::Bounds::bounded(QPointF raw) const

    Returns the content offset for a finger that would have moved it to \a raw: past an end the
    rubber band holds it back (or, without bounces, it stops at the end).
*/

/*!
    \fn QPointF OTScrollMotion::Bounds::unbounded(QPointF offset) const

    Returns the finger offset that shows \a offset: the inverse of bounded() with bounces.
*/

/*!
    \variable OTScrollMotion::Segment::from

    Where the stretch starts.
*/

/*!
    \variable OTScrollMotion::Segment::to

    Where the stretch comes to rest.
*/

/*!
    \variable OTScrollMotion::Segment::startSpeed

    The slope the stretch leaves its start with, relative to its average speed.
*/

/*!
    \variable OTScrollMotion::Segment::durationMs

    How long the stretch takes, in milliseconds (at least 1).
*/

/*!
    \fn OTScrollMotion::Plan::Plan()

    Constructs an empty plan.
*/

/*!
    \fn OTScrollMotion::Plan OTScrollMotion::Plan::animation(QPointF from, QPointF to)

    Returns an animated scroll from \a from to \a to, asked for in code.
*/

/*!
    \fn OTScrollMotion::Plan OTScrollMotion::Plan::afterRelease(const Bounds &bounds, bool paging, QPointF from, QPointF dragStart, QPointF velocity)

    Returns what follows a lift at \a from in \a bounds with the content moving at \a velocity
    (points per second, see releaseVelocity()).

    With \a paging the view settles on pageTarget() of each axis, counted from the drag's start
    at \a dragStart; otherwise content let go past an end springs back, and content let go moving
    glides on at constant Friction, running a little past an end and back when the view bounces.
    The plan is empty when the content stays where it is.
*/

/*!
    \fn OTScrollMotion::Plan OTScrollMotion::Plan::pageTurn(const Bounds &bounds, QPointF from, QPointF to)

    Returns a turn to the page at \a to in \a bounds asked for without a finger (a key, a wheel):
    from \a from, which may lie between pages, eased out over the time a paging view takes to
    settle that far. The plan is empty when the content is there already.
*/

/*!
    \fn bool OTScrollMotion::Plan::isEmpty() const

    Returns \c true when the plan is no motion.
*/

/*!
    \fn int OTScrollMotion::Plan::segmentCount() const

    Returns the number of segments: 0, 1 or 2.
*/

/*!
    \fn const OTScrollMotion::Segment &OTScrollMotion::Plan::segment(int index) const

    Returns the segment at \a index.
*/

/*!
    \fn int OTScrollMotion::Plan::durationMs() const

    Returns the whole motion's length, in milliseconds.
*/

/*!
    \fn QPointF OTScrollMotion::Plan::target() const

    Returns where the content is to land, as the lift reports it (for an empty plan: where it
    is).
*/

/*!
    \fn QPointF OTScrollMotion::Plan::restOffset() const

    Returns where the motion leaves the content: the end of its last segment (for an empty plan,
    target()). It is within a rounding error of target().
*/

/*!
    \fn QPointF OTScrollMotion::Plan::offsetAt(qreal elapsedMs) const

    Returns the offset \a elapsedMs into the motion; from durationMs() on, restOffset() up to
    rounding.
*/
