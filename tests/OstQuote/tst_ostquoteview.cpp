#include "OstQuoteView.h"
#include "TouchScreen.h"
#include "RVGradientOverView.h"
#include "HttpFixture.h"
#include "TextChecks.h"

#include <OTClock.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItemGrabResult>
#include <QQuickView>
#include <QScopeGuard>
#include <QTest>

namespace {

OstQuotePtr makeQuote(const QString &day, const QString &author = QStringLiteral("Seneca"))
{
    auto q = OstQuotePtr::create();
    q->setAuthor(author);
    q->setContent(QStringLiteral("While we are postponing, life speeds by."));
    q->setTranslation(QStringLiteral("当我们拖延时，生命飞逝而过。"));
    q->setAssign_date(day);
    q->setOrigin_img_urls({QStringLiteral("qrc:/OstQuote/images/default_launch_image.jpg")});
    return q;
}

QString textOf(QQuickItem *label)
{
    return label->property("text").toString();
}

// The skin's child called `name`.
QQuickItem *child(QQuickItem *page, const char *name)
{
    auto *item = page->findChild<QQuickItem *>(QLatin1String(name));
    if (!item)
        qWarning() << "no child" << name;
    return item;
}

// The item's rectangle in the page's coordinates.
QRectF rectIn(QQuickItem *item, QQuickItem *page)
{
    return item->mapRectToItem(page, QRectF(0, 0, item->width(), item->height()));
}

} // namespace

class TestOstQuoteView : public QObject
{
    Q_OBJECT

    std::unique_ptr<QQuickView> m_view;
    OstQuoteView *m_page = nullptr;

    bool m_touch = false;   // taps by touch rather than with the mouse

    void click(QPointF at)
    {
        if (m_touch)
            touchTap(m_view.get(), at.toPoint());
        else
            QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, at.toPoint());
    }

private Q_SLOTS:
    void initTestCase()
    {
        OTClock::setTimeZone(QTimeZone("Asia/Shanghai"));
    }

    void init()
    {
        m_view = std::make_unique<QQuickView>();
        m_view->engine()->addImportPath(QStringLiteral(OST_QML_DIR));
        m_view->resize(375, 667);
        m_view->setColor(Qt::black);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        m_page = OstQuoteView::create(m_view->engine());
        QVERIFY(m_page);
        m_page->setParentItem(m_view->contentItem());
        m_page->setSize(QSizeF(375, 667));
    }

    void cleanup()
    {
        delete m_page;
        m_view.reset();
    }

    void gradientsHaveTheirStops()
    {
        // Grab each cover alone and read its alpha down the middle column.
        QQuickItem *root = m_view->contentItem();
        auto *bottom = new RVGradientOverView(root);
        bottom->setSize(QSizeF(100, 250));
        auto *top = new RVGradientTopOverView(root);
        top->setSize(QSizeF(100, 100));
        top->setX(150);
        auto alphaAt = [](const QImage &image, int y) { return qAlpha(image.pixel(image.width() / 2, y)) / 255.0; };
        QSharedPointer<QQuickItemGrabResult> b = bottom->grabToImage();
        QTRY_VERIFY(!b->image().isNull());
        const QImage bi = b->image().convertToFormat(QImage::Format_ARGB32);
        QVERIFY(alphaAt(bi, 0) < 0.02);
        QVERIFY(qAbs(alphaAt(bi, int(250 * 0.33)) - 0.2) < 0.03);
        QVERIFY(qAbs(alphaAt(bi, int(250 * 0.45)) - 0.3) < 0.03);
        QVERIFY(qAbs(alphaAt(bi, int(250 * 0.8)) - 0.5) < 0.03);
        QVERIFY2(qAbs(alphaAt(bi, 249) - 0.5) < 0.03, "the unused fifth stop stays unused");
        QSharedPointer<QQuickItemGrabResult> t = top->grabToImage();
        QTRY_VERIFY(!t->image().isNull());
        const QImage ti = t->image().convertToFormat(QImage::Format_ARGB32);
        QVERIFY(qAbs(alphaAt(ti, 0) - 0.6) < 0.03);
        QVERIFY(qAbs(alphaAt(ti, 50) - 0.3) < 0.04);
        QVERIFY(alphaAt(ti, 99) < 0.03);
        QVERIFY(!bottom->opaquePainting() && !top->opaquePainting());
        delete bottom;
        delete top;
    }

    void layoutFollowsTheTable()
    {
        m_page->setQuote(makeQuote("2016-10-01"));
        QTRY_VERIFY(child(m_page, "authorLabel")->width() > 0);
        QCOMPARE(rectIn(m_page->findChild<QQuickItem *>(QStringLiteral("coverView")), m_page), QRectF(0, 667 - 250, 375, 250));
        QCOMPARE(rectIn(child(m_page, "topCoverView"), m_page), QRectF(0, 0, 375, 100));
        QCOMPARE(rectIn(m_page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView")), m_page), QRectF(0, 0, 375, 667));
        const QRectF author = rectIn(child(m_page, "authorLabel"), m_page);
        QCOMPARE(author.right(), 375.0 - 18);
        QCOMPARE(author.bottom(), 667.0 - 20);
        const QRectF translation = rectIn(child(m_page, "translationLabel"), m_page);
        QCOMPARE(translation.bottom(), author.top() - 8);
        QCOMPARE(translation.left(), 15.0);
        QCOMPARE(translation.right(), 375.0 - 15);
        const QRectF content = rectIn(child(m_page, "contentLabel"), m_page);
        QCOMPARE(content.bottom(), translation.top() - 15);
        QCOMPARE(content.left(), translation.left());
        QCOMPARE(content.right(), translation.right());
        const QRectF day = rectIn(child(m_page, "dateDayLabel"), m_page);
        QCOMPARE(day.bottom(), content.top() - 10);
        QCOMPARE(day.left(), content.left());
        const QRectF monthYear = rectIn(child(m_page, "dateMonthYearLabel"), m_page);
        QCOMPARE(monthYear.bottom(), day.bottom() - 7);
        QCOMPARE(monthYear.left(), day.right() + 5);
    }

    void setQuoteKeepsWhatTheQuoteLacks()
    {
        m_page->setQuote(makeQuote("2016-10-01", "Seneca"));
        QCOMPARE(textOf(child(m_page, "authorLabel")), QStringLiteral("\u2014 Seneca"));
        QCOMPARE(textOf(child(m_page, "dateDayLabel")), QStringLiteral("01"));
        QCOMPARE(textOf(child(m_page, "dateMonthYearLabel")), QStringLiteral("Oct. 2016"));
        const QUrl firstImage = m_page->imageSource();
        QVERIFY(!firstImage.isEmpty());

        auto bare = OstQuotePtr::create();
        bare->setAssign_date(QStringLiteral("2016-02-30"));
        bare->setContent(QStringLiteral("Only this."));
        m_page->setQuote(bare);
        QCOMPARE(textOf(child(m_page, "authorLabel")), QStringLiteral("\u2014 Seneca"));
        QCOMPARE(textOf(child(m_page, "dateDayLabel")), QStringLiteral("01"));
        QCOMPARE(textOf(child(m_page, "dateMonthYearLabel")), QStringLiteral("Oct. 2016"));
        QCOMPARE(m_page->imageSource(), firstImage);
        QCOMPARE(textOf(child(m_page, "contentLabel")), QStringLiteral("Only this."));
        QVERIFY(textOf(child(m_page, "translationLabel")).isEmpty());
        QCOMPARE(m_page->quote(), bare);

        // An empty translation takes no room: the sentence sits where the translation was.
        QTRY_COMPARE(rectIn(child(m_page, "contentLabel"), m_page).bottom(),
                     rectIn(child(m_page, "authorLabel"), m_page).top() - 8 - 15);

        m_page->setQuote({});
        QVERIFY(textOf(child(m_page, "contentLabel")).isEmpty());
        QCOMPARE(textOf(child(m_page, "authorLabel")), QStringLiteral("\u2014 Seneca"));

        auto december = makeQuote("2019-12-25", "Pascal");
        december->setOrigin_img_urls({QStringLiteral("not a url at all %%")});
        m_page->setQuote(december);
        QCOMPARE(textOf(child(m_page, "dateDayLabel")), QStringLiteral("25"));
        QCOMPARE(textOf(child(m_page, "dateMonthYearLabel")), QStringLiteral("Dec. 2019"));
        QCOMPARE(m_page->imageSource(), firstImage);
    }

    // What the server sent is shown as it was sent: markup and entities in the sentence, the
    // translation and the author are text, and a picture named in them is never fetched.
    void serverTextIsShownAsItWasSent()
    {
        HttpFixture pictures;
        QVERIFY(pictures.listen());
        auto quote = makeQuote("2016-10-01", QStringLiteral("<i>Anon</i> &amp; co"));
        quote->setContent(QStringLiteral("<b>Bold</b> <img src=\"%1/content.png\">").arg(pictures.baseURL()));
        quote->setTranslation(QStringLiteral("<u>下划线</u> &lt;<img src=\"%1/t.png\">").arg(pictures.baseURL()));
        m_page->setQuote(quote);
        QCOMPARE(textOf(child(m_page, "contentLabel")), quote->content());
        QCOMPARE(textOf(child(m_page, "translationLabel")), quote->translation());
        QCOMPARE(textOf(child(m_page, "authorLabel")), QStringLiteral("\u2014 <i>Anon</i> &amp; co"));
        for (QQuickItem *label : {child(m_page, "contentLabel"), child(m_page, "translationLabel"), child(m_page, "authorLabel")})
            QVERIFY2(showsTextLiterally(label), qPrintable(textOf(label)));
        m_view->grabWindow();
        QTest::qWait(300);
        QCOMPARE(pictures.requestCount(), 0);
    }

    void tapsOnTheBarePictureToggleTheCover_data()
    {
        QTest::addColumn<bool>("touch");
        QTest::newRow("mouse") << false;
        QTest::newRow("touch") << true;
    }

    void tapsOnTheBarePictureToggleTheCover()
    {
        QFETCH(bool, touch);
        m_touch = touch;
        const auto mouseAgain = qScopeGuard([this]() { m_touch = false; });
        m_page->setQuote(makeQuote("2016-10-01"));
        QVERIFY(m_page->isShowing());
        // On the top cover and on the text: nothing.
        click(QPointF(187, 50));
        click(rectIn(child(m_page, "contentLabel"), m_page).center());
        click(QPointF(187, 600));
        QTest::qWait(400);
        QVERIFY(m_page->isShowing());
        QCOMPARE(m_page->coverOffset(), 0.0);

        // On the picture: the cover slides down by its height, and the flag follows at the end.
        click(QPointF(187, 300));
        QVERIFY(m_page->isShowing());
        QTRY_COMPARE(m_page->coverOffset(), 250.0);
        QTRY_VERIFY(!m_page->isShowing());
        QCOMPARE(rectIn(m_page->findChild<QQuickItem *>(QStringLiteral("coverView")), m_page).top(), 667.0);

        // With the cover away, the bottom of the page is bare picture too.
        click(QPointF(187, 600));
        QTRY_COMPARE(m_page->coverOffset(), 0.0);
        QTRY_VERIFY(m_page->isShowing());
    }

    void quickDoubleTapLeavesTheFlagOutOfStep()
    {
        m_page->setQuote(makeQuote("2016-10-01"));
        click(QPointF(187, 300));
        QTest::qWait(60);
        click(QPointF(187, 300));
        QTRY_COMPARE(m_page->coverOffset(), 250.0);
        QTest::qWait(400);
        QVERIFY2(m_page->isShowing(), "both completions flipped the flag");
        click(QPointF(187, 300));
        QTest::qWait(400);
        QCOMPARE(m_page->coverOffset(), 250.0);
        QVERIFY(!m_page->isShowing());
    }

    void showCoverWithoutAnimationLaysOutAtOnce()
    {
        m_page->setQuote(makeQuote("2016-10-01"));
        click(QPointF(187, 300));
        QTRY_VERIFY(!m_page->isShowing());
        m_page->showCoverViewWithAnimated(false);
        QCOMPARE(m_page->coverOffset(), 0.0);
        QVERIFY(!m_page->isShowing());
        QTRY_VERIFY(m_page->isShowing());

        m_page->showCoverViewWithAnimated(true);
        QTest::qWait(400);
        QVERIFY(m_page->isShowing());
        QCOMPARE(m_page->coverOffset(), 0.0);
    }

    // A host's own skin, built on the template, with a cover move that goes on after the
    // offset has arrived (a settle, as overshooting and spring easings have): the page's flag
    // follows the end of the skin's motion, not the moment the offset first reads its goal.
    void aSkinOfTheHostsOwnEndsTheMoveWhenItsMotionEnds()
    {
        QQmlComponent skin(m_view->engine());
        skin.setData(R"(
            import QtQuick
            import OstQuote
            OstQuoteViewTemplate {
                id: page
                width: 375; height: 667
                coverSliding: motion.running
                Behavior on coverOffset {
                    SequentialAnimation {
                        id: motion
                        NumberAnimation { duration: 60 }
                        PauseAnimation { duration: 300 }
                    }
                }
                Rectangle {
                    objectName: "hostCover"
                    width: page.width; height: page.coverHeight
                    y: page.height - height + page.coverOffset
                    color: "teal"
                }
            })", QUrl());
        std::unique_ptr<OstQuoteView> page(qobject_cast<OstQuoteView *>(skin.create()));
        QVERIFY2(page, qPrintable(skin.errorString()));
        page->setParentItem(m_view->contentItem());
        page->setQuote(makeQuote("2016-10-01"));
        QVERIFY(page->findChild<QQuickItem *>(QStringLiteral("hostCover")));
        QVERIFY(!page->findChild<QQuickItem *>(QStringLiteral("coverView")));

        bool slidingAtTheFlip = true;
        connect(page.get(), &OstQuoteView::isShowingChanged, this,
                [&]() { slidingAtTheFlip = page->coverSliding(); });
        click(QPointF(187, 300));
        QTRY_COMPARE(page->coverOffset(), 250.0);
        QVERIFY2(page->isShowing(), "the offset has arrived, the skin's motion has not ended");
        QTRY_VERIFY(!page->isShowing());
        QVERIFY(!slidingAtTheFlip);
    }
};

QTEST_MAIN(TestOstQuoteView)
#include "tst_ostquoteview.moc"
