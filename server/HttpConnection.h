#pragma once

#include "HttpRequest.h"
#include "HttpServerImpl.h"
#include "PictureService.h"
#include "Snapshot.h"

#include <QString>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One client connection of the HTTP front: reads requests, parses them as they come, answers
// each in order (a picture being drawn holds the answers behind it), writes the answers
// together, and closes on error, on request, or when idle past its deadline. Once its
// thread is stopping, it answers what it has received and closes instead of waiting for
// more. Everything runs on the thread that accepted it.
class HttpConnection : public std::enable_shared_from_this<HttpConnection>
{
public:
    HttpConnection(HttpWorker &worker, tcp::socket socket);

    ~HttpConnection();

    void start();

    // From the sweep: closes the connection when it is past its deadline.
    void closeIfExpired(SteadyClock::time_point now);

    void closeNow();

    // Waiting for a request with nothing of it received: closing loses nothing.
    bool isIdle() const;
    // A request received and not fully answered, or an answer not fully written.
    bool isBusy() const;

    // Idle and kept alive after an answer, or silent for a while since it was accepted: when
    // descriptors run out, such a connection makes way for a new one.
    bool canMakeRoom(SteadyClock::time_point now) const;

    SteadyClock::time_point deadline() const { return m_deadline; }

    HttpConnection *previous = nullptr;   // in the server's list
    HttpConnection *next = nullptr;

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

    void setDeadline(SteadyClock::time_point when) { m_deadline = when; }
    void setIdleDeadline(SteadyClock::time_point now) { setDeadline(now + m_worker.settings.idleTimeout); }

    // Received input not yet answered: in the buffer, in the parser, or in the socket.
    bool hasInput() const;

    void close();

    void read();

    void onRead(const error_code &ec, std::size_t n);

    // Answers every complete request in the input, then writes or reads on.
    void processInput();

    // The parser takes HTTP/1.0 and 1.1 only. A later 1.x is served as 1.1, which it must be
    // compatible with, by rewriting its version in the input; another major version is
    // refused (false). Looks at the request line once it is complete; anything it cannot
    // make out is left to the parser.
    bool checkVersion();

    void finishInput();

    void answer(bool keepAlive);

    void onPictureReady(const EncodedPicturePtr &picture);

    void replyPicture(const EncodedPicturePtr &picture, const Pending &pending);

    // The next reply: `prepared`'s answer, or its 304 when `ifNoneMatch` names its tag.
    // `Prepared` is a snapshot resource or an encoded picture.
    template <typename Prepared>
    Reply &replyPrepared(const Prepared &prepared, std::string_view ifNoneMatch, bool headOnly,
                         SteadyClock::time_point started);

    // Date, a max-age counted down to midnight, and the connection's fate.
    static void appendLines(std::string &lines, Freshness freshness, std::int64_t nextMidnight, int version,
                            bool keepAlive);

    void describeRequest(std::string &out) const;

    Reply &nextReply(int status, SteadyClock::time_point started);

    // An error answer to the current request. Without keep-alive (and after any input
    // that cannot be parsed) the connection closes once it is written.
    void replyError(int status, const QString &reason, std::string_view extraHeaders, bool keepAlive,
                    bool headOnly = false);

    static void fillError(Reply &reply, int status, const QString &reason, std::string_view extraHeaders,
                          bool keepAlive, int version, bool headOnly);

    void write();

    void onWritten(const error_code &ec);

    void logReplies(SteadyClock::time_point now);

    // Closing at once could turn unread input into a reset that destroys the answer on its
    // way; so the sending side closes first and the rest is read and dropped for a moment.
    void linger(SteadyClock::time_point now);

    void drain();

    HttpWorker &m_worker;
    HttpServer::Impl &m_server;
    tcp::socket m_socket;
    std::string m_peer;
    SteadyClock::time_point m_deadline;
    SteadyClock::time_point m_accepted;
    bool m_answered = false;
    SteadyClock::time_point m_lastRead;

    std::vector<char> m_in;
    std::size_t m_inStart = 0;
    std::size_t m_inEnd = 0;
    Http::RequestInfo m_request;
    std::optional<Http::RequestParser> m_parser;
    bool m_versionChecked = false;
    std::optional<Pending> m_pending;

    std::vector<Reply> m_replies;
    std::size_t m_replyCount = 0;
    std::vector<asio::const_buffer> m_buffers;
    bool m_writing = false;
    bool m_closeAfterWrite = false;
    bool m_lingering = false;
    bool m_closed = false;
};
