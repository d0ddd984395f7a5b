// Part 7.1: DatabaseManager against a real PostgreSQL server (no mock anywhere).
//
// The CTest fixture pg_cluster_start runs a throw-away cluster (tests/pg/pgcluster.sh); every
// test copies its template into a database of its own, points libpq at the cluster with PGPORT
// (createConnection sets no port, Part 7.1 "Left to the implementer"), and reads the log file
// back whole: stamps checked against the clock and masked (testsupport::LogFile), every debug
// and error line compared exactly. Server texts are PostgreSQL 15's with lc_messages = C, plus
// the "(SQLSTATE)" Qt's driver appends.
//
// Template (pgcluster.sh): orders 1 Rossi 12.50, 2 Bianchi 7.00, 3 Verdi 30.00; items 1..3
// (item 3 has a NULL description); payments 1 (amount NOT NULL, no default); customers empty;
// sequences receipt_number (MINVALUE 0, at 5) and ticket_number (MINVALUE 1, at 2).
#include "databasemanager.h"
#include "hlogmanager.h"
#include "logfile.h"
#include "pgcluster.h"
#include "syncsingleton.h"
#include "testsupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlTableModel>
#include <QThread>

#include <functional>
#include <memory>

using testsupport::LogFile;
using testsupport::PgCluster;
using testsupport::stamped;
using testsupport::TempHome;

namespace {

// ---- expected log lines (masked stamps) ----

// showQueryError's two debug lines.
QString queryLines(const QString& label, const QString& statement, int rows) {
    return stamped(QStringLiteral("DEBUG"), QStringLiteral("Query called from method ") + label +
                                                QStringLiteral(": ") + statement) +
           stamped(QStringLiteral("DEBUG"),
                   QStringLiteral("    numRowsAffected: ") + QString::number(rows));
}

// showQueryError's two error lines.
QString errorLines(const QString& label, const QString& statement, const QString& databaseText) {
    return stamped(QStringLiteral("ERROR"), QStringLiteral("Error in the method ") + label +
                                                QStringLiteral(", to query: ") + statement) +
           stamped(QStringLiteral("ERROR"), databaseText);
}

// A failed statement: the debug lines (rows -1) and the error lines.
QString failedLines(const QString& label, const QString& statement, const QString& databaseText) {
    return queryLines(label, statement, -1) + errorLines(label, statement, databaseText);
}

// The debug word of begin/commit/rollback: the word and two line ends, then the line end.
QString word(const char* statement) {
    return QStringLiteral("[TS] DEBUG: ") + QLatin1String(statement) + QStringLiteral("\n\n\n");
}

// PostgreSQL's text for an error at a token of a one-line statement: the message, the statement
// after "LINE 1: ", a caret under the token, and the SQLSTATE Qt's driver appends.
QString serverError(const QString& message, const QString& statement, const QString& token,
                    const QString& state) {
    return QStringLiteral("ERROR:  ") + message + QStringLiteral("\nLINE 1: ") + statement +
           QLatin1Char('\n') + QString(8 + statement.indexOf(token), QLatin1Char(' ')) +
           QStringLiteral("^\n(") + state + QLatin1Char(')');
}

// The same for an error without a position.
QString serverError(const QString& message, const QString& state) {
    return QStringLiteral("ERROR:  ") + message + QStringLiteral("\n(") + state + QLatin1Char(')');
}

const QString kExec = QStringLiteral("executeQuery(...)");
const QString kSelect = QStringLiteral("executeSelectQuery(...)");
const QString kGetField = QStringLiteral("DatabaseManager::getField(...)");
const QString kExist = QStringLiteral("DatabaseManager::existRecord(...)");

// Polls until done() holds or the timeout passes.
bool waitUntil(const std::function<bool()>& done, int timeoutMs = 60000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        if (done())
            return true;
        QThread::msleep(50);
    }
    return done();
}

class Part71 : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(cluster.isValid()) << cluster.problem().toStdString();
        qputenv("HOME", QFile::encodeName(home.path()));
        cluster.exportClientEnvironment();
        home.writeConfig(loggerConfig(home.path()));
        QString problem;
        database = cluster.createDatabase(&problem);
        ASSERT_FALSE(database.isEmpty()) << problem.toStdString();
        SyncSingleton<HLogManager>::instance()->set(QStringLiteral("database"), QString());
        manager = SyncSingleton<DatabaseManager>::instance();
    }

    void TearDown() override {
        for (const QString& name : std::as_const(extraDatabases))
            cluster.dropDatabase(name);
        if (!database.isEmpty())
            cluster.dropDatabase(database);
    }

    static QByteArray loggerConfig(const QString& dir) {
        return "pastrel : { logger : { level = DEBUG; type = APPEND; basedir = " +
               QFile::encodeName(dir) + "; filename = db.log; }; };";
    }

    QSqlDatabase* connect(const QString& name, const QString& databaseName = QString()) {
        return manager->createConnection(QStringLiteral("QPSQL"),
                                         databaseName.isEmpty() ? database : databaseName,
                                         cluster.user(), cluster.password(), cluster.host(), name);
    }

    QString anotherDatabase() {
        QString problem;
        const QString name = cluster.createDatabase(&problem);
        EXPECT_FALSE(name.isEmpty()) << problem.toStdString();
        extraDatabases.append(name);
        return name;
    }

    // Set-up or check outside the manager (its own connection, nothing in the log).
    QString sql(const QString& statement) {
        QString problem;
        const QString result = cluster.run(database, {statement}, &problem);
        EXPECT_TRUE(problem.isEmpty()) << problem.toStdString();
        return result;
    }

    // The first lines of the log: the logger's start, then the connection.
    QString opened(const QString& databaseName = QString()) const {
        return stamped(QStringLiteral("DEBUG"), QStringLiteral("Start Logger")) +
               established(databaseName);
    }

    QString established(const QString& databaseName = QString()) const {
        return stamped(QStringLiteral("DEBUG"),
                       QStringLiteral("Connection With ") +
                           (databaseName.isEmpty() ? database : databaseName) +
                           QStringLiteral(" DB established"));
    }

    static QString startLine() {
        return stamped(QStringLiteral("DEBUG"), QStringLiteral("Start Logger"));
    }

    // A till in another process (tests/pg/dbclient.cpp), with a HOME and log of its own.
    void startTill(QProcess& process, const TempHome& tillHome, const QStringList& operation) {
        tillHome.writeConfig(loggerConfig(tillHome.path()));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), tillHome.path());
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(tillHome.path());
        process.start(QStringLiteral(PASTREL_DBCLIENT),
                      QStringList{database, cluster.user(), cluster.password(), cluster.host()} +
                          operation);
        ASSERT_TRUE(process.waitForStarted(30000));
    }

    TempHome home;
    LogFile log{home.file(QStringLiteral("db.log"))};
    PgCluster cluster;
    QString database;
    QStringList extraDatabases;
    DatabaseManager* manager = nullptr;
};

// ---- createConnection ----

// Part 7.1, createConnection steps 1-4: a named connection opens and logs it.
TEST_F(Part71, CreateConnectionNamedOpensAndLogsEstablished) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_TRUE(db->isOpen());
    EXPECT_EQ(db->connectionName(), QStringLiteral("till1"));
    EXPECT_EQ(db->port(), -1); // no port set: libpq took PGPORT
    EXPECT_EQ(manager->executeSelectQuery(QStringLiteral("select current_database()"), db),
              database);
    EXPECT_LOG(log, opened() + queryLines(kSelect, QStringLiteral("select current_database()"), 1));
}

// Part 7.1, edge case 4: the empty name opens the default connection, which a null pointer
// reaches.
TEST_F(Part71, CreateConnectionEmptyNameOpensDefaultConnection) {
    QSqlDatabase* db = connect(QString());
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(db->connectionName(), QLatin1String(QSqlDatabase::defaultConnection));
    EXPECT_EQ(manager->executeSelectQuery(QStringLiteral("select current_database()"), nullptr),
              database);
    EXPECT_LOG(log, opened() + queryLines(kSelect, QStringLiteral("select current_database()"), 1));
}

// Part 7.1, edge case 4: the empty name again replaces the default connection; the pointer
// handed out first stays valid and now is the new connection (docs/database.md).
TEST_F(Part71, CreateConnectionEmptyNameReplacesDefaultConnection) {
    const QString other = anotherDatabase();
    QSqlDatabase* first = connect(QString());
    ASSERT_NE(first, nullptr);
    QSqlDatabase* second = connect(QString(), other);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(manager->executeSelectQuery(QStringLiteral("select current_database()"), nullptr),
              other);
    EXPECT_LOG(log, opened() + established(other) +
                        queryLines(kSelect, QStringLiteral("select current_database()"), 1));
}

// Part 7.1, createConnection step 5 and edge case "a failed connection": a wrong password
// fails (scram over TCP), logs the two error lines and returns null; the connection stays
// registered.
TEST_F(Part71, CreateConnectionWrongPasswordLogsTwoErrorLinesAndReturnsNull) {
    QSqlDatabase* db =
        manager->createConnection(QStringLiteral("QPSQL"), database, cluster.user(),
                                  QStringLiteral("wrong"), cluster.host(), QStringLiteral("till1"));
    EXPECT_EQ(db, nullptr);
    EXPECT_TRUE(QSqlDatabase::contains(QStringLiteral("till1")));
    EXPECT_FALSE(QSqlDatabase::database(QStringLiteral("till1"), false).isOpen());
    EXPECT_LOG(log,
               startLine() +
                   stamped(QStringLiteral("ERROR"),
                           QStringLiteral("Failed to open database: QPSQL: Unable to connect")) +
                   stamped(QStringLiteral("ERROR"),
                           QStringLiteral("connection to server at \"127.0.0.1\", port %1 "
                                          "failed: FATAL:  password authentication failed "
                                          "for user \"pastrel_test\"\n")
                               .arg(cluster.port())));
}

// Part 7.1: the host name may be the cluster's socket folder (libpq's rule); the password is
// checked there too.
TEST_F(Part71, CreateConnectionThroughSocketFolderChecksPassword) {
    QSqlDatabase* bad = manager->createConnection(QStringLiteral("QPSQL"), database, cluster.user(),
                                                  QStringLiteral("wrong"), cluster.socketDir(),
                                                  QStringLiteral("local"));
    EXPECT_EQ(bad, nullptr);
    QSqlDatabase* good =
        manager->createConnection(QStringLiteral("QPSQL"), database, cluster.user(),
                                  cluster.password(), cluster.socketDir(), QStringLiteral("local"));
    ASSERT_NE(good, nullptr);
    EXPECT_EQ(
        manager->executeSelectQuery(QStringLiteral("select inet_server_port() is null"), good),
        QStringLiteral("true")); // a socket, not TCP
    EXPECT_LOG(log,
               startLine() +
                   stamped(QStringLiteral("ERROR"),
                           QStringLiteral("Failed to open database: QPSQL: Unable to connect")) +
                   stamped(QStringLiteral("ERROR"),
                           QStringLiteral("connection to server on socket \"%1/.s.PGSQL.%2\" "
                                          "failed: FATAL:  password authentication failed for "
                                          "user \"pastrel_test\"\n")
                               .arg(cluster.socketDir())
                               .arg(cluster.port())) +
                   established() +
                   queryLines(kSelect, QStringLiteral("select inet_server_port() is null"), 1));
}

// Part 7.1, "Left to the implementer": no port is set, so without PGPORT libpq's default port
// 5432 applies (whatever answers there, the test cluster does not).
TEST_F(Part71, CreateConnectionWithoutPgPortTriesDefaultPort5432) {
    qunsetenv("PGPORT");
    EXPECT_EQ(connect(QStringLiteral("till1")), nullptr);
    const QByteArray text = log.bytes();
    EXPECT_TRUE(text.contains("ERROR: Failed to open database: QPSQL: Unable to connect\n"))
        << text.toStdString();
    EXPECT_TRUE(text.contains("port 5432 failed: ")) << text.toStdString();
}

// Part 7.1, createConnection step 2: a driver that cannot be loaded gives no database object.
TEST_F(Part71, CreateConnectionUnknownDriverLogsFailedToConnectToDriver) {
    QSqlDatabase* db =
        manager->createConnection(QStringLiteral("QNOSUCH"), database, cluster.user(),
                                  cluster.password(), cluster.host(), QStringLiteral("till1"));
    EXPECT_EQ(db, nullptr);
    EXPECT_LOG(log, startLine() + stamped(QStringLiteral("ERROR"),
                                          QStringLiteral("Failed to connect to driver")));
}

// DESIGN.md: "QPSQL7", the driver name of Part 6.1, is Qt 6's "QPSQL".
TEST_F(Part71, CreateConnectionAcceptsQt3DriverNameQpsql7) {
    QSqlDatabase* db =
        manager->createConnection(QStringLiteral("QPSQL7"), database, cluster.user(),
                                  cluster.password(), cluster.host(), QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(db->driverName(), QStringLiteral("QPSQL"));
    EXPECT_LOG(log, opened());
}

// ---- statements ----

// Part 7.1 table: executeQuery returns the rows affected; both debug lines are logged.
TEST_F(Part71, ExecuteQueryReturnsRowsAffected) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("update orders set total = total + 1 where id < 3");
    EXPECT_EQ(manager->executeQuery(statement, db), 2);
    EXPECT_EQ(sql(QStringLiteral("select total::text from orders where id = 1")),
              QStringLiteral("13.50"));
    EXPECT_LOG(log, opened() + queryLines(kExec, statement, 2));
}

// Bad input: a syntax error gives -1 and the two error lines with the server's text.
TEST_F(Part71, ExecuteQuerySyntaxErrorReturnsMinusOneAndLogsError) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("updat orders set total = 0");
    EXPECT_EQ(manager->executeQuery(statement, db), -1);
    EXPECT_LOG(log, opened() + failedLines(kExec, statement,
                                           serverError(QStringLiteral("syntax error at or near "
                                                                      "\"updat\""),
                                                       statement, QStringLiteral("updat"),
                                                       QStringLiteral("42601"))));
}

// Qt runs no empty statement: nothing reaches the server, no error, -1 rows.
TEST_F(Part71, ExecuteQueryEmptyStatementRunsNothing) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->executeQuery(QString(), db), -1);
    EXPECT_LOG(log, opened() + queryLines(kExec, QString(), -1));
}

// Part 7.1 table: column 0 of the first row.
TEST_F(Part71, ExecuteSelectQueryReturnsFirstRowColumnZero) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select customer, total from orders order by id");
    EXPECT_EQ(manager->executeSelectQuery(statement, db), QStringLiteral("Rossi"));
    EXPECT_LOG(log, opened() + queryLines(kSelect, statement, 3));
}

// Part 7.1 table: no row gives the empty text (no error lines: the statement did not fail).
TEST_F(Part71, ExecuteSelectQueryNoRowIsEmptyText) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select customer from orders where id = 99");
    EXPECT_EQ(manager->executeSelectQuery(statement, db), QString());
    EXPECT_LOG(log, opened() + queryLines(kSelect, statement, 0));
}

// A NULL field reads as the empty text (Qt 6 alone would give "0" for a NULL number).
TEST_F(Part71, ExecuteSelectQueryNullFieldIsEmptyText) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->executeSelectQuery(
                  QStringLiteral("select description from items where id = 3"), db),
              QString());
    EXPECT_EQ(manager->executeSelectQuery(QStringLiteral("select null::integer"), db), QString());
    EXPECT_EQ(manager->executeSelectQuery(QStringLiteral("select 0"), db), QStringLiteral("0"));
}

// Bad input: a missing table gives the empty text and the error lines.
TEST_F(Part71, ExecuteSelectQueryMissingTableIsEmptyTextAndError) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select * from nosuch");
    EXPECT_EQ(manager->executeSelectQuery(statement, db), QString());
    EXPECT_LOG(log,
               opened() + failedLines(kSelect, statement,
                                      serverError(QStringLiteral("relation \"nosuch\" does not "
                                                                 "exist"),
                                                  statement, QStringLiteral("nosuch"),
                                                  QStringLiteral("42P01"))));
}

// Part 7.1 table: executeSelectQuery2 is column 0 of every row, in result order, under the
// label of executeSelectQuery.
TEST_F(Part71, ExecuteSelectQuery2ReturnsColumnZeroOfEveryRow) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select customer, total from orders order by id desc");
    EXPECT_EQ(
        manager->executeSelectQuery2(statement, db),
        (QStringList{QStringLiteral("Verdi"), QStringLiteral("Bianchi"), QStringLiteral("Rossi")}));
    EXPECT_EQ(manager->executeSelectQuery2(QStringLiteral("select * from nosuch"), db),
              QStringList());
    EXPECT_LOG(log,
               opened() + queryLines(kSelect, statement, 3) +
                   failedLines(kSelect, QStringLiteral("select * from nosuch"),
                               serverError(QStringLiteral("relation \"nosuch\" does not "
                                                          "exist"),
                                           QStringLiteral("select * from nosuch"),
                                           QStringLiteral("nosuch"), QStringLiteral("42P01"))));
}

// Part 7.1 table: executeSelectQuery3 is the given column of every row; amounts come back as
// the server's exact text.
TEST_F(Part71, ExecuteSelectQuery3ReturnsGivenColumnOfEveryRow) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select customer, total from orders order by id");
    EXPECT_EQ(
        manager->executeSelectQuery3(statement, 1, db),
        (QStringList{QStringLiteral("12.50"), QStringLiteral("7.00"), QStringLiteral("30.00")}));
    EXPECT_LOG(log, opened() + queryLines(kSelect, statement, 3));
}

// Bad input: a column outside the result reads as the empty text in every row; no crash.
TEST_F(Part71, ExecuteSelectQuery3ColumnOutsideResultGivesEmptyTexts) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select customer from orders");
    EXPECT_EQ(manager->executeSelectQuery3(statement, 5, db),
              (QStringList{QString(), QString(), QString()}));
    EXPECT_EQ(manager->executeSelectQuery3(statement, -1, db),
              (QStringList{QString(), QString(), QString()}));
}

// Part 7.1 table: getField's statement and label; the field of the first row.
TEST_F(Part71, GetFieldReadsOneFieldOfARecord) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->getField(QStringLiteral("customer"), QStringLiteral("orders"),
                                QStringLiteral("2"), db),
              QStringLiteral("Bianchi"));
    EXPECT_EQ(manager->getField(QStringLiteral("customer"), QStringLiteral("orders"),
                                QStringLiteral("99"), db),
              QString());
    EXPECT_LOG(
        log,
        opened() +
            queryLines(kGetField, QStringLiteral("select customer from orders where id = 2"), 1) +
            queryLines(kGetField, QStringLiteral("select customer from orders where id = 99"), 0));
}

// Bad input: a missing column gives the empty text and the error lines.
TEST_F(Part71, GetFieldMissingColumnIsEmptyTextAndError) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select price from orders where id = 1");
    EXPECT_EQ(manager->getField(QStringLiteral("price"), QStringLiteral("orders"),
                                QStringLiteral("1"), db),
              QString());
    EXPECT_LOG(log, opened() + failedLines(kGetField, statement,
                                           serverError(QStringLiteral("column \"price\" does not "
                                                                      "exist"),
                                                       statement, QStringLiteral("price"),
                                                       QStringLiteral("42703"))));
}

// Part 7.1, Data model: values are pasted in unquoted; the id text is SQL, not a value, so the
// caller must pass safe text (docs/database.md).
TEST_F(Part71, ValuesArePastedIntoStatementsUnquoted) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->getField(QStringLiteral("customer"), QStringLiteral("orders"),
                                QStringLiteral("0 or customer = 'Verdi'"), db),
              QStringLiteral("Verdi"));
    EXPECT_EQ(manager->numRecords(QStringLiteral("orders"),
                                  QStringLiteral("customer = 'Rossi' or true"), db),
              3);
    // A caller's already quoted literal works as the Part intends.
    EXPECT_EQ(
        manager->numRecords(QStringLiteral("orders"), QStringLiteral("customer = 'Rossi'"), db), 1);
}

// Part 7.1 table: removeRecord's statement ("ID"), label and rows affected.
TEST_F(Part71, RemoveRecordDeletesAndReturnsRowsAffected) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->removeRecord(QStringLiteral("items"), QStringLiteral("2"), db), 1);
    EXPECT_EQ(manager->removeRecord(QStringLiteral("items"), QStringLiteral("2"), db), 0);
    EXPECT_EQ(sql(QStringLiteral("select string_agg(id::text, ',' order by id) from items")),
              QStringLiteral("1,3"));
    const QString statement = QStringLiteral("delete from items where ID = 2");
    EXPECT_LOG(log, opened() + queryLines(QStringLiteral("removeRecord"), statement, 1) +
                        queryLines(QStringLiteral("removeRecord"), statement, 0));
}

// Bad input: removing from a missing table gives -1 and the error lines.
TEST_F(Part71, RemoveRecordMissingTableReturnsMinusOne) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("delete from nosuch where ID = 1");
    EXPECT_EQ(manager->removeRecord(QStringLiteral("nosuch"), QStringLiteral("1"), db), -1);
    EXPECT_LOG(log, opened() + failedLines(QStringLiteral("removeRecord"), statement,
                                           serverError(QStringLiteral("relation \"nosuch\" does "
                                                                      "not exist"),
                                                       statement, QStringLiteral("nosuch"),
                                                       QStringLiteral("42P01"))));
}

// Part 7.1 table: existRecord is true when the result has a first row.
TEST_F(Part71, ExistRecordTrueOnlyForExistingKey) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_TRUE(manager->existRecord(QStringLiteral("orders"), QStringLiteral("1"), db));
    EXPECT_FALSE(manager->existRecord(QStringLiteral("orders"), QStringLiteral("99"), db));
    EXPECT_LOG(
        log, opened() + queryLines(kExist, QStringLiteral("select * from orders where ID = 1"), 1) +
                 queryLines(kExist, QStringLiteral("select * from orders where ID = 99"), 0));
}

// Bad input: a failed existRecord is false, with the error lines.
TEST_F(Part71, ExistRecordFailedStatementIsFalse) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select * from orders where ID = 'x'");
    EXPECT_FALSE(manager->existRecord(QStringLiteral("orders"), QStringLiteral("'x'"), db));
    EXPECT_LOG(log, opened() + failedLines(kExist, statement,
                                           serverError(QStringLiteral("invalid input syntax for "
                                                                      "type integer: \"x\""),
                                                       statement, QStringLiteral("'x'"),
                                                       QStringLiteral("22P02"))));
}

// Part 7.1 table: numRecords counts under existRecord's label (the shared label is kept).
TEST_F(Part71, NumRecordsCountsMatchesUnderExistRecordLabel) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->numRecords(QStringLiteral("orders"), QStringLiteral("total > 10"), db), 2);
    EXPECT_LOG(log, opened() + queryLines(kExist,
                                          QStringLiteral("select count(*) from orders where "
                                                         "total > 10"),
                                          1));
}

// Part 7.1, edge case 1: no match is 0 (count is still one row).
TEST_F(Part71, NumRecordsNoMatchIsZero) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->numRecords(QStringLiteral("orders"), QStringLiteral("id > 100"), db), 0);
    EXPECT_EQ(manager->numRecords(QStringLiteral("customers"), QStringLiteral("true"), db), 0);
    EXPECT_LOG(
        log,
        opened() +
            queryLines(kExist, QStringLiteral("select count(*) from orders where id > 100"), 1) +
            queryLines(kExist, QStringLiteral("select count(*) from customers where true"), 1));
}

// Part 7.1, edge case 1: -1 only when the statement fails.
TEST_F(Part71, NumRecordsFailedStatementIsMinusOne) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select count(*) from orders where nosuchcolumn = 1");
    EXPECT_EQ(manager->numRecords(QStringLiteral("orders"), QStringLiteral("nosuchcolumn = 1"), db),
              -1);
    EXPECT_LOG(log, opened() + failedLines(kExist, statement,
                                           serverError(QStringLiteral("column \"nosuchcolumn\" "
                                                                      "does not exist"),
                                                       statement, QStringLiteral("nosuchcolumn"),
                                                       QStringLiteral("42703"))));
}

// Part 7.1 table: getLastId is the largest key.
TEST_F(Part71, GetLastIdIsLargestKey) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    sql(QStringLiteral("delete from orders where id = 3"));
    EXPECT_EQ(manager->getLastId(QStringLiteral("orders"), db), QStringLiteral("2"));
    EXPECT_LOG(log, opened() + queryLines(QStringLiteral("getLastId"),
                                          QStringLiteral("select max(ID) from orders"), 1));
}

// Part 7.1, edge case 2: an empty table gives one row holding NULL: the empty text, not
// "Error", and no error line.
TEST_F(Part71, GetLastIdEmptyTableIsEmptyText) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->getLastId(QStringLiteral("customers"), db), QString());
    EXPECT_LOG(log, opened() + queryLines(QStringLiteral("getLastId"),
                                          QStringLiteral("select max(ID) from customers"), 1));
}

// Part 7.1, edge case 2: "Error" only when the statement yields no row (a failed statement),
// with getLastId's own error line after the query's.
TEST_F(Part71, GetLastIdFailedStatementIsErrorWord) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString statement = QStringLiteral("select max(ID) from nosuch");
    EXPECT_EQ(manager->getLastId(QStringLiteral("nosuch"), db), QStringLiteral("Error"));
    EXPECT_LOG(log, opened() +
                        failedLines(QStringLiteral("getLastId"), statement,
                                    serverError(QStringLiteral("relation \"nosuch\" does not "
                                                               "exist"),
                                                statement, QStringLiteral("nosuch"),
                                                QStringLiteral("42P01"))) +
                        stamped(QStringLiteral("ERROR"),
                                QStringLiteral("getLastId( nosuch ): select max(ID) from nosuch "
                                               "return empty result")));
}

// Part 7.1, newRecord: every column takes its default, the key from its sequence; the largest
// key is returned.
TEST_F(Part71, NewRecordInsertsDefaultsAndReturnsNewKey) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->newRecord(QStringLiteral("orders"), db), QStringLiteral("4"));
    EXPECT_EQ(sql(QStringLiteral("select customer || ' ' || total from orders where id = 4")),
              QStringLiteral("walk-in 0.00"));
    EXPECT_EQ(manager->newRecord(QStringLiteral("customers"), db), QStringLiteral("1"));
    EXPECT_LOG(log, opened() +
                        queryLines(QStringLiteral("newRecord"),
                                   QStringLiteral("insert into orders values(default)"), 1) +
                        queryLines(QStringLiteral("getLastId"),
                                   QStringLiteral("select max(ID) from orders"), 1) +
                        queryLines(QStringLiteral("newRecord"),
                                   QStringLiteral("insert into customers values(default)"), 1) +
                        queryLines(QStringLiteral("getLastId"),
                                   QStringLiteral("select max(ID) from customers"), 1));
}

// Part 7.1, newRecord: a failed insert is only logged; the key returned is whatever getLastId
// then finds, here the key of an older record.
TEST_F(Part71, NewRecordFailedInsertReturnsLargestExistingKey) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString insert = QStringLiteral("insert into payments values(default)");
    EXPECT_EQ(manager->newRecord(QStringLiteral("payments"), db), QStringLiteral("1"));
    EXPECT_LOG(log, opened() +
                        failedLines(QStringLiteral("newRecord"), insert,
                                    QStringLiteral("ERROR:  null value in column \"amount\" of "
                                                   "relation \"payments\" violates not-null "
                                                   "constraint\nDETAIL:  Failing row contains (2, "
                                                   "null).\n(23502)")) +
                        queryLines(QStringLiteral("getLastId"),
                                   QStringLiteral("select max(ID) from payments"), 1));
}

// Part 7.1, safeNewRecord on the default connection: BEGIN and COMMIT run through executeQuery
// (their query lines, then the words), the insert is logged as "newRecord".
TEST_F(Part71, SafeNewRecordOnDefaultConnectionLogsWholeTransaction) {
    ASSERT_NE(connect(QString()), nullptr);
    EXPECT_EQ(manager->safeNewRecord(QStringLiteral("orders"), nullptr), QStringLiteral("4"));
    EXPECT_EQ(sql(QStringLiteral("select count(*) from orders")), QStringLiteral("4"));
    EXPECT_LOG(log, opened() + queryLines(kExec, QStringLiteral("BEGIN"), 0) + word("BEGIN") +
                        queryLines(QStringLiteral("newRecord"),
                                   QStringLiteral("insert into orders values(default)"), 1) +
                        queryLines(QStringLiteral("getLastId"),
                                   QStringLiteral("select max(ID) from orders"), 1) +
                        queryLines(kExec, QStringLiteral("COMMIT"), 0) + word("COMMIT"));
}

// Part 7.1, safeNewRecord with a connection object: its own transaction operations, so only the
// words are logged for them.
TEST_F(Part71, SafeNewRecordOnConnectionObjectLogsOnlyTransactionWords) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->safeNewRecord(QStringLiteral("orders"), db), QStringLiteral("4"));
    EXPECT_EQ(sql(QStringLiteral("select count(*) from orders")), QStringLiteral("4"));
    EXPECT_LOG(log, opened() + word("BEGIN") +
                        queryLines(QStringLiteral("newRecord"),
                                   QStringLiteral("insert into orders values(default)"), 1) +
                        queryLines(QStringLiteral("getLastId"),
                                   QStringLiteral("select max(ID) from orders"), 1) +
                        word("COMMIT"));
}

// Part 7.1, safeNewRecord: no rollback on failure; the failed insert aborts the transaction, so
// getLastId fails too and the key is "Error"; the commit still runs (the server rolls back).
TEST_F(Part71, SafeNewRecordFailedInsertIsStillCommittedAndGivesError) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString insert = QStringLiteral("insert into payments values(default)");
    const QString max = QStringLiteral("select max(ID) from payments");
    EXPECT_EQ(manager->safeNewRecord(QStringLiteral("payments"), db), QStringLiteral("Error"));
    EXPECT_EQ(manager->numRecords(QStringLiteral("payments"), QStringLiteral("true"), db), 1);
    EXPECT_LOG(
        log, opened() + word("BEGIN") +
                 failedLines(QStringLiteral("newRecord"), insert,
                             QStringLiteral("ERROR:  null value in column \"amount\" of "
                                            "relation \"payments\" violates not-null "
                                            "constraint\nDETAIL:  Failing row contains (2, "
                                            "null).\n(23502)")) +
                 failedLines(QStringLiteral("getLastId"), max,
                             serverError(QStringLiteral("current transaction is aborted, "
                                                        "commands ignored until end of "
                                                        "transaction block"),
                                         QStringLiteral("25P02"))) +
                 stamped(QStringLiteral("ERROR"),
                         QStringLiteral("getLastId( payments ): select max(ID) from payments "
                                        "return empty result")) +
                 word("COMMIT") +
                 queryLines(kExist, QStringLiteral("select count(*) from payments where true"), 1));
}

// ---- transactions ----

// Part 7.1, edge case 5: begin(nullptr) logs the query lines of "BEGIN" (from executeQuery),
// then "BEGIN" with two line ends; likewise ROLLBACK, which undoes the insert.
TEST_F(Part71, BeginAndRollbackOnNullConnectionLogQueryLinesThenWord) {
    ASSERT_NE(connect(QString()), nullptr);
    manager->begin(nullptr);
    manager->executeQuery(QStringLiteral("insert into customers (name) values ('Neri')"), nullptr);
    manager->rollback(nullptr);
    EXPECT_EQ(manager->numRecords(QStringLiteral("customers"), QStringLiteral("true"), nullptr), 0);
    EXPECT_LOG(
        log,
        opened() + queryLines(kExec, QStringLiteral("BEGIN"), 0) + word("BEGIN") +
            queryLines(kExec, QStringLiteral("insert into customers (name) values ('Neri')"), 1) +
            queryLines(kExec, QStringLiteral("ROLLBACK"), 0) + word("ROLLBACK") +
            queryLines(kExist, QStringLiteral("select count(*) from customers where true"), 1));
}

// Part 7.1, begin/commit with a connection object: its own transaction (nothing visible to
// another session before the commit), only the words in the log.
TEST_F(Part71, BeginAndCommitOnConnectionObjectUseItsTransaction) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    manager->begin(db);
    manager->executeQuery(QStringLiteral("insert into customers (name) values ('Neri')"), db);
    EXPECT_EQ(sql(QStringLiteral("select count(*) from customers")), QStringLiteral("0"));
    manager->commit(db);
    EXPECT_EQ(sql(QStringLiteral("select count(*) from customers")), QStringLiteral("1"));
    EXPECT_LOG(
        log,
        opened() + word("BEGIN") +
            queryLines(kExec, QStringLiteral("insert into customers (name) values ('Neri')"), 1) +
            word("COMMIT"));
}

TEST_F(Part71, RollbackOnConnectionObjectUndoesInsert) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    manager->begin(db);
    EXPECT_EQ(manager->newRecord(QStringLiteral("orders"), db), QStringLiteral("4"));
    manager->rollback(db);
    EXPECT_FALSE(manager->existRecord(QStringLiteral("orders"), QStringLiteral("4"), db));
    EXPECT_LOG(log, opened() + word("BEGIN") +
                        queryLines(QStringLiteral("newRecord"),
                                   QStringLiteral("insert into orders values(default)"), 1) +
                        queryLines(QStringLiteral("getLastId"),
                                   QStringLiteral("select max(ID) from orders"), 1) +
                        word("ROLLBACK") +
                        queryLines(kExist, QStringLiteral("select * from orders where ID = 4"), 0));
}

// Bad input, a null connection without any default connection: Qt has no driver for the
// statement, which never reaches it (so its text is not in the query); the error lines say
// "Driver not loaded", then the word. Nothing crashes.
TEST_F(Part71, NullConnectionWithoutDefaultConnectionLogsDriverNotLoaded) {
    ASSERT_FALSE(QSqlDatabase::contains(QLatin1String(QSqlDatabase::defaultConnection)));
    manager->begin(nullptr);
    EXPECT_EQ(manager->executeQuery(QStringLiteral("select 1"), nullptr), -1);
    EXPECT_EQ(manager->getLastId(QStringLiteral("orders"), nullptr), QStringLiteral("Error"));
    EXPECT_LOG(log, startLine() +
                        failedLines(kExec, QString(), QStringLiteral("Driver not loaded")) +
                        word("BEGIN") +
                        failedLines(kExec, QString(), QStringLiteral("Driver not loaded")) +
                        failedLines(QStringLiteral("getLastId"), QString(),
                                    QStringLiteral("Driver not loaded")) +
                        stamped(QStringLiteral("ERROR"),
                                QStringLiteral("getLastId( orders ):  return empty result")));
}

// Bad input: a default connection that failed to open stays registered (Part 7.1 step 5).
// Qt refuses statements on it before running them and records no error; the manager still
// logs them as failed ("a failed one two more lines at the error level"), with the reason the
// connection did not open as the database text (docs/database.md).
TEST_F(Part71, StatementsOnUnopenedDefaultConnectionFailWithTheConnectionsReason) {
    EXPECT_EQ(manager->createConnection(QStringLiteral("QPSQL"), database, cluster.user(),
                                        QStringLiteral("wrong"), cluster.host(), QString()),
              nullptr);
    EXPECT_EQ(manager->executeQuery(QStringLiteral("select 1"), nullptr), -1);
    EXPECT_EQ(manager->numRecords(QStringLiteral("orders"), QStringLiteral("true"), nullptr), -1);
    EXPECT_EQ(manager->getLastId(QStringLiteral("orders"), nullptr), QStringLiteral("Error"));
    const QString reason = QStringLiteral("connection to server at \"127.0.0.1\", port %1 failed: "
                                          "FATAL:  password authentication failed for user "
                                          "\"pastrel_test\"\n")
                               .arg(cluster.port());
    EXPECT_LOG(
        log,
        startLine() +
            stamped(QStringLiteral("ERROR"),
                    QStringLiteral("Failed to open database: QPSQL: Unable to connect")) +
            stamped(QStringLiteral("ERROR"), reason) +
            failedLines(kExec, QStringLiteral("select 1"), reason) +
            failedLines(kExist, QStringLiteral("select count(*) from orders where true"), reason) +
            failedLines(QStringLiteral("getLastId"), QStringLiteral("select max(ID) from orders"),
                        reason) +
            stamped(QStringLiteral("ERROR"),
                    QStringLiteral("getLastId( orders ): select max(ID) from orders "
                                   "return empty result")));
}

// ---- sequences ----

// Part 7.1, sequenceValue: "select last_value from" through executeSelectQuery.
TEST_F(Part71, SequenceValueReadsLastValue) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->sequenceValue(QStringLiteral("receipt_number"), db), QStringLiteral("5"));
    EXPECT_LOG(log,
               opened() +
                   queryLines(kSelect, QStringLiteral("select last_value from receipt_number"), 1));
}

// Part 7.1, setSequence: "SELECT setval('" + sequence + "', " + value + ")"; nothing returned.
TEST_F(Part71, SetSequenceSetsValueWithSetval) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    manager->setSequence(QStringLiteral("receipt_number"), 42, db);
    EXPECT_EQ(sql(QStringLiteral("select last_value from receipt_number")), QStringLiteral("42"));
    EXPECT_EQ(sql(QStringLiteral("select nextval('receipt_number')")), QStringLiteral("43"));
    EXPECT_LOG(log,
               opened() +
                   queryLines(kSelect, QStringLiteral("SELECT setval('receipt_number', 42)"), 1));
}

// Part 7.1, incrementSequence: read, set to value + step, return the value before.
TEST_F(Part71, IncrementSequenceReturnsValueBeforeAndAddsStep) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->incrementSequence(QStringLiteral("receipt_number"), 3, db),
              QStringLiteral("5"));
    EXPECT_EQ(sql(QStringLiteral("select last_value from receipt_number")), QStringLiteral("8"));
    EXPECT_LOG(log,
               opened() +
                   queryLines(kSelect, QStringLiteral("select last_value from receipt_number"), 1) +
                   queryLines(kSelect, QStringLiteral("SELECT setval('receipt_number', 8)"), 1));
}

// Part 7.1, decrementSequence is incrementSequence with -step.
TEST_F(Part71, DecrementSequenceSubtractsStep) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(manager->decrementSequence(QStringLiteral("receipt_number"), 2, db),
              QStringLiteral("5"));
    EXPECT_EQ(sql(QStringLiteral("select last_value from receipt_number")), QStringLiteral("3"));
    EXPECT_LOG(log,
               opened() +
                   queryLines(kSelect, QStringLiteral("select last_value from receipt_number"), 1) +
                   queryLines(kSelect, QStringLiteral("SELECT setval('receipt_number', 3)"), 1));
}

// Part 7.1, edge case 3: step 3 on the value 3 decrements to 0 and returns true.
TEST_F(Part71, DecrementIfPositiveStepThreeOnThreeGoesToZero) {
    ASSERT_NE(connect(QString()), nullptr);
    sql(QStringLiteral("select setval('receipt_number', 3)"));
    EXPECT_TRUE(manager->decrementSequenceIfPositive(QStringLiteral("receipt_number"), 3, nullptr));
    EXPECT_EQ(sql(QStringLiteral("select last_value from receipt_number")), QStringLiteral("0"));
    const QString read =
        queryLines(kSelect, QStringLiteral("select last_value from receipt_number"), 1);
    EXPECT_LOG(log,
               opened() + read + read +
                   queryLines(kSelect, QStringLiteral("SELECT setval('receipt_number', 0)"), 1));
}

// Part 7.1, edge case 3: step 3 on the value 2 returns false and changes nothing.
TEST_F(Part71, DecrementIfPositiveStepThreeOnTwoRefuses) {
    ASSERT_NE(connect(QString()), nullptr);
    sql(QStringLiteral("select setval('receipt_number', 2)"));
    EXPECT_FALSE(
        manager->decrementSequenceIfPositive(QStringLiteral("receipt_number"), 3, nullptr));
    EXPECT_EQ(sql(QStringLiteral("select last_value from receipt_number")), QStringLiteral("2"));
    EXPECT_LOG(log,
               opened() +
                   queryLines(kSelect, QStringLiteral("select last_value from receipt_number"), 1));
}

// Part 7.1, decrementSequenceIfPositive reads on the default connection whatever db is, and
// writes on db (the asymmetry is kept): two databases with different values show it.
TEST_F(Part71, DecrementIfPositiveReadsDefaultConnectionWritesGivenOne) {
    const QString other = anotherDatabase();
    QSqlDatabase* byDefault = connect(QString());
    QSqlDatabase* till = connect(QStringLiteral("till1"), other);
    ASSERT_NE(byDefault, nullptr);
    ASSERT_NE(till, nullptr);
    QString problem;
    cluster.run(other, {QStringLiteral("select setval('receipt_number', 10)")}, &problem);
    ASSERT_TRUE(problem.isEmpty()) << problem.toStdString();
    sql(QStringLiteral("select setval('receipt_number', 2)"));
    // The default database holds 2 < 3: refused, although till's database holds 10.
    EXPECT_FALSE(manager->decrementSequenceIfPositive(QStringLiteral("receipt_number"), 3, till));
    sql(QStringLiteral("select setval('receipt_number', 7)"));
    // Now 7 >= 3 on the default database: till's 10 becomes 7, the default's 7 is untouched.
    EXPECT_TRUE(manager->decrementSequenceIfPositive(QStringLiteral("receipt_number"), 3, till));
    EXPECT_EQ(manager->sequenceValue(QStringLiteral("receipt_number"), till), QStringLiteral("7"));
    EXPECT_EQ(sql(QStringLiteral("select last_value from receipt_number")), QStringLiteral("7"));
}

// Part 7.1: the sequence never goes below zero through decrementSequenceIfPositive, but the
// server's own minimum still applies: setval's failure is only logged (its result is
// discarded) and the operation reports true.
TEST_F(Part71, DecrementIfPositiveBelowSequenceMinimumLogsErrorAndReportsTrue) {
    ASSERT_NE(connect(QString()), nullptr);
    sql(QStringLiteral("select setval('ticket_number', 3)"));
    EXPECT_TRUE(manager->decrementSequenceIfPositive(QStringLiteral("ticket_number"), 3, nullptr));
    EXPECT_EQ(sql(QStringLiteral("select last_value from ticket_number")), QStringLiteral("3"));
    const QString read =
        queryLines(kSelect, QStringLiteral("select last_value from ticket_number"), 1);
    EXPECT_LOG(log, opened() + read + read +
                        failedLines(kSelect, QStringLiteral("SELECT setval('ticket_number', 0)"),
                                    serverError(QStringLiteral("setval: value 0 is out of bounds "
                                                               "for sequence \"ticket_number\" "
                                                               "(1..9223372036854775807)"),
                                                QStringLiteral("22003"))));
}

// Bad input: a missing sequence reads as the empty text, which counts as 0; the set then fails
// too. Both failures are logged; nothing else happens.
TEST_F(Part71, IncrementMissingSequenceCountsAsZeroAndLogsBothFailures) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    const QString read = QStringLiteral("select last_value from no_such_seq");
    const QString set = QStringLiteral("SELECT setval('no_such_seq', 4)");
    EXPECT_EQ(manager->incrementSequence(QStringLiteral("no_such_seq"), 4, db), QString());
    EXPECT_EQ(manager->sequenceValue(QStringLiteral("no_such_seq"), db), QString());
    const QString readFailure =
        failedLines(kSelect, read,
                    serverError(QStringLiteral("relation \"no_such_seq\" does not exist"), read,
                                QStringLiteral("no_such_seq"), QStringLiteral("42P01")));
    EXPECT_LOG(log, opened() + readFailure +
                        failedLines(kSelect, set,
                                    serverError(QStringLiteral("relation \"no_such_seq\" does not "
                                                               "exist"),
                                                set, QStringLiteral("'no_such_seq'"),
                                                QStringLiteral("42P01"))) +
                        readFailure);
}

// ---- cursors ----

// Part 7.1, showCursorError: a cursor with an error logs the method, the cursor's table and the
// error's database text (empty here: Qt itself found no such table).
TEST_F(Part71, ShowCursorErrorLogsTableNameAndDatabaseText) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    QSqlTableModel missing(nullptr, *db);
    missing.setTable(QStringLiteral("nosuch"));
    EXPECT_FALSE(missing.select());
    manager->showCursorError(QStringLiteral("Till::load"), &missing);

    QSqlTableModel orders(nullptr, *db);
    orders.setTable(QStringLiteral("orders"));
    orders.setFilter(QStringLiteral("nosuchcolumn = 1"));
    EXPECT_FALSE(orders.select());
    const QString serverText = orders.lastError().databaseText();
    EXPECT_TRUE(serverText.startsWith(
        QStringLiteral("ERROR:  column \"nosuchcolumn\" does not exist\nLINE 1: ")))
        << serverText.toStdString();
    manager->showCursorError(QStringLiteral("Till::orders"), &orders);
    EXPECT_LOG(log,
               opened() +
                   stamped(QStringLiteral("ERROR"),
                           QStringLiteral("Error in the method Till::load, to cursor: nosuch")) +
                   stamped(QStringLiteral("ERROR"), QString()) +
                   stamped(QStringLiteral("ERROR"),
                           QStringLiteral("Error in the method Till::orders, to cursor: orders")) +
                   stamped(QStringLiteral("ERROR"), serverText));
}

// Part 7.1, showCursorError: nothing for a cursor without error (nor for a null cursor).
TEST_F(Part71, ShowCursorErrorSilentWithoutError) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    QSqlTableModel orders(nullptr, *db);
    orders.setTable(QStringLiteral("orders"));
    EXPECT_TRUE(orders.select());
    EXPECT_EQ(orders.rowCount(), 3);
    manager->showCursorError(QStringLiteral("Till::orders"), &orders);
    manager->showCursorError(QStringLiteral("Till::orders"), nullptr);
    EXPECT_LOG(log, opened());
}

// Part 7.1, showQueryError called directly on a query of the caller's.
TEST_F(Part71, ShowQueryErrorOnCallersQuery) {
    QSqlDatabase* db = connect(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    QSqlQuery query(*db);
    query.exec(QStringLiteral("select id from orders where id < 3"));
    manager->showQueryError(QStringLiteral("Till::list"), query);
    EXPECT_LOG(log, opened() + queryLines(QStringLiteral("Till::list"),
                                          QStringLiteral("select id from orders where id < 3"), 2));
}

// ---- the default logger ----

// Part 7.1, "Left to the implementer": with no default logger registered, the manager
// registers one itself (docs/database.md) and logs through it.
TEST(Part71Logger, ManagerRegistersDefaultLoggerWhenNoneIs) {
    TempHome home;
    qputenv("HOME", QFile::encodeName(home.path()));
    home.writeConfig("pastrel : { logger : { type = APPEND; basedir = " +
                     QFile::encodeName(home.path()) + "; filename = db.log; }; };");
    LogFile log(home.file(QStringLiteral("db.log")));
    HLogManager* logs = SyncSingleton<HLogManager>::instance();
    ASSERT_EQ(logs->getLog(QString()), nullptr);
    DatabaseManager* manager = SyncSingleton<DatabaseManager>::instance();
    EXPECT_NE(logs->getLog(QString()), nullptr);
    manager->showQueryError(QStringLiteral("m"), QSqlQuery());
    // A query on no connection at all: Qt's "Driver not loaded" error.
    EXPECT_LOG(
        log, stamped(QStringLiteral("DEBUG"), QStringLiteral("Start Logger")) +
                 failedLines(QStringLiteral("m"), QString(), QStringLiteral("Driver not loaded")));
}

// ---- two connections, two processes ----

// Part 7.1, safeNewRecord: two named connections writing in two transactions that do not
// interleave each get their own key, also while the other holds an open transaction.
TEST_F(Part71, TwoConnectionsNotInterleavingGetTheirOwnKeys) {
    QSqlDatabase* till1 = connect(QStringLiteral("till1"));
    QSqlDatabase* till2 = connect(QStringLiteral("till2"));
    ASSERT_NE(till1, nullptr);
    ASSERT_NE(till2, nullptr);
    EXPECT_EQ(manager->safeNewRecord(QStringLiteral("orders"), till1), QStringLiteral("4"));
    EXPECT_EQ(manager->safeNewRecord(QStringLiteral("orders"), till2), QStringLiteral("5"));
    // till1's transaction stays open (its row 6 invisible to till2) while till2 takes key 7.
    manager->begin(till1);
    EXPECT_EQ(manager->newRecord(QStringLiteral("orders"), till1), QStringLiteral("6"));
    EXPECT_EQ(manager->safeNewRecord(QStringLiteral("orders"), till2), QStringLiteral("7"));
    manager->commit(till1);
    EXPECT_EQ(sql(QStringLiteral("select string_agg(id::text, ',' order by id) from orders")),
              QStringLiteral("1,2,3,4,5,6,7"));
    const QString insert = queryLines(QStringLiteral("newRecord"),
                                      QStringLiteral("insert into orders values(default)"), 1);
    const QString max =
        queryLines(QStringLiteral("getLastId"), QStringLiteral("select max(ID) from orders"), 1);
    const QString safe = word("BEGIN") + insert + max + word("COMMIT");
    EXPECT_LOG(log, opened() + established() + safe + safe + word("BEGIN") + insert + max + safe +
                        word("COMMIT"));
}

// Part 7.1: "The read-then-set of the sequence operations is not atomic: two processes changing
// the same sequence at once can lose an update." Made deterministic: a third session holds the
// sequence in SHARE ROW EXCLUSIVE mode (ALTER SEQUENCE in an open transaction), which lets the
// reads through and holds every setval back. Both tills read 5 and wait in setval; once the
// lock goes, both set 6: two increments, one update lost.
TEST_F(Part71, IncrementSequenceInTwoProcessesAtOnceLosesAnUpdate) {
    QSqlDatabase* lockHolder = connect(QStringLiteral("lock"));
    ASSERT_NE(lockHolder, nullptr);
    manager->begin(lockHolder);
    manager->executeQuery(QStringLiteral("ALTER SEQUENCE receipt_number INCREMENT BY 1"),
                          lockHolder);
    auto release = qScopeGuard([&] { manager->rollback(lockHolder); });

    TempHome home1;
    TempHome home2;
    QProcess till1;
    QProcess till2;
    const QStringList increment{QStringLiteral("incrementSequence"),
                                QStringLiteral("receipt_number"), QStringLiteral("1")};
    startTill(till1, home1, increment);
    startTill(till2, home2, increment);
    ASSERT_TRUE(waitUntil([&] { return cluster.sessionsWaitingForLock(database) == 2; }))
        << "both tills should be waiting in setval";
    release.dismiss();
    manager->commit(lockHolder);

    ASSERT_TRUE(till1.waitForFinished(60000));
    ASSERT_TRUE(till2.waitForFinished(60000));
    EXPECT_EQ(till1.exitCode(), 0);
    EXPECT_EQ(till2.exitCode(), 0);
    EXPECT_EQ(till1.readAllStandardOutput(), QByteArray("5\n")); // both saw 5 ...
    EXPECT_EQ(till2.readAllStandardOutput(), QByteArray("5\n"));
    EXPECT_EQ(sql(QStringLiteral("select last_value from receipt_number")),
              QStringLiteral("6")); // ... and the sequence is 6, not 7
    const QString tillLog =
        opened() + queryLines(kSelect, QStringLiteral("select last_value from receipt_number"), 1) +
        queryLines(kSelect, QStringLiteral("SELECT setval('receipt_number', 6)"), 1);
    EXPECT_LOG(LogFile(home1.file(QStringLiteral("db.log"))), tillLog);
    EXPECT_LOG(LogFile(home2.file(QStringLiteral("db.log"))), tillLog);
}

// Part 7.1 says safeNewRecord's transaction "serves to keep the insert and the reading of the
// maximum key together". Under PostgreSQL's default READ COMMITTED it does not against another
// till: a key committed between one till's insert and its max(ID) is taken for its own. Made
// deterministic with a trigger that holds the insert of key 4 on an advisory lock.
TEST_F(Part71, SafeNewRecordInterleavedWithAnotherTillReturnsTheOtherTillsKey) {
    sql(QStringLiteral("CREATE FUNCTION hold_key_4() RETURNS trigger LANGUAGE plpgsql AS $$ "
                       "BEGIN IF NEW.id = 4 THEN PERFORM pg_advisory_xact_lock(71); END IF; "
                       "RETURN NEW; END $$"));
    sql(QStringLiteral("CREATE TRIGGER hold AFTER INSERT ON orders FOR EACH ROW "
                       "EXECUTE FUNCTION hold_key_4()"));
    QSqlDatabase* gate = connect(QStringLiteral("gate"));
    QSqlDatabase* till2 = connect(QStringLiteral("till2"));
    ASSERT_NE(gate, nullptr);
    ASSERT_NE(till2, nullptr);
    manager->executeSelectQuery(QStringLiteral("SELECT pg_advisory_lock(71)"), gate);
    auto open = qScopeGuard([&] {
        manager->executeSelectQuery(QStringLiteral("SELECT pg_advisory_unlock(71)"), gate);
    });

    TempHome home1;
    QProcess till1;
    startTill(till1, home1, {QStringLiteral("safeNewRecord"), QStringLiteral("orders")});
    ASSERT_TRUE(waitUntil([&] { return cluster.sessionsWaitingForLock(database) == 1; }))
        << "till1 should be held inside its insert of key 4";
    EXPECT_EQ(manager->safeNewRecord(QStringLiteral("orders"), till2), QStringLiteral("5"));
    open.dismiss();
    manager->executeSelectQuery(QStringLiteral("SELECT pg_advisory_unlock(71)"), gate);

    ASSERT_TRUE(till1.waitForFinished(60000));
    EXPECT_EQ(till1.exitCode(), 0);
    EXPECT_EQ(till1.readAllStandardOutput(), QByteArray("5\n")); // till2's key, not its own 4
    EXPECT_EQ(sql(QStringLiteral("select string_agg(id::text, ',' order by id) from orders")),
              QStringLiteral("1,2,3,4,5"));
}

// ---- the server goes away ----

// A private cluster of this test's own (the shared one stays up for the others), removed at
// the end also when the test fails (and by the fixture cleanup if the test dies).
class Part71PrivateServer : public Part71 {
protected:
    void SetUp() override {
        Part71::SetUp();
        if (HasFatalFailure())
            return;
        infoFile = PgCluster::stateDir() +
                   QStringLiteral("/private-%1.env").arg(QCoreApplication::applicationPid());
        QString output;
        ASSERT_TRUE(PgCluster::start(infoFile, &output)) << output.toStdString();
        server = std::make_unique<PgCluster>(infoFile);
        ASSERT_TRUE(server->isValid()) << server->problem().toStdString();
        qputenv("PGPORT", QByteArray::number(server->port()));
    }

    void TearDown() override {
        if (server != nullptr) {
            QString output;
            server->stop(&output);
        }
        Part71::TearDown();
    }

    QSqlDatabase* connectPrivate(const QString& name) {
        return manager->createConnection(QStringLiteral("QPSQL"),
                                         QStringLiteral("pastrel_template"), server->user(),
                                         server->password(), server->host(), name);
    }

    QString refused() const {
        return stamped(QStringLiteral("ERROR"),
                       QStringLiteral("Failed to open database: QPSQL: Unable to connect")) +
               stamped(QStringLiteral("ERROR"),
                       QStringLiteral("connection to server at \"127.0.0.1\", port %1 failed: "
                                      "Connection refused\n\tIs the server running on that host "
                                      "and accepting TCP/IP connections?\n")
                           .arg(server->port()));
    }

    QString infoFile;
    std::unique_ptr<PgCluster> server;
};

// Edge case "a failed connection (server down)": the two error lines, null.
TEST_F(Part71PrivateServer, CreateConnectionToStoppedServerLogsTwoErrorLines) {
    QString output;
    ASSERT_TRUE(server->stop(&output)) << output.toStdString();
    EXPECT_EQ(connectPrivate(QStringLiteral("till1")), nullptr);
    EXPECT_LOG(log, startLine() + refused());
}

// Bad input: the server goes away between two statements. The first statement after it gets
// the server's farewell from libpq; Qt then closes the connection, so every later statement is
// refused ("database not open"); the decrement reads on the default connection, which does not
// exist here ("Driver not loaded"). Every operation gives its failure result and logs its
// error lines; nothing crashes or hangs.
TEST_F(Part71PrivateServer, ServerGoneBetweenStatementsGivesFailureResults) {
    QSqlDatabase* db = connectPrivate(QStringLiteral("till1"));
    ASSERT_NE(db, nullptr);
    EXPECT_TRUE(manager->existRecord(QStringLiteral("orders"), QStringLiteral("1"), db));
    QString output;
    ASSERT_TRUE(server->stop(&output)) << output.toStdString();

    EXPECT_EQ(manager->executeSelectQuery(QStringLiteral("select customer from orders"), db),
              QString());
    EXPECT_EQ(manager->executeQuery(QStringLiteral("update orders set total = 0"), db), -1);
    EXPECT_FALSE(manager->existRecord(QStringLiteral("orders"), QStringLiteral("1"), db));
    EXPECT_EQ(manager->numRecords(QStringLiteral("orders"), QStringLiteral("true"), db), -1);
    EXPECT_EQ(manager->getLastId(QStringLiteral("orders"), db), QStringLiteral("Error"));
    EXPECT_EQ(manager->safeNewRecord(QStringLiteral("orders"), db), QStringLiteral("Error"));
    EXPECT_EQ(manager->incrementSequence(QStringLiteral("receipt_number"), 1, db), QString());
    EXPECT_FALSE(manager->decrementSequenceIfPositive(QStringLiteral("receipt_number"), 1, db));
    EXPECT_EQ(connectPrivate(QStringLiteral("till2")), nullptr);

    const QString first = QStringLiteral("select customer from orders");
    const QString head =
        opened(QStringLiteral("pastrel_template")) +
        queryLines(kExist, QStringLiteral("select * from orders where ID = 1"), 1) +
        queryLines(kSelect, first, -1) +
        stamped(QStringLiteral("ERROR"),
                QStringLiteral("Error in the method executeSelectQuery(...), to "
                               "query: ") +
                    first) +
        QStringLiteral("[TS] ERROR: ");
    const QString gone = QStringLiteral("database not open");
    const QString max = QStringLiteral("select max(ID) from orders");
    const QString emptyMax =
        stamped(QStringLiteral("ERROR"), QStringLiteral("getLastId( orders ): select max(ID) from "
                                                        "orders return empty result"));
    const QString tail =
        QStringLiteral("\n") +
        failedLines(kExec, QStringLiteral("update orders set total = 0"), gone) +
        failedLines(kExist, QStringLiteral("select * from orders where ID = 1"), gone) +
        failedLines(kExist, QStringLiteral("select count(*) from orders where true"), gone) +
        failedLines(QStringLiteral("getLastId"), max, gone) + emptyMax + word("BEGIN") +
        failedLines(QStringLiteral("newRecord"),
                    QStringLiteral("insert into orders values(default)"), gone) +
        failedLines(QStringLiteral("getLastId"), max, gone) + emptyMax + word("COMMIT") +
        failedLines(kSelect, QStringLiteral("select last_value from receipt_number"), gone) +
        failedLines(kSelect, QStringLiteral("SELECT setval('receipt_number', 1)"), gone) +
        failedLines(kSelect, QString(), QStringLiteral("Driver not loaded")) + refused();
    QString problems;
    const QString actual = log.masked(&problems);
    EXPECT_TRUE(problems.isEmpty()) << problems.toStdString();
    ASSERT_TRUE(actual.startsWith(head)) << actual.toStdString();
    ASSERT_TRUE(actual.endsWith(tail)) << actual.toStdString();
    // libpq's text for the dropped connection, between the two (with or without the server's
    // FATAL message, depending on whether it was read before the socket closed).
    const QString farewell = actual.mid(head.size(), actual.size() - head.size() - tail.size());
    EXPECT_TRUE(farewell.contains(QStringLiteral("server closed the connection unexpectedly")))
        << farewell.toStdString();
}

} // namespace
