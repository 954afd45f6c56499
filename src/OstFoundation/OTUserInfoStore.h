#pragma once

#include "OstFoundationGlobal.h"
#include "OTError.h"

#include <QString>
#include <QVariantMap>

#include <functional>

// The app's persistent settings: one dictionary, kept as a CBOR file in the app data directory
// and replaced atomically on every write (a crash mid-write leaves the previous dictionary in
// place).
// The reference (scripts/docs) documents it in full.
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
    // with the reason in `error`, when it could not be written, when what stands in the
    // file's place could not be read or moved aside (it is then left untouched), or when the
    // store's lock could not be had within LockTimeout.
    static bool synchronizeOstrelDefaults(const QVariantMap &defaults, OTError *error = nullptr);
    // Changes the stored dictionary in one step that no other writer, in this process or
    // another, comes between: under the store's lock, the file is read afresh, `change` edits
    // what it holds (empty when there is no file, or a damaged one was moved aside) and the
    // file is replaced. Returns and fails as synchronizeOstrelDefaults() does. Use it rather
    // than reading, changing and synchronizing, which loses whatever another process wrote
    // in between.
    static bool updateOstrelDefaults(const std::function<void(QVariantMap &)> &change, OTError *error = nullptr);

    // Writers take a lock file beside the settings file ("<file>.lock"): they wait for it at
    // most LockTimeout. A lock left by a process that died is taken over at once (after a
    // second when the process died before writing its name in it), any other once it is
    // StaleLockTime old. Readers never wait: a file is only ever replaced whole.
    static constexpr int LockTimeout = 5000;     // ms
    static constexpr int StaleLockTime = 10000;  // ms

    // The file, by default "ostrel-defaults.cbor" in QStandardPaths::AppDataLocation.
    static QString storePath();
    // Points the store at another file (an empty path goes back to the default).
    static void setStorePath(const QString &path);
};
