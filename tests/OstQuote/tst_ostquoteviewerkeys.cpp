#include "ViewerFixture.h"
#include "OstQuoteLaunchViewController.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QWheelEvent>

#include <functional>

namespace {

// The item's Accessible attached object, through which QML tells screen readers of changes.
QObject *accessibleAttached(QQuickItem *item)
{
    for (QObject *child : item->children()) {
        if (qstrcmp(child->metaObject()->className(), "QQuickAccessibleAttached") == 0)
            return child;
    }
    return nullptr;
}

QString accessibleName(QQuickItem *item)
{
    QAccessibleInterface *iface = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    return iface ? iface->text(QAccessible::Name) : QStringLiteral("<none>");
}

QAccessible::Role accessibleRole(QQuickItem *item)
{
    QAccessibleInterface *iface = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    return iface ? iface->role() : QAccessible::NoRole;
}

} // namespace

// The quote viewer without touch: keys, wheel and back keys, the keyboard's way through the
// screen and the share panel, and what screen readers find.
class TestOstQuoteViewerKeys : public ViewerFixture
{
    Q_OBJECT

    ulong m_wheelClock = 1000;

    // The days the server was asked for, in no particular order.
    QStringList requestedDays() const
    {
        QStringList days = m_server.requestedQuotes();
        days.sort();
        return days;
    }

    QQuickItem *focused() const { return m_view->activeFocusItem(); }

    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(m_view.get(), Qt::Key(key), modifiers);
    }

    void tap(QQuickItem *target)
    {
        QVERIFY(target);
        touchTap(m_view.get(), centreOf(target));
    }

    void wheel(QPoint angle, QPoint pixels, int afterMs)
    {
        m_wheelClock += ulong(afterMs);
        const QPointF at(187, 400);
        QWheelEvent event(at, m_view->mapToGlobal(at), pixels, angle, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                          false);
        event.setTimestamp(m_wheelClock);
        QGuiApplication::sendEvent(m_view.get(), &event);
    }

    // The largest page in view while `turn` runs.
    qreal largestPageDuring(const std::function<void()> &turn)
    {
        qreal largest = 0;
        const QMetaObject::Connection watching =
            connect(gallery()->scrollView(), &OTScrollView::contentOffsetChanged, this, [&largest, this]() {
                for (QQuickItem *child : gallery()->scrollView()->subviews()) {
                    if (child->opacity() > 0)
                        largest = qMax(largest, shownScale(child));
                }
            });
        turn();
        disconnect(watching);
        return largest;
    }

private Q_SLOTS:
    void initTestCase() { QAccessible::setActive(true); }
    void init() { setUpViewer(); }

    void cleanup()
    {
        tearDownViewer();
        QLocale::setDefault(QLocale::c());
    }

    // --- Paging ---------------------------------------------------------------------------

    // Two keys back and two forth ask the server for exactly what two swipes do, each turn
    // telling the screen where it lands before it gets there.
    void keysTurnTheDaysAsSwipesDo()
    {
        openViewerOnToday();
        swipe(200);
        swipe(200);
        QCOMPARE(gallery()->currentIndex(), 2);
        QTRY_COMPARE(requestedDays().size(), 4);
        QTest::qWait(300); // the access log is flushed every ~200 ms
        const QStringList afterSwipes = requestedDays();
        m_navigation->popViewControllerAnimated(false);
        QTRY_VERIFY(!m_viewer);
        forgetCachedAnswers(OstAPIClient::sharedClient());
        QVERIFY(startServer(kNow));

        openViewerOnToday();
        key(Qt::Key_Left);
        QVERIFY(gallery()->scrollView()->decelerating());
        QCOMPARE(gallery()->readyCurrentIndex(), 1);
        QCOMPARE(gallery()->currentIndex(), 0);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 1);
        key(Qt::Key_PageUp);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 2);
        QTRY_COMPARE(requestedDays().size(), 4);
        QTest::qWait(300);
        QCOMPARE(requestedDays(), afterSwipes);
        QCOMPARE(gallery()->currentQuoteView()->quote()->assign_date(), QStringLiteral("2017-02-27"));

        // Back to today: every day on the way is known, nothing more is asked.
        key(Qt::Key_Right);
        waitForRest();
        key(Qt::Key_PageDown);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 0);
        key(Qt::Key_Right); // nothing newer than today
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 0);
        QTest::qWait(300);
        QCOMPARE(requestedDays(), afterSwipes);
    }

    // The page being left shrinks and fades behind the one coming in, as under a finger.
    void aKeyTurnPlaysTheDepthEffect()
    {
        openViewerOnToday();
        OstQuoteView *today = gallery()->currentQuoteView();
        QList<qreal> opacities;
        connect(gallery()->scrollView(), &OTScrollView::contentOffsetChanged, this,
                [&opacities, today]() { opacities.append(today->opacity()); });
        key(Qt::Key_Left);
        waitForRest();
        disconnect(gallery()->scrollView(), &OTScrollView::contentOffsetChanged, this, nullptr);
        QVERIFY(opacities.size() > 3);
        QVERIFY(std::any_of(opacities.cbegin(), opacities.cend(), [](qreal o) { return o > 0.1 && o < 0.9; }));
        QCOMPARE(today->opacity(), 0.0);
        QCOMPARE(shownScale(today), 0.8);
        QCOMPARE(gallery()->currentQuoteView()->opacity(), 1.0);
    }

    // End goes to the first day and Home back to today in one page turn each, with no more
    // than the live pages made on the way.
    void homeAndEndGoToTheEnds()
    {
        openViewerOnToday();
        int mostPages = 0;
        const QMetaObject::Connection counting =
            connect(gallery()->scrollView(), &OTScrollView::contentOffsetChanged, this, [&mostPages, this]() {
                mostPages = qMax(mostPages, int(gallery()->scrollView()->subviews().size()));
            });
        key(Qt::Key_End);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 151);
        QTRY_VERIFY(requestedDays().contains(QStringLiteral("2016-09-30")));
        QVERIFY(requestedDays().contains(QStringLiteral("2016-10-01")));
        QCOMPARE(requestedDays().size(), 4);
        key(Qt::Key_Home);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 0);
        QCOMPARE(gallery()->currentQuoteView()->quote()->assign_date(), QStringLiteral("2017-03-01"));
        // Today's page whole and in its place, whatever the pages met on the way carried.
        OstQuoteView *today = gallery()->currentQuoteView();
        QCOMPARE(today->opacity(), 1.0);
        QCOMPARE(shownScale(today), 1.0);
        QCOMPARE(today->position().x(), gallery()->scrollView()->contentOffset().x());
        // Three days back and Home again: the jump lays the pages it keeps afresh.
        key(Qt::Key_Left);
        waitForRest();
        key(Qt::Key_Left);
        waitForRest();
        key(Qt::Key_Left);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 3);
        const qreal largest = largestPageDuring([this]() {
            key(Qt::Key_Home);
            waitForRest();
        });
        QVERIFY2(largest <= 1.0, qPrintable(QString::number(largest)));
        QCOMPARE(shownScale(gallery()->currentQuoteView()), 1.0);
        QCOMPARE(gallery()->currentQuoteView()->opacity(), 1.0);
        disconnect(counting);
        QVERIFY2(mostPages <= 4, qPrintable(QString::number(mostPages)));
    }

    // A notch turns one day, so does a trackpad swipe of many small moves; up and to the
    // right go back in time.
    void theWheelTurnsOneDayAtATime()
    {
        openViewerOnToday();
        wheel({0, 120}, {}, 500);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 1);
        for (int i = 0; i < 40; ++i)
            wheel({30, 0}, {10, 0}, i == 0 ? 500 : 8);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 2);
        wheel({0, -120}, {}, 500);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 1);
        QTRY_VERIFY(m_viewer->quotes().contains(QStringLiteral("2017-02-26")));
    }

    // A wheel spun fast: two notches in one event, then notches that come while the page is
    // still turning. Each turns one day from where the content is heading, and no page
    // shows bigger than whole or off its place on the way.
    void aFastWheelTurnsDayByDayWithTheDepthEffect()
    {
        openViewerOnToday();
        const qreal largest = largestPageDuring([this]() {
            wheel({0, 240}, {}, 500);
            waitForRest();
            QCOMPARE(gallery()->currentIndex(), 1);
            wheel({0, 120}, {}, 500);
            QTest::qWait(60);
            wheel({0, 120}, {}, 60);
            waitForRest();
        });
        QCOMPARE(gallery()->currentIndex(), 3);
        QVERIFY2(largest <= 1.0, qPrintable(QString::number(largest)));
        OstQuoteView *page = gallery()->currentQuoteView();
        QCOMPARE(page->opacity(), 1.0);
        QCOMPARE(shownScale(page), 1.0);
        QCOMPARE(page->position().x(), gallery()->scrollView()->contentOffset().x());
        QTRY_VERIFY(m_viewer->quotes().contains(QStringLiteral("2017-02-25")));
    }

    // --- The way out ----------------------------------------------------------------------

    void backKeysLeaveTheViewer_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::newRow("Esc") << int(Qt::Key_Escape) << int(Qt::NoModifier);
        QTest::newRow("Backspace") << int(Qt::Key_Backspace) << int(Qt::NoModifier);
        QTest::newRow("Alt+Left") << int(Qt::Key_Left) << int(Qt::AltModifier);
        QTest::newRow("platform back") << int(Qt::Key_Back) << int(Qt::NoModifier);
    }

    // With the panel up the first press takes it away and gives the keyboard back; the next
    // leaves the screen.
    void backKeysLeaveTheViewer()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        openViewerOnToday();
        tap(item("shareButton"));
        OstCustomShareView *panel = m_viewer->shareView();
        QVERIFY(panel->isShowing());
        QVERIFY(panelHoldsKeyboard());
        this->key(Qt::Key_Left); // no paging under the panel
        QVERIFY(!gallery()->scrollView()->decelerating());

        this->key(key, Qt::KeyboardModifiers(modifiers));
        QVERIFY(!panel->isShowing());
        QCOMPARE(focused(), item("galleryView"));
        QCOMPARE(m_navigation->depth(), 2);
        QCOMPARE(gallery()->currentIndex(), 0);

        this->key(key, Qt::KeyboardModifiers(modifiers));
        QTRY_COMPARE(m_navigation->depth(), 1);
        QTRY_VERIFY(!m_viewer);
    }

    // A share that went nowhere leaves the buttons hidden: the keys still lead out.
    void backKeysLeadOutOfAShareThatHidTheButtons()
    {
        openViewerOnToday();
        m_viewer->setQuotes({});
        tap(item("shareButton"));
        QTRY_COMPARE(m_viewer->shareView()->presentation(), 1.0);
        tap(panelItem(QStringLiteral("sharePlatformButton_0")));
        QVERIFY(m_shares->shares.isEmpty());
        QCOMPARE(m_viewer->chrome(), OstQuoteViewController::Screenshot);
        QVERIFY(!item("backButton")->isVisible());
        QVERIFY(m_viewer->hasActiveFocus());
        key(Qt::Key_Escape);
        QTRY_COMPARE(m_navigation->depth(), 1);
    }

    // --- Keyboard focus -------------------------------------------------------------------

    void tabGoesThroughTheButtonsAndThePanel()
    {
        openViewerOnToday();
        QVERIFY(m_viewer->hasActiveFocus());
        QCOMPARE(focused(), item("galleryView"));
        QVERIFY(!item("backButtonFocusRing")->isVisible());

        key(Qt::Key_Tab);
        QCOMPARE(focused(), item("backButton"));
        QVERIFY(item("backButtonFocusRing")->isVisible());
        key(Qt::Key_Tab);
        QCOMPARE(focused(), item("shareButton"));
        QVERIFY(item("shareButtonFocusRing")->isVisible());
        QVERIFY(!item("backButtonFocusRing")->isVisible());
        key(Qt::Key_Backtab);
        QCOMPARE(focused(), item("backButton"));
        key(Qt::Key_Tab);
        key(Qt::Key_Space);
        OstCustomShareView *panel = m_viewer->shareView();
        QVERIFY(panel->isShowing());
        QVERIFY(panelHoldsKeyboard());
        QTRY_COMPARE(panel->presentation(), 1.0);

        // Round the panel, never to the buttons underneath.
        QStringList reached;
        for (int i = 0; i < 24; ++i) {
            key(Qt::Key_Tab);
            QVERIFY(panelHoldsKeyboard());
            QVERIFY(panelItem(focused()->objectName() + QStringLiteral("FocusRing"))->isVisible());
            if (!reached.contains(focused()->objectName()))
                reached << focused()->objectName();
        }
        QStringList expected;
        for (const QVariant &platform : panel->platforms())
            expected << QStringLiteral("sharePlatformButton_%1").arg(platform.toMap().value("type").toInt());
        expected << QStringLiteral("shareCopyLinkButton") << QStringLiteral("shareCopyTextButton") << QStringLiteral("shareMoreButton")
                 << QStringLiteral("shareCancelButton");
        QCOMPARE(reached, expected);

        // Enter on cancel: the panel goes and the share button has the keyboard again.
        while (focused()->objectName() != QLatin1String("shareCancelButton"))
            key(Qt::Key_Tab);
        key(Qt::Key_Return);
        QVERIFY(!panel->isShowing());
        QCOMPARE(focused(), item("shareButton"));

        // Enter on the back button leaves.
        key(Qt::Key_Backtab);
        QCOMPARE(focused(), item("backButton"));
        key(Qt::Key_Enter);
        QTRY_COMPARE(m_navigation->depth(), 1);
    }

    // "More" turns the panel to the system share route: the keyboard stays in the panel, Tab
    // never reaches the buttons underneath, and the keyboard goes back to the share button.
    void theSystemShareRouteKeepsTheKeyboard()
    {
        openViewerOnToday();
        key(Qt::Key_Tab);
        key(Qt::Key_Tab);
        QCOMPARE(focused(), item("shareButton"));
        key(Qt::Key_Space);
        OstCustomShareView *panel = m_viewer->shareView();
        QTRY_COMPARE(panel->presentation(), 1.0);
        for (int i = 0; i < 24 && focused()->objectName() != QLatin1String("shareMoreButton"); ++i)
            key(Qt::Key_Tab);
        QCOMPARE(focused()->objectName(), QStringLiteral("shareMoreButton"));
        key(Qt::Key_Return);
        QVERIFY(panel->isSystemShareShowing());
        for (int i = 0; i < 6; ++i) {
            key(Qt::Key_Tab);
            QVERIFY2(panelHoldsKeyboard(), qPrintable(focused() ? focused()->objectName() : QString()));
        }
        key(Qt::Key_Escape);
        QVERIFY(!panel->isShowing());
        QCOMPARE(focused(), item("shareButton"));
    }

    // A tap does not give a button the keyboard, so no ring shows after one.
    void aTapShowsNoRing()
    {
        openViewerOnToday();
        tap(item("shareButton"));
        QTRY_COMPARE(m_viewer->shareView()->presentation(), 1.0);
        tap(panelItem(QStringLiteral("shareCancelButton")));
        QTRY_VERIFY(!m_viewer->shareView()->isShowing());
        QVERIFY(!item("shareButtonFocusRing")->isVisible());
        QCOMPARE(focused(), item("galleryView"));
    }

    // --- Screen readers -------------------------------------------------------------------

    void screenReadersFindEveryControl_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QStringList>("names"); // back, share, weibo, copy link, more, cancel, panel
        QTest::newRow("English") << "C"
                                 << QStringList{"Back", "Share", "Weibo", "Copy link", "More", "Cancel", "Share to", "Copy text"};
        QTest::newRow("Simplified Chinese") << "zh_CN"
                                            << QStringList{"返回", "分享", "微博", "复制链接", "更多", "取消", "分享到", "复制文字"};
    }
    void screenReadersFindEveryControl()
    {
        QFETCH(QString, locale);
        QFETCH(QStringList, names);
        QLocale::setDefault(QLocale(locale));
        openViewerOnToday();
        QCOMPARE(accessibleRole(item("backButton")), QAccessible::Button);
        QCOMPARE(accessibleName(item("backButton")), names[0]);
        QCOMPARE(accessibleRole(item("shareButton")), QAccessible::Button);
        QCOMPARE(accessibleName(item("shareButton")), names[1]);

        tap(item("shareButton"));
        OstCustomShareView *panel = m_viewer->shareView();
        QCOMPARE(accessibleRole(panel), QAccessible::Dialog);
        QCOMPARE(accessibleName(panel), names[6]);
        QCOMPARE(accessibleName(panelItem(QStringLiteral("sharePlatformButton_0"))), names[2]);
        QCOMPARE(accessibleName(panelItem(QStringLiteral("shareCopyLinkButton"))), names[3]);
        QCOMPARE(accessibleName(panelItem(QStringLiteral("shareCopyTextButton"))), names[7]);
        QCOMPARE(accessibleName(panelItem(QStringLiteral("shareMoreButton"))), names[4]);
        QCOMPARE(accessibleName(panelItem(QStringLiteral("shareCancelButton"))), names[5]);
        for (const QVariant &platform : panel->platforms()) {
            const QVariantMap target = platform.toMap();
            QQuickItem *button = panelItem(QStringLiteral("sharePlatformButton_%1").arg(target.value("type").toInt()));
            QCOMPARE(accessibleRole(button), QAccessible::Button);
            QCOMPARE(accessibleName(button), target.value("title").toString());
            QVERIFY(!accessibleName(button).isEmpty());
        }
        // The launch screen's button.
        OstQuoteLaunchViewController *launch = OstQuoteLaunchViewController::create(m_view->engine());
        QVERIFY(launch);
        const auto deleteLaunch = qScopeGuard([launch] { delete launch; });
        QQuickItem *button = findItem(launch, QStringLiteral("button"));
        QCOMPARE(accessibleRole(button), QAccessible::Button);
        QCOMPARE(accessibleName(button), launch->buttonTitle());
        QCOMPARE(accessibleName(button), locale == QLatin1String("C") ? QStringLiteral("Quotes") : QStringLiteral("每日一句"));
    }

    // A page reads as its date, its sentence, the translation and the author, in that order.
    void aPageReadsInOrder()
    {
        openViewerOnToday();
        OstQuoteView *page = gallery()->currentQuoteView();
        const OstQuotePtr quote = page->quote();
        QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(page);
        QVERIFY(iface);
        QCOMPARE(iface->text(QAccessible::Name), QStringLiteral("Wednesday, 1 March 2017"));
        QStringList texts;
        for (int i = 0; i < iface->childCount(); ++i) {
            QAccessibleInterface *child = iface->child(i);
            QCOMPARE(child->role(), QAccessible::StaticText);
            texts << child->text(QAccessible::Name);
        }
        QCOMPARE(texts, (QStringList{QStringLiteral("Wednesday, 1 March 2017"), quote->content(), quote->translation(),
                                     QStringLiteral("\u2014 ") + quote->author()}));
    }

    // The gallery names the day in view and says so again when it comes to rest on another,
    // not while the page turns.
    void theGalleryAnnouncesTheDayAtRest()
    {
        openViewerOnToday();
        QQuickItem *galleryItem = item("galleryView");
        QCOMPARE(accessibleName(galleryItem), QStringLiteral("Wednesday, 1 March 2017"));
        QObject *attached = accessibleAttached(galleryItem);
        QVERIFY(attached);
        QSignalSpy told(attached, SIGNAL(nameChanged()));
        key(Qt::Key_Left);
        QVERIFY(gallery()->scrollView()->decelerating());
        QCOMPARE(accessibleName(galleryItem), QStringLiteral("Wednesday, 1 March 2017"));
        QCOMPARE(told.count(), 0);
        waitForRest();
        QCOMPARE(accessibleName(galleryItem), QStringLiteral("Tuesday, 28 February 2017"));
        // Said once, at rest (the attached object sends NameChanged to screen readers then).
        QCOMPARE(told.count(), 1);
    }

    // The launch screen's button by keyboard: Tab, then Enter opens the viewer.
    void theLaunchButtonByKeyboard()
    {
        QPointer<OstQuoteLaunchViewController> launch = OstQuoteLaunchViewController::create(m_view->engine());
        QVERIFY(launch);
        m_navigation->pushViewController(launch, false);
        QTRY_VERIFY(launch->isVisibleOnScreen());
        QVERIFY(launch->hasActiveFocus());
        key(Qt::Key_Tab);
        QCOMPARE(focused(), findItem(launch, QStringLiteral("button")));
        key(Qt::Key_Return);
        QTRY_COMPARE(m_navigation->depth(), 3);
        QVERIFY(qobject_cast<OstQuoteViewController *>(m_navigation->topViewController()));
    }
};

QTEST_MAIN(TestOstQuoteViewerKeys)
#include "tst_ostquoteviewerkeys.moc"
