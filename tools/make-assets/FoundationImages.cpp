#include "Images.h"

#include <QPainterPathStroker>
#include <QTransform>

#include <cmath>
#include <functional>
#include <vector>

namespace assets {
namespace {

// ---------------------------------------------------------------------------------------
// OstFoundation's images: the navigation arrows, the share bar icon and the share panel's
// target icons. Written by `--foundation <dir>`.

const QSize kBarIconSize(22, 22);
const QSize kPanelIconSize(60, 60);

// A stroked outline as a fillable shape, so the shadow pass and the colour pass draw the
// very same area.
QPainterPath strokedPath(const QPainterPath &path, double width)
{
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(path).simplified();
}

// `shape` in `colour` over a soft black shadow, so that a white glyph reads over a bright
// photo as well as over a dark one.
QImage renderShadowedGlyph(const QPainterPath &shape, const QColor &colour, QSize points, int scale)
{
    QImage shadow = transparentCanvas(points, scale);
    {
        QPainter p(&shadow);
        setupPainter(p, scale);
        p.translate(0, 0.5);
        p.setPen(QPen(Qt::black, 0.8));
        p.setBrush(Qt::black);
        p.drawPath(shape);
    }
    blur(shadow, 1.0 * scale, 1.0 * scale);

    QImage image = transparentCanvas(points, scale);
    QPainter p(&image);
    p.setOpacity(0.45);
    p.drawImage(0, 0, shadow);
    p.setOpacity(1.0);
    setupPainter(p, scale);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawPath(shape);
    return image;
}

QImage renderPlainGlyph(const QPainterPath &shape, const QColor &colour, QSize points, int scale)
{
    QImage image = transparentCanvas(points, scale);
    QPainter p(&image);
    setupPainter(p, scale);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawPath(shape);
    return image;
}

// The back chevron, its point against the left edge of a 22 x 22 canvas.
QPainterPath backChevron()
{
    QPainterPath path;
    path.moveTo(12.0, 3.5);
    path.lineTo(4.0, 11.0);
    path.lineTo(12.0, 18.5);
    return strokedPath(path, 2.4);
}

// "Share": an open-topped box with an arrow rising out of it.
QPainterPath shareGlyph()
{
    QPainterPath box;
    box.moveTo(8.0, 8.5);
    box.lineTo(5.0, 8.5);
    box.lineTo(5.0, 19.5);
    box.lineTo(17.0, 19.5);
    box.lineTo(17.0, 8.5);
    box.lineTo(14.0, 8.5);
    QPainterPath arrow;
    arrow.moveTo(11.0, 2.5);
    arrow.lineTo(11.0, 13.5);
    arrow.moveTo(7.5, 6.0);
    arrow.lineTo(11.0, 2.5);
    arrow.lineTo(14.5, 6.0);
    return strokedPath(box, 1.8).united(strokedPath(arrow, 1.8));
}

// Glyphs of the share panel, drawn on a 60 x 60 canvas around its centre.

QPainterPath letterGlyph(const QString &family, const QString &text, double boxWidth, double boxHeight)
{
    QFont font(family);
    font.setBold(true);
    font.setPixelSize(200);
    font.setHintingPreference(QFont::PreferNoHinting);
    QPainterPath path;
    path.addText(0, 0, font, text);
    return fitInto(path, QRectF(30 - boxWidth / 2, 30 - boxHeight / 2, boxWidth, boxHeight));
}

QPainterPath starGlyph()
{
    QPainterPath star;
    const double outer = 14.5, inner = 6.2;
    for (int i = 0; i < 10; ++i) {
        const double r = i % 2 ? inner : outer;
        const double a = -M_PI / 2 + i * M_PI / 5;
        const QPointF pt(30 + r * std::cos(a), 31 + r * std::sin(a));
        if (i == 0)
            star.moveTo(pt);
        else
            star.lineTo(pt);
    }
    star.closeSubpath();
    // Softened tips: the outline stroked thinly and joined round.
    return star.united(strokedPath(star, 1.6));
}

QPainterPath envelopeGlyph()
{
    const QRectF body(16, 20, 28, 20);
    QPainterPath frame;
    frame.addRoundedRect(body, 2.5, 2.5);
    QPainterPath flap;
    flap.moveTo(body.left() + 1.5, body.top() + 1.5);
    flap.lineTo(30, 31.5);
    flap.lineTo(body.right() - 1.5, body.top() + 1.5);
    return strokedPath(frame, 2.4).united(strokedPath(flap, 2.4));
}

QPainterPath downloadGlyph()
{
    QPainterPath arrow;
    arrow.moveTo(30, 15.5);
    arrow.lineTo(30, 35);
    arrow.moveTo(22.5, 27.5);
    arrow.lineTo(30, 35);
    arrow.lineTo(37.5, 27.5);
    QPainterPath tray;
    tray.moveTo(18, 35.5);
    tray.lineTo(18, 43);
    tray.lineTo(42, 43);
    tray.lineTo(42, 35.5);
    return strokedPath(arrow, 2.6).united(strokedPath(tray, 2.6));
}

// Two overlapping squares; the front one is cut out of the back one so they read apart.
QPainterPath copyGlyph()
{
    const QRectF back(17, 16, 19, 19), front(24, 24, 19, 19);
    QPainterPath backFrame;
    backFrame.addRoundedRect(back, 3, 3);
    QPainterPath frontFrame;
    frontFrame.addRoundedRect(front, 3, 3);
    QPainterPath gap;
    gap.addRoundedRect(front.adjusted(-2.6, -2.6, 2.6, 2.6), 4.5, 4.5);
    return strokedPath(backFrame, 2.4).subtracted(gap).united(strokedPath(frontFrame, 2.4));
}

// Two links of a chain on the rising diagonal.
QPainterPath chainGlyph()
{
    auto link = [](QPointF centre) {
        QPainterPath path;
        path.addRoundedRect(QRectF(-11, -5.5, 22, 11), 5.5, 5.5);
        QTransform t;
        t.translate(centre.x(), centre.y());
        t.rotate(-45);
        return strokedPath(t.map(path), 2.6);
    };
    // Each link's inner end lies well past the other's end arc, so the outlines cross
    // cleanly instead of running together.
    return link(QPointF(24.7, 35.3)).united(link(QPointF(35.3, 24.7)));
}

// Lines of text under an opening quotation mark: the quote as text.
QPainterPath textGlyph()
{
    QPainterPath marks;
    for (double x : {20.0, 27.0}) {
        marks.addEllipse(QPointF(x, 20.5), 2.6, 2.6);
        QPainterPath tail;
        tail.moveTo(x - 2.2, 20.5);
        tail.quadTo(x - 2.4, 16.0, x + 1.4, 14.0);
        marks = marks.united(strokedPath(tail, 1.8));
    }
    QPainterPath lines;
    lines.moveTo(33, 19);
    lines.lineTo(41, 19);
    for (double y : {27.0, 34.0}) {
        lines.moveTo(19, y);
        lines.lineTo(41, y);
    }
    lines.moveTo(19, 41);
    lines.lineTo(32, 41);
    return marks.united(strokedPath(lines, 2.6));
}

QPainterPath dotsGlyph()
{
    QPainterPath dots;
    for (double x : {20.5, 30.0, 39.5})
        dots.addEllipse(QPointF(x, 30), 3.0, 3.0);
    return dots;
}

QPainterPath globeGlyph()
{
    QPainterPath outline;
    outline.addEllipse(QPointF(30, 30), 13, 13);
    QPainterPath meridian;
    meridian.addEllipse(QPointF(30, 30), 5.5, 13);
    QPainterPath lines;
    lines.moveTo(17, 30);
    lines.lineTo(43, 30);
    lines.moveTo(19.5, 23);
    lines.lineTo(40.5, 23);
    lines.moveTo(19.5, 37);
    lines.lineTo(40.5, 37);
    lines.moveTo(30, 17);
    lines.lineTo(30, 43);
    QPainterPath clip;
    clip.addEllipse(QPointF(30, 30), 12, 12);
    return strokedPath(outline, 2.2)
        .united(strokedPath(meridian, 2.0).intersected(clip))
        .united(strokedPath(lines, 2.0).intersected(clip));
}

// A share target: a round disc in `disc` with `glyph` in `ink`.
QImage renderPanelIcon(const QPainterPath &glyph, const QColor &disc, const QColor &ink, int scale)
{
    QImage image = transparentCanvas(kPanelIconSize, scale);
    QPainter p(&image);
    setupPainter(p, scale);
    p.setPen(Qt::NoPen);
    // Lit a touch from the top, like the app's other marks.
    QLinearGradient fill(QPointF(0, 1), QPointF(0, 59));
    fill.setColorAt(0.0, disc.lighter(106));
    fill.setColorAt(1.0, disc.darker(104));
    p.setBrush(fill);
    p.drawEllipse(QPointF(30, 30), 29, 29);
    p.setBrush(ink);
    p.drawPath(glyph);
    return image;
}

struct PanelIcon
{
    const char *name;
    QPainterPath glyph;
    QColor disc;
    bool neutral; // light disc and dark ink, for the panel's own actions
};

} // namespace

bool writeFoundationImages(const QDir &out, const Fonts &fonts, QTextStream &log)
{
    const QString cjk = loadFamily(QStringLiteral("/usr/share/fonts/opentype/noto/NotoSansCJK-Bold.ttc"),
                                   QStringLiteral("Noto Sans CJK SC"));
    const QColor neutralDisc(0xEC, 0xEC, 0xEF);
    const QColor neutralInk(0x4A, 0x4A, 0x4A);
    const std::vector<PanelIcon> icons = {
        {"share_weibo", letterGlyph(cjk, QStringLiteral("微"), 27, 27), QColor(0xE6, 0x16, 0x2D), false},
        {"share_qq", letterGlyph(fonts.sansBold, QStringLiteral("QQ"), 31, 20), QColor(0x12, 0xB7, 0xF5), false},
        {"share_qzone", starGlyph(), QColor(0xF7, 0xB5, 0x00), false},
        {"share_mail", envelopeGlyph(), QColor(0x8E, 0x8E, 0x93), false},
        {"share_douban", letterGlyph(cjk, QStringLiteral("豆"), 27, 27), QColor(0x2E, 0x96, 0x3D), false},
        {"share_twitter", letterGlyph(fonts.sansBold, QStringLiteral("T"), 20, 22), QColor(0x1D, 0xA1, 0xF2), false},
        {"share_save_image", downloadGlyph(), QColor(0xFF, 0x8A, 0x1F), false},
        {"share_copy_image", copyGlyph(), QColor(0x58, 0x56, 0xD6), false},
        {"share_copy_link", chainGlyph(), neutralDisc, true},
        {"share_copy_text", textGlyph(), neutralDisc, true},
        {"share_more", dotsGlyph(), neutralDisc, true},
        {"share_browser", globeGlyph(), neutralDisc, true},
        {"share_email", envelopeGlyph(), neutralDisc, true},
    };

    bool ok = true;
    auto save = [&](const QImage &image, const QString &base, int scale) {
        const QString file = out.filePath(scaledName(base, QStringLiteral("png"), scale));
        ok = savePng(image, file) && ok;
        log << file << '\n';
    };
    const QColor white(Qt::white);
    const QColor dimWhite(255, 255, 255, 128);
    const QColor barInk(0x33, 0x33, 0x33);
    const QColor barInkPressed(0x33, 0x33, 0x33, 90);
    for (int scale = 1; scale <= 3; ++scale) {
        // Over pictures: white with a shadow; pressed, half as bright.
        save(renderShadowedGlyph(backChevron(), white, kBarIconSize, scale), "ostrel_navigation_back", scale);
        save(renderShadowedGlyph(backChevron(), dimWhite, kBarIconSize, scale), "ostrel_navigation_back_highlight", scale);
        save(renderShadowedGlyph(shareGlyph(), white, kBarIconSize, scale), "ostrel_share_bar", scale);
        save(renderShadowedGlyph(shareGlyph(), dimWhite, kBarIconSize, scale), "ostrel_share_bar_highlight", scale);
        // On the navigation bar's white: dark, no shadow.
        save(renderPlainGlyph(backChevron(), barInk, kBarIconSize, scale), "ostrel_navigation_bar_back", scale);
        save(renderPlainGlyph(backChevron(), barInkPressed, kBarIconSize, scale),
             "ostrel_navigation_bar_back_highlight", scale);

        for (const PanelIcon &icon : icons) {
            const QColor ink = icon.neutral ? neutralInk : white;
            const QColor pressed = icon.neutral ? QColor(0xD8, 0xD8, 0xDC) : icon.disc.darker(118);
            save(renderPanelIcon(icon.glyph, icon.disc, ink, scale), QString::fromLatin1(icon.name), scale);
            save(renderPanelIcon(icon.glyph, pressed, ink, scale), QString::fromLatin1(icon.name) + "_highlight", scale);
        }
    }
    return ok;
}

} // namespace assets
