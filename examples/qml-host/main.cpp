#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    QQmlApplicationEngine engine;
    // Where the OstQuote and OstFoundation QML modules are: this build's qml/ folder, or the
    // installed package's.
    engine.addImportPath(QStringLiteral(OSTQUOTE_QML_IMPORT_PATH));
    engine.load(QUrl(QStringLiteral("qrc:/QmlHost/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;
    return app.exec();
}
