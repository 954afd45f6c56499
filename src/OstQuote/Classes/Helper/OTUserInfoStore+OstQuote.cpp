#include "OTUserInfoStore+OstQuote.h"

#include <QDebug>

bool updateQuote(const OstQuote *quote)
{
    if (!quote)
        return false;
    const QByteArray archive = quote->archivedData();
    if (archive.isEmpty())
        return false;
    QVariantMap defaults = OTUserInfoStore::ostrelDefaults();
    defaults.insert(QString::fromLatin1(OstQuoteLatestQuoteKey), archive);
    return OTUserInfoStore::synchronizeOstrelDefaults(defaults);
}

OTModelPtr latestQuote()
{
    const QVariant stored = OTUserInfoStore::ostrelDefaults().value(QString::fromLatin1(OstQuoteLatestQuoteKey));
    if (!stored.isValid())
        return {};
    OTError error;
    OTModelPtr model = OTModel::unarchiveObjectWithData(stored.toByteArray(), &error);
    if (!model)
        qWarning().noquote() << error.description();
    return model;
}
