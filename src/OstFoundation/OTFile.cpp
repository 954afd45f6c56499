#include "OTFile.h"

#include <QCborStreamReader>
#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
/*!
    \headerfile <OTFile.h>
    \inmodule OstFoundation
    \title Small files
    \brief Reading the small files an app keeps (archives, settings) whole and safely.
*/

#endif

namespace {

std::optional<QByteArray> fail(OTError *error, const QString &path, const QString &reason)
{
    if (error)
        *error = OTError(OTError::FileSystem, QStringLiteral("cannot read %1: %2").arg(path, reason));
    return std::nullopt;
}

#ifdef Q_OS_UNIX
QString kindOf(mode_t mode)
{
    if (S_ISDIR(mode))
        return QStringLiteral("a directory");
    if (S_ISFIFO(mode))
        return QStringLiteral("a FIFO");
    if (S_ISCHR(mode))
        return QStringLiteral("a character device");
    if (S_ISBLK(mode))
        return QStringLiteral("a block device");
    if (S_ISSOCK(mode))
        return QStringLiteral("a socket");
    return QStringLiteral("not a plain file");
}
#endif

} // namespace

/*!
    \relates <OTFile.h>

    Returns \a bytes as the file messages write a size: "1 MiB", "512 KiB", "300 bytes".
*/
QString ot_byteCountDescription(qint64 bytes)
{
    if (bytes >= 1024 * 1024 && bytes % (1024 * 1024) == 0)
        return QStringLiteral("%1 MiB").arg(bytes / (1024 * 1024));
    if (bytes >= 1024 && bytes % 1024 == 0)
        return QStringLiteral("%1 KiB").arg(bytes / 1024);
    return QStringLiteral("%1 bytes").arg(bytes);
}

/*!
    \relates <OTFile.h>

    Returns the bytes of the file at \a path, or nothing with \a error set.

    Only a regular file is read, a symbolic link being followed to one: a FIFO, a device or a
    directory in its place would block the reader or hand it endless bytes, so it is refused
    without being opened for a blocking read. A file larger than \a maxBytes is refused too,
    before it is read. The error is OTError::FileSystem, its description naming the path and what
    stands there ("not a regular file (a FIFO)", "larger than 1 MiB", or the system's reason).
*/
std::optional<QByteArray> ot_readRegularFile(const QString &path, qint64 maxBytes, OTError *error)
{
#ifdef Q_OS_UNIX
    // Opened without blocking, so that a FIFO nobody writes to cannot hold us; what was
    // opened is then looked at, not what the name said a moment before.
    const QByteArray name = QFile::encodeName(path);
    const int fd = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return fail(error, path, QString::fromLocal8Bit(std::strerror(errno)));
    struct stat status;
    if (::fstat(fd, &status) != 0) {
        const int saved = errno;
        ::close(fd);
        return fail(error, path, QString::fromLocal8Bit(std::strerror(saved)));
    }
    if (!S_ISREG(status.st_mode)) {
        ::close(fd);
        return fail(error, path, QStringLiteral("not a regular file (%1)").arg(kindOf(status.st_mode)));
    }
    if (status.st_size > maxBytes) {
        ::close(fd);
        return fail(error, path, QStringLiteral("larger than %1").arg(ot_byteCountDescription(maxBytes)));
    }
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return fail(error, path, file.errorString());
    }
    // A file that grows while it is read stops at the limit all the same.
    QByteArray bytes = file.read(maxBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return fail(error, path, file.errorString());
    if (bytes.size() > maxBytes)
        return fail(error, path, QStringLiteral("larger than %1").arg(ot_byteCountDescription(maxBytes)));
    return bytes;
#else
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        return fail(error, path, QStringLiteral("not a regular file"));
    if (info.size() > maxBytes)
        return fail(error, path, QStringLiteral("larger than %1").arg(ot_byteCountDescription(maxBytes)));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(error, path, file.errorString());
    QByteArray bytes = file.read(maxBytes + 1);
    if (bytes.size() > maxBytes)
        return fail(error, path, QStringLiteral("larger than %1").arg(ot_byteCountDescription(maxBytes)));
    return bytes;
#endif
}

/*!
    \relates <OTFile.h>

    Returns the one CBOR data item that \a bytes hold, or nothing with \a reason set
    ("not CBOR: ...", "3 bytes after the end of the data"). Bytes after the item make the whole
    undecodable: what a writer of one item left there was damaged since, and reading only the
    part that still parses would lose the rest when the file is next written.
*/
std::optional<QCborValue> ot_cborValueFromBytes(const QByteArray &bytes, QString *reason)
{
    QCborStreamReader reader(bytes);
    QCborValue value = QCborValue::fromCbor(reader);
    if (reader.lastError() != QCborError::NoError) {
        if (reason)
            *reason = QStringLiteral("not CBOR: %1 at byte %2").arg(reader.lastError().toString()).arg(reader.currentOffset());
        return std::nullopt;
    }
    if (const qint64 extra = bytes.size() - reader.currentOffset(); extra > 0) {
        if (reason)
            *reason = QStringLiteral("%1 after the end of the data").arg(ot_byteCountDescription(extra));
        return std::nullopt;
    }
    return value;
}
