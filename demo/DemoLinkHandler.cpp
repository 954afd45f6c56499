#include "DemoLinkHandler.h"

#include <OstQuoteLink.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

const QString kSchemeType = QStringLiteral("x-scheme-handler/%1").arg(QLatin1String(OstQuoteLink::Scheme));

// An argument of Exec as desktop entries want it: in double quotes, with the double quote,
// the backquote, the dollar sign and the backslash escaped, then every backslash doubled
// again (the value is read as a string first) and every percent sign doubled (%u and its
// kind are field codes).
QString quoteExecArgument(const QString &argument)
{
    QString quoted;
    for (const QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    quoted = u'"' + quoted + u'"';
    quoted.replace(u'\\', QStringLiteral("\\\\"));
    quoted.replace(u'%', QStringLiteral("%%"));
    return quoted;
}

bool replaceFile(const QString &path, const QByteArray &bytes, QString *error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

// `text` (a mimeapps.list) with the scheme's default set to the demo's entry.
QString withDefault(const QString &text)
{
    const QString header = QStringLiteral("[Default Applications]");
    const QString line = kSchemeType + u'=' + QLatin1String(DemoLinkHandler::EntryName);
    QStringList lines = text.split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    // Lines are compared without their spaces and carriage returns, and kept as they are.
    qsizetype section = -1;
    for (qsizetype i = 0; i < lines.size() && section < 0; ++i) {
        if (lines.at(i).trimmed() == header)
            section = i;
    }
    if (section < 0) {
        if (!lines.isEmpty())
            lines << QString();
        lines << header << line;
        return lines.join(u'\n') + u'\n';
    }
    qsizetype at = section + 1;
    for (; at < lines.size() && !lines.at(at).trimmed().startsWith(u'['); ++at) {
        if (lines.at(at).section(u'=', 0, 0).trimmed() == kSchemeType) {
            lines[at] = line;
            return lines.join(u'\n') + u'\n';
        }
    }
    lines.insert(section + 1, line);
    return lines.join(u'\n') + u'\n';
}

} // namespace

QString DemoLinkHandler::desktopEntry(const QString &executable)
{
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Version=1.0\n"
                          "Name=OstQuote demo\n"
                          "Name[zh_CN]=每日一句演示\n"
                          "Comment=A quote a day, with its picture\n"
                          "Comment[zh_CN]=每天一句，配一幅图\n"
                          "Exec=%1 %u\n"
                          "Terminal=false\n"
                          "Categories=Utility;\n"
                          "MimeType=%2;\n")
        .arg(quoteExecArgument(executable), kSchemeType);
}

QString DemoLinkHandler::registerFor(const QString &executable, QString *error)
{
    const QString applications = QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    if (!QDir().mkpath(applications) || !QDir().mkpath(config)) {
        *error = QStringLiteral("cannot make the folders %1 and %2").arg(applications, config);
        return QString();
    }
    const QString entryPath = QDir(applications).filePath(QLatin1String(EntryName));
    if (!replaceFile(entryPath, desktopEntry(executable).toUtf8(), error))
        return QString();

    const QString listPath = QDir(config).filePath(QStringLiteral("mimeapps.list"));
    QFile list(listPath);
    QString text;
    if (list.exists()) {
        if (!QFileInfo(listPath).isFile() || !list.open(QIODevice::ReadOnly) || list.size() > 1024 * 1024) {
            *error = QStringLiteral("cannot read %1 (left as it is)").arg(listPath);
            return QString();
        }
        text = QString::fromUtf8(list.readAll());
        list.close();
    }
    if (!replaceFile(listPath, withDefault(text).toUtf8(), error))
        return QString();

    // The desktop's cache of which entry takes which type, where the tool is there.
    const QString update = QStandardPaths::findExecutable(QStringLiteral("update-desktop-database"));
    if (!update.isEmpty())
        QProcess::execute(update, {applications});
    return entryPath + u'\n' + listPath + u'\n';
}
