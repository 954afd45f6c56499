#pragma once

#include "OstFoundationGlobal.h"
#include "OTError.h"

#include <QString>
#include <QVariantMap>

// The app's persistent settings: one dictionary, kept as a CBOR file in the app data
// directory and replaced atomically on every write (a crash mid-write leaves the previous
// dictionary in place). Values may be anything CBOR carries: strings, numbers, byte arrays,
// lists and maps of those.
//
// Nothing stored is lost to a fault. A file that cannot be decoded (truncated, random bytes,
// empty, not a dictionary) is moved aside whole, to "<file>.damaged-<UTC yyyyMMddTHHmmss>",
// before anything new is written in its place; the error names both paths and the reason
// (a caller that passes no error gets it as one warning in the log instead). Only a regular file is read or replaced: anything else in its place (a FIFO, a
// directory, a device) is an error and is left untouched, as is a file that cannot be read.
class OSTFOUNDATION_EXPORT OTUserInfoStore
{
public:
    // Largest settings file read.
    static constexpr qint64 MaximumFileSize = 16 * 1024 * 1024;

    // The stored dictionary; empty when nothing was stored yet, or when the file could not be
    // read (`error`: FileSystem, the file left as it is) or decoded (`error`: Undecodable, its
    // description saying where the file was moved).
    static QVariantMap ostrelDefaults(OTError *error = nullptr);
    // Replaces the stored dictionary with `defaults`. True when it is safely on disk; false,
    // with the reason in `error`, when it could not be written or when what stands in the
    // file's place could not be read or moved aside (it is then left untouched).
    static bool synchronizeOstrelDefaults(const QVariantMap &defaults, OTError *error = nullptr);

    // The file, by default "ostrel-defaults.cbor" in QStandardPaths::AppDataLocation.
    static QString storePath();
    // Points the store at another file (an empty path goes back to the default).
    static void setStorePath(const QString &path);
};
