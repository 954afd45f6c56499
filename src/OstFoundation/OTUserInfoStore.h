#pragma once

#include "OstFoundationGlobal.h"

#include <QString>
#include <QVariantMap>

// The app's persistent settings: one dictionary, kept as a CBOR file in the app data
// directory and replaced atomically on every write (a crash mid-write leaves the previous
// dictionary in place). Values may be anything CBOR carries: strings, numbers, byte arrays,
// lists and maps of those.
class OSTFOUNDATION_EXPORT OTUserInfoStore
{
public:
    // The stored dictionary; empty when nothing was stored yet or the file is unreadable.
    static QVariantMap ostrelDefaults();
    // Replaces the stored dictionary with `defaults`. True when it is safely on disk.
    static bool synchronizeOstrelDefaults(const QVariantMap &defaults);

    // The file, by default "ostrel-defaults.cbor" in QStandardPaths::AppDataLocation.
    static QString storePath();
    // Points the store at another file (an empty path goes back to the default).
    static void setStorePath(const QString &path);
};
