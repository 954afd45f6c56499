#pragma once

#include <QCommandLineParser>
#include <QSize>
#include <QString>

#include <optional>

// The command line of a windowed program (the demo, the sandbox): the parser its options
// are added to, and the answers every such program gives to --help, to an option it does not
// know and to arguments it does not take, each message led by the program's name.
//
//   ProgramCommandLine commandLine("ostquote-x", QStringLiteral("What it does."));
//   commandLine.parser().addOptions({...});
//   if (const std::optional<int> status = commandLine.parse(argc, argv, 0))
//       return *status;
class ProgramCommandLine
{
public:
    // `program` leads each message ("ostquote-x: ..."); `description` heads the usage.
    ProgramCommandLine(const char *program, const QString &description);

    // The parser, with --help; the program adds its own options and arguments.
    QCommandLineParser &parser() { return m_parser; }

    // Reads the command line. Gives the status to end with when the program ends here: 0
    // once --help has printed the usage, 2 once an unknown option or a positional argument
    // past the first `mostPositional` has been reported. Nothing when the program goes on.
    std::optional<int> parse(int &argc, char *argv[], qsizetype mostPositional);

    // Reports `message` on the standard error as the program's and gives the status of a
    // command line the program cannot follow (2).
    int fail(const QString &message) const;

    // The size "WIDTHxHEIGHT" in `text`, each side written with `fewestDigits` to
    // `mostDigits` digits; nothing when it is not one.
    static std::optional<QSize> windowSize(const QString &text, int fewestDigits, int mostDigits);

    // Whether there is a window system to open a window on: a platform named by
    // QT_QPA_PLATFORM, or an X or Wayland display.
    static bool hasDisplay();

private:
    const char *m_program;
    QCommandLineParser m_parser;
};
