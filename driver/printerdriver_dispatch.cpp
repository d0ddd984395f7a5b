// Element dispatch: a <method> element chooses the layout and the document type's settings;
// every other element goes to the current layout.
#include "printerdriver.h"

#include "diagnostics.h"

#include <algorithm>

namespace {

enum class Duplicate { Unchanged, SetTrue, SetFalse };

bool isControl(char16_t c) {
    return c < 0x20 || (c >= 0x7f && c < 0xa0);
}

bool isControlChar(QChar c) {
    return isControl(c.unicode());
}

bool hasControlCharacter(const PrinterDriver::Attributes& attributes) {
    // Every element of every document passes here: one plain pass over the values' code units.
    for (const auto& attribute : attributes) {
        const QStringView text = attribute.value();
        const char16_t* unit = text.utf16();
        for (const char16_t* end = unit + text.size(); unit != end; ++unit) {
            if (isControl(*unit))
                return true;
        }
    }
    return false;
}

PrinterDriver::Attributes blanked(const PrinterDriver::Attributes& attributes) {
    PrinterDriver::Attributes clean;
    for (const auto& attribute : attributes) {
        QString text = attribute.value().toString();
        std::replace_if(text.begin(), text.end(), isControlChar, QLatin1Char(' '));
        clean.append(attribute.qualifiedName().toString(), text);
    }
    return clean;
}

} // namespace

bool PrinterDriver::startElement(const QString& qName, const Attributes& attributes) {
    // A QR code's data is not a row of text: its line breaks are the payload itself (a contact
    // card, a list of the Wi-Fi's settings) and go into the symbol as they stand.
    if (m_blankControls && qName != QLatin1String("qrcode") && hasControlCharacter(attributes))
        return startElement(qName, blanked(attributes));
    // The document's own printer, for the job, whatever the method and wherever the element
    // stands (before the method too); the last one wins.
    if (qName == QLatin1String("printers"))
        m_printerAddress = {value(attributes, "ipaddress"), value(attributes, "port")};
    if (qName != QLatin1String("method")) {
        if (m_layout)
            (this->*m_layout)(qName, attributes);
        return true;
    }

    // The method table, compared in this order. A statement of account uses the
    // report's settings and a full order those of the prefiscal document, deliberately.
    static const struct {
        const char* name;
        const char* documentType;
        Duplicate duplicate;
        Layout layout;
    } methods[] = {
        {"printPartialOrder", "order", Duplicate::Unchanged, &PrinterDriver::printPartialOrder},
        {"printFullOrder", "prefiscal", Duplicate::Unchanged, &PrinterDriver::printFullOrder},
        {"printFullOrderReceipt", "receipt", Duplicate::Unchanged,
         &PrinterDriver::printFullOrderReceipt},
        {"printFullOrderInvoice", "invoice", Duplicate::SetTrue,
         &PrinterDriver::printFullOrderInvoice},
        {"printFullOrderDelivery", "delivery", Duplicate::Unchanged,
         &PrinterDriver::printFullOrderDelivery},
        {"printFullOrderFiscal", "fiscal", Duplicate::SetFalse,
         &PrinterDriver::printFullOrderFiscal},
        {"printAbstractOrder", "order", Duplicate::Unchanged, &PrinterDriver::printAbstractOrder},
        {"printAbstractOrderReceipt", "receipt", Duplicate::Unchanged,
         &PrinterDriver::printAbstractOrderReceipt},
        {"printAbstractOrderInvoice", "invoice", Duplicate::SetTrue,
         &PrinterDriver::printAbstractOrderInvoice},
        {"printAbstractOrderFiscal", "fiscal", Duplicate::SetFalse,
         &PrinterDriver::printAbstractOrderFiscal},
        {"printReport", "report", Duplicate::Unchanged, &PrinterDriver::printReport},
        {"printSold", "sold", Duplicate::Unchanged, &PrinterDriver::printSold},
        {"printStatementOfAccount", "report", Duplicate::Unchanged,
         &PrinterDriver::printStatementOfAccount},
    };

    const QString name = value(attributes, "name");
    for (const auto& row : methods) {
        if (name != QLatin1String(row.name))
            continue;
        loadValues(QLatin1String(row.documentType));
        m_method = QLatin1String(row.name);
        m_layout = row.layout;
        if (row.duplicate == Duplicate::SetTrue)
            m_duplicate = true;
        else if (row.duplicate == Duplicate::SetFalse)
            m_duplicate = false;
        startSection();
        return true;
    }

    if (startBackEndMethod(name)) {
        m_method = name;
        m_layout = nullptr;
        startSection();
        return true;
    }

    SuiteLines::say(SuiteLines::kFileFormatNotSupported);
    m_method.clear();
    m_layout = nullptr;
    return false; // stops the parse with an error: no endDocument, no end sequence
}

bool PrinterDriver::endElement(const QString&) {
    return true;
}
