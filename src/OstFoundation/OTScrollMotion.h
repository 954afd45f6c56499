#pragma once

#include "OstFoundationGlobal.h"

#include <QPointF>
#include <QSizeF>

#include <array>
#include <span>

// The scroll view's motion, apart from any pointer, item or timer: how fast the content was
// moving when the finger left it, where it lands (a page, the end of a glide, back inside after
// a pull past an end), the eased path it takes there, and the rubber band that resists a pull
// past an end.
// The reference (scripts/docs) documents it in full.
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

// The content's velocity at the lift, in points per second in the direction of a growing offset
// (the content moves against the finger).
OSTFOUNDATION_EXPORT QPointF releaseVelocity(std::span<const Sample> samples, bool vertical,
                                             ulong windowMs = VelocityWindowMs);

// The offset, along one axis, that a lift at `offset` lands on in a paging view whose pages are
// `extent` long and whose offset runs from 0 to `maximum` (the last page may be short); the
// drag began at `startOffset`.
OSTFOUNDATION_EXPORT qreal pageTarget(qreal offset, qreal startOffset, qreal velocity, qreal maximum, qreal extent);

// The page nearest to `offset` along one axis.
OSTFOUNDATION_EXPORT qreal nearestPage(qreal offset, qreal maximum, qreal extent);

// Rubber band: how far the content goes past an end for a finger `distance` past it, in a view
// `extent` long. It follows the finger at a little over half its pace at first, ever more
// slowly after, and never reaches a whole view. Zero for no distance.
OSTFOUNDATION_EXPORT qreal rubberBand(qreal distance, qreal extent);
// The finger distance that gives `overshoot` (the inverse of rubberBand(), for overshoots
// under a view).
OSTFOUNDATION_EXPORT qreal rubberBandInverse(qreal overshoot, qreal extent);

// A curve from 0 (s = 0) to 1 (s = 1) that comes to rest at the end and leaves the start with
// slope `startSpeed`: 2 is a quadratic ease-out, 3 a cubic one, 0 eases in and out.
// Monotonic for every slope in [0, 3].
OSTFOUNDATION_EXPORT qreal eased(qreal s, qreal startSpeed);

// The view a motion happens in: its size, how far its content scrolls on each axis, whether
// it scrolls vertically at all, and whether it lets the content past an end.
struct OSTFOUNDATION_EXPORT Bounds
{
    QSizeF viewport;
    QPointF maximum;        // the largest offset on each axis; 0 when the content fits
    bool vertical = false;  // false: the vertical offset is left as it is
    bool bounces = true;

    // The offset nearest to `offset` that shows nothing past an end.
    QPointF clamped(QPointF offset) const;
    // The content offset for a finger that would have moved it to `raw`: past an end the
    // rubber band holds it back (or, without bounces, it stops at the end).
    QPointF bounded(QPointF raw) const;
    // The inverse of bounded() with bounces: the finger offset that shows `offset`.
    QPointF unbounded(QPointF offset) const;
};

// An animated scroll to an offset asked for in code takes this long.
inline constexpr int AnimatedScrollMs = 300;
// A paging view settles on its page within these.
inline constexpr int ShortestPageSettleMs = 200;
inline constexpr int LongestPageSettleMs = 450;
// Content let go past an end springs back in this.
inline constexpr int BounceBackMs = 400;
// No glide lasts longer.
inline constexpr int LongestGlideMs = 2500;
// The glide's constant deceleration without paging, in points per second squared.
inline constexpr qreal Friction = 2000;

// One eased stretch of a motion: it leaves `from` at `startSpeed` times the average speed
// (see eased()) and comes to rest on `to` after `durationMs` (at least 1).
struct Segment
{
    QPointF from;
    QPointF to;
    qreal startSpeed = 3;
    int durationMs = 0;
};

// A planned motion of the content: at most two eased segments back to back (a glide past an
// end, then the spring back). An empty plan is no motion.
class OSTFOUNDATION_EXPORT Plan
{
public:
    Plan() = default;

    // An animated scroll from `from` to `to`, asked for in code.
    static Plan animation(QPointF from, QPointF to);
    // What follows a lift at `from` with the content moving at `velocity` (points per second,
    // see releaseVelocity()). A paging view settles on pageTarget() of each axis, counted from
    // the drag's start at `dragStart`; otherwise content let go past an end springs back, and
    // content let go moving glides on at constant Friction, running a little past an end
    // and back when the view bounces. Empty when the content stays where it is.
    static Plan afterRelease(const Bounds &bounds, bool paging, QPointF from, QPointF dragStart, QPointF velocity);
    // A turn to the page at `to` asked for without a finger (a key, a wheel): from `from`, which
    // may lie between pages, eased out over the time a paging view takes to settle that far.
    // Empty when the content is there already.
    static Plan pageTurn(const Bounds &bounds, QPointF from, QPointF to);

    bool isEmpty() const { return m_count == 0; }
    int segmentCount() const { return m_count; }
    const Segment &segment(int index) const { return m_segments[std::size_t(index)]; }
    // The whole motion's length.
    int durationMs() const;

    // Where the content is to land, as the lift reports it (for an empty plan: where it is).
    QPointF target() const { return m_target; }
    // Where the motion leaves the content: the end of its last segment (for an empty plan,
    // target()). Within a rounding error of target().
    QPointF restOffset() const;
    // The offset `elapsedMs` into the motion, on the last segment's curve from durationMs()
    // on (so there, restOffset() up to rounding).
    QPointF offsetAt(qreal elapsedMs) const;

private:
    void append(const Segment &segment);
    // The three ways a lift goes on (see afterRelease): a paging view settles on a page; a
    // view let go past an end goes back to it; content let go moving glides, and a glide that
    // meets an end stops there (or, bouncing, runs past it a little and comes back).
    static Plan settleOnPage(const Bounds &bounds, QPointF from, QPointF dragStart, QPointF velocity);
    static Plan backInside(QPointF from, QPointF inside);
    static Plan glide(const Bounds &bounds, QPointF from, QPointF velocity);
    static Plan glideToAnEnd(const Bounds &bounds, QPointF from, QPointF direction, qreal speed, qreal glide);

    std::array<Segment, 2> m_segments;
    int m_count = 0;
    QPointF m_target;
};

} // namespace OTScrollMotion
