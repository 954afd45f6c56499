#pragma once

#include "OstFoundationGlobal.h"

#include <QPointF>

#include <span>

// The scroll view's decisions at the lift, apart from any pointer or item: how fast the
// content was moving when the finger left it, and which page a paging view lands on.
namespace OTScrollMotion {

// Lift speeds (points per second) at or below this are no flick: the content lands on the
// nearest page.
inline constexpr qreal PageFlickVelocity = 250;
// Lift speeds are held to this, either way.
inline constexpr qreal MaximumVelocity = 8000;
// Only the finger's last movements count for the lift speed.
inline constexpr ulong VelocityWindowMs = 100;

// Where the finger was, and when (event timestamps in milliseconds).
struct Sample
{
    ulong timestamp = 0;
    QPointF position;
};

// The content's velocity at the lift, in points per second in the direction of a growing
// offset (the content moves against the finger). `samples` runs from the oldest to the lift.
// Each axis is measured over the finger's movement within the last `windowMs` and since it
// last turned back on that axis, so a quick flick back at the end of a drag counts as a
// flick back. Zero when the finger rested before lifting; the vertical part is zero unless
// `vertical`.
OSTFOUNDATION_EXPORT QPointF releaseVelocity(std::span<const Sample> samples, bool vertical,
                                             ulong windowMs = VelocityWindowMs);

// The offset, along one axis, that a lift at `offset` lands on in a paging view whose pages
// are `extent` long and whose offset runs from 0 to `maximum` (the last page may be short);
// the drag began at `startOffset`. A flick (|velocity| above PageFlickVelocity) goes to the
// nearest page boundary in the direction of the velocity (the page it is on when it is
// exactly on one), so a flick back cancels a turn; anything slower goes to the nearest page.
// Never more than one page from the page the drag began on.
OSTFOUNDATION_EXPORT qreal pageTarget(qreal offset, qreal startOffset, qreal velocity, qreal maximum, qreal extent);

// The page nearest to `offset` along one axis.
OSTFOUNDATION_EXPORT qreal nearestPage(qreal offset, qreal maximum, qreal extent);

} // namespace OTScrollMotion
