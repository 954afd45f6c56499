#include "OstQuoteLink.h"

#include <OstAPIClient.h>

#include <QDate>
#include <QRegularExpression>
#include <QUrlQuery>

/*!
    \qmltype OstQuoteLink
    \inqmlmodule OstQuote
    \instantiates OstQuoteLink
    \brief The day a link names, and the app link of a day (a singleton).

    \qml
    stack.push(viewer, {initialDay: OstQuoteLink.dayOf(link)})
    \endqml

    See the C++ class OstQuoteLink for the links that name a day.
*/

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

/*!
    \class OstQuoteLink
    \inmodule OstQuote
    \brief The module's own links, and the day each one names.

    Two kinds of link lead to a day:

    \list
    \li the app link \c{ostquote://day/YYYY-MM-DD}, for notifications and for the host's own
        features ("this day last year");
    \li the share page link the quote server hands out with every quote,
        \c{<server>/share/quotes/YYYY-MM-DD/}, with or without \c{?via=<target>}. It counts only
        when it points at the quote server (the server's scheme, http or https, host, port and
        path); the same path on any other host is somebody else's page.
    \endlist

    Anything else is not a day link: dayOfLink() gives a null string. The day must be a real one;
    whether the quotes reach that far back (or forward) is the viewer's to decide.

    \code
    const QString day = OstQuoteLink::dayOfLink(link);
    if (!day.isEmpty()) {
        OstQuoteViewController *viewer = OstQuoteViewController::create(view.engine());
        viewer->setInitialDay(day);
        navigation->pushViewController(viewer, true);
    }
    \endcode

    In QML the type is the singleton \l {OstQuote::OstQuoteLink}{OstQuoteLink}.
*/
OstQuoteLink::OstQuoteLink(QObject *parent)
    : QObject(parent)
{
}

/*!
    Returns \c true when \a text is a day key of a real day: \c 2019-02-14, not \c 2019-02-30 or
    \c 2019-2-14.
*/
bool OstQuoteLink::isDayKey(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("^\\d{4}-\\d{2}-\\d{2}$"));
    return pattern.match(text).hasMatch() && QDate::fromString(text, QStringLiteral("yyyy-MM-dd")).isValid();
}

/*!
    Returns the app link of \a dayKey, or an empty URL when \a dayKey is not a real day.
*/
QUrl OstQuoteLink::appLink(const QString &dayKey)
{
    if (!isDayKey(dayKey))
        return QUrl();
    return QUrl(QStringLiteral("%1://%2/%3").arg(QLatin1String(Scheme), kAppHost, dayKey));
}

/*!
    Returns the day key (\c yyyy-MM-dd) that \a link names, or a null string when it is not a
    day link. Share page links count only when they point at \a server.
*/
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

/*!
    \overload

    Share page links are checked against the shared API client's base URL.
*/
QString OstQuoteLink::dayOfLink(const QUrl &link)
{
    return dayOfLink(link, OstAPIClient::sharedClient()->baseURL());
}

/*!
    \overload

    The same for text as users paste it: surrounding spaces are ignored.
*/
QString OstQuoteLink::dayOfLink(const QString &link)
{
    return dayOfLink(QUrl(link.trimmed(), QUrl::StrictMode));
}

/*!
    \qmlmethod string OstQuoteLink::dayOf(string link)

    Returns the day key (\c yyyy-MM-dd) that \a link names, or an empty string when it is not a
    day link. Surrounding spaces are ignored; share page links are checked against the shared
    API client's server.
*/

/*!
    \qmlmethod url OstQuoteLink::appLinkOf(string dayKey)

    Returns the app link of \a dayKey (\c{ostquote://day/...}), or an empty URL when it is not a
    real day.
*/

/*!
    \variable OstQuoteLink::Scheme

    The scheme of the app link, \c ostquote, registered for the app by its installer (on Linux,
    a desktop entry with \c{MimeType=x-scheme-handler/ostquote}).
*/

/*!
    \fn OstQuoteLink::OstQuoteLink(QObject *parent)

    Constructs a link helper with \a parent; QML makes the singleton this way.
*/

/*!
    \fn QString OstQuoteLink::dayOf(const QString &link) const

    Returns dayOfLink() of \a link, for QML.
*/

/*!
    \fn QUrl OstQuoteLink::appLinkOf(const QString &dayKey) const

    Returns appLink() of \a dayKey, for QML.
*/
