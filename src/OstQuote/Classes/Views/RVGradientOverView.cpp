#include "RVGradientOverView.h"

#include <QLinearGradient>
#include <QPainter>

#include <OTPalette.h>

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
    \qmlproperty list<real> RVGradientOverView::alphas

    The gradient's alphas, one a stop, top to bottom. The theme's (OTPalette) unless a skin
    gives others.
*/

/*!
    \qmlproperty list<real> RVGradientOverView::locations

    Where the stops sit, as fractions of the cover's height, one a stop; none spreads them
    evenly. Below the last stop its alpha holds.
*/

/*!
    \qmltype RVGradientTopOverView
    \inqmlmodule OstQuote
    \instantiates RVGradientTopOverView
    \brief The top cover of a quote page: a black gradient that takes the touches on it.

    Black at alpha 0.6 at the top edge to transparent at the bottom edge.
*/

/*!
    \qmlproperty list<real> RVGradientTopOverView::alphas

    The gradient's alphas, one a stop, top to bottom. The theme's (OTPalette) unless a skin
    gives others.
*/

/*!
    \qmlproperty list<real> RVGradientTopOverView::locations

    Where the stops sit, as fractions of the cover's height, one a stop; none spreads them
    evenly. Below the last stop its alpha holds.
*/

const double OstQuoteVersionNumber = 1.0;

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

/*!
    \property RVCoverItem::alphas
    \brief The gradient's alphas, one a stop, top to bottom.

    The theme's (OTPalette) unless a skin gives others. Each is held to 0 to 1.
*/

/*!
    \property RVCoverItem::locations
    \brief Where the stops sit, as fractions of the cover's height.

    One a stop; when the count differs from alphas', the stops are spread evenly. Below the
    last stop its alpha holds.
*/

/*!
    \fn void RVCoverItem::gradientChanged()

    Emitted when alphas or locations change.
*/

/*!
    Paints the gradient with \a painter.
*/
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

/*!
    \class RVGradientOverView
    \inmodule OstQuote
    \brief The bottom cover of a quote page.

    By default black from transparent at the top edge to alpha 0.5 at 80 % of the height and
    below. Not opaque; no background of its own.
*/
RVGradientOverView::RVGradientOverView(QQuickItem *parent)
    : RVCoverItem(parent)
{
    setAlphas(OTPalette::bottomCoverAlphas());
    setLocations(OTPalette::bottomCoverLocations());
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
    setAlphas(OTPalette::topCoverAlphas());
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
