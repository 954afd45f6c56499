#include "OTUserInfoStore+OstQuote.h"

#include <QDebug>

/*!
    \headerfile <OTUserInfoStore+OstQuote.h>
    \inmodule OstQuote
    \title The latest quote
    \brief The latest quote of the day, kept in the app's persistent settings.

    The quote is kept in OTUserInfoStore as the keyed archive of the record under
    OstQuoteLatestQuoteKey. One quote only: each update replaces the previous one; every other
    setting is left as it is.

    \code
    if (auto quote = latestQuote().objectCast<OstQuote>())
        qDebug() << quote->content() << "—" << quote->author();
    \endcode
*/

/*!
    \relates <OTUserInfoStore+OstQuote.h>

    Stores \a quote as the latest quote. Returns \c false for a null quote or when the settings
    could not be written, with the reason in \a error; the previous latest quote then stays.
    Settings that could not be read are never written over; a damaged settings file is first
    moved aside.
*/
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

/*!
    \relates <OTUserInfoStore+OstQuote.h>

    Returns the record stored by the last successful updateQuote(), or null on a fresh store.
    The unarchived object is returned as it comes, whatever its class: callers check it.

    A damaged entry gives null, with the reason in \a error (or in one line of the log when no
    \a error is passed); it stays until the next update replaces it. A settings file that cannot
    be read or decoded gives null and the store's error.
*/
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

/*!
    \variable OstQuoteLatestQuoteKey
    \relates <OTUserInfoStore+OstQuote.h>

    The settings key of the latest quote: \c kNewQuote.
*/
