#pragma once

#include <QByteArray>
#include <QString>

#include <cstdio>
#include <cstdlib>

// A property a fuzz target checks on every input. A violated property aborts, which
// libFuzzer reports as a crash and keeps the input that caused it.
[[noreturn]] inline void fuzzFail(const char *property, const QString &detail, const char *file, int line)
{
    std::fprintf(stderr, "\n%s:%d: property violated: %s\n%s\n", file, line, property, qPrintable(detail));
    std::fflush(stderr);
    std::abort();
}

#define FUZZ_CHECK(condition, detail) \
    do { \
        if (!(condition)) \
            fuzzFail(#condition, (detail), __FILE__, __LINE__); \
    } while (false)

// `bytes` for a failure message: printable ASCII as it is, anything else as \xHH.
inline QString fuzzPrintable(const QByteArray &bytes)
{
    QString out;
    for (const char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (u >= 0x20 && u < 0x7f && u != '\\')
            out += QLatin1Char(c);
        else
            out += QStringLiteral("\\x%1").arg(u, 2, 16, QLatin1Char('0'));
    }
    return out;
}
