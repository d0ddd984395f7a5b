#include "fiscaltool.h"

#include "amount.h"
#include "journal.h"
#include "paconfiguration.h"
#include "printerprofile.h"
#include "rtprinter.h"
#include "rtprinterdriver.h"
#include "syncsingleton.h"

#include <QFile>

#include <iostream>

using namespace fiscal;

namespace {

void printLine(const QString& text) {
    std::cout << text.toLocal8Bit().constData() << std::endl;
}

int last() {
    const QString line = Journal().lastLine();
    if (line.isEmpty()) {
        std::cerr << "pastrel-config: no fiscal operation in "
                  << QFile::encodeName(Journal::defaultPath()).constData() << std::endl;
        return 1;
    }
    printLine(line);
    return 0;
}

int status(const QString& given) {
    Dialect dialect;
    const PrinterProfile profile =
        PrinterProfile::fromConfiguration(*SyncSingleton<PAConfiguration>::instance());
    if (!RtPrinterDriver::dialectOf(profile.model, &dialect)) {
        std::cerr << "pastrel-config: pastrel.printer.model is not an RT (rt-epson or rt-custom)"
                  << std::endl;
        return 1;
    }
    // Without an address, the RT of the last fiscal operation.
    const QString address =
        given.isEmpty() ? Journal().lastLine().section(QLatin1Char('\t'), 1, 1) : given;
    RtSettings settings;
    if (!RtPrinterDriver::settingsFor(dialect, address, profile, &settings)) {
        std::cerr << "pastrel-config: fiscal status needs the RT's address, http://HOST[:PORT]"
                  << std::endl;
        return 1;
    }
    RtPrinter printer(settings);
    const RtResult result = printer.status();
    if (result.outcome != RtResult::Outcome::Done) {
        printLine(QStringLiteral("RT %1: %2").arg(printer.name(), result.reason));
        return 1;
    }
    const LastDocument document = lastDocument(result.answer);
    printLine(QStringLiteral("RT %1: ready").arg(printer.name()));
    if (document.known)
        printLine(QStringLiteral("last document: number %1, Z %2%3")
                      .arg(document.number)
                      .arg(document.zNumber)
                      .arg(document.hasAmount
                               ? QStringLiteral(", ") +
                                     formatDecimal(document.amount, kCentsScale, QLatin1Char('.'))
                               : QString()));
    if (!result.answer.printerStatus().isEmpty())
        printLine(QStringLiteral("printer status: ") + result.answer.printerStatus());
    return 0;
}

} // namespace

int fiscalTool(int argc, char** argv) {
    const QByteArray command = argc >= 2 ? QByteArray(argv[1]) : QByteArray();
    if (command == "last" && argc == 2)
        return last();
    if (command == "status" && (argc == 2 || argc == 3))
        return status(argc == 3 ? QString::fromLocal8Bit(argv[2]) : QString());
    std::cerr << "usage: pastrel-config fiscal last | status [http://HOST[:PORT]]" << std::endl;
    return 2;
}
