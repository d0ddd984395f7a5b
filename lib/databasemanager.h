// DatabaseManager: the suite's thin layer over Qt SQL for its PostgreSQL database,
// reached through SyncSingleton<DatabaseManager>::instance(). See docs/database.md.
//
// Statements are built by plain concatenation: values are pasted in unquoted and unescaped, so
// callers must pass numbers or already quoted literals (docs/database.md).
// Every statement is logged at DEBUG and every failure at ERROR through the default logger.
// A null QSqlDatabase* means the toolkit's default connection. Nothing throws: failures give
// empty text, -1, false or "Error" (the table in docs/database.md).
#pragma once

#include <QString>
#include <QStringList>

class Logger;
class QSqlDatabase;
class QSqlQuery;
class QSqlTableModel;

class DatabaseManager {
public:
    // Takes the default logger, HLogManager getLog(""). If nobody has registered it, the manager
    // registers it itself (set("DatabaseManager", "")), so the logger it writes to is never null.
    DatabaseManager();
    DatabaseManager(const DatabaseManager&) = delete;
    DatabaseManager& operator=(const DatabaseManager&) = delete;

    // Registers and opens a connection; the empty name is the default connection. The returned
    // pointer stays valid for the whole process (docs/database.md); null on failure. "QPSQL7",
    // Qt 3's name for the driver, is taken as "QPSQL". No port is set: libpq's default
    // applies, i.e. $PGPORT or 5432.
    QSqlDatabase* createConnection(const QString& driver, const QString& databaseName,
                                   const QString& userName, const QString& password,
                                   const QString& hostName, const QString& connectionName);

    int executeQuery(const QString& query, QSqlDatabase* db = nullptr);
    QString executeSelectQuery(const QString& query, QSqlDatabase* db = nullptr);
    QStringList executeSelectQuery2(const QString& query, QSqlDatabase* db = nullptr);
    QStringList executeSelectQuery3(const QString& query, int column, QSqlDatabase* db = nullptr);
    QString getField(const QString& field, const QString& table, const QString& id,
                     QSqlDatabase* db = nullptr);
    int removeRecord(const QString& table, const QString& id, QSqlDatabase* db = nullptr);
    bool existRecord(const QString& table, const QString& id, QSqlDatabase* db = nullptr);
    int numRecords(const QString& table, const QString& condition, QSqlDatabase* db = nullptr);
    QString getLastId(const QString& table, QSqlDatabase* db = nullptr);
    QString newRecord(const QString& table, QSqlDatabase* db = nullptr);
    QString safeNewRecord(const QString& table, QSqlDatabase* db = nullptr);

    // Read-then-set, not atomic: two processes changing one sequence can lose an update
    // (demonstrated in tests/test_databasemanager.cpp).
    QString sequenceValue(const QString& sequence, QSqlDatabase* db = nullptr);
    void setSequence(const QString& sequence, int value, QSqlDatabase* db = nullptr);
    QString incrementSequence(const QString& sequence, int step, QSqlDatabase* db = nullptr);
    QString decrementSequence(const QString& sequence, int step, QSqlDatabase* db = nullptr);
    bool decrementSequenceIfPositive(const QString& sequence, int step, QSqlDatabase* db = nullptr);

    void begin(QSqlDatabase* db = nullptr);
    void commit(QSqlDatabase* db = nullptr);
    void rollback(QSqlDatabase* db = nullptr);

    // The two debug lines of every statement, and two error lines for a failed one. A statement Qt
    // refused because the connection is not open counts as failed (docs/database.md).
    void showQueryError(const QString& method, const QSqlQuery& query);
    // The cursor is a QSqlTableModel; a null cursor logs nothing.
    void showCursorError(const QString& method, const QSqlTableModel* cursor);

private:
    // Runs one statement on db (null: the default connection) and logs it under label.
    QSqlQuery run(const QString& label, const QString& statement, QSqlDatabase* db);

    Logger* m_log; // the default logger; not owned
};
