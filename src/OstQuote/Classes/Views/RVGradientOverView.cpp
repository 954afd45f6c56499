#include "RVGradientOverView.h"

#include <QLinearGradient>
#include <QPainter>

const double OstQuoteVersionNumber = 1.0;

namespace {

// Draws `count` stops of black with the given alphas down the item, top to bottom.
// `locations` null spaces the stops evenly.
void paintBlackGradient(QPainter *painter, QSizeF size, const qreal (*components)[4], const qreal *locations,
                        int count)
{
    if (size.isEmpty())
        return;
    QLinearGradient gradient(size.width() * 0.5, 0, size.width() * 0.5, size.height());
    for (int i = 0; i < count; ++i) {
        const qreal position = locations ? locations[i] : (count > 1 ? qreal(i) / (count - 1) : 0);
        gradient.setColorAt(position, QColor::fromRgbF(components[i][0], components[i][1], components[i][2],
                                                       components[i][3]));
    }
    painter->fillRect(QRectF(QPointF(0, 0), size), gradient);
}

} // namespace

RVCoverItem::RVCoverItem(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setOpaquePainting(false);
    setFillColor(Qt::transparent);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
}

void RVCoverItem::mousePressEvent(QMouseEvent *event)
{
    event->accept();
}

void RVCoverItem::touchEvent(QTouchEvent *event)
{
    event->accept();
}

RVGradientOverView::RVGradientOverView(QQuickItem *parent)
    : RVCoverItem(parent)
{
}

void RVGradientOverView::paint(QPainter *painter)
{
    static constexpr qreal components[5][4] = {
        {0, 0, 0, 0}, {0, 0, 0, 0.2}, {0, 0, 0, 0.3}, {0, 0, 0, 0.5}, {0, 0, 0, 0.7},
    };
    static constexpr qreal locations[5] = {0.0, 0.33, 0.45, 0.8, 1.0};
    // Four stops: the fifth entry stays out, so the lowest fifth keeps alpha 0.5.
    paintBlackGradient(painter, size(), components, locations, 4);
}

RVGradientTopOverView::RVGradientTopOverView(QQuickItem *parent)
    : RVCoverItem(parent)
{
}

void RVGradientTopOverView::paint(QPainter *painter)
{
    static constexpr qreal components[5][4] = {
        {0, 0, 0, 0.6}, {0, 0, 0, 0.5}, {0, 0, 0, 0.3}, {0, 0, 0, 0.15}, {0, 0, 0, 0},
    };
    paintBlackGradient(painter, size(), components, nullptr, 5);
}
