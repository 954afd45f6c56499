#pragma once

#include <QImage>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

// A still picture of a window as it was, to lay over the window while what it showed changes
// underneath. `fading` is the host's request that it go; its skin (DemoLaunchCover.qml) fades
// it out over `fadeDuration` ms, and the host removes it once its opacity has reached 0.
class DemoSnapshot : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool fading READ isFading NOTIFY fadingChanged)
    Q_PROPERTY(int fadeDuration READ fadeDuration CONSTANT)
public:
    explicit DemoSnapshot(QQuickItem *parent = nullptr);

    void setImage(const QImage &image);
    QImage image() const { return m_image; }

    bool isFading() const { return m_fading; }
    void setFading(bool fading);
    int fadeDuration() const;

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void fadingChanged();

private:
    QImage m_image;
    bool m_fading = false;
};
