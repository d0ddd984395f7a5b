// The documents a customer pays from: the priced full order, the full-order receipt and the
// abstract-order receipt. Their rows are in printerdriver_rows.cpp.
#include "printerdriver.h"

void PrinterDriver::printFullOrder(const QString& name, const Attributes& attributes) {
    static const Route routes[] = {
        {"customer", &PrinterDriver::printCustomerBlock},
        {"receipe", &PrinterDriver::printFullOrderDishRow},
        {"variant", &PrinterDriver::printPricedVariantRow},
        {"total", &PrinterDriver::printBoldTotalBlock},
    };
    route(routes, name, attributes);
}

void PrinterDriver::printFullOrderReceipt(const QString& name, const Attributes& attributes) {
    static const Route routes[] = {
        {"customer", &PrinterDriver::printCustomerBlock},
        {"receipe", &PrinterDriver::printReceiptDishRow},
        {"total", &PrinterDriver::printTotalBlock},
        {"notPaid", &PrinterDriver::printNotPaidLine},
    };
    route(routes, name, attributes);
}

void PrinterDriver::printAbstractOrderReceipt(const QString& name, const Attributes& attributes) {
    static const Route routes[] = {
        {"receipe_type", &PrinterDriver::printAbstractOrderRow},
        {"total", &PrinterDriver::printTotalBlock},
        {"notPaid", &PrinterDriver::printAbstractNotPaidLine},
    };
    route(routes, name, attributes);
}
