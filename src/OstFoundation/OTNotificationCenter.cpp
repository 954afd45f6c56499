#include "OTNotificationCenter.h"

#include <QCoreApplication>
#include <QThread>

#include <cstring>

const char OTSharedToWeiboSuccessNotification[] = "OTSharedToWeiboSuccessNotification";

/*!
    \class OTNotificationCenter
    \inmodule OstFoundation
    \brief The foundation's notification centre: one signal per notification.

    Observers connect with a context object, so an observer that is destroyed is disconnected. A
    notification posted from another thread reaches observers on the posting thread (a direct
    connection) unless they connect queued.

    \code
    connect(OTNotificationCenter::defaultCenter(), &OTNotificationCenter::sharedToWeiboSuccess,
            this, [this] { announceShare(); });
    \endcode
*/
OTNotificationCenter::OTNotificationCenter(QObject *parent)
    : QObject(parent)
{
}

/*!
    Returns the centre of the process.
*/
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

/*!
    Posts the notification called \a name with \a object. Returns \c false for a name the centre
    does not know.
*/
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

/*!
    \variable OTSharedToWeiboSuccessNotification
    \relates OTNotificationCenter

    The name of the notification posted when a share to Weibo went out.
*/

/*!
    \fn void OTNotificationCenter::sharedToWeiboSuccess(QObject *object)

    This signal is OTSharedToWeiboSuccessNotification, posted with \a object.
*/
