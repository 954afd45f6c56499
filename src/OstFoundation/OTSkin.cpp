#include "OTSkin.h"

#include "OTSignalRelay_p.h"
#include "OTWebImage.h"

#include <QDebug>
#include <QMetaMethod>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

/*!
    \namespace OTSkin
    \inmodule OstFoundation
    \brief Skins: the QML files that give the C++ visual types their look.

    A visual type keeps its state in C++ (properties with change signals) and asks for changes
    with request signals; its skin, a QML file whose root is the type itself, declares the
    children, binds them to that state and owns the presented motion.
*/

namespace OTSkin {

/*!
    \fn QObject *OTSkin::create(QQmlEngine *engine, const QUrl &url, const char *key)

    Returns an object made from the skin at \a url in \a engine, the skin compiled once per
    engine (kept with the engine under \a key). The object is owned by C++. Returns null when
    the skin cannot be made.
*/
QObject *create(QQmlEngine *engine, const QUrl &url, const char *key)
{
    if (!engine)
        return nullptr;
    // Remote pictures in skins go through the shared disk cache (a host's own factory stays).
    OTWebImage::installDiskCache(engine);
    auto *component = engine->property(key).value<QQmlComponent *>();
    if (!component) {
        component = new QQmlComponent(engine, url, QQmlComponent::PreferSynchronous, engine);
        if (component->isError())
            qWarning().noquote() << "skin" << url.toString() << component->errorString();
        engine->setProperty(key, QVariant::fromValue(component));
    }
    QObject *object = component->create();
    if (object)
        QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
    else if (component->isError())
        qWarning().noquote() << "skin" << url.toString() << component->errorString();
    return object;
}

/*!
    \fn QQmlEngine *OTSkin::engineForItem(const QQuickItem *item)

    Returns the QML engine of the nearest item from \a item up that QML knows, or null.
*/
QQmlEngine *engineForItem(const QQuickItem *item)
{
    for (; item; item = item->parentItem()) {
        if (QQmlEngine *engine = qmlEngine(item))
            return engine;
    }
    return nullptr;
}

void onSignal(QObject *sender, const char *signal, QObject *context, std::function<void()> callback)
{
    if (!sender || !context)
        return;
    const QMetaObject *meta = sender->metaObject();
    const int index = meta->indexOfSignal(QMetaObject::normalizedSignature(signal).constData());
    if (index < 0) {
        qWarning() << "OTSkin::onSignal: no signal" << signal << "on" << sender;
        return;
    }
    // The relay belongs to the context, so it goes with it; Qt drops the connection when
    // the sender goes.
    auto *relay = new OTSignalRelay(std::move(callback), context);
    const int slot = relay->metaObject()->indexOfSlot("relay()");
    QObject::connect(sender, meta->method(index), relay, relay->metaObject()->method(slot));
}

} // namespace OTSkin

/*!
    \fn template <typename T> T *OTSkin::createAs(QQmlEngine *engine, const QUrl &url, const char *key)

    Returns create() of \a engine, \a url and \a key as a \c T: null, and nothing left over, when
    the skin's root is not a \c T.
*/

/*!
    \fn void OTSkin::onSignal(QObject *sender, const char *signal, QObject *context, std::function<void()> callback)

    Calls \a callback whenever \a signal (a signal signature such as \c{"busyChanged()"}) of
    \a sender is emitted, as long as both \a sender and \a context live.
*/
