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
        if (name == QLatin1String("receipe"))
            setCharSize();
        else
            setCharSize(1);
        println(descriptionRow(value(attributes, "number"), value(attributes, "name"), QString(),
                               QString(), kDot, kQd));
    } else if (name == QLatin1String("variant")) {
        const QString description =
            variantSign(value(attributes, "quantity")) + kBlank + value(attributes, "name");
        println(descriptionRow(value(attributes, "number"), description, QString(), QString(), kDot,
                               kQd));
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
        // Printed once per run (Part 2.3): once it has been, its labels are not built again.
        if (!m_oneTimeDone)
            printColumnsHeader(tr("Num"), tr("Description"), tr("Price"), tr("Amount"));
        println(descriptionRow(value(attributes, "number"), value(attributes, "name"),
                               value(attributes, "price"), value(attributes, "totalPrice"), kDot,
                               kQxdpt));
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
        // Printed once per run (Part 2.3): once it has been, its labels are not built again.
        if (!m_oneTimeDone)
            printColumnsHeader(tr("Num"), tr("Description"), tr("Price"), tr("Amount"));
        println(descriptionRow(value(attributes, "number"), dish, value(attributes, "price"),
                               value(attributes, "totalPrice"), kDot, kQdpt));
    } else if (name == QLatin1String("variant")) {
        const QString description =
            variantSign(value(attributes, "quantity")) + kBlank + value(attributes, "name");
        println(descriptionRow(value(attributes, "number"), description, value(attributes, "price"),
                               value(attributes, "totalPrice"), kDot, kQdpt));
    } else if (name == QLatin1String("total")) {
        println(QString());
        setBold();
        printTotalRow("TOTAL", value(attributes, "price"));
    }
}
