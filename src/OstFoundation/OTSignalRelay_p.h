#pragma once

// Internal to OstFoundation.

#include <QObject>
#include <functional>

// Turns a signal known only by name (a property's notify signal, a signal of a type in a
// private Qt module) into a call of a function.
class OTSignalRelay : public QObject
{
    Q_OBJECT
public:
    OTSignalRelay(std::function<void()> callback, QObject *parent)
        : QObject(parent), m_callback(std::move(callback))
    {
    }

public Q_SLOTS:
    void relay()
    {
        if (m_callback)
            m_callback();
    }

private:
    std::function<void()> m_callback;
};
