#include <OTClock.h>
#include <OTDate.h>

#include <QTest>

namespace {
QDateTime at(const char *iso)
{
    const QDateTime dt = QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate);
    Q_ASSERT(dt.isValid());
    return dt;
}
} // namespace

class TestOTDate : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { OTClock::reset(); }

    void parsesDayKeysToTheStartOfTheDay()
    {
        OTClock::setTimeZone(QTimeZone("Asia/Shanghai"));
        const QDateTime start = ot_dateFromStringFormatDate(QStringLiteral("2016-10-01"));
        QCOMPARE(start, at("2016-10-01T00:00:00+08:00"));
        QCOMPARE(descriptionWithFormat(start), QStringLiteral("2016-10-01"));
        QCOMPARE(descriptionWithFormat(start, QStringLiteral("yyyy-MM-dd HH:mm")), QStringLiteral("2016-10-01 00:00"));
        QCOMPARE(ot_dateFromStringFormatDate(QStringLiteral("2016-02-29")), at("2016-02-29T00:00:00+08:00"));
    }

    void rejectsAnythingButAValidDayKey_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *bad : {"", "2016-02-30", "2017-02-29", "2016-13-01", "2016-00-10", "2016-10-00",
                                "2016-1-01", "2016-01-1", "16-10-01", "2016/10/01", "2016-10-01x", " 2016-10-01",
                                "2016-10-01 ", "2016-10-01T00:00", "today", "２０１６-10-01", "2016-1O-01",
                                "+016-10-01", "20161001"})
            QTest::newRow(bad) << QString::fromUtf8(bad);
        QTest::newRow("null") << QString();
    }
    void rejectsAnythingButAValidDayKey()
    {
        QFETCH(QString, text);
        QVERIFY(ot_dateFromStringFormatDate(text).isNull());
    }

    void nullFormatGivesTheDayKeyAndLocalesNameMonths()
    {
        OTClock::setTimeZone(QTimeZone("Europe/London"));
        const QDateTime instant = at("2016-10-03T09:00:00+01:00");
        QCOMPARE(descriptionWithFormat(instant), QStringLiteral("2016-10-03"));
        QCOMPARE(descriptionWithFormat(instant, QString()), QStringLiteral("2016-10-03"));
        QCOMPARE(descriptionWithFormat(instant, QStringLiteral("dd")), QStringLiteral("03"));
        QCOMPARE(descriptionWithFormat(instant, QStringLiteral("MMM. yyyy"), QStringLiteral("en_GB")),
                 QStringLiteral("Oct. 2016"));
        QCOMPARE(descriptionWithFormat(instant, QStringLiteral("MMMM"), QStringLiteral("zh_CN")), QStringLiteral("十月"));
        QVERIFY(descriptionWithFormat(QDateTime()).isNull());
    }

    void formatsInTheFoundationsZoneWhateverTheInstantsZone()
    {
        // 23:30 UTC on 30 September is already 1 October in Shanghai.
        const QDateTime lateUtc = at("2016-09-30T23:30:00Z");
        OTClock::setTimeZone(QTimeZone("UTC"));
        QCOMPARE(descriptionWithFormat(lateUtc), QStringLiteral("2016-09-30"));
        OTClock::setTimeZone(QTimeZone("Asia/Shanghai"));
        QCOMPARE(descriptionWithFormat(lateUtc), QStringLiteral("2016-10-01"));
        OTClock::setTimeZone(QTimeZone("America/Sao_Paulo"));
        QCOMPARE(descriptionWithFormat(lateUtc), QStringLiteral("2016-09-30"));
    }

    void keysAreInverseAcrossDaylightSavingChanges_data()
    {
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("changeDay");      // a day on which the clocks change
        QTest::addColumn<QDateTime>("expectedStart"); // when that day begins
        // Sao Paulo moved its clocks at midnight: 4 Nov 2018 had no 00:00, it began at 01:00.
        QTest::newRow("Sao Paulo spring") << "America/Sao_Paulo" << "2018-11-04" << at("2018-11-04T01:00:00-02:00");
        QTest::newRow("Sao Paulo autumn") << "America/Sao_Paulo" << "2019-02-17" << at("2019-02-17T00:00:00-03:00");
        QTest::newRow("London spring") << "Europe/London" << "2019-03-31" << at("2019-03-31T00:00:00Z");
        QTest::newRow("London autumn") << "Europe/London" << "2019-10-27" << at("2019-10-27T00:00:00+01:00");
        QTest::newRow("Shanghai") << "Asia/Shanghai" << "2020-06-01" << at("2020-06-01T00:00:00+08:00");
        // Havana moved its clocks back at 01:00 to 00:00: midnight happened twice on 6 Nov
        // 2016, and the day began at the first.
        QTest::newRow("Havana autumn") << "America/Havana" << "2016-11-06" << at("2016-11-06T00:00:00-04:00");
    }
    void keysAreInverseAcrossDaylightSavingChanges()
    {
        QFETCH(QString, zone);
        QFETCH(QString, changeDay);
        QFETCH(QDateTime, expectedStart);
        OTClock::setTimeZone(QTimeZone(zone.toLatin1()));
        const QDateTime start = ot_dateFromStringFormatDate(changeDay);
        QCOMPARE(start, expectedStart);
        QVERIFY(descriptionWithFormat(start.addSecs(-1)) != changeDay);

        // Every day of the surrounding months parses and formats back to itself, and the
        // days begin in order, 23 to 25 hours apart.
        const QDate middle = QDate::fromString(changeDay, Qt::ISODate);
        QDateTime previous;
        for (QDate day = middle.addDays(-40); day <= middle.addDays(40); day = day.addDays(1)) {
            const QString key = day.toString(Qt::ISODate);
            const QDateTime parsed = ot_dateFromStringFormatDate(key);
            QVERIFY2(parsed.isValid(), qPrintable(key));
            QCOMPARE(descriptionWithFormat(parsed), key);
            if (previous.isValid()) {
                const qint64 gap = previous.secsTo(parsed);
                QVERIFY2(gap >= 23 * 3600 && gap <= 25 * 3600, qPrintable(key));
            }
            previous = parsed;
        }
    }

    void clockSeam()
    {
        OTClock::setNow(at("2016-10-03T09:00:00+08:00"));
        OTClock::setTimeZone(QTimeZone("Asia/Shanghai"));
        QCOMPARE(OTClock::now(), at("2016-10-03T09:00:00+08:00"));
        QCOMPARE(ot_todayKey(), QStringLiteral("2016-10-03"));
        QTest::qWait(20);
        QCOMPARE(OTClock::now(), at("2016-10-03T09:00:00+08:00")); // frozen
        OTClock::advance(15 * 3600);
        QCOMPARE(ot_todayKey(), QStringLiteral("2016-10-04"));
        OTClock::setTimeZone(QTimeZone("UTC"));
        QCOMPARE(ot_todayKey(), QStringLiteral("2016-10-03"));

        OTClock::setRunningFrom(at("2020-01-01T00:00:00Z"));
        QTest::qWait(50);
        const qint64 ran = at("2020-01-01T00:00:00Z").msecsTo(OTClock::now());
        QVERIFY(ran >= 50 && ran < 5000);

        OTClock::reset();
        QVERIFY(qAbs(OTClock::now().secsTo(QDateTime::currentDateTimeUtc())) < 5);
    }
};

QTEST_GUILESS_MAIN(TestOTDate)
#include "tst_otdate.moc"
