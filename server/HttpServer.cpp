// Beast's string_view is std::string_view here, as everywhere else in the server.
#define BOOST_BEAST_USE_STD_STRING_VIEW

#include "HttpServer.h"

#include "AccessLog.h"
#include "HttpMessages.h"
#include "PictureService.h"
#include "Snapshot.h"

#include <OTClock.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/basic_parser.hpp>
#include <boost/beast/http/error.hpp>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstring>
#include <ctime>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr std::uint32_t HeaderLimit = 8 * 1024;
constexpr std::uint64_t BodyLimit = 8 * 1024;
constexpr std::size_t InitialInputBuffer = 4 * 1024;
constexpr std::size_t InputBufferLimit = 16 * 1024;
constexpr std::size_t MaxQueuedReplies = 16;
constexpr auto LingerTime = std::chrono::seconds(2);
constexpr auto MinimumWriteTime = std::chrono::seconds(60);

void appendNumber(std::string &out, std::int64_t value)
{
    char digits[24];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, result.ptr);
}

// Request text in the access log: printable ASCII as it is, anything else as \xHH.
void appendSanitized(std::string &out, std::string_view text)
{
    static constexpr char hex[] = "0123456789abcdef";
    const auto plain = [](char c) { return c > 0x20 && c < 0x7f && c != '\\'; };
    while (!text.empty()) {
        const auto run = std::size_t(std::find_if_not(text.begin(), text.end(), plain) - text.begin());
        out.append(text.substr(0, run));
        if (run == text.size())
            break;
        const auto u = static_cast<unsigned char>(text[run]);
        out += "\\x";
        out += hex[u >> 4];
        out += hex[u & 0xf];
        text.remove_prefix(run + 1);
    }
}

// A Host value (or the authority of an absolute URL): host and port, in the characters a
// URI allows there (no user info, path or space).
bool isValidHost(std::string_view host)
{
    static constexpr std::string_view allowed = "-._~%!$&'()*+,;=:[]";
    return std::all_of(host.begin(), host.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
               || allowed.find(c) != std::string_view::npos;
    });
}

// The path of a request target without its query: from the origin form (/path?query), or
// from the absolute form (http://host/path?query) that proxies send and servers must take
// too. Nullopt when the target is neither.
std::optional<std::string_view> targetPath(std::string_view target)
{
    if (target.empty() || target.front() != '/') {
        const std::size_t schemeEnd = target.find("://");
        if (schemeEnd == std::string_view::npos)
            return std::nullopt;
        const std::string_view scheme = target.substr(0, schemeEnd);
        if (!boost::beast::iequals(scheme, "http") && !boost::beast::iequals(scheme, "https"))
            return std::nullopt;
        target.remove_prefix(schemeEnd + 3);
        const std::size_t authorityEnd = std::min(target.find_first_of("/?#"), target.size());
        const std::string_view authority = target.substr(0, authorityEnd);
        if (authority.empty() || authority.front() == ':' || !isValidHost(authority))
            return std::nullopt;   // an http URL needs a host
        target.remove_prefix(authorityEnd);
        if (target.empty() || target.front() != '/')
            return std::string_view("/");   // http://host and http://host?query name the root
    }
    return target.substr(0, target.find('?'));
}

// "Now" for one network thread, read from the foundation's clock once a second: the Date
// line, the seconds used for max-age, and the access log's time stamp.
class ThreadClock
{
public:
    // The steady time, refreshing the rest when the clock's second has moved on.
    SteadyClock::time_point tick()
    {
        const SteadyClock::time_point now = SteadyClock::now();
        if (now >= m_validUntil)
            refresh(now);
        return now;
    }

    std::int64_t seconds() const { return m_seconds; }
    const std::string &dateLine() const { return m_dateLine; }
    const std::string &logTime() const { return m_logTime; }

private:
    void refresh(SteadyClock::time_point now)
    {
        const std::int64_t msecs = OTClock::now().toMSecsSinceEpoch();
        m_seconds = msecs >= 0 ? msecs / 1000 : (msecs - 999) / 1000;
        m_validUntil = now + std::chrono::milliseconds(1000 - (msecs - m_seconds * 1000));
        m_dateLine = "Date: " + Http::imfDate(m_seconds) + "\r\n";
        const std::time_t t = std::time_t(m_seconds);
        std::tm utc{};
        gmtime_r(&t, &utc);
        char text[32];
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
        m_logTime = text;
    }

    SteadyClock::time_point m_validUntil{};
    std::int64_t m_seconds = 0;
    std::string m_dateLine;
    std::string m_logTime;
};

// What the server keeps of a request: the parser hands it over field by field, and only
// the few fields that matter are kept (no per-field allocation).
struct RequestInfo
{
    http::verb method = http::verb::unknown;
    std::string methodText;
    std::string target;
    std::string ifNoneMatch;
    int version = 11;
    int hostFields = 0;
    bool validHost = true;
    bool transferEncoding = false;   // a Transfer-Encoding field came
    int chunkedCodings = 0;
    bool unknownCoding = false;
    // Set when the request is refused before its body: the status and the reason.
    int refusal = 0;
    const char *refusalReason = "";

    void clear()
    {
        method = http::verb::unknown;
        methodText.clear();
        target.clear();
        ifNoneMatch.clear();
        version = 11;
        hostFields = 0;
        validHost = true;
        transferEncoding = false;
        chunkedCodings = 0;
        unknownCoding = false;
        refusal = 0;
        refusalReason = "";
    }
};

class RequestParser final : public http::basic_parser<true>
{
public:
    explicit RequestParser(RequestInfo &info)
        : m_info(info)
    {
        header_limit(HeaderLimit);
        body_limit(BodyLimit);
        eager(true);
    }

private:
    // Stops the parser: the request is answered with `status` and the connection closes,
    // since what follows the head cannot be told apart from a next request.
    void refuse(int status, const char *reason, error_code &ec)
    {
        m_info.refusal = status;
        m_info.refusalReason = reason;
        ec = http::error::bad_value;
    }

    void on_request_impl(http::verb method, std::string_view methodText, std::string_view target, int version,
                         error_code &ec) override
    {
        m_info.method = method;
        m_info.methodText.assign(methodText);
        m_info.target.assign(target);
        m_info.version = version;
        if ((method == http::verb::get || method == http::verb::head) && !targetPath(target))
            refuse(400, "the request target is neither a path nor an http URL", ec);
    }
    void on_response_impl(int, std::string_view, int, error_code &ec) override { ec = http::error::bad_version; }
    void on_field_impl(http::field name, std::string_view, std::string_view value, error_code &) override
    {
        switch (name) {
        case http::field::if_none_match:
            if (!m_info.ifNoneMatch.empty())
                m_info.ifNoneMatch += ", ";
            m_info.ifNoneMatch.append(value);
            break;
        case http::field::host:
            ++m_info.hostFields;
            m_info.validHost = m_info.validHost && isValidHost(value);
            break;
        case http::field::transfer_encoding:
            // A list of codings, each perhaps with parameters; empty elements are allowed.
            m_info.transferEncoding = true;
            while (!value.empty()) {
                const std::size_t comma = std::min(value.find(','), value.size());
                std::string_view coding = value.substr(0, std::min(value.find(';'), comma));
                value.remove_prefix(std::min(comma + 1, value.size()));
                while (!coding.empty() && (coding.front() == ' ' || coding.front() == '\t'))
                    coding.remove_prefix(1);
                while (!coding.empty() && (coding.back() == ' ' || coding.back() == '\t'))
                    coding.remove_suffix(1);
                if (boost::beast::iequals(coding, "chunked"))
                    ++m_info.chunkedCodings;
                else if (!coding.empty())
                    m_info.unknownCoding = true;
            }
            break;
        default:
            break;
        }
    }
    void on_header_impl(error_code &ec) override
    {
        if (m_info.hostFields > 1)
            refuse(400, "the request has more than one Host header", ec);
        else if (m_info.hostFields == 0 && m_info.version >= 11)
            refuse(400, "an HTTP/1.1 request needs a Host header", ec);
        else if (!m_info.validHost)
            refuse(400, "the Host header is not a host name", ec);
        else if (m_info.transferEncoding && m_info.version < 11)
            refuse(400, "an HTTP/1.0 request cannot have a Transfer-Encoding", ec);
        else if (m_info.unknownCoding)
            refuse(501, "chunked is the only transfer coding supported", ec);
        else if (m_info.transferEncoding && m_info.chunkedCodings != 1)
            refuse(400, "the Transfer-Encoding is not valid", ec);
    }
    void on_body_init_impl(const boost::optional<std::uint64_t> &, error_code &) override {}
    // Bodies are read and dropped: nothing here takes one.
    std::size_t on_body_impl(std::string_view body, error_code &) override { return body.size(); }
    void on_chunk_header_impl(std::uint64_t, std::string_view, error_code &) override {}
    std::size_t on_chunk_body_impl(std::uint64_t, std::string_view body, error_code &) override { return body.size(); }
    void on_finish_impl(error_code &) override {}

    RequestInfo &m_info;
};

// A buffer sequence over part of a vector, so that async_write does not copy the vector.
struct BufferRange
{
    using value_type = asio::const_buffer;
    using const_iterator = const asio::const_buffer *;
    const asio::const_buffer *first;
    const asio::const_buffer *last;
    const_iterator begin() const { return first; }
    const_iterator end() const { return last; }
};

class Connection;

} // namespace

class HttpServer::Impl
{
public:
    Impl(const Settings &s, SnapshotHolder &h, PictureService &p, AccessLog &l)
        : settings(s)
        , snapshots(h)
        , pictures(p)
        , log(l)
        , io(std::max(1, s.threads))
    {
    }
    ~Impl();

    // The snapshot in service, through a reference this thread keeps, so that serving a
    // request does not touch a count that every thread shares.
    const std::shared_ptr<const SnapshotPtr> &snapshot();
    // The calling thread's view of the clock.
    static ThreadClock &clock()
    {
        thread_local ThreadClock threadClock;
        return threadClock;
    }

    void accept();
    void housekeep();
    void shutDown();
    void attach(Connection *connection);
    void detach(Connection *connection);

    Settings settings;
    SnapshotHolder &snapshots;
    PictureService &pictures;
    AccessLog &log;
    asio::io_context io;
    tcp::acceptor acceptor{io};
    asio::steady_timer housekeeping{io};
    tcp::endpoint endpoint;
    std::vector<std::thread> threads;
    bool running = false;
    std::atomic<bool> stopping{false};

    std::mutex connectionsMutex;
    Connection *connections = nullptr;   // intrusive list, for the idle sweep and shutdown
};

namespace {

class Connection : public std::enable_shared_from_this<Connection>
{
public:
    Connection(HttpServer::Impl &server, tcp::socket socket)
        : m_server(server)
        , m_socket(std::move(socket))
    {
        error_code ec;
        const tcp::endpoint peer = m_socket.remote_endpoint(ec);
        m_peer = ec ? std::string("-") : peer.address().to_string();
        m_in.resize(InitialInputBuffer);
        setDeadline(HttpServer::Impl::clock().tick() + m_server.settings.idleTimeout);
    }

    ~Connection() { m_server.detach(this); }

    void start()
    {
        std::lock_guard lock(m_mutex);
        read();
    }

    // From the sweep, on any thread: closes the connection when it is past its deadline.
    void closeIfExpired(SteadyClock::time_point now)
    {
        if (now < deadline())
            return;
        std::lock_guard lock(m_mutex);
        if (now >= deadline())
            close();
    }

    // From shutdown, on any thread.
    void closeNow()
    {
        std::lock_guard lock(m_mutex);
        close();
    }

    Connection *previous = nullptr;
    Connection *next = nullptr;

private:
    // One answer waiting to be written.
    struct Reply
    {
        const std::string *head = nullptr;   // prepared (owned by `keep`), else ownHead
        const std::string *body = nullptr;   // prepared (owned by `keep`), else ownBody
        std::string ownHead;
        std::string ownBody;
        std::string lines;                   // per-request header lines and the blank line
        bool sendBody = true;
        std::shared_ptr<const void> keep;
        // for the access log
        std::string request;                 // "METHOD target"
        int status = 0;
        SteadyClock::time_point started;

        std::string_view headText() const { return head ? *head : ownHead; }
        std::string_view bodyText() const
        {
            return sendBody ? (body ? std::string_view(*body) : std::string_view(ownBody)) : std::string_view();
        }
    };

    // What a request needs remembered while its picture is drawn.
    struct Pending
    {
        bool headOnly = false;
        bool keepAlive = true;
        int version = 11;
        std::string ifNoneMatch;
        std::string request;
        SteadyClock::time_point started;
    };

    SteadyClock::time_point deadline() const
    {
        return SteadyClock::time_point(SteadyClock::duration(m_deadline.load(std::memory_order_relaxed)));
    }
    void setDeadline(SteadyClock::time_point when)
    {
        m_deadline.store(when.time_since_epoch().count(), std::memory_order_relaxed);
    }
    void setIdleDeadline(SteadyClock::time_point now) { setDeadline(now + m_server.settings.idleTimeout); }

    // Everything below runs with m_mutex held: in completion handlers, which never run
    // two at a time for one connection (it has one operation under way at most), and in
    // the sweep.

    void close()
    {
        if (m_closed)
            return;
        m_closed = true;
        error_code ignored;
        m_socket.shutdown(tcp::socket::shutdown_both, ignored);
        m_socket.close(ignored);
    }

    void read()
    {
        if (m_inStart == m_inEnd) {
            m_inStart = m_inEnd = 0;
        } else if (m_inStart > 0) {
            std::memmove(m_in.data(), m_in.data() + m_inStart, m_inEnd - m_inStart);
            m_inEnd -= m_inStart;
            m_inStart = 0;
        }
        if (m_inEnd == m_in.size()) {
            if (m_in.size() >= InputBufferLimit) {
                replyError(431, QStringLiteral("the request header is too large"), {}, false);
                finishInput();
                return;
            }
            m_in.resize(std::min(InputBufferLimit, m_in.size() * 2));
        }
        m_socket.async_read_some(asio::buffer(m_in.data() + m_inEnd, m_in.size() - m_inEnd),
                                 [self = shared_from_this()](const error_code &ec, std::size_t n) {
                                     std::lock_guard lock(self->m_mutex);
                                     self->onRead(ec, n);
                                 });
    }

    void onRead(const error_code &ec, std::size_t n)
    {
        if (ec || m_closed) {
            close();
            return;
        }
        m_inEnd += n;
        m_lastRead = HttpServer::Impl::clock().tick();
        processInput();
    }

    // Answers every complete request in the input, then writes or reads on.
    void processInput()
    {
        while (!m_closeAfterWrite && !m_pending && m_replyCount < MaxQueuedReplies && m_inStart < m_inEnd) {
            if (!m_parser) {
                m_request.clear();
                m_parser.emplace(m_request);
                m_versionChecked = false;
            }
            if (!m_versionChecked && !checkVersion()) {
                m_parser.reset();
                replyError(505, QStringLiteral("only HTTP/1.x is supported"), {}, false,
                           m_request.method == http::verb::head);
                break;
            }
            error_code ec;
            const std::size_t used = m_parser->put(asio::buffer(m_in.data() + m_inStart, m_inEnd - m_inStart), ec);
            m_inStart += used;
            if (ec == http::error::need_more)
                break;
            if (ec) {
                m_parser.reset();
                if (m_request.refusal)
                    replyError(m_request.refusal, QString::fromLatin1(m_request.refusalReason), {}, false,
                               m_request.method == http::verb::head);
                else if (ec == http::error::header_limit)
                    replyError(431, QStringLiteral("the request header is too large"), {}, false);
                else if (ec == http::error::body_limit)
                    replyError(413, QStringLiteral("the request body is too large"), {}, false);
                else
                    replyError(400, QStringLiteral("the request is not valid HTTP/1.1"), {}, false);
                break;
            }
            if (m_parser->is_done()) {
                const bool keepAlive = m_parser->keep_alive();
                m_parser.reset();
                answer(keepAlive);
            }
        }
        finishInput();
    }

    // The parser takes HTTP/1.0 and 1.1 only. A later 1.x is served as 1.1, which it must be
    // compatible with, by rewriting its version in the input; another major version is
    // refused (false). Looks at the request line once it is complete; anything it cannot
    // make out is left to the parser.
    bool checkVersion()
    {
        const std::string_view input(m_in.data() + m_inStart, m_inEnd - m_inStart);
        const std::size_t newline = input.find('\n');
        if (newline == std::string_view::npos)
            return true;   // not yet
        m_versionChecked = true;
        std::string_view line = input.substr(0, newline);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        const std::size_t space = line.rfind(' ');
        if (space == std::string_view::npos)
            return true;
        const std::string_view version = line.substr(space + 1);
        const auto digit = [](char c) { return c >= '0' && c <= '9'; };
        if (version.size() != 8 || version.substr(0, 5) != "HTTP/" || !digit(version[5]) || version[6] != '.'
            || !digit(version[7]))
            return true;
        if (version[5] == '1') {
            if (version[7] > '1')
                m_in[std::size_t(version.data() + 7 - m_in.data())] = '1';
            return true;
        }
        const std::string_view method = line.substr(0, line.find(' '));
        m_request.methodText.assign(method);
        m_request.method = http::string_to_verb(method);
        m_request.target.assign(line.substr(method.size() + 1, space - std::min(space, method.size() + 1)));
        return false;
    }

    void finishInput()
    {
        if (m_writing || m_closed)
            return;
        if (m_replyCount > 0)
            write();
        else if (!m_pending && !m_closeAfterWrite)
            read();
    }

    void answer(bool keepAlive)
    {
        if (!keepAlive)
            m_closeAfterWrite = true;
        const bool headOnly = m_request.method == http::verb::head;
        if (m_request.method != http::verb::get && !headOnly) {
            replyError(405, QStringLiteral("only GET and HEAD are supported"), "Allow: GET, HEAD\r\n", keepAlive);
            return;
        }
        const std::string_view path = targetPath(m_request.target).value_or(std::string_view());
        const std::shared_ptr<const SnapshotPtr> &held = m_server.snapshot();
        const Snapshot *snapshot = held->get();
        const Resource *resource = snapshot ? snapshot->find(path) : nullptr;
        if (!resource) {
            replyError(404, snapshot ? snapshot->missReason(path) : QStringLiteral("the server is starting"), {},
                       keepAlive, headOnly);
            return;
        }
        if (resource->kind == Resource::Kind::Document) {
            const bool notModified = !m_request.ifNoneMatch.empty()
                                     && Http::ifNoneMatchMatches(m_request.ifNoneMatch, resource->etag);
            Reply &reply = nextReply(notModified ? 304 : 200, m_lastRead);
            reply.head = notModified ? &resource->notModified : &resource->head;
            reply.body = &resource->body;
            reply.sendBody = !headOnly && !notModified;
            reply.keep = held;
            appendLines(reply.lines, resource->freshness, snapshot->nextMidnight, m_request.version, keepAlive);
            return;
        }

        Pending pending{headOnly, keepAlive, m_request.version, m_request.ifNoneMatch, {}, m_lastRead};
        describeRequest(pending.request);
        if (EncodedPicturePtr picture = m_server.pictures.cached(resource->path)) {
            replyPicture(picture, pending);
            return;
        }
        const DayQuote &quote = snapshot->days[std::size_t(resource->dayIndex)];
        const bool drawing = m_server.pictures.render(
            resource->path, resource->kind, quote,
            [self = shared_from_this(), &io = m_server.io](EncodedPicturePtr picture) mutable {
                asio::post(io, [self = std::move(self), picture = std::move(picture)]() {
                    std::lock_guard lock(self->m_mutex);
                    self->onPictureReady(picture);
                });
            });
        if (!drawing) {
            replyError(503, QStringLiteral("too many pictures are being drawn, try again shortly"),
                       "Retry-After: 1\r\n", keepAlive, headOnly);
            return;
        }
        m_pending = std::move(pending);
        setDeadline(SteadyClock::time_point::max());   // drawing takes what it takes
    }

    void onPictureReady(const EncodedPicturePtr &picture)
    {
        if (m_closed || !m_pending)
            return;
        Pending pending = std::move(*m_pending);
        m_pending.reset();
        if (picture) {
            replyPicture(picture, pending);
        } else {
            Reply &reply = nextReply(500, pending.started);
            reply.request = pending.request;
            fillError(reply, 500, QStringLiteral("the picture could not be drawn"), {}, pending.keepAlive,
                      pending.version, pending.headOnly);
        }
        setIdleDeadline(HttpServer::Impl::clock().tick());
        processInput();
    }

    void replyPicture(const EncodedPicturePtr &picture, const Pending &pending)
    {
        const bool notModified = !pending.ifNoneMatch.empty() && Http::ifNoneMatchMatches(pending.ifNoneMatch, picture->etag);
        Reply &reply = nextReply(notModified ? 304 : 200, pending.started);
        reply.request = pending.request;
        reply.head = notModified ? &picture->notModified : &picture->head;
        reply.body = &picture->body;
        reply.sendBody = !pending.headOnly && !notModified;
        reply.keep = picture;
        appendLines(reply.lines, Freshness::Immutable, 0, pending.version, pending.keepAlive);
    }

    // Date, a max-age counted down to midnight, and the connection's fate.
    static void appendLines(std::string &lines, Freshness freshness, std::int64_t nextMidnight, int version,
                            bool keepAlive)
    {
        const ThreadClock &clock = HttpServer::Impl::clock();
        lines += clock.dateLine();
        if (freshness == Freshness::UntilMidnight) {
            lines += "Cache-Control: public, max-age=";
            appendNumber(lines, std::max<std::int64_t>(0, nextMidnight - clock.seconds()));
            lines += "\r\n";
        }
        if (!keepAlive)
            lines += "Connection: close\r\n";
        else if (version == 10)
            lines += "Connection: keep-alive\r\n";
        lines += "\r\n";
    }

    void describeRequest(std::string &out) const
    {
        out.clear();
        if (m_request.methodText.empty()) {
            out += "- -";
            return;
        }
        appendSanitized(out, m_request.methodText);
        out += ' ';
        appendSanitized(out, m_request.target);
    }

    Reply &nextReply(int status, SteadyClock::time_point started)
    {
        if (m_replyCount == m_replies.size())
            m_replies.emplace_back();
        Reply &reply = m_replies[m_replyCount++];
        reply.head = reply.body = nullptr;
        reply.ownHead.clear();
        reply.ownBody.clear();
        reply.lines.clear();
        reply.sendBody = true;
        reply.status = status;
        reply.started = started;
        describeRequest(reply.request);
        return reply;
    }

    // An error answer to the current request. Without keep-alive (and after any input
    // that cannot be parsed) the connection closes once it is written.
    void replyError(int status, const QString &reason, std::string_view extraHeaders, bool keepAlive,
                    bool headOnly = false)
    {
        if (!keepAlive)
            m_closeAfterWrite = true;
        Reply &reply = nextReply(status, m_lastRead);
        fillError(reply, status, reason, extraHeaders, keepAlive, m_request.version, headOnly);
    }

    static void fillError(Reply &reply, int status, const QString &reason, std::string_view extraHeaders,
                          bool keepAlive, int version, bool headOnly)
    {
        reply.ownBody = Http::errorBody(reason);
        reply.ownHead = Http::head(status, Http::JsonType, reply.ownBody.size(), {}, Http::NoStore, extraHeaders);
        reply.sendBody = !headOnly;
        reply.lines += HttpServer::Impl::clock().dateLine();
        reply.lines += keepAlive ? (version == 10 ? "Connection: keep-alive\r\n" : "") : "Connection: close\r\n";
        reply.lines += "\r\n";
    }

    void write()
    {
        m_buffers.clear();
        for (std::size_t i = 0; i < m_replyCount; ++i) {
            const Reply &reply = m_replies[i];
            m_buffers.push_back(asio::buffer(reply.headText()));
            m_buffers.push_back(asio::buffer(reply.lines));
            const std::string_view body = reply.bodyText();
            if (!body.empty())
                m_buffers.push_back(asio::buffer(body));
        }
        m_writing = true;
        setDeadline(SteadyClock::now() + std::max<SteadyClock::duration>(m_server.settings.idleTimeout, MinimumWriteTime));
        asio::async_write(m_socket, BufferRange{m_buffers.data(), m_buffers.data() + m_buffers.size()},
                          [self = shared_from_this()](const error_code &ec, std::size_t) {
                              std::lock_guard lock(self->m_mutex);
                              self->onWritten(ec);
                          });
    }

    void onWritten(const error_code &ec)
    {
        m_writing = false;
        const SteadyClock::time_point now = HttpServer::Impl::clock().tick();
        logReplies(now);
        for (std::size_t i = 0; i < m_replyCount; ++i)
            m_replies[i].keep.reset();
        m_replyCount = 0;
        if (ec || m_closed) {
            close();
            return;
        }
        if (m_closeAfterWrite) {
            linger(now);
            return;
        }
        setIdleDeadline(now);
        processInput();
    }

    void logReplies(SteadyClock::time_point now)
    {
        AccessLog::Line line(m_server.log);
        std::string &text = line.text();
        const std::string &time = HttpServer::Impl::clock().logTime();
        for (std::size_t i = 0; i < m_replyCount; ++i) {
            const Reply &reply = m_replies[i];
            text += time;
            text += ' ';
            text += m_peer;
            text += ' ';
            text += reply.request;
            text += ' ';
            appendNumber(text, reply.status);
            text += ' ';
            appendNumber(text, std::int64_t(reply.bodyText().size()));
            text += ' ';
            appendNumber(text, std::chrono::duration_cast<std::chrono::microseconds>(now - reply.started).count());
            text += "us\n";
        }
    }

    // Closing at once could turn unread input into a reset that destroys the answer on its
    // way; so the sending side closes first and the rest is read and dropped for a moment.
    void linger(SteadyClock::time_point now)
    {
        error_code ignored;
        m_socket.shutdown(tcp::socket::shutdown_send, ignored);
        setDeadline(now + LingerTime);
        drain();
    }

    void drain()
    {
        m_in.resize(std::max(m_in.size(), InitialInputBuffer));
        m_socket.async_read_some(asio::buffer(m_in.data(), m_in.size()),
                                 [self = shared_from_this()](const error_code &ec, std::size_t) {
                                     std::lock_guard lock(self->m_mutex);
                                     if (ec || self->m_closed)
                                         self->close();
                                     else
                                         self->drain();
                                 });
    }

    HttpServer::Impl &m_server;
    std::mutex m_mutex;
    tcp::socket m_socket;
    std::string m_peer;
    std::atomic<SteadyClock::rep> m_deadline{0};
    SteadyClock::time_point m_lastRead;

    std::vector<char> m_in;
    std::size_t m_inStart = 0;
    std::size_t m_inEnd = 0;
    RequestInfo m_request;
    std::optional<RequestParser> m_parser;
    bool m_versionChecked = false;
    std::optional<Pending> m_pending;

    std::vector<Reply> m_replies;
    std::size_t m_replyCount = 0;
    std::vector<asio::const_buffer> m_buffers;
    bool m_writing = false;
    bool m_closeAfterWrite = false;
    bool m_closed = false;
};

} // namespace

HttpServer::Impl::~Impl()
{
    // Completions still queued (aborted reads, late pictures) run here, on closed
    // connections, so that every connection is gone before the loop is.
    io.restart();
    io.poll();
}

const std::shared_ptr<const SnapshotPtr> &HttpServer::Impl::snapshot()
{
    struct Held
    {
        const Impl *server = nullptr;
        std::uint64_t generation = 0;
        std::shared_ptr<const SnapshotPtr> snapshot;
    };
    thread_local Held held;
    const std::uint64_t generation = snapshots.generation();
    if (held.server != this || held.generation != generation || !held.snapshot) {
        held.snapshot = std::make_shared<const SnapshotPtr>(snapshots.current());
        held.generation = generation;
        held.server = this;
    }
    return held.snapshot;
}

void HttpServer::Impl::attach(Connection *connection)
{
    std::lock_guard lock(connectionsMutex);
    connection->next = connections;
    if (connections)
        connections->previous = connection;
    connections = connection;
}

void HttpServer::Impl::detach(Connection *connection)
{
    std::lock_guard lock(connectionsMutex);
    if (connection->previous)
        connection->previous->next = connection->next;
    else if (connections == connection)
        connections = connection->next;
    if (connection->next)
        connection->next->previous = connection->previous;
    connection->previous = connection->next = nullptr;
}

void HttpServer::Impl::accept()
{
    acceptor.async_accept([this](const error_code &ec, tcp::socket socket) {
        if (stopping || ec == asio::error::operation_aborted)
            return;
        if (ec) {
            // Out of descriptors, most likely: try again in a moment rather than spin.
            auto retry = std::make_shared<asio::steady_timer>(io, std::chrono::milliseconds(50));
            retry->async_wait([this, retry](const error_code &) {
                if (!stopping)
                    accept();
            });
            return;
        }
        accept();   // let another thread take the next connection meanwhile
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        auto connection = std::make_shared<Connection>(*this, std::move(socket));
        attach(connection.get());
        connection->start();
    });
}

// Every so often: close connections past their deadline.
void HttpServer::Impl::housekeep()
{
    const auto period = std::clamp<std::chrono::milliseconds>(settings.idleTimeout / 4, std::chrono::milliseconds(20),
                                                               std::chrono::milliseconds(200));
    housekeeping.expires_after(period);
    housekeeping.async_wait([this](const error_code &ec) {
        if (ec || stopping)
            return;
        const SteadyClock::time_point now = clock().tick();
        {
            std::lock_guard lock(connectionsMutex);
            for (Connection *c = connections; c; c = c->next)
                c->closeIfExpired(now);
        }
        housekeep();
    });
}

void HttpServer::Impl::shutDown()
{
    stopping = true;
    error_code ignored;
    acceptor.close(ignored);
    housekeeping.cancel();
    std::lock_guard lock(connectionsMutex);
    for (Connection *c = connections; c; c = c->next)
        c->closeNow();
}

HttpServer::HttpServer(const Settings &settings, SnapshotHolder &snapshots, PictureService &pictures, AccessLog &log)
{
    Settings resolved = settings;
    if (resolved.threads <= 0)
        resolved.threads = int(std::max(1u, std::thread::hardware_concurrency()));
    d = std::make_unique<Impl>(resolved, snapshots, pictures, log);
}

HttpServer::~HttpServer()
{
    stop();
}

bool HttpServer::listen(QString *error)
{
    const std::string host = d->settings.host.toStdString();
    error_code ec;
    asio::ip::address address = asio::ip::make_address(host, ec);
    if (ec) {
        tcp::resolver resolver(d->io);
        const auto results = resolver.resolve(host, std::to_string(d->settings.port), ec);
        if (ec || results.empty()) {
            *error = QStringLiteral("cannot resolve the host %1: %2")
                         .arg(d->settings.host, QString::fromStdString(ec.message()));
            return false;
        }
        address = results.begin()->endpoint().address();
    }
    tcp::acceptor &acceptor = d->acceptor;
    const tcp::endpoint endpoint(address, d->settings.port);
    acceptor.open(endpoint.protocol(), ec);
    if (!ec)
        acceptor.set_option(tcp::acceptor::reuse_address(true), ec);
    if (!ec)
        acceptor.bind(endpoint, ec);
    if (!ec)
        acceptor.listen(asio::socket_base::max_listen_connections, ec);
    if (ec) {
        *error = QStringLiteral("cannot listen on %1:%2: %3")
                     .arg(QString::fromStdString(address.to_string()))
                     .arg(endpoint.port())
                     .arg(QString::fromStdString(ec.message()));
        return false;
    }
    d->endpoint = acceptor.local_endpoint();
    return true;
}

QString HttpServer::url() const
{
    const asio::ip::address address = d->endpoint.address();
    const QString host = QString::fromStdString(address.to_string());
    return QStringLiteral("http://%1:%2").arg(address.is_v6() ? u'[' + host + u']' : host).arg(d->endpoint.port());
}

quint16 HttpServer::port() const
{
    return d->endpoint.port();
}

void HttpServer::start()
{
    d->running = true;
    d->accept();
    d->housekeep();
    for (int i = 0; i < d->settings.threads; ++i)
        d->threads.emplace_back([this]() { d->io.run(); });
}

void HttpServer::stop()
{
    if (!d->running)
        return;
    d->running = false;
    asio::post(d->io, [this]() { d->shutDown(); });
    for (std::thread &thread : d->threads)
        thread.join();
    d->threads.clear();
}
