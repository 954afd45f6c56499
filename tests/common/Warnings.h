#pragma once

#include <QStringList>
#include <QtGlobal>

#include <functional>

// The warnings logged while `work` runs (they still reach the test's log).
inline QStringList warningsDuring(const std::function<void()> &work)
{
    static QStringList *seen = nullptr;
    static QtMessageHandler previous = nullptr;
    QStringList warnings;
    seen = &warnings;
    previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
        if (type == QtWarningMsg && seen)
            seen->append(text);
        if (previous)
            previous(type, context, text);
    });
    work();
    qInstallMessageHandler(previous);
    seen = nullptr;
    return warnings;
}
