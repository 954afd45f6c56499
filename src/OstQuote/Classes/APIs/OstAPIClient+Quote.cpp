#include "OstAPIClient+Quote.h"

#include "OTUserInfoStore+OstQuote.h"

#include <OTDate.h>

#include <QJsonDocument>
#include <QStringList>

/*!
    \headerfile <OstAPIClient+Quote.h>
    \inmodule OstQuote
    \title The quote calls
    \brief The quote calls of the API client.

    Each takes the client to use (usually OstAPIClient::sharedClient()) and calls its block once,
    on the client's thread, with a result or an OTError that says whether the network, the HTTP
    status or the body was at fault. With a \c context, an answer that arrives after the context
    is destroyed is dropped.

    Offline, a day already fetched is answered from the client's disk cache, which keeps a day's
    answer only when it is that day's quote. A kept "today" answers only while the server's cache
    headers call it fresh and its day is still today by OTClock; after that "today" needs the
    network, and fails without it.

    \code
    updateQuoteWithBlock(OstAPIClient::sharedClient(), [](OTModelPtr result, const OTError &error) {
        if (error)
            qWarning() << error.description();
    });
    \endcode
*/

namespace {

// The day an answer holds: its assign_date when that is a day key, else nothing.
QString answeredDay(const QJsonDocument &answer)
{
    if (!answer.isObject())
        return {};
    const OstQuotePtr quote = OstQuote::fromJSON(answer.object());
    return quote && ot_dayFromKey(quote->assign_date()).isValid() ? quote->assign_date() : QString();
}

// "today" or the day key that "/api/v2/quote/quotes/<day>/" asks for.
QString askedDay(const QUrl &url)
{
    const QStringList parts = url.path().split(u'/', Qt::SkipEmptyParts);
    return parts.value(parts.size() - 1);
}

// The cache keeps a day's answer only when it is that day's quote (for "today", a quote of
// some day), and gives "today" back only while it is fresh and its day is still today here.
// Anything else would show one day's quote under another's date, offline for good.
void keepOnlyRightDays(OstAPIClient *client)
{
    const QString quotes = QString::fromLatin1(OstQuoteTodayAPI).section(u'/', 0, -3) + u'/';
    client->setAnswerRule(
        quotes,
        {[](const QUrl &url, const QJsonDocument &answer) {
             const QString day = answeredDay(answer);
             const QString asked = askedDay(url);
             return !day.isEmpty() && (asked == QLatin1String("today") || asked == day);
         },
         [](const QUrl &url, const QJsonDocument &answer, bool fresh) {
             const QString day = answeredDay(answer);
             const QString asked = askedDay(url);
             if (asked == QLatin1String("today"))
                 return fresh && !day.isEmpty() && day == ot_todayKey();
             return !day.isEmpty() && day == asked;
         }});
}

} // namespace

/*!
    \relates <OstAPIClient+Quote.h>

    Asks \a client for the quote of the day \a date (\c yyyy-MM-dd) and hands it to \a block. The
    word \c today asks for today's quote without storing it. An answer that arrives after
    \a context is destroyed is dropped.
*/
void getQuoteWithDate(OstAPIClient *client, const QString &date, OstQuoteBlock block, QObject *context)
{
    keepOnlyRightDays(client);
    QString path = QString::fromLatin1(OstQuoteDayAPI);
    path.replace(QLatin1String("{date}"), date);
    client->modelWithMethod(
        QStringLiteral("GET"), path, {}, &OstQuote::staticMetaObject,
        [block](OTModelPtr model, const OTError &error) {
            if (block)
                block(model.objectCast<OstQuote>(), error);
        },
        context);
}

/*!
    \relates <OstAPIClient+Quote.h>

    Asks \a client for today's quote and keeps it as the latest quote (updateQuote()) when it
    arrives. The \a block, when given, sees the answer whether or not it could be stored. An
    answer that arrives after \a context is destroyed is dropped.
*/
void updateQuoteWithBlock(OstAPIClient *client, OstQuoteUpdateBlock block, QObject *context)
{
    keepOnlyRightDays(client);
    client->modelWithMethod(
        QStringLiteral("GET"), QString::fromLatin1(OstQuoteTodayAPI), {}, &OstQuote::staticMetaObject,
        [block](OTModelPtr result, const OTError &error) {
            if (!error) {
                if (OstQuotePtr quote = result.objectCast<OstQuote>())
                    updateQuote(quote.data());
            }
            if (block)
                block(result, error);
        },
        context);
}

/*!
    \relates <OstAPIClient+Quote.h>

    Asks \a client for the batch of coming days' quotes, always from the network, and hands it to
    \a block. An answer that arrives after \a context is destroyed is dropped.
*/
void getQuotesWithBlock(OstAPIClient *client, OstQuotesBlock block, QObject *context)
{
    client->modelWithAPI(
        QString::fromLatin1(OstQuoteBatchAPI), {}, &OstQuote::staticMetaObject, true,
        [block](const QList<OTModelPtr> &models, const OTError &error) {
            if (!block)
                return;
            QList<OstQuotePtr> quotes;
            quotes.reserve(models.size());
            for (const OTModelPtr &model : models)
                quotes.append(model.objectCast<OstQuote>());
            block(quotes, error);
        },
        context);
}

/*!
    \typedef OstQuoteBlock
    \relates <OstAPIClient+Quote.h>

    The block of getQuoteWithDate(): \c{void(OstQuotePtr quote, const OTError &error)}.
*/

/*!
    \typedef OstQuotesBlock
    \relates <OstAPIClient+Quote.h>

    The block of getQuotesWithBlock(): \c{void(const QList<OstQuotePtr> &quotes, const OTError
    &error)}.
*/

/*!
    \typedef OstQuoteUpdateBlock
    \relates <OstAPIClient+Quote.h>

    The block of updateQuoteWithBlock(): \c{void(OTModelPtr result, const OTError &error)}.
*/

/*!
    \variable OstQuoteDayAPI
    \relates <OstAPIClient+Quote.h>

    The path of a day's quote: \c{/api/v2/quote/quotes/{date}/}.
*/

/*!
    \variable OstQuoteTodayAPI
    \relates <OstAPIClient+Quote.h>

    The path of today's quote: \c{/api/v2/quote/quotes/today/}.
*/

/*!
    \variable OstQuoteBatchAPI
    \relates <OstAPIClient+Quote.h>

    The path of the batch of coming days' quotes: \c{/api/v2/quote/quotes/batch/}.
*/
