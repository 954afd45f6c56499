#pragma once

// Skins: the QML files that give C++ visual types their look.

#include "OstFoundationGlobal.h"

#include <QObject>
#include <QUrl>
#include <functional>

class QQmlEngine;
class QQuickItem;

namespace OTSkin {

// An object made from the skin at `url` in `engine`, the skin compiled once per engine (kept
// with the engine under `key`). The object is owned by C++. Null when the skin cannot be made.
OSTFOUNDATION_EXPORT QObject *create(QQmlEngine *engine, const QUrl &url, const char *key);

// The same, as a T: null, and nothing left over, when the skin's root is not a T.
template <typename T>
T *createAs(QQmlEngine *engine, const QUrl &url, const char *key)
{
    QObject *object = create(engine, url, key);
    T *made = qobject_cast<T *>(object);
    if (!made)
        delete object;
    return made;
}

// The QML engine of the nearest item from `item` up that QML knows, or null.
OSTFOUNDATION_EXPORT QQmlEngine *engineForItem(const QQuickItem *item);

// Calls `callback` whenever `signal` (a signal signature such as "busyChanged()") of
// `sender` is emitted, as long as both `sender` and `context` live.
void onSignal(QObject *sender, const char *signal, QObject *context, std::function<void()> callback);

} // namespace OTSkin
