#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    QQmlApplicationEngine engine;
    // Where the OstQuote and OstFoundation QML modules are: this build's qml/ folder, or the
    // installed package's.
    engine.addImportPath(QStringLiteral(OSTQUOTE_QML_IMPORT_PATH));
    // `--parts` shows the module's visual types side by side (Parts.qml) instead of the app.
    const bool parts = app.arguments().contains(QStringLiteral("--parts"));
    engine.load(QUrl(parts ? QStringLiteral("qrc:/QmlHost/Parts.qml") : QStringLiteral("qrc:/QmlHost/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;
    return app.exec();
}
