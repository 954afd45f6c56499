#include "OTResourceHelper.h"

#include <QFile>
#include <QHash>
#include <QLocale>
#include <QMutex>
#include <QTranslator>

#include <memory>

/*!
    \class OTResourceHelper
    \inmodule OstFoundation
    \brief The foundation's own images and texts.

    They live in the library's resources (\c{:/OstFoundation/...}), never in the host app's; the
    host's translators are neither used nor touched.
*/

/*!
    \class OTLocalizable
    \inmodule OstFoundation
    \brief The foundation's strings table, for QML.

    In QML it is the singleton \l {OstFoundation::OTLocalizable}{OTLocalizable}.
*/

/*!
    \qmltype OTLocalizable
    \inqmlmodule OstFoundation
    \instantiates OTLocalizable
    \brief The foundation's strings table (a singleton).

    \qml
    Text { text: OTLocalizable.string("share_view_title") }
    \endqml
*/

namespace {

// One translator per table and language, loaded from its resources on first use and kept
// for the life of the process. It is asked directly, never installed in the application.
QTranslator *translatorFor(const QString &bundle, const QString &table, const QLocale &locale)
{
    static QMutex mutex;
    static QHash<QString, std::shared_ptr<QTranslator>> translators;
    QMutexLocker lock(&mutex);
    const QString name = bundle + u'/' + table + u'_' + locale.name();
    auto it = translators.find(name);
    if (it == translators.end()) {
        auto translator = std::make_shared<QTranslator>();
        const QString folder = bundle + QStringLiteral("/i18n");
        if (!translator->load(locale, table, QStringLiteral("_"), folder)
            && !translator->load(table + QStringLiteral("_en"), folder)) {
            translator.reset();
        }
        it = translators.insert(name, translator);
    }
    return it->get();
}

} // namespace

/*!
    Returns the resource folder of the foundation: \c{:/OstFoundation}.
*/
QString OTResourceHelper::resourceBundle()
{
    return QStringLiteral(":/OstFoundation");
}

/*!
    Returns the image \a name (\c share_weibo, ...) as a URL for QML's Image, which picks the
    @2x and @3x files itself. Returns an empty URL for a name the foundation does not have.
*/
QUrl OTResourceHelper::imageURL(const QString &name)
{
    if (name.isEmpty() || name.contains(u'/'))
        return {};
    const QString path = resourceBundle() + QStringLiteral("/images/") + name + QStringLiteral(".png");
    return QFile::exists(path) ? QUrl(QStringLiteral("qrc") + path) : QUrl();
}

/*!
    Returns the text for \a key from the strings table \c OstFoundationLocalizable in the language
    of QLocale() (English where the table has no such language). A key the table lacks comes back
    as itself.
*/
QString OTResourceHelper::LocalizedString(const QString &key)
{
    return localizedStringFromTable(resourceBundle(), QStringLiteral("OstFoundationLocalizable"), key);
}

/*!
    Returns the text for \a key from the id-based strings table \a table compiled into the
    resource folder \a bundle + \c{/i18n} (\c{<table>_<language>.qm}), in the language of
    QLocale(), English where the table has no such language; \a key itself when the table lacks
    it. Libraries keep their texts this way without touching the app's translators.
*/
QString OTResourceHelper::localizedStringFromTable(const QString &bundle, const QString &table, const QString &key)
{
    if (QTranslator *translator = translatorFor(bundle, table, QLocale())) {
        const QString text = translator->translate(nullptr, key.toUtf8().constData());
        if (!text.isEmpty())
            return text;
    }
    return key;
}

/*!
    \fn QString OTLocalizable::string(const QString &key) const

    Returns OTResourceHelper::LocalizedString() of \a key.
*/

/*!
    \qmlmethod string OTLocalizable::string(string key)

    Returns the text for \a key in the user's language (English where the table has no such
    language); \a key itself when the table lacks it.
*/
