#include "OstQuoteResourceHelper.h"

#include <OTResourceHelper.h>

#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QMutex>
#include <QTranslator>

#include <memory>

namespace {

const QStringList kImageSuffixes = {QStringLiteral(".png"), QStringLiteral(".jpg")};

// The base file of image `name` (1x), or an empty string.
QString imageBasePath(const QString &name)
{
    if (name.isEmpty() || name.contains(u'/'))
        return {};
    for (const QString &suffix : kImageSuffixes) {
        const QString path = OstQuoteResourceHelper::resourceBundle() + QStringLiteral("/images/") + name + suffix;
        if (QFile::exists(path))
            return path;
    }
    return {};
}

} // namespace

QString OstQuoteResourceHelper::resourceBundle()
{
    return QStringLiteral(":/OstQuote");
}

QImage OstQuoteResourceHelper::imageName(const QString &name)
{
    const QString base = imageBasePath(name);
    if (base.isEmpty())
        return {};
    qreal screenRatio = 3.0;
    if (auto *app = qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        screenRatio = app->devicePixelRatio();
    const int dot = base.lastIndexOf(u'.');
    for (int ratio : {1, 2, 3}) {
        const QString path = ratio == 1 ? base : base.left(dot) + QStringLiteral("@%1x").arg(ratio) + base.mid(dot);
        if ((ratio < screenRatio && ratio < 3) || !QFile::exists(path))
            continue;
        QImage image(path);
        image.setDevicePixelRatio(ratio);
        return image;
    }
    QImage image(base);
    return image;
}

QUrl OstQuoteResourceHelper::imageURL(const QString &name)
{
    const QString base = imageBasePath(name);
    return base.isEmpty() ? QUrl() : QUrl(QStringLiteral("qrc") + base);
}

QString OstQuoteResourceHelper::LocalizedString(const QString &key, const QString &comment)
{
    Q_UNUSED(comment);
    return OTResourceHelper::localizedStringFromTable(resourceBundle(), QStringLiteral("OstQuoteLocalizable"), key);
}
