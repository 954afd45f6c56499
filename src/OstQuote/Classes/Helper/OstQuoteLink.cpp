#include "OstQuoteLink.h"

#include <OstAPIClient.h>

#include <QDate>
#include <QRegularExpression>
#include <QUrlQuery>

namespace {

const QLatin1String kAppHost("day");
const QLatin1String kSharePath("/share/quotes/");

int effectivePort(const QUrl &url)
{
    return url.port(url.scheme() == QLatin1String("https") ? 443 : 80);
}

bool isWeb(const QUrl &url)
{
    return url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
}

// The path after `prefix` as a day key, with or without one slash after it; null otherwise.
QString dayAfter(const QString &path, const QString &prefix)
{
    if (!path.startsWith(prefix))
        return QString();
    QString rest = path.mid(prefix.size());
    if (rest.endsWith(u'/'))
        rest.chop(1);
    return OstQuoteLink::isDayKey(rest) ? rest : QString();
}

} // namespace

OstQuoteLink::OstQuoteLink(QObject *parent)
    : QObject(parent)
{
}

bool OstQuoteLink::isDayKey(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("^\\d{4}-\\d{2}-\\d{2}$"));
    return pattern.match(text).hasMatch() && QDate::fromString(text, QStringLiteral("yyyy-MM-dd")).isValid();
}

QUrl OstQuoteLink::appLink(const QString &dayKey)
{
    if (!isDayKey(dayKey))
        return QUrl();
    return QUrl(QStringLiteral("%1://%2/%3").arg(QLatin1String(Scheme), kAppHost, dayKey));
}

QString OstQuoteLink::dayOfLink(const QUrl &link, const QUrl &server)
{
    if (!link.isValid() || !link.userInfo().isEmpty() || link.hasFragment())
        return QString();
    // An encoded slash stays encoded: "%2F" is not a step of the path.
    const QString path = link.path(QUrl::PrettyDecoded);

    if (link.scheme() == QLatin1String(Scheme)) {
        if (link.host() != kAppHost || link.port() != -1 || link.hasQuery())
            return QString();
        return dayAfter(path, QStringLiteral("/"));
    }

    // A share page link: the server's own, with at most the target it was shared to.
    if (!isWeb(link) || link.scheme() != server.scheme() || link.host().isEmpty()
        || link.host().compare(server.host(), Qt::CaseInsensitive) != 0 || effectivePort(link) != effectivePort(server))
        return QString();
    if (link.hasQuery()) {
        const QList<std::pair<QString, QString>> items = QUrlQuery(link).queryItems();
        if (items.size() != 1 || items.first().first != QLatin1String("via"))
            return QString();
    }
    QString serverPath = server.path(QUrl::PrettyDecoded);
    while (serverPath.endsWith(u'/'))
        serverPath.chop(1);
    return dayAfter(path, serverPath + kSharePath);
}

QString OstQuoteLink::dayOfLink(const QUrl &link)
{
    return dayOfLink(link, OstAPIClient::sharedClient()->baseURL());
}

QString OstQuoteLink::dayOfLink(const QString &link)
{
    return dayOfLink(QUrl(link.trimmed(), QUrl::StrictMode));
}
