// Paging without a finger: through scrollToPage() and through wheel events as a mouse wheel
// and a trackpad send them.

#include "ScrollViewFixture.h"

#include <QWheelEvent>

class TestOTScrollViewPaging : public ScrollViewFixture
{
    Q_OBJECT

    ulong m_clock = 1000;

    bool atRest() const { return !m_scroll->dragging() && !m_scroll->decelerating() && !m_scroll->animating(); }
    void waitForRest() { QTRY_VERIFY_WITH_TIMEOUT(atRest(), Settling); }
    const Callback *first(Callback::Kind kind) const
    {
        const qsizetype at = m_log->indexOf(kind);
        return at < 0 ? nullptr : &m_log->entries[at];
    }

    // One wheel event at the centre of the view, `afterMs` after the previous one. True when
    // the view took it.
    bool wheel(QPoint angle, QPoint pixels = {}, int afterMs = 10, Qt::ScrollPhase phase = Qt::NoScrollPhase)
    {
        m_clock += ulong(afterMs);
        const QPointF at(PageWidth / 2, PageHeight / 2);
        QWheelEvent event(at, m_view->mapToGlobal(at), pixels, angle, Qt::NoButton, Qt::NoModifier, phase, false);
        event.setTimestamp(m_clock);
        event.setAccepted(false);
        QGuiApplication::sendEvent(m_view.get(), &event);
        return event.isAccepted();
    }

    // A trackpad swipe: `steps` events of `dx` points each, close together.
    void trackpadSwipe(int steps, int dx, bool phases)
    {
        if (phases)
            wheel({}, {}, 300, Qt::ScrollBegin);
        for (int i = 0; i < steps; ++i)
            wheel({0, dx * 3}, {dx, 0}, i == 0 && !phases ? 300 : 8, phases ? Qt::ScrollUpdate : Qt::NoScrollPhase);
        if (phases) {
            wheel({}, {}, 8, Qt::ScrollEnd);
            // The platform's momentum, which goes on in the same direction.
            for (int i = 0; i < 20; ++i)
                wheel({0, dx}, {dx / 2 ? dx / 2 : dx, 0}, 8, Qt::ScrollMomentum);
        }
    }

private Q_SLOTS:
    // --- scrollToPage ---------------------------------------------------------------------

    void aPageTurnGoesAsASwipe()
    {
        start(4);
        QVERIFY(m_scroll->scrollToPage(page(3)));
        QCOMPARE(m_scroll->targetContentOffset(), page(3));
        waitForRest();
        QCOMPARE(m_log->shape(), QStringLiteral("B E S+ D"));
        const Callback *begin = first(Callback::WillBegin);
        QCOMPARE(begin->offset, page(4));
        QVERIFY(begin->dragging);
        const Callback *end = first(Callback::WillEnd);
        QCOMPARE(end->target, page(3));
        QCOMPARE(end->velocity, QPointF());
        QCOMPARE(m_scroll->contentOffset(), page(3));
        // On the way, straight from one page to the next, never past it.
        for (const Callback &entry : std::as_const(m_log->entries)) {
            if (entry.kind == Callback::DidScroll) {
                QVERIFY(!entry.dragging);
                QVERIFY(entry.offset.x() >= page(3).x() - 1e-6 && entry.offset.x() <= page(4).x());
            }
        }
    }

    // A page further away: a jump next to it, then one page turns.
    void aFarPageIsOneTurnAway()
    {
        start(4);
        QVERIFY(m_scroll->scrollToPage(page(0)));
        waitForRest();
        QCOMPARE(m_log->shape(), QStringLiteral("S+ B E S+ D"));
        QCOMPARE(m_log->entries.first().offset, page(1));
        QCOMPARE(first(Callback::WillBegin)->offset, page(1));
        QCOMPARE(first(Callback::WillEnd)->target, page(0));
        QCOMPARE(m_scroll->contentOffset(), page(0));
        // The other way, and past the end: held to the last page.
        m_log->entries.clear();
        QVERIFY(m_scroll->scrollToPage(page(9)));
        waitForRest();
        QCOMPARE(first(Callback::WillBegin)->offset, page(3));
        QCOMPARE(m_scroll->contentOffset(), page(4));
    }

    void aPageTurnIsRefusedWhereItCannotBe()
    {
        start(2);
        // Already there: nothing at all.
        QVERIFY(!m_scroll->scrollToPage(page(2)));
        QVERIFY(!m_scroll->scrollToPage(QPointF(2.3 * PageWidth, 0)));
        QTest::ignoreMessage(QtWarningMsg, "OTScrollView: ignoring a page offset that is not finite");
        QVERIFY(!m_scroll->scrollToPage(QPointF(qInf(), 0)));
        m_scroll->setPagingEnabled(false);
        QVERIFY(!m_scroll->scrollToPage(page(3)));
        m_scroll->setPagingEnabled(true);
        // A finger on the view has the content.
        touchPress(QPoint(180, 300));
        QVERIFY(m_scroll->isPressed());
        QVERIFY(!m_scroll->scrollToPage(page(3)));
        QVERIFY(!wheel({0, -120}));
        touchLift(QPoint(180, 300));
        QVERIFY(m_log->entries.isEmpty());
        QCOMPARE(m_scroll->contentOffset(), page(2));
    }

    // Asked again on the way: the same page lets the turn run; another one takes over from
    // where the content is, and only the last turn ends.
    void aTurnUnderWayCanBeRedirected()
    {
        start(2);
        QVERIFY(m_scroll->scrollToPage(page(3)));
        QVERIFY(m_scroll->scrollToPage(page(3)));
        QCOMPARE(m_log->count(Callback::WillBegin), 1);
        QTRY_VERIFY(m_scroll->contentOffset().x() > page(2).x() + 20);
        QVERIFY(m_scroll->decelerating());
        QVERIFY(m_scroll->scrollToPage(page(4)));
        waitForRest();
        QCOMPARE(m_log->count(Callback::WillBegin), 2);
        QCOMPARE(m_log->count(Callback::DidEnd), 1);
        QCOMPARE(m_scroll->contentOffset(), page(4));
    }

    // --- the wheel ------------------------------------------------------------------------

    void oneNotchTurnsOnePage_data()
    {
        QTest::addColumn<QPoint>("angle");
        QTest::addColumn<int>("landsOn");
        QTest::newRow("down: the next page on the right") << QPoint(0, -120) << 3;
        QTest::newRow("up") << QPoint(0, 120) << 1;
        QTest::newRow("tilted right") << QPoint(-120, 0) << 3;
        QTest::newRow("tilted left") << QPoint(120, 0) << 1;
    }
    void oneNotchTurnsOnePage()
    {
        QFETCH(QPoint, angle);
        QFETCH(int, landsOn);
        start(2);
        QVERIFY(wheel(angle));
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(landsOn));
        QCOMPARE(m_log->shape(), QStringLiteral("B E S+ D"));
    }

    // A wheel with fine steps turns one page per notch's worth, never more; quick notches
    // turn a page each, each from the page the last one is heading for.
    void aFineWheelTurnsOnePagePerNotch()
    {
        start(2);
        for (int i = 0; i < 7; ++i)
            wheel({0, -15});
        QVERIFY(m_log->entries.isEmpty());
        wheel({0, -15});
        QCOMPARE(m_log->count(Callback::WillBegin), 1);
        for (int i = 0; i < 7; ++i)
            wheel({0, -15});
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(3));
        QCOMPARE(m_log->count(Callback::WillBegin), 1);

        // A pause forgets what did not make a notch.
        wheel({0, -15}, {}, 500);
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(3));

        m_log->entries.clear();
        wheel({0, 120}, {}, 500);
        wheel({0, 120});
        wheel({0, 120});
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(0));
        QCOMPARE(m_log->count(Callback::DidEnd), 1);
        // At the end there is nothing to turn to.
        m_log->entries.clear();
        wheel({0, 120}, {}, 500);
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(0));
        QVERIFY(m_log->entries.isEmpty());
    }

    void aTrackpadGestureTurnsOnePage_data()
    {
        QTest::addColumn<bool>("phases");
        QTest::newRow("with scroll phases and momentum") << true;
        QTest::newRow("without phases") << false;
    }
    // Many small moves make one page per gesture, however long the gesture; a short one turns
    // nothing; the next gesture turns the next page.
    void aTrackpadGestureTurnsOnePage()
    {
        QFETCH(bool, phases);
        start(2);
        trackpadSwipe(40, -10, phases);
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(3));
        QCOMPARE(m_log->count(Callback::WillBegin), 1);

        trackpadSwipe(5, -10, phases);
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), phases ? page(4) : page(3));
        if (phases)
            return; // its momentum took it on: with phases every gesture ends with some
        trackpadSwipe(12, -10, phases);
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(4));
        m_log->entries.clear();
        trackpadSwipe(40, 10, phases);
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(3));
        QCOMPARE(m_log->count(Callback::WillBegin), 1);
    }

    void withoutPagingTheWheelIsLeftToOthers()
    {
        start(2);
        m_scroll->setPagingEnabled(false);
        QVERIFY(!wheel({0, -120}));
        QVERIFY(!wheel({0, -30}, {0, -10}));
        QVERIFY(m_log->entries.isEmpty());
        m_scroll->setPagingEnabled(true);
        QVERIFY(wheel({0, -120}, {}, 500));
    }
};

QTEST_MAIN(TestOTScrollViewPaging)
#include "tst_otscrollviewpaging.moc"
