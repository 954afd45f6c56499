#pragma once

#include <QDate>
#include <QImage>
#include <QQuickImageProvider>
#include <QUrl>

// Day pictures drawn locally: a portrait landscape (sky, sun, hills) whose colours and shapes
// follow from the day alone, so a day always looks the same and neighbouring days differ.
// Served to Qt Quick as "image://ostfixture/<yyyy-MM-dd>"; requests come from Qt Quick's
// loader thread. By default every request draws its day afresh and nothing is kept. With a
// `variety`, that many pictures are drawn up front and the days take turns with them, so a
// request costs next to nothing (for measuring what shows the pictures, not what draws them).
class FixturePictures : public QQuickImageProvider
{
public:
    static constexpr const char *ProviderId = "ostfixture";
    static constexpr int Width = 750;
    static constexpr int Height = 1334;

    explicit FixturePictures(int variety = 0);

    static QUrl urlForDay(const QDate &day);
    // The picture of `day`, Width x Height, or scaled to `size` when that is valid.
    static QImage draw(const QDate &day, const QSize &size = QSize());

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

private:
    QList<QImage> m_drawn; // read-only once made, so the loader thread may share it
};
