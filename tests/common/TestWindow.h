#pragma once

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

#include <memory>

// A shown and exposed window whose scene was made by QML, as a host's is (screens and views
// find their engine through it), with this build's QML modules on the import path. Null when
// the window does not come up.
inline std::unique_ptr<QQuickView> openTestWindow(QSize size = QSize(375, 667))
{
    auto view = std::make_unique<QQuickView>();
    view->engine()->addImportPath(QStringLiteral(OST_QML_DIR));
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setSource(QUrl(QStringLiteral("data:text/plain,import QtQuick%0AItem {}")));
    view->resize(size);
    view->show();
    if (!QTest::qWaitForWindowExposed(view.get()) || !view->rootObject())
        return nullptr;
    return view;
}

// The transient messages (objectName "OTHUD") over the window's scene.
inline QList<QQuickItem *> messagesIn(QQuickWindow *window)
{
    QList<QQuickItem *> found;
    for (QQuickItem *item : window->contentItem()->childItems()) {
        if (item->objectName() == QLatin1String("OTHUD"))
            found.append(item);
    }
    return found;
}
