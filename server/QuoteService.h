#pragma once

#include "Snapshot.h"

#include <QDate>
#include <QObject>
#include <QString>
#include <QTimer>

class QuoteDatabase;

// Today in the server's zone (OTClock), and the instant it ends.
QDate ostToday();
QDateTime ostNextMidnight(const QDate &today);

// Assigns quotes through today + 7 and prepares every answer for today. Null, with the
// reason in *error, when the database fails.
SnapshotPtr ostBuildSnapshot(QuoteDatabase &database, const QString &publicBase, QString *error);

// Keeps the served snapshot current: publishes one at start and a new one at each of the
// server's midnights, when the next day comes into range. Lives on the main thread.
class QuoteService : public QObject
{
    Q_OBJECT
public:
    QuoteService(QuoteDatabase &database, const QString &publicBase, SnapshotHolder &snapshots,
                 QObject *parent = nullptr);

    // Builds and publishes the snapshot for the current day, then watches for midnight.
    bool start(QString *error);

private:
    void scheduleCheck();
    void check();

    QuoteDatabase &m_database;
    QString m_publicBase;
    SnapshotHolder &m_snapshots;
    QDate m_today;
    QTimer m_timer;
};
