#include "OTSkin.h"

#include "OTSignalRelay_p.h"
#include "OTWebImage.h"

#include <QDebug>
#include <QMetaMethod>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

namespace OTSkin {

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
