#include "OTError.h"

/*!
    \class OTError
    \inmodule OstFoundation
    \brief What went wrong with a request or a decode.

    A default-constructed error is "no error"; an error converts to \c true in a condition:

    \code
    getQuoteWithDate(client, day, [](OstQuotePtr quote, const OTError &error) {
        if (error)
            qWarning() << error.description();
    });
    \endcode
*/

/*!
    Returns the name of \a kind, as the debug stream writes it.
*/
QString OTError::kindName(Kind kind)
{
    switch (kind) {
    case NoError: return QStringLiteral("no error");
    case Network: return QStringLiteral("network");
    case HTTPStatus: return QStringLiteral("http status");
    case Undecodable: return QStringLiteral("undecodable");
    case FileSystem: return QStringLiteral("file system");
    }
    return {};
}

QDebug operator<<(QDebug debug, const OTError &error)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << "OTError(" << OTError::kindName(error.kind()) << ", " << error.description() << ')';
    return debug;
}

/*!
    \enum OTError::Kind

    What kind of fault an error is.

    \value NoError No error.
    \value Network No answer: refused, unreachable, timed out (see isTimeout()), aborted, or a
           request limit of OTRequestGuard hit.
    \value HTTPStatus An answer with a status other than 2xx (see httpStatus()).
    \value Undecodable An answer, or archive bytes, that could not be turned into a record.
    \value FileSystem A file that could not be read or written.
*/

/*!
    \fn OTError::OTError()

    Constructs "no error".
*/

/*!
    \fn OTError::OTError(Kind kind, QString description, int httpStatus)

    Constructs an error of \a kind with the readable \a description and, for
    OTError::HTTPStatus errors, the \a httpStatus.
*/

/*!
    \fn OTError::Kind OTError::kind() const

    Returns the kind of this error.
*/

/*!
    \fn bool OTError::isError() const

    Returns \c true unless this is OTError::NoError.
*/

/*!
    \fn OTError::operator bool() const

    Returns isError().
*/

/*!
    \fn QString OTError::description() const

    Returns a sentence a person can read, such as
    \c{"HTTP 404 Not Found for http://…/api/v2/…"}.
*/

/*!
    \fn int OTError::httpStatus() const

    Returns the HTTP status of an OTError::HTTPStatus error, and 0 for any other.
*/

/*!
    \fn bool OTError::isTimeout() const

    Returns \c true for a network error that a deadline ended; its description says so.
*/

/*!
    \fn OTError &OTError::markTimeout()

    Marks this error as a timeout and returns it.
*/

/*!
    \fn QDebug operator<<(QDebug debug, const OTError &error)
    \relates OTError

    Writes \a error (its kind and description) to \a debug.
*/
