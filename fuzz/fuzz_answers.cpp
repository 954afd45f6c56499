// The API client against a server that answers anything: the input is served, byte for byte,
// as the HTTP answers (status line, headers, body) of a loopback server in this process, to
// the module's real quote calls. Checks: every completion is called exactly once and in
// time (the deadline holds whatever the answer), an answer is a quote only when it is within
// the size cap, and the disk cache never keeps what it must not: an error status, a body
// that is not JSON, the batch, or another day's quote under a day.
//
// Input: one byte that picks the call (a day, "today", the batch, the update), then up to
// four answers separated by "\n--next--\n"; the n-th connection gets the n-th answer (the
// last one again after that), so that redirects lead somewhere. Absolute Location headers are
// pointed back at the server, so that nothing leaves the loopback.

#include "FuzzCheck.h"

#include "OTUserInfoStore+OstQuote.h"
#include "OstAPIClient+Quote.h"

#include <OTClock.h>
#include <OTDate.h>
#include <OstAPIClient.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkRequest>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <QEventLoop>

#include <cstddef>
#include <cstdint>

namespace {

constexpr int kTimeout = 1000;           // ms, the client's deadline
constexpr qint64 kCap = 64 * 1024;       // bytes, the client's answer cap
constexpr int kSlack = 5000;             // ms past the deadline before "no completion" is called

QTcpServer *server = nullptr;
OstAPIClient *client = nullptr;
QTemporaryDir *home = nullptr;
QList<QByteArray> answers;
int served = 0;

// Absolute redirect targets go back to this server, whatever host or scheme they named.
QByteArray keptOnLoopback(const QByteArray &answer)
{
    const qsizetype headEnd = answer.indexOf("\r\n\r\n");
    const QByteArray head = headEnd < 0 ? answer : answer.left(headEnd);
    QList<QByteArray> lines = head.split('\n');
    for (QByteArray &line : lines) {
        if (line.trimmed().toLower().startsWith("location:") && line.contains("//"))
            line = "Location: /api/v2/quote/quotes/redirected/\r";
    }
    return lines.join('\n') + (headEnd < 0 ? QByteArray() : answer.mid(headEnd));
}

void serve(QTcpSocket *socket)
{
    const QByteArray answer = answers.value(qMin(served, int(answers.size()) - 1));
    ++served;
    socket->write(answer);
    socket->disconnectFromHost();
}

void startServer()
{
    server = new QTcpServer;
    if (!server->listen(QHostAddress::LocalHost))
        fuzzFail("listen", server->errorString(), __FILE__, __LINE__);
    QObject::connect(server, &QTcpServer::newConnection, server, []() {
        while (QTcpSocket *socket = server->nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            // Answered once the request's head is in (or what there is of it).
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket]() {
                if (!socket->property("answered").toBool() && socket->peek(64 * 1024).contains("\r\n\r\n")) {
                    socket->setProperty("answered", true);
                    serve(socket);
                }
            });
        }
    });
}

// What the cache holds for `url`, read with a plain disk cache on the same folder (the
// client's own hides what its rules would not hand out).
struct Kept
{
    bool present = false;
    int status = 0;
    QByteArray body;
};

Kept keptFor(const QUrl &url)
{
    QNetworkDiskCache raw;
    raw.setCacheDirectory(OstAPIClient::cacheDirectory());
    Kept kept;
    const QNetworkCacheMetaData meta = raw.metaData(url);
    if (!meta.isValid())
        return kept;
    kept.present = true;
    kept.status = meta.attributes().value(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (QIODevice *device = raw.data(url)) {
        kept.body = device->readAll();
        delete device;
    }
    return kept;
}

// Runs the event loop for `milliseconds`.
void spin(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    home = new QTemporaryDir;
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home->filePath("cache")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home->filePath("config")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home->filePath("data")));
    static int argc = 1;
    static char name[] = "fuzz_answers";
    static char *argv[] = {name, nullptr};
    new QCoreApplication(argc, argv);
    OTClock::setTimeZone(QTimeZone("Asia/Shanghai"));
    OTClock::setNow(QDateTime::fromString(QStringLiteral("2016-10-03T09:00:00+08:00"), Qt::ISODate));
    OTUserInfoStore::setStorePath(home->filePath("defaults.cbor"));
    startServer();
    client = new OstAPIClient;
    client->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(server->serverPort())));
    client->setTransferTimeout(kTimeout);
    client->setMaximumAnswerSize(kCap);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 1)
        return 0;
    const int call = data[0] % 4;
    const QByteArray input(reinterpret_cast<const char *>(data) + 1, qsizetype(size - 1));
    answers.clear();
    qsizetype from = 0;
    while (answers.size() < 3) {
        const qsizetype at = input.indexOf("\n--next--\n", from);
        if (at < 0)
            break;
        answers.append(keptOnLoopback(input.mid(from, at - from)));
        from = at + 10;
    }
    answers.append(keptOnLoopback(input.mid(from)));
    served = 0;
    // Each input starts from a device that has seen nothing.
    if (QAbstractNetworkCache *cache = client->networkAccessManager()->cache())
        cache->clear();

    int calls = 0;
    OTError error;
    OTModelPtr result;
    QList<OstQuotePtr> quotes;
    QString asked;
    switch (call) {
    case 0:
        asked = QStringLiteral("2016-10-01");
        getQuoteWithDate(client, asked, [&](OstQuotePtr quote, const OTError &e) { ++calls; result = quote; error = e; });
        break;
    case 1:
        asked = QStringLiteral("today");
        getQuoteWithDate(client, asked, [&](OstQuotePtr quote, const OTError &e) { ++calls; result = quote; error = e; });
        break;
    case 2:
        asked = QStringLiteral("batch");
        getQuotesWithBlock(client, [&](const QList<OstQuotePtr> &q, const OTError &e) { ++calls; quotes = q; error = e; });
        break;
    default:
        asked = QStringLiteral("today");
        updateQuoteWithBlock(client, [&](OTModelPtr r, const OTError &e) { ++calls; result = r; error = e; });
        break;
    }

    // The first request and its redirects, each within one deadline; an offline attempt after.
    QDeadlineTimer limit(2 * kTimeout + kSlack);
    while (calls == 0 && !limit.hasExpired())
        spin(20);
    FUZZ_CHECK(calls == 1, QStringLiteral("%1 completions in time").arg(calls));
    spin(30);
    FUZZ_CHECK(calls == 1, QStringLiteral("%1 completions").arg(calls));

    // A result comes with no error, an error with no result.
    FUZZ_CHECK(!error || (!result && quotes.isEmpty()), error.description());
    if (call != 2) {
        FUZZ_CHECK(!!error != !!result, error.description());
        if (result) {
            // Field values only come from what was read, which the cap bounds.
            const qsizetype text = result.objectCast<OstQuote>()->content().size()
                                   + result.objectCast<OstQuote>()->translation().size();
            FUZZ_CHECK(text <= kCap, QStringLiteral("a quote with %1 characters of text").arg(text));
        }
    }

    // What the cache holds for the URL asked: only a 200 JSON object that is the asked day's
    // quote (any day's for "today"); nothing for the batch.
    const QUrl url = client->URLForAPI(QStringLiteral("/api/v2/quote/quotes/%1/").arg(asked));
    const Kept kept = keptFor(url);
    if (kept.present) {
        FUZZ_CHECK(call != 2, QStringLiteral("the batch was kept"));
        FUZZ_CHECK(kept.status == 200, QStringLiteral("kept an answer with status %1").arg(kept.status));
        FUZZ_CHECK(kept.body.size() <= kCap, QStringLiteral("kept %1 bytes").arg(kept.body.size()));
        const QJsonDocument document = QJsonDocument::fromJson(kept.body);
        FUZZ_CHECK(document.isObject(), QStringLiteral("kept a body that is not a JSON object: ") + fuzzPrintable(kept.body));
        const OstQuotePtr quote = OstQuote::fromJSON(document.object());
        FUZZ_CHECK(quote && ot_dayFromKey(quote->assign_date()).isValid(),
                   QStringLiteral("kept an answer without a day: ") + fuzzPrintable(kept.body));
        FUZZ_CHECK(asked == QLatin1String("today") || quote->assign_date() == asked,
                   QStringLiteral("kept the quote of %1 under %2").arg(quote->assign_date(), asked));
    }
    return 0;
}
