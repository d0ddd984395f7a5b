// PgCluster: one throw-away PostgreSQL cluster of the tests of Part 7.1, as described by the
// info file tests/pg/pgcluster.sh writes (KEY=VALUE lines: port, socket folder, role, password,
// template database). See docs/database.md, "Tests".
//
// The shared cluster is started by the CTest fixture test pg_cluster_start and removed by
// pg_cluster_stop; a test may start a private one (start()/stop()) with its info file in
// stateDir(), so that the fixture's cleanup also sweeps it if the test dies.
//
// Set-up and observation statements run here on connections of their own (explicit port, names
// "pgcluster_support_N"), never through DatabaseManager, so the manager's log holds only what
// the test asked of it.
#pragma once

#include <QString>
#include <QStringList>

namespace testsupport {

class PgCluster {
public:
    // The build folder's state folder and the shared cluster's info file in it.
    static QString stateDir();
    static QString sharedInfoFile();
    static QString script();

    // Starts a new cluster and writes infoFile; false (and the script's output) on failure.
    static bool start(const QString& infoFile, QString* output);

    explicit PgCluster(const QString& infoFile = sharedInfoFile());

    bool isValid() const { return m_problem.isEmpty(); }
    QString problem() const { return m_problem; }

    QString infoFile() const { return m_infoFile; }
    QString host() const { return m_host; }
    QString socketDir() const { return m_socket; }
    int port() const { return m_port; }
    QString user() const { return m_user; }
    QString password() const { return m_password; }

    // Stops the server and removes its folder and the info file.
    bool stop(QString* output) const;

    // Copies the template database (tables orders, items, payments, customers and the sequences
    // receipt_number and ticket_number) into a new database; the empty text on failure.
    QString createDatabase(QString* problem) const;
    // Drops it, closing whatever sessions are still connected.
    void dropDatabase(const QString& name) const;

    // Runs the statements in order on database as the test role; returns column 0 of the first
    // row of the last one. On failure *problem says why (and the rest is not run).
    QString run(const QString& database, const QStringList& statements, QString* problem) const;

    // Number of sessions on database waiting for a lock (pg_stat_activity).
    int sessionsWaitingForLock(const QString& database) const;

    // Points the libpq under Qt's QPSQL at this server for the code under test: Part 7.1's
    // createConnection sets no port, so libpq takes PGPORT (else 5432); every other PG*
    // variable of the caller's environment is removed so it cannot pick another server,
    // user or password.
    void exportClientEnvironment() const;

private:
    QString m_infoFile;
    QString m_problem;
    QString m_host;
    QString m_socket;
    int m_port = 0;
    QString m_user;
    QString m_password;
    QString m_template;
};

} // namespace testsupport
