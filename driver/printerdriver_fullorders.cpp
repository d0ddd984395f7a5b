// The full-order invoice, delivery note and fiscal document: layouts left to the implementer
// (Part 2.5, "Left to the implementer"). Their element tables are in docs/documents.md, which is
// the reference for every choice below; they reuse the rows of Parts 2.6, 2.7, 2.10 and 2.11 and
// print no label of their own.
#include "printerdriver.h"

void PrinterDriver::printFullOrderInvoice(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("receipe") || name == QLatin1String("otherreceipe")) {
        // The receipt's dish row (Part 2.10); no "=" marker here: that is Part 2.11's alone.
        printReceiptDishRow(attributes);
    } else if (name == QLatin1String("variant")) {
        printPricedVariantRow(attributes); // the full order's variant row (Part 2.11)
    } else if (name == QLatin1String("totals")) {
        printTaxSummary(attributes); // the abstract invoice's four rows (Part 2.7)
    }
}

void PrinterDriver::printFullOrderDelivery(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("receipe") || name == QLatin1String("otherreceipe")) {
        // No prices on a delivery note: empty price and amount headings.
        // Printed once per run (Part 2.3): once it has been, its labels are not built again.
        if (!m_oneTimeDone)
            printColumnsHeader(tr("Num"), tr("Description"), QString(), QString());
        requestDishSize(name); // the size requests of the kitchen order (Part 2.6)
        // Blank fill: dots leading to no amount would only waste ink.
        println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                               QString(), QLatin1Char(' '), QStringLiteral("qxd")));
    } else if (name == QLatin1String("variant")) {
        printKitchenVariantRow(attributes); // the kitchen order's variant row (Part 2.6)
    }
}

void PrinterDriver::printFullOrderFiscal(const QString& name, const Attributes& attributes) {
    // No printSections, as in Part 2.7's fiscal document: a fiscal printer prints the legal head
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
