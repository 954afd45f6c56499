#include "QuoteDatabase.h"

#include <OTDate.h>

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <algorithm>
#include <limits>
#include <atomic>

namespace {

// The advisory lock that serialises writers on PostgreSQL ("ostq").
constexpr qint64 WriteLockKey = 0x6f737471;

QString dayKey(const QDate &day)
{
    return day.toString(Qt::ISODate);
}

// Each QuoteDatabase has its own named QtSql connection.
QString nextConnectionName()
{
    static std::atomic<int> counter{0};
    return QStringLiteral("ostquote-server-%1").arg(counter.fetch_add(1));
}

} // namespace

QuoteDatabase::QuoteDatabase()
    : m_connectionName(nextConnectionName())
{
}

QuoteDatabase::~QuoteDatabase()
{
    {
        QSqlDatabase db = QSqlDatabase::database(m_connectionName, false);
        if (db.isValid())
            db.close();
    }
    QSqlDatabase::removeDatabase(m_connectionName);
}

bool QuoteDatabase::fail(const QString &what, const QString &detail)
{
    m_error = detail.isEmpty() ? what : what + QStringLiteral(": ") + detail;
    return false;
}

bool QuoteDatabase::beginWrite()
{
    QSqlDatabase db = QSqlDatabase::database(m_connectionName);
    QSqlQuery query(db);
    if (m_kind == DatabaseLocation::Kind::SQLite) {
        // IMMEDIATE takes the file's write lock now (waiting up to the busy timeout), so
        // what this transaction reads stays true until it commits.
        if (!query.exec(QStringLiteral("BEGIN IMMEDIATE")))
            return fail(QStringLiteral("cannot start a transaction"), query.lastError().text());
        return true;
    }
    if (!db.transaction())
        return fail(QStringLiteral("cannot start a transaction"), db.lastError().text());
    // Every server on this database takes the same transaction-scoped lock before it reads
    // what it is about to change; the next one reads what this one committed.
    if (!query.exec(QStringLiteral("SELECT pg_advisory_xact_lock(%1)").arg(WriteLockKey))) {
        const QString detail = query.lastError().text();
        db.rollback();
        return fail(QStringLiteral("cannot lock the quote tables"), detail);
    }
    return true;
}

bool QuoteDatabase::commit()
{
    QSqlDatabase db = QSqlDatabase::database(m_connectionName);
    if (db.commit())
        return true;
    fail(QStringLiteral("cannot store the changes"), db.lastError().text());
    db.rollback();
    return false;
}

void QuoteDatabase::rollback()
{
    QSqlDatabase::database(m_connectionName).rollback();
}

void QuoteDatabase::reportBadDayKeys(const QStringList &keys)
{
    QStringList fresh;
    for (const QString &key : keys) {
        if (!m_reportedKeys.contains(key)) {
            m_reportedKeys.insert(key);
            fresh.append(key);
        }
    }
    if (fresh.isEmpty())
        return;
    std::sort(fresh.begin(), fresh.end());
    constexpr qsizetype shown = 10;
    QStringList quoted;
    for (qsizetype i = 0; i < std::min(shown, fresh.size()); ++i)
        quoted.append(u'"' + fresh.at(i).left(40) + u'"');
    QString list = quoted.join(QStringLiteral(", "));
    if (fresh.size() > shown)
        list += QStringLiteral(" and %1 more").arg(fresh.size() - shown);
    qWarning("ostquote-server: ignoring %lld stored day(s) that are not valid day keys: %s", qint64(fresh.size()),
             qPrintable(list));
}

bool QuoteDatabase::open(const DatabaseLocation &location)
{
    m_kind = location.kind;
    if (!QSqlDatabase::isDriverAvailable(location.driverName()))
        return fail(QStringLiteral("the Qt SQL driver %1 is not installed").arg(location.driverName()), {});
    QSqlDatabase db = QSqlDatabase::addDatabase(location.driverName(), m_connectionName);
    if (location.kind == DatabaseLocation::Kind::SQLite) {
        const QString directory = QFileInfo(location.path).absolutePath();
        if (!QDir().mkpath(directory))
            return fail(QStringLiteral("cannot create the directory %1").arg(directory), {});
        db.setDatabaseName(location.path);
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    } else {
        db.setHostName(location.host);
        if (location.port > 0)
            db.setPort(location.port);
        db.setUserName(location.user);
        db.setPassword(location.password);
        db.setDatabaseName(location.databaseName);
        db.setConnectOptions(location.connectOptions);
    }
    if (!db.open())
        return fail(QStringLiteral("cannot open the database %1").arg(location.description()), db.lastError().text());
    if (location.kind == DatabaseLocation::Kind::SQLite) {
        QSqlQuery pragma(db);
        pragma.exec(QStringLiteral("PRAGMA foreign_keys = ON"));
    }
    return createSchema();
}

bool QuoteDatabase::createSchema()
{
    QSqlDatabase db = QSqlDatabase::database(m_connectionName);
    // Plain SQL that SQLite and PostgreSQL read alike. Ids are given by seed(), so both
    // number the same dataset the same way. Days are day keys, which sort as dates.
    static const char *const statements[] = {
        "CREATE TABLE IF NOT EXISTS quotes ("
        " id INTEGER PRIMARY KEY,"
        " author TEXT NOT NULL,"
        " content TEXT NOT NULL UNIQUE,"
        " translation TEXT NOT NULL)",
        "CREATE TABLE IF NOT EXISTS quote_days ("
        " day TEXT PRIMARY KEY,"
        " quote_id INTEGER NOT NULL REFERENCES quotes (id))",
        "CREATE INDEX IF NOT EXISTS quote_days_by_quote ON quote_days (quote_id)",
    };
    // Under the write lock: PostgreSQL's CREATE TABLE IF NOT EXISTS is not safe against a
    // second server creating the same table at the same moment.
    if (!beginWrite())
        return false;
    QSqlQuery query(db);
    for (const char *statement : statements) {
        if (!query.exec(QString::fromLatin1(statement))) {
            fail(QStringLiteral("cannot create the quote tables"), query.lastError().text());
            rollback();
            return false;
        }
    }
    return commit();
}

int QuoteDatabase::seed(const QList<DatasetQuote> &quotes)
{
    QSqlDatabase db = QSqlDatabase::database(m_connectionName);
    if (!beginWrite())
        return -1;
    auto abandon = [&](const QString &what, const QSqlQuery &query) {
        fail(what, query.lastError().text());
        rollback();
        return -1;
    };

    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT id, content, author, translation FROM quotes")))
        return abandon(QStringLiteral("cannot read the quotes"), query);
    struct Known
    {
        qint64 id;
        QString author;
        QString translation;
    };
    QHash<QString, Known> known;
    qint64 lastId = 0;
    while (query.next()) {
        const qint64 id = query.value(0).toLongLong();
        lastId = std::max(lastId, id);
        known.insert(query.value(1).toString(), {id, query.value(2).toString(), query.value(3).toString()});
    }
    query.finish();

    QSqlQuery insert(db);
    insert.prepare(QStringLiteral("INSERT INTO quotes (id, author, content, translation) VALUES (?, ?, ?, ?)"));
    QSqlQuery correct(db);
    correct.prepare(QStringLiteral("UPDATE quotes SET author = ?, translation = ? WHERE id = ?"));
    QList<qint64> datasetIds;
    datasetIds.reserve(quotes.size());
    int added = 0;
    for (const DatasetQuote &quote : quotes) {
        const auto found = known.constFind(quote.content);
        if (found != known.cend()) {
            datasetIds.append(found->id);
            // A quote is its sentence: a dataset that corrects its author or translation
            // corrects the stored quote, and every day that shows it.
            if (found->author != quote.author || found->translation != quote.translation) {
                correct.addBindValue(quote.author);
                correct.addBindValue(quote.translation);
                correct.addBindValue(found->id);
                if (!correct.exec())
                    return abandon(QStringLiteral("cannot correct a quote"), correct);
            }
            continue;
        }
        known.insert(quote.content, {++lastId, quote.author, quote.translation});
        datasetIds.append(lastId);
        insert.addBindValue(lastId);
        insert.addBindValue(quote.author);
        insert.addBindValue(quote.content);
        insert.addBindValue(quote.translation);
        if (!insert.exec())
            return abandon(QStringLiteral("cannot add a quote"), insert);
        ++added;
    }
    if (!commit())
        return -1;
    m_datasetIds = datasetIds;
    return added;
}

int QuoteDatabase::assignThrough(const QDate &lastDay)
{
    const QDate firstDay = ostFirstQuoteDay();
    if (lastDay < firstDay)
        return 0;
    QSqlDatabase db = QSqlDatabase::database(m_connectionName);
    if (!beginWrite())
        return -1;
    auto abandon = [&](const QString &what, const QString &detail) {
        fail(what, detail);
        rollback();
        return -1;
    };

    // The quotes a day can show: all of their fields there.
    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT id, author, content, translation FROM quotes")))
        return abandon(QStringLiteral("cannot read the quotes"), query.lastError().text());
    QSet<qint64> usable;
    while (query.next()) {
        bool isNumber = false;
        const qint64 id = query.value(0).toLongLong(&isNumber);
        if (isNumber && !query.value(1).toString().trimmed().isEmpty() && !query.value(2).toString().trimmed().isEmpty()
            && !query.value(3).toString().trimmed().isEmpty())
            usable.insert(id);
    }
    query.finish();

    // New days are dealt from the dataset's quotes; without a dataset, from all of them.
    QList<qint64> pool;
    if (m_datasetIds.isEmpty()) {
        pool = usable.values();
    } else {
        for (const qint64 id : std::as_const(m_datasetIds)) {
            if (usable.contains(id))
                pool.append(id);
        }
    }

    // The stored days: those with a usable quote keep it; those whose quote is gone are
    // dealt again; rows that do not name a valid day are left alone and not served.
    if (!query.exec(QStringLiteral("SELECT day, quote_id FROM quote_days")))
        return abandon(QStringLiteral("cannot read the assigned days"), query.lastError().text());
    std::map<qint64, qint64> history;
    QSet<QString> orphaned;
    QStringList badKeys;
    while (query.next()) {
        const QString key = query.value(0).toString();
        const QDate day = ot_dayFromKey(key);
        if (!day.isValid()) {
            badKeys.append(key);
            continue;
        }
        bool isNumber = false;
        const qint64 id = query.value(1).toLongLong(&isNumber);
        if (isNumber && usable.contains(id))
            history.emplace(day.toJulianDay(), id);
        else
            orphaned.insert(key);
    }
    query.finish();
    reportBadDayKeys(badKeys);

    QuoteAssigner assigner(pool, history);
    QSqlQuery insert(db);
    insert.prepare(QStringLiteral("INSERT INTO quote_days (day, quote_id) VALUES (?, ?)"));
    QSqlQuery update(db);
    update.prepare(QStringLiteral("UPDATE quote_days SET quote_id = ? WHERE day = ?"));
    int count = 0;
    for (QDate day = firstDay; day <= lastDay; day = day.addDays(1)) {
        if (history.contains(day.toJulianDay()))
            continue;
        if (assigner.isEmpty())
            return abandon(QStringLiteral("there are no quotes to assign"), {});
        const QString key = dayKey(day);
        const qint64 id = assigner.assign(day);
        QSqlQuery &store = orphaned.contains(key) ? update : insert;
        if (&store == &update) {
            update.addBindValue(id);
            update.addBindValue(key);
        } else {
            insert.addBindValue(key);
            insert.addBindValue(id);
        }
        if (!store.exec())
            return abandon(QStringLiteral("cannot assign a quote to %1").arg(key), store.lastError().text());
        ++count;
    }
    if (!commit())
        return -1;
    return count;
}

std::optional<QList<DayQuote>> QuoteDatabase::days(const QDate &from, const QDate &to)
{
    QSqlQuery query(QSqlDatabase::database(m_connectionName));
    query.setForwardOnly(true);
    query.prepare(QStringLiteral("SELECT d.day, q.id, q.author, q.content, q.translation"
                                 " FROM quote_days d JOIN quotes q ON q.id = d.quote_id"
                                 " WHERE d.day >= ? AND d.day <= ? ORDER BY d.day"));
    query.addBindValue(dayKey(from));
    query.addBindValue(dayKey(to));
    if (!query.exec()) {
        fail(QStringLiteral("cannot read the days' quotes"), query.lastError().text());
        return std::nullopt;
    }
    QList<DayQuote> result;
    result.reserve(std::max<qint64>(0, from.daysTo(to) + 1));
    while (query.next()) {
        // Keys such as "2017-01-01x" sort inside the range; only real days are served.
        const QString key = query.value(0).toString();
        const QDate day = ot_dayFromKey(key);
        if (!day.isValid() || day < from || day > to)
            continue;
        DayQuote entry;
        entry.key = key;
        entry.day = day;
        entry.quoteId = query.value(1).toLongLong();
        entry.author = query.value(2).toString().trimmed();
        entry.content = query.value(3).toString().trimmed();
        entry.translation = query.value(4).toString().trimmed();
        if (entry.author.isEmpty() || entry.content.isEmpty() || entry.translation.isEmpty())
            continue;
        result.append(std::move(entry));
    }
    return result;
}
