// Part 6.1: HLibrary::newDBConnection against the real PostgreSQL server of the CTest fixture
// pastrel_pg (tests/pg/pgcluster.sh, docs/database.md "Tests"). The settings come from a test
// configuration file in a HOME of the test's own; the server's port reaches libpq through
// PGPORT, since Part 7.1's createConnection sets none.
#include "hlibrary.h"
#include "pgcluster.h"
#include "testsupport.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

using testsupport::PgCluster;
using testsupport::TempHome;

namespace {

class Part61Database : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(cluster.isValid()) << cluster.problem().toStdString();
        qputenv("HOME", QFile::encodeName(home.path()));
        cluster.exportClientEnvironment();
        QString problem;
        database = cluster.createDatabase(&problem);
        ASSERT_FALSE(database.isEmpty()) << problem.toStdString();
    }

    void TearDown() override {
        if (!database.isEmpty())
            cluster.dropDatabase(database);
    }

    // pastrel.db.* as given, and the log (DatabaseManager's default logger) in the test's HOME.
    void writeConfig(const QString& password) const {
        home.writeConfig("pastrel : {\n  db : { dbname = " + database.toUtf8() + "; username = " +
                         cluster.user().toUtf8() + "; password = " + password.toUtf8() +
                         "; hostname = " + cluster.host().toUtf8() +
                         "; };\n  logger : { level = DEBUG; type = APPEND; basedir = " +
                         QFile::encodeName(home.path()) + "; filename = db.log; };\n};\n");
    }

    QByteArray log() const { return testsupport::readFile(home.file(QStringLiteral("db.log"))); }

    // Column 0 of the first row of statement on db; "" when it fails.
    static QString select(const QSqlDatabase& db, const QString& statement) {
        QSqlQuery query(db);
        if (!query.exec(statement) || !query.next())
            return QString();
        return query.value(0).toString();
    }

    TempHome home;
    PgCluster cluster;
    QString database;
};

// Part 6.1: the configured database, user and host, under the given connection name; the
// returned connection is open and runs SELECT 1.
TEST_F(Part61Database, NewDBConnectionIsOpenWithTheConfiguredSettingsAndRunsSelect1) {
    writeConfig(cluster.password());
    QSqlDatabase* db = HLibrary::newDBConnection(QStringLiteral("hlib"));
    ASSERT_NE(db, nullptr);
    EXPECT_TRUE(db->isOpen());
    EXPECT_EQ(db->connectionName(), QStringLiteral("hlib"));
    EXPECT_EQ(db->databaseName(), database);
    EXPECT_EQ(db->userName(), cluster.user());
    EXPECT_EQ(db->hostName(), cluster.host());
    EXPECT_EQ(select(*db, QStringLiteral("SELECT 1")), QStringLiteral("1"));
    EXPECT_EQ(select(*db, QStringLiteral("SELECT current_database()")), database);
    EXPECT_EQ(select(*db, QStringLiteral("SELECT current_user")), cluster.user());
    EXPECT_TRUE(log().contains("DEBUG: Connection With " + database.toUtf8() + " DB established"))
        << log().toStdString();
}

// Part 6.1 passes Qt 3's driver name "QPSQL7"; DatabaseManager takes it as Qt 6's "QPSQL"
// (DESIGN.md), so the connection is a working PostgreSQL one.
TEST_F(Part61Database, NewDBConnectionDriverQPSQL7IsQtsPostgreSQLDriver) {
    writeConfig(cluster.password());
    QSqlDatabase* db = HLibrary::newDBConnection(QStringLiteral("till"));
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(db->driverName(), QStringLiteral("QPSQL"));
    EXPECT_TRUE(select(*db, QStringLiteral("SELECT version()")).startsWith("PostgreSQL"));
}

// Part 7.1, createConnection step 1: the empty name is the toolkit's default connection.
TEST_F(Part61Database, NewDBConnectionWithTheEmptyNameIsTheDefaultConnection) {
    writeConfig(cluster.password());
    QSqlDatabase* db = HLibrary::newDBConnection(QString());
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(db->connectionName(), QLatin1String(QSqlDatabase::defaultConnection));
    EXPECT_EQ(select(QSqlDatabase::database(), QStringLiteral("SELECT 1")), QStringLiteral("1"));
}

// Part 6.1 / 7.1: a wrong password gives null (the server asks every login for it).
TEST_F(Part61Database, NewDBConnectionWithAWrongPasswordIsNull) {
    writeConfig(QStringLiteral("wrong") + cluster.password());
    EXPECT_EQ(HLibrary::newDBConnection(QStringLiteral("hlib")), nullptr);
    EXPECT_TRUE(log().contains("ERROR: Failed to open database: ")) << log().toStdString();
}

// Part 6.1: with no database settings at all the connection cannot open: null, no crash.
TEST_F(Part61Database, NewDBConnectionWithoutSettingsIsNull) {
    home.writeConfig("pastrel : { logger : { level = DEBUG; basedir = " +
                     QFile::encodeName(home.path()) + "; filename = db.log; }; };");
    EXPECT_EQ(HLibrary::newDBConnection(QStringLiteral("hlib")), nullptr);
}

} // namespace
