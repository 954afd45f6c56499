#pragma once

#include "OstFoundationGlobal.h"

#include <QObject>
#include <QPointer>
#include <QString>

class QQmlEngine;
class OTHUD;
class QQuickWindow;

// App-wide services of the foundation.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT Global : public QObject
{
    Q_OBJECT
public:
    static constexpr int HUBDuration = 1500; // ms in full view, before the fade

    static Global *sharedGlobal();

    // Shows `text` over the current window (the focus window, else the last Qt Quick window
    // that showed something). Does nothing but remember the message when there is no window.
    // May be called from any thread: the message is shown on the application's thread (at
    // once when called there, else as soon as its event loop runs).
    Q_INVOKABLE void showHUB(const QString &text, int status);

    // The message last shown (for hosts that log), and its status. The message in view is the
    // item of objectName "OTHUD" in the window.
    QString lastHUBText() const { return m_lastText; }
    int lastHUBStatus() const { return m_lastStatus; }

Q_SIGNALS:
    void hubShown(const QString &text, int status);

private:
    explicit Global(QObject *parent = nullptr);
    QString m_lastText;
    int m_lastStatus = 0;
    QPointer<OTHUD> m_hub;
    QPointer<QQmlEngine> m_ownEngine;
};
