// Order documents: Part 2.6 (kitchen order), Part 2.7 (abstract orders), Part 2.10 (full-order
// receipt) and Part 2.11 (full order). The three full-order documents the spec leaves to the
// implementer are in printerdriver_fullorders.cpp.
#include "printerdriver.h"

namespace {
const QChar kDot(QLatin1Char('.'));
const QChar kBlank(QLatin1Char(' '));
const QString kQd = QStringLiteral("qd");
const QString kQdpt = QStringLiteral("qdpt");
const QString kQxdpt = QStringLiteral("qxdpt");
} // namespace

QString PrinterDriver::variantSign(const QString& quantity) {
    // Part 2.6: a numeric comparison; text that is not a number counts as 0.
    const double number = quantity.toDouble();
    if (number == -1.0 || number == 0.0)
        return QStringLiteral("-");
    if (number == 1.0)
        return QStringLiteral("+");
    return quantity;
}

QString PrinterDriver::variantDescription(const Attributes& attributes) {
    // The sign rule of Part 2.6, then one blank and the name.
    return variantSign(value(attributes, "quantity")) + kBlank + value(attributes, "name");
}

void PrinterDriver::requestDishSize(const QString& name) {
    // Part 2.6: a dish asks for the normal size, an "other dish" for size 1.
    if (name == QLatin1String("receipe"))
        setCharSize();
    else
        setCharSize(1);
}

void PrinterDriver::printKitchenVariantRow(const Attributes& attributes) {
    // Part 2.6: no size request precedes a variant line.
    println(descriptionRow(value(attributes, "number"), variantDescription(attributes), QString(),
                           QString(), kDot, kQd));
}

void PrinterDriver::printPricedHeading() {
    // Printed once per run (Part 2.3): once it has been, its labels are not built again.
    if (!m_oneTimeDone)
        printColumnsHeader(tr("Num"), tr("Description"), tr("Price"), tr("Amount"));
}

void PrinterDriver::printReceiptDishRow(const Attributes& attributes) {
    // Part 2.10: heading request, then count, " x ", name, unit price and amount.
    printPricedHeading();
    println(descriptionRow(value(attributes, "number"), value(attributes, "name"),
                           value(attributes, "price"), value(attributes, "totalPrice"), kDot,
                           kQxdpt));
}

void PrinterDriver::printPricedVariantRow(const Attributes& attributes) {
    // Part 2.11: "qdpt", so the sign stands where " x " stands in a dish row; no heading.
    println(descriptionRow(value(attributes, "number"), variantDescription(attributes),
                           value(attributes, "price"), value(attributes, "totalPrice"), kDot,
                           kQdpt));
}

void PrinterDriver::printPartialOrder(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("orderinfo")) {
        // Never reached: printSections takes "orderinfo" first. Kept as Part 2.6 says.
        setBold();
        println(descriptionRow(tr("Num"), tr("Description"), QString(), QString(), kBlank, kQd));
    } else if (name == QLatin1String("receipe") || name == QLatin1String("otherreceipe")) {
        requestDishSize(name);
        println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                               QString(), kDot, kQd));
    } else if (name == QLatin1String("variant")) {
        printKitchenVariantRow(attributes);
    }
}

void PrinterDriver::printAbstractOrder(const QString&, const Attributes&) {
    // Intentionally empty: not even printSections is consulted (Part 2.7).
}

void PrinterDriver::printAbstractOrderRow(const Attributes& attributes) {
    // The third heading is empty (Part 2.7); the heading prints once per run (Part 2.3).
    // Printed once per run (Part 2.3): once it has been, its labels are not built again.
    if (!m_oneTimeDone)
        printColumnsHeader(tr("Num"), tr("Description"), QString(), tr("Price"));
    println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                           value(attributes, "price"), kDot, kQxdpt));
}

void PrinterDriver::printTotalRow(const char* label, const QString& amount) {
    println(descriptionRow(QString(), tr(label), QString(), amount, kDot, kQdpt));
}

void PrinterDriver::printAbstractOrderReceipt(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("receipe_type")) {
        printAbstractOrderRow(attributes);
    } else if (name == QLatin1String("total")) {
        println(QString());
        printTotalRow("TOTAL", value(attributes, "price"));
    } else if (name == QLatin1String("notPaid")) {
        println(QString());
        // Three leading blanks and an untranslated label (Part 2.7).
        println(QStringLiteral("   Corrispettivo non pagato: ") + value(attributes, "price"));
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

void PrinterDriver::printAbstractOrderFiscal(const QString& name, const Attributes& attributes) {
    // No printSections here (Part 2.7).
    if (name == QLatin1String("receipe_type")) {
        // The quantity is always the text "1": one per sale kind.
        printRowFiscal(value(attributes, "department"), QStringLiteral("1"),
                       value(attributes, "name"), value(attributes, "price"));
    } else if (name == QLatin1String("total")) {
        printRowFiscal(name, attributes);
    }
}

void PrinterDriver::printFullOrderReceipt(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("receipe")) {
        printReceiptDishRow(attributes);
    } else if (name == QLatin1String("total")) {
        println(QString());
        printTotalRow("TOTAL", value(attributes, "price"));
    } else if (name == QLatin1String("notPaid")) {
        println(QString());
        // Four leading blanks and one trailing blank belong to the label (Part 2.10).
        println(tr("    Amount not paid: ") + value(attributes, "price"));
    }
}

void PrinterDriver::printFullOrder(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("receipe")) {
        const QString dish = value(attributes, "name");
        // A dish whose name begins with "=" is skipped, heading request included (Part 2.11).
        if (dish.startsWith(QLatin1Char('=')))
            return;
        printPricedHeading();
        println(descriptionRow(value(attributes, "number"), dish, value(attributes, "price"),
                               value(attributes, "totalPrice"), kDot, kQdpt));
    } else if (name == QLatin1String("variant")) {
        printPricedVariantRow(attributes);
    } else if (name == QLatin1String("total")) {
        println(QString());
        setBold();
        printTotalRow("TOTAL", value(attributes, "price"));
    }
}
