// ostquote-cli: the module's data layer from a shell.
//
//   ostquote-cli [--api URL] [--timeout SECONDS] today | day DAY | batch | update | latest
//
// DAY is a day key (YYYY-MM-DD), -N for N days before today, or a day link: the app link
// ostquote://day/YYYY-MM-DD or a share page link of the server.
//
// Records are printed as JSON on stdout; errors go to stderr with a non-zero exit status
// (1: the request or the store failed, 2: the command line is wrong).

#include "OstAPIClient+Quote.h"
#include "OTUserInfoStore+OstQuote.h"
#include "OstQuoteLink.h"

#include <OTClock.h>
#include <OTDate.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <limits>

namespace {

enum ExitCode { Success = 0, Failure = 1, Usage = 2 };

void printJSON(const QJsonDocument &document)
{
    const QByteArray bytes = document.toJson(QJsonDocument::Indented);
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

int fail(const QString &message, int code = Failure)
{
    QTextStream(stderr) << "ostquote-cli: " << message << Qt::endl;
    return code;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    // Data and settings go where the desktop keeps them ($XDG_DATA_HOME/ostrel/ostquote-cli, ...).
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("ostquote-cli"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Fetches quotes of the day and keeps the latest one.\n\n"
        "Commands:\n"
        "  today             today's quote\n"
        "  day DAY           the quote of one day: YYYY-MM-DD, -N for N days before today,\n"
        "                    or a link to the day (ostquote://day/YYYY-MM-DD, or the\n"
        "                    server's share page of the day)\n"
        "  batch             the quotes of today and the coming days\n"
        "  update            fetch today's quote and keep it as the latest quote\n"
        "  latest            the kept latest quote (nothing when none is kept)"));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption apiOption(QStringLiteral("api"),
                                       QStringLiteral("Base URL of the quote server (default: $OSTQUOTE_API_BASE or %1).")
                                           .arg(OstAPIClient::defaultBaseURL().toString()),
                                       QStringLiteral("URL"));
    const QCommandLineOption timeoutOption(
        QStringLiteral("timeout"),
        QStringLiteral("Give up on a request not complete this many seconds after it was sent, redirects and body "
                       "included (default 15)."),
        QStringLiteral("SECONDS"));
    parser.addOption(apiOption);
    parser.addOption(timeoutOption);
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("today, day, batch, update or latest"));
    // "day -3" is a day, not an option: it goes after "--", where nothing is an option.
    static const QRegularExpression daysBack(QStringLiteral("^-(\\d{1,6})$"));
    QStringList arguments = app.arguments();
    const qsizetype dayAt = arguments.indexOf(QStringLiteral("day"));
    static const QRegularExpression negative(QStringLiteral("^-\\d+$"));
    if (dayAt > 0 && dayAt + 1 < arguments.size() && negative.match(arguments.at(dayAt + 1)).hasMatch()
        && !arguments.contains(QStringLiteral("--")))
        arguments << QStringLiteral("--") << arguments.takeAt(dayAt + 1);
    if (!parser.parse(arguments))
        return fail(parser.errorText(), Usage);
    // The help lists every option there is; Qt adds none of its own to a command-line tool.
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all")))
        parser.showHelp(Success);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();

    const QStringList args = parser.positionalArguments();
    if (args.isEmpty())
        return fail(QStringLiteral("no command given; try --help"), Usage);
    const QString command = args.first();
    const qsizetype expected = command == QLatin1String("day") ? 2 : 1;
    if (args.size() != expected) {
        return fail(command == QLatin1String("day") ? QStringLiteral("usage: ostquote-cli day YYYY-MM-DD|-N|LINK")
                                                    : QStringLiteral("'%1' takes no arguments").arg(command),
                    Usage);
    }

    OstAPIClient *client = OstAPIClient::sharedClient();
    if (parser.isSet(apiOption)) {
        const QUrl url(parser.value(apiOption), QUrl::StrictMode);
        if (!url.isValid() || url.host().isEmpty() || (url.scheme() != u"http" && url.scheme() != u"https"))
            return fail(QStringLiteral("not an http(s) URL: %1").arg(parser.value(apiOption)), Usage);
        client->setBaseURL(url);
    }
    if (parser.isSet(timeoutOption)) {
        bool ok = false;
        const double seconds = parser.value(timeoutOption).toDouble(&ok);
        if (!ok || !(seconds > 0))
            return fail(QStringLiteral("not a number of seconds: %1").arg(parser.value(timeoutOption)), Usage);
        // At least a millisecond, at most what a timer holds (some 24 days).
        client->setTransferTimeout(int(std::clamp(seconds * 1000, 1.0, double(std::numeric_limits<int>::max()))));
    }

    int status = Success;
    auto finish = [&](int code) {
        status = code;
        QCoreApplication::exit(code);
    };
    auto printQuote = [&](const OTModelPtr &quote, const OTError &error) {
        if (error)
            return finish(fail(error.description()));
        printJSON(QJsonDocument(quote->JSONObject()));
        finish(Success);
    };

    if (command == QLatin1String("today")) {
        getQuoteWithDate(client, QStringLiteral("today"), printQuote);
    } else if (command == QLatin1String("day")) {
        const QString given = args.at(1);
        QString day;
        if (const QRegularExpressionMatch back = daysBack.match(given); back.hasMatch())
            day = OTClock::now()
                      .toTimeZone(OTClock::timeZone())
                      .date()
                      .addDays(-back.captured(1).toLongLong())
                      .toString(QStringLiteral("yyyy-MM-dd"));
        else if (OstQuoteLink::isDayKey(given))
            day = given;
        else
            day = OstQuoteLink::dayOfLink(given);
        if (!OstQuoteLink::isDayKey(day)) {
            return fail(QStringLiteral("not a day: %1 (expected YYYY-MM-DD, -N for N days back, or a link to a day "
                                       "of %2)")
                            .arg(given, client->baseURL().toString()),
                        Usage);
        }
        getQuoteWithDate(client, day, printQuote);
    } else if (command == QLatin1String("batch")) {
        getQuotesWithBlock(client, [&](const QList<OstQuotePtr> &quotes, const OTError &error) {
            if (error)
                return finish(fail(error.description()));
            QJsonArray array;
            for (const OstQuotePtr &quote : quotes)
                array.append(quote->JSONObject());
            printJSON(QJsonDocument(array));
            finish(Success);
        });
    } else if (command == QLatin1String("update")) {
        // Today's quote, kept as the latest one: a store that cannot take it says why.
        getQuoteWithDate(client, QStringLiteral("today"), [&](const OTModelPtr &result, const OTError &error) {
            if (error)
                return finish(fail(error.description()));
            const auto quote = result.objectCast<OstQuote>();
            OTError storeError;
            if (!quote || !updateQuote(quote.data(), &storeError)) {
                return finish(fail(QStringLiteral("could not keep the quote in %1: %2")
                                       .arg(OTUserInfoStore::storePath(), storeError.description())));
            }
            printJSON(QJsonDocument(result->JSONObject()));
            finish(Success);
        });
    } else if (command == QLatin1String("latest")) {
        OTError error;
        const OTModelPtr quote = latestQuote(&error);
        if (error)
            return fail(error.description());
        if (!quote)
            return Success;
        printJSON(QJsonDocument(quote->JSONObject()));
        return Success;
    } else {
        return fail(QStringLiteral("unknown command '%1'; try --help").arg(command), Usage);
    }
    app.exec();
    return status;
}
