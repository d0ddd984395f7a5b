// DatabaseManager and HLibrary::newDBConnection on a real PostgreSQL server: the fixture's cluster
// (tests/pg/pgcluster.sh), its template copied into a database of this test's own (orders 1 Rossi
// 12.50, 2 Bianchi 7.00, 3 Verdi 30.00; items 1..3, item 3 without description; customers empty;
// sequence receipt_number at 5). Each result and the log lines it adds are compared exactly.
#include "databasemanager.h"
#include "hlibrary.h"
#include "syncsingleton.h"
#include "testsupport.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <functional>

namespace {

using testsupport::readFile;

// KEY=value lines the cluster script writes: PGT_HOST, PGT_PORT, PGT_USER, PGT_PASSWORD, ...
QString cluster(const char* key) {
    for (const QByteArray& line :
         readFile(QStringLiteral(PASTREL_PG_STATE_DIR "/cluster.env")).split('\n'))
        if (line.startsWith(QByteArray(key) + '='))
            return QString::fromUtf8(line.mid(qstrlen(key) + 1));
    return QString();
}

QString masked(const QByteArray& log) {
    static const QRegularExpression stamp(
        QStringLiteral("^\\[\\d\\d-\\d\\d-\\d{4} \\d\\d:\\d\\d:\\d\\d:\\d{3}\\] "),
        QRegularExpression::MultilineOption);
    return QString::fromUtf8(log).replace(stamp, QStringLiteral("[TS] "));
}

QString query(const QString& label, const QString& statement, int rows) {
    return QStringLiteral("[TS] DEBUG: Query called from method %1: %2\n"
                          "[TS] DEBUG:     numRowsAffected: %3\n")
        .arg(label, statement)
        .arg(rows);
}

struct Operation {
    const char* what;
    std::function<QString(DatabaseManager&, QSqlDatabase*)> run;
    QString result, log;
};

TEST(DatabaseManager, OperationsReturnAndLogWhatTheTillReads) {
    const QString database = QStringLiteral("dbm_%1").arg(QCoreApplication::applicationPid());
    {
        QSqlDatabase admin =
            QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), QStringLiteral("admin"));
        admin.setHostName(cluster("PGT_HOST"));
        admin.setPort(cluster("PGT_PORT").toInt());
        admin.setUserName(cluster("PGT_USER"));
        admin.setPassword(cluster("PGT_PASSWORD"));
        admin.setDatabaseName(QStringLiteral("postgres"));
        ASSERT_TRUE(admin.open()) << "is the fixture test pg_cluster_start run? use ctest";
        ASSERT_TRUE(QSqlQuery(admin).exec(QStringLiteral("create database %1 template %2")
                                              .arg(database, cluster("PGT_TEMPLATE"))));
    }
    testsupport::TempHome home;
    home.writeConfig(
        "pastrel : { logger : { level = DEBUG; type = APPEND; basedir = " + home.path().toUtf8() +
        "; filename = db.log; };\n  db : { dbname = " + database.toUtf8() + "; username = " +
        cluster("PGT_USER").toUtf8() + "; password = " + cluster("PGT_PASSWORD").toUtf8() +
        "; hostname = " + cluster("PGT_HOST").toUtf8() + "; }; };");
    qputenv("HOME", home.path().toUtf8());
    qputenv("PGPORT", cluster("PGT_PORT").toUtf8()); // no port is set: libpq takes PGPORT
    const QString log = home.file(QStringLiteral("db.log"));
    DatabaseManager& manager = *SyncSingleton<DatabaseManager>::instance();

    EXPECT_EQ(manager.createConnection(QStringLiteral("QPSQL7"), database, cluster("PGT_USER"),
                                       QStringLiteral("wrong"), cluster("PGT_HOST"),
                                       QStringLiteral("bad")),
              nullptr);
    QSqlDatabase* db = HLibrary::newDBConnection(QStringLiteral("till"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(masked(readFile(log)),
              QStringLiteral("[TS] DEBUG: Start Logger\n"
                             "[TS] ERROR: Failed to open database: QPSQL: Unable to connect\n"
                             "[TS] ERROR: connection to server at \"127.0.0.1\", port %1 failed: "
                             "FATAL:  password authentication failed for user \"%2\"\n\n"
                             "[TS] DEBUG: Connection With %3 DB established\n")
                  .arg(cluster("PGT_PORT"), cluster("PGT_USER"), database));

    const QString exec = QStringLiteral("executeQuery(...)");
    const QString select = QStringLiteral("executeSelectQuery(...)");
    const QString exist = QStringLiteral("DatabaseManager::existRecord(...)");
    const QString syntax = QStringLiteral("updat orders set total = 0");
    // clang-format off
    const Operation operations[] = {
        {"executeQuery", [](auto& m, auto* d) { return QString::number(m.executeQuery( QStringLiteral("update orders set total = total + 1 where id < 3"), d)); }, "2", query(exec, QStringLiteral("update orders set total = total + 1 where id < 3"), 2)},
        {"executeQuery failing", [&](auto& m, auto* d) { return QString::number(m.executeQuery(syntax, d)); }, "-1", query(exec, syntax, -1) + QStringLiteral("[TS] ERROR: Error in the method executeQuery(...), to query: %1\n" "[TS] ERROR: ERROR:  syntax error at or near \"updat\"\n" "LINE 1: %1\n        ^\n(42601)\n") .arg(syntax)},
        {"executeSelectQuery", [](auto& m, auto* d) { return m.executeSelectQuery( QStringLiteral("select customer, total from orders order by id"), d); }, "Rossi", query(select, QStringLiteral("select customer, total from orders order by id"), 3)},
        {"executeSelectQuery null", [](auto& m, auto* d) { return m.executeSelectQuery( QStringLiteral("select description from items where id = 3"), d); }, "", query(select, QStringLiteral("select description from items where id = 3"), 1)},
        {"executeSelectQuery2", [](auto& m, auto* d) { return m .executeSelectQuery2(QStringLiteral("select customer from orders order by id"), d) .join(QLatin1Char(',')); }, "Rossi,Bianchi,Verdi", query(select, QStringLiteral("select customer from orders order by id"), 3)},
        {"executeSelectQuery3", [](auto& m, auto* d) { return m .executeSelectQuery3(QStringLiteral("select id, total from orders order by id"), 1, d) .join(QLatin1Char(',')); }, "13.50,8.00,30.00", query(select, QStringLiteral("select id, total from orders order by id"), 3)},
        {"getField", [](auto& m, auto* d) { return m.getField(QStringLiteral("customer"), QStringLiteral("orders"), QStringLiteral("2"), d); }, "Bianchi", query(QStringLiteral("DatabaseManager::getField(...)"), QStringLiteral("select customer from orders where id = 2"), 1)},
        {"existRecord", [](auto& m, auto* d) { return QString::number( m.existRecord(QStringLiteral("orders"), QStringLiteral("9"), d)); }, "0", query(exist, QStringLiteral("select * from orders where ID = 9"), 0)},
        {"numRecords", [](auto& m, auto* d) { return QString::number( m.numRecords(QStringLiteral("orders"), QStringLiteral("total > 10"), d)); }, "2", query(exist, QStringLiteral("select count(*) from orders where total > 10"), 1)},
        {"removeRecord", [](auto& m, auto* d) { return QString::number( m.removeRecord(QStringLiteral("orders"), QStringLiteral("3"), d)); }, "1", query(QStringLiteral("removeRecord"), QStringLiteral("delete from orders where ID = 3"), 1)},
        {"getLastId", [](auto& m, auto* d) { return m.getLastId(QStringLiteral("orders"), d); },
         "2", query(QStringLiteral("getLastId"), QStringLiteral("select max(ID) from orders"), 1)},
        {"getLastId of an empty table", [](auto& m, auto* d) { return m.getLastId(QStringLiteral("customers"), d); }, "", query(QStringLiteral("getLastId"), QStringLiteral("select max(ID) from customers"), 1)},
        {"newRecord", [](auto& m, auto* d) { return m.newRecord(QStringLiteral("customers"), d); },
         "1",
         query(QStringLiteral("newRecord"), QStringLiteral("insert into customers values(default)"),
               1) +
             query(QStringLiteral("getLastId"), QStringLiteral("select max(ID) from customers"),
                   1)},
        {"incrementSequence", [](auto& m, auto* d) { return m.incrementSequence(QStringLiteral("receipt_number"), 2, d); }, "5", query(select, QStringLiteral("select last_value from receipt_number"), 1) + query(select, QStringLiteral("SELECT setval('receipt_number', 7)"), 1)},
        // clang-format on
    };
    for (const Operation& operation : operations) {
        const qsizetype before = readFile(log).size();
        EXPECT_EQ(operation.run(manager, db), operation.result) << operation.what;
        EXPECT_EQ(masked(readFile(log).mid(before)), operation.log) << operation.what;
    }
}

} // namespace
