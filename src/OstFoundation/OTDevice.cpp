#include "OTDevice.h"

#include <QCoreApplication>
#include <QPointer>

OTDevice::OTDevice(QObject *parent)
    : QObject(parent)
{
}

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

OTDevice::UserInterfaceIdiom OTDevice::userInterfaceIdiom() const
{
    return m_overridden ? m_idiom : environmentIdiom();
}

void OTDevice::setUserInterfaceIdiom(UserInterfaceIdiom idiom)
{
    const UserInterfaceIdiom before = userInterfaceIdiom();
    m_overridden = true;
    m_idiom = idiom;
    if (before != idiom)
        Q_EMIT userInterfaceIdiomChanged();
}

void OTDevice::resetUserInterfaceIdiom()
{
    const UserInterfaceIdiom before = userInterfaceIdiom();
    m_overridden = false;
    if (before != userInterfaceIdiom())
        Q_EMIT userInterfaceIdiomChanged();
}
