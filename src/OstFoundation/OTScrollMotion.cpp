#include "OTScrollMotion.h"

#include <QtGlobal>

#include <cmath>

namespace OTScrollMotion {

namespace {

// Page positions within this of a boundary count as on it.
constexpr qreal OnABoundary = 1e-6;

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

} // namespace OTScrollMotion
