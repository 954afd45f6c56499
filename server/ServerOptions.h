#pragma once

#include "DatabaseLocation.h"

#include <QString>
#include <QStringList>

#include <optional>

// The command line:
//   ostquote-server [--host H] [--port N] [--database URL] [--time-zone IANA-NAME]
//                   [--public-url URL] [--dataset FILE] [--idle-timeout S]
//                   [--access-log FILE|-] [--threads N] [--stop-timeout S]
//   ostquote-server export DIR [--database URL] [--time-zone IANA-NAME] [--public-url URL]
//                   [--dataset FILE] [--api-only]
struct ServerOptions
{
    enum class Mode { Serve, Export, Help };

    Mode mode = Mode::Serve;
    QString exportDirectory;
    QString host = QStringLiteral("127.0.0.1");
    quint16 port = 8080;
    DatabaseLocation database;           // the default location unless --database
    QString timeZone;                    // empty: the foundation's (OSTQUOTE_TIME_ZONE or the machine's)
    QString publicBase;                  // empty: http://HOST:PORT as bound (export: http://127.0.0.1:8080)
    QString dataset;                     // empty: the embedded dataset
    int idleTimeoutMsecs = 15000;
    int stopTimeoutMsecs = 10000;        // how long a stop waits for requests under way
    QString accessLog = QStringLiteral("-");
    int threads = 0;                     // 0: one per core
    bool apiOnly = false;

    // Nullopt, with a message for the user in *error, when the arguments (without the
    // program name) are not a valid command line.
    static std::optional<ServerOptions> parse(const QStringList &arguments, QString *error);
    static QString usage();
};
