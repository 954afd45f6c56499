#pragma once

#include "OstQuoteGlobal.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

// The module's own links, and the day each one names.
// The reference (scripts/docs) documents it in full.
class OSTQUOTE_EXPORT OstQuoteLink : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    // The scheme of the app link, registered for the app by its installer (on Linux, a
    // desktop entry with MimeType=x-scheme-handler/ostquote).
    static constexpr const char *Scheme = "ostquote";

    explicit OstQuoteLink(QObject *parent = nullptr);

    // The day key ("yyyy-MM-dd") that `link` names, or a null string when it is not a day
    // link. Share page links are checked against `server`, by default the shared API client's
    // base URL.
    static QString dayOfLink(const QUrl &link, const QUrl &server);
    static QString dayOfLink(const QUrl &link);
    // The same for text as users paste it (surrounding spaces are ignored).
    static QString dayOfLink(const QString &link);
    // The app link of a day key; an empty URL when `dayKey` is not a real day.
    static QUrl appLink(const QString &dayKey);
    // True when `text` is a day key of a real day: "2019-02-14", not "2019-02-30" or "2019-2-14".
    static bool isDayKey(const QString &text);

    // For QML.
    Q_INVOKABLE QString dayOf(const QString &link) const { return dayOfLink(link); }
    Q_INVOKABLE QUrl appLinkOf(const QString &dayKey) const { return appLink(dayKey); }
};
