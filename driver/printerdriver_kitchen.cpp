// The two documents printed on the kitchen order's settings (pastrel.doc.): the kitchen ticket
// (printPartialOrder), which the kitchen reads dish by dish without prices, and the abstract
// order (printAbstractOrder), which prints its head and nothing else.
#include "printerdriver.h"

void PrinterDriver::printPartialOrder(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("orderinfo")) {
        // Unreachable on purpose: printSections() prints the order block for "orderinfo" first,
        // so a kitchen ticket has no Num/Description heading.
        setBold();
        println(descriptionRow(tr("Num"), tr("Description"), QString(), QString(), QLatin1Char(' '),
                               QStringLiteral("qd")));
    } else if (name == QLatin1String("receipe") || name == QLatin1String("otherreceipe")) {
        requestDishSize(name);
        println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                               QString(), QLatin1Char('.'), QStringLiteral("qd")));
    } else if (name == QLatin1String("variant")) {
        printKitchenVariantRow(attributes);
    }
}

void PrinterDriver::printAbstractOrder(const QString&, const Attributes&) {
    // Intentionally empty: not even printSections is consulted. A document with this method
    // prints only the end of the document (feed, cut, drawer).
}
