#include "QuoteCatalog.h"

#include "HttpMessages.h"
#include "SharePage.h"

#include <QUrl>

namespace QuoteCatalog {

const QStringList &shareTargets()
{
    static const QStringList targets = {
        QStringLiteral("weibo"), QStringLiteral("qq"), QStringLiteral("qzone"), QStringLiteral("mail"),
        QStringLiteral("douban"), QStringLiteral("twitter"), QStringLiteral("save_image"), QStringLiteral("copy_image"),
    };
    return targets;
}

std::optional<QString> publicBase(const QString &url)
{
    const QUrl parsed(url, QUrl::StrictMode);
    if (!parsed.isValid() || parsed.host().isEmpty() || parsed.hasQuery() || parsed.hasFragment()
        || (parsed.scheme() != QLatin1String("http") && parsed.scheme() != QLatin1String("https")))
        return std::nullopt;
    QString base = parsed.toString(QUrl::FullyEncoded);
    while (base.endsWith(u'/'))
        base.chop(1);
    return base;
}

QString sharePageURL(const QString &base, const QString &dayKey, const QString &target)
{
    QString url = base + QLatin1String(SharePrefix.data(), qsizetype(SharePrefix.size())) + dayKey + u'/';
    if (!target.isEmpty())
        url += QStringLiteral("?via=") + target;
    return url;
}

QString pictureURL(const QString &base, const QString &dayKey)
{
    return base + QLatin1String(MediaPrefix.data(), qsizetype(MediaPrefix.size())) + dayKey + QStringLiteral(".jpg");
}

QString shareCardURL(const QString &base, const QString &dayKey)
{
    return base + QLatin1String(MediaPrefix.data(), qsizetype(MediaPrefix.size())) + dayKey
           + QStringLiteral("-share.jpg");
}

std::string quoteJson(const DayQuote &quote, const QString &base)
{
    const QString sharePage = sharePageURL(base, quote.key);
    const QString shareCard = shareCardURL(base, quote.key);

    std::string json;
    json.reserve(2048);
    json += "{\"author\":";
    Http::appendJsonString(json, quote.author);
    json += ",\"content\":";
    Http::appendJsonString(json, quote.content);
    json += ",\"assign_date\":";
    Http::appendJsonString(json, quote.key);
    json += ",\"translation\":";
    Http::appendJsonString(json, quote.translation);

    json += ",\"share_urls\":{\"default\":";
    Http::appendJsonString(json, sharePage);
    for (const QString &target : shareTargets()) {
        json += ',';
        Http::appendJsonString(json, target);
        json += ':';
        Http::appendJsonString(json, sharePageURL(base, quote.key, target));
    }
    json += "},\"origin_img_urls\":[";
    Http::appendJsonString(json, pictureURL(base, quote.key));
    json += "],\"share_img_urls\":[";
    Http::appendJsonString(json, shareCard);
    json += "],\"share_img_url\":{\"default\":";
    Http::appendJsonString(json, shareCard);
    for (const QString &target : shareTargets()) {
        json += ',';
        Http::appendJsonString(json, target);
        json += ':';
        Http::appendJsonString(json, shareCard);
    }
    json += "}}";
    return json;
}

namespace {

std::string toStd(std::string_view prefix, const QString &key, std::string_view suffix)
{
    std::string path;
    path.reserve(prefix.size() + std::size_t(key.size()) + suffix.size());
    path += prefix;
    path += key.toStdString();
    path += suffix;
    return path;
}

std::string_view cacheControlFor(Freshness freshness)
{
    // Answers valid until midnight get their max-age per request (see HttpServer).
    return freshness == Freshness::Immutable ? Http::ImmutableCaching : std::string_view();
}

class Builder
{
public:
    explicit Builder(Snapshot &snapshot)
        : m_snapshot(snapshot)
    {
    }

    void document(std::string path, std::string body, std::string_view contentType, Freshness freshness)
    {
        Resource &resource = add(std::move(path), Resource::Kind::Document, freshness);
        resource.etag = Http::entityTag(body);
        resource.head = Http::head(200, contentType, body.size(), resource.etag, cacheControlFor(freshness));
        resource.notModified = Http::notModifiedHead(resource.etag, cacheControlFor(freshness));
        resource.body = std::move(body);
    }

    void picture(std::string path, Resource::Kind kind, int dayIndex)
    {
        add(std::move(path), kind, Freshness::Immutable).dayIndex = dayIndex;
    }

    void index()
    {
        m_snapshot.routes.reserve(m_snapshot.resources.size());
        for (const Resource &resource : m_snapshot.resources)
            m_snapshot.routes.emplace(resource.path, &resource);
    }

private:
    Resource &add(std::string path, Resource::Kind kind, Freshness freshness)
    {
        Resource &resource = m_snapshot.resources.emplace_back();
        resource.path = std::move(path);
        resource.kind = kind;
        resource.freshness = freshness;
        return resource;
    }

    Snapshot &m_snapshot;
};

} // namespace

SnapshotPtr buildSnapshot(QList<DayQuote> days, const QDate &today, const QDateTime &nextMidnight,
                          const QString &base)
{
    auto snapshot = std::make_shared<Snapshot>();
    snapshot->today = today;
    snapshot->nextMidnight = nextMidnight.toSecsSinceEpoch();
    snapshot->publicBase = base;
    snapshot->days.assign(std::make_move_iterator(days.begin()), std::make_move_iterator(days.end()));
    if (!snapshot->days.empty()) {
        snapshot->firstDay = snapshot->days.front().day;
        snapshot->lastDay = snapshot->days.back().day;
    }

    Builder builder(*snapshot);
    std::string batch = "[";
    for (std::size_t i = 0; i < snapshot->days.size(); ++i) {
        const DayQuote &quote = snapshot->days[i];
        const Freshness freshness = quote.day < today ? Freshness::Immutable : Freshness::UntilMidnight;
        std::string json = quoteJson(quote, base);
        if (quote.day >= today && quote.day <= today.addDays(ostDaysAhead)) {
            if (batch.size() > 1)
                batch += ',';
            batch += json;
        }
        if (quote.day == today)
            builder.document(std::string(ApiPrefix) + "today/", json, Http::JsonType, Freshness::UntilMidnight);
        builder.document(toStd(ApiPrefix, quote.key, "/"), std::move(json), Http::JsonType, freshness);
        builder.document(toStd(SharePrefix, quote.key, "/"), SharePage::html(quote, base), Http::HtmlType, freshness);
        builder.picture(toStd(MediaPrefix, quote.key, ".jpg"), Resource::Kind::Picture, int(i));
        builder.picture(toStd(MediaPrefix, quote.key, "-share.jpg"), Resource::Kind::ShareCard, int(i));
    }
    batch += ']';
    builder.document(std::string(ApiPrefix) + "batch/", std::move(batch), Http::JsonType, Freshness::UntilMidnight);
    builder.index();
    return snapshot;
}

} // namespace QuoteCatalog
