// What lies in the scroll view: taps and drags that start on its pages, a second finger, the pages' order, its painting, and sizes and deletions at odd moments.

#include "ScrollViewFixture.h"

class TestOTScrollViewChildren : public ScrollViewFixture
{
    Q_OBJECT

private Q_SLOTS:
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

QTEST_MAIN(TestOTScrollViewChildren)
#include "tst_otscrollview_children.moc"
