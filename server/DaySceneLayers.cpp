#include "DayScene.h"

#include <QLinearGradient>
#include <QPainterPath>
#include <QRadialGradient>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace DayPicture::Scenery {

namespace {

// Smooth one-dimensional value noise in [-1, 1] with a few octaves.
class Ridge
{
public:
    Ridge(SceneRandom &random, double wavelength, int octaves)
        : m_wavelength(wavelength)
        , m_octaves(octaves)
    {
        m_values.resize(256);
        for (double &v : m_values)
            v = random.range(-1.0, 1.0);
        m_offset = random.range(0, 100);
    }

    double at(double x, bool ridged) const
    {
        double sum = 0, amplitude = 1, norm = 0, frequency = 1.0 / m_wavelength;
        for (int octave = 0; octave < m_octaves; ++octave) {
            double v = noise(x * frequency + m_offset + octave * 17.0);
            if (ridged)
                v = 1.0 - 2.0 * std::abs(v);   // sharp crests
            sum += v * amplitude;
            norm += amplitude;
            amplitude *= 0.5;
            frequency *= 2.1;
        }
        return sum / norm;
    }

private:
    double noise(double x) const
    {
        const double floor = std::floor(x);
        const int i = int(floor);
        const double t = x - floor;
        const double smooth = t * t * (3 - 2 * t);
        const double a = m_values[std::size_t(i & 255)];
        const double b = m_values[std::size_t((i + 1) & 255)];
        return a + (b - a) * smooth;
    }

    std::vector<double> m_values;
    double m_wavelength;
    int m_octaves;
    double m_offset = 0;
};

// `envelope` scales the height along x (a headland that ends over the sea, say).
QPainterPath ridgePath(const Ridge &ridge, double base, double amplitude, bool ridged, const QSizeF &size,
                       std::vector<QPointF> *crest = nullptr,
                       const std::function<double(double)> &envelope = {}, double bottom = -1)
{
    if (bottom < 0)
        bottom = size.height() + 10;
    QPainterPath path;
    path.moveTo(-10, bottom);
    for (double x = -10; x <= size.width() + 10; x += 5) {
        const double height = amplitude * (0.5 + 0.5 * ridge.at(x, ridged)) * (envelope ? envelope(x) : 1.0);
        const double y = base - height;
        path.lineTo(x, y);
        if (crest)
            crest->push_back(QPointF(x, y));
    }
    path.lineTo(size.width() + 10, bottom);
    path.closeSubpath();
    return path;
}

void drawTree(QPainter &p, const QPointF &foot, double height, const QColor &color)
{
    const double width = height * 0.42;
    QPainterPath tree;
    for (int tier = 0; tier < 3; ++tier) {
        const double top = foot.y() - height + tier * height * 0.26;
        const double bottom = top + height * 0.5;
        const double half = width * (0.55 + 0.22 * tier) / 2;
        tree.moveTo(foot.x(), top);
        tree.lineTo(foot.x() + half, bottom);
        tree.lineTo(foot.x() - half, bottom);
        tree.closeSubpath();
    }
    tree.addRect(QRectF(foot.x() - height * 0.03, foot.y() - height * 0.2, height * 0.06, height * 0.22));
    p.fillPath(tree.simplified(), color);
}

} // namespace

void drawSky(QPainter &p, const Scene &scene, const QSizeF &size)
{
    QLinearGradient gradient(0, 0, 0, scene.horizon);
    gradient.setColorAt(0.0, scene.sky.zenith);
    gradient.setColorAt(0.55, scene.sky.middle);
    gradient.setColorAt(1.0, scene.sky.horizon);
    p.fillRect(QRectF(QPointF(0, 0), size), gradient);

    // The light's glow warms the sky around it.
    QRadialGradient glow(scene.light, size.width() * 0.75);
    const double strength = scene.time == TimeOfDay::Night ? 0.22 : scene.time == TimeOfDay::Day ? 0.35 : 0.6;
    glow.setColorAt(0.0, withAlpha(scene.sky.glow, strength));
    glow.setColorAt(0.35, withAlpha(scene.sky.glow, strength * 0.35));
    glow.setColorAt(1.0, withAlpha(scene.sky.glow, 0));
    p.fillRect(QRectF(0, 0, size.width(), scene.horizon + 40), glow);
}

void drawStars(QPainter &p, SceneRandom &random, const Scene &scene, const QSizeF &size)
{
    const int count = scene.time == TimeOfDay::Night ? 260 : 60;
    const double visibility = scene.time == TimeOfDay::Night ? 1.0 : 0.35;
    p.setPen(Qt::NoPen);
    for (int i = 0; i < count; ++i) {
        const double x = random.range(0, size.width());
        const double y = std::pow(random.unit(), 1.5) * scene.horizon * 0.85;
        const double radius = random.chance(0.06) ? random.range(1.3, 2.0) : random.range(0.45, 1.1);
        // Fainter towards the horizon, and not at all at dusk's bright end.
        const double fade = scene.time == TimeOfDay::Night ? 1.0 - 0.6 * y / scene.horizon
                                                          : std::max(0.0, 1.0 - 2.2 * y / scene.horizon);
        const double alpha = random.range(0.35, 1.0) * fade * visibility;
        if (alpha <= 0.02)
            continue;
        if (radius > 1.25) {
            QRadialGradient halo(QPointF(x, y), radius * 4);
            halo.setColorAt(0, withAlpha(QColor(0xdfe8ff), alpha * 0.5));
            halo.setColorAt(1, withAlpha(QColor(0xdfe8ff), 0));
            p.setBrush(halo);
            p.drawEllipse(QPointF(x, y), radius * 4, radius * 4);
        }
        p.setBrush(withAlpha(QColor(0xf4f6ff), alpha));
        p.drawEllipse(QPointF(x, y), radius, radius);
    }
}

void drawLight(QPainter &p, const Scene &scene)
{
    p.setPen(Qt::NoPen);
    const double r = scene.lightRadius;
    QRadialGradient halo(scene.light, r * 3.2);
    halo.setColorAt(0.0, withAlpha(scene.sky.light, 0.55));
    halo.setColorAt(0.3, withAlpha(scene.sky.glow, 0.22));
    halo.setColorAt(1.0, withAlpha(scene.sky.glow, 0));
    p.setBrush(halo);
    p.drawEllipse(scene.light, r * 3.2, r * 3.2);

    if (scene.time == TimeOfDay::Night) {
        // A crescent: the disc less a disc beside it.
        QPainterPath disc;
        disc.addEllipse(scene.light, r, r);
        QPainterPath shadow;
        shadow.addEllipse(scene.light + QPointF(r * 0.55, -r * 0.25), r * 0.95, r * 0.95);
        p.setBrush(scene.sky.light);
        p.drawPath(disc.subtracted(shadow));
        return;
    }
    QRadialGradient disc(scene.light, r);
    disc.setColorAt(0.0, scene.sky.light);
    disc.setColorAt(0.85, scene.sky.light);
    disc.setColorAt(1.0, withAlpha(scene.sky.light, 0.6));
    p.setBrush(disc);
    p.drawEllipse(scene.light, r, r);
}

void drawClouds(QPainter &p, SceneRandom &random, const Scene &scene, const QSizeF &size)
{
    if (scene.time == TimeOfDay::Night)
        return;
    const int clouds = 2 + int(random.unit() * 4);
    const QColor lit = scene.time == TimeOfDay::Day ? QColor(0xffffff) : mix(scene.sky.glow, QColor(0xffe3ec), 0.4);
    const QColor shade = mix(scene.sky.middle, scene.sky.zenith, 0.3);
    p.setPen(Qt::NoPen);
    for (int c = 0; c < clouds; ++c) {
        const double cx = random.range(-0.1, 1.1) * size.width();
        const double cy = random.range(0.18, 0.44) * size.height();
        const double width = random.range(140, 320);
        const int puffs = 6 + int(random.unit() * 5);
        const double alpha = random.range(0.18, 0.38);
        for (int i = 0; i < puffs; ++i) {
            const double px = cx + random.range(-0.5, 0.5) * width;
            const double py = cy + random.range(-0.12, 0.12) * width * 0.3;
            const double rx = random.range(0.18, 0.32) * width;
            const double ry = rx * random.range(0.22, 0.38);
            QRadialGradient puff(QPointF(px, py - ry * 0.3), rx);
            puff.setColorAt(0.0, withAlpha(lit, alpha));
            puff.setColorAt(0.6, withAlpha(mix(lit, shade, 0.4), alpha * 0.6));
            puff.setColorAt(1.0, withAlpha(shade, 0));
            p.setBrush(puff);
            p.drawEllipse(QPointF(px, py), rx, ry);
        }
    }
}

void drawSea(QPainter &p, SceneRandom &random, const Scene &scene, const QSizeF &size)
{
    // The water mirrors the sky, darker and deeper towards the shore.
    QLinearGradient water(0, scene.horizon, 0, size.height());
    water.setColorAt(0.0, mix(scene.sky.horizon, scene.sky.middle, 0.3));
    water.setColorAt(0.25, mix(scene.sky.middle, scene.sky.zenith, 0.35));
    water.setColorAt(1.0, mix(scene.sky.zenith, QColor(Qt::black), 0.55));
    p.fillRect(QRectF(0, scene.horizon, size.width(), size.height() - scene.horizon), water);

    // The light's path on the water: short strokes, narrower and fainter further off.
    p.setPen(Qt::NoPen);
    const double alphaScale = scene.time == TimeOfDay::Day ? 0.5 : 0.85;
    for (double y = scene.horizon + 2; y < size.height() * 0.9; y += random.range(2.5, 6)) {
        const double depth = (y - scene.horizon) / (size.height() * 0.9 - scene.horizon);
        const double spread = scene.lightRadius * (1.0 + 3.5 * depth);
        for (int stroke = 0; stroke < 2; ++stroke) {
            const double length = random.range(0.25, 1.0) * spread;
            const double x = scene.light.x() + random.range(-1, 1) * spread * 0.7;
            const double alpha = alphaScale * std::pow(1 - depth, 1.5) * random.range(0.35, 1.0);
            p.setBrush(withAlpha(scene.sky.light, alpha));
            p.drawRoundedRect(QRectF(x - length / 2, y, length, 1.5 + 3 * depth), 1, 1);
        }
    }
    // Faint swell lines across the whole sea.
    for (double y = scene.horizon + 6; y < size.height() * 0.9; y += random.range(8, 18)) {
        const double depth = (y - scene.horizon) / (size.height() - scene.horizon);
        const double x = random.range(-100, size.width());
        const double length = random.range(60, 260) * (0.5 + depth);
        p.setBrush(withAlpha(scene.sky.horizon, 0.10 * (1 - depth)));
        p.drawRoundedRect(QRectF(x, y, length, 1 + 2 * depth), 1, 1);
    }
}

void drawLand(QPainter &p, SceneRandom &random, const Scene &scene, const QSizeF &size)
{
    const double h = size.height();
    const QColor haze = mix(scene.sky.horizon, scene.land.far, 0.35);

    struct Layer { double base, amplitude, wavelength; int octaves; bool ridged; };
    std::vector<Layer> layers;
    if (scene.sea) {
        layers = {{scene.horizon + 1, h * random.range(0.05, 0.10), 230, 4, true}};
    } else {
        layers = {{scene.horizon, h * random.range(0.09, 0.13), 260, 5, true},
                  {scene.horizon + h * 0.04, h * random.range(0.06, 0.09), 210, 4, true},
                  {scene.horizon + h * 0.10, h * random.range(0.06, 0.09), 300, 3, false},
                  {scene.horizon + h * 0.17, h * random.range(0.05, 0.08), 380, 3, false}};
    }

    const int count = int(layers.size());
    for (int i = 0; i < count; ++i) {
        const Layer &layer = layers[std::size_t(i)];
        const double depth = count == 1 ? 1.0 : double(i) / (count - 1);
        // Far layers take the sky's haze; near ones the land's own dark.
        const QColor top = scene.sea ? mix(haze, scene.land.near, 0.25 + 0.35 * depth)
                                     : mix(haze, scene.land.near, std::pow(depth, 0.9) * 0.85);
        const QColor bottom = mix(top, scene.land.near, 0.5);
        const Ridge ridge(random, layer.wavelength, layer.octaves);
        std::vector<QPointF> crest;
        std::function<double(double)> envelope;
        if (scene.sea) {
            // Mountains on one side, running out into the water.
            const bool left = random.chance(0.5);
            const double end = size.width() * random.range(0.45, 0.75);
            envelope = [left, end, width = size.width()](double x) {
                const double along = left ? x : width - x;
                const double t = std::clamp((end - along) / (end * 0.6), 0.0, 1.0);
                return t * t * (3 - 2 * t);
            };
        }
        const QPainterPath path =
            ridgePath(ridge, layer.base, layer.amplitude, layer.ridged, size, &crest, envelope,
                      scene.sea ? layer.base : -1);
        const double peak = layer.base - layer.amplitude;
        QLinearGradient fill(0, peak, 0, layer.base + h * 0.12);
        fill.setColorAt(0, top);
        fill.setColorAt(1, bottom);
        p.fillPath(path, fill);

        // Snow on the far winter peaks.
        if (scene.land.snow && i == 0) {
            p.save();
            p.setClipPath(path);
            QLinearGradient snow(0, peak, 0, peak + layer.amplitude * 0.55);
            const QColor white = scene.time == TimeOfDay::Night ? QColor(0x8090b8) : QColor(0xf2f5fa);
            snow.setColorAt(0, withAlpha(white, 0.85));
            snow.setColorAt(1, withAlpha(white, 0));
            p.fillRect(QRectF(0, peak, size.width(), layer.amplitude), snow);
            p.restore();
        }

        // Mist settles in front of every layer but the nearest.
        if (i < count - 1 && !scene.sea) {
            QLinearGradient mist(0, layer.base - layer.amplitude * 0.2, 0, layer.base + h * 0.05);
            const double alpha = scene.time == TimeOfDay::Night ? 0.10 : 0.28;
            mist.setColorAt(0, withAlpha(haze, 0));
            mist.setColorAt(0.6, withAlpha(haze, alpha));
            mist.setColorAt(1, withAlpha(haze, 0));
            p.fillRect(QRectF(0, layer.base - layer.amplitude * 0.2, size.width(), layer.amplitude * 0.2 + h * 0.05), mist);
        }

        if (i == count - 1 && scene.trees && !scene.sea) {
            const QColor treeColor = mix(top, QColor(Qt::black), 0.15);
            double x = random.range(0, 60);
            const auto crestAt = [&crest](double x) {
                return crest[std::min(crest.size() - 1, std::size_t((x + 10) / 5))].y();
            };
            while (x < size.width()) {
                const int group = 1 + int(random.unit() * 4);
                for (int t = 0; t < group && x < size.width(); ++t) {
                    drawTree(p, QPointF(x, crestAt(x) + 4), random.range(26, 64), treeColor);
                    x += random.range(10, 22);
                }
                x += random.range(60, 240);
            }
        }
    }

    // A dark, even foreground: a shore below the sea, the nearest field otherwise.
    const double groundTop = scene.sea ? h * 0.90 : h * 0.86;
    const Ridge ground(random, 500, 2);
    const QPainterPath foreground = ridgePath(ground, groundTop + h * 0.02, h * 0.025, false, size);
    QLinearGradient dark(0, groundTop - h * 0.02, 0, h);
    dark.setColorAt(0, mix(scene.land.near, QColor(Qt::black), 0.2));
    dark.setColorAt(1, mix(scene.land.near, QColor(Qt::black), 0.55));
    p.fillPath(foreground, dark);
}

void drawVignette(QPainter &p, const QSizeF &size)
{
    QRadialGradient vignette(QPointF(size.width() / 2, size.height() * 0.45), size.height() * 0.75);
    vignette.setColorAt(0.55, QColor(0, 0, 0, 0));
    vignette.setColorAt(1.0, QColor(0, 0, 0, 90));
    p.fillRect(QRectF(QPointF(0, 0), size), vignette);
}

} // namespace DayPicture::Scenery
