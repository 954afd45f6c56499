#pragma once

#include <QString>

// Makes the demo the desktop's handler of the app's links (ostquote://day/YYYY-MM-DD), for
// the user who runs it: a desktop entry "ostquote-demo.desktop" in the user's applications
// folder ($XDG_DATA_HOME/applications) that starts `executable` with the link and declares
// the scheme (MimeType=x-scheme-handler/ostquote), and the entry made the scheme's default in
// the user's mimeapps.list ($XDG_CONFIG_HOME), other lines kept. `xdg-open` then hands the
// app's links to the demo. Both files are replaced whole; on failure `error` says which one.
namespace DemoLinkHandler {

inline constexpr const char *EntryName = "ostquote-demo.desktop";

// The files written, a line each, or an empty string with `error` set.
QString registerFor(const QString &executable, QString *error);
// The desktop entry's text for `executable`.
QString desktopEntry(const QString &executable);

} // namespace DemoLinkHandler
