#include "OddFiles.h"
#include "Warnings.h"

#include <OTClock.h>
#include <OTUserInfoStore.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <vector>

#include <sys/file.h>

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
constexpr int kKeyWrites = 300;

int runWriterIfAsked()
{
    // A writer of its own key: counts it up kKeyWrites times, each a change of the stored
    // dictionary as the module makes one.
    const QByteArray key = qgetenv("OT_STORE_KEY_WRITER");
    if (!key.isEmpty()) {
        OTUserInfoStore::setStorePath(QString::fromLocal8Bit(qgetenv("OT_STORE_PATH")));
        for (int n = 1; n <= kKeyWrites; ++n) {
            OTError error;
            const bool written = OTUserInfoStore::updateOstrelDefaults(
                [&](QVariantMap &defaults) { defaults.insert(QString::fromLatin1(key), n); }, &error);
            if (!written) {
                std::fprintf(stderr, "%s\n", qPrintable(error.description()));
                return 3;
            }
        }
        return 0;
    }
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

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
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

    // A file that cannot be decoded is never written over: it goes aside whole, under a
    // dated name, whether a read or a write meets it. Both paths are said once: in the error
    // of the read that asks for it, else in one warning.
    void damagedFilesAreMovedAsideWhole_data()
    {
        QTest::addColumn<QByteArray>("damage");
        QTest::addColumn<bool>("readFirst");
        QTest::newRow("truncated, read") << QByteArray("\xa2\x61\x61\x01\x64ke", 6) << true;
        QTest::newRow("truncated, written over") << QByteArray("\xa2\x61\x61\x01\x64ke", 6) << false;
        QTest::newRow("random bytes") << QByteArray::fromHex("ff13a07c9be2551d0c") << true;
        QTest::newRow("empty") << QByteArray() << true;
        QTest::newRow("an array, not a dictionary") << QByteArray::fromHex("83010203") << false;
        QTest::newRow("a dictionary with bytes after it") << QByteArray::fromHex("a1616101ff13a07c") << true;
    }

    void damagedFilesAreMovedAsideWhole()
    {
        QFETCH(QByteArray, damage);
        QFETCH(bool, readFirst);
        OTClock::setNow(QDateTime(QDate(2017, 3, 1), QTime(10, 4, 5), Qt::UTC));
        const QString path = OTUserInfoStore::storePath();
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("keep"), QStringLiteral("me")}}));
        writeFile(path, damage);
        const QString aside = path + QStringLiteral(".damaged-20170301T100405");

        QStringList warnings = warningsDuring([&]() {
            OTError error;
            if (readFirst) {
                QVERIFY(OTUserInfoStore::ostrelDefaults(&error).isEmpty());
                QCOMPARE(error.kind(), OTError::Undecodable);
                QVERIFY2(error.description().contains(aside), qPrintable(error.description()));
            }
            QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("b"), 2}}, &error));
            QVERIFY(!error);
        });
        QCOMPARE(warnings.size(), readFirst ? 0 : 1);
        if (!readFirst)
            QVERIFY2(warnings.first().contains(path) && warnings.first().contains(aside), qPrintable(warnings.first()));
        QCOMPARE(readFile(aside), damage);
        QCOMPARE(OTUserInfoStore::ostrelDefaults(), (QVariantMap{{QStringLiteral("b"), 2}}));

        // Damaged again in the same second: the first copy stays, the second gets a name of its own.
        writeFile(path, damage);
        warningsDuring([]() { OTUserInfoStore::ostrelDefaults(); });
        QCOMPARE(readFile(aside), damage);
        QCOMPARE(readFile(aside + QStringLiteral("-2")), damage);
        OTClock::setNow(QDateTime());
    }

    // Only a regular file is read or replaced; whatever else stands in its place is an error
    // and is left as it is, and nothing waits on it.
    void oddFilesAreLeftAlone_data()
    {
        addOddFileRows(OTUserInfoStore::MaximumFileSize + 1);
    }

    void oddFilesAreLeftAlone()
    {
        QFETCH(QString, kind);
        const QString path = OTUserInfoStore::storePath();
        QVERIFY(makeOddFile(path, kind, OTUserInfoStore::MaximumFileSize + 1));
        const QFileInfo before(path);

        const QStringList warnings = warningsDuring([&]() {
            OTError error;
            QVERIFY(OTUserInfoStore::ostrelDefaults(&error).isEmpty());
            QCOMPARE(error.kind(), OTError::FileSystem);
            QVERIFY2(error.description().contains(path), qPrintable(error.description()));
            QVERIFY(!OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("a"), 1}}, &error));
            QCOMPARE(error.kind(), OTError::FileSystem);
        });
        QVERIFY2(warnings.isEmpty(), "the errors say it; the log does not say it again");
        const QFileInfo after(path);
        QCOMPARE(after.isSymLink(), before.isSymLink());
        QCOMPARE(after.isDir(), before.isDir());
        QCOMPARE(after.size(), before.size());
        QCOMPARE(QDir(QFileInfo(path).absolutePath()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System).size(), 1);
    }

    void aFailedWriteSaysWhy()
    {
        // A plain file stands where the folder should be.
        QFile blocker(m_dir->filePath(QStringLiteral("blocker")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        OTUserInfoStore::setStorePath(m_dir->filePath(QStringLiteral("blocker/defaults.cbor")));
        OTError error;
        warningsDuring([&]() { QVERIFY(!OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("a"), 1}}, &error)); });
        QCOMPARE(error.kind(), OTError::FileSystem);
        QVERIFY2(error.description().contains(QStringLiteral("blocker")), qPrintable(error.description()));
        QVERIFY(OTUserInfoStore::ostrelDefaults().isEmpty());

        // A folder the store may not write in (/proc takes no new files, whoever asks).
        OTUserInfoStore::setStorePath(QStringLiteral("/proc/self/ostrel-defaults.cbor"));
        warningsDuring([&]() { QVERIFY(!OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("a"), 1}}, &error)); });
        QCOMPARE(error.kind(), OTError::FileSystem);
        QVERIFY(!error.description().isEmpty());
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

    // A writer killed between creating the lock file and writing its name in it leaves a lock
    // nobody can be told to own: it is taken over once it is a second old, while a nameless
    // lock whose creator is still at work (its native lock held) is waited for, not taken.
    void aLockWithoutItsOwnersNameIsTakenOnlyFromTheDead_data()
    {
        QTest::addColumn<bool>("creatorAlive");
        QTest::newRow("its creator killed") << false;
        QTest::newRow("its creator still at work") << true;
    }

    void aLockWithoutItsOwnersNameIsTakenOnlyFromTheDead()
    {
        QFETCH(bool, creatorAlive);
        const QString path = OTUserInfoStore::storePath();
        QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
        QFile lockFile(path + QStringLiteral(".lock"));
        QVERIFY(lockFile.open(QIODevice::WriteOnly));
        QVERIFY(lockFile.setFileTime(QDateTime::currentDateTime().addSecs(-2), QFileDevice::FileModificationTime));
        if (creatorAlive)
            QCOMPARE(::flock(lockFile.handle(), LOCK_EX | LOCK_NB), 0);
        else
            lockFile.close();

        OTError error;
        QCOMPARE(OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("a"), 1}}, &error), !creatorAlive);
        QCOMPARE(OTUserInfoStore::ostrelDefaults().value(QStringLiteral("a")).toInt(), creatorAlive ? 0 : 1);
        if (creatorAlive) {
            QVERIFY2(error.description().contains(QStringLiteral("holds its lock")), qPrintable(error.description()));
            QVERIFY(QFileInfo::exists(lockFile.fileName()));
        }
    }

    // Three processes change the store at once, each its own key, kKeyWrites times: no
    // process's change is lost to another's, and a reader meanwhile always finds a whole
    // dictionary.
    void writersInThreeProcessesLoseNothing()
    {
        const QString path = OTUserInfoStore::storePath();
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults({{QStringLiteral("kept"), QStringLiteral("from before")}}));
        std::vector<std::unique_ptr<QProcess>> writers;
        for (const char *key : {"a", "b", "c"}) {
            auto writer = std::make_unique<QProcess>();
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("OT_STORE_KEY_WRITER"), QString::fromLatin1(key));
            env.insert(QStringLiteral("OT_STORE_PATH"), path);
            writer->setProcessEnvironment(env);
            writer->setProcessChannelMode(QProcess::ForwardedErrorChannel);
            writer->start(QCoreApplication::applicationFilePath(), {});
            QVERIFY(writer->waitForStarted());
            writers.push_back(std::move(writer));
        }
        int reads = 0;
        QDeadlineTimer deadline(120000);
        while (!deadline.hasExpired()
               && std::any_of(writers.begin(), writers.end(), [](const auto &w) { return w->state() != QProcess::NotRunning; })) {
            OTError error;
            const QVariantMap seen = OTUserInfoStore::ostrelDefaults(&error);
            QVERIFY2(!error, qPrintable(error.description()));
            QCOMPARE(seen.value(QStringLiteral("kept")).toString(), QStringLiteral("from before"));
            ++reads;
            QTest::qWait(5);
        }
        for (const auto &writer : writers) {
            QCOMPARE(writer->state(), QProcess::NotRunning);
            QCOMPARE(writer->exitStatus(), QProcess::NormalExit);
            QCOMPARE(writer->exitCode(), 0);
        }
        const QVariantMap stored = OTUserInfoStore::ostrelDefaults();
        QCOMPARE(stored, (QVariantMap{{QStringLiteral("kept"), QStringLiteral("from before")},
                                      {QStringLiteral("a"), kKeyWrites},
                                      {QStringLiteral("b"), kKeyWrites},
                                      {QStringLiteral("c"), kKeyWrites}}));
        QVERIFY(reads > 0);
        QVERIFY2(!QFileInfo::exists(path + QStringLiteral(".lock")), "the lock goes with its last writer");
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
