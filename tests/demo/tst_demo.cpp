// The demo host app: its headless tour run as a user runs it, against the real server, its
// refusals of bad options, and, in process, how the host takes the launch screen away and
// home's day picker.

#include "DemoHomeViewController.h"
#include "DemoHost.h"
#include "DemoInstance.h"
#include "DemoSnapshot.h"
#include "ClientCache.h"
#include "HttpFixture.h"
#include "Processes.h"
#include "SceneItems.h"
#include "ServerHarness.h"
#include "TextChecks.h"
#include "TouchScreen.h"

#include <OTClock.h>
#include <OTNavigationController.h>
#include <OTUserInfoStore.h>
#include <OTUserInfoStore+OstQuote.h>
#include <OstAPIClient.h>
#include <OstQuoteLaunchViewController.h>
#include <OstQuoteViewController.h>

#include <QAccessible>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLocalSocket>
#include <QQmlEngine>
#include <QQuickView>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// The server's and the app's "now": 1 March 2017, 10:00 UTC.
const QDateTime kNow(QDate(2017, 3, 1), QTime(10, 0), Qt::UTC);

const QStringList kTourFiles = {"01-launch.png",       "02-dismiss.png",       "03-home.png",
                                "04-viewer.png",       "05-swipe-back-1.png",  "06-swipe-back-2.png",
                                "07-tap-picture.png",  "08-share-panel.png",   "09-link-copied.png"};

// A fresh home, no display, and the server's clock and zone.
QProcessEnvironment freshHeadless(const QTemporaryDir &home)
{
    QProcessEnvironment environment = headlessEnvironment(home.path());
    environment.insert(QStringLiteral("OSTQUOTE_NOW"), kNow.toString(Qt::ISODate));
    environment.insert(QStringLiteral("OSTQUOTE_TIME_ZONE"), QStringLiteral("UTC"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

ProcessRun runDemo(const QStringList &arguments, const QProcessEnvironment &environment, int timeout = 120000)
{
    return runProcess(QStringLiteral(OSTQUOTE_DEMO_BINARY), arguments, environment, timeout);
}

// The value of the line "key: value" in `text`.
QString lineValue(const QString &text, const QString &key)
{
    const QRegularExpression line(QStringLiteral("^%1: (.*)$").arg(QRegularExpression::escape(key)),
                                  QRegularExpression::MultilineOption);
    return line.match(text).captured(1);
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

// What a screen reader is told of `item`.
QString accessibleName(QQuickItem *item)
{
    QAccessibleInterface *iface = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    return iface ? iface->text(QAccessible::Name) : QStringLiteral("<none>");
}

} // namespace

class TestDemo : public QObject
{
    Q_OBJECT

    TestServer m_server;
    // A home of its own for every test (the store and caches), and the in-process host's window.
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<QQuickView> m_view;
    OTNavigationController *m_navigation = nullptr;
    const QLocale m_locale;

    void openHost()
    {
        m_view = std::make_unique<QQuickView>();
        m_navigation = openHostWindow(*m_view);
        QVERIFY(m_navigation);
    }

    // Home on the host, showing today's quote from the server; null when it does not come up.
    // The viewers the test pushes then ask a port that refuses at once: nothing of theirs is
    // still on the way, nor written, when the test's home folder goes.
    DemoHomeViewController *openHome()
    {
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        m_view = std::make_unique<QQuickView>();
        m_navigation = openHostWindow(*m_view);
        DemoHomeViewController *homeScreen = m_navigation ? DemoHomeViewController::create(m_view->engine()) : nullptr;
        if (!homeScreen)
            return nullptr;
        m_navigation->pushViewController(homeScreen, false);
        if (!QTest::qWaitFor([&]() { return homeScreen->state() == DemoHomeViewController::Updated; }, 20000))
            return nullptr;
        OstAPIClient::sharedClient()->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort())));
        return homeScreen;
    }

    // An item of the window's scene (the day picker stands on the window's overlay).
    QQuickItem *sceneItem(const QString &name) const { return findItem(m_view->contentItem(), name); }
    QQuickItem *dayCell(const QString &dayKey) const { return sceneItem(QStringLiteral("day-") + dayKey); }
    QString shownTitle() const
    {
        QQuickItem *title = sceneItem(QStringLiteral("monthTitle"));
        return title ? title->property("text").toString() : QString();
    }
    // The day the viewer on top was asked to open at, or "<none>" when the viewer is not on top.
    QString viewerDay() const
    {
        auto *viewer = qobject_cast<OstQuoteViewController *>(m_navigation->topViewController());
        return viewer ? viewer->property("initialDay").toString() : QStringLiteral("<none>");
    }

private Q_SLOTS:
    void init()
    {
        // The server's day in UTC, and day names as in the UK, unless a test says otherwise.
        OTClock::setTimeZone(QTimeZone("UTC"));
        OTClock::setNow(kNow);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(m_home->isValid());
        qputenv("XDG_CACHE_HOME", m_home->filePath(QStringLiteral("cache")).toLocal8Bit());
        OTUserInfoStore::setStorePath(m_home->filePath(QStringLiteral("defaults.cbor")));
    }

    void cleanup()
    {
        delete m_navigation;
        m_navigation = nullptr;
        m_view.reset();
        OTUserInfoStore::setStorePath(QString());
        QLocale::setDefault(m_locale);
    }

    void initTestCase()
    {
        qmlRegisterType<DemoHomeViewController>("OstQuoteDemo", 1, 0, "DemoHomeViewController");
        qmlRegisterType<DemoSnapshot>("OstQuoteDemo", 1, 0, "DemoSnapshot");
        QAccessible::setActive(true);
        QVERIFY2(m_server.start(kNow), qPrintable(m_server.errorString()));
    }

    // --- The app as a process -------------------------------------------------------------

    void theTourWalksEveryStepWithoutADisplay()
    {
        const QString folder = m_home->filePath(QStringLiteral("tour/made/here"));
        const ProcessRun run = runDemo({QStringLiteral("--tour"), folder, QStringLiteral("--api"), m_server.baseURL().toString()},
                                       freshHeadless(*m_home));
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
            m_home->filePath(QStringLiteral("data/ostrel/ostquote-demo/ostrel-defaults.cbor")));
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
        const QString unreachable = QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort());
        const ProcessRun run = runDemo({QStringLiteral("--tour"), m_home->path(), QStringLiteral("--api"), unreachable},
                                       freshHeadless(*m_home));
        QCOMPARE(run.exitCode, 1);
        // The launch screen needs no server; home waits for today's quote in vain.
        QVERIFY2(run.err.contains(QLatin1String("tour step 03-home.png")), qPrintable(run.err));
        QVERIFY(QFileInfo::exists(m_home->filePath(QStringLiteral("01-launch.png"))));
        QVERIFY(QFileInfo::exists(m_home->filePath(QStringLiteral("02-dismiss.png"))));
        QVERIFY(!QFileInfo::exists(m_home->filePath(QStringLiteral("03-home.png"))));
    }

    void helpNamesTheProgram()
    {
        const ProcessRun run = runDemo({QStringLiteral("--help")}, freshHeadless(*m_home), 30000);
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out.section(u'\n', 0, 0), QStringLiteral("Usage: %1 [options] [LINK]").arg(QStringLiteral(OSTQUOTE_DEMO_BINARY)));
        QVERIFY(!run.out.contains(QLatin1String("<executable_name>")));
        for (const char *option : {"--viewer", "--api", "--size", "--tablet", "--tour", "--register-links", "[LINK]"})
            QVERIFY2(run.out.contains(QLatin1String(option)), option);
        QVERIFY(run.err.isEmpty());
    }

    void badOptionsAreRefused_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown option") << QStringList{"--bogus"} << "bogus";
        QTest::newRow("not a link") << QStringList{"extra"} << "not a link to a day: \"extra\"";
        QTest::newRow("a link to no day") << QStringList{"ostquote://day/2017-02-30"} << "not a link to a day";
        QTest::newRow("a share page elsewhere") << QStringList{"http://elsewhere.example/share/quotes/2017-02-14/"} << "not a link to a day";
        QTest::newRow("two links") << QStringList{"ostquote://day/2017-02-14", "ostquote://day/2017-02-15"}
                                   << "unexpected argument \"ostquote://day/2017-02-15\"";
        QTest::newRow("tour with a link") << QStringList{"--tour", "x", "ostquote://day/2017-02-14"} << "leave out --viewer and the link";
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
        const ProcessRun run = runDemo(arguments, freshHeadless(*m_home), 30000);
        QCOMPARE(run.exitCode, 2);
        QVERIFY2(run.err.startsWith(QLatin1String("ostquote-demo: ")), qPrintable(run.err));
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY(run.out.isEmpty());
    }

    // A link on the command line opens its day once home is up, after the launch screen or
    // straight away; a second start hands its link to the window already open and ends, and
    // the window turns to that day. Each day is asked for as at any rest: the older first.
    void aLinkOpensItsDayAndASecondStartHandsItsLinkOver_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("day");
        QTest::addColumn<QString>("secondLink");
        QTest::addColumn<QString>("secondDay");
        const QString share = m_server.baseURL().toString() + QStringLiteral("/share/quotes/");
        QTest::newRow("after the launch screen") << QStringList{} << "ostquote://day/2017-02-14" << "2017-02-14"
                                                 << share + "2017-01-10/?via=weibo" << "2017-01-10";
        QTest::newRow("straight into the viewer") << QStringList{"--viewer"} << share + "2017-02-10/" << "2017-02-10"
                                                  << "ostquote://day/2017-01-05" << "2017-01-05";
    }

    void aLinkOpensItsDayAndASecondStartHandsItsLinkOver()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, link);
        QFETCH(QString, day);
        QFETCH(QString, secondLink);
        QFETCH(QString, secondDay);
        QProcessEnvironment environment = freshHeadless(*m_home);
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("OSTQUOTE_API_BASE"), m_server.baseURL().toString());
        const QString run = m_home->filePath(QStringLiteral("run"));
        QVERIFY(QDir().mkpath(run));
        QVERIFY(QFile::setPermissions(run, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), run);
        // The days asked for since `from` in the server's log.
        auto asked = [this](qsizetype from) { return m_server.requestedQuotes().mid(from); };
        // The day and the one before it (the viewer asks for the older first; its two requests
        // may reach the server's threads in either order, so the log only shows both came).
        auto dayAndTheDayBefore = [](const QStringList &days, const QString &dayKey) {
            const QString older = QDate::fromString(dayKey, Qt::ISODate).addDays(-1).toString(Qt::ISODate);
            return days.contains(dayKey) && days.contains(older);
        };

        const qsizetype before = m_server.requestedQuotes().size();
        QProcess window;
        window.setProcessEnvironment(environment);
        window.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        window.start(QStringLiteral(OSTQUOTE_DEMO_BINARY), options + QStringList{link});
        auto stop = qScopeGuard([&window]() {
            window.kill();
            window.waitForFinished(10000);
        });
        QVERIFY(window.waitForStarted(10000));
        QTRY_VERIFY2_WITH_TIMEOUT(dayAndTheDayBefore(asked(before), day), qPrintable(asked(before).join(u' ')), 30000);

        const qsizetype handed = m_server.requestedQuotes().size();
        const ProcessRun second = runDemo({secondLink}, environment, 30000);
        QCOMPARE(second.exitCode, 0);
        QVERIFY2(second.out.contains(QLatin1String("handed ") + secondLink), qPrintable(second.out));
        QTRY_VERIFY2_WITH_TIMEOUT(dayAndTheDayBefore(asked(handed), secondDay), qPrintable(asked(handed).join(u' ')), 30000);
        QCOMPARE(window.state(), QProcess::Running);

        // A share page of another server (this start's, not the window's): the window does
        // not take it, and the start that brought it says so.
        QProcessEnvironment elsewhere = environment;
        elsewhere.insert(QStringLiteral("OSTQUOTE_API_BASE"), QStringLiteral("http://127.0.0.1:1"));
        const ProcessRun refused = runDemo({QStringLiteral("http://127.0.0.1:1/share/quotes/2017-01-01/")}, elsewhere, 30000);
        QCOMPARE(refused.exitCode, 1);
        QVERIFY2(refused.err.contains(QLatin1String("refused")), qPrintable(refused.err));
        QCOMPARE(window.state(), QProcess::Running);
    }

    // The open window listens where a socket left by a demo that died still lies, drops a
    // peer that floods it or says nothing, and meanwhile takes a link from a proper one.
    void theWindowsSocketSurvivesStaleFilesAndRudePeers()
    {
        const QString run = m_home->filePath(QStringLiteral("run"));
        QVERIFY(QDir().mkpath(run));
        QVERIFY(QFile::setPermissions(run, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
        const bool wasSet = qEnvironmentVariableIsSet("XDG_RUNTIME_DIR");
        qputenv("XDG_RUNTIME_DIR", run.toLocal8Bit());
        auto restore = qScopeGuard([&]() {
            if (wasSet)
                qputenv("XDG_RUNTIME_DIR", before);
            else
                qunsetenv("XDG_RUNTIME_DIR");
        });
        // A socket file nobody listens on, as a killed demo leaves it.
        {
            const QByteArray path = QFile::encodeName(DemoInstance::socketName());
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            QVERIFY(size_t(path.size()) < sizeof address.sun_path);
            std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
            const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
            QCOMPARE(::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
            ::close(fd);
            QVERIFY(QFileInfo::exists(QString::fromLocal8Bit(path)));
        }
        DemoInstance instance;
        QString error;
        QVERIFY2(instance.listen(&error), qPrintable(error));
        QStringList links;
        instance.setHandler([&links](const QString &link) {
            links.append(link);
            return link.startsWith(QLatin1String("ostquote:"));
        });

        QLocalSocket silent;
        silent.connectToServer(DemoInstance::socketName());
        QVERIFY(silent.waitForConnected(1000));
        QLocalSocket flood;
        flood.connectToServer(DemoInstance::socketName());
        QVERIFY(flood.waitForConnected(1000));
        flood.write(QByteArray(DemoInstance::MaximumLineLength * 4, 'x'));
        QLocalSocket proper;
        proper.connectToServer(DemoInstance::socketName());
        QVERIFY(proper.waitForConnected(1000));
        QByteArray answer;
        connect(&proper, &QLocalSocket::readyRead, this, [&]() { answer += proper.readAll(); });
        proper.write("ostquote://day/2017-01-01\n");
        QLocalSocket refused;
        refused.connectToServer(DemoInstance::socketName());
        QVERIFY(refused.waitForConnected(1000));
        QByteArray refusal;
        connect(&refused, &QLocalSocket::readyRead, this, [&]() { refusal += refused.readAll(); });
        refused.write("mailto:someone@example.org\n");

        QTRY_COMPARE(answer, QByteArray("ok\n"));
        QTRY_COMPARE(refusal, QByteArray("refused\n"));
        QCOMPARE(links, (QStringList{"ostquote://day/2017-01-01", "mailto:someone@example.org"}));
        QTRY_COMPARE(flood.state(), QLocalSocket::UnconnectedState);
        QTRY_COMPARE_WITH_TIMEOUT(silent.state(), QLocalSocket::UnconnectedState, DemoInstance::PeerTimeout + 5000);
        QCOMPARE(links.size(), 2);
    }

    // --register-links makes the demo the user's handler of the app's links, keeping what
    // else the user's mimeapps.list says.
    void registerLinksWritesTheEntryAndTheDefault()
    {
        QProcessEnvironment environment = freshHeadless(*m_home);
        const QString list = m_home->filePath(QStringLiteral("config/mimeapps.list"));
        QVERIFY(QDir().mkpath(m_home->filePath(QStringLiteral("config"))));
        {
            QFile file(list);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("[Default Applications] \ntext/html=browser.desktop\nx-scheme-handler/ostquote=old.desktop\n\n"
                       "[Added Associations]\nimage/png=viewer.desktop;\n");
        }
        const ProcessRun run = runDemo({QStringLiteral("--register-links")}, environment, 30000);
        QCOMPARE(run.exitCode, 0);
        QFile entry(m_home->filePath(QStringLiteral("data/applications/ostquote-demo.desktop")));
        QVERIFY(entry.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(entry.readAll());
        QVERIFY2(text.contains(QStringLiteral("\nExec=\"%1\" %u\n").arg(QStringLiteral(OSTQUOTE_DEMO_BINARY))), qPrintable(text));
        QVERIFY(text.contains(QLatin1String("\nMimeType=x-scheme-handler/ostquote;\n")));
        QFile file(list);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()),
                 QStringLiteral("[Default Applications] \ntext/html=browser.desktop\nx-scheme-handler/ostquote=ostquote-demo.desktop\n\n"
                                "[Added Associations]\nimage/png=viewer.desktop;\n"));
    }

    // --- The host in process --------------------------------------------------------------

    void theLaunchScreenGoesOnceHoweverOftenItSaysSo()
    {
        OTClock::setTimeZone(QTimeZone("UTC"));
        OTClock::setNow(kNow);
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        openHost();
        DemoHost host(m_view.get(), m_navigation);
        QList<DemoHost::Stage> stages;
        connect(&host, &DemoHost::stageChanged, this, [&]() { stages.append(host.stage()); });
        host.startWithLaunchScreen();
        QPointer<OstQuoteLaunchViewController> launch = host.launchViewController();
        QVERIFY(launch);
        QCOMPARE(m_navigation->topViewController(), launch.data());
        QVERIFY(m_navigation->isNavigationBarHidden());

        // Into the viewer and back: the launch screen says it may go as the slide back starts,
        // and would say so again 2.5 s after it is back in view.
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(launch->findChild<QQuickItem *>(QStringLiteral("button"))));
        QCOMPARE(m_navigation->depth(), 2);
        QTRY_VERIFY(!m_navigation->isBusy());
        auto *viewer = qobject_cast<OstQuoteViewController *>(m_navigation->topViewController());
        QVERIFY(viewer);
        QSignalSpy told(launch.data(), &OstQuoteLaunchViewController::willDismiss);
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(viewer->findChild<QQuickItem *>(QStringLiteral("backButton"))));
        QCOMPARE(told.count(), 1);
        // Told again at once, before the fade: still one fade.
        host.willDismissLaunchViewController(launch);
        QCOMPARE(host.repeatedDismissals(), 1);
        // The slide back ends first; then home replaces the launch screen under its fading
        // snapshot, with the navigation bar back.
        QCOMPARE(host.stage(), DemoHost::Launching);
        QTRY_COMPARE(host.stage(), DemoHost::Fading);
        QPointer<DemoSnapshot> cover = host.fadeCover();
        QVERIFY(cover);
        QCOMPARE(cover->size(), QSizeF(375, 667));
        QVERIFY(cover->isFading());
        // The cover's skin dissolves it: on the way it is neither there nor gone.
        QTRY_VERIFY(cover && cover->opacity() > 0.05 && cover->opacity() < 0.95);
        DemoHomeViewController *homeScreen = host.homeViewController();
        QVERIFY(homeScreen);
        QCOMPARE(m_navigation->viewControllers(), (QList<OTCommonsViewController *>{homeScreen}));
        QVERIFY(!m_navigation->isNavigationBarHidden());
        QTRY_COMPARE(host.stage(), DemoHost::Home);
        QVERIFY(!host.fadeCover());
        QTRY_VERIFY(!launch);

        // Nothing more happens once home is there, however long one waits.
        QTest::qWait(OstQuoteLaunchViewController::DismissInterval + 500);
        QCOMPARE(stages, (QList<DemoHost::Stage>{DemoHost::Launching, DemoHost::Fading, DemoHost::Home}));
        QCOMPARE(m_navigation->viewControllers(), (QList<OTCommonsViewController *>{homeScreen}));
        QTRY_COMPARE(homeScreen->state(), DemoHomeViewController::Updated);
        QCOMPARE(homeScreen->dayText(), QStringLiteral("2017-03-01"));

        // Told again and again, even by a screen it never showed: ignored.
        OstQuoteLaunchViewController stranger;
        host.willDismissLaunchViewController(&stranger);
        host.willDismissLaunchViewController(nullptr);
        QCoreApplication::processEvents();
        QCOMPARE(host.repeatedDismissals(), 3);
        QCOMPARE(stages.size(), 3);
        QCOMPARE(m_navigation->topViewController(), homeScreen);
    }

    // The stored quote is shown as it was sent: markup is text, and a picture named in it is
    // never fetched.
    void homeShowsTheStoredQuoteAsItWasSent()
    {
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

        openHost();
        DemoHomeViewController *homeScreen = DemoHomeViewController::create(m_view->engine());
        QVERIFY(homeScreen);
        m_navigation->pushViewController(homeScreen, false);
        QTRY_COMPARE(homeScreen->state(), DemoHomeViewController::Failed);
        for (const char *name : {"quoteLabel", "translationLabel", "authorLabel"}) {
            auto *label = homeScreen->findChild<QQuickItem *>(QString::fromLatin1(name));
            QVERIFY2(label, name);
            QVERIFY2(showsTextLiterally(label), qPrintable(label->property("text").toString()));
        }
        m_view->grabWindow();
        QTest::qWait(300);
        // One request: today's update. No picture.
        QCOMPARE(pictures.requestCount(), 1);
        QVERIFY(pictures.requests().first().startsWith("GET /api/v2/quote/quotes/today/"));
    }

    // Home on a fresh install whose server is down, then up: no promise of a quote beside
    // the error, and a button that asks again.
    void aFailedUpdateOffersToTryAgain()
    {
        const quint16 port = ot_unusedLoopbackPort();
        OstAPIClient::sharedClient()->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port)));

        openHost();
        DemoHomeViewController *homeScreen = DemoHomeViewController::create(m_view->engine());
        QVERIFY(homeScreen);
        m_navigation->pushViewController(homeScreen, false);
        auto item = [&](const char *name) { return homeScreen->findChild<QQuickItem *>(QLatin1String(name)); };
        QQuickItem *quoteLabel = item("quoteLabel");
        QQuickItem *statusLabel = item("statusLabel");
        QQuickItem *retry = item("retryButton");
        QVERIFY(quoteLabel && statusLabel && retry);

        // Asked for, it is "on its way"; failed, it is not, and the reason is there.
        QCOMPARE(homeScreen->state(), DemoHomeViewController::Updating);
        QVERIFY(quoteLabel->property("text").toString().contains(QLatin1String("on its way")));
        QVERIFY(!retry->isVisible());
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Failed, 20000);
        QCOMPARE(quoteLabel->property("text").toString(), QStringLiteral("No quote yet."));
        QVERIFY(statusLabel->isVisible());
        QVERIFY(statusLabel->property("text").toString().startsWith(QLatin1String("Could not update today's quote")));
        QVERIFY(retry->isVisible());

        // Still down: trying again fails again, and says so again.
        touchTap(m_view.get(), centreOf(retry));
        QCOMPARE(homeScreen->state(), DemoHomeViewController::Updating);
        QVERIFY(!retry->isVisible());
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Failed, 20000);
        QVERIFY(retry->isVisible());
        QVERIFY(!homeScreen->hasQuote());

        // Up now, on that very port: the next try brings today's quote.
        TestServer server;
        QVERIFY2(server.start(kNow, QStringLiteral("UTC"), {QStringLiteral("--port"), QString::number(port)}),
                 qPrintable(server.errorString()));
        QCOMPARE(server.port(), port);
        touchTap(m_view.get(), centreOf(retry));
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Updated, 20000);
        QVERIFY(homeScreen->hasQuote());
        QCOMPARE(homeScreen->dayText(), QStringLiteral("2017-03-01"));
        QCOMPARE(quoteLabel->property("text").toString(), homeScreen->quoteText());
        QVERIFY(!retry->isVisible());
        QVERIFY(!statusLabel->isVisible());
        // A tap while an answer is awaited does not ask twice (the server is asked: the answer
        // just kept for offline use would stand in for it).
        forgetCachedAnswers(OstAPIClient::sharedClient());
        homeScreen->retry();
        homeScreen->retry();
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Updated, 20000);
        QTRY_COMPARE(server.requestedQuotes(), (QStringList{"today", "today"}));
    }

    // Home from the keyboard, as in the module's screens: Tab reaches each button and rings
    // it in the theme's colour; Enter, Return and Space press it.
    void homeWorksFromTheKeyboard_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("Return") << int(Qt::Key_Return);
        QTest::newRow("Enter") << int(Qt::Key_Enter);
        QTest::newRow("Space") << int(Qt::Key_Space);
    }
    void homeWorksFromTheKeyboard()
    {
        QFETCH(int, key);
        OstAPIClient::sharedClient()->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort())));
        openHost();
        DemoHomeViewController *homeScreen = DemoHomeViewController::create(m_view->engine());
        QVERIFY(homeScreen);
        m_navigation->pushViewController(homeScreen, false);
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Failed, 20000);
        auto item = [&](const QString &name) { return homeScreen->findChild<QQuickItem *>(name); };

        // Tab goes through the buttons; only the one with the keyboard wears its ring.
        QSet<QString> reached;
        for (int i = 0; i < 6 && reached.size() < 3; ++i) {
            QTest::keyClick(m_view.get(), Qt::Key_Tab);
            for (const char *button : {"retryButton", "openDayButton", "openViewerButton"}) {
                const QString name = QString::fromLatin1(button);
                QQuickItem *ring = item(name + QStringLiteral("FocusRing"));
                QVERIFY2(ring, qPrintable(name));
                QCOMPARE(ring->isVisible(), item(name)->hasActiveFocus());
                if (item(name)->hasActiveFocus())
                    reached.insert(name);
            }
        }
        QCOMPARE(reached.size(), 3);

        // The retry button asks again ...
        while (!item(QStringLiteral("retryButton"))->hasActiveFocus())
            QTest::keyClick(m_view.get(), Qt::Key_Tab);
        QSignalSpy asked(homeScreen, &DemoHomeViewController::statusChanged);
        QTest::keyClick(m_view.get(), Qt::Key(key));
        QTRY_COMPARE_WITH_TIMEOUT(homeScreen->state(), DemoHomeViewController::Failed, 20000);
        QVERIFY2(asked.size() >= 2, "Updating, then Failed");

        // ... and the viewer's button opens the viewer.
        while (!item(QStringLiteral("openViewerButton"))->hasActiveFocus())
            QTest::keyClick(m_view.get(), Qt::Key_Tab);
        if (key == Qt::Key_Return)
            saveScreenshot(m_view.get(), QStringLiteral("home-keyboard.png"));
        QTest::keyClick(m_view.get(), Qt::Key(key));
        QTRY_VERIFY(qobject_cast<OstQuoteViewController *>(m_navigation->topViewController()));
    }

    // --- Home's day picker ----------------------------------------------------------------

    // With the mouse: months flipped back from today's, a day clicked, the viewer pushed at
    // that day. The days without a quote (before the first, after today) cannot be picked, and
    // the flip buttons stop at the range's months.
    void theDayPickerOpensTheViewerAtAClickedDay_data()
    {
        QTest::addColumn<int>("monthsBack");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("refused");
        QTest::addColumn<QString>("picked");
        QTest::newRow("today's month") << 0 << "March 2017" << "2017-03-02" << "2017-03-01";
        QTest::newRow("a month back") << 1 << "February 2017" << "" << "2017-02-14";
        QTest::newRow("the first month") << 5 << "October 2016" << "2016-09-30" << "2016-10-01";
    }
    void theDayPickerOpensTheViewerAtAClickedDay()
    {
        QFETCH(int, monthsBack);
        QFETCH(QString, title);
        QFETCH(QString, refused);
        QFETCH(QString, picked);
        DemoHomeViewController *homeScreen = openHome();
        QVERIFY(homeScreen);
        QQuickItem *dayButton = sceneItem(QStringLiteral("openDayButton"));
        QQuickItem *viewerButton = sceneItem(QStringLiteral("openViewerButton"));
        QVERIFY(dayButton && viewerButton);
        const QRectF window(0, 0, 375, 667);
        QVERIFY(window.contains(sceneRect(dayButton)));
        QVERIFY(!sceneRect(dayButton).intersects(sceneRect(viewerButton)));

        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(dayButton));
        QVERIFY(homeScreen->isDayPickerOpen());
        QQuickItem *picker = sceneItem(QStringLiteral("dayPickerContent"));
        QTRY_VERIFY(picker && picker->isVisible());
        QVERIFY(window.contains(sceneRect(picker)));
        QCOMPARE(shownTitle(), QStringLiteral("March 2017"));
        // Today is ringed.
        QVERIFY(findItem(dayCell(QStringLiteral("2017-03-01")), QStringLiteral("todayRing"))->isVisible());
        QVERIFY(!findItem(dayCell(QStringLiteral("2017-03-02")), QStringLiteral("todayRing"))->isVisible());
        if (monthsBack == 0) {
            QTest::qWait(100);
            saveScreenshot(m_view.get(), QStringLiteral("demo-day-picker.png"));
        }
        // Whatever the skin lets through, the screen refuses days without a quote.
        for (const char *day : {"2016-09-30", "2017-03-02", "2017-02-30", "17-02-14", ""})
            QVERIFY2(!homeScreen->pickDay(QString::fromLatin1(day)), day);
        QVERIFY(homeScreen->isDayPickerOpen());

        QQuickItem *previous = sceneItem(QStringLiteral("previousMonthButton"));
        QQuickItem *next = sceneItem(QStringLiteral("nextMonthButton"));
        QVERIFY(previous && next);
        for (int i = 0; i < monthsBack; ++i)
            QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(previous));
        QCOMPARE(shownTitle(), title);
        // At the range's ends a flip button does nothing.
        const bool firstMonth = title == QLatin1String("October 2016"), lastMonth = monthsBack == 0;
        QCOMPARE(previous->isEnabled(), !firstMonth);
        QCOMPARE(next->isEnabled(), !lastMonth);
        if (firstMonth)
            QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(previous));
        if (lastMonth)
            QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(next));
        QCOMPARE(shownTitle(), title);

        if (!refused.isEmpty()) {
            QQuickItem *cell = dayCell(refused);
            QVERIFY2(cell, qPrintable(refused));
            QVERIFY(!cell->isEnabled());
            QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(cell));
            QVERIFY(homeScreen->isDayPickerOpen());
            QCOMPARE(m_navigation->depth(), 1);
        }
        QQuickItem *cell = dayCell(picked);
        QVERIFY2(cell && cell->isEnabled(), qPrintable(picked));
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(cell));
        QVERIFY(!homeScreen->isDayPickerOpen());
        QTRY_VERIFY(!picker->isVisible());
        QCOMPARE(m_navigation->depth(), 2);
        QCOMPARE(viewerDay(), picked);
    }

    // The range ends on the device's day in the foundation's clock and zone, read again at
    // each opening; a clock before the first day with a quote opens nothing.
    void theDayPickersRangeEndsToday_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("today"); // empty: the picker does not open
        QTest::newRow("UTC") << kNow << "UTC" << "2017-03-01";
        QTest::newRow("Shanghai, past its midnight")
            << QDateTime(QDate(2017, 3, 1), QTime(17, 0), Qt::UTC) << "Asia/Shanghai" << "2017-03-02";
        QTest::newRow("Los Angeles, before its midnight")
            << QDateTime(QDate(2017, 3, 2), QTime(7, 0), Qt::UTC) << "America/Los_Angeles" << "2017-03-01";
        QTest::newRow("the first day") << QDateTime(QDate(2016, 10, 1), QTime(0, 0), Qt::UTC) << "UTC" << "2016-10-01";
        QTest::newRow("before the first day") << QDateTime(QDate(2016, 9, 30), QTime(23, 59), Qt::UTC) << "UTC" << "";
    }
    void theDayPickersRangeEndsToday()
    {
        QFETCH(QDateTime, now);
        QFETCH(QString, zone);
        QFETCH(QString, today);
        DemoHomeViewController *homeScreen = openHome();
        QVERIFY(homeScreen);
        OTClock::setTimeZone(QTimeZone(zone.toLatin1()));
        OTClock::setNow(now);
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(sceneItem(QStringLiteral("openDayButton"))));
        QQuickItem *picker = sceneItem(QStringLiteral("dayPickerContent"));
        if (today.isEmpty()) {
            QVERIFY(!homeScreen->isDayPickerOpen());
            QVERIFY(!picker || !picker->isVisible());
            return;
        }
        QTRY_VERIFY(picker && picker->isVisible());
        QCOMPARE(homeScreen->lastDay(), today);
        QCOMPARE(homeScreen->focusedDay(), today);
        const QDate day = QDate::fromString(today, Qt::ISODate);
        QVERIFY(dayCell(today)->isEnabled());
        QVERIFY(!dayCell(day.addDays(1).toString(Qt::ISODate))->isEnabled());
        QCOMPARE(sceneItem(QStringLiteral("previousMonthButton"))->isEnabled(), day.month() != 10 || day.year() != 2016);
        QVERIFY(!sceneItem(QStringLiteral("nextMonthButton"))->isEnabled());
    }

    // From the keyboard alone: Tab to the button, a key opens the picker, Esc closes it and
    // gives the keyboard back to the button; opened again, the keys move the framed day
    // (across months, kept in the range) and Return opens the viewer there.
    void theDayPickerWorksFromTheKeyboard_data()
    {
        QTest::addColumn<int>("openKey");
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<QString>("day");
        QTest::newRow("left into February") << int(Qt::Key_Return) << QList<int>{Qt::Key_Left} << "2017-02-28";
        QTest::newRow("back and forth across months")
            << int(Qt::Key_Enter) << QList<int>{Qt::Key_Left, Qt::Key_Left, Qt::Key_Right, Qt::Key_Right} << "2017-03-01";
        QTest::newRow("right stops at today") << int(Qt::Key_Space) << QList<int>{Qt::Key_Right, Qt::Key_Right} << "2017-03-01";
        QTest::newRow("a week up, a month back")
            << int(Qt::Key_Return) << QList<int>{Qt::Key_Left, Qt::Key_Up, Qt::Key_PageUp} << "2017-01-21";
        QTest::newRow("down stops at today")
            << int(Qt::Key_Return) << QList<int>{Qt::Key_Up, Qt::Key_Up, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down} << "2017-03-01";
        QTest::newRow("page down stops at today")
            << int(Qt::Key_Return) << QList<int>{Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_PageDown} << "2017-03-01";
        QTest::newRow("home, then nothing earlier")
            << int(Qt::Key_Return) << QList<int>{Qt::Key_Home, Qt::Key_Left, Qt::Key_Up, Qt::Key_PageUp} << "2016-10-01";
        QTest::newRow("home, a month on, end, a day back")
            << int(Qt::Key_Return) << QList<int>{Qt::Key_Home, Qt::Key_PageDown, Qt::Key_End, Qt::Key_Left} << "2017-02-28";
    }
    void theDayPickerWorksFromTheKeyboard()
    {
        QFETCH(int, openKey);
        QFETCH(QList<int>, keys);
        QFETCH(QString, day);
        DemoHomeViewController *homeScreen = openHome();
        QVERIFY(homeScreen);
        QQuickItem *button = sceneItem(QStringLiteral("openDayButton"));
        QVERIFY(button);
        auto *popup = homeScreen->findChild<QObject *>(QStringLiteral("dayPicker"));
        QVERIFY(popup);
        auto *picker = popup->property("contentItem").value<QQuickItem *>();
        QVERIFY(picker);
        for (int i = 0; i < 6 && !button->hasActiveFocus(); ++i)
            QTest::keyClick(m_view.get(), Qt::Key_Tab);
        QVERIFY(button->hasActiveFocus());
        auto mark = [&](const QString &dayKey) { return findItem(dayCell(dayKey), QStringLiteral("keyboardDayMark")); };

        // Opened and closed with Esc: nothing picked, the button has the keyboard and its ring.
        QTest::keyClick(m_view.get(), Qt::Key(openKey));
        QTRY_VERIFY(picker->isVisible());
        QVERIFY(homeScreen->isDayPickerOpen());
        QVERIFY(!button->hasActiveFocus());
        QVERIFY(mark(QStringLiteral("2017-03-01"))->isVisible());
        // Tab goes round the picker's buttons and its grid; Return presses a button.
        QQuickItem *previous = sceneItem(QStringLiteral("previousMonthButton"));
        QQuickItem *next = sceneItem(QStringLiteral("nextMonthButton"));
        QTest::keyClick(m_view.get(), Qt::Key_Tab);
        QVERIFY(previous->hasActiveFocus());
        QVERIFY(findItem(previous, QStringLiteral("previousMonthButtonFocusRing"))->isVisible());
        QTest::keyClick(m_view.get(), Qt::Key_Return);
        QCOMPARE(homeScreen->focusedDay(), QStringLiteral("2017-02-01"));
        QTest::keyClick(m_view.get(), Qt::Key_Tab);
        QVERIFY(next->hasActiveFocus());
        QTest::keyClick(m_view.get(), Qt::Key_Escape);
        QTRY_VERIFY(!picker->isVisible());
        QVERIFY(!homeScreen->isDayPickerOpen());
        QCOMPARE(m_navigation->depth(), 1);
        QVERIFY(button->hasActiveFocus());
        QVERIFY(findItem(button, QStringLiteral("openDayButtonFocusRing"))->isVisible());

        // Opened again it starts at today.
        QTest::keyClick(m_view.get(), Qt::Key(openKey));
        QTRY_VERIFY(picker->isVisible());
        QCOMPARE(homeScreen->focusedDay(), QStringLiteral("2017-03-01"));
        for (int key : keys)
            QTest::keyClick(m_view.get(), Qt::Key(key));
        QCOMPARE(homeScreen->focusedDay(), day);
        // The framed day is in view, in its month, and the only one framed.
        const QDate date = QDate::fromString(day, Qt::ISODate);
        QCOMPARE(shownTitle(), QLocale().toString(date, QStringLiteral("MMMM yyyy")));
        QVERIFY(mark(day)->isVisible());
        QVERIFY(!mark(date.addDays(date.day() == 1 ? 1 : -1).toString(Qt::ISODate))->isVisible());
        QTest::keyClick(m_view.get(), Qt::Key_Return);
        QTRY_VERIFY(!picker->isVisible());
        QCOMPARE(viewerDay(), day);
    }

    // The picker's own words in English and, where the locale is Chinese, in Chinese; month
    // and weekday names from the locale; every part named for a screen reader, every day by
    // its full date, and a day without a quote said to be one.
    void theDayPickerSpeaksTheLocalesLanguage_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QStringList>("words"); // button, popup, previous, next, a day without a quote
        QTest::addColumn<QString>("monthTitle");
        QTest::addColumn<QString>("today");
        QTest::addColumn<QString>("firstWeekday");
        QTest::newRow("English")
            << QLocale(QLocale::English, QLocale::UnitedKingdom)
            << QStringList{"Open a day…", "Open a day", "Previous month", "Next month", "No quote for this day"}
            << "March 2017" << "Wednesday, 1 March 2017" << "Mon";
        QTest::newRow("Chinese")
            << QLocale(QLocale::Chinese, QLocale::China)
            << QStringList{"打开某一天…", "打开某一天", "上个月", "下个月", "没有这一天的名言"}
            << "2017年3月" << "2017年3月1日星期三" << "周日";
    }
    void theDayPickerSpeaksTheLocalesLanguage()
    {
        QFETCH(QLocale, locale);
        QFETCH(QStringList, words);
        QFETCH(QString, monthTitle);
        QFETCH(QString, today);
        QFETCH(QString, firstWeekday);
        QLocale::setDefault(locale);
        DemoHomeViewController *homeScreen = openHome();
        QVERIFY(homeScreen);
        QQuickItem *button = sceneItem(QStringLiteral("openDayButton"));
        QVERIFY(button);
        QCOMPARE(button->property("text").toString(), words.at(0));
        QCOMPARE(accessibleName(button), words.at(0));
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(button));
        QQuickItem *picker = sceneItem(QStringLiteral("dayPickerContent"));
        QTRY_VERIFY(picker && picker->isVisible());
        QCOMPARE(accessibleName(picker), words.at(1));
        QCOMPARE(QAccessible::queryAccessibleInterface(picker)->role(), QAccessible::Dialog);
        QCOMPARE(accessibleName(sceneItem(QStringLiteral("previousMonthButton"))), words.at(2));
        QCOMPARE(accessibleName(sceneItem(QStringLiteral("nextMonthButton"))), words.at(3));
        QCOMPARE(shownTitle(), monthTitle);

        QQuickItem *todayCell = dayCell(QStringLiteral("2017-03-01"));
        QQuickItem *tomorrowCell = dayCell(QStringLiteral("2017-03-02"));
        QVERIFY(todayCell && tomorrowCell);
        QCOMPARE(accessibleName(todayCell), today);
        QCOMPARE(QAccessible::queryAccessibleInterface(todayCell)->role(), QAccessible::Button);
        // Qt Quick 6.4 does not tell a screen reader that an item is disabled: the description does.
        QCOMPARE(QAccessible::queryAccessibleInterface(todayCell)->text(QAccessible::Description), QString());
        QCOMPARE(QAccessible::queryAccessibleInterface(tomorrowCell)->text(QAccessible::Description), words.at(4));

        // The weekdays start where the locale's week does.
        QQuickItem *weekdays = sceneItem(QStringLiteral("dayOfWeekRow"));
        QVERIFY(weekdays);
        QStringList names;
        for (QQuickItem *child : weekdays->property("contentItem").value<QQuickItem *>()->childItems()) {
            if (child->property("shortName").isValid())
                names.append(child->property("text").toString());
        }
        QCOMPARE(names.size(), 7);
        QCOMPARE(names.first(), firstWeekday);
    }
};

QTEST_MAIN(TestDemo)
#include "tst_demo.moc"
