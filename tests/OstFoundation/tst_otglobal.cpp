#include "SceneItems.h"
#include "TestWindow.h"

#include <Global.h>
#include <OTNotificationCenter.h>

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

namespace {

// The texts of `root`'s tree that are on screen.
QStringList visibleTexts(QQuickItem *root)
{
    QStringList texts;
    for (QQuickItem *item : root->findChildren<QQuickItem *>()) {
        if (item->inherits("QQuickText") && item->isVisible())
            texts.append(item->property("text").toString());
    }
    return texts;
}

} // namespace

// The HUD over real windows, and the notification centre.
class TestOTGlobal : public QObject
{
    Q_OBJECT

    std::unique_ptr<QQuickView> m_view;

private Q_SLOTS:
    void initTestCase()
    {
        // Where every engine finds the foundation's module, also one that Global makes itself.
        qputenv("QML_IMPORT_PATH", OST_QML_DIR);
    }

    void init()
    {
        m_view = std::make_unique<QQuickView>();
        m_view->setResizeMode(QQuickView::SizeRootObjectToView);
        // A screen with a button that counts its clicks, and something high up in z.
        m_view->setSource(QUrl(QStringLiteral(
            "data:text/plain,import QtQuick%0A"
            "Item { property int clicks: 0%0A"
            "  MouseArea { anchors.fill: parent; onClicked: parent.clicks++ }%0A"
            "  Rectangle { z: 100; width: 50; height: 50; color: 'red' } }")));
        m_view->resize(375, 667);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    }

    void cleanup()
    {
        m_view.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // --- The HUD ------------------------------------------------------------------------------

    // First of all, so that the shared object is first asked for from a worker thread: the
    // message is shown on the GUI thread, in the window, and the worker is never blocked.
    void aMessageAskedForFromAnotherThreadShowsOnTheGuiThread()
    {
        QThread *worker = QThread::create([]() {
            Global::sharedGlobal()->showHUB(QStringLiteral("From a worker"), 1);
            // A notification posted there reaches its observer there, which may ask again.
            OTNotificationCenter::defaultCenter()->postNotificationName(OTSharedToWeiboSuccessNotification);
        });
        QObject observer;
        connect(OTNotificationCenter::defaultCenter(), &OTNotificationCenter::sharedToWeiboSuccess, &observer,
                []() { Global::sharedGlobal()->showHUB(QStringLiteral("Shared from a worker"), 0); },
                Qt::DirectConnection);
        worker->start();
        QVERIFY(worker->wait(10000));
        delete worker;

        Global *global = Global::sharedGlobal();
        QCOMPARE(global->thread(), QCoreApplication::instance()->thread());
        QTRY_COMPARE(global->lastHUBText(), QStringLiteral("Shared from a worker"));
        QTRY_COMPARE(messagesIn(m_view.get()).size(), 1);
        QQuickItem *hud = messagesIn(m_view.get()).first();
        QCOMPARE(hud->thread(), QCoreApplication::instance()->thread());
        QTRY_VERIFY(visibleTexts(hud).contains(QStringLiteral("Shared from a worker")));
    }

    void theMessageShowsThenFadesAway()
    {
        Global *global = Global::sharedGlobal();
        QSignalSpy shown(global, &Global::hubShown);
        global->showHUB(QStringLiteral("Link copied"), 0);
        QCOMPARE(shown.count(), 1);
        QCOMPARE(shown.first(), (QVariantList{QStringLiteral("Link copied"), 0}));
        QCOMPARE(global->lastHUBText(), QStringLiteral("Link copied"));

        const QList<QQuickItem *> huds = messagesIn(m_view.get());
        QCOMPARE(huds.size(), 1);
        QPointer<QQuickItem> hud = huds.first();
        // Over everything else on the screen, in the middle of the window.
        QVERIFY(hud->z() > 100);
        QCOMPARE(hud->opacity(), 1.0);
        auto *box = hud->findChild<QQuickItem *>(QStringLiteral("OTHUDBox"));
        QVERIFY(box);
        QVERIFY((sceneRect(box).center() - QPointF(187.5, 333.5)).manhattanLength() <= 1);
        QCOMPARE(visibleTexts(hud), QStringList{"Link copied"});

        // Faded, then gone.
        QTRY_VERIFY_WITH_TIMEOUT(hud && hud->opacity() < 1.0, 5000);
        QVERIFY(hud->opacity() > 0.0 || !hud->parentItem());
        QTRY_VERIFY_WITH_TIMEOUT(!hud, 5000);
        QVERIFY(messagesIn(m_view.get()).isEmpty());
        QCOMPARE(global->lastHUBText(), QStringLiteral("Link copied"));
    }

    void aNewMessageReplacesTheOneInView()
    {
        Global *global = Global::sharedGlobal();
        global->showHUB(QStringLiteral("First"), 0);
        QCOMPARE(messagesIn(m_view.get()).size(), 1);
        QPointer<QQuickItem> first = messagesIn(m_view.get()).first();
        global->showHUB(QStringLiteral("Second"), 1);
        const QList<QQuickItem *> huds = messagesIn(m_view.get());
        QCOMPARE(huds.size(), 1);
        QCOMPARE(huds.first()->property("text").toString(), QStringLiteral("Second"));
        QTRY_VERIFY(!first);
        QCOMPARE(global->lastHUBStatus(), 1);
    }

    void theStatusPicksTheIcon_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("plain") << 0 << QStringList{"Saved"};
        QTest::newRow("success") << 1 << QStringList{"\u2713", "Saved"};
        QTest::newRow("error") << 2 << QStringList{"\u2715", "Saved"};
    }

    void theStatusPicksTheIcon()
    {
        QFETCH(int, status);
        QFETCH(QStringList, texts);
        Global::sharedGlobal()->showHUB(QStringLiteral("Saved"), status);
        const QList<QQuickItem *> huds = messagesIn(m_view.get());
        QCOMPARE(huds.size(), 1);
        QQuickItem *hud = huds.first();
        QCOMPARE(hud->property("status").toInt(), status);
        QCOMPARE(visibleTexts(hud), texts);
    }

    void touchesGoThroughTheMessage()
    {
        Global::sharedGlobal()->showHUB(QStringLiteral("Over the button"), 0);
        QCOMPARE(messagesIn(m_view.get()).size(), 1);
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, QPoint(187, 333));
        QCOMPARE(m_view->rootObject()->property("clicks").toInt(), 1);
    }

    void aWindowBuiltWithoutQml()
    {
        m_view.reset();
        QQuickWindow window;
        auto *item = new QQuickItem(window.contentItem());
        item->setSize(QSizeF(200, 200));
        window.resize(300, 400);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        Global::sharedGlobal()->showHUB(QStringLiteral("Plain window"), 2);
        QCOMPARE(messagesIn(&window).size(), 1);
        QCOMPARE(messagesIn(&window).first()->property("text").toString(), QStringLiteral("Plain window"));
    }

    void withoutAWindowTheMessageIsOnlyRemembered()
    {
        m_view.reset();
        QSignalSpy shown(Global::sharedGlobal(), &Global::hubShown);
        Global::sharedGlobal()->showHUB(QStringLiteral("Nobody sees this"), 2);
        QCOMPARE(shown.count(), 1);
        QCOMPARE(Global::sharedGlobal()->lastHUBText(), QStringLiteral("Nobody sees this"));
        QCOMPARE(Global::sharedGlobal()->lastHUBStatus(), 2);
    }

    // --- Notifications ------------------------------------------------------------------------

    void theWeiboNotificationReachesItsObservers()
    {
        OTNotificationCenter *center = OTNotificationCenter::defaultCenter();
        QSignalSpy posted(center, &OTNotificationCenter::sharedToWeiboSuccess);
        QObject sender;
        QVERIFY(center->postNotificationName(OTSharedToWeiboSuccessNotification, &sender));
        QCOMPARE(posted.count(), 1);
        QCOMPARE(posted.first().at(0).value<QObject *>(), &sender);
        // The name is compared by its text, not by its address.
        const QByteArray copy("OTSharedToWeiboSuccessNotification");
        QVERIFY(center->postNotificationName(copy.constData()));
        QCOMPARE(posted.count(), 2);
        QCOMPARE(posted.last().at(0).value<QObject *>(), nullptr);

        QVERIFY(!center->postNotificationName("OTSomethingElse"));
        QVERIFY(!center->postNotificationName(""));
        QVERIFY(!center->postNotificationName(nullptr));
        QCOMPARE(posted.count(), 2);
    }
};

QTEST_MAIN(TestOTGlobal)
#include "tst_otglobal.moc"
