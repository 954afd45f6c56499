#include "DemoSnapshot.h"

#include "DemoHost.h"

#include <QPainter>

DemoSnapshot::DemoSnapshot(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
}

void DemoSnapshot::setImage(const QImage &image)
{
    m_image = image;
    update();
}

void DemoSnapshot::setFading(bool fading)
{
    if (m_fading == fading)
        return;
    m_fading = fading;
    Q_EMIT fadingChanged();
}

int DemoSnapshot::fadeDuration() const
{
    return DemoHost::FadeDuration;
}

void DemoSnapshot::paint(QPainter *painter)
{
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(boundingRect(), m_image);
}
