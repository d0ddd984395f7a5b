// The invoices (full and abstract order) and the delivery note: the documents that carry the
// customer block and, on the invoices, the tax summary.
#include "printerdriver.h"

void PrinterDriver::printFullOrderInvoice(const QString& name, const Attributes& attributes) {
    // The receipt's dish row (the "=" marker of printFullOrder does not apply here), the full
    // order's variant row and the abstract invoice's tax summary.
    static const Route routes[] = {
        {"customer", &PrinterDriver::printCustomerBlock},
        {"receipe", &PrinterDriver::printReceiptDishRow},
        {"otherreceipe", &PrinterDriver::printReceiptDishRow},
        {"variant", &PrinterDriver::printPricedVariantRow},
        {"totals", &PrinterDriver::printTaxSummary},
    };
    route(routes, name, attributes);
}

void PrinterDriver::printAbstractOrderInvoice(const QString& name, const Attributes& attributes) {
    static const Route routes[] = {
        {"customer", &PrinterDriver::printCustomerBlock},
        {"receipe_type", &PrinterDriver::printAbstractOrderRow},
        {"totals", &PrinterDriver::printTaxSummary},
    };
    route(routes, name, attributes);
}

void PrinterDriver::printTaxSummary(const QString&, const Attributes& attributes) {
    setBold();
    println(QString());
    printTotalRow("Taxable", value(attributes, "taxable"));
    printTotalRow("TaxRate", value(attributes, "taxrate"));
    printTotalRow("Tax", value(attributes, "tax"));
    printTotalRow("TOTAL", value(attributes, "total"));
    setCharSize();
}

void PrinterDriver::printFullOrderDelivery(const QString& name, const Attributes& attributes) {
    // The kitchen ticket's variant row: no prices on a delivery note.
    static const Route routes[] = {
        {"customer", &PrinterDriver::printCustomerBlock},
        {"receipe", &PrinterDriver::printDeliveryDishRow},
        {"otherreceipe", &PrinterDriver::printDeliveryDishRow},
        {"variant", &PrinterDriver::printKitchenVariantRow},
    };
    route(routes, name, attributes);
}
