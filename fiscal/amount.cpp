#include "amount.h"

namespace fiscal {

bool parseDecimal(const QString& text, int scale, int maxDigits, qint64* units) {
    const QString t = text.trimmed();
    int i = 0;
    bool negative = false;
    if (i < t.size() && t.at(i) == QLatin1Char('-')) {
        negative = true;
        ++i;
    }
    qint64 value = 0;
    int digits = 0;
    for (; i < t.size() && t.at(i).isDigit() && t.at(i).unicode() < 0x80; ++i) {
        if (++digits > maxDigits)
            return false;
        value = value * 10 + (t.at(i).unicode() - '0');
    }
    if (digits == 0)
        return false;
    int decimals = 0;
    if (i < t.size() && (t.at(i) == QLatin1Char('.') || t.at(i) == QLatin1Char(','))) {
        ++i;
        for (; i < t.size() && t.at(i).isDigit() && t.at(i).unicode() < 0x80; ++i) {
            if (++decimals > scale)
                return false;
            value = value * 10 + (t.at(i).unicode() - '0');
        }
        if (decimals == 0)
            return false;
    }
    if (i != t.size())
        return false;
    for (; decimals < scale; ++decimals)
        value *= 10;
    *units = negative ? -value : value;
    return true;
}

QString formatDecimal(qint64 units, int scale, QChar separator) {
    qint64 divisor = 1;
    for (int i = 0; i < scale; ++i)
        divisor *= 10;
    const qint64 magnitude = units < 0 ? -units : units;
    QString text = QString::number(magnitude / divisor);
    if (scale > 0)
        text +=
            separator + QStringLiteral("%1").arg(magnitude % divisor, scale, 10, QLatin1Char('0'));
    return units < 0 ? QLatin1Char('-') + text : text;
}

QString formatQuantity(qint64 thousandths, QChar separator) {
    QString text = formatDecimal(thousandths, kQuantityScale, separator);
    while (text.endsWith(QLatin1Char('0')) && text.contains(separator))
        text.chop(1);
    if (text.endsWith(separator))
        text.chop(1);
    return text;
}

qint64 lineAmount(qint64 quantityThousandths, qint64 unitPriceCents) {
    // Both operands are bounded by the receipt's checks (5 and 7 integer digits), so the product
    // stays far inside 64 bits.
    const qint64 product = quantityThousandths * unitPriceCents;
    return product >= 0 ? (product + 500) / 1000 : -((-product + 500) / 1000);
}

} // namespace fiscal
