#pragma once

#include "OstFoundationGlobal.h"

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

// The apps' colours. From C++: OTPalette::ostrelGreen(); from QML: OTPalette.ostrelGreen.
class OSTFOUNDATION_EXPORT OTPalette : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor ostrelFontColorWhite READ ostrelFontColorWhite CONSTANT)
    Q_PROPERTY(QColor ostrelShadowColor READ ostrelShadowColor CONSTANT)
    Q_PROPERTY(QColor ostrelGreen READ ostrelGreen CONSTANT)
    Q_PROPERTY(QColor ostrelFontColorSummary READ ostrelFontColorSummary CONSTANT)
public:
    using QObject::QObject;

    // Text over pictures.
    static QColor ostrelFontColorWhite() { return QColor(0xFA, 0xFA, 0xFA); }
    // The shadow under text over pictures.
    static QColor ostrelShadowColor() { return QColor(0, 0, 0, 0x66); }
    // The brand green.
    static QColor ostrelGreen() { return QColor(0x3C, 0xB3, 0x71); }
    // Secondary text and hairline frames on light backgrounds: a mid grey, #8C8C8C.
    static QColor ostrelFontColorSummary() { return QColor(0x8C, 0x8C, 0x8C); }
};
