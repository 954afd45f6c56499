// ostquote-demo: a host app embedding OstQuote, in a phone-sized window with its own
// navigation stack.
//
//   ostquote-demo [--viewer] [--api URL] [--size WxH]

#include "DemoHost.h"

#include <OTCommonsViewController.h>
#include <OTNavigationController.h>
#include <OstAPIClient.h>

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickView>
#include <QRegularExpression>

#include <cstdio>

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "ostquote-demo: %s\n", qPrintable(message));
    return 2;
}

} // namespace

int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A host app embedding the OstQuote module."));
    parser.addHelpOption();
    const QCommandLineOption viewerOption(QStringLiteral("viewer"), QStringLiteral("Open the quote viewer at once."));
    const QCommandLineOption apiOption(QStringLiteral("api"),
                                       QStringLiteral("Base URL of the quote API (default: $OSTQUOTE_API_BASE, else http://127.0.0.1:8080)."),
                                       QStringLiteral("URL"));
    const QCommandLineOption sizeOption(QStringLiteral("size"), QStringLiteral("Window size in points (default 375x667)."),
                                        QStringLiteral("WxH"), QStringLiteral("375x667"));
    parser.addOptions({viewerOption, apiOption, sizeOption});
    if (!parser.parse(arguments))
        return fail(parser.errorText());
    if (parser.isSet(QStringLiteral("help"))) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));

    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return fail(QStringLiteral("no display to open a window on (QT_QPA_PLATFORM=offscreen runs without one)"));

    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("ostquote-demo"));

    if (parser.isSet(apiOption)) {
        const QUrl api(parser.value(apiOption), QUrl::StrictMode);
        if (!api.isValid() || (api.scheme() != QLatin1String("http") && api.scheme() != QLatin1String("https"))
            || api.host().isEmpty())
            return fail(QStringLiteral("--api wants an http(s) URL, not \"%1\"").arg(parser.value(apiOption)));
        OstAPIClient::sharedClient()->setBaseURL(api);
    }

    static const QRegularExpression sizePattern(QStringLiteral("^(\\d{2,5})x(\\d{2,5})$"));
    const QRegularExpressionMatch size = sizePattern.match(parser.value(sizeOption));
    if (!size.hasMatch())
        return fail(QStringLiteral("--size wants WIDTHxHEIGHT, not \"%1\"").arg(parser.value(sizeOption)));

    QQuickView view;
    view.setTitle(QStringLiteral("OstQuote demo"));
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
    view.resize(size.captured(1).toInt(), size.captured(2).toInt());

    OTNavigationController *navigation = OTNavigationController::create(view.engine(), view.rootObject());
    if (!navigation)
        return fail(QStringLiteral("the navigation host could not be made"));
    navigation->setSize(view.size());
    QObject::connect(&view, &QQuickView::widthChanged, navigation, [&]() { navigation->setWidth(view.width()); });
    QObject::connect(&view, &QQuickView::heightChanged, navigation, [&]() { navigation->setHeight(view.height()); });

    DemoHost host(view.engine(), navigation);
    QQmlComponent homeComponent(view.engine(), QUrl(QStringLiteral("qrc:/DemoHome.qml")));
    auto *home = qobject_cast<OTCommonsViewController *>(
        homeComponent.createWithInitialProperties({{QStringLiteral("host"), QVariant::fromValue(&host)}}));
    if (!home)
        return fail(QStringLiteral("the home screen could not be made: %1").arg(homeComponent.errorString()));
    navigation->pushViewController(home, false);
    if (parser.isSet(viewerOption))
        host.openViewer(false);

    view.show();
    return app.exec();
}
