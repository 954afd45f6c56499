#include "QuoteService.h"

#include "QuoteCatalog.h"
#include "QuoteDatabase.h"

#include <OTClock.h>
#include <OTDate.h>

#include <cstdio>

QDate ostToday()
{
    return QDate::fromString(ot_todayKey(), Qt::ISODate);
}

QDateTime ostNextMidnight(const QDate &today)
{
    return ot_dateFromStringFormatDate(today.addDays(1).toString(Qt::ISODate));
}

SnapshotPtr ostBuildSnapshot(QuoteDatabase &database, const QString &publicBase, QString *error)
{
    const QDate today = ostToday();
    const QDate lastDay = today.addDays(ostDaysAhead);
    if (database.assignThrough(lastDay) < 0) {
        *error = database.errorString();
        return nullptr;
    }
    std::optional<QList<DayQuote>> days = database.days(ostFirstQuoteDay(), lastDay);
    if (!days) {
        *error = database.errorString();
        return nullptr;
    }
    return QuoteCatalog::buildSnapshot(std::move(*days), today, ostNextMidnight(today), publicBase);
}

QuoteService::QuoteService(QuoteDatabase &database, const QString &publicBase, SnapshotHolder &snapshots,
                           QObject *parent)
    : QObject(parent)
    , m_database(database)
    , m_publicBase(publicBase)
    , m_snapshots(snapshots)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &QuoteService::check);
}

bool QuoteService::start(QString *error)
{
    const QDate today = ostToday();
    SnapshotPtr snapshot = ostBuildSnapshot(m_database, m_publicBase, error);
    if (!snapshot)
        return false;
    m_snapshots.publish(std::move(snapshot));
    m_today = today;
    scheduleCheck();
    return true;
}

void QuoteService::scheduleCheck()
{
    // Wake at midnight, and at least hourly in case the clock was moved.
    const qint64 untilMidnight = OTClock::now().msecsTo(ostNextMidnight(m_today));
    m_timer.start(int(std::clamp<qint64>(untilMidnight, 0, 3600 * 1000)));
}

void QuoteService::check()
{
    const QDate today = ostToday();
    if (today != m_today) {
        QString error;
        SnapshotPtr snapshot = ostBuildSnapshot(m_database, m_publicBase, &error);
        if (!snapshot) {
            std::fprintf(stderr, "ostquote-server: cannot move on to %s, trying again in a minute: %s\n",
                         qPrintable(today.toString(Qt::ISODate)), qPrintable(error));
            m_timer.start(60 * 1000);
            return;
        }
        m_snapshots.publish(std::move(snapshot));
        m_today = today;
    }
    scheduleCheck();
}
