// The run command, scripts/run, as a user meets it without a display: on the port asked for,
// every URL and hint it prints names that port, and the server it starts answers there,
// for as long as it says. Each run is its own process group, stopped whole at the end.

#include "Processes.h"
#include "ServerHarness.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

// The server's and the app's "now".
const QString kNow = QStringLiteral("2017-03-01T10:00:00+00:00");

// scripts/run in a process group of its own, with no display and a home of its own. The
// group goes when the run does, and when the test does.
class RunCommand
{
public:
    explicit RunCommand(const QTemporaryDir &home)
    {
        QProcessEnvironment environment = headlessEnvironment(home.path());
        environment.insert(QStringLiteral("TMPDIR"), home.path());
        environment.insert(QStringLiteral("OSTQUOTE_NOW"), kNow);
        environment.insert(QStringLiteral("OSTQUOTE_TIME_ZONE"), QStringLiteral("UTC"));
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.setChildProcessModifier([]() {
            ::setsid();
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        });
    }

    ~RunCommand() { stop(); }

    void start(const QStringList &arguments)
    {
        m_process.start(QStringLiteral("bash"),
                        QStringList{QStringLiteral(OSTQUOTE_RUN_SCRIPT), QStringLiteral("--bin-dir"),
                                    QStringLiteral(OSTQUOTE_BIN_DIR)}
                            + arguments);
        m_process.waitForStarted(10000);
    }

    // Reads the output until `line` has been printed; false when the run ends first or
    // `timeoutMs` passes.
    bool waitForLine(const QRegularExpression &line, int timeoutMs)
    {
        const QDeadlineTimer deadline(timeoutMs);
        while (!line.match(output()).hasMatch()) {
            if (m_process.state() != QProcess::Running || deadline.hasExpired())
                return line.match(output()).hasMatch();
            m_process.waitForReadyRead(int(qBound(qint64(10), deadline.remainingTime(), qint64(1000))));
        }
        return true;
    }

    // Waits for the run to end by itself; its exit status, or -1 when it did not end in time.
    int waitForExit(int timeoutMs)
    {
        if (!m_process.waitForFinished(timeoutMs))
            return -1;
        output();
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    // SIGTERM to the whole group (the script, the server, the demo), then SIGKILL should
    // anything linger. True when the run ended on the first.
    bool stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return true;
        const pid_t group = pid_t(m_process.processId());
        ::kill(-group, SIGTERM);
        const bool ended = m_process.waitForFinished(15000);
        if (!ended) {
            ::kill(-group, SIGKILL);
            m_process.waitForFinished(5000);
        }
        output();
        return ended;
    }

    QString output()
    {
        m_output += QString::fromUtf8(m_process.readAll());
        return m_output;
    }

private:
    QProcess m_process;
    QString m_output;
};

bool somethingListensOn(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), port);
    return socket.waitForConnected(2000);
}

// Every http(s) address in `text`.
QStringList addressesIn(const QString &text)
{
    static const QRegularExpression address(QStringLiteral("https?://[^\\s]+"));
    QStringList found;
    for (auto it = address.globalMatch(text); it.hasNext();)
        found.append(it.next().captured(0));
    return found;
}

} // namespace

class TestRun : public QObject
{
    Q_OBJECT

    // The printed URLs and hints name `port`, and nothing else.
    static void checkAddresses(const QString &output, quint16 port)
    {
        const QString base = QStringLiteral("http://127.0.0.1:%1").arg(port);
        const QStringList addresses = addressesIn(output);
        QVERIFY2(addresses.size() >= 5, qPrintable(output));
        for (const QString &address : addresses)
            QVERIFY2(address.startsWith(base), qPrintable(address + u'\n' + output));
        QVERIFY2(!output.contains(QLatin1String(":8080")) || port == 8080, qPrintable(output));
    }

private Q_SLOTS:
    void keepServingStaysUpOnThePortAskedFor()
    {
        QTemporaryDir home;
        QVERIFY(home.isValid());
        const quint16 port = ot_unusedLoopbackPort();
        RunCommand run(home);
        run.start({QStringLiteral("--port"), QString::number(port), QStringLiteral("--keep-serving")});
        QVERIFY2(run.waitForLine(QRegularExpression(QStringLiteral("Serving on \\S+ until Ctrl-C")), 240000),
                 qPrintable(run.output()));
        const QString output = run.output();
        checkAddresses(output, port);

        // The tour ran into a folder of the temporary directory, every step of it.
        const QRegularExpression done(QStringLiteral("Tour done: (\\S+)"));
        const QString tour = done.match(output).captured(1);
        QVERIFY2(tour.startsWith(home.path()), qPrintable(output));
        QCOMPARE(QDir(tour).entryList({QStringLiteral("*.png")}, QDir::Files).size(), 9);

        // After the tour the server answers on that port, today being the pinned day ...
        const HttpResponse today = get(port, "/api/v2/quote/quotes/today/");
        QCOMPARE(today.status, 200);
        QCOMPARE(today.json().object().value(QStringLiteral("assign_date")).toString(), QStringLiteral("2017-03-01"));

        // ... and the hint for another shell works as printed.
        const QRegularExpression hint(QStringLiteral("^\\s+(\\S+/ostquote-cli) --api (\\S+) today$"),
                                      QRegularExpression::MultilineOption);
        const QRegularExpressionMatch cli = hint.match(output);
        QVERIFY2(cli.hasMatch(), qPrintable(output));
        QProcess client;
        QProcessEnvironment clientEnvironment = QProcessEnvironment::systemEnvironment();
        clientEnvironment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("cli")));
        client.setProcessEnvironment(clientEnvironment);
        client.start(cli.captured(1), {QStringLiteral("--api"), cli.captured(2), QStringLiteral("today")});
        QVERIFY(client.waitForFinished(30000));
        QCOMPARE(client.exitCode(), 0);
        QVERIFY(client.readAllStandardOutput().contains("\"assign_date\": \"2017-03-01\""));

        // Stopped, it takes the server with it.
        QVERIFY(run.stop());
        QVERIFY(!somethingListensOn(port));
    }

    void withoutKeepServingTheServerGoesWithTheTour()
    {
        QTemporaryDir home;
        QVERIFY(home.isValid());
        const quint16 port = ot_unusedLoopbackPort();
        RunCommand run(home);
        run.start({QStringLiteral("--port"), QString::number(port)});
        QCOMPARE(run.waitForExit(240000), 0);
        const QString output = run.output();
        QVERIFY2(output.contains(QLatin1String("Tour done: ")), qPrintable(output));
        // No invitation to try the server from another shell: it is gone by then.
        QVERIFY2(!output.contains(QLatin1String("another shell")), qPrintable(output));
        QVERIFY2(output.contains(QLatin1String("--keep-serving")), qPrintable(output));
        for (const QString &address : addressesIn(output))
            QVERIFY2(address.startsWith(QStringLiteral("http://127.0.0.1:%1").arg(port)), qPrintable(output));
        QVERIFY(!somethingListensOn(port));
    }

    // --port is taken wherever it stands: before --serve-only, or among the server's options
    // after it (the order a user types); the hints name the address the server listens on.
    void serveOnlyTakesThePortToo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("before") << QStringList{"--port", "<port>", "--serve-only"};
        QTest::newRow("after") << QStringList{"--serve-only", "--port", "<port>"};
        QTest::newRow("after, with =") << QStringList{"--serve-only", "--time-zone", "UTC", "--port=<port>"};
    }
    void serveOnlyTakesThePortToo()
    {
        QFETCH(QStringList, arguments);
        QTemporaryDir home;
        QVERIFY(home.isValid());
        const quint16 port = ot_unusedLoopbackPort();
        arguments.replaceInStrings(QStringLiteral("<port>"), QString::number(port));
        RunCommand run(home);
        run.start(arguments);
        QVERIFY2(run.waitForLine(QRegularExpression(QStringLiteral("ostquote-cli --api \\S+ update")), 60000),
                 qPrintable(run.output()));
        checkAddresses(run.output(), port);
        QTRY_COMPARE_WITH_TIMEOUT(get(port, "/api/v2/quote/quotes/2016-10-01/").status, 200, 10000);
        QVERIFY(run.stop());
        QVERIFY(!somethingListensOn(port));
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("port in words") << QStringList{"--port", "eighty"} << 2 << "--port wants a port number";
        QTest::newRow("port zero") << QStringList{"--port", "0"} << 2 << "--port wants a port number";
        QTest::newRow("port too high") << QStringList{"--port", "65536"} << 2 << "--port wants a port number";
        QTest::newRow("port missing") << QStringList{"--port"} << 2 << "--port wants a port number";
        QTest::newRow("unknown") << QStringList{"--bogus"} << 2 << "unknown argument \"--bogus\"";
        QTest::newRow("keep serving what serves anyway")
            << QStringList{"--keep-serving", "--serve-only"} << 2 << "leave out --keep-serving";
        QTest::newRow("port taken") << QStringList{"--port", "<taken>"} << 1 << "is already in use";
    }

    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, message);
        QTemporaryDir home;
        QVERIFY(home.isValid());
        QTcpServer occupant;
        QVERIFY(occupant.listen(QHostAddress::LocalHost));
        arguments.replaceInStrings(QStringLiteral("<taken>"), QString::number(occupant.serverPort()));
        RunCommand run(home);
        run.start(arguments);
        QCOMPARE(run.waitForExit(30000), status);
        QVERIFY2(run.output().contains(message), qPrintable(run.output()));
        QVERIFY2(!run.output().contains(QLatin1String("Serving")), qPrintable(run.output()));
    }
};

QTEST_GUILESS_MAIN(TestRun)
#include "tst_run.moc"
