#include "testpage.h"

#include "diagnostics.h"
#include "outputjob.h"
#include "paconfiguration.h"
#include "printerbackends.h"
#include "printerlink.h"
#include "printerprofile.h"
#include "syncsingleton.h"

#include <QFile>
#include <QUrl>

#include <iostream>

int printTestPage(const QString& output, bool drawer) {
    // "socket://" without a host leaves the address to a document's printers element; the page
    // has none, so it would wait in the spool for an address it never gets, retried every minute.
    if (PrinterLink::isNetwork(output) && QUrl(output).host().isEmpty()) {
        Diagnostics::warn(QStringLiteral("no test page: %1 names no printer; give the printer's "
                                         "address, socket://HOST[:PORT]")
                              .arg(output));
        return 2;
    }
    const PrinterProfile profile =
        PrinterProfile::fromConfiguration(*SyncSingleton<PAConfiguration>::instance());
    // The back-end as pastrel-print chooses it (an unknown model: the company printer, said on
    // standard error).
    const PrinterBackend& backend = PrinterBackends::choose(profile);
    if (backend.printTestPage == nullptr) {
        Diagnostics::warn(QStringLiteral("no test page for the %1 printer; pastrel-config check "
                                         "checks its settings")
                              .arg(QLatin1String(backend.model)));
        return 1;
    }
    const QByteArray nativeOutput = QFile::encodeName(output);
    OutputJob job(nativeOutput, DeliverySettings::fromProfile(profile, backend.answersStatus));
    QIODevice* device = job.open();
    if (device == nullptr) {
        Diagnostics::warn("no test page: cannot write " + nativeOutput);
        return 1;
    }
    const bool written = backend.printTestPage(device, profile, backend.model, drawer);
    if (!job.finish(written)) {
        Diagnostics::warn("the test page waits in the spool; pastrel-config spool send prints it "
                          "once the printer is back");
        return 1;
    }
    if (!written)
        return 1; // the write error is on standard error
    std::cout << "test page sent to " << nativeOutput.constData() << std::endl;
    return 0;
}
