#include "RVGradientOverView.h"

#include <QLinearGradient>
#include <QPainter>

#include <OTPalette.h>

const double OstQuoteVersionNumber = 1.0;

RVCoverItem::RVCoverItem(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setOpaquePainting(false);
    setFillColor(Qt::transparent);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
}

void RVCoverItem::setAlphas(const QList<qreal> &alphas)
{
    if (m_alphas == alphas)
        return;
    m_alphas = alphas;
    Q_EMIT gradientChanged();
    update();
}

void RVCoverItem::setLocations(const QList<qreal> &locations)
{
    if (m_locations == locations)
        return;
    m_locations = locations;
    Q_EMIT gradientChanged();
    update();
}

void RVCoverItem::paint(QPainter *painter)
{
    const QSizeF area = size();
    const qsizetype count = m_alphas.size();
    if (area.isEmpty() || count == 0)
        return;
    const bool placed = m_locations.size() == count;
    QLinearGradient gradient(area.width() * 0.5, 0, area.width() * 0.5, area.height());
    for (qsizetype i = 0; i < count; ++i) {
        const qreal position = placed ? m_locations.at(i) : (count > 1 ? qreal(i) / qreal(count - 1) : 0);
        gradient.setColorAt(qBound<qreal>(0, position, 1), QColor::fromRgbF(0, 0, 0, qBound<qreal>(0, m_alphas.at(i), 1)));
    }
    painter->fillRect(QRectF(QPointF(0, 0), area), gradient);
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
    setAlphas(OTPalette::bottomCoverAlphas());
    setLocations(OTPalette::bottomCoverLocations());
}

RVGradientTopOverView::RVGradientTopOverView(QQuickItem *parent)
    : RVCoverItem(parent)
{
    setAlphas(OTPalette::topCoverAlphas());
}
