// The reports and lists: the daily summary report, the list of sold items and a customer's
// statement of account.
#include "printerdriver.h"

namespace {

QString right(const QString& text, int width) {
    return text.rightJustified(width, QLatin1Char(' '), false);
}

QString left(const QString& text, int width) {
    return text.leftJustified(width, QLatin1Char(' '), false);
}

// An attribute read by position; past the last one it is an empty cell.
QString attributeAt(const QXmlStreamAttributes& attributes, qsizetype index) {
    return index < attributes.size() ? attributes.at(index).value().toString() : QString();
}

} // namespace

void PrinterDriver::printReportTitle(const char* title) {
    setBold();
    setCenterJustify();
    println(QString());
    println(tr(title));
    setCharSize();
    println(QString());
}

QString PrinterDriver::dottedLabel(const QString& label) {
    // Left-justified to W - 15 with dots, never truncated.
    return label.leftJustified(m_paperWidth - 15, QLatin1Char('.'), false);
}

void PrinterDriver::printDottedLine(const char* label, const QString& text) {
    print(0, dottedLabel(tr(label)));
    println(text);
}

void PrinterDriver::printSerialsLine(const Attributes& attributes) {
    print(0, dottedLabel(tr("Serials")));
    print(0, value(attributes, "firstserial"));
    print(0, QStringLiteral(" - "));
    println(value(attributes, "lastserial"));
}

void PrinterDriver::printReport(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name == QLatin1String("date")) {
        // Unlike the section titles, the empty line after the title is still centred.
        setBold();
        setCenterJustify();
        println(QString());
        println(tr("SUMMARIES"));
        println(QString());
        setCharSize();
        print(0, tr("BeginDate: "));
        println(value(attributes, "begindate"));
        print(0, tr("EndDate: "));
        println(value(attributes, "enddate"));
    } else if (name == QLatin1String("prefiscalssummary")) {
        printReportTitle("PREFISCAL SUMMARY");
        printDottedLine("Number", value(attributes, "number"));
        printDottedLine("TOTAL", value(attributes, "total"));
    } else if (name == QLatin1String("receiptssummary")) {
        printReportTitle("RECEIPTS SUMMARY");
        printDottedLine("Number", value(attributes, "number"));
        printSerialsLine(attributes);
        // Payment lines: always printed, labels not padded.
        println(tr("Amount not paid: ") + value(attributes, "notPaid"));
        println(tr("Cash: ") + value(attributes, "cash"));
        println(tr("Credit Card: ") + value(attributes, "creditCard"));
        println(tr("Bancomat: ") + value(attributes, "bancomat"));
        println(tr("Other: ") + value(attributes, "other"));
        printDottedLine("TOTAL", value(attributes, "total"));
        println(QString());
        printSeparatorLine();
        // The tax-rate heading: 39 characters, no trailing blank.
        println(right(tr("TAXRATE"), 6) + QLatin1Char(' ') + right(tr("TAXABLE"), 10) +
                QLatin1Char(' ') + right(tr("TAX"), 10) + QLatin1Char(' ') +
                right(tr("AMOUNT"), 10));
    } else if (name == QLatin1String("taxrate_item")) {
        // One column wider than its heading and ending in a blank: 41 characters, deliberately.
        println(right(value(attributes, "taxrate"), 6) + QLatin1String("% ") +
                right(value(attributes, "taxable"), 10) + QLatin1Char(' ') +
                right(value(attributes, "tax"), 10) + QLatin1Char(' ') +
                right(value(attributes, "amount"), 10) + QLatin1Char(' '));
    } else if (name == QLatin1String("invoicessummary")) {
        // The only section that opens with its own separator: it closes the tax-rate table.
        printSeparatorLine();
        println(QString());
        printReportTitle("INVOICES SUMMARY");
        printDottedLine("Number", value(attributes, "number"));
        printSerialsLine(attributes);
        printDottedLine("Taxable", value(attributes, "taxable"));
        printDottedLine("Tax", value(attributes, "tax"));
        printDottedLine("TOTAL", value(attributes, "total"));
    } else if (name == QLatin1String("cancelledsummary")) {
        printReportTitle("CANCELLED DOC SUMMARY");
        printDottedLine("Number", value(attributes, "number"));
        printDottedLine("TOTAL", value(attributes, "totals")); // plural, in this element only
        setBold();
        println(QString());
        print(0, left(tr("SERIAL"), 10));
        print(0, left(tr("TOTAL"), 11));
        println(left(tr("TAXRATE"), 10));
        // Groups of three attributes by position from the third on; only the first index of
        // a group is tested, so an incomplete last group prints empty cells.
        for (qsizetype i = 2; i < attributes.size(); i += 3) {
            print(0, left(attributeAt(attributes, i), 10));
            print(0, left(attributeAt(attributes, i + 1), 11));
            println(left(attributeAt(attributes, i + 2), 10));
        }
    }
}

void PrinterDriver::printSold(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    if (name != QLatin1String("receipe"))
        return;
    setBold();
    // The unit-price position is deliberately empty: the list counts sales, not prices.
    println(descriptionRow(value(attributes, "quantity"), value(attributes, "description"),
                           QString(), value(attributes, "amount"), QLatin1Char('.'),
                           QStringLiteral("qxdpt")));
    setCharSize();
}

void PrinterDriver::printStatementOfAccount(const QString& name, const Attributes& attributes) {
    if (printSections(name, attributes))
        return;
    const QString mode = QStringLiteral("date-amount-type");
    if (name == QLatin1String("statement_list")) {
        setBold();
        println(descriptionRow(tr("Date"), tr("Description"), tr("Amount"), QString(),
                               QLatin1Char(' '), mode));
        reset();
    } else if (name == QLatin1String("statement")) {
        // The movement code is a source text of the catalogue, looked up as 8-bit text:
        // characters above U+00FF become "?", as the suite's catalogues have always been keyed.
        const QByteArray type = QString::fromLatin1(value(attributes, "type").toLatin1()).toUtf8();
        const QString kind = tr(type.constData());
        println(descriptionRow(value(attributes, "date") + QLatin1String(": "), kind,
                               value(attributes, "amount"), QString(), QLatin1Char('.'), mode));
    }
}
