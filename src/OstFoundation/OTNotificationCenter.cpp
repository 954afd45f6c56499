#include "OTNotificationCenter.h"

#include <QCoreApplication>
#include <QThread>

#include <cstring>

const char OTSharedToWeiboSuccessNotification[] = "OTSharedToWeiboSuccessNotification";

OTNotificationCenter::OTNotificationCenter(QObject *parent)
    : QObject(parent)
{
}

OTNotificationCenter *OTNotificationCenter::defaultCenter()
{
    // Never destroyed: observers may still disconnect from it while the process exits.
    static OTNotificationCenter *center = [] {
        auto *made = new OTNotificationCenter;
        // Observers connect to it from the GUI thread, whichever thread asked first.
        if (QCoreApplication *app = QCoreApplication::instance())
            made->moveToThread(app->thread());
        return made;
    }();
    return center;
}

bool OTNotificationCenter::postNotificationName(const char *name, QObject *object)
{
    if (!name)
        return false;
    if (std::strcmp(name, OTSharedToWeiboSuccessNotification) == 0) {
        Q_EMIT sharedToWeiboSuccess(object);
        return true;
    }
    return false;
}
