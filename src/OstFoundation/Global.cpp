#include "Global.h"

#include "OTHUD.h"
#include "OTMotion.h"
#include "OTSkin.h"

#include <QGuiApplication>
#include <QMutex>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWindow>
#include <QThread>
#include <QTimer>

namespace {

const QUrl kHUDSkinURL(QStringLiteral("qrc:/OstFoundation/OTHUDSkin.qml"));

// The window a message goes to: the focus window when it is a Qt Quick one, else the Qt
// Quick window in view that was created last.
QQuickWindow *currentWindow()
{
    if (auto *focus = qobject_cast<QQuickWindow *>(QGuiApplication::focusWindow())) {
        if (focus->isVisible())
            return focus;
    }
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (auto it = windows.crbegin(); it != windows.crend(); ++it) {
        auto *window = qobject_cast<QQuickWindow *>(*it);
        if (window && window->isVisible())
            return window;
    }
    return nullptr;
}

// The QML engine the window's scene was made in, found from the window or its items.
QQmlEngine *engineForWindow(QQuickWindow *window)
{
    if (auto *view = qobject_cast<QQuickView *>(window))
        return view->engine();
    if (QQmlEngine *engine = qmlEngine(window))
        return engine;
    QList<QQuickItem *> items = window->contentItem()->childItems();
    while (!items.isEmpty()) {
        QQuickItem *item = items.takeFirst();
        if (QQmlEngine *engine = qmlEngine(item))
            return engine;
        items.append(item->childItems());
    }
    return nullptr;
}

} // namespace

/*!
    \class Global
    \inmodule OstFoundation
    \brief App-wide services of the foundation: transient messages.

    showHUB() puts a transient message (a "HUD") over the current window: centred, a dark
    rounded box, white text, shown for HUBDuration milliseconds and then faded out by its skin
    (\l {OstFoundation::OTHUD}{OTHUD}); a new message replaces the one in view. The status picks
    the box's icon: 0 plain text (success or information), 1 a success tick, 2 an error cross.

    \code
    Global::sharedGlobal()->showHUB(QObject::tr("Link copied"), 1);
    \endcode
*/
Global::Global(QObject *parent)
    : QObject(parent)
{
}

/*!
    Returns the one object of the process.
*/
Global *Global::sharedGlobal()
{
    // Made on whichever thread asks first, it lives on the application's thread: messages
    // are items of a window, which only that thread may touch.
    // It goes with the application, and its own QML engine with it.
    static QPointer<Global> global;
    static QMutex mutex;
    QMutexLocker lock(&mutex);
    if (!global) {
        global = new Global;
        if (QCoreApplication *app = QCoreApplication::instance()) {
            global->moveToThread(app->thread());
            global->setParent(app);
        }
    }
    return global;
}

/*!
    Shows \a text with the icon of \a status over the current window (the focus window, else the
    last Qt Quick window that showed something). Does nothing but remember the message when
    there is no window.

    May be called from any thread: the message is shown on the application's thread (at once
    when called there, else as soon as its event loop runs).
*/
void Global::showHUB(const QString &text, int status)
{
    // Asked from another thread (a notification posted from a worker): shown on ours.
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [this, text, status]() { showHUB(text, status); }, Qt::QueuedConnection);
        return;
    }

    m_lastText = text;
    m_lastStatus = status;

    // The message in view makes way at once.
    if (m_hub) {
        m_hub->setParentItem(nullptr);
        m_hub->deleteLater();
        m_hub.clear();
    }

    if (QQuickWindow *window = currentWindow()) {
        QQmlEngine *engine = engineForWindow(window);
        if (!engine) {
            // A window built without QML: the foundation keeps an engine of its own for it.
            if (!m_ownEngine)
                m_ownEngine = new QQmlEngine(this);
            engine = m_ownEngine;
        }
        auto *hub = OTSkin::createAs<OTHUD>(engine, kHUDSkinURL, "_otHUDSkin");
        if (hub) {
            hub->setMessage(text, status);
            // It goes with the window, and lies over everything in it.
            QQuickItem *content = window->contentItem();
            hub->setParent(content);
            hub->setParentItem(content);
            qreal top = 0;
            for (QQuickItem *sibling : content->childItems())
                top = qMax(top, sibling->z());
            hub->setZ(qMax<qreal>(top + 1, 10000));

            // In full view for its time, then it fades (the skin's motion) and goes.
            auto *fade = new OTMotion(hub, "presentation", "fading");
            QTimer::singleShot(HUBDuration, hub, [hub, fade]() {
                fade->moveTo(0, [hub]() {
                    hub->setParentItem(nullptr);
                    hub->deleteLater();
                });
            });
            m_hub = hub;
        }
    }
    Q_EMIT hubShown(text, status);
}

/*!
    \variable Global::HUBDuration

    How long a message stays in full view before it fades, in milliseconds.
*/

/*!
    \fn QString Global::lastHUBText() const

    Returns the message last shown, for hosts that log. The message in view is the item of
    objectName \c OTHUD in the window.
*/

/*!
    \fn int Global::lastHUBStatus() const

    Returns the status of the message last shown.
*/

/*!
    \fn void Global::hubShown(const QString &text, int status)

    This signal is emitted when the message \a text with \a status has been shown.
*/
