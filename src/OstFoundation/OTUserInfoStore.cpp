#include "OTUserInfoStore.h"

#include "OTClock.h"
#include "OTFile.h"

#include <QCborMap>
#include <QCborValue>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QMutex>
#include <QSaveFile>
#include <QStandardPaths>

/*!
    \class OTUserInfoStore
    \inmodule OstFoundation
    \brief The app's persistent settings: one dictionary, written atomically, shared safely
    between processes.

    The dictionary is kept as a CBOR file in the app data directory and replaced atomically on
    every write: a crash mid-write leaves the previous dictionary in place. Values may be
    anything CBOR carries: strings, numbers, byte arrays, lists and maps of those.

    Nothing stored is lost to a fault. A file that cannot be decoded (truncated, random bytes,
    empty, not a dictionary) is moved aside whole, to \c{<file>.damaged-<UTC yyyyMMddTHHmmss>},
    before anything new is written in its place; the error names both paths and the reason (a
    caller that passes no error gets it as one warning in the log instead). Only a regular file
    is read or replaced: anything else in its place (a FIFO, a directory, a device) is an error
    and is left untouched, as is a file that cannot be read.

    Writers take a lock file beside the settings file (\c{<file>.lock}) and wait for it at most
    LockTimeout. A lock left by a process that died is taken over at once (after a second when
    the process died before writing its name in it), any other once it is StaleLockTime old.
    Readers never wait: a file is only ever replaced whole.

    \code
    OTUserInfoStore::updateOstrelDefaults([](QVariantMap &defaults) {
        defaults.insert("launches", defaults.value("launches").toInt() + 1);
    });
    \endcode
*/

namespace {

QMutex &pathMutex()
{
    static QMutex mutex;
    return mutex;
}

QString &customPath()
{
    static QString path;
    return path;
}

// What the settings file holds.
struct Contents
{
    enum State { Missing, Dictionary, Undecodable, Unreadable };
    State state = Missing;
    QVariantMap dictionary;
    OTError error;       // Unreadable: why
    QString reason;      // Undecodable: why
};

Contents readFile(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return {};
    Contents contents;
    const std::optional<QByteArray> bytes = ot_readRegularFile(path, OTUserInfoStore::MaximumFileSize, &contents.error);
    if (!bytes) {
        contents.state = Contents::Unreadable;
        return contents;
    }
    const std::optional<QCborValue> value = bytes->isEmpty() ? std::nullopt : ot_cborValueFromBytes(*bytes, &contents.reason);
    if (bytes->isEmpty())
        contents.reason = QStringLiteral("the file is empty");
    else if (value && !value->isMap())
        contents.reason = QStringLiteral("not a dictionary");
    if (!contents.reason.isEmpty()) {
        contents.state = Contents::Undecodable;
        return contents;
    }
    contents.state = Contents::Dictionary;
    contents.dictionary = value->toMap().toVariantMap();
    return contents;
}

// The reason goes to the caller that asks for it, else to the log: said once either way.
bool fail(OTError *error, const OTError &reason)
{
    if (error)
        *error = reason;
    else
        qWarning("%s", qPrintable(reason.description()));
    return false;
}

// Moves an undecodable settings file aside, whole, under a name of its own.
bool setAside(const QString &path, const QString &reason, OTError *error)
{
    const QString base = path + QStringLiteral(".damaged-")
                         + OTClock::now().toUTC().toString(QStringLiteral("yyyyMMdd'T'HHmmss"));
    QString target = base;
    for (int n = 2; QFileInfo::exists(target) || QFileInfo(target).isSymLink(); ++n)
        target = base + QLatin1Char('-') + QString::number(n);
    QFile file(path);
    if (!file.rename(target)) {
        return fail(error, OTError(OTError::FileSystem,
                                   QStringLiteral("settings file %1 cannot be decoded (%2) and cannot be moved aside "
                                                  "to %3: %4; it is left as it is")
                                       .arg(path, reason, target, file.errorString())));
    }
    fail(error, OTError(OTError::Undecodable,
                        QStringLiteral("settings file %1 could not be decoded (%2); it was moved aside to %3")
                            .arg(path, reason, target)));
    return true;
}

} // namespace

/*!
    Returns the settings file: by default \c ostrel-defaults.cbor in
    QStandardPaths::AppDataLocation.
*/
QString OTUserInfoStore::storePath()
{
    QMutexLocker lock(&pathMutex());
    if (!customPath().isEmpty())
        return customPath();
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/ostrel-defaults.cbor");
}

/*!
    Points the store at the file \a path. An empty \a path goes back to the default.
*/
void OTUserInfoStore::setStorePath(const QString &path)
{
    QMutexLocker lock(&pathMutex());
    customPath() = path;
}

namespace {

// The lock that orders the store's writers across processes: a QLockFile beside the file. A
// lock whose process has died is taken over at once, one whose owner cannot be told (a
// process killed between creating the file and writing its name in it) once it is a second
// old, and any other once it is StaleLockTime old.
bool lockStore(QLockFile &lock, const QString &path, OTError *error)
{
    lock.setStaleLockTime(OTUserInfoStore::StaleLockTime);
    const QDeadlineTimer deadline(OTUserInfoStore::LockTimeout);
    for (;;) {
        if (lock.tryLock(int(std::min<qint64>(deadline.remainingTime(), 100))))
            return true;
        if (lock.error() != QLockFile::LockFailedError || deadline.hasExpired())
            break;
        qint64 pid = 0;
        QString host;
        QString application;
        const QFileInfo file(lock.fileName());
        if (!lock.getLockInfo(&pid, &host, &application) && file.exists()
            && file.lastModified().msecsTo(QDateTime::currentDateTime()) > 1000) {
            // QLockFile keeps a native lock on the file while its owner lives, so this cannot
            // take the file from a writer that is still there.
            lock.removeStaleLockFile();
        }
    }
    return fail(error, OTError(OTError::FileSystem,
                               QStringLiteral("cannot write %1: another process holds its lock %2 (%3 ms waited)")
                                   .arg(path, lock.fileName())
                                   .arg(OTUserInfoStore::LockTimeout)));
}

QString lockPath(const QString &path)
{
    return path + QStringLiteral(".lock");
}

} // namespace

/*!
    Returns the stored dictionary. It is empty when nothing was stored yet, or when the file
    could not be read (\a error: OTError::FileSystem, the file left as it is) or decoded
    (\a error: OTError::Undecodable, its description saying where the file was moved).
*/
QVariantMap OTUserInfoStore::ostrelDefaults(OTError *error)
{
    const QString path = storePath();
    Contents contents = readFile(path);
    if (contents.state == Contents::Undecodable) {
        // Moved aside only under the writers' lock, and only if it is still damaged then: a
        // writer may have put a good file in its place meanwhile.
        QLockFile lock(lockPath(path));
        if (!lockStore(lock, path, error))
            return {};
        contents = readFile(path);
        if (contents.state == Contents::Undecodable) {
            setAside(path, contents.reason, error);
            return {};
        }
    }
    switch (contents.state) {
    case Contents::Missing:
    case Contents::Dictionary:
        return contents.dictionary;
    case Contents::Unreadable:
        fail(error, contents.error);
        return {};
    case Contents::Undecodable:
        break;
    }
    return {};
}

/*!
    Replaces the stored dictionary with \a defaults. Returns \c true when it is safely on disk;
    \c false, with the reason in \a error, when it could not be written, when what stands in the
    file's place could not be read or moved aside (it is then left untouched), or when the
    store's lock could not be had within LockTimeout.
*/
bool OTUserInfoStore::synchronizeOstrelDefaults(const QVariantMap &defaults, OTError *error)
{
    return updateOstrelDefaults([&defaults](QVariantMap &stored) { stored = defaults; }, error);
}

/*!
    Changes the stored dictionary in one step that no other writer, in this process or another,
    comes between: under the store's lock, the file is read afresh, \a change edits what it holds
    (empty when there is no file, or a damaged one was moved aside) and the file is replaced.
    Returns and fails (with \a error) as synchronizeOstrelDefaults() does.

    Use it rather than reading, changing and synchronizing, which loses whatever another process
    wrote in between.
*/
bool OTUserInfoStore::updateOstrelDefaults(const std::function<void(QVariantMap &)> &change, OTError *error)
{
    const QString path = storePath();
    const QString directory = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(directory))
        return fail(error, OTError(OTError::FileSystem, QStringLiteral("cannot write %1: cannot make the folder %2")
                                                            .arg(path, directory)));
    // Read, change and replace under the lock: no other process's change comes between.
    QLockFile lock(lockPath(path));
    if (!lockStore(lock, path, error))
        return false;
    // What stands in the file's place is replaced only when it is a settings file, or moved
    // aside first when it is a damaged one.
    const Contents contents = readFile(path);
    if (contents.state == Contents::Unreadable)
        return fail(error, OTError(OTError::FileSystem, QStringLiteral("cannot write %1: what is there cannot be "
                                                                       "read (%2); it is left as it is")
                                                            .arg(path, contents.error.description())));
    if (contents.state == Contents::Undecodable) {
        OTError aside;
        if (!setAside(path, contents.reason, &aside))
            return fail(error, aside);
        // The write goes on and succeeds: where the damaged file went is said in the log.
        qWarning("%s", qPrintable(aside.description()));
    }
    QVariantMap defaults = contents.dictionary;
    change(defaults);

    // QSaveFile writes a temporary file next to the target and renames it over the target
    // only when everything was written and flushed.
    QSaveFile file(path);
    const QByteArray bytes = QCborMap::fromVariantMap(defaults).toCborValue().toCbor();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        const QString reason = file.errorString();
        file.cancelWriting();
        return fail(error, OTError(OTError::FileSystem, QStringLiteral("cannot write %1: %2").arg(path, reason)));
    }
    if (error)
        *error = {};
    return true;
}

/*!
    \variable OTUserInfoStore::MaximumFileSize

    The largest settings file read: 16 MiB.
*/

/*!
    \variable OTUserInfoStore::LockTimeout

    How long a writer waits for the store's lock, in milliseconds: 5000.
*/

/*!
    \variable OTUserInfoStore::StaleLockTime

    The age, in milliseconds, at which a lock whose owner cannot be checked is taken over: 10000.
*/
