#include <OTUserInfoStore.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Two dictionaries large enough that writing one takes a while, told apart by "generation".
QVariantMap generation(int n)
{
    QVariantMap map;
    map.insert(QStringLiteral("generation"), n);
    map.insert(QStringLiteral("payload"), QByteArray(4 * 1024 * 1024, char('a' + n % 26)));
    map.insert(QStringLiteral("note"), QStringLiteral("第%1代").arg(n));
    return map;
}

// When started with OT_STORE_WRITER=<path>, the test binary becomes a writer that replaces
// the store's dictionary over and over until it is killed.
int runWriterIfAsked()
{
    const QByteArray path = qgetenv("OT_STORE_WRITER");
    if (path.isEmpty())
        return -1;
    OTUserInfoStore::setStorePath(QString::fromLocal8Bit(path));
    for (int n = 1;; ++n) {
        if (!OTUserInfoStore::synchronizeOstrelDefaults(generation(n)))
            return 3;
        if (n == 1) {
            QFile ready(QString::fromLocal8Bit(path) + QStringLiteral(".ready"));
            ready.open(QIODevice::WriteOnly);
        }
    }
}

} // namespace

class TestOTUserInfoStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        OTUserInfoStore::setStorePath(m_dir->filePath(QStringLiteral("settings/defaults.cbor")));
    }

    void freshStoreIsEmpty()
    {
        QVERIFY(OTUserInfoStore::ostrelDefaults().isEmpty());
    }

    void roundTripKeepsEveryKindOfValue()
    {
        QVariantMap settings;
        settings.insert(QStringLiteral("text"), QStringLiteral("每日一句"));
        settings.insert(QStringLiteral("bytes"), QByteArray("\x00\x01\xff", 3));
        settings.insert(QStringLiteral("number"), 42);
        settings.insert(QStringLiteral("list"), QVariantList{1, QStringLiteral("two")});
        settings.insert(QStringLiteral("map"), QVariantMap{{QStringLiteral("k"), true}});
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults(settings));
        const QVariantMap back = OTUserInfoStore::ostrelDefaults();
        QCOMPARE(back.value("text").toString(), QStringLiteral("每日一句"));
        QCOMPARE(back.value("bytes").toByteArray(), QByteArray("\x00\x01\xff", 3));
        QCOMPARE(back.value("number").toInt(), 42);
        QCOMPARE(back.value("list").toList().at(1).toString(), QStringLiteral("two"));
        QCOMPARE(back.value("map").toMap().value("k").toBool(), true);

        // The whole dictionary is replaced: a key left out is gone.
        settings.remove(QStringLiteral("number"));
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults(settings));
        QVERIFY(!OTUserInfoStore::ostrelDefaults().contains(QStringLiteral("number")));
    }

    void damagedFileReadsAsEmptyAndIsReplacedByTheNextWrite()
    {
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("a"), 1}}));
        QFile file(OTUserInfoStore::storePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("\xa1\x61"); // a map cut short
        file.close();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("is damaged")));
        QVERIFY(OTUserInfoStore::ostrelDefaults().isEmpty());
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("b"), 2}}));
        QCOMPARE(OTUserInfoStore::ostrelDefaults().value("b").toInt(), 2);
    }

    void unwritableLocationAnswersFalse()
    {
        QFile blocker(m_dir->filePath(QStringLiteral("blocker")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        OTUserInfoStore::setStorePath(m_dir->filePath(QStringLiteral("blocker/defaults.cbor")));
        QVERIFY(!OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("a"), 1}}));
        QVERIFY(OTUserInfoStore::ostrelDefaults().isEmpty());
    }

    void crashMidWriteLeavesACompleteDictionary()
    {
        // A writer process replaces the dictionary in a loop and is killed at moments that
        // fall inside writes; every time, the file holds one whole generation.
        const QString path = OTUserInfoStore::storePath();
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults(generation(0)));
        int sawNewer = 0;
        for (int round = 0; round < 8; ++round) {
            QFile::remove(path + QStringLiteral(".ready"));
            QProcess writer;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("OT_STORE_WRITER"), path);
            writer.setProcessEnvironment(env);
            writer.start(QCoreApplication::applicationFilePath(), {});
            QVERIFY(writer.waitForStarted());
            QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path + QStringLiteral(".ready")), 20000);
            QTest::qWait(7 + round * 13);
            writer.kill();
            QVERIFY(writer.waitForFinished());

            const QVariantMap stored = OTUserInfoStore::ostrelDefaults();
            const int n = stored.value(QStringLiteral("generation"), -1).toInt();
            QVERIFY2(n >= 0, "the store must hold a whole dictionary after the kill");
            QCOMPARE(stored, generation(n));
            sawNewer += n > 0;
        }
        QVERIFY(sawNewer > 0);
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

int main(int argc, char *argv[])
{
    const int writer = runWriterIfAsked();
    if (writer >= 0)
        return writer;
    QCoreApplication app(argc, argv);
    TestOTUserInfoStore test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_otuserinfostore.moc"
