#include "OTResourceHelper.h"

#include <QFile>
#include <QHash>
#include <QLocale>
#include <QMutex>
#include <QTranslator>

#include <memory>

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

QString OTResourceHelper::resourceBundle()
{
    return QStringLiteral(":/OstFoundation");
}

QUrl OTResourceHelper::imageURL(const QString &name)
{
    if (name.isEmpty() || name.contains(u'/'))
        return {};
    const QString path = resourceBundle() + QStringLiteral("/images/") + name + QStringLiteral(".png");
    return QFile::exists(path) ? QUrl(QStringLiteral("qrc") + path) : QUrl();
}

QString OTResourceHelper::LocalizedString(const QString &key)
{
    return localizedStringFromTable(resourceBundle(), QStringLiteral("OstFoundationLocalizable"), key);
}

QString OTResourceHelper::localizedStringFromTable(const QString &bundle, const QString &table, const QString &key)
{
    if (QTranslator *translator = translatorFor(bundle, table, QLocale())) {
        const QString text = translator->translate(nullptr, key.toUtf8().constData());
        if (!text.isEmpty())
            return text;
    }
    return key;
}
