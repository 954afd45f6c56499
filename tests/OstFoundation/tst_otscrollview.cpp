#include "TouchScreen.h"
#include <OTScrollView.h>

#include <QGuiApplication>
#include <QImage>
#include <QPointer>
#include <QPointingDevice>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickView>
#include <QSignalSpy>
#include <QStyleHints>
#include <QTest>

#include <cmath>
#include <memory>

namespace {

constexpr qreal PageWidth = 375;
constexpr qreal PageHeight = 667;
constexpr int PageCount = 5;
constexpr int Settling = 5000;

QPointF page(int index)
{
    return {index * PageWidth, 0};
}

bool isFinite(QPointF p)
{
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

// One callback as the view made it, with the view's state at that moment.
struct Callback
{
    enum Kind { WillBegin, DidScroll, WillEnd, DidEnd };
    Kind kind;
    QPointF offset;
    bool dragging = false;
    bool decelerating = false;
    QPointF velocity;
    QPointF target;
};

class CallbackLog : public QObject
{
public:
    explicit CallbackLog(OTScrollView *view)
    {
        connect(view, &OTScrollView::scrollViewWillBeginDragging, this,
                [this](OTScrollView *v) { add(Callback::WillBegin, v); });
        connect(view, &OTScrollView::scrollViewDidScroll, this, [this](OTScrollView *v) { add(Callback::DidScroll, v); });
        connect(view, &OTScrollView::scrollViewWillEndDragging, this,
                [this](OTScrollView *v, QPointF velocity, QPointF target) {
                    add(Callback::WillEnd, v);
                    entries.last().velocity = velocity;
                    entries.last().target = target;
                });
        connect(view, &OTScrollView::scrollViewDidEndDecelerating, this,
                [this](OTScrollView *v) { add(Callback::DidEnd, v); });
    }

    // The order of the callbacks from `from` on, one letter each, a run of scrolls as "S+":
    // "B S+ E S+ D" is a whole swipe.
    QString shape(qsizetype from = 0) const
    {
        QStringList letters;
        for (qsizetype i = from; i < entries.size(); ++i) {
            static const char *const names[] = {"B", "S+", "E", "D"};
            const QString letter = QString::fromLatin1(names[entries[i].kind]);
            if (letter == QLatin1String("S+") && !letters.isEmpty() && letters.last() == letter)
                continue;
            letters << letter;
        }
        return letters.join(QLatin1Char(' '));
    }

    qsizetype indexOf(Callback::Kind kind, qsizetype from = 0) const
    {
        for (qsizetype i = from; i < entries.size(); ++i) {
            if (entries[i].kind == kind)
                return i;
        }
        return -1;
    }

    qsizetype count(Callback::Kind kind) const
    {
        return std::count_if(entries.cbegin(), entries.cend(), [kind](const Callback &c) { return c.kind == kind; });
    }

    // The offsets of the scrolls between two indices.
    QList<QPointF> scrollsBetween(qsizetype from, qsizetype to) const
    {
        QList<QPointF> offsets;
        for (qsizetype i = from; i < qMin(to, entries.size()); ++i) {
            if (entries[i].kind == Callback::DidScroll)
                offsets << entries[i].offset;
        }
        return offsets;
    }

    QList<Callback> entries;

private:
    void add(Callback::Kind kind, OTScrollView *view)
    {
        entries.append({kind, view->contentOffset(), view->dragging(), view->decelerating(), {}, {}});
    }
};

// A page that takes presses itself, as a page with its own controls would, or looks at them
// and lets them through.
class GrabbingItem : public QQuickItem
{
    Q_OBJECT
public:
    explicit GrabbingItem(QQuickItem *parent = nullptr) : QQuickItem(parent)
    {
        setAcceptedMouseButtons(Qt::LeftButton);
        setAcceptTouchEvents(true);
    }
    int presses = 0;
    int releases = 0;
    int ungrabs = 0;
    bool takesPresses = true;

protected:
    void mousePressEvent(QMouseEvent *event) override
    {
        ++presses;
        event->setAccepted(takesPresses);
    }
    void mouseReleaseEvent(QMouseEvent *event) override
    {
        ++releases;
        event->accept();
    }
    void mouseUngrabEvent() override { ++ungrabs; }
    void touchEvent(QTouchEvent *event) override
    {
        if (event->type() == QEvent::TouchBegin)
            ++presses;
        else if (event->type() == QEvent::TouchEnd)
            ++releases;
        event->setAccepted(takesPresses);
    }
    void touchUngrabEvent() override { ++ungrabs; }
};

} // namespace

// Stops the test function, not only the helper, when a helper check fails.
#define VERIFY_SWIPE(...) \
    do { \
        verifySwipe(__VA_ARGS__); \
        if (QTest::currentTestFailed()) \
            return; \
    } while (false)

// One window with a paging scroll view five pages wide. Pages 0 and 4 are plain rectangles,
// page 1 looks at presses but lets them through, page 2 has a TapHandler, page 3 takes
// presses itself.
class TestOTScrollView : public QObject
{
    Q_OBJECT

    QPointingDevice *m_touch = nullptr;
    std::unique_ptr<QQuickView> m_view;
    QPointer<OTScrollView> m_scroll;
    QList<QPointer<QQuickItem>> m_pages;
    QPointer<GrabbingItem> m_grabbing;
    std::unique_ptr<CallbackLog> m_log;

    QQuickItem *rectangle(const QByteArray &body)
    {
        QQmlComponent component(m_view->engine());
        component.setData("import QtQuick\nRectangle { " + body + " }", QUrl());
        auto *item = qobject_cast<QQuickItem *>(component.create());
        if (!item)
            qWarning() << component.errors();
        return item;
    }

    int taps() const { return m_pages[2]->property("taps").toInt(); }

    void start(int index)
    {
        m_scroll->setContentOffset(page(index));
        m_log->entries.clear();
    }

    // Touch timestamps come from the real clock, so the waits between moves set the speed.
    void touchPress(QPoint at) { QTest::touchEvent(m_view.get(), m_touch).press(0, at, m_view.get()); }
    void touchMove(QPoint at) { QTest::touchEvent(m_view.get(), m_touch).move(0, at, m_view.get()); }
    void touchLift(QPoint at) { QTest::touchEvent(m_view.get(), m_touch).release(0, at, m_view.get()); }
    QPoint touchMoves(QPoint at, int dx, int step, int intervalMs)
    {
        for (int moved = 0; moved != dx;) {
            const int d = dx > 0 ? qMin(step, dx - moved) : qMax(-step, dx - moved);
            moved += d;
            at.rx() += d;
            QTest::qWait(intervalMs);
            touchMove(at);
        }
        return at;
    }

    QPoint touchMovesBy(QPoint at, QPoint delta, int count, int intervalMs)
    {
        const QPoint from = at;
        for (int i = 1; i <= count; ++i) {
            at = from + delta * i / count;
            QTest::qWait(intervalMs);
            touchMove(at);
        }
        return at;
    }

    // Mouse timestamps are QTest's own: each move is stamped `intervalMs` after the last.
    void mousePress(QPoint at) { QTest::mousePress(m_view.get(), Qt::LeftButton, {}, at); }
    void mouseLift(QPoint at) { QTest::mouseRelease(m_view.get(), Qt::LeftButton, {}, at); }
    QPoint mouseMoves(QPoint at, int dx, int step, int intervalMs)
    {
        for (int moved = 0; moved != dx;) {
            const int d = dx > 0 ? qMin(step, dx - moved) : qMax(-step, dx - moved);
            moved += d;
            at.rx() += d;
            QTest::mouseMove(m_view.get(), at, intervalMs);
        }
        return at;
    }
    // A short fast movement: three 30 pt moves 16 ms apart.
    void mouseFlick(QPoint from, int direction)
    {
        mousePress(from);
        mouseLift(mouseMoves(from, direction * 90, 30, 16));
    }

    bool waitForRest()
    {
        return QTest::qWaitFor([this] { return !m_scroll->decelerating() && !m_scroll->dragging(); }, Settling);
    }

    // From `from` on: a whole swipe that lands on `target` — willBegin while dragging, the
    // drag, willEnd with the target before the content moves on, frames that run from the
    // lift to the target without turning back, one didEnd at rest on the target.
    void verifySwipe(QPointF target, qsizetype from = 0)
    {
        QVERIFY(QTest::qWaitFor([&] { return m_log->indexOf(Callback::DidEnd, from) >= 0; }, Settling));
        QCOMPARE(m_log->shape(from), QStringLiteral("B S+ E S+ D"));
        const qsizetype begin = m_log->indexOf(Callback::WillBegin, from);
        const qsizetype end = m_log->indexOf(Callback::WillEnd, from);
        const qsizetype rest = m_log->indexOf(Callback::DidEnd, from);
        QVERIFY(m_log->entries[begin].dragging);
        const Callback &lift = m_log->entries[end];
        QVERIFY(lift.dragging);
        QCOMPARE(lift.target, target);
        QCOMPARE(lift.offset, m_log->entries[end - 1].offset);

        const QList<QPointF> frames = m_log->scrollsBetween(end, rest);
        QCOMPARE(frames.last(), target);
        // Each frame further along the straight way from the lift to the target.
        const QPointF way = target - lift.offset;
        const qreal length2 = QPointF::dotProduct(way, way);
        qreal previous = 0;
        for (const QPointF &frame : frames) {
            const QPointF gone = frame - lift.offset;
            const qreal along = QPointF::dotProduct(gone, way) / length2;
            QVERIFY2(along > previous && along <= 1, qPrintable(QStringLiteral("frame %1,%2 at %3 after %4").arg(frame.x()).arg(frame.y()).arg(along).arg(previous)));
            QVERIFY(qAbs(gone.x() * way.y() - gone.y() * way.x()) < 1e-6 * length2);
            previous = along;
        }
        for (qsizetype i = end + 1; i < rest; ++i)
            QVERIFY(m_log->entries[i].decelerating && !m_log->entries[i].dragging);
        QVERIFY(!m_log->entries[rest].decelerating);

        QTest::qWait(50);
        QCOMPARE(m_log->shape(from), QStringLiteral("B S+ E S+ D"));
        QCOMPARE(m_scroll->contentOffset(), target);
        QCOMPARE(m_scroll->contentItem()->position(), -target);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_touch = touchScreen();
    }

    void init()
    {
        m_view = std::make_unique<QQuickView>();
        m_view->resize(int(PageWidth), int(PageHeight));
        m_view->setColor(Qt::white);
        m_scroll = new OTScrollView(m_view->contentItem());
        m_scroll->setSize({PageWidth, PageHeight});
        m_scroll->setContentSize({PageCount * PageWidth, PageHeight});
        m_scroll->setPagingEnabled(true);
        m_scroll->setBackgroundColor(Qt::black);

        m_pages.clear();
        for (int i = 0; i < PageCount; ++i) {
            QQuickItem *item = nullptr;
            if (i == 2) {
                item = rectangle("color: '#2040a0'; property int taps: 0; TapHandler { onTapped: parent.taps += 1 }");
            } else if (i == 3) {
                item = m_grabbing = new GrabbingItem;
            } else if (i == 1) {
                auto *passing = new GrabbingItem;
                passing->takesPresses = false;
                item = passing;
            } else {
                item = rectangle(i == 0 ? "color: '#ff0000'" : "color: '#306030'");
            }
            QVERIFY(item);
            item->setPosition(page(i));
            item->setSize({PageWidth, PageHeight});
            m_scroll->addSubview(item);
            m_pages << item;
        }
        m_log = std::make_unique<CallbackLog>(m_scroll);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    }

    void cleanup()
    {
        m_log.reset();
        m_view.reset();
        QVERIFY(m_scroll.isNull());
    }

    void defaults()
    {
        OTScrollView fresh;
        QVERIFY(!fresh.pagingEnabled());
        QVERIFY(fresh.bounces());
        QCOMPARE(fresh.backgroundColor().alpha(), 0);
        QVERIFY(!fresh.dragging());
        QVERIFY(!fresh.decelerating());
        QCOMPARE(fresh.contentOffset(), QPointF());
        QVERIFY(fresh.subviews().isEmpty());
        QVERIFY(fresh.clip());
        QCOMPARE(fresh.contentItem()->parentItem(), &fresh);
    }

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

    void tapReachesTheChild_data()
    {
        QTest::addColumn<bool>("touch");
        QTest::addColumn<int>("pageIndex");
        QTest::newRow("touch, tap handler") << true << 2;
        QTest::newRow("mouse, tap handler") << false << 2;
        QTest::newRow("touch, grabbing item") << true << 3;
        QTest::newRow("mouse, grabbing item") << false << 3;
    }
    void tapReachesTheChild()
    {
        QFETCH(bool, touch);
        QFETCH(int, pageIndex);
        start(pageIndex);
        const QPoint at(187, 333);
        if (touch) {
            touchPress(at);
            touchLift(at);
        } else {
            QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, at);
        }
        if (pageIndex == 2) {
            QTRY_COMPARE(taps(), 1);
        } else {
            QCOMPARE(m_grabbing->presses, 1);
            QCOMPARE(m_grabbing->releases, 1);
        }
        QTest::qWait(50);
        QCOMPARE(m_log->shape(), QString());
        QCOMPARE(m_scroll->contentOffset(), page(pageIndex));
    }

    void dragStartingOnAChildScrolls_data() { tapReachesTheChild_data(); }
    void dragStartingOnAChildScrolls()
    {
        QFETCH(bool, touch);
        QFETCH(int, pageIndex);
        start(pageIndex);
        const QPoint from(320, 333);
        if (touch) {
            touchPress(from);
            touchLift(touchMoves(from, -206, 8, 16));
        } else {
            mousePress(from);
            mouseLift(mouseMoves(from, -206, 8, 16));
        }
        VERIFY_SWIPE(page(pageIndex + 1));
        if (pageIndex == 2) {
            QCOMPARE(taps(), 0);
        } else {
            QCOMPARE(m_grabbing->presses, 1);
            QCOMPARE(m_grabbing->releases, 0);
            QVERIFY(m_grabbing->ungrabs >= 1);
        }
    }

    void aSecondFingerDoesNotTakeOver()
    {
        start(1);
        QPoint first(300, 333);
        touchPress(first);
        first = touchMoves(first, -60, 10, 16);
        QTRY_COMPARE(m_scroll->contentOffset(), page(1) + QPointF(60, 0));

        QPoint second(100, 200);
        QTest::touchEvent(m_view.get(), m_touch).stationary(0).press(1, second, m_view.get());
        for (int i = 0; i < 5; ++i) {
            second.rx() += 20;
            QTest::qWait(16);
            QTest::touchEvent(m_view.get(), m_touch).stationary(0).move(1, second, m_view.get());
        }
        QTest::qWait(50);
        QCOMPARE(m_scroll->contentOffset(), page(1) + QPointF(60, 0));
        QTest::touchEvent(m_view.get(), m_touch).stationary(0).release(1, second, m_view.get());

        first = touchMoves(first, -146, 10, 16);
        touchLift(first);
        VERIFY_SWIPE(page(2));
        QCOMPARE(m_log->count(Callback::WillBegin), 1);
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

    void subviewsKeepTheirOrder()
    {
        QList<QQuickItem *> pages;
        for (const auto &p : std::as_const(m_pages))
            pages << p;
        QCOMPARE(m_scroll->subviews(), pages);
        QCOMPARE(m_pages[1]->parent(), m_scroll->contentItem());

        // Added again: to the top.
        m_scroll->addSubview(pages[1]);
        QCOMPARE(m_scroll->subviews(), (QList<QQuickItem *>{pages[0], pages[2], pages[3], pages[4], pages[1]}));
        m_scroll->addSubview(pages[1]);
        QCOMPARE(m_scroll->subviews().last(), pages[1]);

        // From elsewhere: moved in, on top, its owner kept.
        auto *elsewhere = new QQuickItem(m_view->contentItem());
        m_scroll->addSubview(elsewhere);
        QCOMPARE(elsewhere->parentItem(), m_scroll->contentItem());
        QCOMPARE(elsewhere->parent(), m_view->contentItem());
        QCOMPARE(m_scroll->subviews().last(), elsewhere);

        // A child's own z does not change the order it was added in.
        pages[0]->setZ(-10);
        QCOMPARE(m_scroll->subviews().first(), pages[0]);

        pages[2]->setParentItem(nullptr);
        delete pages[3];
        QCOMPARE(m_scroll->subviews(), (QList<QQuickItem *>{pages[0], pages[4], pages[1], elsewhere}));

        QTest::ignoreMessage(QtWarningMsg, "OTScrollView: addSubview() needs an item that is not the view or one of its ancestors");
        m_scroll->addSubview(nullptr);
        QTest::ignoreMessage(QtWarningMsg, "OTScrollView: addSubview() needs an item that is not the view or one of its ancestors");
        m_scroll->addSubview(m_view->contentItem());
        QCOMPARE(m_scroll->subviews().size(), 4);
    }

    void paintsTheBackgroundAndClips()
    {
        // The view is narrower than the window and scrolled before the first page.
        m_scroll->setWidth(300);
        m_scroll->setContentOffset({-60, 0});
        auto *front = rectangle("color: '#0000ff'");
        front->setPosition({100, 100});
        front->setSize({100, 100});
        m_scroll->addSubview(front);
        // Added later but pinned behind its siblings, and still over the background.
        auto *behind = rectangle("color: '#00ff00'; z: -10");
        behind->setPosition({40, 100});
        behind->setSize({200, 200});
        m_scroll->addSubview(behind);
        auto *beforeTheFirstPage = rectangle("color: '#ffff00'; z: -10");
        beforeTheFirstPage->setPosition({-50, 400});
        beforeTheFirstPage->setSize({40, 40});
        m_scroll->addSubview(beforeTheFirstPage);

        QTRY_VERIFY(m_view->grabWindow().pixelColor(30, 420) == QColor(Qt::yellow));
        const QImage image = m_view->grabWindow();
        QCOMPARE(image.pixelColor(5, 300), QColor(Qt::black));        // background
        QCOMPARE(image.pixelColor(200, 150), QColor(Qt::blue));       // front over page 0 and `behind`
        QCOMPARE(image.pixelColor(120, 250), QColor(Qt::red));        // page 0 over `behind`
        QCOMPARE(image.pixelColor(330, 300), QColor(Qt::white));      // clipped: the window
    }

    void survivesDegenerateSizesAndDeletions()
    {
        const auto swipe = [this](int dx) {
            const QPoint from(dx < 0 ? 300 : 60, 333);
            mousePress(from);
            mouseLift(mouseMoves(from, dx, 20, 16));
            QVERIFY(waitForRest());
            for (const Callback &c : std::as_const(m_log->entries)) {
                QVERIFY(isFinite(c.offset));
                QVERIFY(isFinite(c.velocity));
                QVERIFY(isFinite(c.target));
            }
        };

        start(1);
        m_scroll->setWidth(0);
        swipe(-100);
        swipe(100);
        m_scroll->setWidth(PageWidth);
        QVERIFY(isFinite(m_scroll->contentOffset()));

        for (QSizeF size : {QSizeF(0, 0), QSizeF(-100, -50)}) {
            m_scroll->setContentSize(size);
            QCOMPARE(m_scroll->contentItem()->size(), QSizeF(0, 0));
            swipe(-120);
            QCOMPARE(m_scroll->contentOffset(), page(0));
            swipe(120);
            QCOMPARE(m_scroll->contentOffset(), page(0));
        }
        m_scroll->setContentSize({PageCount * PageWidth, PageHeight});

        // The child holding the press goes away before a drag begins...
        start(3);
        touchPress({300, 333});
        delete m_grabbing;
        touchLift(touchMoves({300, 333}, -100, 10, 16));
        QVERIFY(waitForRest());
        start(3);
        touchPress({300, 333});
        touchLift(touchMoves({300, 333}, -206, 10, 16));
        VERIFY_SWIPE(page(4));

        // ... and after the view took the drag over.
        auto *grabbing = new GrabbingItem;
        grabbing->setPosition(page(3));
        grabbing->setSize({PageWidth, PageHeight});
        m_scroll->addSubview(grabbing);
        start(3);
        touchPress({300, 333});
        const QPoint at = touchMoves({300, 333}, -60, 10, 16);
        QTRY_VERIFY(m_scroll->dragging());
        delete grabbing;
        touchLift(touchMoves(at, -146, 10, 16));
        VERIFY_SWIPE(page(4));
        QCOMPARE(m_scroll->subviews().size(), PageCount - 1);

        // The window closes while the content moves, then goes away altogether.
        m_scroll->setContentOffset(page(0), true);
        QTRY_VERIFY(m_scroll->contentOffset().x() < page(4).x());
        m_view->close();
        QTest::qWait(400);
        QVERIFY(isFinite(m_scroll->contentOffset()));
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        start(2);
        mouseFlick({340, 333}, -1);
        QVERIFY(m_scroll->decelerating());
        m_log.reset();
        m_view.reset();
        QVERIFY(m_scroll.isNull());
        QTest::qWait(100);
    }

    void geometryChangesKeepTheOffset()
    {
        start(2);
        m_scroll->setSize({320, 480});
        m_scroll->setSize({0, 0});
        m_scroll->setSize({PageWidth, PageHeight});
        QCOMPARE(m_scroll->contentOffset(), page(2));
        QCOMPARE(m_log->shape(), QString());
    }
};

QTEST_MAIN(TestOTScrollView)
#include "tst_otscrollview.moc"
