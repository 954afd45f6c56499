// Paging: drags, flicks, rubber bands, glides and the callbacks they drive.

#include "ScrollViewFixture.h"

class TestOTScrollView : public ScrollViewFixture
{
    Q_OBJECT

private Q_SLOTS:
    void slowTouchDragLandsOnTheNearerPage_data()
    {
        QTest::addColumn<int>("startPage");
        QTest::addColumn<int>("dx");
        QTest::addColumn<int>("landingPage");
        // 6 pt every 40 ms at most: 150 pt/s, well under a flick.
        QTest::newRow("plain page, past half, leftwards") << 0 << -206 << 1;
        QTest::newRow("passing page, past half, leftwards") << 1 << -206 << 2;
        QTest::newRow("passing page, short of half, rightwards") << 1 << 131 << 1;
        QTest::newRow("tap handler page, past half, rightwards") << 2 << 206 << 1;
        QTest::newRow("grabbing page, short of half, leftwards") << 3 << -131 << 3;
        QTest::newRow("grabbing page, past half, leftwards") << 3 << -206 << 4;
    }
    void slowTouchDragLandsOnTheNearerPage()
    {
        QFETCH(int, startPage);
        QFETCH(int, dx);
        QFETCH(int, landingPage);
        start(startPage);
        const QPoint from(dx < 0 ? 320 : 50, 333);
        touchPress(from);
        const QPoint to = touchMoves(from, dx, 6, 40);
        // The content follows the finger 1:1 from where it pressed.
        QTRY_COMPARE(m_scroll->contentOffset(), page(startPage) - QPointF(dx, 0));
        QVERIFY(m_scroll->dragging());
        touchLift(to);

        VERIFY_SWIPE(page(landingPage));
        const Callback &lift = m_log->entries[m_log->indexOf(Callback::WillEnd)];
        QVERIFY2(qAbs(lift.velocity.x()) <= 150, qPrintable(QString::number(lift.velocity.x())));
        QCOMPARE(lift.velocity.y(), 0.0);
        QCOMPARE(m_log->count(Callback::DidEnd), 1);
        QCOMPARE(taps(), 0);
    }

    void quickMouseFlickTurnsExactlyOnePage_data()
    {
        QTest::addColumn<int>("startPage");
        QTest::addColumn<int>("dx");
        QTest::addColumn<int>("landingPage");
        QTest::newRow("plain page, leftwards") << 0 << -90 << 1;
        QTest::newRow("passing page, rightwards") << 1 << 90 << 0;
        QTest::newRow("tap handler page, rightwards") << 2 << 90 << 1;
        QTest::newRow("grabbing page, leftwards") << 3 << -90 << 4;
        QTest::newRow("grabbing page, rightwards") << 3 << 90 << 2;
        QTest::newRow("long flick still one page") << 2 << -300 << 3;
    }
    void quickMouseFlickTurnsExactlyOnePage()
    {
        QFETCH(int, startPage);
        QFETCH(int, dx);
        QFETCH(int, landingPage);
        start(startPage);
        const QPoint from(dx < 0 ? 340 : 20, 333);
        mousePress(from);
        mouseLift(mouseMoves(from, dx, qAbs(dx) / 3, 16));

        VERIFY_SWIPE(page(landingPage));
        const Callback &lift = m_log->entries[m_log->indexOf(Callback::WillEnd)];
        // Fast, and positive when the offset grows (the finger moves left).
        QVERIFY2(lift.velocity.x() * (dx < 0 ? 1 : -1) > 1000, qPrintable(QString::number(lift.velocity.x())));
        QCOMPARE(lift.offset, page(startPage) - QPointF(dx, 0));
        QCOMPARE(m_log->count(Callback::DidEnd), 1);
        if (m_grabbing)
            QCOMPARE(m_grabbing->releases, 0);
        QCOMPARE(taps(), 0);
    }

    void rubberBandsPastEitherEndAndReturns_data()
    {
        QTest::addColumn<int>("startPage");
        QTest::addColumn<int>("dx");
        QTest::newRow("before the first page") << 0 << 240;
        QTest::newRow("after the last page") << PageCount - 1 << -240;
    }
    void rubberBandsPastEitherEndAndReturns()
    {
        QFETCH(int, startPage);
        QFETCH(int, dx);
        start(startPage);
        const QPointF end = page(startPage);
        const int step = (dx > 0 ? 1 : -1) * qMax(12, QGuiApplication::styleHints()->startDragDistance() + 2);
        QPoint at(dx > 0 ? 40 : 335, 333);
        touchPress(at);
        // Past the end the content trails the finger, the more the further it goes.
        QPointF previous = end;
        qreal lastGain = PageWidth;
        for (int travel = step; qAbs(travel) <= qAbs(dx); travel += step) {
            at.rx() += step;
            touchMove(at);
            QTRY_VERIFY(m_scroll->contentOffset() != previous);
            const QPointF offset = m_scroll->contentOffset();
            const qreal overshoot = (end - offset).x() * (dx > 0 ? 1 : -1);
            QVERIFY2(overshoot > 0 && overshoot < qAbs(travel), qPrintable(QString::number(overshoot)));
            const qreal gain = qAbs(offset.x() - previous.x());
            QVERIFY2(gain < lastGain, qPrintable(QStringLiteral("%1 after %2").arg(gain).arg(lastGain)));
            lastGain = gain;
            previous = offset;
        }
        QVERIFY(qAbs(previous.x() - end.x()) < PageWidth / 2);
        touchLift(at);

        VERIFY_SWIPE(end);
    }

    void holdsAtTheEndsWithoutBounces()
    {
        m_scroll->setBounces(false);
        start(0);
        touchPress({40, 333});
        touchLift(touchMoves({40, 333}, 200, 10, 16));
        // Held at the end all along: nothing scrolled, nothing to settle.
        QTest::qWait(100);
        QCOMPARE(m_log->shape(), QStringLiteral("B E"));
        QCOMPARE(m_log->entries.last().target, page(0));
        QCOMPARE(m_scroll->contentOffset(), page(0));

        start(PageCount - 1);
        touchPress({335, 333});
        const QPoint at = touchMoves({335, 333}, -100, 10, 16);
        QTest::qWait(50);
        QCOMPARE(m_scroll->contentOffset(), page(PageCount - 1));
        // Back inside, the content follows the finger from where it pressed.
        touchLift(touchMoves(at, 250, 10, 16));
        VERIFY_SWIPE(page(PageCount - 2));
        QCOMPARE(m_log->entries[m_log->indexOf(Callback::WillEnd)].offset, page(PageCount - 1) - QPointF(150, 0));
    }

    void scrollsVerticallyOnlyWhenTheContentIsTaller()
    {
        start(1);
        // As tall as the view, as in the gallery: up and down is no drag, and a slanted
        // drag moves sideways only.
        touchPress({187, 500});
        touchLift(touchMovesBy({187, 500}, {0, -200}, 20, 16));
        QTest::qWait(50);
        QCOMPARE(m_log->shape(), QString());
        touchPress({300, 500});
        touchLift(touchMovesBy({300, 500}, {-150, -150}, 15, 16));
        VERIFY_SWIPE(page(2));
        for (const Callback &c : std::as_const(m_log->entries)) {
            QCOMPARE(c.offset.y(), 0.0);
            QCOMPARE(c.velocity.y(), 0.0);
        }

        m_scroll->setContentSize({PageCount * PageWidth, 2 * PageHeight});
        start(1);
        touchPress({187, 600});
        touchLift(touchMovesBy({187, 600}, {0, -400}, 40, 16));
        VERIFY_SWIPE(page(1) + QPointF(0, PageHeight));
        QVERIFY(m_log->entries[m_log->indexOf(Callback::WillEnd)].velocity.y() > 250);
    }

    void liftAtRestOnAPageDoesNotDecelerate()
    {
        start(1);
        QSignalSpy decelerating(m_scroll.data(), &OTScrollView::deceleratingChanged);
        const QPoint from(200, 333);
        touchPress(from);
        const QPoint away = touchMoves(from, -100, 10, 16);
        touchMoves(away, 100, 10, 16);
        QTRY_COMPARE(m_scroll->contentOffset(), page(1));
        // Held still: nothing moves within the velocity window before the lift.
        QTest::qWait(150);
        touchLift(from);

        QCOMPARE(m_log->shape(), QStringLiteral("B S+ E"));
        const Callback &lift = m_log->entries.last();
        QCOMPARE(lift.velocity, QPointF(0, 0));
        QCOMPARE(lift.target, page(1));
        QVERIFY(!m_scroll->dragging());
        QVERIFY(!m_scroll->decelerating());
        QTest::qWait(400);
        QCOMPARE(m_log->shape(), QStringLiteral("B S+ E"));
        QCOMPARE(decelerating.count(), 0);
        QCOMPARE(m_scroll->contentOffset(), page(1));
    }

    void setContentOffsetJumpsOrAnimates()
    {
        start(0);
        QSignalSpy decelerating(m_scroll.data(), &OTScrollView::deceleratingChanged);
        QSignalSpy offsetChanged(m_scroll.data(), &OTScrollView::contentOffsetChanged);

        m_scroll->setContentOffset(page(3), true);
        QCOMPARE(m_scroll->contentOffset(), page(0));
        QTRY_COMPARE_WITH_TIMEOUT(m_scroll->contentOffset(), page(3), Settling);
        QTest::qWait(50);
        QCOMPARE(m_log->shape(), QStringLiteral("S+"));
        const QList<QPointF> frames = m_log->scrollsBetween(0, m_log->entries.size());
        QVERIFY2(frames.size() >= 4, qPrintable(QString::number(frames.size())));
        QCOMPARE(frames.last(), page(3));
        qreal previous = 0;
        for (qsizetype i = 0; i + 1 < frames.size(); ++i) {
            QVERIFY(frames[i].x() > previous && frames[i].x() < page(3).x());
            previous = frames[i].x();
        }
        QCOMPARE(offsetChanged.count(), frames.size());
        QCOMPARE(decelerating.count(), 0);

        m_log->entries.clear();
        m_scroll->setContentOffset(page(1));
        QCOMPARE(m_scroll->contentOffset(), page(1));
        QCOMPARE(m_log->shape(), QStringLiteral("S+"));
        QCOMPARE(m_log->entries.size(), 1);
        m_scroll->setContentOffset(page(1));
        m_scroll->setContentOffset(page(1), true);
        QCOMPARE(m_log->entries.size(), 1);

        // Taken as given, past the content included.
        m_scroll->setContentOffset({-40, 10});
        QCOMPARE(m_scroll->contentOffset(), QPointF(-40, 10));
        QCOMPARE(m_scroll->contentItem()->position(), QPointF(40, -10));
        QTest::ignoreMessage(QtWarningMsg, "OTScrollView: ignoring a content offset that is not finite");
        m_scroll->setContentOffset({qQNaN(), 0});
        QCOMPARE(m_scroll->contentOffset(), QPointF(-40, 10));

        // A jump stops an animation on its way.
        m_log->entries.clear();
        m_scroll->setContentOffset(page(4), true);
        QTRY_VERIFY(m_scroll->contentOffset().x() > 0);
        m_scroll->setContentOffset(page(2));
        QTest::qWait(400);
        QCOMPARE(m_scroll->contentOffset(), page(2));
        QCOMPARE(m_log->count(Callback::DidEnd), 0);
    }

    void pressDuringDecelerationStopsTheContent_data()
    {
        QTest::addColumn<int>("pressX");
        QTest::addColumn<bool>("dragOn");
        QTest::newRow("on the passing page, lifted") << 20 << false;
        QTest::newRow("on the tap handler page, lifted") << 370 << false;
        QTest::newRow("dragged on") << 200 << true;
    }
    void pressDuringDecelerationStopsTheContent()
    {
        QFETCH(int, pressX);
        QFETCH(bool, dragOn);
        start(1);
        mouseFlick({340, 333}, -1);
        const QPointF lifted = m_scroll->contentOffset();
        QVERIFY(QTest::qWaitFor([&] { return m_scroll->decelerating() && m_scroll->contentOffset() != lifted; }, Settling));

        const QPoint at(pressX, 333);
        touchPress(at);
        const qsizetype pressed = m_log->entries.size();
        const QPointF held = m_scroll->contentOffset();
        QVERIFY(held.x() > lifted.x() && held.x() < page(2).x());
        QVERIFY(!m_scroll->decelerating());
        QTest::qWait(150);
        QCOMPARE(m_scroll->contentOffset(), held);
        QCOMPARE(m_log->entries.size(), pressed);

        if (dragOn) {
            // A quick drag back: one page back from the page it was stopped on.
            touchLift(touchMoves(at, 150, 10, 16));
            VERIFY_SWIPE(page(int(std::round(held.x() / PageWidth)) - 1), pressed);
            return;
        }
        touchLift(at);
        // Lifted without a drag: the lift names the nearest page, the content goes there and
        // the end of the deceleration is reported there.
        const QPointF nearest = page(int(std::round(held.x() / PageWidth)));
        QVERIFY(QTest::qWaitFor([&] { return m_log->indexOf(Callback::DidEnd, pressed) >= 0; }, Settling));
        QTest::qWait(50);
        QCOMPARE(m_log->shape(pressed), QStringLiteral("E S+ D"));
        const Callback &lift = m_log->entries[m_log->indexOf(Callback::WillEnd, pressed)];
        QCOMPARE(lift.offset, held);
        QCOMPARE(lift.target, nearest);
        QCOMPARE(lift.velocity, QPointF(0, 0));
        QVERIFY(!lift.dragging);
        QCOMPARE(m_scroll->contentOffset(), nearest);
        QCOMPARE(taps(), 0);
    }

    // The glide of a quick flick, stopped at once by a press that lifts where it pressed,
    // by touch or by mouse: the lift says which page the content goes to before it gets
    // there.
    void aStoppedGlideAnnouncesWhereItLands_data()
    {
        QTest::addColumn<bool>("touch");
        QTest::addColumn<int>("dx");
        QTest::addColumn<int>("landingPage");
        QTest::newRow("touch, back to the start") << true << -40 << 1;
        QTest::newRow("mouse, back to the start") << false << -40 << 1;
        QTest::newRow("touch, past half: on to the next page") << true << -240 << 2;
        QTest::newRow("mouse, the other way") << false << 40 << 1;
    }
    void aStoppedGlideAnnouncesWhereItLands()
    {
        QFETCH(bool, touch);
        QFETCH(int, dx);
        QFETCH(int, landingPage);
        start(1);
        const QPoint from(dx < 0 ? 340 : 40, 333);
        const QPoint at(187, 500);
        if (touch) {
            touchPress(from);
            touchLift(touchMoves(from, dx, qAbs(dx) / 2, 4));
        } else {
            mousePress(from);
            mouseLift(mouseMoves(from, dx, qAbs(dx) / 2, 8));
        }
        // The flick is on its way to the next page in its direction ...
        QCOMPARE(m_log->shape(), QStringLiteral("B S+ E"));
        const QPointF flicked = page(1 - (dx > 0 ? 1 : -1));
        QCOMPARE(m_log->entries.last().target, flicked);
        QVERIFY(m_scroll->decelerating());
        const QPointF held = m_scroll->contentOffset();
        const qsizetype pressed = m_log->entries.size();
        // ... and stopped before its first frame.
        if (touch)
            touchPress(at);
        else
            mousePress(at);
        QVERIFY(!m_scroll->decelerating());
        QTest::qWait(100);
        QCOMPARE(m_scroll->contentOffset(), held);
        if (touch)
            touchLift(at);
        else
            mouseLift(at);
        QCOMPARE(m_log->shape(pressed), QStringLiteral("E"));
        QCOMPARE(m_log->entries.last().target, page(landingPage));
        QCOMPARE(m_log->entries.last().offset, held);
        QVERIFY(m_scroll->decelerating());
        QVERIFY(QTest::qWaitFor([&] { return m_log->indexOf(Callback::DidEnd, pressed) >= 0; }, Settling));
        QTest::qWait(50);
        QCOMPARE(m_log->shape(pressed), QStringLiteral("E S+ D"));
        QCOMPARE(m_scroll->contentOffset(), page(landingPage));
        QCOMPARE(m_log->count(Callback::WillBegin), 1);

    }

    // Drag most of a page, then flick back: a phone undoes the turn, whichever way it ran.
    void aFlickBackUndoesTheTurn_data()
    {
        QTest::addColumn<bool>("touch");
        QTest::addColumn<int>("startPage");
        QTest::addColumn<int>("dx");
        QTest::newRow("touch, from the first page") << true << 0 << -300;
        QTest::newRow("mouse, from the first page") << false << 0 << -300;
        QTest::newRow("touch, from a middle page, rightwards") << true << 2 << 300;
        QTest::newRow("mouse, from a middle page, rightwards") << false << 2 << 300;
        QTest::newRow("touch, from the last page") << true << PageCount - 1 << 300;
    }
    void aFlickBackUndoesTheTurn()
    {
        QFETCH(bool, touch);
        QFETCH(int, startPage);
        QFETCH(int, dx);
        start(startPage);
        const QPoint from(dx < 0 ? 340 : 30, 333);
        const int back = dx < 0 ? 40 : -40;
        if (touch) {
            touchPress(from);
            const QPoint turned = touchMoves(from, dx, 10, 16);
            touchLift(touchMoves(turned, back, 20, 5));
        } else {
            mousePress(from);
            const QPoint turned = mouseMoves(from, dx, 10, 16);
            mouseLift(mouseMoves(turned, back, 20, 8));
        }
        VERIFY_SWIPE(page(startPage));
        const Callback &lift = m_log->entries[m_log->indexOf(Callback::WillEnd)];
        QCOMPARE(lift.offset, page(startPage) - QPointF(dx + back, 0));
        // Measured over the flick back only: fast, against the drag.
        QVERIFY2(lift.velocity.x() * (dx < 0 ? -1 : 1) > 250, qPrintable(QString::number(lift.velocity.x())));
    }

    void glidesAndSpringsBackWithoutPaging()
    {
        m_scroll->setPagingEnabled(false);
        start(1);
        mouseFlick({340, 333}, -1);
        QVERIFY(QTest::qWaitFor([&] { return m_log->count(Callback::DidEnd) == 1; }, Settling));
        const Callback lift = m_log->entries[m_log->indexOf(Callback::WillEnd)];
        QVERIFY(lift.target.x() > lift.offset.x() + 100);
        QVERIFY(lift.target.x() < page(PageCount - 1).x());
        VERIFY_SWIPE(lift.target);

        // A glide that runs into the end goes past it and comes back.
        start(PageCount - 1);
        m_scroll->setContentOffset(page(PageCount - 1) - QPointF(100, 0));
        m_log->entries.clear();
        mouseFlick({340, 333}, -1);
        QVERIFY(QTest::qWaitFor([&] { return m_log->count(Callback::DidEnd) == 1; }, Settling));
        QCOMPARE(m_log->shape(), QStringLiteral("B S+ E S+ D"));
        const qsizetype end = m_log->indexOf(Callback::WillEnd);
        QCOMPARE(m_log->entries[end].target, page(PageCount - 1));
        const QList<QPointF> frames = m_log->scrollsBetween(end, m_log->entries.size());
        const auto furthest = std::max_element(frames.cbegin(), frames.cend(),
                                               [](QPointF a, QPointF b) { return a.x() < b.x(); });
        QVERIFY(furthest->x() > page(PageCount - 1).x());
        QCOMPARE(m_scroll->contentOffset(), page(PageCount - 1));

        // Let go past the start: back to it.
        start(0);
        touchPress({40, 333});
        touchLift(touchMoves({40, 333}, 120, 10, 16));
        VERIFY_SWIPE(page(0));
    }
};

QTEST_MAIN(TestOTScrollView)
#include "tst_otscrollview.moc"
