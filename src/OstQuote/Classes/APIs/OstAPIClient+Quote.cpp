#include "OstAPIClient+Quote.h"

#include "OTUserInfoStore+OstQuote.h"

void getQuoteWithDate(OstAPIClient *client, const QString &date, OstQuoteBlock block, QObject *context)
{
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
