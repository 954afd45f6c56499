#include "OTUserInfoStore+OstQuote.h"

#include <QDebug>

bool updateQuote(const OstQuote *quote, OTError *error)
{
    if (!quote)
        return false;
    const QByteArray archive = quote->archivedData();
    if (archive.isEmpty())
        return false;
    // Under the store's lock: a setting another process writes meanwhile is kept. What could
    // not be read is not written over; a damaged file is moved aside first.
    return OTUserInfoStore::updateOstrelDefaults(
        [&archive](QVariantMap &defaults) { defaults.insert(QString::fromLatin1(OstQuoteLatestQuoteKey), archive); },
        error);
}

OTModelPtr latestQuote(OTError *error)
{
    const QVariant stored =
        OTUserInfoStore::ostrelDefaults(error).value(QString::fromLatin1(OstQuoteLatestQuoteKey));
    if (!stored.isValid())
        return {};
    OTError decodeError;
    OTModelPtr model = OTModel::unarchiveObjectWithData(stored.toByteArray(), &decodeError);
    if (!model) {
        const OTError reason(OTError::Undecodable, QStringLiteral("the latest quote kept in %1 cannot be read: %2")
                                                       .arg(OTUserInfoStore::storePath(), decodeError.description()));
        if (error)
            *error = reason;
        else
            qWarning().noquote() << reason.description();
    }
    return model;
}
