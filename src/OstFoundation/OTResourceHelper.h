#pragma once

#include "OstFoundationGlobal.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

// The foundation's own images and texts. They live in the library's resources
// (":/OstFoundation/..."), never in the host app's; the host's translators are neither used
// nor touched.
class OSTFOUNDATION_EXPORT OTResourceHelper
{
public:
    // The resource folder of the foundation: ":/OstFoundation".
    static QString resourceBundle();

    // The image `name` ("share_weibo", ...) as a URL for QML's Image, which picks the
    // @2x/@3x file itself. An empty URL for a name the foundation does not have.
    static QUrl imageURL(const QString &name);

    // The text for `key` from the strings table "OstFoundationLocalizable" in the language
    // of QLocale() (English where the table has no such language). A key the table lacks
    // comes back as itself.
    static QString LocalizedString(const QString &key);

    // The text for `key` from the id-based strings table `table` compiled into the resource
    // folder `bundle` + "/i18n" (`table`_<language>.qm), in the language of QLocale(),
    // English where the table has no such language; `key` itself when the table lacks it.
    // Libraries keep their texts this way without touching the app's translators.
    static QString localizedStringFromTable(const QString &bundle, const QString &table, const QString &key);
};

// The strings table from QML: OTLocalizable.string("share_view_title").
class OSTFOUNDATION_EXPORT OTLocalizable : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;
    Q_INVOKABLE QString string(const QString &key) const { return OTResourceHelper::LocalizedString(key); }
};
