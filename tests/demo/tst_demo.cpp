// The demo host app: its headless tour run as a user runs it, against the real server, its
// refusals of bad options, and, in process, how the host takes the launch screen away.

#include "DemoHomeViewController.h"
#include "DemoHost.h"
#include "DemoSnapshot.h"
#include "ServerHarness.h"
#include "HttpFixture.h"
#include "TextChecks.h"

#include <OTClock.h>
#include <OTNavigationController.h>
#include <OTUserInfoStore.h>
#include <OTUserInfoStore+OstQuote.h>
#include <OstAPIClient.h>
#include <OstQuoteLaunchViewController.h>
#include <OstQuoteViewController.h>

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QQmlEngine>
#include <QQuickView>
#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

// The server's and the app's "now": 1 March 2017, 10:00 UTC.
const QDateTime kNow(QDate(2017, 3, 1), QTime(10, 0), Qt::UTC);

const QStringList kTourFiles = {"01-launch.png",       "02-dismiss.png",       "03-home.png",
                                "04-viewer.png",       "05-swipe-back-1.png",  "06-swipe-back-2.png",
                                "07-tap-picture.png",  "08-share-panel.png",   "09-link-copied.png"};

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

// An environment with no display, and a home of its own so that the app starts from nothing.
QProcessEnvironment freshHeadless(const QTemporaryDir &home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY", "OSTQUOTE_API_BASE"})
        environment.remove(QString::fromLatin1(name));
    environment.insert(QStringLiteral("HOME"), home.path());
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral("cache")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("OSTQUOTE_NOW"), kNow.toString(Qt::ISODate));
    environment.insert(QStringLiteral("OSTQUOTE_TIME_ZONE"), QStringLiteral("UTC"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

Run runDemo(const QStringList &arguments, const QProcessEnvironment &environment, int timeout = 120000)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(OSTQUOTE_DEMO_BINARY), arguments);
    Run run;
    if (!process.waitForFinished(timeout)) {
        process.kill();
        process.waitForFinished();
        run.err = QStringLiteral("did not finish: ") + QString::fromUtf8(process.readAllStandardError());
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

int distinctColours(const QImage &image)
{
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3)
            colours.insert(image.pixel(x, y));
    }
    return int(colours.size());
}

// The value of the line "key: value" in `text`.
QString lineValue(const QString &text, const QString &key)
{
    const QRegularExpression line(QStringLiteral("^%1: (.*)$").arg(QRegularExpression::escape(key)),
                                  QRegularExpression::MultilineOption);
    return line.match(text).captured(1);
}

QPoint centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

// A phone-sized host window with the foundation's navigation host filling it, as the demo
// makes it; null when the window does not come up.
OTNavigationController *openHostWindow(QQuickView &view)
{
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
    view.resize(375, 667);
    view.show();
    if (!QTest::qWaitForWindowExposed(&view))
        return nullptr;
    OTNavigationController *navigation = OTNavigationController::create(view.engine(), view.rootObject());
    if (navigation)
        navigation->setSize(QSizeF(375, 667));
    return navigation;
}

} // namespace

class TestDemo : public QObject
{
    Q_OBJECT

    TestServer m_server;

private Q_SLOTS:
    void initTestCase()
    {
        qmlRegisterType<DemoHomeViewController>("OstQuoteDemo", 1, 0, "DemoHomeViewController");
        qmlRegisterType<DemoSnapshot>("OstQuoteDemo", 1, 0, "DemoSnapshot");
        TestServer::Options options;
        options.now = kNow;
        QVERIFY2(m_server.start(options), qPrintable(m_server.errorString()));
    }

    // --- The app as a process -------------------------------------------------------------

    void theTourWalksEveryStepWithoutADisplay()
    {
        QTemporaryDir home;
        QVERIFY(home.isValid());
        const QString folder = home.filePath(QStringLiteral("tour/made/here"));
        const Run run = runDemo({QStringLiteral("--tour"), folder, QStringLiteral("--api"), m_server.baseURL().toString()},
                                freshHeadless(home));
        QVERIFY2(run.exitCode == 0, qPrintable(run.err + run.out));

        // Each picture's path as it was written, in order; each the window's size and far from
        // a single colour.
        QStringList written;
        for (const QString &line : run.out.split(u'\n')) {
            if (line.endsWith(QLatin1String(".png")))
                written.append(line);
        }
        QStringList expected;
        for (const QString &name : kTourFiles)
            expected.append(folder + u'/' + name);
        QCOMPARE(written, expected);
        for (const QString &path : expected) {
            const QImage image(path);
            QVERIFY2(!image.isNull(), qPrintable(path));
            QCOMPARE(image.size(), QSize(375, 667));
            QVERIFY2(distinctColours(image) > 50, qPrintable(path + u' ' + QString::number(distinctColours(image))));
        }

        // Home showed the latest quote the app stored: today's, as the server has it.
        OTUserInfoStore::setStorePath(
            home.filePath(QStringLiteral("data/ostrel/ostquote-demo/ostrel-defaults.cbor")));
        const OstQuotePtr stored = latestQuote().objectCast<OstQuote>();
        OTUserInfoStore::setStorePath(QString());
        QVERIFY(stored);
        QCOMPARE(stored->assign_date(), QStringLiteral("2017-03-01"));
        QVERIFY(!stored->content().isEmpty());
        QCOMPARE(lineValue(run.out, QStringLiteral("home day")), stored->assign_date());
        QCOMPARE(lineValue(run.out, QStringLiteral("home quote")), stored->content());
        QCOMPARE(lineValue(run.out, QStringLiteral("home author")), stored->author());
        QCOMPARE(lineValue(run.out, QStringLiteral("home translation")), stored->translation());

        // The launch screen fades into home: half-way, the picture is neither of the two.
        const QImage launch(expected.at(0)), dismiss(expected.at(1)), homeShot(expected.at(2));
        QVERIFY(dismiss != launch);
        QVERIFY(dismiss != homeShot);
        // The swipes went back a day each: three different pages.
        QVERIFY(QImage(expected.at(3)) != QImage(expected.at(4)));
        QVERIFY(QImage(expected.at(4)) != QImage(expected.at(5)));
    }

    void aTourThatCannotReachTheServerSaysWhereItStopped()
    {
        QTemporaryDir home;
        QVERIFY(home.isValid());
        const QString unreachable = QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort());
        const Run run = runDemo({QStringLiteral("--tour"), home.path(), QStringLiteral("--api"), unreachable},
                                freshHeadless(home));
        QCOMPARE(run.exitCode, 1);
        // The launch screen needs no server; home waits for today's quote in vain.
        QVERIFY2(run.err.contains(QLatin1String("tour step 03-home.png")), qPrintable(run.err));
        QVERIFY(QFileInfo::exists(home.filePath(QStringLiteral("01-launch.png"))));
        QVERIFY(QFileInfo::exists(home.filePath(QStringLiteral("02-dismiss.png"))));
        QVERIFY(!QFileInfo::exists(home.filePath(QStringLiteral("03-home.png"))));
    }

    void helpNamesTheProgram()
    {
        QTemporaryDir home;
        const Run run = runDemo({QStringLiteral("--help")}, freshHeadless(home), 30000);
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out.section(u'\n', 0, 0), QStringLiteral("Usage: %1 [options]").arg(QStringLiteral(OSTQUOTE_DEMO_BINARY)));
        QVERIFY(!run.out.contains(QLatin1String("<executable_name>")));
        for (const char *option : {"--viewer", "--api", "--size", "--tablet", "--tour"})
            QVERIFY2(run.out.contains(QLatin1String(option)), option);
        QVERIFY(run.err.isEmpty());
    }

    void badOptionsAreRefused_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown option") << QStringList{"--bogus"} << "bogus";
        QTest::newRow("stray argument") << QStringList{"extra"} << "unexpected argument \"extra\"";
        QTest::newRow("size without height") << QStringList{"--size", "375"} << "--size wants";
        QTest::newRow("size in words") << QStringList{"--size", "bigxsmall"} << "--size wants";
        QTest::newRow("api not http") << QStringList{"--api", "ftp://127.0.0.1/"} << "--api wants";
        QTest::newRow("api without host") << QStringList{"--api", "http://"} << "--api wants";
        QTest::newRow("tour without folder") << QStringList{"--tour"} << "Missing value";
        QTest::newRow("tour with viewer") << QStringList{"--tour", "x", "--viewer"} << "leave out --viewer";
        QTest::newRow("window without display") << QStringList{} << "no display";
    }

    void badOptionsAreRefused()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        QTemporaryDir home;
        const Run run = runDemo(arguments, freshHeadless(home), 30000);
        QCOMPARE(run.exitCode, 2);
        QVERIFY2(run.err.startsWith(QLatin1String("ostquote-demo: ")), qPrintable(run.err));
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY(run.out.isEmpty());
    }

    // --- The host in process --------------------------------------------------------------

    void theLaunchScreenGoesOnceHoweverOftenItSaysSo()
    {
        QTemporaryDir home;
        QVERIFY(home.isValid());
        qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toLocal8Bit());
        OTUserInfoStore::setStorePath(home.filePath(QStringLiteral("defaults.cbor")));
        OTClock::setTimeZone(QTimeZone("UTC"));
        OTClock::setNow(kNow);
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        qmlRegisterType<DemoHomeViewController>("OstQuoteDemo", 1, 0, "DemoHomeViewController");

        QQuickView view;
        OTNavigationController *navigation = openHostWindow(view);
        QVERIFY(navigation);

        DemoHost host(&view, navigation);
        QList<DemoHost::Stage> stages;
        connect(&host, &DemoHost::stageChanged, this, [&]() { stages.append(host.stage()); });
        host.startWithLaunchScreen();
        QPointer<OstQuoteLaunchViewController> launch = host.launchViewController();
        QVERIFY(launch);
        QCOMPARE(navigation->topViewController(), launch.data());
        QVERIFY(navigation->isNavigationBarHidden());

        // Into the viewer and back: the launch screen says it may go as the slide back starts,
        // and would say so again 2.5 s after it is back in view.
        QTest::mouseClick(&view, Qt::LeftButton, {}, centreOf(launch->button()));
        QCOMPARE(navigation->depth(), 2);
        QTRY_VERIFY(!navigation->isBusy());
        auto *viewer = qobject_cast<OstQuoteViewController *>(navigation->topViewController());
        QVERIFY(viewer);
        QSignalSpy told(launch.data(), &OstQuoteLaunchViewController::willDismiss);
        QTest::mouseClick(&view, Qt::LeftButton, {}, centreOf(viewer->findChild<QQuickItem *>(QStringLiteral("backButton"))));
        QCOMPARE(told.count(), 1);
        // The slide back ends first; then home replaces the launch screen under its fading
        // snapshot, with the navigation bar back.
        QCOMPARE(host.stage(), DemoHost::Launching);
        QTRY_COMPARE(host.stage(), DemoHost::Fading);
        QPointer<DemoSnapshot> cover = host.fadeCover();
        QVERIFY(cover);
        QCOMPARE(cover->size(), QSizeF(375, 667));
        QCOMPARE(cover->objectName(), QStringLiteral("launchSnapshot"));
        QVERIFY(cover->isFading());
        // The cover's skin dissolves it: on the way it is neither there nor gone.
        QTRY_VERIFY(cover && cover->opacity() > 0.05 && cover->opacity() < 0.95);
        DemoHomeViewController *homeScreen = host.homeViewController();
        QVERIFY(homeScreen);
        QCOMPARE(navigation->viewControllers(), (QList<OTCommonsViewController *>{homeScreen}));
        QVERIFY(!navigation->isNavigationBarHidden());
        QCOMPARE(navigation->title(), QStringLiteral("OstQuote"));
        QTRY_COMPARE(host.stage(), DemoHost::Home);
        QVERIFY(!host.fadeCover());
        QTRY_VERIFY(!launch);

        // Nothing more happens once home is there, however long one waits.
        QTest::qWait(OstQuoteLaunchViewController::DismissInterval + 500);
        QCOMPARE(stages, (QList<DemoHost::Stage>{DemoHost::Launching, DemoHost::Fading, DemoHost::Home}));
        QCOMPARE(navigation->viewControllers(), (QList<OTCommonsViewController *>{homeScreen}));
        QTRY_COMPARE(homeScreen->state(), DemoHomeViewController::Updated);
        QCOMPARE(homeScreen->dayText(), QStringLiteral("2017-03-01"));

        // Told again and again, even by a screen it never showed: ignored.
        OstQuoteLaunchViewController stranger;
        host.willDismissLaunchViewController(&stranger);
        host.willDismissLaunchViewController(nullptr);
        QCoreApplication::processEvents();
        QCOMPARE(host.repeatedDismissals(), 2);
        QCOMPARE(stages.size(), 3);
        QCOMPARE(navigation->topViewController(), homeScreen);

        delete navigation;
        OTUserInfoStore::setStorePath(QString());
    }

    // The stored quote is shown as it was sent: markup is text, and a picture named in it is
    // never fetched.
    void homeShowsTheStoredQuoteAsItWasSent()
    {
        QTemporaryDir home;
        QVERIFY(home.isValid());
        OTUserInfoStore::setStorePath(home.filePath(QStringLiteral("defaults.cbor")));
        HttpFixture pictures;
        QVERIFY(pictures.listen());
        pictures.respond(404, "{}");
        // Today's update fails against it; the stored quote stays in view.
        OstAPIClient::sharedClient()->setBaseURL(QUrl(pictures.baseURL()));
        auto quote = OstQuotePtr::create();
        quote->setContent(QStringLiteral("<b>Bold</b> &amp; <img src=\"%1/q.png\">").arg(pictures.baseURL()));
        quote->setTranslation(QStringLiteral("<i>斜体</i>"));
        quote->setAuthor(QStringLiteral("<u>Anon</u>"));
        quote->setAssign_date(QStringLiteral("2017-03-01"));
        QVERIFY(updateQuote(quote.data()));
        qmlRegisterType<DemoHomeViewController>("OstQuoteDemo", 1, 0, "DemoHomeViewController");

        QQuickView view;
        OTNavigationController *navigation = openHostWindow(view);
        QVERIFY(navigation);
        DemoHomeViewController *homeScreen = DemoHomeViewController::create(view.engine());
        QVERIFY(homeScreen);
        navigation->pushViewController(homeScreen, false);
        QTRY_COMPARE(homeScreen->state(), DemoHomeViewController::Failed);
        for (const char *name : {"quoteLabel", "translationLabel", "authorLabel"}) {
            auto *label = homeScreen->findChild<QQuickItem *>(QString::fromLatin1(name));
            QVERIFY2(label, name);
            QVERIFY2(showsTextLiterally(label), qPrintable(label->property("text").toString()));
        }
        view.grabWindow();
        QTest::qWait(300);
        // One request: today's update. No picture.
        QCOMPARE(pictures.requestCount(), 1);
        QVERIFY(pictures.requests().first().startsWith("GET /api/v2/quote/quotes/today/"));
        delete navigation;
        OTUserInfoStore::setStorePath(QString());
    }

    // Home on a fresh install whose server is down, then up: no promise of a quote beside
    // the error, and a button that asks again.
    void aFailedUpdateOffersToTryAgain()
    {
        QTemporaryDir home;
        QVERIFY(home.isValid());
        OTUserInfoStore::setStorePath(home.filePath(QStringLiteral("defaults.cbor")));
        const quint16 port = ot_unusedLoopbackPort();
        OstAPIClient::sharedClient()->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port)));

        QQuickView view;
        OTNavigationController *navigation = openHostWindow(view);
        QVERIFY(navigation);
        DemoHomeViewController *homeScreen = DemoHomeViewController::create(view.engine());
        QVERIFY(homeScreen);
        navigation->pushViewController(homeScreen, false);
        auto item = [&](const char *name) { return homeScreen->findChild<QQuickItem *>(QLatin1String(name)); };
        QQuickItem *quoteLabel = item("quoteLabel");
        QQuickItem *statusLabel = item("statusLabel");
        QQuickItem *retry = item("retryButton");
        QVERIFY(quoteLabel && statusLabel && retry);
        QPointingDevice *touch = QTest::createTouchDevice();
        const auto tap = [&](QQuickItem *target) {
            const QPoint at = centreOf(target);
            QTest::touchEvent(&view, touch).press(0, at);
            QTest::touchEvent(&view, touch).release(0, at);
        };

        // Asked for, it is "on its way"; failed, it is not, and the reason is there.
        QCOMPARE(homeScreen->state(), DemoHomeViewController::Updating);
        QVERIFY(quoteLabel->property("text").toString().contains(QLatin1String("on its way")));
        QVERIFY(!retry->isVisible());
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Failed, 20000);
        QVERIFY2(!quoteLabel->property("text").toString().contains(QLatin1String("on its way")),
                 qPrintable(quoteLabel->property("text").toString()));
        QCOMPARE(quoteLabel->property("text").toString(), QStringLiteral("No quote yet."));
        QVERIFY(statusLabel->isVisible());
        QVERIFY(statusLabel->property("text").toString().startsWith(QLatin1String("Could not update today's quote")));
        QVERIFY(retry->isVisible());

        // Still down: trying again fails again, and says so again.
        QSignalSpy status(homeScreen, &DemoHomeViewController::statusChanged);
        tap(retry);
        QCOMPARE(homeScreen->state(), DemoHomeViewController::Updating);
        QVERIFY(!retry->isVisible());
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Failed, 20000);
        QVERIFY(retry->isVisible());
        QVERIFY(!homeScreen->hasQuote());

        // Up now, on that very port: the next try brings today's quote.
        TestServer server;
        TestServer::Options options;
        options.now = kNow;
        options.extraArguments = {QStringLiteral("--port"), QString::number(port)};
        QVERIFY2(server.start(options), qPrintable(server.errorString()));
        QCOMPARE(server.port(), port);
        tap(retry);
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Updated, 20000);
        QVERIFY(homeScreen->hasQuote());
        QCOMPARE(homeScreen->dayText(), QStringLiteral("2017-03-01"));
        QCOMPARE(quoteLabel->property("text").toString(), homeScreen->quoteText());
        QVERIFY(!retry->isVisible());
        QVERIFY(!statusLabel->isVisible());
        // A tap while an answer is awaited does not ask twice.
        homeScreen->retry();
        homeScreen->retry();
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Updated, 20000);
        QTRY_COMPARE(server.requestedQuotes(), (QStringList{"today", "today"}));

        delete navigation;
        OTUserInfoStore::setStorePath(QString());
    }

    void toldTwiceInARowOnlyOneFade()
    {
        QTemporaryDir home;
        qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toLocal8Bit());
        OTUserInfoStore::setStorePath(home.filePath(QStringLiteral("defaults.cbor")));
        QQuickView view;
        view.setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
        view.resize(375, 667);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        OTNavigationController *navigation = OTNavigationController::create(view.engine(), view.rootObject());
        navigation->setSize(QSizeF(375, 667));
        DemoHost host(&view, navigation);
        QSignalSpy stages(&host, &DemoHost::stageChanged);
        host.startWithLaunchScreen();
        QPointer<OstQuoteLaunchViewController> launch = host.launchViewController();
        host.willDismissLaunchViewController(launch);
        host.willDismissLaunchViewController(launch);
        QCOMPARE(host.repeatedDismissals(), 1);
        QTRY_COMPARE(host.stage(), DemoHost::Home);
        QCOMPARE(stages.count(), 3); // launching, fading, home
        QCOMPARE(navigation->depth(), 1);
        QVERIFY(qobject_cast<DemoHomeViewController *>(navigation->topViewController()));
        QTRY_VERIFY(!launch);
        delete navigation;
        OTUserInfoStore::setStorePath(QString());
    }
};

QTEST_MAIN(TestDemo)
#include "tst_demo.moc"
