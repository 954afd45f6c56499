#include "OTUserInfoStore.h"

#include <QCborMap>
#include <QCborValue>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QSaveFile>
#include <QStandardPaths>

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

} // namespace

QString OTUserInfoStore::storePath()
{
    QMutexLocker lock(&pathMutex());
    if (!customPath().isEmpty())
        return customPath();
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/ostrel-defaults.cbor");
}

void OTUserInfoStore::setStorePath(const QString &path)
{
    QMutexLocker lock(&pathMutex());
    customPath() = path;
}

QVariantMap OTUserInfoStore::ostrelDefaults()
{
    QFile file(storePath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QCborParserError error;
    const QCborValue value = QCborValue::fromCbor(file.readAll(), &error);
    if (error.error != QCborError::NoError || !value.isMap()) {
        qWarning("%s", qPrintable(QStringLiteral("settings file %1 is damaged (%2); starting from empty settings")
                                      .arg(file.fileName(), error.errorString())));
        return {};
    }
    return value.toMap().toVariantMap();
}

bool OTUserInfoStore::synchronizeOstrelDefaults(const QVariantMap &defaults)
{
    const QString path = storePath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    // QSaveFile writes a temporary file next to the target and renames it over the target
    // only when everything was written and flushed.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QByteArray bytes = QCborMap::fromVariantMap(defaults).toCborValue().toCbor();
    if (file.write(bytes) != bytes.size()) {
        file.cancelWriting();
        file.commit();
        return false;
    }
    return file.commit();
}
