// pastrel_dbclient: one DatabaseManager operation in a process of its own, so that the tests of
// Part 7.1 can run two tills at once against one database (tests/test_databasemanager.cpp).
//
//   pastrel_dbclient DATABASE USER PASSWORD HOST OPERATION [ARGUMENT...]
//     incrementSequence SEQUENCE STEP    prints the value before the change
//     safeNewRecord TABLE                prints the new key
//
// The connection is "client", on the port libpq takes from $PGPORT; the log goes where the
// configuration in $HOME says. Exit status: 0 done, 1 usage, 2 no connection.
#include "databasemanager.h"
#include "hlogmanager.h"
#include "syncsingleton.h"

#include <QString>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 7) {
        std::fputs("usage: pastrel_dbclient DATABASE USER PASSWORD HOST OPERATION ARGUMENT...\n",
                   stderr);
        return 1;
    }
    const QString operation = QString::fromLocal8Bit(argv[5]);
    const QString argument = QString::fromLocal8Bit(argv[6]);
    SyncSingleton<HLogManager>::instance()->set(QStringLiteral("dbclient"), QString());
    DatabaseManager* manager = SyncSingleton<DatabaseManager>::instance();
    QSqlDatabase* db = manager->createConnection(
        QStringLiteral("QPSQL"), QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2]),
        QString::fromLocal8Bit(argv[3]), QString::fromLocal8Bit(argv[4]), QStringLiteral("client"));
    if (db == nullptr)
        return 2;
    QString result;
    if (operation == QLatin1String("incrementSequence") && argc == 8)
        result = manager->incrementSequence(argument, QString::fromLocal8Bit(argv[7]).toInt(), db);
    else if (operation == QLatin1String("safeNewRecord") && argc == 7)
        result = manager->safeNewRecord(argument, db);
    else
        return 1;
    std::printf("%s\n", result.toUtf8().constData());
    return 0;
}
