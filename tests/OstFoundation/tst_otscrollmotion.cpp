#include <OTScrollMotion.h>

#include <QList>
#include <QTest>

#include <cmath>
#include <span>

// The scroll view's motion planner on its own: no window, no events, no timer. The view's
// behaviour under real gestures is in tst_otscrollview.

namespace {

constexpr qreal PageWidth = 375;
constexpr qreal PageHeight = 667;

using OTScrollMotion::Bounds;
using OTScrollMotion::Plan;

// Five horizontal pages of a phone-sized view.
Bounds pages(bool bounces = true)
{
    return {{PageWidth, PageHeight}, {4 * PageWidth, 0}, false, bounces};
}

// A tall list in a phone-sized view.
Bounds list(bool bounces = true)
{
    return {{PageWidth, PageHeight}, {0, 3000}, true, bounces};
}

bool isFinite(QPointF p)
{
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

bool near(QPointF a, QPointF b, qreal tolerance = 1e-6)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y()) <= tolerance;
}

// The content's speed `atMs` into the plan, in points per second, measured over a short step.
QPointF speedAt(const Plan &plan, qreal atMs)
{
    const qreal step = 0.01;
    return (plan.offsetAt(atMs + step) - plan.offsetAt(atMs)) / (step / 1000);
}

// Every frame of the plan at 1 ms steps, with no jump larger than `largestStep` between
// neighbours and nothing that is not a number.
bool runsSmoothly(const Plan &plan, qreal largestStep)
{
    QPointF previous = plan.offsetAt(0);
    for (int t = 1; t <= plan.durationMs(); ++t) {
        const QPointF now = plan.offsetAt(t);
        if (!isFinite(now) || std::hypot(now.x() - previous.x(), now.y() - previous.y()) > largestStep)
            return false;
        previous = now;
    }
    return true;
}

} // namespace

class TestOTScrollMotion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // --- the decisions at the lift ----------------------------------------------------------

    void pageTargetFollowsThePhonesRule_data()
    {
        QTest::addColumn<qreal>("offset");
        QTest::addColumn<qreal>("startOffset");
        QTest::addColumn<qreal>("velocity");
        QTest::addColumn<qreal>("maximum");
        QTest::addColumn<qreal>("target");
        const qreal last = 4 * PageWidth;
        QTest::newRow("slow, short of half: back") << 1400.0 << last << -200.0 << last << last;
        QTest::newRow("slow, past half: on") << 1300.0 << last << -200.0 << last << 3 * PageWidth;
        QTest::newRow("at the threshold: no flick") << 1400.0 << last << -250.0 << last << last;
        QTest::newRow("flick on, short of half") << 1400.0 << last << -260.0 << last << 3 * PageWidth;
        QTest::newRow("flick back after 300 pt") << 1240.0 << last << 1200.0 << last << last;
        QTest::newRow("flick back from a middle page") << 490.0 << 2 * PageWidth << 1200.0 << last << 2 * PageWidth;
        QTest::newRow("flick back the other way") << 1010.0 << 2 * PageWidth << -1200.0 << last << 2 * PageWidth;
        QTest::newRow("long flick: one page at most") << 300.0 << 2 * PageWidth << -8000.0 << last << PageWidth;
        QTest::newRow("long slow drag: one page at most") << 60.0 << 2 * PageWidth << 0.0 << last << PageWidth;
        QTest::newRow("flick exactly on a page stays") << 2 * PageWidth << 2 * PageWidth << -900.0 << last << 2 * PageWidth;
        QTest::newRow("rounding error on a page") << 2 * PageWidth + 1e-9 << 2 * PageWidth << 900.0 << last << 2 * PageWidth;
        QTest::newRow("flick past the first page") << -50.0 << 0.0 << -900.0 << last << 0.0;
        QTest::newRow("flick past the last page") << last + 50 << last << 900.0 << last << last;
        QTest::newRow("drag begun between pages") << 1100.0 << 1250.0 << -900.0 << last << 2 * PageWidth;
        QTest::newRow("short last page") << 1350.0 << 3 * PageWidth << 900.0 << 1400.0 << 1400.0;
        QTest::newRow("no pages") << 100.0 << 0.0 << 900.0 << 0.0 << 0.0;
    }
    void pageTargetFollowsThePhonesRule()
    {
        QFETCH(qreal, offset);
        QFETCH(qreal, startOffset);
        QFETCH(qreal, velocity);
        QFETCH(qreal, maximum);
        QFETCH(qreal, target);
        QCOMPARE(OTScrollMotion::pageTarget(offset, startOffset, velocity, maximum, PageWidth), target);
        // No extent: held inside the content.
        QCOMPARE(OTScrollMotion::pageTarget(offset, startOffset, velocity, maximum, 0), qBound(0.0, offset, maximum));
    }

    void releaseVelocityFollowsTheLastMovement()
    {
        using OTScrollMotion::Sample;
        const auto velocity = [](QList<Sample> samples, bool vertical = false) {
            return OTScrollMotion::releaseVelocity(std::span<const Sample>(samples.cbegin(), samples.cend()), vertical);
        };
        QCOMPARE(velocity({}), QPointF());
        QCOMPARE(velocity({{10, {100, 0}}}), QPointF());
        // A steady drag to the left: the content moves the other way, at the finger's speed.
        QCOMPARE(velocity({{0, {100, 0}}, {16, {90, 0}}, {32, {80, 0}}, {48, {70, 0}}}), QPointF(625, 0));
        // Only the last 100 ms count.
        QCOMPARE(velocity({{0, {500, 0}}, {150, {100, 0}}, {166, {90, 0}}, {182, {80, 0}}}), QPointF(625, 0));
        // A flick back at the end counts from where the finger turned.
        QCOMPARE(velocity({{0, {100, 0}}, {16, {80, 0}}, {32, {60, 0}}, {48, {40, 0}}, {56, {60, 0}}, {64, {80, 0}}}),
                 QPointF(-2500, 0));
        // Rested before lifting: nothing.
        QCOMPARE(velocity({{0, {100, 0}}, {16, {80, 0}}, {48, {70, 0}}, {200, {70, 0}}}), QPointF());
        // Rested, then lifted in the same place at the same moment as the last move.
        QCOMPARE(velocity({{0, {100, 0}}, {20, {80, 0}}, {20, {80, 0}}}), QPointF(1000, 0));
        // Up and down only when the view scrolls that way; each axis turns on its own.
        const QList<Sample> slanted{{0, {100, 100}}, {20, {90, 80}}, {40, {80, 100}}};
        QCOMPARE(velocity(slanted), QPointF(500, 0));
        QCOMPARE(velocity(slanted, true), QPointF(500, -1000));
        // Held to the limit; clocks that run backwards or stand still give no speed.
        QCOMPARE(velocity({{0, {1000, 0}}, {1, {0, 0}}}), QPointF(OTScrollMotion::MaximumVelocity, 0));
        QCOMPARE(velocity({{0, {1000, 0}}, {1, {0, 0}}}, true).y(), 0.0);
        QCOMPARE(velocity({{50, {100, 0}}, {20, {0, 0}}}), QPointF());
        QCOMPARE(velocity({{20, {100, 0}}, {20, {0, 0}}}), QPointF());
    }

    // --- the rubber band and the easing curve ----------------------------------------------

    void rubberBandResistsAndNeverReachesAView()
    {
        using OTScrollMotion::rubberBand;
        using OTScrollMotion::rubberBandInverse;
        QCOMPARE(rubberBand(0, PageWidth), 0.0);
        QCOMPARE(rubberBand(-20, PageWidth), 0.0);
        QCOMPARE(rubberBand(100, 0), 0.0);
        QCOMPARE(rubberBand(qQNaN(), PageWidth), 0.0);
        QCOMPARE(rubberBandInverse(qQNaN(), PageWidth), 0.0);
        QCOMPARE(rubberBandInverse(10, 0), 0.0);
        qreal previous = 0;
        for (qreal distance : {1.0, 10.0, 50.0, 200.0, 1000.0, 1e5, 1e9}) {
            const qreal overshoot = rubberBand(distance, PageWidth);
            QVERIFY2(overshoot > previous, qPrintable(QString::number(distance)));   // still follows
            QVERIFY(overshoot < distance);                                            // but holds back
            QVERIFY(overshoot < PageWidth);                                           // never a whole view
            if (overshoot < 0.99 * PageWidth)
                QVERIFY(qAbs(rubberBandInverse(overshoot, PageWidth) - distance) < 1e-6 * distance);
            previous = overshoot;
        }
        // At first a little over half the finger's way; halfway down a view, much less.
        QVERIFY(rubberBand(1, PageWidth) > 0.5 && rubberBand(1, PageWidth) < 0.6);
        QVERIFY(rubberBand(PageWidth, PageWidth) < 0.4 * PageWidth);
        // An overshoot of a whole view or more asks for a long but finite pull.
        QVERIFY(std::isfinite(rubberBandInverse(2 * PageWidth, PageWidth)));
    }

    void easedCurveLeavesAtItsSpeedAndRests()
    {
        using OTScrollMotion::eased;
        for (qreal slope : {0.0, 1.0, 2.0, 2.5, 3.0}) {
            QCOMPARE(eased(0, slope), 0.0);
            QCOMPARE(eased(1, slope), 1.0);
            const qreal h = 1e-6;
            QVERIFY(qAbs(eased(h, slope) / h - slope) < 1e-4);              // leaves at `slope`
            QVERIFY(qAbs((1 - eased(1 - h, slope)) / h) < 1e-4);            // comes to rest
            qreal previous = 0;
            for (int i = 1; i <= 1000; ++i) {
                const qreal v = eased(i / 1000.0, slope);
                QVERIFY2(v >= previous, qPrintable(QStringLiteral("slope %1 at %2").arg(slope).arg(i)));
                previous = v;
            }
        }
    }

    void boundsHoldTheContentPastItsEnds()
    {
        const Bounds b = list();
        // Inside, the finger's offset is the content's.
        QCOMPARE(b.bounded({0, 1200}), QPointF(0, 1200));
        QCOMPARE(b.unbounded({0, 1200}), QPointF(0, 1200));
        // Past either end the band holds it back, and unbounded() finds the finger again.
        for (const QPointF raw : {QPointF(0, -300), QPointF(0, 3400), QPointF(-40, 10), QPointF(60, 3000)}) {
            const QPointF shown = b.bounded(raw);
            QVERIFY(near(b.unbounded(shown), raw, 1e-6));
            QVERIFY(std::hypot(shown.x(), shown.y() - b.clamped(raw).y()) <= std::hypot(raw.x(), raw.y() - b.clamped(raw).y()));
        }
        QVERIFY(b.bounded({0, -300}).y() < 0 && b.bounded({0, -300}).y() > -300);
        QVERIFY(b.bounded({0, 3300}).y() > 3000 && b.bounded({0, 3300}).y() < 3300);
        // Without bounces it stops at the ends.
        QCOMPARE(list(false).bounded({-50, -300}), QPointF(0, 0));
        QCOMPARE(list(false).bounded({0, 3300}), QPointF(0, 3000));
        // A view that does not scroll vertically leaves that offset alone.
        QCOMPARE(pages().bounded({100, -80}), QPointF(100, -80));
        QCOMPARE(pages().clamped({-10, -80}), QPointF(0, -80));
        QCOMPARE(pages().unbounded({100, -80}), QPointF(100, -80));
    }

    // --- what follows the lift -------------------------------------------------------------

    void anAnimatedScrollIsOneCubicEaseOut()
    {
        const Plan plan = Plan::animation({0, 100}, {0, 400});
        QCOMPARE(plan.segmentCount(), 1);
        QCOMPARE(plan.durationMs(), OTScrollMotion::AnimatedScrollMs);
        QCOMPARE(plan.target(), QPointF(0, 400));
        QCOMPARE(plan.restOffset(), QPointF(0, 400));
        QCOMPARE(plan.offsetAt(0), QPointF(0, 100));
        QVERIFY(near(plan.offsetAt(plan.durationMs()), plan.restOffset()));
        QVERIFY(near(plan.offsetAt(10 * plan.durationMs()), plan.restOffset()));
        // Leaves at three times the average speed.
        const qreal average = 300.0 / (plan.durationMs() / 1000.0);
        QVERIFY(qAbs(speedAt(plan, 0).y() - 3 * average) < 0.01 * average);
        QVERIFY(runsSmoothly(plan, 10));
    }

    void aPagingLiftSettlesOnItsPage_data()
    {
        QTest::addColumn<QPointF>("from");
        QTest::addColumn<QPointF>("dragStart");
        QTest::addColumn<QPointF>("velocity");
        QTest::addColumn<QPointF>("target");
        const QPointF last(4 * PageWidth, 0);
        QTest::newRow("slow, short of half: back") << QPointF(1400, 0) << last << QPointF(-200, 0) << last;
        QTest::newRow("flick on") << QPointF(1400, 0) << last << QPointF(-900, 0) << QPointF(3 * PageWidth, 0);
        QTest::newRow("quick flick on") << QPointF(1400, 0) << last << QPointF(-6000, 0) << QPointF(3 * PageWidth, 0);
        QTest::newRow("flick back") << QPointF(1240, 0) << last << QPointF(1200, 0) << last;
        QTest::newRow("past the first page") << QPointF(-50, 0) << QPointF() << QPointF(-900, 0) << QPointF();
        QTest::newRow("moved up and down too") << QPointF(500, -30) << QPointF(PageWidth, 0) << QPointF(900, 300)
                                               << QPointF(2 * PageWidth, -30);
    }
    void aPagingLiftSettlesOnItsPage()
    {
        QFETCH(QPointF, from);
        QFETCH(QPointF, dragStart);
        QFETCH(QPointF, velocity);
        QFETCH(QPointF, target);
        const Plan plan = Plan::afterRelease(pages(), true, from, dragStart, velocity);
        QCOMPARE(plan.target(), target);
        QCOMPARE(plan.segmentCount(), 1);
        QCOMPARE(plan.restOffset(), target);
        QCOMPARE(plan.offsetAt(0), from);
        QVERIFY(near(plan.offsetAt(plan.durationMs()), target));
        QVERIFY(plan.durationMs() >= OTScrollMotion::ShortestPageSettleMs);
        QVERIFY(plan.durationMs() <= OTScrollMotion::LongestPageSettleMs);
        // Straight there, never past the page, and no faster at the start than the curve allows.
        const QPointF way = target - from;
        const qreal distance = std::hypot(way.x(), way.y());
        const qreal average = distance / (plan.durationMs() / 1000.0);
        const QPointF startSpeed = speedAt(plan, 0);
        const qreal along = (startSpeed.x() * way.x() + startSpeed.y() * way.y()) / distance;
        QVERIFY2(along >= 2 * average * 0.99 && along <= 3 * average * 1.01, qPrintable(QString::number(along / average)));
        for (int t = 0; t <= plan.durationMs(); t += 5) {
            const QPointF at = plan.offsetAt(t) - from;
            QVERIFY((at.x() * way.x() + at.y() * way.y()) / distance <= distance + 1e-6);
        }
    }

    // A turn asked for by a key or a wheel: eased out onto the page, as long as a lift that
    // far would take, from a page or from between pages; nothing when already there.
    void aPageTurnWithoutAFingerSettlesLikeALift()
    {
        const QPointF last(4 * PageWidth, 0);
        const QPointF next(3 * PageWidth, 0);
        const Plan whole = Plan::pageTurn(pages(), last, next);
        QCOMPARE(whole.target(), next);
        QCOMPARE(whole.segmentCount(), 1);
        QCOMPARE(whole.offsetAt(0), last);
        QVERIFY(near(whole.offsetAt(whole.durationMs()), next));
        QCOMPARE(whole.durationMs(), OTScrollMotion::ShortestPageSettleMs + 250);
        // From between pages it is shorter, never under the shortest settle.
        const Plan part = Plan::pageTurn(pages(), QPointF(1300, 0), next);
        QVERIFY(part.durationMs() < whole.durationMs());
        QVERIFY(part.durationMs() >= OTScrollMotion::ShortestPageSettleMs);
        // Monotonic, never past the page.
        qreal previous = last.x();
        for (int t = 0; t <= whole.durationMs(); t += 5) {
            const qreal x = whole.offsetAt(t).x();
            QVERIFY(x <= previous + 1e-9);
            QVERIFY(x >= next.x() - 1e-6);
            previous = x;
        }
        QVERIFY(Plan::pageTurn(pages(), next, next).isEmpty());
        QCOMPARE(Plan::pageTurn(pages(), next, next).target(), next);
    }

    void aFlickMatchedByTheCurveLeavesAtTheFingersSpeed()
    {
        // A turn of one page in about 400 ms at 2.5 times the average: the finger's speed.
        const Plan slow = Plan::afterRelease(pages(), true, {1300, 0}, {4 * PageWidth, 0}, {-260, 0});
        const Plan quick = Plan::afterRelease(pages(), true, {1300, 0}, {4 * PageWidth, 0}, {-1500, 0});
        QCOMPARE(slow.target(), quick.target());
        // The quicker finger leaves quicker (up to the cubic ease-out's limit).
        QVERIFY(qAbs(speedAt(quick, 0).x()) > qAbs(speedAt(slow, 0).x()));
        const qreal average = qAbs(quick.target().x() - 1300) / (quick.durationMs() / 1000.0);
        QVERIFY(qAbs(speedAt(quick, 0).x()) <= 3 * average * 1.01);
    }

    void aLiftOnItsRestingPlaceDoesNotMove()
    {
        const Plan onAPage = Plan::afterRelease(pages(), true, {2 * PageWidth, 0}, {2 * PageWidth, 0}, {});
        QVERIFY(onAPage.isEmpty());
        QCOMPARE(onAPage.target(), QPointF(2 * PageWidth, 0));
        QCOMPARE(onAPage.restOffset(), QPointF(2 * PageWidth, 0));
        QCOMPARE(onAPage.offsetAt(100), QPointF(2 * PageWidth, 0));
        QCOMPARE(onAPage.durationMs(), 0);
        // Without paging: at rest, or creeping at no more than a point a second.
        QVERIFY(Plan::afterRelease(list(), false, {0, 500}, {0, 400}, {}).isEmpty());
        QVERIFY(Plan::afterRelease(list(), false, {0, 500}, {0, 400}, {0, 0.9}).isEmpty());
        // Nonsense speeds move nothing.
        const Plan nan = Plan::afterRelease(list(), false, {0, 500}, {0, 400}, {qQNaN(), qQNaN()});
        QVERIFY(nan.isEmpty());
        QCOMPARE(nan.target(), QPointF(0, 500));
    }

    void letGoPastAnEndSpringsBack()
    {
        // Whatever the finger's speed, let go past an end it comes straight back.
        for (const QPointF velocity : {QPointF(), QPointF(0, -3000), QPointF(0, 3000)}) {
            const Plan plan = Plan::afterRelease(list(), false, {0, -120}, {0, 0}, velocity);
            QCOMPARE(plan.segmentCount(), 1);
            QCOMPARE(plan.target(), QPointF(0, 0));
            QCOMPARE(plan.durationMs(), OTScrollMotion::BounceBackMs);
            QCOMPARE(plan.segment(0).startSpeed, 2.0);
            for (int t = 0; t <= plan.durationMs(); t += 10)
                QVERIFY(plan.offsetAt(t).y() <= 0);
        }
        const Plan bottom = Plan::afterRelease(list(), false, {0, 3080}, {0, 3000}, {0, 500});
        QCOMPARE(bottom.target(), QPointF(0, 3000));
    }

    void aGlideSlowsAtConstantFriction()
    {
        // 1000 pt/s at 2000 pt/s²: 250 pt in half a second, leaving at the finger's speed.
        const Plan plan = Plan::afterRelease(list(), false, {0, 1000}, {0, 900}, {0, 1000});
        QCOMPARE(plan.segmentCount(), 1);
        QCOMPARE(plan.target(), QPointF(0, 1250));
        QCOMPARE(plan.durationMs(), 500);
        QVERIFY(qAbs(speedAt(plan, 0).y() - 1000) < 1);
        // Constant deceleration: the speed falls by Friction per second all the way.
        QVERIFY(qAbs(speedAt(plan, 250).y() - 500) < 1);
        QVERIFY(qAbs(speedAt(plan, 499.9).y()) < 1);
        QVERIFY(runsSmoothly(plan, 2));
        // A diagonal glide keeps its direction.
        const Bounds both{{PageWidth, PageHeight}, {5000, 5000}, true, true};
        const Plan diagonal = Plan::afterRelease(both, false, {2000, 2000}, {1900, 1900}, {600, -800});
        const QPointF way = diagonal.target() - QPointF(2000, 2000);
        QVERIFY(qAbs(way.x() / way.y() - 600.0 / -800.0) < 1e-9);
        QVERIFY(qAbs(std::hypot(way.x(), way.y()) - 1000.0 * 1000 / (2 * OTScrollMotion::Friction)) < 1e-9);
    }

    void aVeryQuickGlideStopsInTime()
    {
        const Bounds far{{PageWidth, PageHeight}, {0, 1e7}, true, true};
        const Plan plan = Plan::afterRelease(far, false, {0, 10}, {0, 0}, {0, OTScrollMotion::MaximumVelocity});
        QCOMPARE(plan.durationMs(), OTScrollMotion::LongestGlideMs);
        QVERIFY(near(plan.offsetAt(plan.durationMs()), plan.target()));
    }

    void aGlideIntoAnEndRunsPastAndSpringsBack()
    {
        // 2000 pt/s would glide 1000 pt, but the end is 100 pt away.
        const Plan plan = Plan::afterRelease(list(), false, {0, 2900}, {0, 2800}, {0, 2000});
        QCOMPARE(plan.segmentCount(), 2);
        QCOMPARE(plan.target(), QPointF(0, 3000));
        QCOMPARE(plan.restOffset(), QPointF(0, 3000));
        const QPointF peak = plan.segment(0).to;
        QVERIFY(peak.y() > 3000);
        QVERIFY(peak.y() < 3000 + 0.3 * PageHeight);   // a little of what was left
        QCOMPARE(plan.segment(1).from, peak);
        QCOMPARE(plan.segment(1).durationMs, OTScrollMotion::BounceBackMs);
        // Out, a turn at the peak, and back; never past the peak.
        qreal highest = 0;
        for (int t = 0; t <= plan.durationMs(); ++t)
            highest = qMax(highest, plan.offsetAt(t).y());
        QVERIFY(qAbs(highest - peak.y()) < 1e-6);
        QVERIFY(near(plan.offsetAt(plan.durationMs()), plan.target()));
        QVERIFY(runsSmoothly(plan, 20));
        // Towards the top too.
        const Plan top = Plan::afterRelease(list(), false, {0, 50}, {0, 100}, {0, -2000});
        QCOMPARE(top.target(), QPointF(0, 0));
        QVERIFY(top.segment(0).to.y() < 0);
    }

    void withoutBouncesAGlideStopsAtTheEnd()
    {
        const Plan plan = Plan::afterRelease(list(false), false, {0, 2900}, {0, 2800}, {0, 2000});
        QCOMPARE(plan.segmentCount(), 1);
        QCOMPARE(plan.target(), QPointF(0, 3000));
        for (int t = 0; t <= plan.durationMs(); ++t)
            QVERIFY(plan.offsetAt(t).y() <= 3000 + 1e-9);
        // Already at the end and moving on: no motion at all.
        const Plan atTheEnd = Plan::afterRelease(list(false), false, {0, 3000}, {0, 2900}, {0, 2000});
        QVERIFY(atTheEnd.isEmpty());
        QCOMPARE(atTheEnd.target(), QPointF(0, 3000));
    }

    void degenerateViewsPlanNothingStrange()
    {
        // No size, no content: every plan stays finite and inside.
        const Bounds empty{{0, 0}, {0, 0}, false, true};
        for (bool paging : {false, true}) {
            for (const QPointF velocity : {QPointF(), QPointF(5000, 0), QPointF(-5000, 0)}) {
                const Plan plan = Plan::afterRelease(empty, paging, {30, 0}, {0, 0}, velocity);
                QVERIFY(isFinite(plan.target()));
                QCOMPARE(plan.target().x(), 0.0);
                QVERIFY(runsSmoothly(plan, 1e9));
            }
        }
        // A single short page.
        const Bounds one{{PageWidth, PageHeight}, {100, 0}, false, true};
        const Plan plan = Plan::afterRelease(one, true, {80, 0}, {0, 0}, {900, 0});
        QCOMPARE(plan.target(), QPointF(100, 0));
    }
};

QTEST_MAIN(TestOTScrollMotion)
#include "tst_otscrollmotion.moc"
