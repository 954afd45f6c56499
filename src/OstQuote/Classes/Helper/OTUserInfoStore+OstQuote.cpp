#include "OTUserInfoStore+OstQuote.h"

#include <QDebug>

bool updateQuote(const OstQuote *quote, OTError *error)
{
    if (!quote)
        return false;
    const QByteArray archive = quote->archivedData();
    if (archive.isEmpty())
        return false;
    OTError readError;
    QVariantMap defaults = OTUserInfoStore::ostrelDefaults(&readError);
    // What could not be read is not written over; a damaged file has been moved aside.
    if (readError.kind() == OTError::FileSystem) {
        if (error)
            *error = readError;
        return false;
    }
    // The quote is stored all the same; where the damaged file went is said in the log.
    if (readError)
        qWarning().noquote() << readError.description();
    defaults.insert(QString::fromLatin1(OstQuoteLatestQuoteKey), archive);
    return OTUserInfoStore::synchronizeOstrelDefaults(defaults, error);
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
