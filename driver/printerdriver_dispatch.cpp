// Element dispatch: a <method> element chooses the layout and the document type's settings;
// every other element goes to the current layout.
#include "printerdriver.h"

#include <iostream>

namespace {

enum class Duplicate { Unchanged, SetTrue, SetFalse };

} // namespace

bool PrinterDriver::startElement(const QString& qName, const Attributes& attributes) {
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

    std::cout << "File Format Not Supported" << std::endl;
    m_method.clear();
    m_layout = nullptr;
    return false; // stops the parse with an error: no endDocument, no end sequence
}

bool PrinterDriver::endElement(const QString&) {
    return true;
}
