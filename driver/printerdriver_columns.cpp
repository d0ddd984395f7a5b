// The column layout of the order documents: descriptionRow and its modes, the column heading
// (printed once per run) and the separator line.
#include "printerdriver.h"

namespace {

// The three justification primitives. Widths stay int: a negative width returns the text whole
// (QString semantics), which is what a description column narrower than nothing prints.
QString rightJustify(const QString& text, int width, QChar fill) {
    return text.rightJustified(width, fill, false);
}

QString leftJustify(const QString& text, int width, QChar fill) {
    return text.leftJustified(width, fill, false);
}

QString cut(const QString& text, int width) {
    return text.left(width);
}

// The description column: padded when short, cut when long, exactly width cells wide
// (or the whole text when width is negative).
QString descriptionColumn(const QString& text, int width, QChar fill) {
    return cut(leftJustify(text, width, fill), width);
}

} // namespace

QString PrinterDriver::descriptionRow(const QString& first, const QString& second,
                                      const QString& third, const QString& fourth,
                                      const QChar& fill, const QString& mode) {
    const int w = m_paperWidth;
    const int wq = m_quantityFieldWidth;
    const int wp = m_priceFieldWidth;
    const int wt = m_totalPriceFieldWidth;
    const QChar space(QLatin1Char(' '));

    if (mode == QLatin1String("qdpt")) {
        const int d = w - wq - wp - wt - 1;
        return rightJustify(first, wq, space) + space + descriptionColumn(second, d, fill) +
               rightJustify(third, wp, fill) + rightJustify(fourth, wt, space);
    }
    if (mode == QLatin1String("qxdpt")) {
        const int d = w - wq - wp - wt - 3;
        return rightJustify(first, wq, space) + QLatin1String(" x ") +
               descriptionColumn(second, d, fill) + rightJustify(third, wp, fill) +
               rightJustify(fourth, wt, space);
    }
    if (mode == QLatin1String("qxdtDoubleLine")) {
        // Two lines in one text, printed by one println.
        const int d = w - wt;
        return first + QLatin1String(" x ") + third + QLatin1Char('\n') +
               descriptionColumn(second, d, fill) + rightJustify(fourth, wt, fill);
    }
    if (mode == QLatin1String("qxd")) {
        const int d = w - wq - 3;
        return rightJustify(first, wq, space) + QLatin1String(" x ") +
               descriptionColumn(second, d, fill);
    }
    if (mode == QLatin1String("qd")) {
        // Ignores fill and reserves three cells for a one-cell separator: two cells short
        // of the paper width. Kitchen tickets have always been this narrow; kept.
        const int d = w - wq - 3;
        return rightJustify(first, wq, space) + space + descriptionColumn(second, d, space);
    }
    if (mode == QLatin1String("date-amount-type")) {
        // Fixed 15-cell first column, 3 cells reserved and never filled, fourth text ignored:
        // three cells short of the paper width, as statements have always printed.
        const int d = w - 15 - wp - 3;
        return leftJustify(first, 15, space) + descriptionColumn(second, d, fill) +
               rightJustify(third, wp, fill);
    }
    return QString(); // unknown mode: the caller prints an empty line
}

void PrinterDriver::printColumnsHeader(const QString& quantity, const QString& description,
                                       const QString& price, const QString& total) {
    // Shares the run's one-time flag with oneTime(): at most once per run, so a receipt has one
    // heading however many dishes it lists.
    if (m_oneTimeDone)
        return;
    m_oneTimeDone = true;
    setBold();
    println(descriptionRow(quantity, description, price, total, QLatin1Char(' '),
                           QStringLiteral("qdpt")));
    setCharSize();
}

void PrinterDriver::printColumnsHeaderOnce(ColumnsHeader kind) {
    // Once it has been printed, its labels are not even looked up again.
    if (m_oneTimeDone)
        return;
    switch (kind) {
    case ColumnsHeader::Priced:
        printColumnsHeader(tr("Num"), tr("Description"), tr("Price"), tr("Amount"));
        break;
    case ColumnsHeader::AbstractOrder:
        printColumnsHeader(tr("Num"), tr("Description"), QString(), tr("Price"));
        break;
    case ColumnsHeader::Unpriced:
        printColumnsHeader(tr("Num"), tr("Description"), QString(), QString());
        break;
    }
}

void PrinterDriver::printSeparatorLine() {
    println(QString().leftJustified(m_paperWidth, QLatin1Char('=')));
}
