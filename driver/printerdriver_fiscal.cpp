// The two fiscal documents: every row goes to the fiscal-printer hooks (printRowFiscal), which
// the company printer's back-end leaves empty.
#include "printerdriver.h"

void PrinterDriver::printFullOrderFiscal(const QString& name, const Attributes& attributes) {
    // No printSections, as in the abstract fiscal document: a fiscal printer prints the legal head
    // from its own memory. Every row goes to the fiscal hooks; the company back-end ignores them.
    if (name == QLatin1String("receipe") || name == QLatin1String("otherreceipe")) {
        printRowFiscal(value(attributes, "department"), value(attributes, "number"),
                       value(attributes, "name"), value(attributes, "price"));
    } else if (name == QLatin1String("variant")) {
        printRowFiscal(value(attributes, "department"), value(attributes, "number"),
                       variantDescription(attributes), value(attributes, "price"));
    } else if (name == QLatin1String("total")) {
        printRowFiscal(name, attributes);
    }
}

void PrinterDriver::printAbstractOrderFiscal(const QString& name, const Attributes& attributes) {
    // No printSections: a fiscal printer prints the legal head from its own memory.
    if (name == QLatin1String("receipe_type")) {
        // The quantity is always the text "1": one per sale kind.
        printRowFiscal(value(attributes, "department"), QStringLiteral("1"),
                       value(attributes, "name"), value(attributes, "price"));
    } else if (name == QLatin1String("total")) {
        printRowFiscal(name, attributes);
    }
}
