#include "Images.h"
#include "Noise.h"

#include <QLinearGradient>
#include <QRadialGradient>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace assets {
namespace {

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

} // namespace

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

} // namespace assets
