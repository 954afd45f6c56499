#include "ProgramCommandLine.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <cstdio>

ProgramCommandLine::ProgramCommandLine(const char *program, const QString &description)
    : m_program(program)
{
    m_parser.setApplicationDescription(description);
    m_parser.addHelpOption();
}

std::optional<int> ProgramCommandLine::parse(int &argc, char *argv[], qsizetype mostPositional)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    if (!m_parser.parse(arguments))
        return fail(m_parser.errorText());
    if (m_parser.isSet(QStringLiteral("help"))) {
        // The window system is not chosen yet; an application of the core is enough for the
        // usage line to name the program as it was started.
        QCoreApplication app(argc, argv);
        std::fputs(qPrintable(m_parser.helpText()), stdout);
        return 0;
    }
    const QStringList positional = m_parser.positionalArguments();
    if (positional.size() > mostPositional)
        return fail(QStringLiteral("unexpected argument \"%1\"").arg(positional.at(mostPositional)));
    return std::nullopt;
}

int ProgramCommandLine::fail(const QString &message) const
{
    std::fprintf(stderr, "%s: %s\n", m_program, qPrintable(message));
    return 2;
}

std::optional<QSize> ProgramCommandLine::windowSize(const QString &text, int fewestDigits, int mostDigits)
{
    const QString side = QStringLiteral("(\\d{%1,%2})").arg(fewestDigits).arg(mostDigits);
    const QRegularExpression pattern(QStringLiteral("^%1x%1$").arg(side));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    return QSize(match.captured(1).toInt(), match.captured(2).toInt());
}

bool ProgramCommandLine::hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY")
        || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}
