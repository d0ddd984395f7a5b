// The blocks the order documents print for their elements, each written once: the customer block,
// the dish and variant rows of the kitchen ticket, the receipts, the invoices and the delivery
// note, the abstract order's row, the total and not-paid lines. Which document prints which is
// the routing table of each layout (printerdriver_kitchen.cpp, _receipts.cpp, _invoices.cpp).
#include "printerdriver.h"

namespace {
const QChar kDot(QLatin1Char('.'));
const QChar kBlank(QLatin1Char(' '));
const QString kQd = QStringLiteral("qd");
const QString kQdpt = QStringLiteral("qdpt");
const QString kQxdpt = QStringLiteral("qxdpt");
} // namespace

QString PrinterDriver::variantSign(const QString& quantity) {
    // A numeric comparison; text that is not a number counts as 0. "-1" and "0" mean "without",
    // "1" means "with"; any other count is printed as it is.
    const double number = quantity.toDouble();
    if (number == -1.0 || number == 0.0)
        return QStringLiteral("-");
    if (number == 1.0)
        return QStringLiteral("+");
    return quantity;
}

QString PrinterDriver::variantDescription(const Attributes& attributes) {
    // The sign, then one blank and the name.
    return variantSign(value(attributes, "quantity")) + kBlank + value(attributes, "name");
}

void PrinterDriver::requestDishSize(const QString& name) {
    // A dish asks for the normal size, an "other dish" for size 1.
    if (name == QLatin1String("receipe"))
        setCharSize();
    else
        setCharSize(1);
}

void PrinterDriver::printCustomerBlock(const QString&, const Attributes& attributes) {
    printCustomerHeader(attributes);
}

void PrinterDriver::printKitchenDishRow(const QString& name, const Attributes& attributes) {
    requestDishSize(name);
    println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                           QString(), kDot, kQd));
}

void PrinterDriver::printKitchenVariantRow(const QString&, const Attributes& attributes) {
    // No size request precedes a variant line.
    println(descriptionRow(value(attributes, "number"), variantDescription(attributes), QString(),
                           QString(), kDot, kQd));
}

void PrinterDriver::printFullOrderDishRow(const QString&, const Attributes& attributes) {
    const QString dish = value(attributes, "name");
    // A dish whose name begins with "=" is skipped, heading request included: a leading "=" is
    // how the producing programs mark a dish this document must leave out. Its variants print.
    if (dish.startsWith(QLatin1Char('=')))
        return;
    printColumnsHeaderOnce(ColumnsHeader::Priced);
    println(descriptionRow(value(attributes, "number"), dish, value(attributes, "price"),
                           value(attributes, "totalPrice"), kDot, kQdpt));
}

void PrinterDriver::printReceiptDishRow(const QString&, const Attributes& attributes) {
    // Heading request, then count, " x ", name, unit price and amount.
    printColumnsHeaderOnce(ColumnsHeader::Priced);
    println(descriptionRow(value(attributes, "number"), value(attributes, "name"),
                           value(attributes, "price"), value(attributes, "totalPrice"), kDot,
                           kQxdpt));
}

void PrinterDriver::printDeliveryDishRow(const QString& name, const Attributes& attributes) {
    // No prices on a delivery note: empty price and amount headings.
    printColumnsHeaderOnce(ColumnsHeader::Unpriced);
    requestDishSize(name); // the size requests of the kitchen ticket
    // Blank fill: dots leading to no amount would only waste ink.
    println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                           QString(), kBlank, QStringLiteral("qxd")));
}

void PrinterDriver::printPricedVariantRow(const QString&, const Attributes& attributes) {
    // "qdpt", so the sign stands where " x " stands in a dish row; no heading.
    println(descriptionRow(value(attributes, "number"), variantDescription(attributes),
                           value(attributes, "price"), value(attributes, "totalPrice"), kDot,
                           kQdpt));
}

void PrinterDriver::printAbstractOrderRow(const QString&, const Attributes& attributes) {
    printColumnsHeaderOnce(ColumnsHeader::AbstractOrder);
    println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                           value(attributes, "price"), kDot, kQxdpt));
}

void PrinterDriver::printTotalBlock(const QString&, const Attributes& attributes) {
    println(QString());
    printTotalRow("TOTAL", value(attributes, "price"));
}

void PrinterDriver::printBoldTotalBlock(const QString&, const Attributes& attributes) {
    println(QString());
    setBold();
    printTotalRow("TOTAL", value(attributes, "price"));
}

void PrinterDriver::printNotPaidLine(const QString&, const Attributes& attributes) {
    println(QString());
    // Four leading blanks and one trailing blank belong to the label (and its translation).
    println(tr("    Amount not paid: ") + value(attributes, "price"));
}

void PrinterDriver::printAbstractNotPaidLine(const QString&, const Attributes& attributes) {
    println(QString());
    // Three leading blanks and an untranslated label: this receipt has always printed the line
    // in Italian, whatever the catalogue.
    println(QStringLiteral("   Corrispettivo non pagato: ") + value(attributes, "price"));
}

void PrinterDriver::printTotalRow(const char* label, const QString& amount) {
    println(descriptionRow(QString(), tr(label), QString(), amount, kDot, kQdpt));
}
