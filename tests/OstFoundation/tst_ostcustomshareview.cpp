#include "SceneItems.h"
#include "TestWindow.h"
#include "TouchScreen.h"
#include <Global.h>
#include <OTCommonsViewController.h>
#include <OTNavigationController.h>
#include <OTResourceHelper.h>
#include "RecordingSocialServiceBackend.h"
#include <OTSocialService.h>
#include <OstCustomShareView.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItemGrabResult>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

namespace {

// Writes down what the panel tells it; "more" can open the system share route.
class RecordingDelegate : public QObject, public OstCustomShareViewDelegate
{
    Q_OBJECT
    Q_INTERFACES(OstCustomShareViewDelegate)
public:
    QStringList calls;
    QList<OstCustomShareView *> views;
    QList<QPointer<QObject>> senders;
    QVariantList moreItems;  // with items, "more" opens the system share route for them
    OTCommonsViewController *moreController = nullptr;

    void shareViewShareToPlatform(OstCustomShareView *shareView, int platformType) override
    {
        calls.append(QStringLiteral("platform %1").arg(platformType));
        views.append(shareView);
        senders.append(nullptr);
    }
    void shareViewCopyLinkClicked(OstCustomShareView *shareView, QObject *sender) override
    {
        calls.append(QStringLiteral("copy link"));
        views.append(shareView);
        senders.append(sender);
    }
    void shareViewMoreButtonClicked(OstCustomShareView *shareView, QObject *sender) override
    {
        calls.append(QStringLiteral("more"));
        views.append(shareView);
        senders.append(sender);
        if (!moreItems.isEmpty())
            shareView->showSystemShareModuleWithActivityItems(moreItems, moreController);
    }
};

} // namespace

class TestOstCustomShareView : public QObject
{
    Q_OBJECT

    std::unique_ptr<QQuickView> m_view;
    QPointer<OTCommonsViewController> m_screen;
    QPointer<OstCustomShareView> m_panel;
    std::unique_ptr<RecordingDelegate> m_delegate;
    OTRecordingSocialServiceBackend *m_backend = nullptr;

    // A screen made in QML, with a coloured picture and a button of its own.
    OTCommonsViewController *makeScreen()
    {
        QQmlComponent component(m_view->engine());
        component.setData("import QtQuick\nimport OstFoundation\n"
                          "OTCommonsViewController {\n"
                          "  Rectangle { anchors.fill: parent; gradient: Gradient {\n"
                          "    GradientStop { position: 0; color: '#2f80c9' }\n"
                          "    GradientStop { position: 1; color: '#37b07c' } } }\n"
                          "  Rectangle { objectName: 'ownButton'; z: 5; x: 20; y: 40; width: 80; height: 30; color: 'white' }\n"
                          "  Text { x: 24; y: 280; width: 330; wrapMode: Text.Wrap; color: 'white'; font.pixelSize: 20;\n"
                          "         text: 'While we are postponing, life speeds by.' }\n"
                          "}\n",
                          QUrl());
        auto *screen = qobject_cast<OTCommonsViewController *>(component.create());
        if (!screen)
            qWarning() << component.errorString();
        return screen;
    }

    QQuickItem *find(const QString &name) const
    {
        // The sheets are in the panel's popup, which lies in the window's overlay while open.
        QQuickItem *item = findItem(m_view->contentItem(), name);
        if (!item)
            item = m_panel->findChild<QQuickItem *>(name);
        if (!item)
            qWarning() << "no item" << name;
        return item;
    }

    void click(QQuickItem *item)
    {
        QVERIFY2(item, "no such item");
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(item));
    }

    void showAndWait()
    {
        m_panel->showInController(m_screen, true);
        QTRY_COMPARE(m_panel->presentation(), 1.0);
    }

    void waitUntilAway()
    {
        QTRY_VERIFY(!m_panel->parentItem());
        QCOMPARE(m_panel->presentation(), 0.0);
    }

private Q_SLOTS:
    void initTestCase()
    {
        auto backend = std::make_unique<OTRecordingSocialServiceBackend>();
        m_backend = backend.get();
        OTSocialService::defaultService()->setBackend(std::move(backend));
    }

    void init()
    {
        QLocale::setDefault(QLocale::c());
        m_backend->activities.clear();
        m_view = openTestWindow();
        QVERIFY(m_view);
        m_screen = makeScreen();
        QVERIFY(m_screen);
        m_screen->setParentItem(m_view->rootObject());
        m_screen->setParent(m_view->rootObject());
        m_screen->setSize(QSizeF(375, 667));
        m_panel = OstCustomShareView::create(m_view->engine());
        QVERIFY(m_panel);
        m_panel->setParent(m_screen);
        m_delegate = std::make_unique<RecordingDelegate>();
        m_panel->setDelegate(m_delegate.get());
    }

    void cleanup()
    {
        delete m_screen;
        m_delegate.reset();
        m_view.reset();
        QLocale::setDefault(QLocale::c());
    }

    // --- Showing and hiding -------------------------------------------------------------------

    void thePanelRisesOverTheScreen()
    {
        QVERIFY(!m_panel->isShowing());
        QCOMPARE(m_panel->presentation(), 0.0);
        QList<qreal> steps;
        connect(m_panel, &OstCustomShareView::presentationChanged, this,
                [&]() { steps.append(m_panel->presentation()); });
        m_panel->showInController(m_screen, true);
        QVERIFY(m_panel->isShowing());
        QCOMPARE(m_panel->parentItem(), m_screen.data());
        QCOMPARE(sceneRect(m_panel), QRectF(0, 0, 375, 667));
        // Above the screen's own children, whatever their z.
        QVERIFY(m_panel->z() > m_screen->findChild<QQuickItem *>(QStringLiteral("ownButton"))->z());
        QTRY_COMPARE(m_panel->presentation(), 1.0);
        QVERIFY(std::any_of(steps.begin(), steps.end(), [](qreal p) { return p > 0 && p < 1; }));
        QVERIFY(std::is_sorted(steps.begin(), steps.end()));

        // The backdrop dims the whole screen, the sheet sits on the bottom edge.
        QQuickItem *backdrop = find(QStringLiteral("shareBackdrop"));
        QCOMPARE(sceneRect(backdrop), QRectF(0, 0, 375, 667));
        QQuickItem *sheet = find(QStringLiteral("shareSheet"));
        QCOMPARE(sceneRect(sheet).bottom(), 667.0);
        QCOMPARE(sceneRect(sheet).width(), 375.0);
        QVERIFY(!find(QStringLiteral("systemShareSheet"))->isVisible());

        // Every target on the sheet, none over another, its icon over its name; then copy link
        // and more, and cancel at the very bottom.
        const QVariantList platforms = OTSocialService::platforms();
        QCOMPARE(platforms.size(), 8);
        QList<QRectF> taken;
        for (const QVariant &platform : platforms) {
            QQuickItem *button = find(QStringLiteral("sharePlatformButton_%1").arg(platform.toMap().value("type").toInt()));
            QVERIFY(button && button->isVisible());
            const QRectF place = sceneRect(button);
            QVERIFY(sceneRect(sheet).contains(place));
            for (const QRectF &other : std::as_const(taken))
                QVERIFY(!place.intersects(other));
            taken << place;
            QQuickItem *image = nullptr;
            QList<QQuickItem *> texts;
            for (QQuickItem *child : button->findChildren<QQuickItem *>()) {
                if (child->inherits("QQuickImage"))
                    image = child;
                else if (child->inherits("QQuickText"))
                    texts << child;
            }
            QVERIFY(image);
            QCOMPARE(image->property("status").toInt(), 1);  // Image.Ready
            QCOMPARE(texts.size(), 1);
            QCOMPARE(texts.first()->property("text").toString(), platform.toMap().value("title").toString());
            QVERIFY(sceneRect(texts.first()).top() > sceneRect(image).bottom());
        }
        const QRectF copy = sceneRect(find(QStringLiteral("shareCopyLinkButton")));
        QVERIFY(copy.top() > sceneRect(find(QStringLiteral("sharePlatformButton_7"))).bottom());
        QCOMPARE(sceneRect(find(QStringLiteral("shareCopyTextButton"))).top(), copy.top());
        QCOMPARE(sceneRect(find(QStringLiteral("shareMoreButton"))).top(), copy.top());
        const QRectF cancel = sceneRect(find(QStringLiteral("shareCancelButton")));
        QCOMPARE(cancel.bottom(), 667.0);
        QVERIFY(cancel.top() > copy.bottom());

        // Dimmed above the sheet.
        QVERIFY(m_view->grabWindow().pixelColor(300, 20).lightness() < QColor(0x2f, 0x80, 0xc9).lightness());
    }

    void thePanelFollowsTheScreenSize()
    {
        m_panel->showInController(m_screen, false);
        QCOMPARE(m_panel->presentation(), 1.0);
        m_screen->setSize(QSizeF(320, 500));
        QCOMPARE(m_panel->size(), QSizeF(320, 500));
        QCOMPARE(sceneRect(find(QStringLiteral("shareSheet"))).bottom(), 500.0);
        QCOMPARE(sceneRect(find(QStringLiteral("sharePlatformButton_1"))).width(), 80.0);
    }

    void hidingWithoutAnimationIsImmediate()
    {
        QSignalSpy showing(m_panel, &OstCustomShareView::showingChanged);
        m_panel->showInController(m_screen, false);
        QCOMPARE(m_panel->presentation(), 1.0);
        QCOMPARE(showing.count(), 1);
        m_panel->hideWithAnimated(false);
        QVERIFY(!m_panel->isShowing());
        QCOMPARE(m_panel->presentation(), 0.0);
        QVERIFY(!m_panel->parentItem());
        QCOMPARE(showing.count(), 2);
        // Again while away, and half way up.
        m_panel->hideWithAnimated(false);
        m_panel->hideWithAnimated(true);
        QCOMPARE(showing.count(), 2);
        m_panel->showInController(m_screen, true);
        QTRY_VERIFY(m_panel->presentation() > 0.1);
        m_panel->hideWithAnimated(false);
        QVERIFY(!m_panel->parentItem());
        QCOMPARE(m_panel->presentation(), 0.0);
        QTest::qWait(350);  // the interrupted rise does not come back
        QCOMPARE(m_panel->presentation(), 0.0);
        QVERIFY(!m_panel->parentItem());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no screen"));
        m_panel->showInController(nullptr, true);
        QVERIFY(!m_panel->isShowing());
    }

    void thePanelCanBeShownAgain()
    {
        for (int round = 0; round < 3; ++round) {
            showAndWait();
            click(find(QStringLiteral("sharePlatformButton_4")));
            m_panel->hideWithAnimated(true);
            QVERIFY(!m_panel->isShowing());
            waitUntilAway();
        }
        QCOMPARE(m_delegate->calls, (QStringList{"platform 4", "platform 4", "platform 4"}));
        // Shown again while it is going away: it turns round and stays.
        showAndWait();
        m_panel->hideWithAnimated(true);
        QTRY_VERIFY(m_panel->presentation() < 0.9);
        m_panel->showInController(m_screen, true);
        QTRY_COMPARE(m_panel->presentation(), 1.0);
        QTest::qWait(350);
        QCOMPARE(m_panel->parentItem(), m_screen.data());
        QVERIFY(m_panel->isShowing());
    }

    // --- The buttons --------------------------------------------------------------------------

    void eachTargetButtonTellsTheDelegate()
    {
        showAndWait();
        QStringList expected;
        for (int type = 0; type < 8; ++type) {
            click(find(QStringLiteral("sharePlatformButton_%1").arg(type)));
            expected << QStringLiteral("platform %1").arg(type);
        }
        QCOMPARE(m_delegate->calls, expected);
        for (OstCustomShareView *view : std::as_const(m_delegate->views))
            QCOMPARE(view, m_panel.data());
        // The panel stays: the delegate decides.
        QVERIFY(m_panel->isShowing());
        QCOMPARE(m_panel->parentItem(), m_screen.data());
        // Unknown targets are not passed on.
        m_panel->platformClicked(8);
        m_panel->platformClicked(-1);
        QCOMPARE(m_delegate->calls.size(), 8);
    }

    void aTouchWorksLikeAClick()
    {
        showAndWait();
        touchTap(m_view.get(), centreOf(find(QStringLiteral("sharePlatformButton_2"))));
        QTRY_COMPARE(m_delegate->calls, QStringList{"platform 2"});
    }

    void copyLinkTellsTheDelegateThenHides()
    {
        showAndWait();
        QQuickItem *button = find(QStringLiteral("shareCopyLinkButton"));
        click(button);
        QCOMPARE(m_delegate->calls, QStringList{"copy link"});
        QCOMPARE(m_delegate->senders.first().data(), button);
        QVERIFY(!m_panel->isShowing());
        QCOMPARE(m_panel->parentItem(), m_screen.data());  // on its way down
        waitUntilAway();
    }

    void cancelAndTheBackdropTakeThePanelAway()
    {
        showAndWait();
        // A tap on the sheet between its buttons stays on the sheet.
        click(find(QStringLiteral("shareTitle")));
        QVERIFY(m_panel->isShowing());
        click(find(QStringLiteral("shareCancelButton")));
        QVERIFY(!m_panel->isShowing());
        waitUntilAway();

        showAndWait();
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, QPoint(187, 100));
        QVERIFY(!m_panel->isShowing());
        waitUntilAway();
        QVERIFY(m_delegate->calls.isEmpty());

        // Gone, it no longer keeps taps off the screen.
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, QPoint(187, 100));
        QVERIFY(!m_panel->isShowing());
    }

    // Whatever the host lays over its screens (here a banner across the whole window, above
    // the screen), the panel is above it and its buttons take the taps.
    void thePanelLiesAboveEverythingInTheWindow()
    {
        QQmlComponent component(m_view->engine());
        component.setData("import QtQuick\nMouseArea { width: 375; height: 667; z: 1000 }", QUrl());
        std::unique_ptr<QQuickItem> banner(qobject_cast<QQuickItem *>(component.create()));
        QVERIFY(banner);
        banner->setParentItem(m_view->contentItem());
        showAndWait();
        click(find(QStringLiteral("sharePlatformButton_2")));
        QCOMPARE(m_delegate->calls, QStringList{"platform 2"});
        click(find(QStringLiteral("shareCancelButton")));
        QVERIFY(!m_panel->isShowing());
        waitUntilAway();
    }

    // Taken away before it has moved, or with its screen hidden or not yet in a window: nothing
    // of it is left over the window to take the taps, and it comes when its screen does.
    void thePopupFollowsThePanelAndItsScreen()
    {
        QQmlComponent component(m_view->engine());
        component.setData("import QtQuick\nMouseArea { property int taps: 0; width: 375; height: 667; onClicked: taps++ }", QUrl());
        std::unique_ptr<QQuickItem> area(qobject_cast<QQuickItem *>(component.create()));
        QVERIFY(area);
        area->setParentItem(m_screen);
        auto tapReachesTheScreen = [&]() {
            const int before = area->property("taps").toInt();
            QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, QPoint(187, 100));
            return area->property("taps").toInt() == before + 1;
        };
        auto sheetInWindow = [&]() {
            QQuickItem *sheet = findItem(m_view->contentItem(), QStringLiteral("shareSheet"));
            return sheet && sheet->isVisible();
        };
        for (bool animated : {true, false}) {
            m_panel->showInController(m_screen, true);
            m_panel->hideWithAnimated(animated);
            QTRY_VERIFY(!m_panel->parentItem());
            QVERIFY2(tapReachesTheScreen(), animated ? "animated" : "at once");
        }

        showAndWait();
        m_screen->setVisible(false);
        QVERIFY(!sheetInWindow());
        m_screen->setVisible(true);
        QTRY_VERIFY(sheetInWindow());
        m_panel->hideWithAnimated(false);
        QVERIFY(tapReachesTheScreen());

        m_screen->setParentItem(nullptr);
        m_panel->showInController(m_screen, false);
        m_screen->setParentItem(m_view->rootObject());
        QTRY_VERIFY(sheetInWindow());
        click(find(QStringLiteral("shareCancelButton")));
        QVERIFY(!m_panel->isShowing());
        waitUntilAway();
        QVERIFY(tapReachesTheScreen());
    }

    void withoutADelegateNothingBreaks()
    {
        m_panel->setDelegate(nullptr);
        showAndWait();
        click(find(QStringLiteral("sharePlatformButton_0")));
        click(find(QStringLiteral("shareMoreButton")));
        QVERIFY(m_panel->isShowing() && !m_panel->isSystemShareShowing());
        click(find(QStringLiteral("shareCopyLinkButton")));
        QVERIFY(!m_panel->isShowing());
        waitUntilAway();

        // A delegate that has gone is not called.
        auto *gone = new RecordingDelegate;
        m_panel->setDelegate(gone);
        delete gone;
        QCOMPARE(m_panel->delegate(), nullptr);
        showAndWait();
        click(find(QStringLiteral("sharePlatformButton_3")));
        click(find(QStringLiteral("shareCopyLinkButton")));
        waitUntilAway();

        // Nor is an object that is not a delegate.
        QObject stranger;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("does not implement"));
        m_panel->setDelegate(&stranger);
        showAndWait();
        click(find(QStringLiteral("sharePlatformButton_3")));
        QVERIFY(m_panel->isShowing());
    }

    void theScreenOrItsHostGoingAway()
    {
        // A panel that is not the screen's child comes off it and stays usable.
        auto *loose = OstCustomShareView::create(m_view->engine());
        QVERIFY(loose);
        OTCommonsViewController *other = makeScreen();
        other->setParentItem(m_view->rootObject());
        loose->showInController(other, false);
        QCOMPARE(loose->parentItem(), other);
        delete other;
        QVERIFY(!loose->parentItem());
        loose->hideWithAnimated(true);
        loose->showInController(m_screen, false);
        QCOMPARE(loose->parentItem(), m_screen.data());
        delete loose;

        // The panel is the screen's child, the screen the host's: all go together, quietly.
        OTNavigationController *host = OTNavigationController::create(m_view->engine(), m_view->rootObject());
        host->setSize(QSizeF(375, 667));
        m_screen->setParent(nullptr);
        host->pushViewController(m_screen, false);
        showAndWait();
        QTest::failOnWarning(QRegularExpression("."));
        delete host;
        QVERIFY(!m_screen);
        QVERIFY(!m_panel);
    }

    // --- The system share route ---------------------------------------------------------------

    void moreCanOpenTheSystemShareRoute()
    {
        m_delegate->moreItems = {QUrl(QStringLiteral("https://quotes.example.com/share/quotes/2017-03-01/"))};
        m_delegate->moreController = m_screen;
        showAndWait();
        QQuickItem *sheet = find(QStringLiteral("shareSheet"));
        QQuickItem *systemSheet = find(QStringLiteral("systemShareSheet"));
        QQuickItem *more = find(QStringLiteral("shareMoreButton"));
        click(more);
        QCOMPARE(m_delegate->calls, QStringList{"more"});
        QCOMPARE(m_delegate->senders.first().data(), more);
        QVERIFY(m_panel->isSystemShareShowing());
        QVERIFY(m_panel->isShowing());
        QCOMPARE(m_panel->activityItems(), m_delegate->moreItems);
        // The system sheet takes the first one's place.
        QTRY_COMPARE(sceneRect(systemSheet).bottom(), 667.0);
        QTRY_VERIFY(!sheet->isVisible());
        QVERIFY(systemSheet->isVisible());

        click(find(QStringLiteral("systemShareButton_mail")));
        QCOMPARE(m_backend->activities.size(), 1);
        QCOMPARE(m_backend->activities.first().first, QStringLiteral("mail"));
        QCOMPARE(m_backend->activities.first().second, m_delegate->moreItems);
        QVERIFY(!m_panel->isShowing());
        QVERIFY(!m_panel->isSystemShareShowing());
        waitUntilAway();

        // Next time the panel opens on the share targets again.
        showAndWait();
        QVERIFY(sheet->isVisible());
        QCOMPARE(sceneRect(sheet).bottom(), 667.0);
        QVERIFY(!systemSheet->isVisible());
    }

    void theSystemShareRouteOnItsOwn_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("activity");
        QTest::addColumn<QString>("message");
        QTest::newRow("copy") << "systemShareButton_copy" << "copy" << "Link copied";
        QTest::newRow("mail") << "systemShareButton_mail" << "mail" << "Opened a mail draft";
        QTest::newRow("browser") << "systemShareButton_browser" << "browser" << "Opened the link in your browser";
        QTest::newRow("cancel") << "systemShareCancelButton" << "" << "";
    }

    void theSystemShareRouteOnItsOwn()
    {
        QFETCH(QString, button);
        QFETCH(QString, activity);
        QFETCH(QString, message);
        QSignalSpy messages(Global::sharedGlobal(), &Global::hubShown);
        const QVariantList items{QStringLiteral("https://quotes.example.com/s/1"), QStringLiteral("and words")};
        m_panel->showSystemShareModuleWithActivityItems(items, m_screen);
        QCOMPARE(m_panel->parentItem(), m_screen.data());
        QTRY_COMPARE(m_panel->presentation(), 1.0);
        QQuickItem *systemSheet = find(QStringLiteral("systemShareSheet"));
        QCOMPARE(sceneRect(systemSheet).bottom(), 667.0);
        QVERIFY(!find(QStringLiteral("shareSheet"))->isVisible());
        click(find(button));
        if (activity.isEmpty()) {
            QVERIFY(m_backend->activities.isEmpty());
            QCOMPARE(messages.count(), 0);
        } else {
            QCOMPARE(m_backend->activities.size(), 1);
            QCOMPARE(m_backend->activities.first().first, activity);
            QCOMPARE(m_backend->activities.first().second, items);
            // The user is told what happened, over the screen.
            QCOMPARE(messages.count(), 1);
            QCOMPARE(messages.first().at(0).toString(), message);
            QCOMPARE(messagesIn(m_view.get()).size(), 1);
        }
        QVERIFY(!m_panel->isSystemShareShowing());
        waitUntilAway();
    }

    void theSystemShareRouteNeedsItemsAndAScreen()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("nothing to share"));
        m_panel->showSystemShareModuleWithActivityItems({}, m_screen);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("nothing to share"));
        m_panel->showSystemShareModuleWithActivityItems({QStringLiteral("x")}, nullptr);
        QVERIFY(!m_panel->isSystemShareShowing());
        QVERIFY(!m_panel->parentItem());
        // Over the screen the panel is on already, when none is named.
        m_panel->showInController(m_screen, false);
        m_panel->showSystemShareModuleWithActivityItems({QStringLiteral("x")}, nullptr);
        QVERIFY(m_panel->isSystemShareShowing());
        m_panel->hideWithAnimated(false);
        QVERIFY(!m_panel->isSystemShareShowing());
        QVERIFY(!m_panel->parentItem());
    }

    // --- Language -----------------------------------------------------------------------------

    void thePanelSpeaksTheUsersLanguage()
    {
        QCOMPARE(find(QStringLiteral("shareTitle"))->property("text").toString(), QStringLiteral("Share to"));
        QCOMPARE(OTResourceHelper::LocalizedString(QStringLiteral("no_such_key")), QStringLiteral("no_such_key"));

        // A panel made now speaks Chinese throughout.
        QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
        QPointer<OstCustomShareView> chinese = OstCustomShareView::create(m_view->engine());
        chinese->setParent(m_screen);
        chinese->showInController(m_screen, false);
        QCOMPARE(chinese->findChild<QQuickItem *>(QStringLiteral("shareTitle"))->property("text").toString(), QStringLiteral("分享到"));
        QCOMPARE(chinese->findChild<QQuickItem *>(QStringLiteral("shareCancelButton"))->property("text").toString(), QStringLiteral("取消"));
        QCOMPARE(OTSocialService::platforms().first().toMap().value("title").toString(), QStringLiteral("微博"));

        // A language the table lacks falls back to English.
        QLocale::setDefault(QLocale(QLocale::Swahili, QLocale::Kenya));
        QCOMPARE(OTResourceHelper::LocalizedString(QStringLiteral("share_view_title")), QStringLiteral("Share to"));
    }
};

QTEST_MAIN(TestOstCustomShareView)
#include "tst_ostcustomshareview.moc"
