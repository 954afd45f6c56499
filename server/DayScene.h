#pragma once

#include <QColor>
#include <QDate>
#include <QPainter>
#include <QPointF>
#include <QSizeF>
#include <QtGlobal>

// What a day's picture shows and how each layer of it is painted: the pieces behind
// DayPicture::picture(). The day decides the season; a random sequence seeded from the day
// decides the rest, so the same day always gives the same scene.
namespace DayPicture::Scenery {

// splitmix64: small, fast, and the same sequence everywhere (the standard distributions
// are not, so none of them is used).
class SceneRandom
{
public:
    explicit SceneRandom(quint64 seed)
        : m_state(seed)
    {
    }

    quint64 next()
    {
        quint64 z = (m_state += 0x9e3779b97f4a7c15ull);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return z ^ (z >> 31);
    }
    double unit() { return double(next() >> 11) * 0x1.0p-53; }
    double range(double low, double high) { return low + (high - low) * unit(); }
    bool chance(double p) { return unit() < p; }

private:
    quint64 m_state;
};

enum class TimeOfDay { Dawn, Day, Dusk, Night };
enum class Season { Spring, Summer, Autumn, Winter };

struct Sky
{
    QColor zenith, middle, horizon;
    QColor light;   // sun or moon
    QColor glow;
};

struct Land
{
    QColor far, near;
    bool snow = false;
};

struct Scene
{
    TimeOfDay time = TimeOfDay::Day;
    Season season = Season::Spring;
    Sky sky;
    Land land;
    double horizon = 0;   // y of the horizon
    bool sea = false;
    bool trees = false;
    QPointF light;        // sun or moon centre
    double lightRadius = 0;
};

QColor mix(const QColor &a, const QColor &b, double t);
QColor withAlpha(QColor c, double alpha);

// The scene of `day` on a canvas of `size`; takes the first values of `random`.
Scene sceneFor(const QDate &day, SceneRandom &random, const QSizeF &size);

// The layers, back to front. Those taking `random` draw their next values from it, so they
// must be called in this order.
void drawSky(QPainter &p, const Scene &scene, const QSizeF &size);
void drawStars(QPainter &p, SceneRandom &random, const Scene &scene, const QSizeF &size);
void drawLight(QPainter &p, const Scene &scene);
void drawClouds(QPainter &p, SceneRandom &random, const Scene &scene, const QSizeF &size);
void drawSea(QPainter &p, SceneRandom &random, const Scene &scene, const QSizeF &size);
void drawLand(QPainter &p, SceneRandom &random, const Scene &scene, const QSizeF &size);
void drawVignette(QPainter &p, const QSizeF &size);

} // namespace DayPicture::Scenery
