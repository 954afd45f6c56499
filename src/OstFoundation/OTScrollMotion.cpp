#include "OTScrollMotion.h"

#include <QtGlobal>

#include <cmath>

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

QPointF releaseVelocity(std::span<const Sample> samples, bool vertical, ulong windowMs)
{
    if (samples.size() < 2)
        return {};
    return {velocityOnAxis(samples, 0, windowMs), vertical ? velocityOnAxis(samples, 1, windowMs) : 0};
}

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

qreal nearestPage(qreal offset, qreal maximum, qreal extent)
{
    if (!(extent > 0))
        return qBound(qreal(0), offset, maximum);
    const qreal page = qBound(qreal(0), std::round(offset / extent), lastPage(maximum, extent));
    return qMin(page * extent, maximum);
}

qreal rubberBand(qreal distance, qreal extent)
{
    if (!(distance > 0) || !(extent > 0))
        return 0;
    return (1 - 1 / (distance * RubberBandStiffness / extent + 1)) * extent;
}

qreal rubberBandInverse(qreal overshoot, qreal extent)
{
    if (!(overshoot > 0) || !(extent > 0))
        return 0;
    const qreal ratio = qMin(overshoot / extent, qreal(0.999));
    return extent / RubberBandStiffness * (1 / (1 - ratio) - 1);
}

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
