#include "DayPicture.h"

#include "DayScene.h"
#include "QuoteDatabase.h"   // ostStableHash

#include <QBuffer>
#include <QFont>
#include <QFontMetricsF>
#include <QImageWriter>
#include <QLinearGradient>
#include <QLocale>
#include <QPainter>

#include <algorithm>

namespace DayPicture {

namespace {

using namespace Scenery;

QImage renderPicture(const QDate &day)
{
    const QSizeF size(PictureSize);
    SceneRandom random(ostStableHash(day.toString(Qt::ISODate).toUtf8()));
    const Scene scene = sceneFor(day, random, size);

    QImage image(PictureSize, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    drawSky(p, scene, size);
    if (scene.time == TimeOfDay::Night || scene.time == TimeOfDay::Dusk)
        drawStars(p, random, scene, size);
    drawLight(p, scene);
    drawClouds(p, random, scene, size);
    if (scene.sea)
        drawSea(p, random, scene, size);
    drawLand(p, random, scene, size);
    drawVignette(p, size);
    p.end();
    return image;
}

// The largest font size (from `largest` down to `smallest`) at which `text` fits `box`
// word-wrapped; the rectangle it then takes.
QRectF fitText(QFont &font, const QString &text, const QSizeF &box, int largest, int smallest)
{
    QRectF bounds;
    for (int pixels = largest; pixels >= smallest; --pixels) {
        font.setPixelSize(pixels);
        bounds = QFontMetricsF(font).boundingRect(QRectF(QPointF(0, 0), QSizeF(box.width(), 1e6)),
                                                  Qt::TextWordWrap | Qt::AlignLeft, text);
        if (bounds.height() <= box.height())
            break;
    }
    return bounds;
}

} // namespace

QImage picture(const QDate &day)
{
    return renderPicture(day);
}

QImage shareCard(const DayQuote &quote)
{
    const QImage background = renderPicture(quote.day);
    QImage card(ShareCardSize, QImage::Format_RGB32);
    QPainter p(&card);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);

    // The middle of the picture: the horizon and the hills sit in the lower half.
    const int top = int(PictureSize.height() * 0.62) - ShareCardSize.height() * 6 / 10;
    p.drawImage(QPoint(0, 0), background, QRect(QPoint(0, top), ShareCardSize));
    QLinearGradient shade(0, 0, 0, ShareCardSize.height());
    shade.setColorAt(0.0, QColor(0, 0, 0, 150));
    shade.setColorAt(0.5, QColor(0, 0, 0, 120));
    shade.setColorAt(1.0, QColor(0, 0, 0, 190));
    p.fillRect(card.rect(), shade);

    const double margin = 56;
    const double width = ShareCardSize.width() - 2 * margin;

    QFont label(QStringLiteral("DejaVu Sans"));
    label.setPixelSize(18);
    label.setLetterSpacing(QFont::AbsoluteSpacing, 2.5);
    QFont sentence(QStringLiteral("DejaVu Serif"));
    QFont author(QStringLiteral("DejaVu Serif"));
    author.setPixelSize(22);
    author.setItalic(true);
    QFont translation(QStringLiteral("Noto Serif CJK SC"));
    translation.setFamilies({QStringLiteral("Noto Serif CJK SC"), QStringLiteral("Noto Sans CJK SC")});
    for (QFont *font : {&label, &sentence, &author, &translation})
        font->setHintingPreference(QFont::PreferNoHinting);

    const QString authorLine = QStringLiteral("— ") + quote.author;
    const QRectF sentenceBox = fitText(sentence, quote.content, QSizeF(width, 300), 40, 20);
    const QRectF authorBox = QFontMetricsF(author).boundingRect(QRectF(0, 0, width, 1e6),
                                                                Qt::TextWordWrap | Qt::AlignLeft, authorLine);
    const QRectF translationBox = fitText(translation, quote.translation, QSizeF(width, 150), 28, 16);

    // The block sits in the middle between the date line and the signature.
    const double gapAfterSentence = 20, gapAfterAuthor = 30;
    const double blockHeight = sentenceBox.height() + gapAfterSentence + authorBox.height() + gapAfterAuthor
                               + translationBox.height();
    const double areaTop = 120, areaBottom = ShareCardSize.height() - 100;
    double y = std::max(areaTop, areaTop + (areaBottom - areaTop - blockHeight) / 2);

    p.setPen(QColor(255, 255, 255, 215));
    p.setFont(label);
    const QString date = QLocale::c().toString(quote.day, QStringLiteral("d MMMM yyyy")).toUpper();
    p.drawText(QRectF(margin, 56, width, 30), Qt::AlignLeft | Qt::AlignVCenter, date);
    p.fillRect(QRectF(margin, 94, 48, 2), QColor(255, 255, 255, 170));

    p.setPen(QColor(0xffffff));
    p.setFont(sentence);
    p.drawText(QRectF(margin, y, width, sentenceBox.height() + 4), Qt::TextWordWrap | Qt::AlignLeft, quote.content);
    y += sentenceBox.height() + gapAfterSentence;

    p.setPen(QColor(255, 255, 255, 220));
    p.setFont(author);
    p.drawText(QRectF(margin, y, width, authorBox.height() + 4), Qt::TextWordWrap | Qt::AlignLeft, authorLine);
    y += authorBox.height() + gapAfterAuthor;

    p.setPen(QColor(255, 255, 255, 235));
    p.setFont(translation);
    p.drawText(QRectF(margin, y, width, translationBox.height() + 4), Qt::TextWordWrap | Qt::AlignLeft,
               quote.translation);

    p.setPen(QColor(255, 255, 255, 190));
    label.setPixelSize(16);
    label.setBold(true);
    p.setFont(label);
    p.drawText(QRectF(margin, ShareCardSize.height() - 76, width, 30), Qt::AlignLeft | Qt::AlignVCenter,
               QStringLiteral("OSTQUOTE"));
    QFont topic = translation;
    topic.setPixelSize(18);
    p.setFont(topic);
    p.drawText(QRectF(margin, ShareCardSize.height() - 76, width, 30), Qt::AlignRight | Qt::AlignVCenter,
               QStringLiteral("每日一句"));
    p.end();
    return card;
}

QByteArray jpeg(const QImage &image, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(quality);
    writer.setOptimizedWrite(true);
    writer.write(image);
    return bytes;
}
} // namespace DayPicture
