#include "testpage.h"

#include "codepage.h"
#include "companyprinterdriver.h"
#include "controlcodes.h"
#include "escposprinterdriver.h"
#include "outputjob.h"
#include "paconfiguration.h"
#include "syncsingleton.h"

#include <QFile>

#include <iostream>

namespace {

// A back-end with what the test page needs from it beyond the renderer's operations: the code
// page in use, whether the output took every byte, and the drawer asked for as a document's
// openCashDrawer setting asks for it.
template <class Backend> class TestPageDriver : public Backend {
public:
    TestPageDriver(const QByteArray& path, bool drawer) : Backend(path, false) {
        this->m_openCashDrawer = drawer;
    }
    QString codePageName() const {
        return this->codePage() ? QLatin1String(this->codePage()->name) : QStringLiteral("UTF-8");
    }
    bool written() const { return this->writable(); }
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

template <class Backend>
bool printPage(const QByteArray& path, const QString& model, bool drawer, OutputJob& job) {
    TestPageDriver<Backend> driver(path, drawer);
    const int columns = static_cast<int>(driver.getPaperWidth());
    driver.reset();
    driver.setCenterJustify();
    driver.setBold();
    driver.println(QStringLiteral("PASTREL TEST PAGE"));
    driver.setCharSize();
    driver.println(QStringLiteral("Model: ") + model);
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
    job.setDocumentPrinter(driver.printerIpAddress(), driver.printerPort());
    return driver.written();
}

} // namespace

int printTestPage(const QString& output, bool drawer) {
    PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();
    // The back-end as pastrel-print chooses it: escpos, else the company printer.
    QString model = configuration->getStrValue(QStringLiteral("pastrel.printer.model")).trimmed();
    const bool escpos = model.compare(QLatin1String("escpos"), Qt::CaseInsensitive) == 0;
    if (!escpos && !model.isEmpty() &&
        model.compare(QLatin1String("company"), Qt::CaseInsensitive) != 0)
        std::cerr << "pastrel-config: unknown pastrel.printer.model \""
                  << model.toUtf8().constData()
                  << "\" (company or escpos); the test page is for the company printer"
                  << std::endl;
    model = escpos ? QStringLiteral("escpos") : QStringLiteral("company");

    OutputJob job(output);
    const QByteArray path = QFile::encodeName(job.renderPath());
    const bool written = escpos ? printPage<EscPosPrinterDriver>(path, model, drawer, job)
                                : printPage<CompanyPrinterDriver>(path, model, drawer, job);
    if (!written) {
        std::cerr << "pastrel-config: no test page: cannot write "
                  << QFile::encodeName(output).constData() << std::endl;
        return 1;
    }
    if (!job.deliver()) {
        std::cerr << "pastrel-config: the test page waits in the spool; pastrel-config spool send "
                     "prints it once the printer is back"
                  << std::endl;
        return 1;
    }
    std::cout << "test page sent to " << QFile::encodeName(output).constData() << std::endl;
    return 0;
}
