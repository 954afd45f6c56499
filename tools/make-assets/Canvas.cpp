#include "Canvas.h"

#include <QFont>
#include <QFontDatabase>
#include <QImageWriter>
#include <QStringList>
#include <QTextStream>
#include <QTransform>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace assets {

QColor mix(const QColor &a, const QColor &b, double t)
{
    t = std::clamp(t, 0.0, 1.0);
    return QColor::fromRgbF(float(a.redF() + (b.redF() - a.redF()) * t),
                            float(a.greenF() + (b.greenF() - a.greenF()) * t),
                            float(a.blueF() + (b.blueF() - a.blueF()) * t),
                            float(a.alphaF() + (b.alphaF() - a.alphaF()) * t));
}

QColor withAlpha(QColor c, double a)
{
    c.setAlphaF(float(a));
    return c;
}

// ---------------------------------------------------------------------------------------
// Fonts and glyph outlines

QString loadFamily(const QString &file, const QString &fallback)
{
    const int id = QFontDatabase::addApplicationFont(file);
    if (id >= 0) {
        const QStringList families = QFontDatabase::applicationFontFamilies(id);
        if (!families.isEmpty())
            return families.first();
    }
    QTextStream(stderr) << "note: could not load " << file << ", using \"" << fallback
                        << "\" from the system\n";
    return fallback;
}

// The outline of `text` in a big unhinted font, so that scaling it gives the same shape
// at every output scale.
QPainterPath textOutline(const QString &family, const QString &text, double letterSpacingPct)
{
    QFont font(family);
    font.setBold(true);
    font.setPixelSize(200);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setKerning(true);
    font.setLetterSpacing(QFont::PercentageSpacing, letterSpacingPct);
    QPainterPath path;
    path.addText(0, 0, font, text);
    return path;
}

// `path` scaled uniformly (and moved) so that its bounding box fits `box`, centred on it.
QPainterPath fitInto(const QPainterPath &path, const QRectF &box)
{
    const QRectF b = path.boundingRect();
    const double s = std::min(box.width() / b.width(), box.height() / b.height());
    QTransform t;
    t.translate(box.center().x(), box.center().y());
    t.scale(s, s);
    t.translate(-b.center().x(), -b.center().y());
    return t.map(path);
}

// ---------------------------------------------------------------------------------------
// Output

bool savePng(const QImage &image, const QString &file)
{
    QImageWriter writer(file, "png");
    writer.setQuality(0); // for PNG: 0 is the smallest file (zlib level 9), still lossless
    if (!writer.write(image.convertToFormat(QImage::Format_ARGB32))) {
        QTextStream(stderr) << "error: " << file << ": " << writer.errorString() << '\n';
        return false;
    }
    return true;
}

bool saveJpeg(const QImage &image, const QString &file, int quality)
{
    QImageWriter writer(file, "jpeg");
    writer.setQuality(quality);
    writer.setOptimizedWrite(true);
    writer.setProgressiveScanWrite(true);
    if (!writer.write(image.convertToFormat(QImage::Format_RGB32))) {
        QTextStream(stderr) << "error: " << file << ": " << writer.errorString() << '\n';
        return false;
    }
    return true;
}

QString scaledName(const QString &base, const QString &ext, int scale)
{
    return scale == 1 ? base + '.' + ext : QStringLiteral("%1@%2x.%3").arg(base).arg(scale).arg(ext);
}

QImage transparentCanvas(QSize points, int scale)
{
    QImage image(points * scale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void setupPainter(QPainter &p, int scale)
{
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setRenderHint(QPainter::SmoothPixmapTransform, true);
    p.setRenderHint(QPainter::TextAntialiasing, true);
    p.scale(scale, scale);
}

// Three box blurs per direction, close to a gaussian with the given standard deviations in
// pixels, over all four channels of a 32-bit image (premultiplied, so edges stay clean).
void blur(QImage &image, double sigmaX, double sigmaY)
{
    const int w = image.width(), h = image.height();
    std::vector<std::array<double, 4>> a(size_t(w) * h), tmp(size_t(w) * h);
    for (int y = 0; y < h; ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < w; ++x) {
            const QRgb c = line[x];
            a[size_t(y) * w + x] = {double(qRed(c)), double(qGreen(c)), double(qBlue(c)), double(qAlpha(c))};
        }
    }
    // Box radius for three passes (W. Jarosz, "Fast image convolutions").
    auto radius = [](double sigma) {
        return sigma <= 0.0 ? 0 : std::max(1, int(std::lround((std::sqrt(4.0 * sigma * sigma + 1) - 1) / 2)));
    };
    auto pass = [&](const std::vector<std::array<double, 4>> &src, std::vector<std::array<double, 4>> &dst,
                    bool horizontal, int r) {
        const int n = horizontal ? w : h, lines = horizontal ? h : w;
        auto index = [&](int l, int i) { return horizontal ? size_t(l) * w + i : size_t(i) * w + l; };
        for (int l = 0; l < lines; ++l) {
            // Edges repeat the border pixel, so nothing darkens or fades at the sides.
            auto at = [&](int i) -> const std::array<double, 4> & { return src[index(l, std::clamp(i, 0, n - 1))]; };
            std::array<double, 4> acc{};
            for (int i = -r; i <= r; ++i)
                for (int k = 0; k < 4; ++k)
                    acc[k] += at(i)[k];
            for (int i = 0; i < n; ++i) {
                auto &o = dst[index(l, i)];
                for (int k = 0; k < 4; ++k) {
                    o[k] = acc[k] / (2 * r + 1);
                    acc[k] += at(i + r + 1)[k] - at(i - r)[k];
                }
            }
        }
    };
    const int rx = radius(sigmaX), ry = radius(sigmaY);
    for (int k = 0; k < 3; ++k) {
        if (rx > 0) {
            pass(a, tmp, true, rx);
            std::swap(a, tmp);
        }
        if (ry > 0) {
            pass(a, tmp, false, ry);
            std::swap(a, tmp);
        }
    }
    for (int y = 0; y < h; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < w; ++x) {
            const auto &c = a[size_t(y) * w + x];
            auto v = [&](int k) { return std::clamp(int(std::lround(c[k])), 0, 255); };
            line[x] = qRgba(v(0), v(1), v(2), v(3));
        }
    }
}

} // namespace assets
