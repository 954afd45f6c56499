#include "FixturePictures.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QRandomGenerator>

#include <cmath>

FixturePictures::FixturePictures(int variety)
    : QQuickImageProvider(QQmlImageProviderBase::Image)
{
    for (int i = 0; i < variety; ++i)
        m_drawn.append(draw(QDate(2000, 1, 1).addDays(i)));
}

QUrl FixturePictures::urlForDay(const QDate &day)
{
    return QUrl(QStringLiteral("image://%1/%2").arg(QLatin1String(ProviderId), day.toString(Qt::ISODate)));
}

QImage FixturePictures::draw(const QDate &day, const QSize &size)
{
    const QSize full(Width, Height);
    const QSize target = size.isValid() && !size.isEmpty() ? size : full;
    QImage image(target, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(qreal(target.width()) / Width, qreal(target.height()) / Height);

    QRandomGenerator random(quint32(day.toJulianDay()));
    const int hue = int(random.bounded(360));
    const auto hsv = [](int h, int s, int v) { return QColor::fromHsv(((h % 360) + 360) % 360, s, v); };

    // Sky: from a deep tone at the top to a light one at the horizon.
    QLinearGradient sky(0, 0, 0, Height * 0.7);
    sky.setColorAt(0, hsv(hue + 200, 160, 70));
    sky.setColorAt(0.6, hsv(hue + 20, 120, 200));
    sky.setColorAt(1, hsv(hue + 40, 60, 245));
    painter.fillRect(QRectF(0, 0, Width, Height), sky);

    // Sun with a soft halo.
    const QPointF sun(80 + random.bounded(Width - 160), 260 + random.bounded(400));
    QRadialGradient halo(sun, 230);
    halo.setColorAt(0, hsv(hue + 50, 40, 255));
    halo.setColorAt(0.25, QColor(255, 245, 220, 160));
    halo.setColorAt(1, QColor(255, 255, 255, 0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(halo);
    painter.drawEllipse(sun, 230, 230);
    painter.setBrush(hsv(hue + 45, 30, 255));
    painter.drawEllipse(sun, 55, 55);

    // Four ranges of hills, darker towards the front.
    for (int layer = 0; layer < 4; ++layer) {
        const qreal base = Height * (0.55 + 0.1 * layer);
        const qreal amplitude = 140 - 25 * layer;
        const qreal phase = random.bounded(1000) / 100.0;
        const qreal wave = 1.5 + random.bounded(200) / 100.0;
        QPainterPath hills(QPointF(0, Height));
        for (int x = 0; x <= Width; x += 10) {
            const qreal t = qreal(x) / Width;
            const qreal y = base - amplitude * (0.5 + 0.35 * std::sin(t * wave * 3.14159 + phase)
                                                + 0.15 * std::sin(t * wave * 9.1 + phase * 2));
            hills.lineTo(x, y);
        }
        hills.lineTo(Width, Height);
        hills.closeSubpath();
        painter.setBrush(hsv(hue + 180 + 15 * layer, 90 + 30 * layer, 150 - 32 * layer));
        painter.drawPath(hills);
    }
    return image;
}

QImage FixturePictures::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    QDate day = QDate::fromString(id, Qt::ISODate);
    if (!day.isValid())
        day = QDate(2000, 1, 1);
    // A requested size with one side 0 keeps the aspect ratio.
    QSize wanted = requestedSize;
    if (wanted.width() > 0 && wanted.height() <= 0)
        wanted.setHeight(wanted.width() * Height / Width);
    else if (wanted.height() > 0 && wanted.width() <= 0)
        wanted.setWidth(wanted.height() * Width / Height);
    QImage image;
    if (!m_drawn.isEmpty() && (!wanted.isValid() || wanted.isEmpty())) {
        const qint64 turn = day.toJulianDay() % m_drawn.size();
        image = m_drawn.at(qsizetype(turn < 0 ? turn + m_drawn.size() : turn));
    } else {
        image = draw(day, wanted);
    }
    if (size)
        *size = image.size();
    return image;
}
