#include "databasemanager.h"

#include "hlogmanager.h"
#include "logger.h"
#include "syncsingleton.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlTableModel>
#include <QVariant>

#include <climits>

namespace {

// Qt 3's connection registry handed out QSqlDatabase pointers it owned; Qt 6's hands out value
// handles. To keep the suite's pointer interface, each connection name gets one heap handle for
// the life of the process: a later createConnection under the same name re-targets the same
// handle, so a pointer a caller holds never dangles. The table is deliberately never freed
// (freeing it at exit would race Qt's own teardown of its registry).
QMutex& handleMutex() {
    static QMutex mutex;
    return mutex;
}

QHash<QString, QSqlDatabase*>& handleTable() {
    static auto* table = new QHash<QString, QSqlDatabase*>();
    return *table;
}

// Registers a connection of driverName under name; null if the driver cannot be loaded (Qt 6
// then still keeps an invalid connection under the name, as a failed connection is kept).
QSqlDatabase* registerConnection(const QString& driverName, const QString& name) {
    QMutexLocker locker(&handleMutex());
    QSqlDatabase*& handle = handleTable()[name];
    if (handle == nullptr)
        handle = new QSqlDatabase();
    // A second connection under a name replaces the first; removing it first, with
    // our handle released, spares Qt's "duplicate connection name" and "still in use" warnings.
    *handle = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
    *handle = QSqlDatabase::addDatabase(driverName, name);
    return handle->isValid() ? handle : nullptr;
}

QString defaultConnectionName() {
    return QString(QLatin1String(QSqlDatabase::defaultConnection));
}

// "QPSQL7" is Qt 3's name of the driver Qt 6 calls "QPSQL"; the suite's programs still pass it.
QString toolkitDriverName(const QString& driver) {
    return driver == QLatin1String("QPSQL7") ? QStringLiteral("QPSQL") : driver;
}

// A null pointer means the toolkit's default connection. Looked up without opening
// it (QSqlDatabase::database() would try to open a closed one).
QSqlDatabase connectionOf(QSqlDatabase* db) {
    if (db != nullptr)
        return *db;
    return QSqlDatabase::database(defaultConnectionName(), false);
}

// A column of the current row as text; SQL NULL is the empty text (Qt 6 would print a NULL
// integer as "0", so max(ID) of an empty table would not be the empty text callers test for). An
// out-of-range column also reads as the empty text.
QString fieldText(const QSqlQuery& query, int column) {
    if (query.isNull(column))
        return QString();
    return query.value(column).toString();
}

// int arithmetic of the sequence operations without overflow: saturates at the int range.
int saturatedSum(int value, int step) {
    const long long sum = static_cast<long long>(value) + step;
    if (sum > INT_MAX)
        return INT_MAX;
    if (sum < INT_MIN)
        return INT_MIN;
    return static_cast<int>(sum);
}

int negated(int step) {
    return step == INT_MIN ? INT_MAX : -step;
}

// The query's last error. Qt refuses a statement on a connection that is not open (it never
// opened, or it closed when the server went away) before running it, and records no error: the
// statement then failed all the same, and every failed statement logs two more lines at the
// error level. Such a refusal counts as an error whose database text is why the connection
// did not open, or Qt's own words "database not open" (docs/database.md).
QSqlError effectiveError(const QSqlQuery& query) {
    const QSqlError error = query.lastError();
    const QSqlDriver* driver = query.driver();
    if (error.type() != QSqlError::NoError || query.isActive() || query.lastQuery().isEmpty() ||
        driver == nullptr || driver->isOpen())
        return error;
    QString reason = driver->lastError().databaseText();
    if (reason.isEmpty())
        reason = QStringLiteral("database not open");
    return QSqlError(QStringLiteral("database not open"), reason, QSqlError::ConnectionError);
}

} // namespace

DatabaseManager::DatabaseManager() {
    HLogManager* logs = SyncSingleton<HLogManager>::instance();
    m_log = logs->getLog(QString());
    if (m_log == nullptr) {
        logs->set(QStringLiteral("DatabaseManager"), QString());
        m_log = logs->getLog(QString());
    }
}

QSqlDatabase* DatabaseManager::createConnection(const QString& driver, const QString& databaseName,
                                                const QString& userName, const QString& password,
                                                const QString& hostName,
                                                const QString& connectionName) {
    const QString name = connectionName.isEmpty() ? defaultConnectionName() : connectionName;
    QSqlDatabase* db = registerConnection(toolkitDriverName(driver), name);
    if (db == nullptr) {
        m_log->error(QStringLiteral("Failed to connect to driver"));
        return nullptr;
    }
    db->setDatabaseName(databaseName);
    db->setUserName(userName);
    db->setPassword(password);
    db->setHostName(hostName);
    if (db->open()) {
        m_log->debug(QStringLiteral("Connection With ") + databaseName +
                     QStringLiteral(" DB established"));
        return db;
    }
    const QSqlError error = db->lastError();
    m_log->error(QStringLiteral("Failed to open database: ") + error.driverText());
    m_log->error(error.databaseText());
    return nullptr; // the failed connection stays registered
}

QSqlQuery DatabaseManager::run(const QString& label, const QString& statement, QSqlDatabase* db) {
    QSqlQuery query(connectionOf(db));
    // Numbers come back as the server's exact text ("12.50", big keys), not through a double.
    query.setNumericalPrecisionPolicy(QSql::HighPrecision);
    if (!statement.isEmpty()) // what QSqlQuery(statement, db) does: run it at once
        query.exec(statement);
    showQueryError(label, query);
    return query;
}

int DatabaseManager::executeQuery(const QString& query, QSqlDatabase* db) {
    return run(QStringLiteral("executeQuery(...)"), query, db).numRowsAffected();
}

QString DatabaseManager::executeSelectQuery(const QString& query, QSqlDatabase* db) {
    QSqlQuery result = run(QStringLiteral("executeSelectQuery(...)"), query, db);
    return result.next() ? fieldText(result, 0) : QString();
}

QStringList DatabaseManager::executeSelectQuery2(const QString& query, QSqlDatabase* db) {
    return executeSelectQuery3(query, 0, db);
}

QStringList DatabaseManager::executeSelectQuery3(const QString& query, int column,
                                                 QSqlDatabase* db) {
    QSqlQuery result = run(QStringLiteral("executeSelectQuery(...)"), query, db);
    QStringList values;
    while (result.next())
        values.append(fieldText(result, column));
    return values;
}

QString DatabaseManager::getField(const QString& field, const QString& table, const QString& id,
                                  QSqlDatabase* db) {
    QSqlQuery result = run(QStringLiteral("DatabaseManager::getField(...)"),
                           QStringLiteral("select ") + field + QStringLiteral(" from ") + table +
                               QStringLiteral(" where id = ") + id,
                           db);
    return result.next() ? fieldText(result, 0) : QString();
}

int DatabaseManager::removeRecord(const QString& table, const QString& id, QSqlDatabase* db) {
    return run(QStringLiteral("removeRecord"),
               QStringLiteral("delete from ") + table + QStringLiteral(" where ID = ") + id, db)
        .numRowsAffected();
}

bool DatabaseManager::existRecord(const QString& table, const QString& id, QSqlDatabase* db) {
    return run(QStringLiteral("DatabaseManager::existRecord(...)"),
               QStringLiteral("select * from ") + table + QStringLiteral(" where ID = ") + id, db)
        .next();
}

int DatabaseManager::numRecords(const QString& table, const QString& condition, QSqlDatabase* db) {
    // Logged under existRecord's label: the suite's log readers know it by that name.
    QSqlQuery result =
        run(QStringLiteral("DatabaseManager::existRecord(...)"),
            QStringLiteral("select count(*) from ") + table + QStringLiteral(" where ") + condition,
            db);
    return result.next() ? result.value(0).toInt() : -1;
}

QString DatabaseManager::getLastId(const QString& table, QSqlDatabase* db) {
    QSqlQuery result =
        run(QStringLiteral("getLastId"), QStringLiteral("select max(ID) from ") + table, db);
    if (result.next())
        return fieldText(result, 0); // empty table: one row holding NULL, the empty text
    m_log->error(QStringLiteral("getLastId( ") + table + QStringLiteral(" ): ") +
                 result.lastQuery() + QStringLiteral(" return empty result"));
    return QStringLiteral("Error"); // a sentinel word callers compare against
}

QString DatabaseManager::newRecord(const QString& table, QSqlDatabase* db) {
    run(QStringLiteral("newRecord"),
        QStringLiteral("insert into ") + table + QStringLiteral(" values(default)"), db);
    // The largest key is taken as the new record's; another session committing in
    // between makes this another caller's key (docs/database.md).
    return getLastId(table, db);
}

QString DatabaseManager::safeNewRecord(const QString& table, QSqlDatabase* db) {
    begin(db);
    // Logged as "newRecord"; no rollback, a failed insert is still committed.
    const QString key = newRecord(table, db);
    commit(db);
    return key;
}

QString DatabaseManager::sequenceValue(const QString& sequence, QSqlDatabase* db) {
    // Through the singleton instance, not this object, like every sequence operation.
    return SyncSingleton<DatabaseManager>::instance()->executeSelectQuery(
        QStringLiteral("select last_value from ") + sequence, db);
}

void DatabaseManager::setSequence(const QString& sequence, int value, QSqlDatabase* db) {
    // Through the singleton; the result is discarded, a failure only logged.
    SyncSingleton<DatabaseManager>::instance()->executeSelectQuery(
        QStringLiteral("SELECT setval('") + sequence + QStringLiteral("', ") +
            QString::number(value) + QLatin1Char(')'),
        db);
}

QString DatabaseManager::incrementSequence(const QString& sequence, int step, QSqlDatabase* db) {
    // Read, then set; not atomic, so two processes can lose an update.
    const QString before = sequenceValue(sequence, db);
    setSequence(sequence, saturatedSum(before.toInt(), step), db); // not a number counts as 0
    return before;
}

QString DatabaseManager::decrementSequence(const QString& sequence, int step, QSqlDatabase* db) {
    return incrementSequence(sequence, negated(step), db);
}

bool DatabaseManager::decrementSequenceIfPositive(const QString& sequence, int step,
                                                  QSqlDatabase* db) {
    // The value is read on the default connection whatever db is: callers have always relied
    // on the default connection holding the sequences.
    if (sequenceValue(sequence, nullptr).toInt() < step)
        return false;
    incrementSequence(sequence, negated(step), db);
    return true;
}

void DatabaseManager::begin(QSqlDatabase* db) {
    if (db != nullptr)
        db->transaction();
    else
        executeQuery(QStringLiteral("BEGIN"), nullptr);
    m_log->debug(QStringLiteral("BEGIN\n\n"));
}

void DatabaseManager::commit(QSqlDatabase* db) {
    if (db != nullptr)
        db->commit();
    else
        executeQuery(QStringLiteral("COMMIT"), nullptr);
    m_log->debug(QStringLiteral("COMMIT\n\n"));
}

void DatabaseManager::rollback(QSqlDatabase* db) {
    if (db != nullptr)
        db->rollback();
    else
        executeQuery(QStringLiteral("ROLLBACK"), nullptr);
    m_log->debug(QStringLiteral("ROLLBACK\n\n"));
}

void DatabaseManager::showQueryError(const QString& method, const QSqlQuery& query) {
    m_log->debug(QStringLiteral("Query called from method ") + method + QStringLiteral(": ") +
                 query.lastQuery());
    m_log->debug(QStringLiteral("    numRowsAffected: ") +
                 QString::number(query.numRowsAffected()));
    const QSqlError error = effectiveError(query);
    if (error.type() != QSqlError::NoError) {
        m_log->error(QStringLiteral("Error in the method ") + method +
                     QStringLiteral(", to query: ") + query.lastQuery());
        m_log->error(error.databaseText());
    }
}

void DatabaseManager::showCursorError(const QString& method, const QSqlTableModel* cursor) {
    if (cursor == nullptr)
        return;
    const QSqlError error = cursor->lastError();
    if (error.type() != QSqlError::NoError) {
        m_log->error(QStringLiteral("Error in the method ") + method +
                     QStringLiteral(", to cursor: ") + cursor->tableName());
        m_log->error(error.databaseText());
    }
}
