#pragma once

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

// The scroll view's tests: one window with a paging scroll view five pages wide, and the
// gestures and checks they share.

constexpr qreal PageWidth = 375;
constexpr qreal PageHeight = 667;
constexpr int PageCount = 5;
constexpr int Settling = 5000;

inline QPointF page(int index)
{
    return {index * PageWidth, 0};
}

inline bool isFinite(QPointF p)
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
class ScrollViewFixture : public QObject
{
    Q_OBJECT

protected:

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
};
