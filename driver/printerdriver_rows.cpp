// The rows several order documents share: the variant's sign, the dish size request of the
// kitchen, the kitchen's variant row, the priced dish and variant rows of the receipts and
// invoices, the abstract order's row and the total rows.
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

void PrinterDriver::printKitchenVariantRow(const Attributes& attributes) {
    // No size request precedes a variant line.
    println(descriptionRow(value(attributes, "number"), variantDescription(attributes), QString(),
                           QString(), kDot, kQd));
}

void PrinterDriver::printReceiptDishRow(const Attributes& attributes) {
    // Heading request, then count, " x ", name, unit price and amount.
    printColumnsHeaderOnce(ColumnsHeader::Priced);
    println(descriptionRow(value(attributes, "number"), value(attributes, "name"),
                           value(attributes, "price"), value(attributes, "totalPrice"), kDot,
                           kQxdpt));
}

void PrinterDriver::printPricedVariantRow(const Attributes& attributes) {
    // "qdpt", so the sign stands where " x " stands in a dish row; no heading.
    println(descriptionRow(value(attributes, "number"), variantDescription(attributes),
                           value(attributes, "price"), value(attributes, "totalPrice"), kDot,
                           kQdpt));
}

void PrinterDriver::printAbstractOrderRow(const Attributes& attributes) {
    printColumnsHeaderOnce(ColumnsHeader::AbstractOrder);
    println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                           value(attributes, "price"), kDot, kQxdpt));
}

void PrinterDriver::printTotalRow(const char* label, const QString& amount) {
    println(descriptionRow(QString(), tr(label), QString(), amount, kDot, kQdpt));
}
