#pragma once

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class OTNavigationController;
class QQmlEngine;

// The demo app's own logic: what its home screen's buttons do.
class DemoHost : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app")
public:
    DemoHost(QQmlEngine *engine, OTNavigationController *navigation, QObject *parent = nullptr);

    // Pushes a new quote viewer.
    Q_INVOKABLE void openViewer(bool animated = true);

private:
    QQmlEngine *m_engine;
    QPointer<OTNavigationController> m_navigation;
};
