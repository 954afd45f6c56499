#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QTest>

#include <sys/stat.h>

// What users' disks hold in place of a small file the apps keep, made at `path` for the data
// rows of a test: "fifo" (nobody writes to it), "zero" (a symbolic link to /dev/zero),
// "directory", or "large" (a sparse regular file of `largeSize` bytes).
inline void addOddFileRows(qint64 largeSize)
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("a FIFO nobody writes to") << QStringLiteral("fifo");
    QTest::newRow("a symbolic link to /dev/zero") << QStringLiteral("zero");
    QTest::newRow("a directory") << QStringLiteral("directory");
    QTest::newRow(qPrintable(QStringLiteral("a file of %1 bytes").arg(largeSize))) << QStringLiteral("large");
}

inline bool makeOddFile(const QString &path, const QString &kind, qint64 largeSize)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    if (kind == QLatin1String("fifo"))
        return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
    if (kind == QLatin1String("zero"))
        return QFile::link(QStringLiteral("/dev/zero"), path);
    if (kind == QLatin1String("directory"))
        return QDir().mkpath(path);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(largeSize);
}
