#pragma once

#include "Snapshot.h"

#include <QString>

// The API as static files, for any static web server or CDN:
//   DIR/api/v2/quote/quotes/<today|batch|yyyy-MM-dd>/index.json
//   DIR/share/quotes/<yyyy-MM-dd>/index.html
//   DIR/media/quotes/<yyyy-MM-dd>.jpg and <yyyy-MM-dd>-share.jpg
// with the same bytes the server answers. Run again, it moves "today" on; documents whose
// bytes did not change are left alone, and pictures that exist are never drawn again.
namespace StaticExport {

struct Summary
{
    int days = 0;
    int documentsWritten = 0;
    int documentsUnchanged = 0;
    int picturesDrawn = 0;
    int picturesKept = 0;
};

// False, with the reason in *error, when a file cannot be written.
bool write(const Snapshot &snapshot, const QString &directory, bool apiOnly, Summary *summary, QString *error);

} // namespace StaticExport
