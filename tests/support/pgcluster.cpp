#include "pgcluster.h"

#include "testsupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <atomic>

namespace testsupport {

namespace {

// Runs the cluster script with bash; its combined output goes to *output.
bool runScript(const QStringList& arguments, QString* output) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("bash"), QStringList{PgCluster::script()} + arguments);
    const bool finished = process.waitForStarted(10000) && process.waitForFinished(180000);
    if (!finished)
        process.kill();
    process.waitForFinished(10000);
    if (output != nullptr)
        *output = QString::fromLocal8Bit(process.readAll());
    return finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

QString quotedIdentifier(const QString& name) {
    return QLatin1Char('"') + QString(name).replace(QLatin1Char('"'), QStringLiteral("\"\"")) +
           QLatin1Char('"');
}

} // namespace

QString PgCluster::stateDir() {
    return QStringLiteral(PASTREL_PG_STATE_DIR);
}

QString PgCluster::sharedInfoFile() {
    return stateDir() + QStringLiteral("/cluster.env");
}

QString PgCluster::script() {
    return QStringLiteral(PASTREL_PG_SCRIPT);
}

bool PgCluster::start(const QString& infoFile, QString* output) {
    return runScript({QStringLiteral("start"), infoFile}, output);
}

PgCluster::PgCluster(const QString& infoFile) : m_infoFile(infoFile) {
    QFile file(infoFile);
    if (!file.open(QIODevice::ReadOnly)) {
        m_problem = QStringLiteral("no cluster info file ") + infoFile +
                    QStringLiteral(" (is the fixture test pg_cluster_start run? use ctest)");
        return;
    }
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals < 0)
            continue;
        const QString key = line.left(equals);
        const QString value = line.mid(equals + 1);
        if (key == QLatin1String("PGT_HOST"))
            m_host = value;
        else if (key == QLatin1String("PGT_SOCKET"))
            m_socket = value;
        else if (key == QLatin1String("PGT_PORT"))
            m_port = value.toInt();
        else if (key == QLatin1String("PGT_USER"))
            m_user = value;
        else if (key == QLatin1String("PGT_PASSWORD"))
            m_password = value;
        else if (key == QLatin1String("PGT_TEMPLATE"))
            m_template = value;
    }
    if (m_port <= 0 || m_host.isEmpty() || m_user.isEmpty() || m_template.isEmpty())
        m_problem = QStringLiteral("incomplete cluster info file ") + infoFile;
}

bool PgCluster::stop(QString* output) const {
    return runScript({QStringLiteral("stop"), m_infoFile}, output);
}

QString PgCluster::run(const QString& database, const QStringList& statements,
                       QString* problem) const {
    static std::atomic<int> counter{0};
    const QString name = QStringLiteral("pgcluster_support_") + QString::number(++counter);
    QString result;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
        db.setHostName(m_host);
        db.setPort(m_port);
        db.setUserName(m_user);
        db.setPassword(m_password);
        db.setDatabaseName(database);
        if (!db.open()) {
            *problem = QStringLiteral("cannot connect to ") + database + QStringLiteral(": ") +
                       db.lastError().text();
        } else {
            for (const QString& statement : statements) {
                QSqlQuery query(db);
                if (!query.exec(statement)) {
                    *problem = statement + QStringLiteral(": ") + query.lastError().text();
                    break;
                }
                result = query.next() ? query.value(0).toString() : QString();
            }
            db.close();
        }
    }
    QSqlDatabase::removeDatabase(name);
    return result;
}

QString PgCluster::createDatabase(QString* problem) const {
    const QString name = QStringLiteral("t%1_%2")
                             .arg(QCoreApplication::applicationPid())
                             .arg(QRandomGenerator::global()->bounded(1000000));
    run(QStringLiteral("postgres"),
        {QStringLiteral("CREATE DATABASE ") + quotedIdentifier(name) +
         QStringLiteral(" TEMPLATE ") + quotedIdentifier(m_template)},
        problem);
    return problem->isEmpty() ? name : QString();
}

void PgCluster::dropDatabase(const QString& name) const {
    QString ignored; // the cluster is removed at the end anyway
    run(QStringLiteral("postgres"),
        {QStringLiteral("DROP DATABASE IF EXISTS ") + quotedIdentifier(name) +
         QStringLiteral(" WITH (FORCE)")},
        &ignored);
}

void PgCluster::exportClientEnvironment() const {
    qputenv("PGPORT", QByteArray::number(m_port));
    for (const char* variable : {"PGPASSWORD", "PGPASSFILE", "PGSERVICE", "PGHOST", "PGHOSTADDR",
                                 "PGUSER", "PGDATABASE", "PGOPTIONS"})
        qunsetenv(variable);
}

int PgCluster::sessionsWaitingForLock(const QString& database) const {
    QString problem;
    const QString count =
        run(QStringLiteral("postgres"),
            {QStringLiteral("SELECT count(*) FROM pg_stat_activity WHERE datname = '") + database +
             QStringLiteral("' AND wait_event_type = 'Lock'")},
            &problem);
    return problem.isEmpty() ? count.toInt() : -1;
}

} // namespace testsupport
