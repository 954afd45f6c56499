#pragma once

// Internal to the HTTP front: the request parser and what it keeps of a request.

#include <boost/beast/http/basic_parser.hpp>
#include <boost/beast/http/error.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Http {

namespace http = boost::beast::http;
using boost::system::error_code;

inline constexpr std::uint32_t HeaderLimit = 8 * 1024;
inline constexpr std::uint64_t BodyLimit = 8 * 1024;

// A Host value (or the authority of an absolute URL): host and port, in the characters a
// URI allows there (no user info, path or space).
bool isValidHost(std::string_view host);

// The path of a request target without its query: from the origin form (/path?query), or
// from the absolute form (http://host/path?query) that proxies send and servers must take
// too. Nullopt when the target is neither.
std::optional<std::string_view> targetPath(std::string_view target);

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

} // namespace Http
