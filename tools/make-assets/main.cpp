// ostquote-make-assets: draws the images of OstQuote and OstFoundation with QPainter.
//
//   ostquote-make-assets <output-dir>
//
// Writes, each at 1x, 2x and 3x with Qt's high-DPI names (name.png, name@2x.png, name@3x.png):
//   launch_ostrel_logo.png    112x32 pt, green mark + dark-grey wordmark, for the launch
//                             screen's light footer
//   ostrel_logo_quote.png     96x28 pt, white mark + wordmark with a soft shadow, for the
//                             quote viewer's corner over a photo
//   default_launch_image.jpg  375x560 pt dawn landscape behind the launch screen
//
//   ostquote-make-assets --foundation <output-dir>
//
// writes OstFoundation's images instead, at the same three scales:
//   ostrel_navigation_back[_highlight].png      22x22 pt white back chevron with a soft
//                                               shadow (pressed: half as bright), for
//                                               buttons over pictures
//   ostrel_navigation_bar_back[_highlight].png  22x22 pt dark chevron for the white bar
//   ostrel_share_bar[_highlight].png            22x22 pt white "share" box and arrow
//   share_<target>[_highlight].png              60x60 pt round share panel icons: weibo,
//                                               qq, qzone, mail, douban, twitter,
//                                               save_image, copy_image, copy_link, more,
//                                               browser, email (pressed: a darker disc)
//
// Every scale is drawn from the same vector description with the painter scaled, so the
// 3x files are as sharp as the 1x ones. There is no unseeded randomness: running the tool
// twice gives the same bytes.

#include <QColor>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>
#include <QImageWriter>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QRadialGradient>
#include <QStringList>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

namespace {

// ---------------------------------------------------------------------------------------
// Deterministic noise and random numbers

std::uint32_t hash32(std::uint32_t x)
{
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}

double hashUnit(std::int64_t i, std::uint32_t seed)
{
    const auto lo = static_cast<std::uint32_t>(i);
    const auto hi = static_cast<std::uint32_t>(static_cast<std::uint64_t>(i) >> 32);
    return hash32(lo * 0x9E3779B1U ^ hash32(hi + seed * 0x85EBCA6BU)) / 4294967296.0;
}

double valueNoise(double x, std::uint32_t seed)
{
    const double fl = std::floor(x);
    const double f = x - fl;
    const double u = f * f * f * (f * (f * 6 - 15) + 10);
    const auto i = static_cast<std::int64_t>(fl);
    const double a = hashUnit(i, seed);
    const double b = hashUnit(i + 1, seed);
    return a + (b - a) * u;
}

// Fractal noise in [0, 1].
double fbm(double x, std::uint32_t seed, int octaves, double gain = 0.5)
{
    double sum = 0, amp = 1, norm = 0, freq = 1;
    for (int o = 0; o < octaves; ++o) {
        sum += amp * valueNoise(x * freq, seed + 977U * o);
        norm += amp;
        amp *= gain;
        freq *= 2.07;
    }
    return sum / norm;
}

// Ridged fractal noise in [0, 1]: sharp crests, like mountain ridges.
double ridged(double x, std::uint32_t seed, int octaves)
{
    double sum = 0, amp = 1, norm = 0, freq = 1;
    for (int o = 0; o < octaves; ++o) {
        const double n = 1.0 - std::abs(2.0 * valueNoise(x * freq, seed + 613U * o) - 1.0);
        sum += amp * n * n;
        norm += amp;
        amp *= 0.48;
        freq *= 2.11;
    }
    return sum / norm;
}

// splitmix64 with a fixed seed: for placing trees, clouds, stars.
class Rng
{
public:
    explicit Rng(std::uint64_t seed) : m_state(seed) {}
    std::uint64_t next()
    {
        std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    double unit() { return (next() >> 11) * (1.0 / 9007199254740992.0); }
    double range(double lo, double hi) { return lo + (hi - lo) * unit(); }

private:
    std::uint64_t m_state;
};

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

struct Fonts
{
    QString sansBold = QStringLiteral("DejaVu Sans");
};

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
QPainterPath textOutline(const QString &family, const QString &text, double letterSpacingPct = 100)
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

// ---------------------------------------------------------------------------------------
// The mark: a rounded square holding a bold opening quotation mark.

// One "6"-shaped half of an opening quotation mark in a 1 x 1.3 box: a round ball at the
// foot and a tapering tail sweeping up to the right.
QPainterPath quoteHalf()
{
    QPainterPath tail;
    tail.moveTo(0.04, 0.86);
    tail.cubicTo(0.02, 0.42, 0.30, 0.10, 0.86, 0.0);
    tail.cubicTo(0.92, -0.01, 0.97, 0.03, 0.96, 0.09);
    tail.cubicTo(0.95, 0.13, 0.92, 0.15, 0.88, 0.17);
    tail.cubicTo(0.62, 0.27, 0.50, 0.38, 0.50, 0.52);
    tail.lineTo(0.50, 0.86);
    tail.closeSubpath();
    QPainterPath ball;
    ball.addEllipse(QPointF(0.52, 0.84), 0.46, 0.46);
    return tail.united(ball).simplified();
}

QPainterPath quoteGlyph(const QRectF &square)
{
    // Two halves side by side, sitting a touch below the middle so the pair reads
    // optically centred in the square.
    QPainterPath pair = quoteHalf();
    pair.addPath(quoteHalf().translated(1.32, 0));
    pair = pair.simplified();
    const double s = square.width();
    const QRectF box(square.left() + s * 0.17, square.top() + s * 0.26, s * 0.66, s * 0.5);
    return fitInto(pair, box);
}

QPainterPath roundedSquare(const QRectF &square)
{
    QPainterPath path;
    path.addRoundedRect(square, square.width() * 0.25, square.width() * 0.25);
    return path;
}

const QColor kOstrelGreen(0x3C, 0xB3, 0x71);
const QColor kWordmarkGrey(0x33, 0x33, 0x33);

// ---------------------------------------------------------------------------------------
// launch_ostrel_logo: green mark + dark-grey wordmark on a transparent background.

const QSize kLaunchLogoSize(112, 32);

void drawLaunchLogo(QPainter &p, const Fonts &fonts)
{
    const QRectF square(1.5, 2.5, 27, 27);

    // Mark: brand green, lit slightly from the top, with a hairline darker rim.
    QLinearGradient fill(square.topLeft(), square.bottomLeft());
    fill.setColorAt(0.0, kOstrelGreen.lighter(112));
    fill.setColorAt(1.0, kOstrelGreen.darker(108));
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawPath(roundedSquare(square));
    p.setBrush(Qt::white);
    p.drawPath(quoteGlyph(square));

    // Wordmark: cap height about half the logo's height, aligned on the square's middle.
    const QPainterPath word = textOutline(fonts.sansBold, QStringLiteral("Ostrel"), 97);
    const QRectF wb = word.boundingRect();
    const double left = square.right() + 6.0, right = kLaunchLogoSize.width() - 1.0;
    const double scale = std::min((right - left) / wb.width(), 19.5 / wb.height());
    QTransform t;
    // Centre on the square's middle using the cap height ("O" spans 0..-capHeight).
    const double capHeight = -textOutline(fonts.sansBold, QStringLiteral("O")).boundingRect().top();
    t.translate(left, square.center().y() + capHeight * scale / 2.0);
    t.scale(scale, scale);
    t.translate(-wb.left(), 0);
    p.setBrush(kWordmarkGrey);
    p.drawPath(t.map(word));
}

// ---------------------------------------------------------------------------------------
// ostrel_logo_quote: white mark + white wordmark with a soft shadow, for photos.

const QSize kQuoteLogoSize(96, 28);

QPainterPath quoteLogoShape(const Fonts &fonts)
{
    const QRectF square(3.0, 3.5, 21, 21);
    QPainterPath mark = roundedSquare(square).subtracted(quoteGlyph(square));

    const QPainterPath word = textOutline(fonts.sansBold, QStringLiteral("Ostrel"), 97);
    const QRectF wb = word.boundingRect();
    const double left = square.right() + 5.0, right = kQuoteLogoSize.width() - 3.0;
    const double scale = std::min((right - left) / wb.width(), 15.5 / wb.height());
    const double capHeight = -textOutline(fonts.sansBold, QStringLiteral("O")).boundingRect().top();
    QTransform t;
    t.translate(left, square.center().y() + capHeight * scale / 2.0);
    t.scale(scale, scale);
    t.translate(-wb.left(), 0);

    QPainterPath shape = mark;
    shape.addPath(t.map(word));
    return shape;
}

QImage renderQuoteLogo(const Fonts &fonts, int scale)
{
    const QPainterPath shape = quoteLogoShape(fonts);

    // Shadow: the shape in black, blurred at this scale's pixel size, a little lower.
    QImage shadow = transparentCanvas(kQuoteLogoSize, scale);
    {
        QPainter p(&shadow);
        setupPainter(p, scale);
        p.translate(0, 0.6);
        p.setPen(QPen(Qt::black, 0.6));
        p.setBrush(Qt::black);
        p.drawPath(shape);
    }
    blur(shadow, 1.1 * scale, 1.1 * scale);

    QImage image = transparentCanvas(kQuoteLogoSize, scale);
    QPainter p(&image);
    p.setOpacity(0.55);
    p.drawImage(0, 0, shadow);
    p.setOpacity(1.0);
    setupPainter(p, scale);
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawPath(shape);
    return image;
}

// ---------------------------------------------------------------------------------------
// default_launch_image: a dawn landscape over a still lake.

const QSize kLaunchImageSize(375, 560);
constexpr double kWaterY = 392.0;    // the far shore line, where reflections start
constexpr double kPointStep = 0.5;   // sampling step of the ridge lines, in points

// Sky colours from the top down to the horizon.
const QColor kSkyTop(0x1E, 0x28, 0x52);
const QColor kSkyHigh(0x46, 0x4A, 0x82);
const QColor kSkyMid(0x9A, 0x6E, 0x9C);
const QColor kSkyLow(0xE8, 0x98, 0x86);
const QColor kSkyGlow(0xFB, 0xC9, 0x94);
const QColor kHorizon(0xFE, 0xE4, 0xB4);
const QPointF kSun(236.0, 312.0);

void drawSky(QPainter &p)
{
    const double w = kLaunchImageSize.width();
    QLinearGradient sky(0, 0, 0, kWaterY);
    sky.setColorAt(0.00, kSkyTop);
    sky.setColorAt(0.26, kSkyHigh);
    sky.setColorAt(0.55, kSkyMid);
    sky.setColorAt(0.78, kSkyLow);
    sky.setColorAt(0.92, kSkyGlow);
    sky.setColorAt(1.00, kHorizon);
    p.fillRect(QRectF(0, 0, w, kWaterY + 1), sky);

    // A wide warm glow around the rising sun.
    QRadialGradient glow(kSun, 260);
    glow.setColorAt(0.0, QColor(255, 226, 170, 170));
    glow.setColorAt(0.25, QColor(255, 196, 150, 90));
    glow.setColorAt(0.6, QColor(240, 150, 150, 25));
    glow.setColorAt(1.0, QColor(240, 150, 150, 0));
    p.fillRect(QRectF(0, 0, w, kWaterY + 1), glow);

    // Faint stars lingering at the top.
    Rng rng(20240611);
    p.setPen(Qt::NoPen);
    for (int i = 0; i < 46; ++i) {
        const double x = rng.range(4, w - 4);
        const double y = std::pow(rng.unit(), 1.6) * 150.0 + 4;
        const double r = rng.range(0.35, 0.85);
        const double a = (1.0 - y / 160.0) * rng.range(0.25, 0.75);
        p.setBrush(QColor::fromRgbF(1.0f, 0.97f, 0.92f, float(std::max(0.0, a))));
        p.drawEllipse(QPointF(x, y), r, r);
    }

    // Long thin clouds, lit pink from below by the sun: each is a chain of flattened soft
    // puffs whose thickness tapers towards both ends.
    struct Cloud { double x, y, len, thick, alpha; };
    const std::array<Cloud, 8> clouds = {{
        {60, 132, 150, 3.6, 0.30},
        {268, 166, 210, 5.0, 0.36},
        {118, 206, 170, 4.0, 0.42},
        {330, 226, 120, 3.2, 0.40},
        {36, 252, 130, 3.0, 0.46},
        {212, 262, 190, 4.4, 0.50},
        {318, 288, 110, 2.6, 0.50},
        {118, 298, 120, 2.4, 0.45},
    }};
    for (const Cloud &c : clouds) {
        const double t = std::clamp((c.y - 120.0) / 200.0, 0.0, 1.0);
        const QColor lit = mix(QColor(0xF0, 0xA4, 0xB6), QColor(0xFF, 0xD4, 0xAE), t);
        Rng cr(std::uint64_t(c.x * 1000 + c.y));
        const int puffs = 9;
        for (int k = 0; k < puffs; ++k) {
            const double u = (k + 0.5) / puffs * 2.0 - 1.0;          // -1 .. 1 along the cloud
            const double taper = std::sqrt(std::max(0.0, 1.0 - u * u));
            const double cx = c.x + u * c.len * 0.5 + cr.range(-6, 6);
            const double cy = c.y + cr.range(-0.5, 0.5) * c.thick + u * u * 2.0;
            const double len = c.len * cr.range(0.16, 0.3);
            const double th = std::max(0.8, c.thick * taper * cr.range(0.7, 1.15));
            p.save();
            p.translate(cx, cy);
            p.scale(len / th, 1.0);
            QRadialGradient g(QPointF(0, 0), th);
            g.setColorAt(0.0, withAlpha(lit, c.alpha * (0.6 + 0.4 * taper)));
            g.setColorAt(0.5, withAlpha(lit, c.alpha * 0.4 * (0.6 + 0.4 * taper)));
            g.setColorAt(1.0, withAlpha(lit, 0.0));
            p.setBrush(g);
            p.drawEllipse(QPointF(0, 0), th, th);
            p.restore();
        }
    }

    // The sun itself: a soft, pale disc just clearing the far ridges.
    QRadialGradient halo(kSun, 46);
    halo.setColorAt(0.0, QColor(255, 248, 225, 230));
    halo.setColorAt(0.38, QColor(255, 236, 190, 120));
    halo.setColorAt(1.0, QColor(255, 220, 170, 0));
    p.setBrush(halo);
    p.drawEllipse(kSun, 46, 46);
    QRadialGradient disc(kSun, 17);
    disc.setColorAt(0.0, QColor(255, 253, 244));
    disc.setColorAt(0.85, QColor(255, 246, 220));
    disc.setColorAt(1.0, QColor(255, 240, 205, 0));
    p.setBrush(disc);
    p.drawEllipse(kSun, 17, 17);
}

// A mountain range: its crest line in points, filled down to `bottom`.
struct Range
{
    double base;       // where the crest sits at its lowest
    double height;     // how far peaks rise above the base
    double wavelength; // points per main feature
    double sharpness;  // 0: rounded hills .. 1: sharp ridges
    std::uint32_t seed;
    QColor top, bottom;
    double phase;
    double valley;     // how much the range dips under the sun (0..1)
};

double crest(const Range &r, double x)
{
    const double u = x / r.wavelength + r.phase;
    const double ridge = ridged(u, r.seed, 6);
    const double soft = fbm(u * 0.6, r.seed + 17, 4, 0.45);
    const double shape = r.sharpness * ridge + (1.0 - r.sharpness) * soft;
    // Broad swell so the range has a few dominant peaks rather than even teeth.
    const double swell = 0.55 + 0.45 * fbm(u * 0.35, r.seed + 91, 2);
    // A gap around the sun so it rises between the peaks.
    const double gap = 1.0 - r.valley * std::exp(-std::pow((x - kSun.x()) / 58.0, 2.0));
    return r.base - r.height * shape * swell * gap;
}

QPainterPath rangePath(const Range &r, double bottom)
{
    const double w = kLaunchImageSize.width();
    QPainterPath path;
    path.moveTo(-2, bottom);
    for (double x = -2; x <= w + 2; x += kPointStep)
        path.lineTo(x, crest(r, x));
    path.lineTo(w + 2, bottom);
    path.closeSubpath();
    return path;
}

const std::array<Range, 5> kRanges = {{
    {336, 120, 130, 0.75, 11, QColor(0xC9, 0x90, 0xA8), QColor(0xE6, 0xB0, 0xA8), 0.3, 0.85},
    {354, 105, 105, 0.8, 23, QColor(0xA0, 0x70, 0x9A), QColor(0xC8, 0x92, 0xA2), 2.1, 0.6},
    {372, 80, 90, 0.7, 37, QColor(0x72, 0x57, 0x88), QColor(0x98, 0x74, 0x94), 5.7, 0.35},
    {386, 52, 80, 0.55, 41, QColor(0x4A, 0x40, 0x6E), QColor(0x6A, 0x56, 0x80), 9.2, 0.1},
    {395, 30, 70, 0.3, 53, QColor(0x2E, 0x2C, 0x52), QColor(0x3C, 0x36, 0x5E), 3.3, 0.0},
}};

void drawMountains(QPainter &p)
{
    const double w = kLaunchImageSize.width();
    for (size_t i = 0; i < kRanges.size(); ++i) {
        const Range &r = kRanges[i];
        const QPainterPath path = rangePath(r, kWaterY + 2);
        QLinearGradient g(0, r.base - r.height, 0, kWaterY);
        g.setColorAt(0.0, r.top);
        g.setColorAt(1.0, r.bottom);
        p.setPen(Qt::NoPen);
        p.setBrush(g);
        p.drawPath(path);

        // Warm light grazing the crests facing the sun on the far ranges.
        if (i < 3) {
            QPainterPath line;
            for (double x = -2; x <= w + 2; x += kPointStep) {
                const QPointF pt(x, crest(r, x) + 0.35);
                if (x == -2)
                    line.moveTo(pt);
                else
                    line.lineTo(pt);
            }
            QLinearGradient rim(0, 0, w, 0);
            const double a = 0.42 - 0.13 * i;
            rim.setColorAt(0.0, QColor(255, 214, 190, int(255 * a * 0.3)));
            rim.setColorAt(kSun.x() / w, QColor(255, 226, 190, int(255 * a)));
            rim.setColorAt(1.0, QColor(255, 214, 190, int(255 * a * 0.4)));
            p.setBrush(Qt::NoBrush);
            p.setPen(QPen(QBrush(rim), 0.8));
            p.drawPath(line);
            p.setPen(Qt::NoPen);
        }

        // Morning mist settling in the valleys at the foot of this range.
        const double mistTop = r.base - r.height * 0.3;
        QLinearGradient mist(0, mistTop, 0, kWaterY);
        const QColor haze = mix(kHorizon, r.bottom, 0.35 + 0.1 * i);
        mist.setColorAt(0.0, withAlpha(haze, 0.0));
        mist.setColorAt(1.0, withAlpha(haze, 0.55 - 0.07 * i));
        p.setBrush(mist);
        p.drawPath(path);
    }
}

void drawBackdrop(QPainter &p)
{
    drawSky(p);
    drawMountains(p);
}

// A pine silhouette standing on (x, base), `h` points tall.
QPainterPath pine(double x, double base, double h, Rng &rng)
{
    QPainterPath tree;
    const int tiers = 9;
    const double trunk = h * 0.08;
    tree.addRect(QRectF(x - h * 0.018, base - trunk * 1.6, h * 0.036, trunk * 1.6));
    for (int i = 0; i < tiers; ++i) {
        const double t = double(i) / tiers;
        const double y0 = base - trunk - (h - trunk) * t;       // tier's lower edge
        const double y1 = y0 - (h - trunk) * 0.26;              // its tip
        const double half = h * 0.21 * (1.0 - t * 0.88) * rng.range(0.85, 1.1);
        const double lean = rng.range(-0.04, 0.04) * h;
        QPainterPath tier;
        tier.moveTo(x + lean * 0.3, y1);
        tier.quadTo(x + half * 0.45, y0 - (y0 - y1) * 0.35, x + half + lean, y0 + rng.range(0, 0.03) * h);
        tier.quadTo(x, y0 - (y0 - y1) * 0.12, x - half + lean, y0 + rng.range(0, 0.03) * h);
        tier.quadTo(x - half * 0.45, y0 - (y0 - y1) * 0.35, x + lean * 0.3, y1);
        tree = tree.united(tier);
    }
    return tree.simplified();
}

void drawForeground(QPainter &p)
{
    const double w = kLaunchImageSize.width(), h = kLaunchImageSize.height();
    const QColor nearTop(0x1F, 0x1E, 0x3A), nearBottom(0x14, 0x14, 0x28);

    // The near bank: high on the left, dipping to the right, closing the bottom.
    auto bank = [&](double x) {
        const double t = x / w;
        const double shape = 478 + 78 * t * t + 10 * std::sin(t * 5.2 + 0.6);
        return shape - 9.0 * (fbm(x / 38.0, 71, 4) - 0.5);
    };
    QPainterPath ground;
    ground.moveTo(-2, h + 2);
    for (double x = -2; x <= w + 2; x += kPointStep)
        ground.lineTo(x, std::min(bank(x), h - 18.0 + 6.0 * std::sin(x / 40.0)));
    ground.lineTo(w + 2, h + 2);
    ground.closeSubpath();

    // Pines on the left, shortening towards the water; a few smaller ones on the right.
    Rng rng(777);
    std::vector<QPainterPath> trees;
    struct Stand { double from, to; int count; double tall, small; };
    const std::array<Stand, 2> stands = {{{-6, 120, 9, 128, 44}, {286, 380, 5, 60, 30}}};
    for (const Stand &s : stands) {
        for (int i = 0; i < s.count; ++i) {
            const double t = (i + rng.range(-0.3, 0.3)) / (s.count - 1);
            const double x = s.from + (s.to - s.from) * std::clamp(t, 0.0, 1.0);
            const double falloff = s.from < w / 2 ? 1.0 - t : t;
            const double ht = s.small + (s.tall - s.small) * falloff * rng.range(0.75, 1.05);
            trees.push_back(pine(x, bank(x) + 4, ht, rng));
        }
    }

    QLinearGradient g(0, 380, 0, h);
    g.setColorAt(0.0, nearTop);
    g.setColorAt(1.0, nearBottom);
    p.setPen(Qt::NoPen);
    p.setBrush(g);
    for (const QPainterPath &tree : trees)
        p.drawPath(tree);
    p.drawPath(ground);
}

// The lake: the backdrop mirrored under the far shore, with gentle horizontal ripples, at
// this scale's own pixel resolution.
void drawLake(QImage &image, const QImage &backdrop, int scale)
{
    const int w = image.width();
    const int water = int(std::lround(kWaterY * scale));
    const int h = image.height();
    for (int y = water; y < h; ++y) {
        const double dy = (y - water) / double(scale);   // points below the shore line
        // Ripples grow towards the viewer; rows are sampled with a slight wobble.
        const double amp = 0.25 + dy * 0.022;
        const double wobble = std::sin(dy * 0.9 + 0.7 * std::sin(dy * 0.23)) * amp * 0.6;
        double srcY = (kWaterY - dy * 0.92 + wobble) * scale;
        srcY = std::clamp(srcY, 0.0, double(backdrop.height() - 1));
        const int sy = int(srcY);
        const auto *src = reinterpret_cast<const QRgb *>(backdrop.constScanLine(sy));
        auto *dst = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < w; ++x) {
            const double px = x / double(scale);
            const double shift = amp * std::sin(px * 0.045 + dy * 0.55) * std::sin(dy * 0.31 + px * 0.013);
            double sx = std::clamp(x + shift * scale, 0.0, double(w - 1));
            const int x0 = int(sx);
            const int x1 = std::min(x0 + 1, w - 1);
            const double f = sx - x0;
            const QRgb a = src[x0], b = src[x1];
            dst[x] = qRgb(int(qRed(a) + (qRed(b) - qRed(a)) * f),
                          int(qGreen(a) + (qGreen(b) - qGreen(a)) * f),
                          int(qBlue(a) + (qBlue(b) - qBlue(a)) * f));
        }
    }

    // Still water blurs what it mirrors a little, mostly up and down.
    QImage mirrored = image.copy(0, water, w, h - water);
    blur(mirrored, 0.3 * scale, 1.3 * scale);

    QPainter p(&image);
    p.drawImage(0, water, mirrored);
    setupPainter(p, scale);
    const double W = kLaunchImageSize.width(), H = kLaunchImageSize.height();
    const QRectF lake(0, kWaterY, W, H - kWaterY);

    // Water is darker and cooler than what it mirrors, more so nearer the viewer.
    QLinearGradient tint(0, kWaterY, 0, H);
    tint.setColorAt(0.0, QColor(0x3A, 0x36, 0x6A, 60));
    tint.setColorAt(0.35, QColor(0x2A, 0x2E, 0x5E, 120));
    tint.setColorAt(1.0, QColor(0x16, 0x1A, 0x3A, 190));
    p.fillRect(lake, tint);

    // A bright, broken column of sunlight on the water below the sun.
    Rng rng(4242);
    p.setPen(Qt::NoPen);
    for (double y = kWaterY + 1.5; y < H; y += rng.range(1.6, 3.2)) {
        const double d = (y - kWaterY) / (H - kWaterY);
        const double halfW = 6 + 46 * d * rng.range(0.3, 1.0);
        const double cx = kSun.x() + rng.range(-1, 1) * (3 + 14 * d);
        // Brightest near the shore and again around the sun's own reflection.
        const double mirroredSun = 2 * kWaterY - kSun.y();
        const double a = (0.55 * (1.0 - d) + 0.35 * std::exp(-std::pow((y - mirroredSun) / 34.0, 2.0)))
            * rng.range(0.3, 0.8);
        QLinearGradient glint(cx - halfW, 0, cx + halfW, 0);
        glint.setColorAt(0.0, QColor(255, 236, 200, 0));
        glint.setColorAt(0.5, QColor(255, 240, 210, int(255 * a)));
        glint.setColorAt(1.0, QColor(255, 236, 200, 0));
        p.setBrush(glint);
        p.drawRoundedRect(QRectF(cx - halfW, y, 2 * halfW, 0.5 + 0.9 * d), 0.5, 0.5);
    }

    // Thin light ripple lines across the whole lake, closer together in the distance.
    for (double y = kWaterY + 2; y < H; ) {
        const double d = (y - kWaterY) / (H - kWaterY);
        const double x0 = rng.range(-40, W - 20);
        const double len = rng.range(40, 160) * (0.6 + d);
        QLinearGradient line(x0, 0, x0 + len, 0);
        const QColor c(255, 220, 210, int(255 * (0.18 - 0.12 * d)));
        line.setColorAt(0.0, withAlpha(c, 0));
        line.setColorAt(0.5, c);
        line.setColorAt(1.0, withAlpha(c, 0));
        p.setBrush(line);
        p.drawRect(QRectF(x0, y, len, 0.45 + 0.5 * d));
        y += 2.0 + 9.0 * d * rng.range(0.5, 1.2);
    }

    // A soft bright seam where the water meets the far shore.
    QLinearGradient seam(0, kWaterY - 1.2, 0, kWaterY + 2.5);
    seam.setColorAt(0.0, QColor(255, 230, 200, 0));
    seam.setColorAt(0.4, QColor(255, 230, 200, 34));
    seam.setColorAt(1.0, QColor(255, 230, 200, 0));
    p.fillRect(QRectF(0, kWaterY - 1.2, W, 3.7), seam);
}

// Film-like grain of about one level, so the wide gradients do not band in the JPEG.
void addGrain(QImage &image, double amount)
{
    for (int y = 0; y < image.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const double n = (hashUnit(std::int64_t(y) * 100003 + x, 9001) - 0.5) * 2.0 * amount;
            const QRgb c = line[x];
            line[x] = qRgb(std::clamp(int(std::lround(qRed(c) + n)), 0, 255),
                           std::clamp(int(std::lround(qGreen(c) + n)), 0, 255),
                           std::clamp(int(std::lround(qBlue(c) + n)), 0, 255));
        }
    }
}

QImage renderLaunchImage(int scale)
{
    QImage backdrop(kLaunchImageSize * scale, QImage::Format_RGB32);
    {
        QPainter p(&backdrop);
        setupPainter(p, scale);
        drawBackdrop(p);
    }
    QImage image = backdrop.copy();
    drawLake(image, backdrop, scale);
    {
        QPainter p(&image);
        setupPainter(p, scale);
        drawForeground(p);

        // A light vignette keeps the eye in the middle.
        const double W = kLaunchImageSize.width(), H = kLaunchImageSize.height();
        QRadialGradient v(QPointF(W / 2, H * 0.55), H * 0.75);
        v.setColorAt(0.6, QColor(10, 10, 30, 0));
        v.setColorAt(1.0, QColor(10, 10, 30, 70));
        p.fillRect(QRectF(0, 0, W, H), v);
    }
    addGrain(image, 1.1);
    return image;
}


// ---------------------------------------------------------------------------------------
// OstFoundation's images: the navigation arrows, the share bar icon and the share panel's
// target icons. Written by `--foundation <dir>`.

const QSize kBarIconSize(22, 22);
const QSize kPanelIconSize(60, 60);

// A stroked outline as a fillable shape, so the shadow pass and the colour pass draw the
// very same area.
QPainterPath strokedPath(const QPainterPath &path, double width)
{
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(path).simplified();
}

// `shape` in `colour` over a soft black shadow, so that a white glyph reads over a bright
// photo as well as over a dark one.
QImage renderShadowedGlyph(const QPainterPath &shape, const QColor &colour, QSize points, int scale)
{
    QImage shadow = transparentCanvas(points, scale);
    {
        QPainter p(&shadow);
        setupPainter(p, scale);
        p.translate(0, 0.5);
        p.setPen(QPen(Qt::black, 0.8));
        p.setBrush(Qt::black);
        p.drawPath(shape);
    }
    blur(shadow, 1.0 * scale, 1.0 * scale);

    QImage image = transparentCanvas(points, scale);
    QPainter p(&image);
    p.setOpacity(0.45);
    p.drawImage(0, 0, shadow);
    p.setOpacity(1.0);
    setupPainter(p, scale);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawPath(shape);
    return image;
}

QImage renderPlainGlyph(const QPainterPath &shape, const QColor &colour, QSize points, int scale)
{
    QImage image = transparentCanvas(points, scale);
    QPainter p(&image);
    setupPainter(p, scale);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawPath(shape);
    return image;
}

// The back chevron, its point against the left edge of a 22 x 22 canvas.
QPainterPath backChevron()
{
    QPainterPath path;
    path.moveTo(12.0, 3.5);
    path.lineTo(4.0, 11.0);
    path.lineTo(12.0, 18.5);
    return strokedPath(path, 2.4);
}

// "Share": an open-topped box with an arrow rising out of it.
QPainterPath shareGlyph()
{
    QPainterPath box;
    box.moveTo(8.0, 8.5);
    box.lineTo(5.0, 8.5);
    box.lineTo(5.0, 19.5);
    box.lineTo(17.0, 19.5);
    box.lineTo(17.0, 8.5);
    box.lineTo(14.0, 8.5);
    QPainterPath arrow;
    arrow.moveTo(11.0, 2.5);
    arrow.lineTo(11.0, 13.5);
    arrow.moveTo(7.5, 6.0);
    arrow.lineTo(11.0, 2.5);
    arrow.lineTo(14.5, 6.0);
    return strokedPath(box, 1.8).united(strokedPath(arrow, 1.8));
}

// Glyphs of the share panel, drawn on a 60 x 60 canvas around its centre.

QPainterPath letterGlyph(const QString &family, const QString &text, double boxWidth, double boxHeight)
{
    QFont font(family);
    font.setBold(true);
    font.setPixelSize(200);
    font.setHintingPreference(QFont::PreferNoHinting);
    QPainterPath path;
    path.addText(0, 0, font, text);
    return fitInto(path, QRectF(30 - boxWidth / 2, 30 - boxHeight / 2, boxWidth, boxHeight));
}

QPainterPath starGlyph()
{
    QPainterPath star;
    const double outer = 14.5, inner = 6.2;
    for (int i = 0; i < 10; ++i) {
        const double r = i % 2 ? inner : outer;
        const double a = -M_PI / 2 + i * M_PI / 5;
        const QPointF pt(30 + r * std::cos(a), 31 + r * std::sin(a));
        if (i == 0)
            star.moveTo(pt);
        else
            star.lineTo(pt);
    }
    star.closeSubpath();
    // Softened tips: the outline stroked thinly and joined round.
    return star.united(strokedPath(star, 1.6));
}

QPainterPath envelopeGlyph()
{
    const QRectF body(16, 20, 28, 20);
    QPainterPath frame;
    frame.addRoundedRect(body, 2.5, 2.5);
    QPainterPath flap;
    flap.moveTo(body.left() + 1.5, body.top() + 1.5);
    flap.lineTo(30, 31.5);
    flap.lineTo(body.right() - 1.5, body.top() + 1.5);
    return strokedPath(frame, 2.4).united(strokedPath(flap, 2.4));
}

QPainterPath downloadGlyph()
{
    QPainterPath arrow;
    arrow.moveTo(30, 15.5);
    arrow.lineTo(30, 35);
    arrow.moveTo(22.5, 27.5);
    arrow.lineTo(30, 35);
    arrow.lineTo(37.5, 27.5);
    QPainterPath tray;
    tray.moveTo(18, 35.5);
    tray.lineTo(18, 43);
    tray.lineTo(42, 43);
    tray.lineTo(42, 35.5);
    return strokedPath(arrow, 2.6).united(strokedPath(tray, 2.6));
}

// Two overlapping squares; the front one is cut out of the back one so they read apart.
QPainterPath copyGlyph()
{
    const QRectF back(17, 16, 19, 19), front(24, 24, 19, 19);
    QPainterPath backFrame;
    backFrame.addRoundedRect(back, 3, 3);
    QPainterPath frontFrame;
    frontFrame.addRoundedRect(front, 3, 3);
    QPainterPath gap;
    gap.addRoundedRect(front.adjusted(-2.6, -2.6, 2.6, 2.6), 4.5, 4.5);
    return strokedPath(backFrame, 2.4).subtracted(gap).united(strokedPath(frontFrame, 2.4));
}

// Two links of a chain on the rising diagonal.
QPainterPath chainGlyph()
{
    auto link = [](QPointF centre) {
        QPainterPath path;
        path.addRoundedRect(QRectF(-11, -5.5, 22, 11), 5.5, 5.5);
        QTransform t;
        t.translate(centre.x(), centre.y());
        t.rotate(-45);
        return strokedPath(t.map(path), 2.6);
    };
    // Each link's inner end lies well past the other's end arc, so the outlines cross
    // cleanly instead of running together.
    return link(QPointF(24.7, 35.3)).united(link(QPointF(35.3, 24.7)));
}

QPainterPath dotsGlyph()
{
    QPainterPath dots;
    for (double x : {20.5, 30.0, 39.5})
        dots.addEllipse(QPointF(x, 30), 3.0, 3.0);
    return dots;
}

QPainterPath globeGlyph()
{
    QPainterPath outline;
    outline.addEllipse(QPointF(30, 30), 13, 13);
    QPainterPath meridian;
    meridian.addEllipse(QPointF(30, 30), 5.5, 13);
    QPainterPath lines;
    lines.moveTo(17, 30);
    lines.lineTo(43, 30);
    lines.moveTo(19.5, 23);
    lines.lineTo(40.5, 23);
    lines.moveTo(19.5, 37);
    lines.lineTo(40.5, 37);
    lines.moveTo(30, 17);
    lines.lineTo(30, 43);
    QPainterPath clip;
    clip.addEllipse(QPointF(30, 30), 12, 12);
    return strokedPath(outline, 2.2)
        .united(strokedPath(meridian, 2.0).intersected(clip))
        .united(strokedPath(lines, 2.0).intersected(clip));
}

// A share target: a round disc in `disc` with `glyph` in `ink`.
QImage renderPanelIcon(const QPainterPath &glyph, const QColor &disc, const QColor &ink, int scale)
{
    QImage image = transparentCanvas(kPanelIconSize, scale);
    QPainter p(&image);
    setupPainter(p, scale);
    p.setPen(Qt::NoPen);
    // Lit a touch from the top, like the app's other marks.
    QLinearGradient fill(QPointF(0, 1), QPointF(0, 59));
    fill.setColorAt(0.0, disc.lighter(106));
    fill.setColorAt(1.0, disc.darker(104));
    p.setBrush(fill);
    p.drawEllipse(QPointF(30, 30), 29, 29);
    p.setBrush(ink);
    p.drawPath(glyph);
    return image;
}

struct PanelIcon
{
    const char *name;
    QPainterPath glyph;
    QColor disc;
    bool neutral; // light disc and dark ink, for the panel's own actions
};

bool writeFoundationImages(const QDir &out, const Fonts &fonts, QTextStream &log)
{
    const QString cjk = loadFamily(QStringLiteral("/usr/share/fonts/opentype/noto/NotoSansCJK-Bold.ttc"),
                                   QStringLiteral("Noto Sans CJK SC"));
    const QColor neutralDisc(0xEC, 0xEC, 0xEF);
    const QColor neutralInk(0x4A, 0x4A, 0x4A);
    const std::vector<PanelIcon> icons = {
        {"share_weibo", letterGlyph(cjk, QStringLiteral("微"), 27, 27), QColor(0xE6, 0x16, 0x2D), false},
        {"share_qq", letterGlyph(fonts.sansBold, QStringLiteral("QQ"), 31, 20), QColor(0x12, 0xB7, 0xF5), false},
        {"share_qzone", starGlyph(), QColor(0xF7, 0xB5, 0x00), false},
        {"share_mail", envelopeGlyph(), QColor(0x8E, 0x8E, 0x93), false},
        {"share_douban", letterGlyph(cjk, QStringLiteral("豆"), 27, 27), QColor(0x2E, 0x96, 0x3D), false},
        {"share_twitter", letterGlyph(fonts.sansBold, QStringLiteral("T"), 20, 22), QColor(0x1D, 0xA1, 0xF2), false},
        {"share_save_image", downloadGlyph(), QColor(0xFF, 0x8A, 0x1F), false},
        {"share_copy_image", copyGlyph(), QColor(0x58, 0x56, 0xD6), false},
        {"share_copy_link", chainGlyph(), neutralDisc, true},
        {"share_more", dotsGlyph(), neutralDisc, true},
        {"share_browser", globeGlyph(), neutralDisc, true},
        {"share_email", envelopeGlyph(), neutralDisc, true},
    };

    bool ok = true;
    auto save = [&](const QImage &image, const QString &base, int scale) {
        const QString file = out.filePath(scaledName(base, QStringLiteral("png"), scale));
        ok = savePng(image, file) && ok;
        log << file << '\n';
    };
    const QColor white(Qt::white);
    const QColor dimWhite(255, 255, 255, 128);
    const QColor barInk(0x33, 0x33, 0x33);
    const QColor barInkPressed(0x33, 0x33, 0x33, 90);
    for (int scale = 1; scale <= 3; ++scale) {
        // Over pictures: white with a shadow; pressed, half as bright.
        save(renderShadowedGlyph(backChevron(), white, kBarIconSize, scale), "ostrel_navigation_back", scale);
        save(renderShadowedGlyph(backChevron(), dimWhite, kBarIconSize, scale), "ostrel_navigation_back_highlight", scale);
        save(renderShadowedGlyph(shareGlyph(), white, kBarIconSize, scale), "ostrel_share_bar", scale);
        save(renderShadowedGlyph(shareGlyph(), dimWhite, kBarIconSize, scale), "ostrel_share_bar_highlight", scale);
        // On the navigation bar's white: dark, no shadow.
        save(renderPlainGlyph(backChevron(), barInk, kBarIconSize, scale), "ostrel_navigation_bar_back", scale);
        save(renderPlainGlyph(backChevron(), barInkPressed, kBarIconSize, scale),
             "ostrel_navigation_bar_back_highlight", scale);

        for (const PanelIcon &icon : icons) {
            const QColor ink = icon.neutral ? neutralInk : white;
            const QColor pressed = icon.neutral ? QColor(0xD8, 0xD8, 0xDC) : icon.disc.darker(118);
            save(renderPanelIcon(icon.glyph, icon.disc, ink, scale), QString::fromLatin1(icon.name), scale);
            save(renderPanelIcon(icon.glyph, pressed, ink, scale), QString::fromLatin1(icon.name) + "_highlight", scale);
        }
    }
    return ok;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    QStringList args = QCoreApplication::arguments();
    const bool foundation = args.size() == 3 && args.at(1) == QLatin1String("--foundation");
    if (foundation)
        args.removeAt(1);
    if (args.size() != 2 || args.at(1).startsWith('-')) {
        QTextStream(stderr) << "usage: ostquote-make-assets <output-dir>\n"
                               "       ostquote-make-assets --foundation <output-dir>\n";
        return 2;
    }
    QDir out(args.at(1));
    if (!out.exists() && !QDir().mkpath(out.path())) {
        QTextStream(stderr) << "error: cannot create " << out.path() << '\n';
        return 1;
    }

    Fonts fonts;
    fonts.sansBold = loadFamily(QStringLiteral("/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"),
                                fonts.sansBold);

    QTextStream log(stdout);
    if (foundation)
        return writeFoundationImages(out, fonts, log) ? 0 : 1;

    bool ok = true;
    for (int scale = 1; scale <= 3; ++scale) {
        {
            QImage image = transparentCanvas(kLaunchLogoSize, scale);
            QPainter p(&image);
            setupPainter(p, scale);
            drawLaunchLogo(p, fonts);
            p.end();
            const QString file = out.filePath(scaledName("launch_ostrel_logo", "png", scale));
            ok = savePng(image, file) && ok;
            log << file << '\n';
        }
        {
            const QString file = out.filePath(scaledName("ostrel_logo_quote", "png", scale));
            ok = savePng(renderQuoteLogo(fonts, scale), file) && ok;
            log << file << '\n';
        }
        {
            const QString file = out.filePath(scaledName("default_launch_image", "jpg", scale));
            ok = saveJpeg(renderLaunchImage(scale), file, 88) && ok;
            log << file << '\n';
        }
    }
    return ok ? 0 : 1;
}
