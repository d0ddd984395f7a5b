// Amounts and quantities of a fiscal receipt as exact decimals: a whole number of the smallest
// unit (cents of a price, thousandths of a quantity), never a floating-point number, so that the
// sales always add up to the total the RT prints and files with the tax agency.
#pragma once

#include <QChar>
#include <QString>

namespace fiscal {

constexpr int kCentsScale = 2;    // prices and payments: 12.50 is 1250
constexpr int kQuantityScale = 3; // quantities: 1.5 kg is 1500

// Reads a decimal as the suite writes it ("12", "12.5", "12.50"; a decimal comma is taken too)
// into units of 10^-scale. Refuses anything else: blanks inside, a sign other than a leading
// "-", more decimals than the scale holds (12.505 is not a price), more than maxDigits digits
// before the separator, an empty text. Surrounding blanks are ignored.
bool parseDecimal(const QString& text, int scale, int maxDigits, qint64* units);

// units as text with every decimal of the scale ("12,50" with a comma separator).
QString formatDecimal(qint64 units, int scale, QChar separator);

// A quantity as the RTs take it: whole quantities without decimals ("2"), others with their
// significant decimals only ("1,5").
QString formatQuantity(qint64 thousandths, QChar separator);

// The amount of a sale line in cents: quantity times unit price, rounded half up to the cent,
// as the RT rounds it.
qint64 lineAmount(qint64 quantityThousandths, qint64 unitPriceCents);

} // namespace fiscal
