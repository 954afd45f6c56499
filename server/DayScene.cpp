#include "DayScene.h"

#include <algorithm>
#include <cmath>

namespace DayPicture::Scenery {

namespace {

Season seasonOf(const QDate &day)
{
    switch (day.month()) {
    case 3: case 4: case 5: return Season::Spring;
    case 6: case 7: case 8: return Season::Summer;
    case 9: case 10: case 11: return Season::Autumn;
    default: return Season::Winter;
    }
}

Sky skyFor(TimeOfDay time)
{
    switch (time) {
    case TimeOfDay::Dawn:
        return {QColor(0x1f2c5c), QColor(0x8a6aa0), QColor(0xf7bd8f), QColor(0xfff2da), QColor(0xffc58e)};
    case TimeOfDay::Day:
        return {QColor(0x1d5a9e), QColor(0x5c9ad2), QColor(0xd3e8f2), QColor(0xfffbea), QColor(0xfff6d8)};
    case TimeOfDay::Dusk:
        return {QColor(0x15173f), QColor(0x7f3466), QColor(0xf48a4a), QColor(0xffd49c), QColor(0xff8f4d)};
    case TimeOfDay::Night:
        break;
    }
    return {QColor(0x050817), QColor(0x111c42), QColor(0x2c3b68), QColor(0xf3f0e2), QColor(0x9fb3e0)};
}

Land landFor(Season season, TimeOfDay time)
{
    Land land;
    switch (season) {
    case Season::Spring: land = {QColor(0x6f9a72), QColor(0x17352a)}; break;
    case Season::Summer: land = {QColor(0x4f8a78), QColor(0x0f2a22)}; break;
    case Season::Autumn: land = {QColor(0xa8694a), QColor(0x2c1712)}; break;
    case Season::Winter: land = {QColor(0x8d9db3), QColor(0x18202d), true}; break;
    }
    if (time == TimeOfDay::Night) {
        land.far = mix(land.far, QColor(0x1b2446), 0.75);
        land.near = mix(land.near, QColor(0x03050c), 0.7);
    } else if (time == TimeOfDay::Dusk) {
        land.far = mix(land.far, QColor(0x5a3a66), 0.5);
        land.near = mix(land.near, QColor(0x0c0a18), 0.5);
    } else if (time == TimeOfDay::Dawn) {
        land.far = mix(land.far, QColor(0x7d6f9a), 0.35);
        land.near = mix(land.near, QColor(0x101426), 0.35);
    }
    return land;
}

} // namespace

QColor mix(const QColor &a, const QColor &b, double t)
{
    t = std::clamp(t, 0.0, 1.0);
    return QColor::fromRgbF(float(a.redF() + (b.redF() - a.redF()) * t), float(a.greenF() + (b.greenF() - a.greenF()) * t),
                            float(a.blueF() + (b.blueF() - a.blueF()) * t));
}

QColor withAlpha(QColor c, double alpha)
{
    c.setAlphaF(float(std::clamp(alpha, 0.0, 1.0)));
    return c;
}

Scene sceneFor(const QDate &day, SceneRandom &random, const QSizeF &size)
{
    Scene scene;
    scene.season = seasonOf(day);
    const double pick = random.unit();
    scene.time = pick < 0.2 ? TimeOfDay::Dawn : pick < 0.45 ? TimeOfDay::Day : pick < 0.7 ? TimeOfDay::Dusk
                                                                                       : TimeOfDay::Night;
    scene.sky = skyFor(scene.time);
    // A little of the day in every colour, so neighbouring days differ.
    const double tint = random.range(-0.08, 0.08);
    const auto shift = [tint](QColor c) {
        float h, s, l, a;
        c.getHslF(&h, &s, &l, &a);
        if (h >= 0)
            h = float(std::fmod(h + tint * 0.25 + 1.0, 1.0));
        return QColor::fromHslF(h, s, l, a);
    };
    scene.sky.zenith = shift(scene.sky.zenith);
    scene.sky.middle = shift(scene.sky.middle);
    scene.sky.horizon = shift(scene.sky.horizon);
    scene.land = landFor(scene.season, scene.time);
    scene.sea = random.chance(0.3);
    scene.trees = random.chance(0.5);
    scene.horizon = size.height() * (scene.sea ? random.range(0.60, 0.64) : random.range(0.56, 0.62));

    const double x = size.width() * random.range(0.22, 0.78);
    switch (scene.time) {
    case TimeOfDay::Day:
        scene.light = QPointF(x, size.height() * random.range(0.26, 0.36));
        scene.lightRadius = random.range(34, 44);
        break;
    case TimeOfDay::Night:
        scene.light = QPointF(x, size.height() * random.range(0.20, 0.34));
        scene.lightRadius = random.range(26, 36);
        break;
    default:
        // Low, just over the hills or touching the sea.
        scene.light = QPointF(x, scene.horizon - size.height() * random.range(scene.sea ? 0.0 : 0.06, 0.10));
        scene.lightRadius = random.range(44, 60);
        break;
    }
    return scene;
}

} // namespace DayPicture::Scenery
