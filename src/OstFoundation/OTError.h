#pragma once

#include "OstFoundationGlobal.h"

#include <QDebug>
#include <QString>

// What went wrong with a request or a decode. A default-constructed error is "no error".
class OSTFOUNDATION_EXPORT OTError
{
public:
    enum Kind {
        NoError,
        Network,       // no answer: refused, unreachable, timed out, aborted
        HTTPStatus,    // an answer with a status other than 2xx
        Undecodable,   // an answer, or archive bytes, that could not be turned into a record
        FileSystem,    // a file that could not be read or written
    };

    OTError() = default;
    OTError(Kind kind, QString description, int httpStatus = 0)
        : m_kind(kind), m_description(std::move(description)), m_httpStatus(httpStatus) {}

    Kind kind() const { return m_kind; }
    bool isError() const { return m_kind != NoError; }
    explicit operator bool() const { return isError(); }

    // A sentence a person can read, e.g. "HTTP 404 Not Found for http://…/api/v2/…".
    QString description() const { return m_description; }
    // The HTTP status for HTTPStatus errors; 0 otherwise.
    int httpStatus() const { return m_httpStatus; }
    // A timeout is a network error whose description says so.
    bool isTimeout() const { return m_timeout; }
    OTError &markTimeout() { m_timeout = true; return *this; }

    static QString kindName(Kind kind);

private:
    Kind m_kind = NoError;
    QString m_description;
    int m_httpStatus = 0;
    bool m_timeout = false;
};

OSTFOUNDATION_EXPORT QDebug operator<<(QDebug debug, const OTError &error);
