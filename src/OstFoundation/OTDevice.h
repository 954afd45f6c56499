#pragma once

#include "OstFoundationGlobal.h"

#include <QObject>

// What kind of device the app runs on.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTDevice : public QObject
{
    Q_OBJECT
    Q_PROPERTY(UserInterfaceIdiom userInterfaceIdiom READ userInterfaceIdiom WRITE setUserInterfaceIdiom
                   RESET resetUserInterfaceIdiom NOTIFY userInterfaceIdiomChanged)
public:
    enum UserInterfaceIdiom {
        Phone = 0,
        Pad = 1,
    };
    Q_ENUM(UserInterfaceIdiom)

    // The one device object (GUI thread).
    static OTDevice *currentDevice();

    UserInterfaceIdiom userInterfaceIdiom() const;
    // Overrides what the environment says until resetUserInterfaceIdiom().
    void setUserInterfaceIdiom(UserInterfaceIdiom idiom);
    // Back to what the environment says.
    void resetUserInterfaceIdiom();

Q_SIGNALS:
    void userInterfaceIdiomChanged();

private:
    explicit OTDevice(QObject *parent = nullptr);
    static UserInterfaceIdiom environmentIdiom();

    bool m_overridden = false;
    UserInterfaceIdiom m_idiom = Phone;
};
