// The company printer's back-end: its paper width, its control sequences, and the way it
// indents and centres a text.
#include "companyprinterdriver.h"

#include "controlcodes.h"

#include <QFile>

#include <initializer_list>

using namespace ControlCodes;

namespace {
constexpr unsigned int kPaperWidth = 40;

// A control sequence as a text of one-byte characters, written like any text.
QString sequence(std::initializer_list<char> codes) {
    QString text;
    for (char code : codes)
        text += QLatin1Char(code);
    return text;
}
} // namespace

CompanyPrinterDriver::CompanyPrinterDriver(const QString& path, bool append)
    : CompanyPrinterDriver(QFile::encodeName(path), append) {}

CompanyPrinterDriver::CompanyPrinterDriver(const QByteArray& nativePath, bool append)
    : PrinterDriver(nativePath, append) {
    selectCodePage(nullptr); // without pastrel.printer.codepage: UTF-8, as always
}

CompanyPrinterDriver::CompanyPrinterDriver(QIODevice* device, const PrinterProfile& profile,
                                           SettingLookup settings)
    : PrinterDriver(device, profile, std::move(settings)) {
    selectCodePage(nullptr);
}

CompanyPrinterDriver::~CompanyPrinterDriver() = default;

unsigned int CompanyPrinterDriver::getPaperWidth() {
    return kPaperWidth;
}

void CompanyPrinterDriver::reset() {}

void CompanyPrinterDriver::setBold() {}

void CompanyPrinterDriver::setCharSize() {
    // Deliberately only this: the printer has one character size, so no size command is sent.
    m_justification = QStringLiteral("left");
}

void CompanyPrinterDriver::setCharSize(int) {
    m_justification = QStringLiteral("left");
}

void CompanyPrinterDriver::setCenterJustify() {
    m_justification = QStringLiteral("center");
}

void CompanyPrinterDriver::fullCut() {
    print(0, sequence({ESC, CUT}));
}

void CompanyPrinterDriver::generatePulse() {
    print(0, sequence({RS}));
}

void CompanyPrinterDriver::openCashDrawer() {
    print(0, sequence({ESC, DRAWER, DRAWER_PIN}));
}

void CompanyPrinterDriver::startSection() {}

void CompanyPrinterDriver::endSection() {
    // One text through one print(0, ...): while centred, the whole feed gets one run of blanks.
    QString feed(kEndFeedLines, QLatin1Char(LF));
    feed += QLatin1Char(CR);
    print(0, feed);
    fullCut();
    generatePulse();
    if (m_openCashDrawer)
        openCashDrawer();
}

void CompanyPrinterDriver::print(unsigned int indent, const QString& text) {
    if (!writable())
        return; // unopenable output (reported by the base) or a failed write: nothing more
    const unsigned int width = getPaperWidth();
    const unsigned int length = static_cast<unsigned int>(text.size());
    unsigned int blanks = indent;
    if (m_justification == QLatin1String("center"))
        blanks = (width - length) >> 1; // unsigned; a text wider than the paper is caught below
    if (width < length)
        blanks = 0; // wider than the paper: no indent, the printer wraps it anyway
    if (blanks > 0)
        write(QString(static_cast<int>(blanks), QLatin1Char(' ')));
    write(text);
}

void CompanyPrinterDriver::println(unsigned int indent, const QString& text) {
    print(indent, text);
    write(QString(QLatin1Char(LF)));
}

void CompanyPrinterDriver::println(const QString& text) {
    println(0, text);
}

void CompanyPrinterDriver::printRowFiscal(const QString&, const QString&, const QString&,
                                          const QString&) {}

void CompanyPrinterDriver::printLogo() {}
