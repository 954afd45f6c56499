#include "SceneItems.h"
#include "TestWindow.h"
#include "TouchScreen.h"
#include "OstQuoteGalleryView.h"

#include <OTClock.h>
#include <OTScrollView.h>

#include <QQmlEngine>
#include <QQuickView>
#include <QTest>

// A data source and delegate that knows the quotes of the indexes it is given and logs what
// the gallery asks and tells.
class Source : public QObject, public OstQuoteGalleryViewDataSource, public OstQuoteGalleryViewDelegate
{
    Q_OBJECT
    Q_INTERFACES(OstQuoteGalleryViewDataSource OstQuoteGalleryViewDelegate)
public:
    qint64 count = 5;
    bool givesPages = true;
    QList<qint64> asked;
    QList<qint64> told;
    QList<bool> toldWhileDecelerating;

    qint64 numberOfQuotesInGalleryView(OstQuoteGalleryView *) override { return count; }
    OstQuoteView *galleryViewQuoteAtIndex(OstQuoteGalleryView *gallery, qint64 index) override
    {
        asked.append(index);
        if (!givesPages)
            return nullptr;
        OstQuoteView *page = gallery->dequeueReusableView();
        auto quote = OstQuotePtr::create();
        quote->setContent(QStringLiteral("Quote %1").arg(index));
        quote->setAssign_date(QDate(2016, 10, 5).addDays(-index).toString(Qt::ISODate));
        quote->setAuthor(QStringLiteral("Ostrel"));
        quote->setTranslation(QStringLiteral("第 %1 页").arg(index));
        quote->setOrigin_img_urls({QStringLiteral("qrc:/OstQuote/images/default_launch_image@2x.jpg")});
        page->setQuote(quote);
        return page;
    }
    void galleryViewDidScrollToIndex(OstQuoteGalleryView *gallery, qint64 index) override
    {
        told.append(index);
        toldWhileDecelerating.append(gallery->scrollView()->decelerating());
    }
};

namespace {

QList<qint64> childIndexes(OstQuoteGalleryView *gallery)
{
    QList<qint64> indexes;
    for (QQuickItem *child : gallery->scrollView()->subviews())
        indexes.append(qobject_cast<OstQuoteView *>(child)->itemIndex());
    return indexes;
}

OstQuoteView *pageOf(OstQuoteGalleryView *gallery, qint64 index)
{
    OstQuoteView *found = nullptr;
    for (QQuickItem *child : gallery->scrollView()->subviews()) {
        auto *page = qobject_cast<OstQuoteView *>(child);
        if (page->itemIndex() == index)
            found = page;
    }
    return found;
}

QList<qint64> sorted(QList<qint64> list)
{
    std::sort(list.begin(), list.end());
    return list;
}

// The page the five-page gallery shows at a content offset.
qint64 indexInView(QPointF offset)
{
    return 4 - qint64(std::round(offset.x() / 375));
}

} // namespace

// Stops the test function, not only the helper, when a helper check fails.
#define VERIFY_AT_REST(index) \
    do { \
        verifyAtRestOn(index); \
        if (QTest::currentTestFailed()) \
            return; \
    } while (false)

class TestOstQuoteGalleryView : public QObject
{
    Q_OBJECT

    std::unique_ptr<QQuickView> m_view;
    std::unique_ptr<Source> m_source;
    OstQuoteGalleryView *m_gallery = nullptr;

    // Reloaded, then dragged page by page to `index`.
    bool reloadAndDragTo(qint64 index)
    {
        reloadAndSettle();
        for (qint64 i = 0; i < index; ++i) {
            drag(250);
            if (!waitForRest())
                return false;
        }
        return true;
    }

    void reloadAndSettle()
    {
        m_gallery->reloadData();
        QTRY_VERIFY(!m_gallery->scrollView()->decelerating() && !m_gallery->scrollView()->property("animating").toBool());
        QTest::qWait(400); // the reload's animated scroll
    }

    OTScrollView *scroll() const { return m_gallery->scrollView(); }

    void press(bool touch, QPoint at) { pointerPress(m_view.get(), touch, at); }
    void moveTo(bool touch, QPoint at, int intervalMs) { pointerMove(m_view.get(), touch, at, intervalMs); }
    void lift(bool touch, QPoint at) { pointerLift(m_view.get(), touch, at); }
    // A quick flick by `dx` points in two moves, left on its glide.
    void flick(bool touch, int dx)
    {
        const QPoint from(dx > 0 ? 60 : 315, 400);
        press(touch, from);
        moveTo(touch, from + QPoint(dx / 2, 0), touch ? 4 : 8);
        moveTo(touch, from + QPoint(dx, 0), touch ? 4 : 8);
        lift(touch, from + QPoint(dx, 0));
    }
    bool waitForRest()
    {
        return QTest::qWaitFor([this] { return !scroll()->dragging() && !scroll()->decelerating(); }, 5000);
    }

    // At rest on `index`: the scroll item, the gallery and its delegate name the same page;
    // only that page and its neighbours live; the page in view fills the view at full size
    // and opacity, the older neighbour waits at its place to slide in, and nothing else
    // shows in the view.
    void verifyAtRestOn(qint64 index)
    {
        QVERIFY(waitForRest());
        QTest::qWait(50);
        const double w = m_gallery->width();
        const double h = m_gallery->height();
        const QPointF place(double(4 - index) * w, 0);
        QCOMPARE(scroll()->contentOffset(), place);
        QCOMPARE(m_gallery->currentIndex(), index);
        QCOMPARE(m_gallery->readyCurrentIndex(), index);
        QCOMPARE(m_source->told.last(), index);
        QCOMPARE(scroll()->contentSize(), QSizeF(5 * w, h));

        const QList<qint64> live = childIndexes(m_gallery);
        for (qint64 i : live)
            QVERIFY2(i >= index - 1 && i <= index + 1, qPrintable(QStringLiteral("page %1 on %2").arg(i).arg(index)));
        if (index > 0)
            QVERIFY(live.contains(index - 1));
        if (index + 1 < 4)
            QVERIFY(live.contains(index + 1));

        OstQuoteView *current = m_gallery->currentQuoteView();
        QVERIFY(current);
        QCOMPARE(current->quote()->content(), QStringLiteral("Quote %1").arg(index));
        QCOMPARE(current->position(), place);
        QCOMPARE(current->size(), QSizeF(w, h));
        QCOMPARE(current->opacity(), 1.0);
        QCOMPARE(shownScale(current), 1.0);
        if (OstQuoteView *older = pageOf(m_gallery, index + 1)) {
            QCOMPARE(older->position(), QPointF(double(3 - index) * w, 0));
            QCOMPARE(older->size(), QSizeF(w, h));
            QCOMPARE(older->opacity(), 1.0);
            QCOMPARE(shownScale(older), 1.0);
        }
        // Anything else in the view lies under the page in view, or cannot be seen.
        const QRectF inView(place, QSizeF(w, h));
        const QList<QQuickItem *> children = scroll()->subviews();
        const auto below = [&](QQuickItem *page) {
            return page->z() < current->z()
                || (page->z() == current->z() && children.indexOf(page) < children.indexOf(current));
        };
        for (QQuickItem *page : children) {
            if (page == current || below(page) || page->opacity() == 0)
                continue;
            QVERIFY2(!QRectF(page->position(), page->size()).intersects(inView),
                     qPrintable(QStringLiteral("page %1 shows over page %2")
                                    .arg(qobject_cast<OstQuoteView *>(page)->itemIndex()).arg(index)));
        }
    }

    // A slow touch drag by `dx` points across the middle of the window, in small steps.
    void drag(int dx)
    {
        const QPoint from(dx > 0 ? 60 : 315, 333);
        touchPress(m_view.get(), from);
        const QPoint to = touchMoves(m_view.get(), from, QPoint(dx, 0), 20, 16);
        QTest::qWait(16);
        touchLift(m_view.get(), to);
    }

private Q_SLOTS:
    void init()
    {
        OTClock::setTimeZone(QTimeZone("UTC"));
        m_view = openTestWindow();
        QVERIFY(m_view);
        m_source = std::make_unique<Source>();
        QVERIFY(m_view->rootObject());
        m_gallery = new OstQuoteGalleryView(m_view->rootObject());
        m_gallery->setSize(QSizeF(375, 667));
        m_gallery->setDataSource(m_source.get());
        m_gallery->setDelegate(m_source.get());
    }

    void cleanup()
    {
        delete m_gallery;
        m_source.reset();
        m_view.reset();
    }

    void reloadLaysOutTheFivePageExample()
    {
        reloadAndSettle();
        OTScrollView *scroll = m_gallery->scrollView();
        QCOMPARE(scroll->contentSize(), QSizeF(1875, 667));
        QCOMPARE(scroll->contentOffset(), QPointF(1500, 0));
        QCOMPARE(m_source->told, QList<qint64>{0});
        // The reload's page of index 0, then its older neighbour.
        QCOMPARE(childIndexes(m_gallery), (QList<qint64>{0, 1}));
        QCOMPARE(pageOf(m_gallery, 0)->position(), QPointF(1500, 0));
        QCOMPARE(pageOf(m_gallery, 1)->position(), QPointF(1125, 0));
        QCOMPARE(pageOf(m_gallery, 0)->size(), QSizeF(375, 667));
        QCOMPARE(m_gallery->currentQuoteView(), pageOf(m_gallery, 0));

        // Each reload stacks one more page for the current index; the topmost is current.
        reloadAndSettle();
        QCOMPARE(childIndexes(m_gallery), (QList<qint64>{0, 1, 0}));
        QCOMPARE(m_gallery->currentQuoteView(), qobject_cast<OstQuoteView *>(scroll->subviews().last()));
    }

    void depthTransitionFollowsTheWorkedExample()
    {
        reloadAndSettle();
        OTScrollView *scroll = m_gallery->scrollView();
        // Towards the older day.
        m_gallery->scrollViewWillBeginDragging(scroll);
        QCOMPARE(m_gallery->currentIndex(), 0);
        QCOMPARE(m_gallery->lastContentOffsetX(), 1500.0);
        scroll->setContentOffset(QPointF(1450, 0));
        OstQuoteView *today = pageOf(m_gallery, 0);
        QVERIFY(m_gallery->isDraggingToRight());
        QCOMPARE(today->position() + QPointF(187.5, 333.5), QPointF(1637.5, 333.5));
        QCOMPARE(today->z(), -10.0);
        QVERIFY(qAbs(shownScale(today) - 0.866667) < 1e-4);
        QVERIFY(qAbs(today->opacity() - 0.866667) < 1e-4);
        scroll->setContentOffset(QPointF(1400, 0));
        QCOMPARE(shownScale(today), 0.8);
        QVERIFY(qAbs(today->opacity() - 0.733333) < 1e-4);
        m_gallery->scrollViewWillEndDragging(scroll, {}, QPointF(1125, 0));
        QCOMPARE(m_gallery->readyCurrentIndex(), 1);
        scroll->setContentOffset(QPointF(1125, 0));
        QCOMPARE(today->opacity(), 0.0);
        m_gallery->scrollViewDidEndDecelerating(scroll);
        QCOMPARE(m_gallery->currentIndex(), 1);
        QCOMPARE(sorted(childIndexes(m_gallery)), (QList<qint64>{0, 1, 2}));

        // And back: the page being approached grows from nothing behind the sliding one.
        m_gallery->scrollViewWillBeginDragging(scroll);
        QCOMPARE(m_gallery->currentIndex(), 1);
        scroll->setContentOffset(QPointF(1200, 0));
        QVERIFY(!m_gallery->isDraggingToRight());
        QCOMPARE(pageOf(m_gallery, 1)->z(), 0.0);
        QCOMPARE(today->position() + QPointF(187.5, 333.5), QPointF(1387.5, 333.5));
        QVERIFY(qAbs(shownScale(today) - 0.2) < 1e-9);
        QVERIFY(qAbs(today->opacity() - 0.2) < 1e-9);
        scroll->setContentOffset(QPointF(1500, 0));
        QCOMPARE(today->position(), QPointF(1500, 0));
        QCOMPARE(shownScale(today), 1.0);
        m_gallery->scrollViewWillEndDragging(scroll, {}, QPointF(1500, 0));
        m_gallery->scrollViewDidEndDecelerating(scroll);
        QCOMPARE(m_gallery->currentIndex(), 0);
        QCOMPARE(sorted(childIndexes(m_gallery)), (QList<qint64>{0, 1}));

        // A drag start between pages takes the newer one.
        scroll->setContentOffset(QPointF(1000, 0));
        m_gallery->scrollViewWillBeginDragging(scroll);
        QCOMPARE(m_gallery->currentIndex(), 1);
    }

    void realSwipesMoveThroughTheDays()
    {
        reloadAndSettle();
        m_source->told.clear();
        m_source->toldWhileDecelerating.clear();
        drag(250); // to the right, past half a page: the day before
        QTRY_COMPARE(m_gallery->currentIndex(), 1);
        QTRY_VERIFY(!m_gallery->scrollView()->decelerating());
        QCOMPARE(m_source->told, QList<qint64>{1});
        QCOMPARE(m_source->toldWhileDecelerating, QList<bool>{false}); // told at lift, before the deceleration
        QCOMPARE(m_gallery->scrollView()->contentOffset(), QPointF(1125, 0));
        QCOMPARE(sorted(childIndexes(m_gallery)), (QList<qint64>{0, 1, 2}));

        drag(100); // short of half a page: snaps back, and says so
        QTRY_VERIFY(!m_gallery->scrollView()->decelerating());
        QTest::qWait(100);
        QCOMPARE(m_source->told.last(), 1);
        QCOMPARE(m_gallery->scrollView()->contentOffset(), QPointF(1125, 0));

        for (int i = 0; i < 3; ++i) {
            drag(250);
            QTRY_VERIFY(!m_gallery->scrollView()->decelerating());
            QTest::qWait(50);
        }
        // On the oldest page; it was made when the swipe landed on it.
        QCOMPARE(m_gallery->currentIndex(), 4);
        QCOMPARE(sorted(childIndexes(m_gallery)), (QList<qint64>{3, 4}));
        QVERIFY(pageOf(m_gallery, 4)->opacity() > 0.99);

        drag(-250); // back towards today
        QTRY_COMPARE(m_gallery->currentIndex(), 3);
        QTRY_VERIFY(!m_gallery->scrollView()->decelerating());
        QCOMPARE(sorted(childIndexes(m_gallery)), (QList<qint64>{2, 3, 4}));
        QTRY_COMPARE(shownScale(pageOf(m_gallery, 3)), 1.0);
    }

    void emptyOrMissingSourcesDoNotCrash()
    {
        m_source->count = 0;
        m_gallery->reloadData();
        QCOMPARE(m_gallery->scrollView()->contentSize().width(), 0.0);
        QCOMPARE(m_source->asked.value(0), 0);
        QCOMPARE(pageOf(m_gallery, 0)->position(), QPointF(-375, 0));
        QCOMPARE(childIndexes(m_gallery), QList<qint64>{0});

        m_source->count = 5;
        m_source->givesPages = false;
        m_gallery->reloadData();
        QVERIFY(m_gallery->currentQuoteView());

        m_gallery->setDataSource(nullptr);
        m_gallery->setDelegate(nullptr);
        m_gallery->reloadData();
        drag(250);
        QTest::qWait(600);
        m_source.reset(); // a data source that goes away is simply not asked
        m_gallery->setDataSource(new QObject(m_gallery));
        m_gallery->reloadData();
    }

    void midSwipeShowsThePageBehindShrinking()
    {
        reloadAndSettle();
        QTRY_COMPARE(m_gallery->currentQuoteView()->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))->property("status").toInt(), 1); // Image.Ready
        QTest::qWait(50);
        const QImage atRest = m_view->grabWindow();
        saveScreenshot(m_view.get(), QStringLiteral("gallery-page.png"));
        OTScrollView *scroll = m_gallery->scrollView();
        m_gallery->scrollViewWillBeginDragging(scroll);
        scroll->setContentOffset(QPointF(1300, 0));
        QTest::qWait(50);
        const QImage midSwipe = m_view->grabWindow();
        saveScreenshot(m_view.get(), QStringLiteral("gallery-mid-swipe.png"));
        // The left part shows the sliding older page, the right part the pinned page at 80 %,
        // with black around it: its top right corner is black now and was not at rest.
        QCOMPARE(midSwipe.pixelColor(370, 5), QColor(Qt::black));
        QVERIFY(atRest.pixelColor(370, 5) != QColor(Qt::black));
    }

    // A quick swipe towards an older day whose glide a press stops, by touch or mouse: the
    // lift names the page the content settles on, and the gallery commits that page.
    void aStoppedGlideCommitsThePageInView_data()
    {
        QTest::addColumn<bool>("touch");
        QTest::addColumn<int>("dx");
        QTest::addColumn<bool>("late");
        QTest::addColumn<qint64>("startIndex");
        QTest::addColumn<qint64>("landing");
        QTest::newRow("touch, stopped early: back on today") << true << 60 << false << qint64(0) << qint64(0);
        QTest::newRow("mouse, stopped early: back on today") << false << 60 << false << qint64(0) << qint64(0);
        QTest::newRow("touch, stopped past half: on the older day") << true << 60 << true << qint64(0) << qint64(1);
        QTest::newRow("mouse, towards today, stopped early") << false << -60 << false << qint64(2) << qint64(2);
        QTest::newRow("touch, towards today, stopped past half") << true << -60 << true << qint64(2) << qint64(1);
    }
    void aStoppedGlideCommitsThePageInView()
    {
        QFETCH(bool, touch);
        QFETCH(int, dx);
        QFETCH(bool, late);
        QFETCH(qint64, startIndex);
        QFETCH(qint64, landing);
        QVERIFY(reloadAndDragTo(startIndex));
        VERIFY_AT_REST(startIndex);

        flick(touch, dx);
        const qint64 glidingTo = startIndex + (dx > 0 ? 1 : -1);
        QVERIFY(scroll()->decelerating());
        QCOMPARE(m_source->told.last(), glidingTo);
        if (late) {
            const double half = (double(4 - startIndex) - (dx > 0 ? 0.5 : -0.5)) * 375;
            QVERIFY(QTest::qWaitFor([&] {
                return scroll()->decelerating() && (dx > 0 ? scroll()->contentOffset().x() < half : scroll()->contentOffset().x() > half);
            }, 5000));
        }
        const QPoint at(187, 500);
        press(touch, at);
        QVERIFY(!scroll()->decelerating());
        QCOMPARE(indexInView(scroll()->contentOffset()), landing);
        QTest::qWait(100);
        lift(touch, at);
        // Named at the lift, before the content settles.
        QCOMPARE(m_source->told.last(), landing);
        QCOMPARE(m_source->toldWhileDecelerating.last(), false);
        VERIFY_AT_REST(landing);
        QVERIFY(m_source->told.size() >= 3);
    }

    // Two quick swipes in a row, the second after the first came to rest or catching it on
    // its glide, by touch or mouse, either way: at rest the gallery agrees with the page in
    // view.
    void twoQuickSwipesInARow_data()
    {
        QTest::addColumn<bool>("touch");
        QTest::addColumn<int>("dx");
        QTest::addColumn<bool>("catching");
        for (bool touch : {true, false}) {
            for (int dx : {90, -90}) {
                for (bool catching : {false, true}) {
                    QTest::addRow("%s, %s, %s", touch ? "touch" : "mouse", dx > 0 ? "to older days" : "to today",
                                  catching ? "on the glide" : "after rest")
                        << touch << dx << catching;
                }
            }
        }
    }
    void twoQuickSwipesInARow()
    {
        QFETCH(bool, touch);
        QFETCH(int, dx);
        QFETCH(bool, catching);
        const qint64 startIndex = dx > 0 ? 0 : 2;
        QVERIFY(reloadAndDragTo(startIndex));
        VERIFY_AT_REST(startIndex);

        flick(touch, dx);
        QVERIFY(scroll()->decelerating());
        if (catching) {
            // At once: the second swipe begins between two pages.
            const double pages = scroll()->contentOffset().x() / 375;
            QVERIFY2(pages != std::round(pages), qPrintable(QString::number(pages)));
        } else {
            VERIFY_AT_REST(startIndex + (dx > 0 ? 1 : -1));
        }
        flick(touch, dx);
        QVERIFY(waitForRest());
        const qint64 landing = indexInView(scroll()->contentOffset());
        // On past the first turn, never more than two pages in all.
        if (dx > 0)
            QVERIFY(landing == startIndex + 1 || landing == startIndex + 2);
        else
            QVERIFY(landing == startIndex - 1 || landing == startIndex - 2);
        if (!catching)
            QCOMPARE(landing, startIndex + (dx > 0 ? 2 : -2));
        VERIFY_AT_REST(landing);

        // And one more slow swipe each way from there shows the pages as they should be.
        drag(dx > 0 ? -250 : 250);
        VERIFY_AT_REST(landing + (dx > 0 ? -1 : 1));
        drag(dx > 0 ? 250 : -250);
        VERIFY_AT_REST(landing);
    }

    // A drag that catches a glide between two pages: at no step of the content does a live
    // page change scale by more than the content's travel since the step before allows (the depth effect
    // moves a page's scale by one for a page's width of travel), before, at or after the
    // catch, and the gallery comes to rest on a whole page.
    void catchingAGlideJumpsNoPage_data()
    {
        QTest::addColumn<qint64>("startIndex");
        QTest::addColumn<int>("firstDx");
        QTest::addColumn<int>("secondDx");
        QTest::newRow("to an older day, caught towards the newer") << qint64(0) << 90 << -90;
        QTest::newRow("to the newer day, caught towards it again") << qint64(2) << -90 << -90;
        QTest::newRow("to an older day, caught towards an older again") << qint64(1) << 90 << 90;
    }
    void catchingAGlideJumpsNoPage()
    {
        QFETCH(qint64, startIndex);
        QFETCH(int, firstDx);
        QFETCH(int, secondDx);
        QVERIFY(reloadAndDragTo(startIndex));

        struct Look { qreal scale; qreal opacity; };
        QHash<OstQuoteView *, Look> last;
        double lastX = scroll()->contentOffset().x();
        QStringList jumps;
        int frames = 0;
        connect(scroll(), &OTScrollView::scrollViewDidScroll, this, [&]() {
            ++frames;
            const double x = scroll()->contentOffset().x();
            const double allowed = std::abs(x - lastX) / 375 + 1e-9;
            QHash<OstQuoteView *, Look> now;
            for (QQuickItem *child : scroll()->subviews()) {
                auto *page = qobject_cast<OstQuoteView *>(child);
                if (!page)
                    continue;
                now.insert(page, {shownScale(page), page->opacity()});
                const auto before = last.constFind(page);
                if (before != last.cend() && std::abs(shownScale(page) - before->scale) > allowed) {
                    jumps.append(QStringLiteral("page %1: scale %2 -> %3 (opacity %4 -> %5) over %6 px")
                                     .arg(page->itemIndex()).arg(before->scale).arg(shownScale(page))
                                     .arg(before->opacity).arg(page->opacity()).arg(x - lastX));
                }
            }
            last = now;
            lastX = x;
        });
        const double startX = scroll()->contentOffset().x();
        flick(true, firstDx);
        // Caught on its glide, well on its way to the next page.
        QVERIFY(QTest::qWaitFor([&]() { return std::abs(scroll()->contentOffset().x() - startX) > 0.6 * 375; }, 2000));
        QVERIFY(scroll()->decelerating());
        const double pages = scroll()->contentOffset().x() / 375;
        QVERIFY2(pages != std::round(pages), "the second drag begins between two pages");
        flick(true, secondDx);
        QVERIFY(waitForRest());
        disconnect(scroll(), &OTScrollView::scrollViewDidScroll, this, nullptr);
        QVERIFY2(frames > 5, qPrintable(QString::number(frames)));
        QVERIFY2(jumps.isEmpty(), qPrintable(jumps.join(u'\n')));
        VERIFY_AT_REST(indexInView(scroll()->contentOffset()));
    }

    // A bar comes or goes while the finger drags: the content and the pages take the new
    // size at once and keep it through the landing.
    void aResizeDuringADragLandsAtTheNewSize_data()
    {
        QTest::addColumn<bool>("touch");
        QTest::addColumn<QSizeF>("size");
        QTest::newRow("touch, a bar appears") << true << QSizeF(375, 623);
        QTest::newRow("mouse, a bar hides") << false << QSizeF(375, 711);
        QTest::newRow("touch, turned sideways") << true << QSizeF(500, 375);
    }
    void aResizeDuringADragLandsAtTheNewSize()
    {
        QFETCH(bool, touch);
        QFETCH(QSizeF, size);
        reloadAndSettle();
        QPoint at(60, 300);
        press(touch, at);
        for (int i = 0; i < 10; ++i) {
            at.rx() += 10;
            moveTo(touch, at, 16);
        }
        QTRY_VERIFY(scroll()->dragging());
        const double travelled = 1500 - scroll()->contentOffset().x();
        m_gallery->setSize(size);
        QVERIFY(scroll()->dragging());
        QCOMPARE(scroll()->size(), size);
        QCOMPARE(scroll()->contentSize(), QSizeF(5 * size.width(), size.height()));
        // The finger keeps its place on the page under it.
        QCOMPARE(scroll()->contentOffset().x(), (1500 - travelled) * size.width() / 375);
        // The page being left is pinned again at the new size.
        OstQuoteView *today = pageOf(m_gallery, 0);
        QCOMPARE(today->size(), size);
        QCOMPARE(today->position(), scroll()->contentOffset());
        for (int i = 0; i < 20; ++i) {
            at.rx() += 10;
            moveTo(touch, at, 16);
        }
        QTest::qWait(150);
        lift(touch, at);
        VERIFY_AT_REST(1);
        for (QQuickItem *child : scroll()->subviews())
            QCOMPARE(child->size(), size);
        QCOMPARE(scroll()->contentItem()->size(), QSizeF(5 * size.width(), size.height()));

        // And back while at rest.
        m_gallery->setSize(QSizeF(375, 667));
        VERIFY_AT_REST(1);
    }

    void poolIsUsedOnlyWhenFilled()
    {
        OstQuoteView *fresh = m_gallery->dequeueReusableView();
        QCOMPARE(m_gallery->scrollView()->subviews().last(), fresh);
        OstQuoteView *other = m_gallery->dequeueReusableView();
        m_gallery->queueReusaleView(fresh);
        QCOMPARE(m_gallery->dequeueReusableView(), fresh);
        QCOMPARE(m_gallery->scrollView()->subviews().last(), fresh);
        QVERIFY(m_gallery->reusableViewPool().isEmpty());
        QVERIFY(other != fresh);
    }
};

QTEST_MAIN(TestOstQuoteGalleryView)
#include "tst_ostquotegalleryview.moc"
