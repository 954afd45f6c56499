#include "RVGradientOverView.h"

#include <QLinearGradient>
#include <QPainter>

/*!
    \headerfile <RVGradientOverView.h>
    \inmodule OstQuote
    \title The quote page's covers
    \brief The covers over a quote page's picture, their heights and the module's version.
*/

/*!
    \qmltype RVGradientOverView
    \inqmlmodule OstQuote
    \instantiates RVGradientOverView
    \brief The bottom cover of a quote page: a black gradient that takes the touches on it.

    Black from transparent at the top edge to alpha 0.5 at 80 % of the height and below.
*/

/*!
    \qmltype RVGradientTopOverView
    \inqmlmodule OstQuote
    \instantiates RVGradientTopOverView
    \brief The top cover of a quote page: a black gradient that takes the touches on it.

    Black at alpha 0.6 at the top edge to transparent at the bottom edge.
*/

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

/*!
    \class RVCoverItem
    \inmodule OstQuote
    \brief What both covers of a quote page share.

    Painted, see-through, and taking the touches that land on them, so that a tap on a cover
    never reaches the page below.
*/
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

/*!
    \class RVGradientOverView
    \inmodule OstQuote
    \brief The bottom cover of a quote page.

    Black from transparent at the top edge to alpha 0.5 at 80 % of the height and below. Not
    opaque; no background of its own.
*/
RVGradientOverView::RVGradientOverView(QQuickItem *parent)
    : RVCoverItem(parent)
{
}

/*!
    Paints the gradient with \a painter.
*/
void RVGradientOverView::paint(QPainter *painter)
{
    static constexpr qreal components[5][4] = {
        {0, 0, 0, 0}, {0, 0, 0, 0.2}, {0, 0, 0, 0.3}, {0, 0, 0, 0.5}, {0, 0, 0, 0.7},
    };
    static constexpr qreal locations[5] = {0.0, 0.33, 0.45, 0.8, 1.0};
    // Four stops: the fifth entry stays out, so the lowest fifth keeps alpha 0.5.
    paintBlackGradient(painter, size(), components, locations, 4);
}

/*!
    \class RVGradientTopOverView
    \inmodule OstQuote
    \brief The top cover of a quote page.

    Black at alpha 0.6 at the top edge to transparent at the bottom edge.
*/
RVGradientTopOverView::RVGradientTopOverView(QQuickItem *parent)
    : RVCoverItem(parent)
{
}

/*!
    Paints the gradient with \a painter.
*/
void RVGradientTopOverView::paint(QPainter *painter)
{
    static constexpr qreal components[5][4] = {
        {0, 0, 0, 0.6}, {0, 0, 0, 0.5}, {0, 0, 0, 0.3}, {0, 0, 0, 0.15}, {0, 0, 0, 0},
    };
    paintBlackGradient(painter, size(), components, nullptr, 5);
}

/*!
    \variable RVQuoteBottomCoverHeight
    \relates <RVGradientOverView.h>

    The height of a quote page's bottom cover: 250. Hosts that lay things out around it use it.
*/

/*!
    \variable RVQuoteTopCoverHeight
    \relates <RVGradientOverView.h>

    The height of a quote page's top cover: 100.
*/

/*!
    \variable OstQuoteVersionNumber
    \relates <RVGradientOverView.h>

    The module's version: 1.0.
*/

/*!
    \fn RVCoverItem::RVCoverItem(QQuickItem *parent)

    Constructs a cover with \a parent.
*/

/*!
    \fn RVGradientOverView::RVGradientOverView(QQuickItem *parent)

    Constructs a bottom cover with \a parent.
*/

/*!
    \fn RVGradientTopOverView::RVGradientTopOverView(QQuickItem *parent)

    Constructs a top cover with \a parent.
*/
