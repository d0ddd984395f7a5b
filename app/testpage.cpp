#include "testpage.h"

#include "codepage.h"
#include "companyprinterdriver.h"
#include "controlcodes.h"
#include "diagnostics.h"
#include "escposprinterdriver.h"
#include "outputjob.h"
#include "paconfiguration.h"
#include "printerbackends.h"
#include "printerlink.h"
#include "printerprofile.h"
#include "syncsingleton.h"

#include <QFile>
#include <QUrl>

#include <iostream>

namespace {

// A back-end with what the test page needs from it beyond the renderer's operations: the code
// page in use, and the drawer asked for as a document's openCashDrawer setting asks for it.
template <class Backend> class TestPageDriver : public Backend {
public:
    TestPageDriver(QIODevice* device, const PrinterProfile& profile, bool drawer)
        : Backend(device, profile) {
        this->m_openCashDrawer = drawer;
    }
    QString codePageName() const {
        return this->codePage() ? QLatin1String(this->codePage()->name) : QStringLiteral("UTF-8");
    }
    void finish();
};

// ESC/POS: the cut, then the pulse when the drawer was asked for.
template <> void TestPageDriver<EscPosPrinterDriver>::finish() {
    endSection();
}

// The company printer ends every document with its pulse (RS): the test page sends the end of a
// document only when the drawer was asked for, else the feed and the cut alone.
template <> void TestPageDriver<CompanyPrinterDriver>::finish() {
    if (m_openCashDrawer) {
        endSection();
        return;
    }
    QString feed(ControlCodes::kEndFeedLines, QLatin1Char(ControlCodes::LF));
    feed += QLatin1Char(ControlCodes::CR);
    print(0, feed);
    fullCut();
}

// "----+----1----+----2..." as wide as the paper: a mark every fifth column, the tens digit every
// tenth.
QString ruler(int columns) {
    QString line;
    for (int column = 1; column <= columns; ++column) {
        if (column % 10 == 0)
            line += QChar(u'0' + (column / 10) % 10);
        else
            line += column % 5 == 0 ? u'+' : u'-';
    }
    return line;
}

// Lays the page out on device; false when a write failed.
template <class Backend>
bool printPage(QIODevice* device, const PrinterProfile& profile, const char* model, bool drawer) {
    TestPageDriver<Backend> driver(device, profile, drawer);
    const int columns = static_cast<int>(driver.getPaperWidth());
    driver.reset();
    driver.setCenterJustify();
    driver.setBold();
    driver.println(QStringLiteral("PASTREL TEST PAGE"));
    driver.setCharSize();
    driver.println(QStringLiteral("Model: ") + QLatin1String(model));
    driver.println(QStringLiteral("Columns: ") + QString::number(columns));
    driver.println(QStringLiteral("Code page: ") + driver.codePageName());
    driver.println(ruler(columns));
    driver.println(QStringLiteral("Italian letters and the euro:"));
    driver.println(QStringLiteral(u"à è é ì ò ù À È É Ì Ò Ù €"));
    driver.setBold();
    driver.println(QStringLiteral("Bold text"));
    driver.setCharSize(1);
    driver.println(QStringLiteral("Tall text"));
    driver.setCharSize();
    driver.finish();
    return driver.flush();
}

// The printers the page is laid out for: those whose back-end writes the bytes the job delivers.
struct PagePrinter {
    const char* model; // as the back-ends' table names it
    bool (*print)(QIODevice* device, const PrinterProfile& profile, const char* model, bool drawer);
};
constexpr PagePrinter kPagePrinters[] = {
    {"company", &printPage<CompanyPrinterDriver>},
    {"escpos", &printPage<EscPosPrinterDriver>},
};

} // namespace

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
    const PagePrinter* printer = nullptr;
    for (const PagePrinter& known : kPagePrinters) {
        if (qstrcmp(known.model, backend.model) == 0)
            printer = &known;
    }
    if (printer == nullptr || backend.deliver) {
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
    const bool written = printer->print(device, profile, printer->model, drawer);
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
