#include "OstQuoteResourceHelper.h"

#include <OTResourceHelper.h>

#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QMutex>
#include <QTranslator>

#include <memory>

/*!
    \class OstQuoteResourceHelper
    \inmodule OstQuote
    \brief The module's own images and texts.

    They live in the module library's resources (\c{:/OstQuote/...}), never in the host app's,
    and every lookup of the module goes through here. The strings table \c OstQuoteLocalizable
    has English and Simplified Chinese.
*/

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

/*!
    Returns the resource folder of the module: \c{:/OstQuote}.
*/
QString OstQuoteResourceHelper::resourceBundle()
{
    return QStringLiteral(":/OstQuote");
}

/*!
    Returns the image \a name (\c ostrel_logo_quote, ...) at the best scale for the screen (up to
    3x), with its device pixel ratio set. Returns a null image for an empty name or one the
    module does not have.
*/
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

/*!
    Returns the image \a name as a URL for QML's Image, which picks the @2x and @3x files itself;
    an empty URL where imageName() gives a null image.
*/
QUrl OstQuoteResourceHelper::imageURL(const QString &name)
{
    const QString base = imageBasePath(name);
    return base.isEmpty() ? QUrl() : QUrl(QStringLiteral("qrc") + base);
}

/*!
    Returns the text for \a key from the module's strings table in the language of QLocale()
    (English where the table has no such language). The \a comment is for translators only. A
    key the table lacks comes back as itself.
*/
QString OstQuoteResourceHelper::LocalizedString(const QString &key, const QString &comment)
{
    Q_UNUSED(comment);
    return OTResourceHelper::localizedStringFromTable(resourceBundle(), QStringLiteral("OstQuoteLocalizable"), key);
}
