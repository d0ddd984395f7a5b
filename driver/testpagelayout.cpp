#include "testpagelayout.h"

#include "codepage.h"
#include "companyprinterdriver.h"
#include "controlcodes.h"
#include "escposprinterdriver.h"
#include "printerprofile.h"

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

} // namespace

template <class Backend>
bool TestPageLayout::print(QIODevice* device, const PrinterProfile& profile, const char* model,
                           bool drawer) {
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

// The back-ends whose rows name a test page.
template bool TestPageLayout::print<CompanyPrinterDriver>(QIODevice*, const PrinterProfile&,
                                                          const char*, bool);
template bool TestPageLayout::print<EscPosPrinterDriver>(QIODevice*, const PrinterProfile&,
                                                         const char*, bool);
