#include "Images.h"

#include <QTransform>

namespace assets {
namespace {

// ---------------------------------------------------------------------------------------
// The mark: a rounded square holding a bold opening quotation mark.

// One "6"-shaped half of an opening quotation mark in a 1 x 1.3 box: a round ball at the
// foot and a tapering tail sweeping up to the right.
QPainterPath quoteHalf()
{
    QPainterPath tail;
    tail.moveTo(0.04, 0.86);
    tail.cubicTo(0.02, 0.42, 0.30, 0.10, 0.86, 0.0);
    tail.cubicTo(0.92, -0.01, 0.97, 0.03, 0.96, 0.09);
    tail.cubicTo(0.95, 0.13, 0.92, 0.15, 0.88, 0.17);
    tail.cubicTo(0.62, 0.27, 0.50, 0.38, 0.50, 0.52);
    tail.lineTo(0.50, 0.86);
    tail.closeSubpath();
    QPainterPath ball;
    ball.addEllipse(QPointF(0.52, 0.84), 0.46, 0.46);
    return tail.united(ball).simplified();
}

QPainterPath quoteGlyph(const QRectF &square)
{
    // Two halves side by side, sitting a touch below the middle so the pair reads
    // optically centred in the square.
    QPainterPath pair = quoteHalf();
    pair.addPath(quoteHalf().translated(1.32, 0));
    pair = pair.simplified();
    const double s = square.width();
    const QRectF box(square.left() + s * 0.17, square.top() + s * 0.26, s * 0.66, s * 0.5);
    return fitInto(pair, box);
}

QPainterPath roundedSquare(const QRectF &square)
{
    QPainterPath path;
    path.addRoundedRect(square, square.width() * 0.25, square.width() * 0.25);
    return path;
}

const QColor kOstrelGreen(0x3C, 0xB3, 0x71);
const QColor kWordmarkGrey(0x33, 0x33, 0x33);

const QSize kLaunchLogoSize(112, 32);

// ---------------------------------------------------------------------------------------
// launch_ostrel_logo: green mark + dark-grey wordmark on a transparent background.

void drawLaunchLogo(QPainter &p, const Fonts &fonts)
{
    const QRectF square(1.5, 2.5, 27, 27);

    // Mark: brand green, lit slightly from the top, with a hairline darker rim.
    QLinearGradient fill(square.topLeft(), square.bottomLeft());
    fill.setColorAt(0.0, kOstrelGreen.lighter(112));
    fill.setColorAt(1.0, kOstrelGreen.darker(108));
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawPath(roundedSquare(square));
    p.setBrush(Qt::white);
    p.drawPath(quoteGlyph(square));

    // Wordmark: cap height about half the logo's height, aligned on the square's middle.
    const QPainterPath word = textOutline(fonts.sansBold, QStringLiteral("Ostrel"), 97);
    const QRectF wb = word.boundingRect();
    const double left = square.right() + 6.0, right = kLaunchLogoSize.width() - 1.0;
    const double scale = std::min((right - left) / wb.width(), 19.5 / wb.height());
    QTransform t;
    // Centre on the square's middle using the cap height ("O" spans 0..-capHeight).
    const double capHeight = -textOutline(fonts.sansBold, QStringLiteral("O")).boundingRect().top();
    t.translate(left, square.center().y() + capHeight * scale / 2.0);
    t.scale(scale, scale);
    t.translate(-wb.left(), 0);
    p.setBrush(kWordmarkGrey);
    p.drawPath(t.map(word));
}

// ---------------------------------------------------------------------------------------
// ostrel_logo_quote: white mark + white wordmark with a soft shadow, for photos.

const QSize kQuoteLogoSize(96, 28);

QPainterPath quoteLogoShape(const Fonts &fonts)
{
    const QRectF square(3.0, 3.5, 21, 21);
    QPainterPath mark = roundedSquare(square).subtracted(quoteGlyph(square));

    const QPainterPath word = textOutline(fonts.sansBold, QStringLiteral("Ostrel"), 97);
    const QRectF wb = word.boundingRect();
    const double left = square.right() + 5.0, right = kQuoteLogoSize.width() - 3.0;
    const double scale = std::min((right - left) / wb.width(), 15.5 / wb.height());
    const double capHeight = -textOutline(fonts.sansBold, QStringLiteral("O")).boundingRect().top();
    QTransform t;
    t.translate(left, square.center().y() + capHeight * scale / 2.0);
    t.scale(scale, scale);
    t.translate(-wb.left(), 0);

    QPainterPath shape = mark;
    shape.addPath(t.map(word));
    return shape;
}

} // namespace

QImage renderLaunchLogo(const Fonts &fonts, int scale)
{
    QImage image = transparentCanvas(kLaunchLogoSize, scale);
    QPainter p(&image);
    setupPainter(p, scale);
    drawLaunchLogo(p, fonts);
    p.end();
    return image;
}

QImage renderQuoteLogo(const Fonts &fonts, int scale)
{
    const QPainterPath shape = quoteLogoShape(fonts);

    // Shadow: the shape in black, blurred at this scale's pixel size, a little lower.
    QImage shadow = transparentCanvas(kQuoteLogoSize, scale);
    {
        QPainter p(&shadow);
        setupPainter(p, scale);
        p.translate(0, 0.6);
        p.setPen(QPen(Qt::black, 0.6));
        p.setBrush(Qt::black);
        p.drawPath(shape);
    }
    blur(shadow, 1.1 * scale, 1.1 * scale);

    QImage image = transparentCanvas(kQuoteLogoSize, scale);
    QPainter p(&image);
    p.setOpacity(0.55);
    p.drawImage(0, 0, shadow);
    p.setOpacity(1.0);
    setupPainter(p, scale);
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawPath(shape);
    return image;
}

} // namespace assets
