#include "StaticExport.h"

#include "PictureService.h"
#include "QuoteCatalog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QtConcurrent/QtConcurrentMap>

#include <atomic>
#include <mutex>

namespace StaticExport {

namespace {

bool startsWith(std::string_view s, std::string_view prefix)
{
    return s.substr(0, prefix.size()) == prefix;
}

// Writes `bytes` to `path` unless it already holds exactly them. True when written.
bool writeIfChanged(const QString &path, std::string_view bytes, bool *written, QString *error)
{
    const QByteArrayView data(bytes.data(), qsizetype(bytes.size()));
    QFile existing(path);
    if (existing.size() == data.size() && existing.open(QIODevice::ReadOnly) && existing.readAll() == data) {
        *written = false;
        return true;
    }
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        *error = QStringLiteral("cannot create the directory of %1").arg(path);
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data.data(), data.size()) != data.size() || !file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    *written = true;
    return true;
}

} // namespace

bool write(const Snapshot &snapshot, const QString &directory, bool apiOnly, Summary *summary, QString *error)
{
    const QDir root(directory);
    if (!root.mkpath(QStringLiteral("."))) {
        *error = QStringLiteral("cannot create the directory %1").arg(directory);
        return false;
    }
    summary->days = int(snapshot.days.size());

    struct PictureJob
    {
        QString file;
        const Resource *resource;
    };
    std::vector<PictureJob> pictures;
    for (const Resource &resource : snapshot.resources) {
        const bool api = startsWith(resource.path, QuoteCatalog::ApiPrefix);
        if (!api && apiOnly)
            continue;
        // Every served path is plain ASCII starting with '/'.
        const QString relative = QString::fromLatin1(resource.path.data() + 1, qsizetype(resource.path.size() - 1));
        if (resource.kind == Resource::Kind::Document) {
            const QString file = root.filePath(relative + (api ? QStringLiteral("index.json") : QStringLiteral("index.html")));
            bool written = false;
            if (!writeIfChanged(file, resource.body, &written, error))
                return false;
            ++(written ? summary->documentsWritten : summary->documentsUnchanged);
        } else {
            const QString file = root.filePath(relative);
            if (QFileInfo::exists(file))
                ++summary->picturesKept;
            else
                pictures.push_back({file, &resource});
        }
    }

    // Pictures never change, so only missing ones are drawn, on every core.
    std::mutex errorMutex;
    QString pictureError;
    std::atomic<int> drawn{0};
    QtConcurrent::blockingMap(pictures, [&](const PictureJob &job) {
        const DayQuote &quote = snapshot.days[std::size_t(job.resource->dayIndex)];
        const EncodedPicturePtr picture = PictureService::encode(job.resource->kind, quote);
        QString jobError;
        bool written = false;
        if (!picture)
            jobError = QStringLiteral("cannot draw %1").arg(job.file);
        else if (writeIfChanged(job.file, picture->body, &written, &jobError))
            ++drawn;
        if (!jobError.isEmpty()) {
            std::lock_guard lock(errorMutex);
            pictureError = jobError;
        }
    });
    summary->picturesDrawn = drawn;
    if (!pictureError.isEmpty()) {
        *error = pictureError;
        return false;
    }
    return true;
}

} // namespace StaticExport
