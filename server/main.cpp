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

#include <QFile>
#include <QGuiApplication>
#include <QTimeZone>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <sys/resource.h>
#include <thread>

namespace {

int fail(const QString &message, int status = 1)
{
    std::fprintf(stderr, "ostquote-server: %s\n", qPrintable(message));
    return status;
}

// SIGINT and SIGTERM are blocked in every thread and taken by one that waits for them: the
// first asks the main loop to quit, and the server then stops in order; a second one
// during that stop ends it at once.
sigset_t stopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

// The exit status of a stop that had to close connections with requests unanswered.
constexpr int StopCutShort = 3;

// Descriptors are what a server with many keep-alive connections runs out of first: the
// soft limit (often 1,024) goes up to the hard one, which is the operator's choice.
void raiseOpenFileLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    const rlim_t before = limit.rlim_cur;
    if (limit.rlim_cur < limit.rlim_max) {
        rlimit raised = limit;
        raised.rlim_cur = limit.rlim_max;
        if (::setrlimit(RLIMIT_NOFILE, &raised) != 0 && limit.rlim_max == RLIM_INFINITY) {
            // An unlimited hard limit still stops at the kernel's per-process maximum.
            QFile nrOpen(QStringLiteral("/proc/sys/fs/nr_open"));
            bool ok = false;
            const rlim_t most = nrOpen.open(QIODevice::ReadOnly) ? nrOpen.readAll().trimmed().toULongLong(&ok) : 0;
            raised.rlim_cur = most;
            if (ok)
                ::setrlimit(RLIMIT_NOFILE, &raised);
        }
        ::getrlimit(RLIMIT_NOFILE, &limit);
    }
    if (limit.rlim_cur != before)
        std::fprintf(stderr, "ostquote-server: open files: up to %llu (raised from %llu)\n",
                     static_cast<unsigned long long>(limit.rlim_cur), static_cast<unsigned long long>(before));
    else
        std::fprintf(stderr, "ostquote-server: open files: up to %llu\n", static_cast<unsigned long long>(limit.rlim_cur));
}

int serve(const ServerOptions &options, QuoteDatabase &database)
{
    raiseOpenFileLimit();

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

    std::atomic<int> signalled{0};
    std::atomic<bool> stopped{false};
    std::thread signalWaiter([&]() {
        const sigset_t signals = stopSignals();
        for (int signal = 0; !stopped && sigwait(&signals, &signal) == 0 && !stopped;) {
            if (signalled.fetch_add(1) == 0) {
                // The instance as it is, not qApp's cast to QGuiApplication: a build with the
                // undefined-behaviour checks verifies that cast by reading the object through a
                // pipe, and at the open-file limit (idle clients holding every descriptor) it gets
                // none and reports the object as broken.
                QMetaObject::invokeMethod(QCoreApplication::instance(), []() { QCoreApplication::quit(); },
                                          Qt::QueuedConnection);
            } else {
                server.stopNow();
                return;
            }
        }
    });
    int status = QCoreApplication::exec();
    const auto grace = std::chrono::milliseconds(options.stopTimeoutMsecs);
    const HttpServer::StopReport stop = server.stop(grace);
    stopped = true;
    pthread_kill(signalWaiter.native_handle(), SIGTERM);   // releases the waiter, which waits no more
    signalWaiter.join();
    std::fprintf(stderr,
                 "ostquote-server: stopped%s: %llu requests answered after the stop, %llu idle connections "
                 "closed, %llu connections cut%s\n",
                 signalled ? " on a signal" : "", static_cast<unsigned long long>(stop.answered),
                 static_cast<unsigned long long>(stop.idleClosed), static_cast<unsigned long long>(stop.cut),
                 stop.aborted    ? " by a second signal"
                 : stop.timedOut ? qPrintable(QStringLiteral(" when the %1 s grace period ran out")
                                                  .arg(double(grace.count()) / 1000))
                                 : "");
    std::fflush(stderr);
    if (stop.cut > 0 && status == 0)
        status = StopCutShort;
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
