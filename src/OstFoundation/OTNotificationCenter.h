#pragma once

#include "OstFoundationGlobal.h"

#include <QObject>

// The name of the notification posted when a share to Weibo went out.
OSTFOUNDATION_EXPORT extern const char OTSharedToWeiboSuccessNotification[];

// The foundation's notification centre: one signal per notification.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTNotificationCenter : public QObject
{
    Q_OBJECT
public:
    static OTNotificationCenter *defaultCenter();

    // Posts the notification called `name`; false for a name the centre does not know.
    bool postNotificationName(const char *name, QObject *object = nullptr);

Q_SIGNALS:
    // OTSharedToWeiboSuccessNotification.
    void sharedToWeiboSuccess(QObject *object);

private:
    explicit OTNotificationCenter(QObject *parent = nullptr);
};
