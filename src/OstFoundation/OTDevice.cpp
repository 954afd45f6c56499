#include "OTDevice.h"

#include <QCoreApplication>
#include <QPointer>

/*!
    \class OTDevice
    \inmodule OstFoundation
    \brief What kind of device the app runs on.

    Screens that set text larger on tablets ask here. The idiom is OTDevice::Phone unless the
    environment variable \c OSTQUOTE_DEVICE_IDIOM says \c pad (or \c phone), or a host (or a
    test) sets it with setUserInterfaceIdiom(). A desktop window has no idiom of its own, so it
    behaves like a phone by default.
*/
OTDevice::OTDevice(QObject *parent)
    : QObject(parent)
{
}

/*!
    Returns the one device object (GUI thread).
*/
OTDevice *OTDevice::currentDevice()
{
    // Lives as long as the application; a later application gets a new one.
    static QPointer<OTDevice> device;
    if (!device)
        device = new OTDevice(QCoreApplication::instance());
    return device;
}

OTDevice::UserInterfaceIdiom OTDevice::environmentIdiom()
{
    const QByteArray value = qgetenv("OSTQUOTE_DEVICE_IDIOM").trimmed().toLower();
    return value == "pad" ? Pad : Phone;
}

/*!
    \property OTDevice::userInterfaceIdiom
    \brief The device's idiom.

    Setting it overrides what the environment says until it is reset.
*/
OTDevice::UserInterfaceIdiom OTDevice::userInterfaceIdiom() const
{
    return m_overridden ? m_idiom : environmentIdiom();
}

/*!
    Sets the idiom to \a idiom, overriding what the environment says until
    resetUserInterfaceIdiom().
*/
void OTDevice::setUserInterfaceIdiom(UserInterfaceIdiom idiom)
{
    const UserInterfaceIdiom before = userInterfaceIdiom();
    m_overridden = true;
    m_idiom = idiom;
    if (before != idiom)
        Q_EMIT userInterfaceIdiomChanged();
}

/*!
    Goes back to what the environment says.
*/
void OTDevice::resetUserInterfaceIdiom()
{
    const UserInterfaceIdiom before = userInterfaceIdiom();
    m_overridden = false;
    if (before != userInterfaceIdiom())
        Q_EMIT userInterfaceIdiomChanged();
}

/*!
    \enum OTDevice::UserInterfaceIdiom

    \value Phone A phone, and a desktop window.
    \value Pad A tablet: larger launch text.
*/
