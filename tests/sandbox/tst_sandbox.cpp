// The sandbox binary as a user runs it: a screenshot taken without a display, and the
// refusals of what it cannot do.

#include "Processes.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

ProcessRun runSandbox(const QStringList &arguments)
{
    return runProcess(QStringLiteral(OSTQUOTE_SANDBOX_BINARY), arguments, headlessEnvironment(), 60000);
}

} // namespace

class TestSandbox : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private Q_SLOTS:
    void screenshotShowsTheDayWithoutADisplay()
    {
        QVERIFY(m_dir.isValid());
        const QString first = m_dir.filePath(QStringLiteral("first.png"));
        ProcessRun run = runSandbox({QStringLiteral("--screenshot"), first, QStringLiteral("--size"), QStringLiteral("320x560"),
                              QStringLiteral("--count"), QStringLiteral("40"), QStringLiteral("--today"),
                              QStringLiteral("2016-10-05")});
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        QImage image(first);
        QVERIFY(!image.isNull());
        QCOMPARE(image.size(), QSize(320, 560));
        // A picture, text and covers: far from a blank or single-colour window.
        QVERIFY2(distinctColours(image, 2) > 500, qPrintable(QString::number(distinctColours(image, 2))));
        const QImage top = image.copy(0, 0, 320, 280);
        const QImage bottom = image.copy(0, 280, 320, 280);
        QVERIFY(top != bottom);

        // Another day, another quote and picture.
        const QString second = m_dir.filePath(QStringLiteral("second.png"));
        run = runSandbox({QStringLiteral("--screenshot"), second, QStringLiteral("--size"), QStringLiteral("320x560"),
                          QStringLiteral("--today"), QStringLiteral("2016-10-06")});
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        const QImage other(second);
        QCOMPARE(other.size(), QSize(320, 560));
        QVERIFY(other != image);
    }

    void badOptionsAreRefusedWithAMessage_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown option") << QStringList{QStringLiteral("--bogus")} << QStringLiteral("bogus");
        QTest::newRow("count zero") << QStringList{QStringLiteral("--count"), QStringLiteral("0")} << QStringLiteral("--count");
        QTest::newRow("count text") << QStringList{QStringLiteral("--count"), QStringLiteral("many")} << QStringLiteral("--count");
        QTest::newRow("size") << QStringList{QStringLiteral("--size"), QStringLiteral("375")} << QStringLiteral("--size");
        QTest::newRow("today") << QStringList{QStringLiteral("--today"), QStringLiteral("2016-13-40")} << QStringLiteral("--today");
        QTest::newRow("quotes missing") << QStringList{QStringLiteral("--quotes"), QStringLiteral("/nonexistent/quotes.json")}
                                        << QStringLiteral("/nonexistent/quotes.json");
        QTest::newRow("positional") << QStringList{QStringLiteral("extra")} << QStringLiteral("extra");
    }

    void badOptionsAreRefusedWithAMessage()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        QVERIFY(m_dir.isValid());
        const QString shot = m_dir.filePath(QStringLiteral("refused.png"));
        const ProcessRun run = runSandbox(arguments + QStringList{QStringLiteral("--screenshot"), shot});
        QVERIFY(run.exitCode > 0);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY(!QFile::exists(shot));
    }

    void aQuotesFileThatIsNoDatasetIsRefused()
    {
        QVERIFY(m_dir.isValid());
        const QString path = m_dir.filePath(QStringLiteral("quotes.json"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[{\"author\": \"A\", \"content\": \"B\"}]");
        file.close();
        const ProcessRun run = runSandbox({QStringLiteral("--quotes"), path, QStringLiteral("--screenshot"),
                                    m_dir.filePath(QStringLiteral("none.png"))});
        QVERIFY(run.exitCode > 0);
        QVERIFY2(run.err.contains(QStringLiteral("translation")), qPrintable(run.err));
    }

    void aWindowNeedsADisplay()
    {
        const ProcessRun run = runSandbox({});
        QVERIFY(run.exitCode > 0);
        QVERIFY2(run.err.contains(QStringLiteral("no display")), qPrintable(run.err));

        const ProcessRun help = runSandbox({QStringLiteral("--help")});
        QCOMPARE(help.exitCode, 0);
        for (const char *option : {"--quotes", "--count", "--size", "--today", "--screenshot"})
            QVERIFY2(help.out.contains(QLatin1String(option)), option);
        // The usage line names the program as it was started.
        const QString usage = help.out.section(u'\n', 0, 0);
        QCOMPARE(usage, QStringLiteral("Usage: %1 [options]").arg(QStringLiteral(OSTQUOTE_SANDBOX_BINARY)));
        QVERIFY(!help.out.contains(QLatin1String("<executable_name>")));
    }
};

QTEST_GUILESS_MAIN(TestSandbox)
#include "tst_sandbox.moc"
