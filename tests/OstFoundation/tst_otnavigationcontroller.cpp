#include "RecordingScreen.h"
#include "SceneItems.h"
#include "TestWindow.h"
#include "TouchScreen.h"


#include <OTNavigationController.h>

#include <QAccessible>
#include <QQmlEngine>
#include <QQuickView>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

class TestOTNavigationController : public QObject
{
    Q_OBJECT

    std::unique_ptr<QQuickView> m_view;
    OTNavigationController *m_host = nullptr;
    QStringList m_log;

    RecordingScreen *screen(const QString &name) { return new RecordingScreen(name, &m_log); }

    QQuickItem *skinChild(const char *name) const
    {
        return m_host->findChild<QQuickItem *>(QString::fromLatin1(name));
    }
    QQuickItem *backButton() const { return skinChild("navigationBackButton"); }
    QQuickItem *titleLabel() const { return skinChild("navigationTitle"); }
    QRectF spaceUnderTheBar() const
    {
        const qreal top = sceneRect(skinChild("navigationBar")).bottom();
        return QRectF(0, top, 375, 667 - top);
    }

    // A root screen A and B pushed over it without animation; the log starts empty.
    void openTwo(QPointer<RecordingScreen> &a, QPointer<RecordingScreen> &b)
    {
        a = screen("A");
        b = screen("B");
        m_host->pushViewController(a, false);
        m_host->pushViewController(b, false);
        m_log.clear();
    }

private Q_SLOTS:
    void init()
    {
        m_log.clear();
        m_view = openTestWindow();
        QVERIFY(m_view);
        m_host = OTNavigationController::create(m_view->engine(), m_view->rootObject());
        QVERIFY(m_host);
        m_host->setSize(QSizeF(375, 667));
        QVERIFY(skinChild("stackView"));
        QVERIFY(skinChild("navigationBar"));
    }

    void cleanup()
    {
        delete m_host;
        m_view.reset();
    }

    // --- Life cycle ---------------------------------------------------------------------------

    void changesWithoutAnimationFinishAtOnce()
    {
        QPointer<RecordingScreen> a = screen("A");
        QSignalSpy finished(m_host, &OTNavigationController::transitionFinished);
        m_host->pushViewController(a, false);
        QCOMPARE(m_log, (QStringList{"A.load", "A.willAppear(0)", "A.didAppear(0)"}));
        QCOMPARE(m_host->depth(), 1);
        QCOMPARE(m_host->topViewController(), a.data());
        QCOMPARE(a->navigationController(), m_host);
        QVERIFY(a->isViewLoaded());
        QVERIFY(a->isVisibleOnScreen());
        QCOMPARE(finished.count(), 1);

        m_log.clear();
        QPointer<RecordingScreen> b = screen("B");
        m_host->pushViewController(b, false);
        QCOMPARE(m_log, (QStringList{"B.load", "A.willDisappear(0)", "B.willAppear(0)", "A.didDisappear(0)",
                                     "B.didAppear(0)"}));
        QCOMPARE(m_host->depth(), 2);
        QCOMPARE(m_host->viewControllers(), (QList<OTCommonsViewController *>{a, b}));
        QVERIFY(!a->isVisibleOnScreen());
        QVERIFY(b->isVisibleOnScreen());
        QVERIFY(!m_host->isBusy());
        QCOMPARE(finished.count(), 2);

        m_log.clear();
        QCOMPARE(m_host->popViewControllerAnimated(false), b.data());
        QCOMPARE(m_log, (QStringList{"B.willDisappear(0)", "A.willAppear(0)", "B.didDisappear(0)", "A.didAppear(0)"}));
        QCOMPARE(m_host->depth(), 1);
        QCOMPARE(finished.count(), 3);
        // Off the screen at once, deleted a moment later.
        QVERIFY(b);
        QVERIFY(!b->parentItem());
        QVERIFY(!b->navigationController());
        QTRY_VERIFY(!b);
        QVERIFY(a->isVisibleOnScreen());
        QCOMPARE(a->loads, 1);
    }

    void animatedChangesFinishWhenTheStackViewRests()
    {
        QPointer<RecordingScreen> a = screen("A");
        m_host->pushViewController(a, true);
        // The first screen has nothing to slide over: it is there at once.
        QCOMPARE(m_log, (QStringList{"A.load", "A.willAppear(1)", "A.didAppear(1)"}));

        m_log.clear();
        QSignalSpy finished(m_host, &OTNavigationController::transitionFinished);
        QPointer<RecordingScreen> b = screen("B");
        m_host->pushViewController(b, true);
        QCOMPARE(m_log, (QStringList{"B.load", "A.willDisappear(1)", "B.willAppear(1)"}));
        QVERIFY(m_host->isBusy());
        QVERIFY(skinChild("stackView")->property("busy").toBool());
        QCOMPARE(m_host->depth(), 2);
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(m_log, (QStringList{"B.load", "A.willDisappear(1)", "B.willAppear(1)", "A.didDisappear(1)",
                                     "B.didAppear(1)"}));
        QVERIFY(!m_host->isBusy());
        // The screen fills the space under the bar.
        QCOMPARE(sceneRect(b), spaceUnderTheBar());
        QVERIFY(b->isVisible());
        QVERIFY(!a->isVisible());

        m_log.clear();
        QCOMPARE(m_host->popViewControllerAnimated(true), b.data());
        QCOMPARE(m_log, (QStringList{"B.willDisappear(1)", "A.willAppear(1)"}));
        QVERIFY(m_host->isBusy());
        QCOMPARE(m_host->depth(), 1);
        QCOMPARE(m_host->topViewController(), a.data());
        QVERIFY(b);  // the slide still moves it
        QTRY_COMPARE(finished.count(), 2);
        QCOMPARE(m_log, (QStringList{"B.willDisappear(1)", "A.willAppear(1)", "B.didDisappear(1)", "A.didAppear(1)"}));
        QTRY_VERIFY(!b);
        QCOMPARE(sceneRect(a), spaceUnderTheBar());
        QVERIFY(a->isVisible());
    }

    void aChangeDuringAnotherFinishesTheFirstOne()
    {
        QPointer<RecordingScreen> a = screen("A");
        m_host->pushViewController(a, false);
        m_log.clear();
        QPointer<RecordingScreen> b = screen("B");
        QPointer<RecordingScreen> c = screen("C");
        m_host->pushViewController(b, true);
        m_host->pushViewController(c, true);
        QCOMPARE(m_log, (QStringList{"B.load", "A.willDisappear(1)", "B.willAppear(1)", "A.didDisappear(1)",
                                     "B.didAppear(1)", "C.load", "B.willDisappear(1)", "C.willAppear(1)"}));
        QTRY_VERIFY(!m_host->isBusy());
        QCOMPARE(m_log.mid(8), (QStringList{"B.didDisappear(1)", "C.didAppear(1)"}));

        // A pop while a pop slides: the first popped screen goes only once all is at rest.
        m_log.clear();
        m_host->popViewControllerAnimated(true);
        m_host->popViewControllerAnimated(true);
        QCOMPARE(m_log, (QStringList{"C.willDisappear(1)", "B.willAppear(1)", "C.didDisappear(1)", "B.didAppear(1)",
                                     "B.willDisappear(1)", "A.willAppear(1)"}));
        QCoreApplication::processEvents();
        QVERIFY(c);
        QTRY_VERIFY(!m_host->isBusy());
        QTRY_VERIFY(!b && !c);
        QCOMPARE(m_host->viewControllers(), (QList<OTCommonsViewController *>{a}));
        QVERIFY(a->isVisibleOnScreen() && a->isVisible());
    }

    void popToRootTakesEveryScreenAboveTheFirst()
    {
        QPointer<RecordingScreen> a = screen("A"), b = screen("B"), c = screen("C"), d = screen("D");
        for (RecordingScreen *s : {a.data(), b.data(), c.data(), d.data()})
            m_host->pushViewController(s, false);
        m_log.clear();
        m_host->popToRootViewControllerAnimated(true);
        QCOMPARE(m_host->depth(), 1);
        QCOMPARE(m_host->title(), QStringLiteral("A title"));
        // The covered screens in between only go.
        QCOMPARE(m_log, (QStringList{"D.willDisappear(1)", "A.willAppear(1)"}));
        QTRY_COMPARE(m_log.size(), 4);
        QCOMPARE(m_log.mid(2), (QStringList{"D.didDisappear(1)", "A.didAppear(1)"}));
        QTRY_VERIFY(!b && !c && !d);

        m_log.clear();
        m_host->popToRootViewControllerAnimated(false);
        QVERIFY(m_log.isEmpty());
    }

    void setViewControllersReplacesTheWholeStack()
    {
        QPointer<RecordingScreen> a, b;
        openTwo(a, b);
        QSignalSpy finished(m_host, &OTNavigationController::transitionFinished);
        QPointer<RecordingScreen> c = screen("C"), d = screen("D");
        m_host->setViewControllers({c, d});
        // The old top goes as if popped, the new one comes as if pushed; both new screens load.
        QCOMPARE(m_log, (QStringList{"C.load", "D.load", "B.willDisappear(0)", "D.willAppear(0)", "B.didDisappear(0)",
                                     "D.didAppear(0)"}));
        QCOMPARE(m_host->viewControllers(), (QList<OTCommonsViewController *>{c, d}));
        QCOMPARE(m_host->title(), QStringLiteral("D title"));
        QCOMPARE(finished.count(), 1);
        QVERIFY(!m_host->isBusy());
        QVERIFY(d->isVisible() && d->isVisibleOnScreen());
        QVERIFY(!c->isVisibleOnScreen());
        QTRY_VERIFY(!a && !b);

        // What lies beneath is a real stack: going back uncovers C, which stays the root.
        m_log.clear();
        QCOMPARE(m_host->popViewControllerAnimated(false), d.data());
        QCOMPARE(m_log, (QStringList{"D.willDisappear(0)", "C.willAppear(0)", "D.didDisappear(0)", "C.didAppear(0)"}));
        QVERIFY(c->isVisible());
        QCOMPARE(m_host->popViewControllerAnimated(false), nullptr);
        QTRY_VERIFY(!d);

        // Refused, leaving the stack as it is: a screen already on it, or nothing at all.
        m_log.clear();
        std::unique_ptr<RecordingScreen> e(screen("E"));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("on the stack already"));
        m_host->setViewControllers({e.get(), c});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no screen"));
        m_host->setViewControllers({nullptr});
        QCOMPARE(m_host->viewControllers(), (QList<OTCommonsViewController *>{c}));
        QVERIFY(m_log.isEmpty());
        QVERIFY(!e->navigationController());
    }

    void setViewControllersDuringASlide()
    {
        QPointer<RecordingScreen> a = screen("A");
        m_host->pushViewController(a, false);
        QPointer<RecordingScreen> b = screen("B");
        m_host->pushViewController(b, true);
        QVERIFY(m_host->isBusy());
        m_log.clear();
        // The slide's did-calls come first; the replaced screens go once all is at rest.
        QPointer<RecordingScreen> c = screen("C");
        m_host->setViewControllers({c});
        QCOMPARE(m_log.mid(0, 5), (QStringList{"A.didDisappear(1)", "B.didAppear(1)", "C.load", "B.willDisappear(0)",
                                               "C.willAppear(0)"}));
        QTRY_VERIFY(!m_host->isBusy());
        QCOMPARE(m_log.mid(5), (QStringList{"B.didDisappear(0)", "C.didAppear(0)"}));
        QTRY_VERIFY(!a && !b);
        QCOMPARE(m_host->viewControllers(), (QList<OTCommonsViewController *>{c}));
        QVERIFY(c->isVisible());
    }

    void theRootCannotBePopped()
    {
        QSignalSpy finished(m_host, &OTNavigationController::transitionFinished);
        QCOMPARE(m_host->popViewControllerAnimated(true), nullptr);
        m_host->popToRootViewControllerAnimated(true);
        QPointer<RecordingScreen> a = screen("A");
        m_host->pushViewController(a, false);
        m_log.clear();
        QCOMPARE(m_host->popViewControllerAnimated(true), nullptr);
        QCOMPARE(m_host->popViewControllerAnimated(false), nullptr);
        QVERIFY(m_log.isEmpty());
        QCOMPARE(m_host->depth(), 1);
        QCoreApplication::processEvents();
        QVERIFY(a);
        QVERIFY(a->isVisibleOnScreen());
        QCOMPARE(finished.count(), 1);
    }

    void theSameScreenIsPushedOnce()
    {
        QPointer<RecordingScreen> a, b;
        openTwo(a, b);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("on the stack already"));
        m_host->pushViewController(a, false);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no screen"));
        m_host->pushViewController(nullptr, true);
        QCOMPARE(m_host->depth(), 2);
        QVERIFY(m_log.isEmpty());
    }

    void aScreenDeletedElsewhereLeavesTheStack()
    {
        QPointer<RecordingScreen> a, b;
        openTwo(a, b);
        QSignalSpy depth(m_host, &OTNavigationController::depthChanged);
        delete b.data();
        QCOMPARE(depth.count(), 1);
        QCOMPARE(m_host->depth(), 1);
        QCOMPARE(m_host->topViewController(), a.data());
        QCOMPARE(m_host->title(), QStringLiteral("A title"));
        QCOMPARE(m_host->popViewControllerAnimated(false), nullptr);
    }

    void deletingTheHostDuringASlide()
    {
        QPointer<RecordingScreen> a, b;
        openTwo(a, b);
        QPointer<RecordingScreen> c = screen("C");
        m_host->pushViewController(c, true);
        m_host->popViewControllerAnimated(true);
        QVERIFY(m_host->isBusy());
        delete m_host;
        m_host = nullptr;
        QVERIFY(!a && !b && !c);
        // The window goes on drawing.
        QTest::qWait(50);
        QVERIFY(!m_view->grabWindow().isNull());
    }

    // --- The navigation bar -------------------------------------------------------------------

    void theBarHidesAndTheStackTakesItsPlace()
    {
        QPointer<RecordingScreen> a = screen("A");
        m_host->pushViewController(a, false);
        QQuickItem *bar = skinChild("navigationBar");
        QVERIFY(!m_host->isNavigationBarHidden());
        QVERIFY(bar->isVisible());
        // The screen takes the rest of the window, under the bar.
        const qreal barHeight = sceneRect(bar).height();
        QCOMPARE(sceneRect(a), QRectF(0, barHeight, 375, 667 - barHeight));

        QSignalSpy hiddenChanged(m_host, &OTNavigationController::navigationBarHiddenChanged);
        m_host->setNavigationBarHidden(true, false);
        QVERIFY(m_host->isNavigationBarHidden());
        QCOMPARE(hiddenChanged.count(), 1);
        QCOMPARE(m_host->navigationBarHiddenProgress(), 1.0);
        QVERIFY(!bar->isVisible());
        QCOMPARE(sceneRect(a), QRectF(0, 0, 375, 667));
        m_host->setNavigationBarHidden(true, true);
        QCOMPARE(hiddenChanged.count(), 1);

        // Back, animated: the flag at once, the bar on its way down.
        QList<qreal> steps;
        connect(m_host, &OTNavigationController::navigationBarHiddenProgressChanged, this,
                [&]() { steps.append(m_host->navigationBarHiddenProgress()); });
        m_host->setNavigationBarHidden(false, true);
        QVERIFY(!m_host->isNavigationBarHidden());
        QCOMPARE(m_host->navigationBarHiddenProgress(), 1.0);
        QTRY_COMPARE(m_host->navigationBarHiddenProgress(), 0.0);
        QVERIFY(std::any_of(steps.begin(), steps.end(), [](qreal p) { return p > 0.0 && p < 1.0; }));
        QVERIFY(std::is_sorted(steps.rbegin(), steps.rend()));
        QCOMPARE(sceneRect(bar).top(), 0.0);
        QCOMPARE(a->size(), QSizeF(375, 667 - barHeight));

        // Turned round half way, it goes back from where it is.
        m_host->setNavigationBarHidden(true, true);
        QTRY_VERIFY(m_host->navigationBarHiddenProgress() > 0.2);
        m_host->setNavigationBarHidden(false, true);
        QVERIFY(m_host->navigationBarHiddenProgress() > 0.2);
        QTRY_COMPARE(m_host->navigationBarHiddenProgress(), 0.0);
        QVERIFY(bar->isVisible());
    }

    void theBackButtonAndTheTitle()
    {
        QPointer<RecordingScreen> a = screen("A");
        m_host->pushViewController(a, false);
        QCOMPARE(titleLabel()->property("text").toString(), QStringLiteral("A title"));
        QVERIFY(!backButton()->isVisible());
        // A click where the button would be does nothing.
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, QPoint(20, 22));
        QCoreApplication::processEvents();
        QCOMPARE(m_host->depth(), 1);

        QPointer<RecordingScreen> b = screen("B");
        QSignalSpy titleChanged(m_host, &OTNavigationController::titleChanged);
        m_host->pushViewController(b, false);
        QCOMPARE(titleChanged.count(), 1);
        QCOMPARE(m_host->title(), QStringLiteral("B title"));
        QCOMPARE(titleLabel()->property("text").toString(), QStringLiteral("B title"));
        QVERIFY(backButton()->isVisible());
        // Centred to the pixel.
        QVERIFY(qAbs(sceneRect(titleLabel()).center().x() - 375 / 2.0) <= 0.5);
        QVERIFY(qAbs(sceneRect(titleLabel()).center().y() - 22.0) <= 0.5);

        // The top screen's title is followed as it changes.
        b->setTitle(QStringLiteral("Renamed"));
        QCOMPARE(titleChanged.count(), 2);
        QCOMPARE(titleLabel()->property("text").toString(), QStringLiteral("Renamed"));
        a->setTitle(QStringLiteral("Covered"));
        QCOMPARE(titleChanged.count(), 2);

        m_log.clear();
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(backButton()));
        QCOMPARE(m_log, (QStringList{"B.willDisappear(1)", "A.willAppear(1)"}));
        QCOMPARE(m_host->depth(), 1);
        QCOMPARE(titleLabel()->property("text").toString(), QStringLiteral("Covered"));
        QTRY_VERIFY(!b);
        QCOMPARE(m_log.size(), 4);
        QVERIFY(!backButton()->isVisible());
    }

    void aTouchOnTheBackButtonPopsToo()
    {
        QPointer<RecordingScreen> a, b;
        openTwo(a, b);
        touchTap(m_view.get(), centreOf(backButton()));
        QTRY_VERIFY(!b);
        QCOMPARE(m_host->depth(), 1);
    }

    // Without a pointer: screen readers find the button by name, Tab reaches it (a ring
    // shows it) and Enter presses it.
    void theBackButtonWithoutAPointer()
    {
        QPointer<RecordingScreen> a, b;
        openTwo(a, b);
        QAccessible::setActive(true);
        QAccessibleInterface *named = QAccessible::queryAccessibleInterface(backButton());
        QVERIFY(named);
        QCOMPARE(named->role(), QAccessible::Button);
        QCOMPARE(named->text(QAccessible::Name), QStringLiteral("Back"));

        QQuickItem *ring = skinChild("navigationBackButtonFocusRing");
        QVERIFY(ring && !ring->isVisible());
        for (int i = 0; i < 4 && !backButton()->hasActiveFocus(); ++i)
            QTest::keyClick(m_view.get(), Qt::Key_Tab);
        QVERIFY(backButton()->hasActiveFocus());
        QVERIFY(ring->isVisible());
        QTest::keyClick(m_view.get(), Qt::Key_Return);
        QTRY_VERIFY(!b);
        QCOMPARE(m_host->depth(), 1);
    }

    void backActionLeavesTheScreenInView()
    {
        QPointer<RecordingScreen> a, b;
        openTwo(a, b);
        QPointer<RecordingScreen> c = screen("C");
        m_host->pushViewController(c, false);
        m_log.clear();

        // A covered screen, and one that is not on a host, stay where they are.
        b->backAction();
        RecordingScreen loose(QStringLiteral("L"), &m_log);
        loose.backAction();
        QVERIFY(m_log.isEmpty());
        QCOMPARE(m_host->depth(), 3);

        c->backAction();
        QCOMPARE(m_log, (QStringList{"C.willDisappear(1)", "B.willAppear(1)"}));
        QCOMPARE(m_host->depth(), 2);
        QTRY_VERIFY(!c);
        b->backAction();
        QTRY_VERIFY(!b);
        a->backAction();
        QCOMPARE(m_host->depth(), 1);
        QVERIFY(a);
    }

    // --- Screens ------------------------------------------------------------------------------

    void screensFindTheirEngineAndLoadOnce()
    {
        RecordingScreen loose(QStringLiteral("L"), &m_log);
        QCOMPARE(loose.qmlEngineForScene(), nullptr);
        QVERIFY(!loose.isViewLoaded());
        loose.loadViewIfNeeded();
        loose.loadViewIfNeeded();
        QCOMPARE(loose.loads, 1);
        QVERIFY(loose.isViewLoaded());

        QPointer<RecordingScreen> a = screen("A");
        m_host->pushViewController(a, false);
        QCOMPARE(a->qmlEngineForScene(), m_view->engine());
        QCOMPARE(a->loads, 1);
        // Through plain items in between too.
        auto *inner = new OTCommonsViewController;
        auto *holder = new QQuickItem(a);
        inner->setParentItem(holder);
        inner->setParent(holder);
        QCOMPARE(inner->qmlEngineForScene(), m_view->engine());
        QVERIFY(inner->supportedInterfaceOrientations() & Qt::PortraitOrientation);
    }

    void aHostWithoutSkinStillStacks()
    {
        OTNavigationController bare;
        bare.setParentItem(m_view->contentItem());
        bare.setSize(QSizeF(200, 300));
        QPointer<RecordingScreen> a = screen("A"), b = screen("B");
        bare.pushViewController(a, true);
        bare.pushViewController(b, true);
        QCOMPARE(m_log, (QStringList{"A.load", "A.willAppear(1)", "A.didAppear(1)", "B.load", "A.willDisappear(1)",
                                     "B.willAppear(1)", "A.didDisappear(1)", "B.didAppear(1)"}));
        QVERIFY(b->isVisible() && !a->isVisible());
        QCOMPARE(b->size(), QSizeF(200, 300));
        bare.setSize(QSizeF(250, 300));
        QCOMPARE(b->size(), QSizeF(250, 300));
        bare.popViewControllerAnimated(true);
        QVERIFY(a->isVisible());
        QTRY_VERIFY(!b);
    }
};

QTEST_MAIN(TestOTNavigationController)
#include "tst_otnavigationcontroller.moc"
