#pragma once

#include "OstQuoteGlobal.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

// The module's own links, and the day each one names. Two kinds lead to a day:
//
// - the app link "ostquote://day/YYYY-MM-DD", for notifications and for the host's own
//   features ("this day last year");
// - the share page link the quote server hands out with every quote,
//   "<server>/share/quotes/YYYY-MM-DD/", with or without "?via=<target>". It counts only when
//   it points at the quote server (the server's scheme, http or https, host, port and path);
//   the same path on any other host is somebody else's page.
//
// Anything else is not a day link: dayOfLink() gives a null string. The day must be a real
// one; whether the quotes reach that far back (or forward) is the viewer's to decide.
//
// In QML the type is the singleton OstQuoteLink: `OstQuoteLink.dayOf(url)`.
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
