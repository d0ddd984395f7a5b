// The head of a document: the section elements every method offers to printSections() first
// (printers, geometry, headers, logo, company, receipt, invoice, delivery, orderinfo), and the
// customer block.
#include "printerdriver.h"

#include <QStringList>

namespace {
// "topMargin" asks for that many empty lines; a configuration asking for more than
// this is taken as this many, so a typing error cannot make a till print paper for hours.
constexpr int kMaxTopMargin = 1000;
} // namespace

void PrinterDriver::printLabelLine(const char* label, const QString& text) {
    // A label line: one blank, the label, one blank and the value.
    print(1, tr(label));
    println(1, text);
}

void PrinterDriver::printAddress(const QString& address) {
    // Fields up to the first empty one: "a,,b" prints only "a". Taken one at a
    // time, so 7 MiB of commas costs nothing: printing stops at the first.
    for (const QStringView field : QStringView(address).tokenize(QLatin1Char(','))) {
        if (field.isEmpty())
            return;
        println(1, field.toString());
    }
}

void PrinterDriver::printGeometry(const Attributes&) {
    if (!m_printGeometry)
        return;
    const int margin = qMin(toInt(setting("topMargin")), kMaxTopMargin);
    for (int i = 0; i < margin; ++i)
        println(QString());
}

void PrinterDriver::printPrinterInfo() {
    // Not gated by any flag: every "headers" element names the printer the document was
    // meant for.
    setCenterJustify();
    println(m_printerName);
    printSeparatorLine();
}

void PrinterDriver::printHeaders(const Attributes& attributes) {
    if (!m_printHeader)
        return;
    for (const auto& attribute : attributes)
        println(attribute.value().toString());
    printSeparatorLine();
}

void PrinterDriver::printCompanyHeader(const Attributes& attributes) {
    if (!m_printCompany)
        return;
    setCharSize();
    setCenterJustify();
    for (const auto& attribute : attributes)
        println(attribute.value().toString());
    setCharSize();
    printSeparatorLine();
}

void PrinterDriver::printReceiptHeader(const Attributes& attributes) {
    // Label and value as one text, unlike the invoice and delivery heads: a receipt's head has
    // always read so, and the suite's other programs compare against it.
    println(1, tr("Serial Number: ") + value(attributes, "serialnumber"));
    printSeparatorLine();
}

void PrinterDriver::printInvoiceHeader(const Attributes& attributes) {
    printLabelLine("Invoice Number:", value(attributes, "serialnumber"));
    printSeparatorLine();
}

void PrinterDriver::printDeliveryHeader(const Attributes& attributes) {
    printLabelLine("Delivery Number:", value(attributes, "serialnumber"));
    printSeparatorLine();
}

void PrinterDriver::printCustomerHeader(const Attributes& attributes) {
    if (!m_printCustomer)
        return;
    println(tr("CUSTOMER"));
    println(1, value(attributes, "name"));
    if (m_printBillingAddress)
        printAddress(value(attributes, "billingaddress"));
    if (m_printDeliveryAddress)
        printAddress(value(attributes, "deliveryaddress"));
    if (m_printTelephone)
        printLabelLine("Telephone:", value(attributes, "telephone"));
    if (m_printLicenseNumber)
        printLabelLine("License Number:", value(attributes, "licensenumber"));
    if (m_printFiscalCode)
        printLabelLine("Fiscal Code:", value(attributes, "fiscalcode"));
    printSeparatorLine();
}

void PrinterDriver::printOrderInfo(const Attributes& attributes) {
    setCharSize();
    if (m_printDate)
        printLabelLine("Date:", value(attributes, "date"));
    if (m_printTime)
        printLabelLine("Time:", value(attributes, "time"));
    if (m_printTable)
        printLabelLine("Table:", value(attributes, "table"));
    if (m_printWaiter)
        printLabelLine("Waiter:", value(attributes, "waiter"));
    if (m_printNote)
        printLabelLine("Note:", value(attributes, "note"));
    if (m_printCredit) {
        m_credit = value(attributes, "credit");
        printLabelLine("Credit:", m_credit);
    }
    printSeparatorLine();
}

bool PrinterDriver::printSections(const QString& name, const Attributes& attributes) {
    if (name == QLatin1String("printers")) {
        m_printerName = value(attributes, "name");
        initPrinter();
    } else if (name == QLatin1String("geometry")) {
        printGeometry(attributes);
    } else if (name == QLatin1String("headers")) {
        printHeaders(attributes);
        printPrinterInfo(); // whatever the header flag says
    } else if (name == QLatin1String("logo")) {
        printLogo();
    } else if (name == QLatin1String("company")) {
        printCompanyHeader(attributes);
    } else if (name == QLatin1String("receipt")) {
        printReceiptHeader(attributes);
    } else if (name == QLatin1String("invoice")) {
        printInvoiceHeader(attributes);
    } else if (name == QLatin1String("delivery")) {
        printDeliveryHeader(attributes);
    } else if (name == QLatin1String("orderinfo")) {
        printOrderInfo(attributes);
    } else if (name == QLatin1String("qrcode") || name == QLatin1String("barcode")) {
        printCode(name, attributes); // wherever a document prints lines
    } else {
        return false; // "customer" is deliberately not a section element
    }
    return true;
}
