// Shared drawing helpers of ostquote-make-assets: colours, fonts and glyph outlines, the
// canvas and painter set-up for one output scale, a soft blur, and the PNG/JPEG writers.
#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>
#include <QSize>
#include <QString>

namespace assets {

QColor mix(const QColor &a, const QColor &b, double t);
QColor withAlpha(QColor c, double a);

struct Fonts
{
    QString sansBold = QStringLiteral("DejaVu Sans");
};

// The family of the font in `file` once added, or `fallback` (with a note) when it cannot be.
QString loadFamily(const QString &file, const QString &fallback);

// The outline of `text` in a big unhinted font, so that scaling it gives the same shape
// at every output scale.
QPainterPath textOutline(const QString &family, const QString &text, double letterSpacingPct = 100);

// `path` scaled uniformly (and moved) so that its bounding box fits `box`, centred on it.
QPainterPath fitInto(const QPainterPath &path, const QRectF &box);

bool savePng(const QImage &image, const QString &file);
bool saveJpeg(const QImage &image, const QString &file, int quality);
// name.ext, name@2x.ext, name@3x.ext
QString scaledName(const QString &base, const QString &ext, int scale);

QImage transparentCanvas(QSize points, int scale);
void setupPainter(QPainter &p, int scale);

// Three box blurs per direction, close to a gaussian with the given standard deviations in
// pixels, over all four channels of a 32-bit image (premultiplied, so edges stay clean).
void blur(QImage &image, double sigmaX, double sigmaY);

} // namespace assets
