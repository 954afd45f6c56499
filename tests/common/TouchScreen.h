#pragma once

#include <QPointingDevice>
#include <QTest>

// The one touch screen of a test process, registered once as a real one is (a device made
// per gesture would pile up for the life of the process).
inline QPointingDevice *touchScreen()
{
    static QPointingDevice *device = QTest::createTouchDevice();
    return device;
}
