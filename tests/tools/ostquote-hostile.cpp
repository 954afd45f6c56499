// ostquote-hostile: a quote server that misbehaves, on loopback, to see what a client does
// with it.
//
//   ostquote-hostile [--port N] [--interval MS] [--hops N] MODE
//
// Modes: endless (headers, then a body without end, as fast as the client reads), trickle
// (one byte of body every --interval ms, 2000 by default), redirect-silent (a redirect to a
// second server that accepts and never answers), redirect-loop (a redirect to the address
// asked for), chain (--hops redirects, 6 by default, then a quote), silent (accepts, never
// answers).
//
// Prints its base URL on stdout, then one line on stderr each time a client hangs up on a
// body, with the bytes it had been sent; runs until killed.

#include "HttpFixture.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A quote server that misbehaves, on loopback."));
    parser.addHelpOption();
    const QCommandLineOption portOption(QStringLiteral("port"),
                                        QStringLiteral("Port to listen on (default: any free one)."),
                                        QStringLiteral("N"), QStringLiteral("0"));
    const QCommandLineOption intervalOption(QStringLiteral("interval"),
                                            QStringLiteral("Milliseconds between trickled bytes (default 2000)."),
                                            QStringLiteral("MS"), QStringLiteral("2000"));
    const QCommandLineOption hopsOption(QStringLiteral("hops"), QStringLiteral("Redirects of the chain (default 6)."),
                                        QStringLiteral("N"), QStringLiteral("6"));
    parser.addOptions({portOption, intervalOption, hopsOption});
    parser.addPositionalArgument(QStringLiteral("mode"),
                                 QStringLiteral("endless, trickle, redirect-silent, redirect-loop, chain or silent"));
    parser.process(app);

    QTextStream err(stderr);
    const QStringList args = parser.positionalArguments();
    if (args.size() != 1) {
        err << "ostquote-hostile: one mode expected; try --help" << Qt::endl;
        return 2;
    }
    const QString mode = args.first();

    HttpFixture server;
    HttpFixture silent;
    if (!server.listen(quint16(parser.value(portOption).toUInt()))) {
        err << "ostquote-hostile: cannot listen on port " << parser.value(portOption) << Qt::endl;
        return 1;
    }
    if (mode == QLatin1String("endless")) {
        server.streamEndlessly();
    } else if (mode == QLatin1String("trickle")) {
        server.trickle(qMax(1, parser.value(intervalOption).toInt()));
    } else if (mode == QLatin1String("redirect-silent")) {
        if (!silent.listen()) {
            err << "ostquote-hostile: cannot listen for the silent server" << Qt::endl;
            return 1;
        }
        silent.stayQuiet();
        server.redirectTo(silent.baseURL().toLatin1());
    } else if (mode == QLatin1String("redirect-loop")) {
        server.redirectTo({});
    } else if (mode == QLatin1String("chain")) {
        server.respond(200, R"({"author": "Ada", "content": "A chain that ends.", "assign_date": "2016-10-01"})");
        server.redirectChain(parser.value(hopsOption).toInt());
    } else if (mode == QLatin1String("silent")) {
        server.stayQuiet();
    } else {
        err << "ostquote-hostile: unknown mode '" << mode << "'; try --help" << Qt::endl;
        return 2;
    }
    QObject::connect(&server, &HttpFixture::streamClosed, &app, [&err](qint64 bytes) {
        err << "ostquote-hostile: client hung up after " << bytes << " bytes of body" << Qt::endl;
    });

    QTextStream(stdout) << server.baseURL() << Qt::endl;
    return app.exec();
}
