#pragma once

#include <QQuickItem>
#include <QQuickWindow>
#include <QtNumeric>

// Finding items in a scene and pointing at them, as the tests of the screens do.

inline QRectF sceneRect(QQuickItem *item)
{
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

inline QPoint centreOf(QQuickItem *item)
{
    return sceneRect(item).center().toPoint();
}

// The item called `name` in the item tree from `root` down (a Repeater's items are not
// QObject children of their view, so findChild misses them).
inline QQuickItem *findItem(QQuickItem *root, const QString &name)
{
    if (!root || root->objectName() == name)
        return root;
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findItem(child, name))
            return found;
    }
    return nullptr;
}

// The scale a quote page's content is shown at (its skin's "pageContent"): the gallery's depth
// effect shrinks it behind the page sliding over it. Not a number when there is none.
inline qreal shownScale(QQuickItem *page)
{
    const QQuickItem *content = findItem(page, QStringLiteral("pageContent"));
    return content ? content->scale() : qQNaN();
}

// With OSTQUOTE_SCREENSHOTS set, the window's picture goes to that folder as `name` (the
// pictures of the README are taken so).
inline void saveScreenshot(QQuickWindow *window, const QString &name)
{
    const QByteArray dir = qgetenv("OSTQUOTE_SCREENSHOTS");
    if (!dir.isEmpty())
        window->grabWindow().save(QString::fromLocal8Bit(dir) + QLatin1Char('/') + name);
}
