#pragma once

#include "OstQuoteGlobal.h"

#include <QList>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

// Heights of the quote page's two covers, for hosts that lay things out around them.
inline constexpr double RVQuoteBottomCoverHeight = 250.0;
inline constexpr double RVQuoteTopCoverHeight = 100.0;
// The module's version.
OSTQUOTE_EXPORT extern const double OstQuoteVersionNumber;    // 1.0

// What both covers share: a black gradient down the item, painted, see-through, and taking
// the touches that land on them so that a tap on a cover never reaches the page below. The
// gradient's stops come from the theme (OTPalette) unless a skin gives others: `alphas`, one a
// stop, top to bottom, at `locations` (fractions of the height; none spreads the stops evenly).
class OSTQUOTE_EXPORT RVCoverItem : public QQuickPaintedItem
{
    Q_OBJECT
    Q_PROPERTY(QList<qreal> alphas READ alphas WRITE setAlphas NOTIFY gradientChanged)
    Q_PROPERTY(QList<qreal> locations READ locations WRITE setLocations NOTIFY gradientChanged)
public:
    explicit RVCoverItem(QQuickItem *parent = nullptr);

    QList<qreal> alphas() const { return m_alphas; }
    void setAlphas(const QList<qreal> &alphas);
    QList<qreal> locations() const { return m_locations; }
    void setLocations(const QList<qreal> &locations);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void gradientChanged();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void touchEvent(QTouchEvent *event) override;

private:
    QList<qreal> m_alphas;
    QList<qreal> m_locations;
};

// The bottom cover of a quote page: black from transparent at the top edge to alpha 0.5 at
// 80 % of the height and below. Not opaque; no background of its own.
class OSTQUOTE_EXPORT RVGradientOverView : public RVCoverItem
{
    Q_OBJECT
    QML_ELEMENT
public:
    explicit RVGradientOverView(QQuickItem *parent = nullptr);
};

// The top cover: black at alpha 0.6 at the top edge to transparent at the bottom edge.
class OSTQUOTE_EXPORT RVGradientTopOverView : public RVCoverItem
{
    Q_OBJECT
    QML_ELEMENT
public:
    explicit RVGradientTopOverView(QQuickItem *parent = nullptr);
};
