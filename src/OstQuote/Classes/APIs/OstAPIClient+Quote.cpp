#include "OstAPIClient+Quote.h"

#include "OTUserInfoStore+OstQuote.h"

#include <OTDate.h>

#include <QJsonDocument>
#include <QStringList>

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
