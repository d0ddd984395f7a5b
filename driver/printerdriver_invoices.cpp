// The invoices (full and abstract order) and the delivery note: the documents that carry the
// customer block and, on the invoices, the tax summary.
#include "printerdriver.h"

void PrinterDriver::printFullOrderInvoice(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("receipe") || name == QLatin1String("otherreceipe")) {
        // The receipt's dish row; the "=" marker of printFullOrder does not apply here.
        printReceiptDishRow(attributes);
    } else if (name == QLatin1String("variant")) {
        printPricedVariantRow(attributes); // the full order's variant row
    } else if (name == QLatin1String("totals")) {
        printTaxSummary(attributes); // the abstract invoice's four rows
    }
}

void PrinterDriver::printAbstractOrderInvoice(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("receipe_type")) {
        printAbstractOrderRow(attributes);
    } else if (name == QLatin1String("totals")) {
        printTaxSummary(attributes);
    }
}

void PrinterDriver::printTaxSummary(const Attributes& attributes) {
    setBold();
    println(QString());
    printTotalRow("Taxable", value(attributes, "taxable"));
    printTotalRow("TaxRate", value(attributes, "taxrate"));
    printTotalRow("Tax", value(attributes, "tax"));
    printTotalRow("TOTAL", value(attributes, "total"));
    setCharSize();
}

void PrinterDriver::printFullOrderDelivery(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("receipe") || name == QLatin1String("otherreceipe")) {
        // No prices on a delivery note: empty price and amount headings.
        printColumnsHeaderOnce(ColumnsHeader::Unpriced);
        requestDishSize(name); // the size requests of the kitchen ticket
        // Blank fill: dots leading to no amount would only waste ink.
        println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                               QString(), QLatin1Char(' '), QStringLiteral("qxd")));
    } else if (name == QLatin1String("variant")) {
        printKitchenVariantRow(attributes); // the kitchen ticket's variant row
    }
}
