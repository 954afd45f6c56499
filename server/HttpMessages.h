#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <string>
#include <string_view>

// The pieces of HTTP responses that are built ahead of time. A response goes out as
//   head (status line and fixed headers) + per-request lines (Date, ...) + "\r\n" + body
// so everything but the per-request lines can be prepared once.
namespace Http {

inline constexpr std::string_view ServerName = "ostquote-server";
inline constexpr std::string_view JsonType = "application/json; charset=utf-8";
inline constexpr std::string_view HtmlType = "text/html; charset=utf-8";
inline constexpr std::string_view JpegType = "image/jpeg";
inline constexpr std::string_view ImmutableCaching = "public, max-age=31536000, immutable";
inline constexpr std::string_view NoStore = "no-store";

std::string_view reasonPhrase(int status);

// Status line and fixed headers, each ending in CRLF, without the blank line. An empty
// `cacheControl` leaves the header out (it is then added per request); an empty `etag` too.
std::string head(int status, std::string_view contentType, std::size_t contentLength,
                 std::string_view etag = {}, std::string_view cacheControl = {},
                 std::string_view extraHeaders = {});

// The head of a 304 answer for a resource with that ETag.
std::string notModifiedHead(std::string_view etag, std::string_view cacheControl = {});

// The Connection header a reply needs, if any: "close" when the connection closes after it,
// "keep-alive" when an HTTP/1.0 client's connection stays open (1.1 keeps it by default).
void appendConnection(std::string &lines, int version, bool keepAlive);

// A strong entity tag for `body`, quotes included.
std::string entityTag(std::string_view body);

// True when an If-None-Match value names `etag` (weak comparison, "*" matches anything).
bool ifNoneMatchMatches(std::string_view ifNoneMatch, std::string_view etag);

// "Sun, 06 Nov 1994 08:49:37 GMT" for seconds since the epoch.
std::string imfDate(std::int64_t secondsSinceEpoch);

// The JSON body of an error answer: {"error": "<reason>"}.
std::string errorBody(const QString &reason);

// `text` as a JSON string literal (quotes included), UTF-8.
void appendJsonString(std::string &out, const QString &text);
void appendJsonString(std::string &out, std::string_view utf8);

inline std::string_view view(const QByteArray &bytes) { return {bytes.constData(), std::size_t(bytes.size())}; }

} // namespace Http
