#include "spooltool.h"

#include "paconfiguration.h"
#include "printerbackends.h"
#include "spool.h"
#include "syncsingleton.h"

#include <QByteArray>
#include <QString>

#include <iostream>

namespace {

const char kSpoolUsage[] =
    "usage: pastrel-config spool list [PRINTER] | send [PRINTER] | drop JOB... | drop all";

void printLine(std::ostream& out, const QString& line) {
    out << line.toLocal8Bit().constData() << std::endl;
}

int list(const Spool& spool, const QString& printer) {
    for (const SpoolJob& job : spool.jobs(printer))
        printLine(std::cout,
                  QStringLiteral("%1  %2  %3").arg(job.id).arg(job.bytes).arg(job.printer));
    return 0;
}

int send(const Spool& spool, const QString& printer) {
    const PrinterProfile profile =
        PrinterProfile::fromConfiguration(*SyncSingleton<PAConfiguration>::instance());
    const DeliverySettings settings =
        DeliverySettings::fromProfile(profile, PrinterBackends::choose(profile).answersStatus);
    int status = 0;
    for (const QString& name : printer.isEmpty() ? spool.printers() : QStringList{printer}) {
        // A printer with nothing waiting is not contacted.
        const DeliveryResult result = spool.jobs(name).isEmpty() ? DeliveryResult{true, 0, {}, {}}
                                                                 : spool.deliver(name, settings);
        printLine(std::cout, QStringLiteral("%1: %2 job(s) sent").arg(name).arg(result.sent));
        if (!result.problems.isEmpty())
            printLine(std::cerr, QStringLiteral("pastrel-config: %1: printer reports %2")
                                     .arg(name, result.problems.join(QLatin1String(", "))));
        if (!result.ok) {
            printLine(
                std::cerr,
                QStringLiteral("pastrel-config: cannot print on %1: %2").arg(name, result.error));
            status = 1;
        }
    }
    return status;
}

int drop(const Spool& spool, int argc, char** argv) {
    int status = 0;
    if (argc == 3 && QByteArray(argv[2]) == "all") {
        for (const SpoolJob& job : spool.jobs())
            spool.drop(job.id);
        return 0;
    }
    for (int i = 2; i < argc; ++i) {
        if (!spool.drop(QString::fromLocal8Bit(argv[i]))) {
            std::cerr << "pastrel-config: no waiting job " << argv[i] << std::endl;
            status = 1;
        }
    }
    return status;
}

} // namespace

int spoolTool(int argc, char** argv) {
    const Spool spool;
    const QByteArray command(argc > 1 ? argv[1] : "");
    const QString printer = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();
    if (command == "list" && argc <= 3)
        return list(spool, printer);
    if (command == "send" && argc <= 3)
        return send(spool, printer);
    if (command == "drop" && argc >= 3)
        return drop(spool, argc, argv);
    std::cerr << kSpoolUsage << std::endl;
    return 2;
}
