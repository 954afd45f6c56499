#include "TouchScreen.h"
#include <OTScrollView.h>

#include <QGuiApplication>
#include <QPointer>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <memory>

namespace {

constexpr qreal PageWidth = 375;
constexpr qreal PageHeight = 667;
constexpr int PageCount = 5;

QPointF page(int index)
{
    return {index * PageWidth, 0};
}

// The callbacks as the view made them, one letter each: B(egin), S(croll, a run of them
// once), E(nd of drag), D(eceleration ended).
class CallbackLog : public QObject
{
public:
    struct Entry
    {
        char kind;
        QPointF offset;
        bool dragging;
        QPointF velocity;
        QPointF target;
    };

    explicit CallbackLog(OTScrollView *view)
    {
        connect(view, &OTScrollView::scrollViewWillBeginDragging, this, [this](OTScrollView *v) { add('B', v); });
        connect(view, &OTScrollView::scrollViewDidScroll, this, [this](OTScrollView *v) { add('S', v); });
        connect(view, &OTScrollView::scrollViewWillEndDragging, this,
                [this](OTScrollView *v, QPointF velocity, QPointF target) {
                    add('E', v);
                    entries.last().velocity = velocity;
                    entries.last().target = target;
                });
        connect(view, &OTScrollView::scrollViewDidEndDecelerating, this, [this](OTScrollView *v) { add('D', v); });
    }

    QString shape() const
    {
        QString letters;
        for (const Entry &entry : entries) {
            if (entry.kind == 'S' && letters.endsWith(QLatin1Char('S')))
                continue;
            letters += QLatin1Char(entry.kind);
        }
        return letters;
    }

    int count(char kind) const
    {
        return int(std::count_if(entries.cbegin(), entries.cend(), [kind](const Entry &e) { return e.kind == kind; }));
    }

    const Entry *first(char kind) const
    {
        for (const Entry &entry : entries) {
            if (entry.kind == kind)
                return &entry;
        }
        return nullptr;
    }

    QList<Entry> entries;

private:
    void add(char kind, OTScrollView *view) { entries.append({kind, view->contentOffset(), view->dragging(), {}, {}}); }
};

} // namespace

// A paging scroll view five pages wide in a real window, turned without a finger: through
// scrollToPage() and through wheel events as a mouse wheel and a trackpad send them.
class TestOTScrollViewPaging : public QObject
{
    Q_OBJECT

    std::unique_ptr<QQuickView> m_view;
    QPointer<OTScrollView> m_scroll;
    std::unique_ptr<CallbackLog> m_log;
    ulong m_clock = 1000;

    void start(int index)
    {
        m_scroll->setContentOffset(page(index));
        m_log->entries.clear();
    }

    bool atRest() const { return !m_scroll->dragging() && !m_scroll->decelerating() && !m_scroll->animating(); }
    void waitForRest() { QTRY_VERIFY_WITH_TIMEOUT(atRest(), 5000); }

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
    void init()
    {
        m_view = std::make_unique<QQuickView>();
        m_view->setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
        m_view->resize(int(PageWidth), int(PageHeight));
        m_scroll = new OTScrollView(m_view->rootObject());
        m_scroll->setSize(QSizeF(PageWidth, PageHeight));
        m_scroll->setContentSize(QSizeF(PageCount * PageWidth, PageHeight));
        m_scroll->setPagingEnabled(true);
        for (int i = 0; i < PageCount; ++i) {
            auto *item = new QQuickItem;
            item->setPosition(page(i));
            item->setSize(QSizeF(PageWidth, PageHeight));
            m_scroll->addSubview(item);
        }
        m_log = std::make_unique<CallbackLog>(m_scroll);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        start(2);
    }

    void cleanup()
    {
        m_log.reset();
        m_view.reset();
    }

    // --- scrollToPage ---------------------------------------------------------------------

    void aPageTurnGoesAsASwipe()
    {
        start(4);
        QVERIFY(m_scroll->scrollToPage(page(3)));
        QCOMPARE(m_scroll->targetContentOffset(), page(3));
        waitForRest();
        QCOMPARE(m_log->shape(), QStringLiteral("BESD"));
        const CallbackLog::Entry *begin = m_log->first('B');
        QCOMPARE(begin->offset, page(4));
        QVERIFY(begin->dragging);
        const CallbackLog::Entry *end = m_log->first('E');
        QCOMPARE(end->target, page(3));
        QCOMPARE(end->velocity, QPointF());
        QCOMPARE(m_scroll->contentOffset(), page(3));
        // On the way, straight from one page to the next, never past it.
        for (const CallbackLog::Entry &entry : std::as_const(m_log->entries)) {
            if (entry.kind == 'S') {
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
        QCOMPARE(m_log->shape(), QStringLiteral("SBESD"));
        QCOMPARE(m_log->entries.first().offset, page(1));
        QCOMPARE(m_log->first('B')->offset, page(1));
        QCOMPARE(m_log->first('E')->target, page(0));
        QCOMPARE(m_scroll->contentOffset(), page(0));
        // The other way, and past the end: held to the last page.
        m_log->entries.clear();
        QVERIFY(m_scroll->scrollToPage(page(9)));
        waitForRest();
        QCOMPARE(m_log->first('B')->offset, page(3));
        QCOMPARE(m_scroll->contentOffset(), page(4));
    }

    void aPageTurnIsRefusedWhereItCannotBe()
    {
        // Already there: nothing at all.
        QVERIFY(!m_scroll->scrollToPage(page(2)));
        QVERIFY(!m_scroll->scrollToPage(QPointF(2.3 * PageWidth, 0)));
        QTest::ignoreMessage(QtWarningMsg, "OTScrollView: ignoring a page offset that is not finite");
        QVERIFY(!m_scroll->scrollToPage(QPointF(qInf(), 0)));
        m_scroll->setPagingEnabled(false);
        QVERIFY(!m_scroll->scrollToPage(page(3)));
        m_scroll->setPagingEnabled(true);
        // A finger on the view has the content.
        QPointingDevice *touch = touchScreen();
        QTest::touchEvent(m_view.get(), touch).press(0, QPoint(180, 300), m_view.get());
        QVERIFY(m_scroll->isPressed());
        QVERIFY(!m_scroll->scrollToPage(page(3)));
        QVERIFY(!wheel({0, -120}));
        QTest::touchEvent(m_view.get(), touch).release(0, QPoint(180, 300), m_view.get());
        QVERIFY(m_log->entries.isEmpty());
        QCOMPARE(m_scroll->contentOffset(), page(2));
    }

    // Asked again on the way: the same page lets the turn run; another one takes over from
    // where the content is, and only the last turn ends.
    void aTurnUnderWayCanBeRedirected()
    {
        QVERIFY(m_scroll->scrollToPage(page(3)));
        QVERIFY(m_scroll->scrollToPage(page(3)));
        QCOMPARE(m_log->count('B'), 1);
        QTRY_VERIFY(m_scroll->contentOffset().x() > page(2).x() + 20);
        QVERIFY(m_scroll->decelerating());
        QVERIFY(m_scroll->scrollToPage(page(4)));
        waitForRest();
        QCOMPARE(m_log->count('B'), 2);
        QCOMPARE(m_log->count('D'), 1);
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
        QVERIFY(wheel(angle));
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(landsOn));
        QCOMPARE(m_log->shape(), QStringLiteral("BESD"));
    }

    // A wheel with fine steps turns one page per notch's worth, never more; quick notches
    // turn a page each, each from the page the last one is heading for.
    void aFineWheelTurnsOnePagePerNotch()
    {
        for (int i = 0; i < 7; ++i)
            wheel({0, -15});
        QVERIFY(m_log->entries.isEmpty());
        wheel({0, -15});
        QCOMPARE(m_log->count('B'), 1);
        for (int i = 0; i < 7; ++i)
            wheel({0, -15});
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(3));
        QCOMPARE(m_log->count('B'), 1);

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
        QCOMPARE(m_log->count('D'), 1);
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
        trackpadSwipe(40, -10, phases);
        waitForRest();
        QCOMPARE(m_scroll->contentOffset(), page(3));
        QCOMPARE(m_log->count('B'), 1);

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
        QCOMPARE(m_log->count('B'), 1);
    }

    void withoutPagingTheWheelIsLeftToOthers()
    {
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
