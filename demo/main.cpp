// ostquote-demo: a host app embedding OstQuote, in a phone-sized window with its own
// navigation stack: the module's launch screen, then the app's home screen, and the quote
// viewer from there.
//
//   ostquote-demo [--viewer] [--api URL] [--size WxH] [--tablet] [--tour DIR] [LINK]
//   ostquote-demo --register-links
//
// LINK, a link to a day (ostquote://day/YYYY-MM-DD or a share page of the server), opens the
// viewer at that day once home is up. One window runs per user: a second start hands its
// link to the window already open and ends.

#include "DemoHost.h"
#include "DemoInstance.h"
#include "DemoLinkHandler.h"
#include "DemoTour.h"
#include "ProgramCommandLine.h"

#include <OTDevice.h>
#include <OTNavigationController.h>
#include <OstAPIClient.h>
#include <OstQuoteLink.h>

#include <QDir>
#include <QGuiApplication>
#include <QLockFile>
#include <QQuickView>

#include <cstdio>

int main(int argc, char *argv[])
{
    ProgramCommandLine commandLine("ostquote-demo", QStringLiteral("A host app embedding the OstQuote module."));
    QCommandLineParser &parser = commandLine.parser();
    const QCommandLineOption viewerOption(QStringLiteral("viewer"),
                                          QStringLiteral("Open the quote viewer at once, without the launch screen."));
    const QCommandLineOption apiOption(QStringLiteral("api"),
                                       QStringLiteral("Base URL of the quote API (default: $OSTQUOTE_API_BASE, else http://127.0.0.1:8080)."),
                                       QStringLiteral("URL"));
    const QCommandLineOption sizeOption(QStringLiteral("size"),
                                        QStringLiteral("Window size in points (default 375x667, or 768x1024 with --tablet)."),
                                        QStringLiteral("WxH"));
    const QCommandLineOption tabletOption(QStringLiteral("tablet"), QStringLiteral("Run as on a tablet."));
    const QCommandLineOption tourOption(QStringLiteral("tour"),
                                        QStringLiteral("Walk through the app without a display, one PNG per step into DIR."),
                                        QStringLiteral("DIR"));
    const QCommandLineOption registerOption(QStringLiteral("register-links"),
                                            QStringLiteral("Make this program the handler of ostquote:// links for this user, and end."));
    parser.addOptions({viewerOption, apiOption, sizeOption, tabletOption, tourOption, registerOption});
    parser.addPositionalArgument(QStringLiteral("LINK"),
                                 QStringLiteral("A link to a day to open: ostquote://day/YYYY-MM-DD or a share page of the server."),
                                 QStringLiteral("[LINK]"));
    if (const std::optional<int> status = commandLine.parse(argc, argv, 1))
        return *status;
    const QString link = parser.positionalArguments().value(0);
    if (parser.isSet(registerOption)) {
        QCoreApplication app(argc, argv);
        QString error;
        const QString written = DemoLinkHandler::registerFor(QCoreApplication::applicationFilePath(), &error);
        if (written.isEmpty())
            return commandLine.fail(error);
        std::fputs(qPrintable(written), stdout);
        return 0;
    }

    QUrl api;
    if (parser.isSet(apiOption)) {
        api = QUrl(parser.value(apiOption), QUrl::StrictMode);
        if (!api.isValid() || (api.scheme() != QLatin1String("http") && api.scheme() != QLatin1String("https"))
            || api.host().isEmpty())
            return commandLine.fail(QStringLiteral("--api wants an http(s) URL, not \"%1\"").arg(parser.value(apiOption)));
    }

    // Share page links are the server's own: known once the API is.
    const QUrl server = api.isValid() ? api : OstAPIClient::defaultBaseURL();
    const QString day = link.isEmpty() ? QString() : OstQuoteLink::dayOfLink(QUrl(link.trimmed(), QUrl::StrictMode), server);
    if (!link.isEmpty() && day.isEmpty())
        return commandLine.fail(
            QStringLiteral("not a link to a day: \"%1\" (expected ostquote://day/YYYY-MM-DD or a share page of %2)")
                .arg(link, server.toString()));

    const bool tablet = parser.isSet(tabletOption);
    const QString sizeText = parser.isSet(sizeOption) ? parser.value(sizeOption)
                                                      : (tablet ? QStringLiteral("768x1024") : QStringLiteral("375x667"));
    const std::optional<QSize> size = ProgramCommandLine::windowSize(sizeText, 3, 4);
    if (!size)
        return commandLine.fail(
            QStringLiteral("--size wants WIDTHxHEIGHT between 100x100 and 9999x9999, not \"%1\"").arg(sizeText));

    const bool touring = parser.isSet(tourOption);
    QString tourDirectory;
    if (touring) {
        if (parser.isSet(viewerOption) || !link.isEmpty())
            return commandLine.fail(QStringLiteral("--tour starts on the launch screen; leave out --viewer and the link"));
        if (parser.value(tourOption).isEmpty())
            return commandLine.fail(QStringLiteral("--tour wants a folder"));
        tourDirectory = QDir(parser.value(tourOption)).absolutePath();
        if (!QDir().mkpath(tourDirectory))
            return commandLine.fail(QStringLiteral("cannot make the folder \"%1\"").arg(tourDirectory));
        // The tour draws offscreen, display or not.
        qputenv("QT_QPA_PLATFORM", "offscreen");
    } else if (!ProgramCommandLine::hasDisplay()) {
        return commandLine.fail(QStringLiteral("no display to open a window on (--tour DIR runs without one)"));
    }

    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("ostquote-demo"));

    if (api.isValid())
        OstAPIClient::sharedClient()->setBaseURL(api);
    if (tablet)
        OTDevice::currentDevice()->setUserInterfaceIdiom(OTDevice::Pad);

    // The window already open takes the link; this start ends there. Starts look for it and
    // listen one at a time, so that two starts at once give one window.
    DemoInstance instance;
    if (!touring) {
        QLockFile starting(DemoInstance::socketName() + QStringLiteral(".lock"));
        starting.tryLock(2 * DemoInstance::PeerTimeout);
        QString error;
        if (DemoInstance::handOver(link, &error)) {
            std::printf("ostquote-demo: handed %s to the demo already running\n",
                        link.isEmpty() ? "nothing" : qPrintable(link));
            return 0;
        }
        if (!error.isEmpty()) {
            std::fprintf(stderr, "ostquote-demo: %s\n", qPrintable(error));
            return 1;
        }
        if (!instance.listen(&error))
            std::fprintf(stderr, "ostquote-demo: %s; a second start will open its own window\n", qPrintable(error));
    }

    QQuickView view;
    view.setTitle(QStringLiteral("OstQuote demo"));
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
    view.resize(*size);

    OTNavigationController *navigation = OTNavigationController::create(view.engine(), view.rootObject());
    if (!navigation)
        return commandLine.fail(QStringLiteral("the navigation host could not be made"));
    navigation->setSize(view.size());
    QObject::connect(&view, &QQuickView::widthChanged, navigation, [&]() { navigation->setWidth(view.width()); });
    QObject::connect(&view, &QQuickView::heightChanged, navigation, [&]() { navigation->setHeight(view.height()); });

    DemoHost host(&view, navigation);
    int failure = 0;
    QObject::connect(&host, &DemoHost::failed, &app, [&](const QString &message) {
        failure = commandLine.fail(message);
        app.exit(failure);
    });

    instance.setHandler([&](const QString &handed) {
        const QString handedDay = OstQuoteLink::dayOfLink(handed);
        if (!handed.isEmpty() && handedDay.isEmpty())
            return false;
        host.openDay(handedDay);
        view.raise();
        view.requestActivate();
        return true;
    });

    view.show();
    if (parser.isSet(viewerOption)) {
        host.startWithViewer(day);
    } else {
        host.startWithLaunchScreen();
        host.openDay(day);
    }
    if (failure)
        return failure;

    if (touring)
        return DemoTour(&view, &host, tourDirectory).run();
    return app.exec();
}
