// The two documents printed on the kitchen order's settings (pastrel.doc.): the kitchen ticket
// (printPartialOrder), which the kitchen reads dish by dish without prices, and the abstract
// order (printAbstractOrder), which prints its head and nothing else.
#include "printerdriver.h"

void PrinterDriver::printPartialOrder(const QString& name, const Attributes& attributes) {
    static const Route routes[] = {
        // No "orderinfo" row: printSections() prints the order block for it first, so a kitchen
        // ticket has no Num/Description heading.
        {"customer", &PrinterDriver::printCustomerBlock},
        {"receipe", &PrinterDriver::printKitchenDishRow},
        {"otherreceipe", &PrinterDriver::printKitchenDishRow},
        {"variant", &PrinterDriver::printKitchenVariantRow},
    };
    route(routes, name, attributes);
}

void PrinterDriver::printAbstractOrder(const QString&, const Attributes&) {
    // Intentionally empty: not even printSections is consulted. A document with this method
    // prints only the end of the document (feed, cut, drawer).
}
