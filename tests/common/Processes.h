#pragma once

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QSet>

// The programs as a user runs them, and what they leave behind.

// A size this process's /proc/self/status gives in kB ("VmRSS", "VmHWM"), in bytes; -1 when
// it cannot be read.
inline qint64 processMemory(const char *field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray key = QByteArray(field) + ':';
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').value(0).toLongLong() * 1024;
    }
    return -1;
}

struct ProcessRun
{
    int exitCode = -1;   // also when it crashed or did not end in time
    QString out;
    QString err;
};

inline ProcessRun runProcess(const QString &program, const QStringList &arguments,
                             const QProcessEnvironment &environment, int timeoutMs)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    ProcessRun run;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        run.err = QStringLiteral("did not finish: ") + QString::fromUtf8(process.readAllStandardError());
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

// This process's environment without a display and without a quote server of its own; given
// a home, with that home and the desktop's data, cache and configuration folders inside it,
// so that the program starts from nothing.
inline QProcessEnvironment headlessEnvironment(const QString &home = {})
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY", "OSTQUOTE_API_BASE"})
        environment.remove(QString::fromLatin1(name));
    if (!home.isEmpty()) {
        environment.insert(QStringLiteral("HOME"), home);
        environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
        environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    }
    return environment;
}

// The colours of every `step`th pixel of every `step`th row: a blank or flat picture has few.
inline int distinctColours(const QImage &image, int step = 3)
{
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    QSet<QRgb> colours;
    for (int y = 0; y < rgb.height(); y += step) {
        for (int x = 0; x < rgb.width(); x += step)
            colours.insert(rgb.pixel(x, y));
    }
    return int(colours.size());
}
