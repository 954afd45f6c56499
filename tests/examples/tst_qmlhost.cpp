// The screens as a Qt Quick app declares them: on its own StackView, with no factory call and
// no navigation host. The example app examples/qml-host, in process and as a process.

#include "ClientCache.h"
#include "Processes.h"
#include "RecordingScreen.h"
#include "SceneItems.h"
#include "ServerHarness.h"

#include <OTClock.h>
#include <OTCommonsViewController.h>
#include <OstAPIClient.h>
#include <OstQuoteGalleryView.h>
#include <OstQuoteLaunchViewController.h>
#include <OstQuoteViewController.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

namespace {

const QDateTime kNow(QDate(2017, 3, 1), QTime(10, 0), Qt::UTC);

bool isBlack(const QImage &image)
{
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < rgb.height(); y += 5) {
        for (int x = 0; x < rgb.width(); x += 5) {
            if (qGray(rgb.pixel(x, y)) > 16)
                return false;
        }
    }
    return true;
}

// The entries of every picture disk cache under `cacheHome` ("<app>/images/data*/...").
QStringList cachedPictures(const QString &cacheHome)
{
    QStringList found;
    QDirIterator it(cacheHome, {QStringLiteral("*.d")}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.contains(QLatin1String("/images/")))
            found << path;
    }
    return found;
}

// The first item of type T in the visual tree under `root`, or null.
template<typename T>
T *findItemOfType(QQuickItem *root)
{
    for (QQuickItem *child : root->childItems()) {
        if (auto *found = qobject_cast<T *>(child))
            return found;
        if (T *found = findItemOfType<T>(child))
            return found;
    }
    return nullptr;
}

} // namespace

class TestQmlHost : public QObject
{
    Q_OBJECT

    TestServer m_server;

    // What the server was asked for, in order: "today", "batch" or a day key.
    QStringList requested() const { return m_server.requestedQuotes(); }

    bool askedForLaunchAndViewer() const
    {
        const QStringList days = requested();
        return days.contains(QLatin1String("batch")) && days.contains(QLatin1String("today"))
            && days.contains(QLatin1String("2017-02-28"));
    }

    // The window's StackView, wherever it lies in the window; null while there is none.
    static QQuickItem *stackOf(QQmlApplicationEngine &engine)
    {
        auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
        if (!window)
            return nullptr;
        QList<QQuickItem *> items = window->contentItem()->childItems();
        while (!items.isEmpty()) {
            QQuickItem *item = items.takeFirst();
            if (item->inherits("QQuickStackView"))
                return item;
            items += item->childItems();
        }
        return nullptr;
    }

    static QQuickItem *currentOf(QQuickItem *stack)
    {
        return stack ? stack->property("currentItem").value<QQuickItem *>() : nullptr;
    }

    // examples/qml-host/`file` in `engine`, against the test's server, its window shown; null
    // when it does not come up.
    QQuickWindow *openExample(QQmlApplicationEngine &engine, const char *file)
    {
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        engine.load(QUrl::fromLocalFile(QStringLiteral(OSTQUOTE_QML_HOST_DIR "/") + QLatin1String(file)));
        auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
        return window && QTest::qWaitForWindowExposed(window) ? window : nullptr;
    }

    // A window of `module`'s with `screen` (QML) standing alone in it, and `more` (QML) in the
    // window; its takeIn() makes a StackView that takes the screen in as its first item (its
    // `stack`).
    static QObject *loadStandingAlone(QQmlApplicationEngine &engine, const char *module, const char *screen,
                                      const char *more)
    {
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        engine.loadData(QStringLiteral(R"(
            import QtQuick
            import QtQuick.Controls
            import %1
            Window {
                id: window
                width: 375; height: 667; visible: true
                property Item screen: alone.item
                property StackView stack
                Loader { id: alone; width: 375; height: 667; sourceComponent: Component { %2 } }
                Component { id: stackView; StackView { anchors.fill: parent } }
                function takeIn() { stack = stackView.createObject(window.contentItem, {initialItem: screen}) }
                %3
            })").arg(QLatin1String(module), QLatin1String(screen), QLatin1String(more)).toUtf8());
        return engine.rootObjects().value(0);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        OTClock::setTimeZone(QTimeZone("UTC"));
        OTClock::setNow(kNow);
        qmlRegisterType<RecordingScreen>("OstQuoteTest", 1, 0, "RecordingScreen");
        QVERIFY2(m_server.start(kNow), qPrintable(m_server.errorString()));
    }

    void init()
    {
        // Every launch starts without a cached quote.
        QDir(QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/launch_quotes"))
            .removeRecursively();
        OstAPIClient::sharedClient()->setBaseURL(OstAPIClient::defaultBaseURL());
        forgetCachedAnswers(OstAPIClient::sharedClient());
    }

    // A launch screen standing straight in the window, as the example host shows it, is in
    // view with its first frame drawn before anything has loaded QtQuick.Templates (Qt Quick
    // Controls stand on it): the host's stack may load behind it. First of the suite, so that
    // no other test has loaded the module in this process yet.
    void theLaunchScreenAloneLoadsNoControls()
    {
        const auto templatesLoaded = []() { return qmlTypeId("QtQuick.Templates", 2, 0, "StackView") >= 0; };
        QVERIFY2(!templatesLoaded(), "QtQuick.Templates was loaded before this test: it must run first");
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        QQmlApplicationEngine engine;
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        engine.loadData(R"(
            import QtQuick
            import OstQuote
            Window {
                width: 375; height: 667; visible: true
                property alias screen: launch
                OstQuoteLaunchViewController { id: launch; anchors.fill: parent }
            })");
        auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
        QVERIFY(window);
        QSignalSpy frames(window, &QQuickWindow::frameSwapped);
        auto *launch = qobject_cast<OstQuoteLaunchViewController *>(window->property("screen").value<QObject *>());
        QVERIFY(launch);
        QTRY_VERIFY(launch->isVisibleOnScreen());
        QTRY_VERIFY(!frames.isEmpty());
        QVERIFY(launch->timer());
        QVERIFY(!templatesLoaded());
    }

    // The life cycle follows a plain StackView's changes, animated or not, and viewDidLoad
    // comes once whatever the screen goes through.
    void theLifeCycleFollowsAPlainStackView()
    {
        QQmlApplicationEngine engine;
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        engine.loadData(R"(
            import QtQuick
            import QtQuick.Controls
            import OstQuoteTest
            Window {
                width: 375; height: 667; visible: true
                property alias stack: stack
                StackView { id: stack; anchors.fill: parent; initialItem: RecordingScreen { objectName: "first" } }
                Component { id: second; RecordingScreen { objectName: "second" } }
                function pushSecond(animated) { stack.push(second, {}, animated ? StackView.PushTransition : StackView.Immediate) }
                function popSecond(animated) { stack.pop(animated ? StackView.PopTransition : StackView.Immediate) }
            })");
        QObject *root = engine.rootObjects().value(0);
        QVERIFY(root);
        QQuickItem *stack = root->property("stack").value<QQuickItem *>();
        QVERIFY(stack);
        auto *first = qobject_cast<RecordingScreen *>(currentOf(stack));
        QVERIFY(first);
        QTRY_COMPARE(first->calls, QStringList({"load", "willAppear(0)", "didAppear(0)"}));
        QVERIFY(first->isVisibleOnScreen());
        QCOMPARE(first->stackView(), stack);
        QVERIFY(!first->navigationController());

        // Animated: the will-calls while the slide runs, the did-calls when it has ended.
        QVERIFY(QMetaObject::invokeMethod(root, "pushSecond", Q_ARG(QVariant, true)));
        QPointer<RecordingScreen> second = qobject_cast<RecordingScreen *>(currentOf(stack));
        QVERIFY(second);
        QTRY_VERIFY(second->calls.size() >= 2);
        QCOMPARE(second->calls.mid(0, 2), QStringList({"load", "willAppear(1)"}));
        QTRY_VERIFY(first->calls.size() >= 4);
        QCOMPARE(first->calls.at(3), QStringLiteral("willDisappear(1)"));
        QTRY_COMPARE(second->calls, QStringList({"load", "willAppear(1)", "didAppear(1)"}));
        QTRY_COMPARE(first->calls.mid(3), QStringList({"willDisappear(1)", "didDisappear(1)"}));
        QVERIFY(!first->isVisibleOnScreen());

        // At once: both calls together, not animated; the first screen does not load again.
        QVERIFY(QMetaObject::invokeMethod(root, "popSecond", Q_ARG(QVariant, false)));
        QTRY_COMPARE(first->calls.mid(5), QStringList({"willAppear(0)", "didAppear(0)"}));
        if (second)
            QTRY_COMPARE(second->calls.mid(3), QStringList({"willDisappear(0)", "didDisappear(0)"}));
        QCOMPARE(first->calls.count(QStringLiteral("load")), 1);
        // The StackView made the second screen, so it deletes it.
        QTRY_VERIFY(!second);
    }

    // A screen standing alone in a window (on no StackView and no navigation host) follows
    // the window: it appears once shown there and disappears when hidden, each change made at
    // once. A StackView that takes it in while it is in view makes no second call, and rules
    // from then on.
    void aScreenStandingAloneFollowsItsWindow()
    {
        QQmlApplicationEngine engine;
        QObject *root = loadStandingAlone(engine, "OstQuoteTest", "RecordingScreen {}",
                                          "Component { id: next; RecordingScreen {} }\n"
                                          "function pushNext() { stack.push(next, {}, StackView.Immediate) }");
        QVERIFY(root);
        auto *screen = qobject_cast<RecordingScreen *>(root->property("screen").value<QObject *>());
        QVERIFY(screen);
        const QStringList appeared = {"load", "willAppear(0)", "didAppear(0)"};
        QTRY_COMPARE(screen->calls, appeared);
        QVERIFY(screen->isVisibleOnScreen());
        QVERIFY(!screen->stackView());

        screen->setVisible(false);
        QTRY_COMPARE(screen->calls.mid(3), QStringList({"willDisappear(0)", "didDisappear(0)"}));
        screen->setVisible(true);
        QTRY_COMPARE(screen->calls.mid(5), QStringList({"willAppear(0)", "didAppear(0)"}));

        QVERIFY(QMetaObject::invokeMethod(root, "takeIn"));
        QQuickItem *stack = root->property("stack").value<QQuickItem *>();
        QVERIFY(stack);
        QCOMPARE(screen->stackView(), stack);
        QTest::qWait(50);
        QCOMPARE(screen->calls.size(), 7);
        QVERIFY(QMetaObject::invokeMethod(root, "pushNext"));
        QTRY_COMPARE(screen->calls.mid(7), QStringList({"willDisappear(0)", "didDisappear(0)"}));
        QCOMPARE(screen->calls.count(QStringLiteral("load")), 1);
    }

    // The launch screen standing alone: its button stops the countdown and shows nothing while
    // there is no stack (the host is never told); the viewer it asked for is pushed as soon as
    // the host's StackView takes the screen in.
    void theButtonBeforeTheStackShowsTheViewerOnceTheStackTakesTheScreen()
    {
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        QQmlApplicationEngine engine;
        QObject *root = loadStandingAlone(engine, "OstQuote", "OstQuoteLaunchViewController { onWillDismiss: dismissals++ }",
                                          "property int dismissals: 0");
        QVERIFY(root);
        auto *window = qobject_cast<QQuickWindow *>(root);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        auto *launch = qobject_cast<OstQuoteLaunchViewController *>(root->property("screen").value<QObject *>());
        QVERIFY(launch);
        QTRY_VERIFY(launch->timer());
        QVERIFY(launch->isVisibleOnScreen());

        QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(launch->findChild<QQuickItem *>(QStringLiteral("button"))));
        QVERIFY(launch->popFromQuote());
        QVERIFY(!launch->timer());
        QTest::qWait(OstQuoteLaunchViewController::DismissInterval + 500);
        QCOMPARE(root->property("dismissals").toInt(), 0);
        QVERIFY(!findItemOfType<OstQuoteViewController>(window->contentItem()));

        QVERIFY(QMetaObject::invokeMethod(root, "takeIn"));
        QQuickItem *stack = root->property("stack").value<QQuickItem *>();
        QVERIFY(stack);
        QTRY_VERIFY(qobject_cast<OstQuoteViewController *>(currentOf(stack)));
        QCOMPARE(stack->property("depth").toInt(), 2);
        QTRY_VERIFY(!launch->isVisibleOnScreen());
        QCOMPARE(root->property("dismissals").toInt(), 0);
    }

    // The launch screen's button pushes a viewer on the host's StackView (no navigation host),
    // the viewer's back button pops it, and the launch screen, back in view, tells its host at
    // once; the viewer it made goes with the stack's letting go of it.
    void theButtonAndTheBackButtonWorkOnAHostsStackView()
    {
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        QQmlApplicationEngine engine;
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        engine.loadData(R"(
            import QtQuick
            import QtQuick.Controls
            import OstQuote
            Window {
                width: 375; height: 667; visible: true
                property alias stack: stack
                property int dismissals: 0
                StackView {
                    id: stack; anchors.fill: parent
                    initialItem: OstQuoteLaunchViewController { onWillDismiss: dismissals++ }
                }
            })");
        QObject *root = engine.rootObjects().value(0);
        QVERIFY(root);
        auto *window = qobject_cast<QQuickWindow *>(root);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QQuickItem *stack = root->property("stack").value<QQuickItem *>();
        auto *launch = qobject_cast<OstQuoteLaunchViewController *>(currentOf(stack));
        QVERIFY(launch);
        // The QML type is the whole screen: its skin's children are there.
        QVERIFY(launch->findChild<QQuickItem *>(QStringLiteral("button")));
        QTRY_VERIFY(launch->timer());

        QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(launch->findChild<QQuickItem *>(QStringLiteral("button"))));
        QVERIFY(launch->popFromQuote());
        QVERIFY(!launch->timer());
        QPointer<OstQuoteViewController> viewer = qobject_cast<OstQuoteViewController *>(currentOf(stack));
        QVERIFY(viewer);
        QCOMPARE(stack->property("depth").toInt(), 2);
        QQuickItem *backButton = viewer->findChild<QQuickItem *>(QStringLiteral("backButton"));
        QVERIFY(backButton);
        QTRY_VERIFY(viewer->isVisibleOnScreen());
        QTRY_VERIFY(requested().contains(QLatin1String("today")));
        QCOMPARE(root->property("dismissals").toInt(), 0);

        QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(backButton));
        QCOMPARE(stack->property("depth").toInt(), 1);
        QCOMPARE(currentOf(stack), launch);
        // Told as the launch screen comes back, before its new countdown has run.
        QTRY_COMPARE(root->property("dismissals").toInt(), 1);
        QVERIFY(launch->timer() == nullptr || launch->timer()->isActive());
        QTRY_VERIFY(!viewer);
    }

    // A QML host opens the viewer at the day of a link, as the README shows it.
    void aQmlHostOpensTheViewerAtTheDayOfALink()
    {
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        QQmlApplicationEngine engine;
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        engine.loadData(R"(
            import QtQuick
            import QtQuick.Controls
            import OstQuote
            Window {
                width: 375; height: 667; visible: true
                StackView { id: stack; anchors.fill: parent; initialItem: Item {} }
                Component { id: viewer; OstQuoteViewController {} }
                function open(link) { stack.push(viewer, {initialDay: OstQuoteLink.dayOf(link)}, StackView.Immediate) }
            })");
        QObject *root = engine.rootObjects().value(0);
        QVERIFY(root);
        const QString link = m_server.baseURL().toString() + QStringLiteral("/share/quotes/2017-02-14/?via=qq");
        QVERIFY(QMetaObject::invokeMethod(root, "open", Q_ARG(QVariant, link)));
        auto *shown = qobject_cast<OstQuoteViewController *>(currentOf(stackOf(engine)));
        QVERIFY(shown);
        QCOMPARE(shown->initialDay(), QStringLiteral("2017-02-14"));
        QTRY_VERIFY(shown->galleryView()->currentQuoteView() && shown->galleryView()->currentQuoteView()->quote());
        QCOMPARE(shown->galleryView()->currentQuoteView()->quote()->assign_date(), QStringLiteral("2017-02-14"));
    }

    // The QML singleton is the process's client: a base URL set from QML is the one C++ uses.
    void theBaseURLCanBeSetFromQml()
    {
        QQmlEngine engine;
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        QQmlComponent component(&engine);
        component.setData("import QtQml\nimport OstFoundation\n"
                          "QtObject { Component.onCompleted: OstAPIClient.baseURL = \"http://127.0.0.1:9/base\" }",
                          QUrl());
        std::unique_ptr<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        QCOMPARE(OstAPIClient::sharedClient()->baseURL(), QUrl(QStringLiteral("http://127.0.0.1:9/base")));
    }

    // examples/qml-host/Main.qml as it stands, in process: the launch screen stands in the
    // window and appears before the app's StackView exists; the StackView, loaded in the
    // background, takes it in; the launch screen asks for the batch, counts down and is
    // replaced by a viewer, which asks for today and the day before, and the window shows its
    // page.
    void theExampleHostShowsTheViewer()
    {
        QQmlApplicationEngine engine;
        bool appearedBeforeTheStack = false;
        // The app behind the launch screen is not asked for before the launch screen's first
        // frame is drawn.
        int appStatusAtFirstFrame = -1;
        QPointer<OstQuoteLaunchViewController> launch;
        connect(&engine, &QQmlApplicationEngine::objectCreated, this, [&](QObject *root) {
            launch = root ? root->findChild<OstQuoteLaunchViewController *>() : nullptr;
            if (!launch)
                return;
            QVERIFY(!stackOf(engine));
            QObject *app = root->findChild<QObject *>(QStringLiteral("app"));
            QVERIFY(app);
            connect(
                qobject_cast<QQuickWindow *>(root), &QQuickWindow::afterRendering, this,
                [&appStatusAtFirstFrame, app]() {
                    if (appStatusAtFirstFrame < 0)
                        appStatusAtFirstFrame = app->property("status").toInt();
                },
                Qt::DirectConnection);
            connect(launch, &OTCommonsViewController::visibleOnScreenChanged, this, [&]() {
                if (launch->isVisibleOnScreen() && !stackOf(engine))
                    appearedBeforeTheStack = true;
            });
        });
        QQuickWindow *window = openExample(engine, "Main.qml");
        QVERIFY(window);
        QVERIFY(launch);
        QTRY_VERIFY(launch->isVisibleOnScreen());
        QVERIFY(appearedBeforeTheStack);
        QTRY_VERIFY(appStatusAtFirstFrame >= 0);
        QCOMPARE(appStatusAtFirstFrame, 0); // Loader.Null
        QTRY_VERIFY(stackOf(engine));
        QQuickItem *stack = stackOf(engine);
        QCOMPARE(currentOf(stack), launch.data());
        QCOMPARE(launch->stackView(), stack);

        QTRY_VERIFY_WITH_TIMEOUT(qobject_cast<OstQuoteViewController *>(currentOf(stack)), 20000);
        auto *viewer = qobject_cast<OstQuoteViewController *>(currentOf(stack));
        QTRY_VERIFY_WITH_TIMEOUT(askedForLaunchAndViewer(), 20000);
        QTRY_VERIFY(viewer->isVisibleOnScreen());
        QTRY_VERIFY(!stack->property("busy").toBool());
        // The page is drawn once its quote is in.
        QTRY_VERIFY_WITH_TIMEOUT(distinctColours(window->grabWindow()) > 50, 20000);
        const QImage frame = window->grabWindow();
        QVERIFY(!isBlack(frame));
    }

    // examples/qml-host/Parts.qml: each visual type declared in a host's QML has its look (its
    // skin's children are there and drawn), and the page in the host's own skin has that
    // skin's children instead of the module's.
    void theVisualTypesDeclaredInQmlHaveTheirLook()
    {
        QQmlApplicationEngine engine;
        QQuickWindow *window = openExample(engine, "Parts.qml");
        QVERIFY(window);
        QQuickItem *root = window->contentItem();
        const QList<std::pair<const char *, const char *>> looks = {
            {"quotePage", "coverView"},          {"quotePage", "topCoverView"},
            {"restyledPage", "restyledCover"},   {"launchScreen", "imageView"},
            {"viewerScreen", "galleryView"},     {"sharePanel", "shareSheet"},
            {"sharePanel", "shareCancelButton"},
        };
        for (const auto &[type, child] : looks) {
            QQuickItem *item = findItem(root, QLatin1String(type));
            QVERIFY2(item, type);
            // (The share panel's sheets lie in its popup, in the window's overlay.)
            QQuickItem *part = item->findChild<QQuickItem *>(QLatin1String(child));
            QVERIFY2(part && part->isVisible() && part->width() > 0, child);
        }
        QVERIFY(!findItem(findItem(root, QStringLiteral("restyledPage")), QStringLiteral("coverView")));
        // The panel has risen over the viewer, within it.
        QQuickItem *sheet = findItem(root, QStringLiteral("shareSheet"));
        const QRectF sheetRect = sceneRect(sheet);
        QCOMPARE(sheetRect.bottom(), 667.0);
        QVERIFY(sheetRect.left() >= 3 * 375 - 0.5 && sheetRect.height() > 100);
        // The viewer's pages are made from the host's component once today's quote is in.
        auto *gallery = qobject_cast<OstQuoteGalleryView *>(findItem(root, QStringLiteral("galleryView")));
        QVERIFY(gallery);
        QTRY_VERIFY_WITH_TIMEOUT(gallery->currentQuoteView() && gallery->currentQuoteView()->quote(), 20000);
        QVERIFY(findItem(gallery->currentQuoteView(), QStringLiteral("restyledCover")));
        QVERIFY(!findItem(gallery->currentQuoteView(), QStringLiteral("coverView")));
        QTRY_VERIFY_WITH_TIMEOUT(distinctColours(window->grabWindow()) > 50, 20000);
        saveScreenshot(window, QStringLiteral("qml-host-parts.png"));
    }

    // The example as a process, as a user starts it: only its environment says where the
    // server is. The binary is this build's, or the one given in OSTQUOTE_QML_HOST_BINARY
    // (built out of tree against an installed package).
    void theExampleHostRunsAsAProcess()
    {
        QString binary = qEnvironmentVariable("OSTQUOTE_QML_HOST_BINARY");
        if (binary.isEmpty())
            binary = QStringLiteral(OSTQUOTE_QML_HOST_BINARY);
        QVERIFY2(QFile::exists(binary), qPrintable(binary));
        QTemporaryDir home;
        QVERIFY(home.isValid());
        QProcessEnvironment environment = headlessEnvironment(home.path());
        environment.remove(QStringLiteral("QML_IMPORT_PATH"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("OSTQUOTE_API_BASE"), m_server.baseURL().toString());
        environment.insert(QStringLiteral("OSTQUOTE_NOW"), kNow.toString(Qt::ISODate));
        environment.insert(QStringLiteral("OSTQUOTE_TIME_ZONE"), QStringLiteral("UTC"));
        // Started twice, as a user does: the second start shows today's picture (on the
        // launch screen at once, then in the viewer) from the disk cache the first one filled.
        const QString todaysPicture = QStringLiteral("GET /media/quotes/2017-03-01.jpg");
        int pictureRequestsAfterFirst = 0;
        // The server's pictures sent to the suite's other tests (its log is written every ~200 ms).
        QTest::qWait(400);
        const int picturesBefore = m_server.accessLogLines(QStringLiteral("GET /media/quotes/"));
        for (int run = 0; run < 2; ++run) {
            const QStringList before = requested();
            QProcess process;
            process.setProcessEnvironment(environment);
            process.setProcessChannelMode(QProcess::MergedChannels);
            process.start(binary, {});
            QVERIFY2(process.waitForStarted(), qPrintable(process.errorString()));
            const auto newRequests = [&]() {
                const QStringList all = requested();
                return all.mid(qMin(before.size(), all.size()));
            };
            // The second start has today and the day before in its answer cache, still fresh.
            const auto asked = [&]() {
                const QStringList days = newRequests();
                return days.contains(QLatin1String("batch"))
                    && (run == 1 || (days.contains(QLatin1String("today")) && days.contains(QLatin1String("2017-02-28"))));
            };
            QTRY_VERIFY2_WITH_TIMEOUT(
                asked(), qPrintable(newRequests().join(u' ') + u'\n' + QString::fromLocal8Bit(process.readAll())), 30000);
            QCOMPARE(process.state(), QProcess::Running);
            if (run == 0) {
                QTRY_VERIFY_WITH_TIMEOUT(m_server.accessLogLines(todaysPicture) > 0, 20000);
                // Every picture the server has sent is on disk before the app is stopped.
                QTRY_VERIFY_WITH_TIMEOUT(cachedPictures(home.filePath(QStringLiteral("cache"))).size()
                                             >= m_server.accessLogLines(QStringLiteral("GET /media/quotes/")) - picturesBefore,
                                         20000);
                pictureRequestsAfterFirst = m_server.accessLogLines(todaysPicture);
            } else {
                // Past the launch screen's 2.5 s and the viewer's first page; the access log is
                // written every ~200 ms.
                QTest::qWait(4000);
                QCOMPARE(m_server.accessLogLines(todaysPicture), pictureRequestsAfterFirst);
            }
            process.terminate();
            if (!process.waitForFinished(10000)) {
                process.kill();
                process.waitForFinished();
            }
        }
    }
};

QTEST_MAIN(TestQmlHost)
#include "tst_qmlhost.moc"
