#pragma once

#include "OstFoundationGlobal.h"

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

// What a screen asks of a StackView that is not a navigation host's (a host app's own): push
// a screen, pop the top one. C++ only says what; the QML side (OTStackViewNavigator.qml, whose
// root is this type) does it with the StackView's own calls and operations.
class OSTFOUNDATION_EXPORT OTStackViewRequests : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickItem *stackView READ stackView NOTIFY stackViewChanged)
public:
    explicit OTStackViewRequests(QObject *parent = nullptr);

    // A new navigator for `stackView`, made in `engine`. Null when it cannot be made.
    static OTStackViewRequests *create(QQmlEngine *engine, QQuickItem *stackView, QObject *parent);

    QQuickItem *stackView() const { return m_stackView; }
    void setStackView(QQuickItem *stackView);

Q_SIGNALS:
    void pushRequested(QQuickItem *item, bool animated);
    // Pops the top item.
    void popRequested(bool animated);
    void stackViewChanged();

private:
    QPointer<QQuickItem> m_stackView;
};
