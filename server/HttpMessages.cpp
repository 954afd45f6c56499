#include "HttpMessages.h"

#include <QCryptographicHash>

#include <charconv>
#include <ctime>

namespace Http {

std::string_view reasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 304: return "Not Modified";
    case 400: return "Bad Request";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 408: return "Request Timeout";
    case 413: return "Content Too Large";
    case 431: return "Request Header Fields Too Large";
    case 500: return "Internal Server Error";
    case 501: return "Not Implemented";
    case 503: return "Service Unavailable";
    case 505: return "HTTP Version Not Supported";
    default: return "Unknown";
    }
}

static void appendNumber(std::string &out, std::uint64_t value)
{
    char digits[24];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, result.ptr);
}

static void appendStatusLine(std::string &out, int status)
{
    out += "HTTP/1.1 ";
    appendNumber(out, std::uint64_t(status));
    out += ' ';
    out += reasonPhrase(status);
    out += "\r\nServer: ";
    out += ServerName;
    out += "\r\n";
}

std::string head(int status, std::string_view contentType, std::size_t contentLength, std::string_view etag,
                 std::string_view cacheControl, std::string_view extraHeaders)
{
    std::string out;
    out.reserve(256);
    appendStatusLine(out, status);
    out += "Content-Type: ";
    out += contentType;
    out += "\r\nContent-Length: ";
    appendNumber(out, contentLength);
    out += "\r\n";
    if (!etag.empty()) {
        out += "ETag: ";
        out += etag;
        out += "\r\n";
    }
    if (!cacheControl.empty()) {
        out += "Cache-Control: ";
        out += cacheControl;
        out += "\r\n";
    }
    out += extraHeaders;
    return out;
}

std::string notModifiedHead(std::string_view etag, std::string_view cacheControl)
{
    std::string out;
    appendStatusLine(out, 304);
    out += "ETag: ";
    out += etag;
    out += "\r\n";
    if (!cacheControl.empty()) {
        out += "Cache-Control: ";
        out += cacheControl;
        out += "\r\n";
    }
    return out;
}

void appendConnection(std::string &lines, int version, bool keepAlive)
{
    if (!keepAlive)
        lines += "Connection: close\r\n";
    else if (version == 10)
        lines += "Connection: keep-alive\r\n";
}

std::string entityTag(std::string_view body)
{
    const QByteArray digest = QCryptographicHash::hash(QByteArrayView(body.data(), qsizetype(body.size())),
                                                       QCryptographicHash::Sha256);
    const QByteArray tag = digest.left(12).toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    return '"' + tag.toStdString() + '"';
}

static std::string_view trimmed(std::string_view s)
{
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

bool ifNoneMatchMatches(std::string_view ifNoneMatch, std::string_view etag)
{
    while (!ifNoneMatch.empty()) {
        const std::size_t comma = ifNoneMatch.find(',');
        std::string_view candidate = trimmed(ifNoneMatch.substr(0, comma));
        ifNoneMatch = comma == std::string_view::npos ? std::string_view() : ifNoneMatch.substr(comma + 1);
        if (candidate == "*")
            return true;
        if (candidate.substr(0, 2) == "W/")
            candidate.remove_prefix(2);
        if (candidate == etag)
            return true;
    }
    return false;
}

std::string imfDate(std::int64_t secondsSinceEpoch)
{
    static constexpr const char *days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char *months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t t = std::time_t(secondsSinceEpoch);
    std::tm utc{};
    gmtime_r(&t, &utc);
    char text[40];
    std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d GMT", days[utc.tm_wday], utc.tm_mday,
                  months[utc.tm_mon], utc.tm_year + 1900, utc.tm_hour, utc.tm_min, utc.tm_sec);
    return text;
}

void appendJsonString(std::string &out, std::string_view utf8)
{
    static constexpr char hex[] = "0123456789abcdef";
    out += '"';
    for (const char c : utf8) {
        const auto u = static_cast<unsigned char>(c);
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (u < 0x20) {
                out += "\\u00";
                out += hex[u >> 4];
                out += hex[u & 0xf];
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

void appendJsonString(std::string &out, const QString &text)
{
    appendJsonString(out, view(text.toUtf8()));
}

std::string errorBody(const QString &reason)
{
    std::string body = "{\"error\":";
    appendJsonString(body, reason);
    body += "}";
    return body;
}

} // namespace Http
