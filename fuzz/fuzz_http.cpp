// The server's request parsing and routing: any bytes sent on a connection to the real
// HTTP front (Beast's parser, the route table, the miss reasons, the picture service) are
// answered with well-formed responses whose statuses are ones the API documents: 2xx, 304
// or 4xx for anything a client can send, and 503 (with Retry-After) only when pictures are
// queued. Malformed input never gets a 5xx, every 4xx carries a JSON error body, a
// connection that must close closes after its last answer, and nothing hangs.

#include "FuzzCheck.h"

#include <AccessLog.h>
#include <HttpMessages.h>
#include <HttpServer.h>
#include <PictureService.h>
#include <QuoteCatalog.h>
#include <Snapshot.h>

#include <OTClock.h>

#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto AnswerTimeout = std::chrono::seconds(60);   // pictures are drawn under the sanitizers

struct Server
{
    AccessLog log;
    SnapshotHolder snapshots;
    PictureService pictures{64u << 20, 1};
    std::unique_ptr<HttpServer> http;
    quint16 port = 0;
};

Server *server = nullptr;

QString keyOf(const QDate &date)
{
    return date.toString(Qt::ISODate);
}

// The server as it runs on its first day, 2016-10-01 in Shanghai: eight days served, so
// at most sixteen pictures are ever drawn.
void startServer()
{
    OTClock::setTimeZone(QTimeZone("Asia/Shanghai"));
    OTClock::setNow(QDateTime(QDate(2016, 10, 1), QTime(9, 0), QTimeZone("Asia/Shanghai")));

    server = new Server;
    QString error;
    FUZZ_CHECK(server->log.open(QStringLiteral("/dev/null"), &error), error);
    HttpServer::Settings settings;
    settings.port = 0;
    settings.threads = 1;
    server->http = std::make_unique<HttpServer>(settings, server->snapshots, server->pictures, server->log);
    FUZZ_CHECK(server->http->listen(&error), error);
    server->port = server->http->port();

    QList<DayQuote> days;
    const QDate first = ostFirstQuoteDay();
    for (int i = 0; i <= ostDaysAhead; ++i) {
        const QDate day = first.addDays(i);
        days.append(DayQuote{day, keyOf(day), i + 1, QStringLiteral("Author %1").arg(i),
                             QStringLiteral("A sentence \"quoted\" <b>for</b> day %1 & more.").arg(i),
                             QStringLiteral("第%1天的译文。").arg(i)});
    }
    const QDateTime midnight(first.addDays(1), QTime(0, 0), QTimeZone("Asia/Shanghai"));
    server->snapshots.publish(QuoteCatalog::buildSnapshot(days, first, midnight, server->http->url()));
    server->http->start();
}

// Sends `input` on a new connection, closes the sending side and reads until the server
// closes. False when the server reset the connection (the answers may then be cut short).
bool exchange(const QByteArray &input, std::string *answer)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    FUZZ_CHECK(fd >= 0, QString::fromLocal8Bit(std::strerror(errno)));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(server->port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    FUZZ_CHECK(::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0,
               QString::fromLocal8Bit(std::strerror(errno)));

    const Clock::time_point deadline = Clock::now() + AnswerTimeout;
    qsizetype sent = 0;
    bool writing = true;
    bool reset = false;
    if (input.isEmpty()) {
        ::shutdown(fd, SHUT_WR);
        writing = false;
    }
    char buffer[16384];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        FUZZ_CHECK(left > 0, QStringLiteral("no end to the answer after %1 s, %2 bytes read; the request was:\n%3")
                                 .arg(std::chrono::seconds(AnswerTimeout).count())
                                 .arg(answer->size())
                                 .arg(fuzzPrintable(input)));
        pollfd p{fd, short(POLLIN | (writing ? POLLOUT : 0)), 0};
        if (::poll(&p, 1, int(left)) <= 0)
            continue;
        if (writing && (p.revents & (POLLOUT | POLLERR | POLLHUP))) {
            const ssize_t n = ::send(fd, input.constData() + sent, std::size_t(input.size() - sent),
                                     MSG_NOSIGNAL | MSG_DONTWAIT);
            if (n > 0)
                sent += n;
            if (n < 0 && errno != EAGAIN && errno != EINTR)
                writing = false;   // the server stopped reading and closed: its answer is what counts
            if (sent == input.size()) {
                ::shutdown(fd, SHUT_WR);
                writing = false;
            }
        }
        if (p.revents & (POLLIN | POLLERR | POLLHUP)) {
            const ssize_t n = ::recv(fd, buffer, sizeof buffer, MSG_DONTWAIT);
            if (n > 0) {
                answer->append(buffer, std::size_t(n));
            } else if (n == 0) {
                break;
            } else if (errno != EAGAIN && errno != EINTR) {
                reset = true;
                break;
            }
        }
    }
    ::close(fd);
    return !reset;
}

bool isDocumentedStatus(int status)
{
    switch (status) {
    case 200: case 304: case 400: case 404: case 405: case 413: case 431: case 503:
    // A transfer coding the server cannot decode, and a major version other than 1.
    case 501: case 505:
        return true;
    default:
        return false;
    }
}

// Checks every answer in `answer`; `complete` says whether the stream ended normally.
void checkAnswers(const QByteArray &input, const std::string &answer, bool complete)
{
    const QString request = QStringLiteral("\nrequest:  %1\nanswered: %2")
                                .arg(fuzzPrintable(input), fuzzPrintable(QByteArray::fromStdString(answer)));
    std::size_t pos = 0;
    while (pos < answer.size()) {
        const std::size_t end = answer.find("\r\n\r\n", pos);
        if (end == std::string::npos) {
            FUZZ_CHECK(!complete, QStringLiteral("an answer cut short") + request);
            return;
        }
        const std::string_view head(answer.data() + pos, end - pos);
        pos = end + 4;

        // "HTTP/1.1 NNN Reason"
        const std::size_t lineEnd = head.find("\r\n");
        const std::string_view statusLine = head.substr(0, lineEnd);
        FUZZ_CHECK(statusLine.size() > 13 && statusLine.substr(0, 9) == "HTTP/1.1 " && statusLine[12] == ' ',
                   QStringLiteral("not a status line") + request);
        int status = 0;
        for (const char c : statusLine.substr(9, 3)) {
            FUZZ_CHECK(c >= '0' && c <= '9', QStringLiteral("not a status line") + request);
            status = status * 10 + (c - '0');
        }
        FUZZ_CHECK(isDocumentedStatus(status), QStringLiteral("status %1").arg(status) + request);
        FUZZ_CHECK(statusLine.substr(13) == Http::reasonPhrase(status), QStringLiteral("reason phrase") + request);

        std::optional<std::size_t> contentLength;
        bool closes = false;
        bool retryAfter = false;
        std::size_t at = lineEnd == std::string_view::npos ? head.size() : lineEnd + 2;
        while (at < head.size()) {
            std::size_t next = head.find("\r\n", at);
            if (next == std::string_view::npos)
                next = head.size();
            const std::string_view field = head.substr(at, next - at);
            const std::size_t colon = field.find(": ");
            FUZZ_CHECK(colon != std::string_view::npos && colon > 0, QStringLiteral("a header line without a name") + request);
            const std::string_view name = field.substr(0, colon);
            const std::string_view value = field.substr(colon + 2);
            if (name == "Content-Length") {
                std::size_t n = 0;
                for (const char c : value) {
                    FUZZ_CHECK(c >= '0' && c <= '9', QStringLiteral("Content-Length") + request);
                    n = n * 10 + std::size_t(c - '0');
                }
                contentLength = n;
            } else if (name == "Connection" && value == "close") {
                closes = true;
            } else if (name == "Retry-After") {
                retryAfter = true;
            }
            at = next + 2;
        }

        if (status >= 500 && status != 501 && status != 505)
            FUZZ_CHECK(status == 503 && retryAfter, QStringLiteral("a server error") + request);
        if (status == 400 || status == 413 || status == 431 || status == 501 || status == 505)
            FUZZ_CHECK(closes, QStringLiteral("the connection must close after input it cannot read") + request);
        FUZZ_CHECK(status == 304 || contentLength, QStringLiteral("no Content-Length") + request);

        // A body follows unless the answer is a 304 or answers HEAD (the next answer, or
        // the end, then comes at once).
        const bool bodyFollows = status != 304 && *contentLength > 0 && pos < answer.size()
                                 && answer.compare(pos, 9, "HTTP/1.1 ") != 0;
        if (bodyFollows) {
            if (answer.size() - pos < *contentLength) {
                FUZZ_CHECK(!complete, QStringLiteral("a body shorter than its Content-Length") + request);
                return;
            }
            const QByteArray body = QByteArray::fromRawData(answer.data() + pos, qsizetype(*contentLength));
            pos += *contentLength;
            if (status >= 400) {
                QJsonParseError error;
                const QJsonDocument document = QJsonDocument::fromJson(body, &error);
                FUZZ_CHECK(document.isObject() && document.object().value(QLatin1String("error")).isString()
                               && !document.object().value(QLatin1String("error")).toString().isEmpty(),
                           QStringLiteral("an error body that is not {\"error\": \"...\"}: %1").arg(error.errorString())
                               + request);
            }
        }
        if (closes)
            FUZZ_CHECK(pos == answer.size(), QStringLiteral("an answer after Connection: close") + request);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Pictures are drawn with QPainter and fonts, which need a GUI application, not a display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "fuzz_http";
    static char *argv[] = {name, nullptr};
    new QGuiApplication(argc, argv);
    startServer();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    std::string answer;
    const bool complete = exchange(input, &answer);
    checkAnswers(input, answer, complete);
    return 0;
}
