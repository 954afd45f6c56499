// ostquote-server: the reference quote API, and its static export.

#include "AccessLog.h"
#include "HttpServer.h"
#include "PictureService.h"
#include "QuoteDatabase.h"
#include "QuoteDataset.h"
#include "QuoteService.h"
#include "ServerOptions.h"
#include "Snapshot.h"
#include "StaticExport.h"

#include <OTClock.h>

#include <QGuiApplication>
#include <QTimeZone>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <thread>

namespace {

int fail(const QString &message, int status = 1)
{
    std::fprintf(stderr, "ostquote-server: %s\n", qPrintable(message));
    return status;
}

// SIGINT and SIGTERM are blocked in every thread and taken by one that waits for them,
// which asks the main loop to quit; the server then stops in order.
sigset_t stopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

int serve(const ServerOptions &options, QuoteDatabase &database)
{
    AccessLog log;
    QString error;
    if (!log.open(options.accessLog, &error))
        return fail(error);

    SnapshotHolder snapshots;
    PictureService pictures;
    HttpServer::Settings settings;
    settings.host = options.host;
    settings.port = options.port;
    settings.threads = options.threads;
    settings.idleTimeout = std::chrono::milliseconds(options.idleTimeoutMsecs);
    HttpServer server(settings, snapshots, pictures, log);
    if (!server.listen(&error))
        return fail(error);

    QuoteService service(database, options.publicBase.isEmpty() ? server.url() : options.publicBase, snapshots);
    if (!service.start(&error))
        return fail(error);

    std::printf("ostquote-server listening on %s\n", qPrintable(server.url()));
    std::fflush(stdout);
    server.start();

    std::atomic<bool> signalled{false};
    std::thread signalWaiter([&signalled]() {
        const sigset_t signals = stopSignals();
        int signal = 0;
        sigwait(&signals, &signal);
        signalled = true;
        QMetaObject::invokeMethod(qApp, []() { QCoreApplication::quit(); }, Qt::QueuedConnection);
    });
    const int status = QCoreApplication::exec();
    if (!signalled)
        pthread_kill(signalWaiter.native_handle(), SIGTERM);   // the loop ended on its own: release the waiter
    signalWaiter.join();
    server.stop();
    pictures.shutdown();
    log.close();   // writes out what is queued, waiting a few seconds at most for its reader
    return status;
}

int exportStatic(const ServerOptions &options, QuoteDatabase &database)
{
    QString error;
    const QString base = options.publicBase.isEmpty() ? QStringLiteral("http://127.0.0.1:8080") : options.publicBase;
    const SnapshotPtr snapshot = ostBuildSnapshot(database, base, &error);
    if (!snapshot)
        return fail(error);
    StaticExport::Summary summary;
    if (!StaticExport::write(*snapshot, options.exportDirectory, options.apiOnly, &summary, &error))
        return fail(error);
    std::printf("ostquote-server: exported %d days (today %s) to %s: %d documents written, %d unchanged",
                summary.days, qPrintable(snapshot->today.toString(Qt::ISODate)), qPrintable(options.exportDirectory),
                summary.documentsWritten, summary.documentsUnchanged);
    if (options.apiOnly)
        std::printf("; pictures and share pages skipped\n");
    else
        std::printf("; %d pictures drawn, %d already there\n", summary.picturesDrawn, summary.picturesKept);
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    const sigset_t signals = stopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    // Pictures need fonts and QPainter, not a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("ostquote-server"));

    QString error;
    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    const std::optional<ServerOptions> options = ServerOptions::parse(arguments, &error);
    if (!options) {
        std::fprintf(stderr, "ostquote-server: %s\n\n%s", qPrintable(error), qPrintable(ServerOptions::usage()));
        return 2;
    }
    if (options->mode == ServerOptions::Mode::Help) {
        std::printf("%s", qPrintable(ServerOptions::usage()));
        return 0;
    }
    if (!options->timeZone.isEmpty())
        OTClock::setTimeZone(QTimeZone(options->timeZone.toUtf8()));

    const QString datasetPath = options->dataset.isEmpty() ? QuoteDataset::embeddedPath : options->dataset;
    const std::optional<QList<DatasetQuote>> dataset = QuoteDataset::load(datasetPath, &error);
    if (!dataset)
        return fail(error);

    QuoteDatabase database;
    if (!database.open(options->database) || database.seed(*dataset) < 0)
        return fail(database.errorString());

    return options->mode == ServerOptions::Mode::Export ? exportStatic(*options, database) : serve(*options, database);
}
