#pragma once

#include "DayQuote.h"
#include "Snapshot.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <string>
#include <string_view>

// The quote API's addresses and answers: the wire form of a quote, its URLs, and the
// snapshot of every prepared answer.
namespace QuoteCatalog {

inline constexpr std::string_view ApiPrefix = "/api/v2/quote/quotes/";
inline constexpr std::string_view MediaPrefix = "/media/quotes/";
inline constexpr std::string_view SharePrefix = "/share/quotes/";

// Where a quote can be shared, besides "default".
const QStringList &shareTargets();

// `url` as a public base: absolute http(s), no query or fragment, no trailing slash.
// Nullopt when it is not one.
std::optional<QString> publicBase(const QString &url);

QString sharePageURL(const QString &base, const QString &dayKey, const QString &target = {});
QString pictureURL(const QString &base, const QString &dayKey);
QString shareCardURL(const QString &base, const QString &dayKey);

// The quote object: author, content, assign_date, translation, share_urls, origin_img_urls,
// share_img_urls, share_img_url; compact UTF-8 JSON.
std::string quoteJson(const DayQuote &quote, const QString &base);

// Everything served while `today` is today. `days` are the served days in order, from the
// first quote day through today + 7; `nextMidnight` is when today ends.
SnapshotPtr buildSnapshot(QList<DayQuote> days, const QDate &today, const QDateTime &nextMidnight,
                          const QString &base);

} // namespace QuoteCatalog
