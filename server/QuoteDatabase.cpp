#include "QuoteDatabase.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <algorithm>
#include <atomic>

quint64 ostStableHash(QByteArrayView bytes)
{
    quint64 hash = 0xcbf29ce484222325ull;
    for (const char c : bytes) {
        hash ^= quint8(c);
        hash *= 0x100000001b3ull;
    }
    // splitmix64's finaliser spreads the few bits in which near day keys differ.
    hash ^= hash >> 30;
    hash *= 0xbf58476d1ce4e5b9ull;
    hash ^= hash >> 27;
    hash *= 0x94d049bb133111ebull;
    hash ^= hash >> 31;
    return hash;
}

QuoteAssigner::QuoteAssigner(const QHash<qint64, int> &useCounts)
{
    for (auto it = useCounts.cbegin(); it != useCounts.cend(); ++it)
        m_idsByUse[it.value()].push_back(it.key());
    for (auto &[uses, ids] : m_idsByUse)
        std::sort(ids.begin(), ids.end());
}

qint64 QuoteAssigner::assign(const QString &dayKey)
{
    Q_ASSERT(!isEmpty());
    const auto leastUsed = m_idsByUse.begin();
    std::vector<qint64> &candidates = leastUsed->second;
    const std::size_t index = ostStableHash(dayKey.toUtf8()) % candidates.size();
    const qint64 id = candidates[index];
    const int uses = leastUsed->first;
    candidates.erase(candidates.begin() + std::ptrdiff_t(index));
    if (candidates.empty())
        m_idsByUse.erase(leastUsed);
    std::vector<qint64> &next = m_idsByUse[uses + 1];
    next.insert(std::lower_bound(next.begin(), next.end(), id), id);
    return id;
}

namespace {

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

bool QuoteDatabase::open(const DatabaseLocation &location)
{
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
    QSqlQuery query(db);
    for (const char *statement : statements) {
        if (!query.exec(QString::fromLatin1(statement)))
            return fail(QStringLiteral("cannot create the quote tables"), query.lastError().text());
    }
    return true;
}

int QuoteDatabase::seed(const QList<DatasetQuote> &quotes)
{
    QSqlDatabase db = QSqlDatabase::database(m_connectionName);
    if (!db.transaction()) {
        fail(QStringLiteral("cannot start a transaction"), db.lastError().text());
        return -1;
    }
    auto rollback = [&](const QString &what, const QSqlQuery &query) {
        fail(what, query.lastError().text());
        db.rollback();
        return -1;
    };

    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT id, content FROM quotes")))
        return rollback(QStringLiteral("cannot read the quotes"), query);
    QSet<QString> known;
    qint64 lastId = 0;
    while (query.next()) {
        lastId = std::max(lastId, query.value(0).toLongLong());
        known.insert(query.value(1).toString());
    }

    QSqlQuery insert(db);
    insert.prepare(QStringLiteral("INSERT INTO quotes (id, author, content, translation) VALUES (?, ?, ?, ?)"));
    int added = 0;
    for (const DatasetQuote &quote : quotes) {
        if (known.contains(quote.content))
            continue;
        known.insert(quote.content);
        insert.addBindValue(++lastId);
        insert.addBindValue(quote.author);
        insert.addBindValue(quote.content);
        insert.addBindValue(quote.translation);
        if (!insert.exec())
            return rollback(QStringLiteral("cannot add a quote"), insert);
        ++added;
    }
    if (!db.commit()) {
        fail(QStringLiteral("cannot store the new quotes"), db.lastError().text());
        db.rollback();
        return -1;
    }
    return added;
}

int QuoteDatabase::assignThrough(const QDate &lastDay)
{
    const QDate firstDay = ostFirstQuoteDay();
    if (lastDay < firstDay)
        return 0;
    QSqlDatabase db = QSqlDatabase::database(m_connectionName);
    if (!db.transaction()) {
        fail(QStringLiteral("cannot start a transaction"), db.lastError().text());
        return -1;
    }
    auto rollback = [&](const QString &what, const QString &detail) {
        fail(what, detail);
        db.rollback();
        return -1;
    };

    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT q.id, COUNT(d.day) FROM quotes q"
                                   " LEFT JOIN quote_days d ON d.quote_id = q.id GROUP BY q.id")))
        return rollback(QStringLiteral("cannot count the quotes' days"), query.lastError().text());
    QHash<qint64, int> useCounts;
    while (query.next())
        useCounts.insert(query.value(0).toLongLong(), query.value(1).toInt());
    if (useCounts.isEmpty())
        return rollback(QStringLiteral("there are no quotes to assign"), {});

    if (!query.exec(QStringLiteral("SELECT day FROM quote_days")))
        return rollback(QStringLiteral("cannot read the assigned days"), query.lastError().text());
    QSet<QString> assigned;
    while (query.next())
        assigned.insert(query.value(0).toString());

    QuoteAssigner assigner(useCounts);
    QSqlQuery insert(db);
    insert.prepare(QStringLiteral("INSERT INTO quote_days (day, quote_id) VALUES (?, ?)"));
    int count = 0;
    for (QDate day = firstDay; day <= lastDay; day = day.addDays(1)) {
        const QString key = dayKey(day);
        if (assigned.contains(key))
            continue;
        insert.addBindValue(key);
        insert.addBindValue(assigner.assign(key));
        if (!insert.exec())
            return rollback(QStringLiteral("cannot assign a quote to %1").arg(key), insert.lastError().text());
        ++count;
    }
    if (!db.commit())
        return rollback(QStringLiteral("cannot store the assigned days"), db.lastError().text());
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
        DayQuote entry;
        entry.key = query.value(0).toString();
        entry.day = QDate::fromString(entry.key, Qt::ISODate);
        entry.quoteId = query.value(1).toLongLong();
        entry.author = query.value(2).toString();
        entry.content = query.value(3).toString();
        entry.translation = query.value(4).toString();
        result.append(std::move(entry));
    }
    return result;
}
