#include "OTError.h"

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
