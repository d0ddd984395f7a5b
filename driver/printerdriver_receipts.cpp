// The documents a customer pays from: the priced full order, the full-order receipt and the
// abstract-order receipt. Their rows are in printerdriver_rows.cpp.
#include "printerdriver.h"

void PrinterDriver::printFullOrder(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("customer")) {
        printCustomerHeader(attributes);
    } else if (name == QLatin1String("receipe")) {
        const QString dish = value(attributes, "name");
        // A dish whose name begins with "=" is skipped, heading request included: a leading "=" is
        // how the producing programs mark a dish this document must leave out. Its variants print.
        if (dish.startsWith(QLatin1Char('=')))
            return;
        printColumnsHeaderOnce(ColumnsHeader::Priced);
        println(descriptionRow(value(attributes, "number"), dish, value(attributes, "price"),
                               value(attributes, "totalPrice"), QLatin1Char('.'),
                               QStringLiteral("qdpt")));
    } else if (name == QLatin1String("variant")) {
        printPricedVariantRow(attributes);
    } else if (name == QLatin1String("total")) {
        println(QString());
        setBold();
        printTotalRow("TOTAL", value(attributes, "price"));
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
        // Four leading blanks and one trailing blank belong to the label (and its translation).
        println(tr("    Amount not paid: ") + value(attributes, "price"));
    }
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
        // Three leading blanks and an untranslated label: this receipt has always printed
        // the line in Italian, whatever the catalogue.
        println(QStringLiteral("   Corrispettivo non pagato: ") + value(attributes, "price"));
    }
}
