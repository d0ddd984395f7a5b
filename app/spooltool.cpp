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
        printLine(std::cout, job.id + QLatin1String("  ") + QString::number(job.bytes) +
                                 QLatin1String("  ") + job.printer);
    return 0;
}

// Printer names are written as they are: one may hold "%1" (never given to QString::arg).
int send(const Spool& spool, const QString& printer) {
    const PrinterProfile profile =
        PrinterProfile::fromConfiguration(*SyncSingleton<PAConfiguration>::instance());
    const DeliverySettings settings =
        DeliverySettings::fromProfile(profile, PrinterBackends::choose(profile).answersStatus);
    const QString tool = QStringLiteral("pastrel-config: ");
    int status = 0;
    for (const QString& name : printer.isEmpty() ? spool.printers() : QStringList{printer}) {
        // A printer with nothing waiting is not contacted.
        DeliveryResult result;
        result.ok = true;
        if (!spool.jobs(name).isEmpty())
            result = spool.deliver(name, settings);
        printLine(std::cout, name + QLatin1String(": ") + QString::number(result.sent) +
                                 QLatin1String(" job(s) sent"));
        if (!result.problems.isEmpty())
            printLine(std::cerr, tool + name + QLatin1String(": printer reports ") +
                                     result.problems.join(QLatin1String(", ")));
        for (const QString& job : result.unreadable)
            printLine(std::cerr,
                      tool + name + QLatin1String(": cannot read the waiting job ") + job);
        if (result.unconfirmed > 0)
            printLine(std::cerr, tool + name +
                                     QLatin1String(": the printer took every byte but kept the "
                                                   "connection open; counted as printed"));
        if (result.handedOver)
            printLine(std::cerr, tool + name +
                                     QLatin1String(": another run is printing on it; its jobs "
                                                   "go out with that run"));
        if (!result.ok)
            printLine(std::cerr, tool + QLatin1String("cannot print on ") + name +
                                     QLatin1String(": ") + result.error);
        if (!result.ok || !result.unreadable.isEmpty())
            status = 1;
    }
    return status;
}

int drop(const Spool& spool, int argc, char** argv) {
    if (argc == 3 && QByteArray(argv[2]) == "all") {
        spool.dropAll();
        return 0;
    }
    QStringList ids;
    for (int i = 2; i < argc; ++i)
        ids << QString::fromLocal8Bit(argv[i]);
    const QStringList missing = spool.drop(ids);
    for (const QString& id : missing)
        printLine(std::cerr, QLatin1String("pastrel-config: no waiting job ") + id);
    return missing.isEmpty() ? 0 : 1;
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
