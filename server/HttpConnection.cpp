#include "HttpConnection.h"

#include "AccessLog.h"
#include "HttpMessages.h"

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace http = boost::beast::http;
using Http::targetPath;

namespace {

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

} // namespace

HttpConnection::HttpConnection(HttpWorker &worker, tcp::socket socket)
    : m_worker(worker)
    , m_server(worker.server)
    , m_socket(std::move(socket))
{
    error_code ec;
    const tcp::endpoint peer = m_socket.remote_endpoint(ec);
    m_peer = ec ? std::string("-") : peer.address().to_string();
    m_in.resize(InitialInputBuffer);
    m_accepted = HttpServer::Impl::clock().tick();
    setIdleDeadline(m_accepted);
}

HttpConnection::~HttpConnection()
{
    m_worker.detach(this);
}

template <typename Prepared>
HttpConnection::Reply &HttpConnection::replyPrepared(const Prepared &prepared, std::string_view ifNoneMatch,
                                                     bool headOnly, SteadyClock::time_point started)
{
    const bool notModified = !ifNoneMatch.empty() && Http::ifNoneMatchMatches(ifNoneMatch, prepared.etag);
    Reply &reply = nextReply(notModified ? 304 : 200, started);
    reply.head = notModified ? &prepared.notModified : &prepared.head;
    reply.body = &prepared.body;
    reply.sendBody = !headOnly && !notModified;
    return reply;
}

void HttpConnection::start()
{
    read();
}

void HttpConnection::closeIfExpired(SteadyClock::time_point now)
{
    if (now >= m_deadline)
        close();
}

void HttpConnection::closeNow()
{
    close();
}

bool HttpConnection::hasInput() const
{
    if (m_parser || m_inStart < m_inEnd)
        return true;
    error_code ec;
    return m_socket.available(ec) > 0 && !ec;
}

bool HttpConnection::isIdle() const
{
    return !m_closed && !m_writing && !m_pending && m_replyCount == 0 && !m_closeAfterWrite && !hasInput();
}

bool HttpConnection::canMakeRoom(SteadyClock::time_point now) const
{
    return isIdle() && (m_answered || now - m_accepted > std::chrono::seconds(1));
}

bool HttpConnection::isBusy() const
{
    return !m_closed && !m_lingering && !isIdle();
}

void HttpConnection::close()
{
    if (m_closed)
        return;
    m_closed = true;
    error_code ignored;
    m_socket.shutdown(tcp::socket::shutdown_both, ignored);
    m_socket.close(ignored);
}

void HttpConnection::read()
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
                                 self->onRead(ec, n);
                             });
}

void HttpConnection::onRead(const error_code &ec, std::size_t n)
{
    if (ec || m_closed) {
        close();
        return;
    }
    m_inEnd += n;
    m_lastRead = HttpServer::Impl::clock().tick();
    processInput();
}

void HttpConnection::processInput()
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

bool HttpConnection::checkVersion()
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
        // A later HTTP/1.x is served as HTTP/1.1 (RFC 9110: a server answers in the highest
        // minor version it supports). The parser takes only 1.0 and 1.1, so the request line
        // it reads is given that version, in place.
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

void HttpConnection::finishInput()
{
    if (m_writing || m_closed)
        return;
    if (m_replyCount > 0) {
        write();
    } else if (!m_pending && !m_closeAfterWrite) {
        // Stopping: what has been received is answered; a request begun is read to its end.
        if (m_worker.stopping && !hasInput())
            linger(HttpServer::Impl::clock().tick());
        else
            read();
    }
}

void HttpConnection::answer(bool keepAlive)
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
        Reply &reply = replyPrepared(*resource, m_request.ifNoneMatch, headOnly, m_lastRead);
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
        [self = shared_from_this(), &io = m_worker.io](EncodedPicturePtr picture) mutable {
            asio::post(io, [self = std::move(self), picture = std::move(picture)]() {
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

void HttpConnection::onPictureReady(const EncodedPicturePtr &picture)
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

void HttpConnection::replyPicture(const EncodedPicturePtr &picture, const Pending &pending)
{
    Reply &reply = replyPrepared(*picture, pending.ifNoneMatch, pending.headOnly, pending.started);
    reply.request = pending.request;
    reply.keep = picture;
    appendLines(reply.lines, Freshness::Immutable, 0, pending.version, pending.keepAlive);
}

void HttpConnection::appendLines(std::string &lines, Freshness freshness, std::int64_t nextMidnight, int version,
                                  bool keepAlive)
{
    const ThreadClock &clock = HttpServer::Impl::clock();
    lines += clock.dateLine();
    if (freshness == Freshness::UntilMidnight) {
        lines += "Cache-Control: public, max-age=";
        appendNumber(lines, std::max<std::int64_t>(0, nextMidnight - clock.seconds()));
        lines += "\r\n";
    }
    Http::appendConnection(lines, version, keepAlive);
    lines += "\r\n";
}

void HttpConnection::describeRequest(std::string &out) const
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

HttpConnection::Reply &HttpConnection::nextReply(int status, SteadyClock::time_point started)
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

void HttpConnection::replyError(int status, const QString &reason, std::string_view extraHeaders, bool keepAlive,
                                bool headOnly)
{
    if (!keepAlive)
        m_closeAfterWrite = true;
    Reply &reply = nextReply(status, m_lastRead);
    fillError(reply, status, reason, extraHeaders, keepAlive, m_request.version, headOnly);
}

void HttpConnection::fillError(Reply &reply, int status, const QString &reason, std::string_view extraHeaders,
                               bool keepAlive, int version, bool headOnly)
{
    reply.ownBody = Http::errorBody(reason);
    reply.ownHead = Http::head(status, Http::JsonType, reply.ownBody.size(), {}, Http::NoStore, extraHeaders);
    reply.sendBody = !headOnly;
    reply.lines += HttpServer::Impl::clock().dateLine();
    Http::appendConnection(reply.lines, version, keepAlive);
    reply.lines += "\r\n";
}

void HttpConnection::write()
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
    setDeadline(SteadyClock::now() + std::max<SteadyClock::duration>(m_worker.settings.idleTimeout, MinimumWriteTime));
    asio::async_write(m_socket, BufferRange{m_buffers.data(), m_buffers.data() + m_buffers.size()},
                      [self = shared_from_this()](const error_code &ec, std::size_t) {
                          self->onWritten(ec);
                      });
}

void HttpConnection::onWritten(const error_code &ec)
{
    m_writing = false;
    const SteadyClock::time_point now = HttpServer::Impl::clock().tick();
    logReplies(now);
    if (m_worker.stopping && !ec)
        m_worker.counts.answered += m_replyCount;
    m_answered = true;
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

void HttpConnection::logReplies(SteadyClock::time_point now)
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

void HttpConnection::linger(SteadyClock::time_point now)
{
    error_code ignored;
    m_socket.shutdown(tcp::socket::shutdown_send, ignored);
    m_lingering = true;
    setDeadline(now + LingerTime);
    drain();
}

void HttpConnection::drain()
{
    m_in.resize(std::max(m_in.size(), InitialInputBuffer));
    m_socket.async_read_some(asio::buffer(m_in.data(), m_in.size()),
                             [self = shared_from_this()](const error_code &ec, std::size_t) {
                                 if (ec || self->m_closed)
                                     self->close();
                                 else
                                     self->drain();
                             });
}
