#pragma once

#include "OstQuoteGlobal.h"

#include <QImage>
#include <QLocale>
#include <QString>
#include <QUrl>

// The module's own images and texts. They live in the module library's resources
// (":/OstQuote/..."), never in the host app's, and every lookup of the module goes through
// here.
class OSTQUOTE_EXPORT OstQuoteResourceHelper
{
public:
    // The resource folder of the module: ":/OstQuote".
    static QString resourceBundle();

    // The image `name` ("ostrel_logo_quote", ...) at the best scale for the screen (up to
    // 3x), with its device pixel ratio set. A null image for an empty name or one the module
    // does not have.
    static QImage imageName(const QString &name);
    // The same image as a URL for QML's Image, which picks the @2x/@3x file itself. An empty
    // URL where imageName() gives a null image.
    static QUrl imageURL(const QString &name);

    // The text for `key` from the module's strings table "OstQuoteLocalizable" in the
    // language of QLocale() (English where the table has no such language). The comment is
    // for translators only. A key the table lacks comes back as itself.
    static QString LocalizedString(const QString &key, const QString &comment = QString());
};
