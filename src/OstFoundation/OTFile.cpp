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

QString ot_byteCountDescription(qint64 bytes)
{
    if (bytes >= 1024 * 1024 && bytes % (1024 * 1024) == 0)
        return QStringLiteral("%1 MiB").arg(bytes / (1024 * 1024));
    if (bytes >= 1024 && bytes % 1024 == 0)
        return QStringLiteral("%1 KiB").arg(bytes / 1024);
    return QStringLiteral("%1 bytes").arg(bytes);
}

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
