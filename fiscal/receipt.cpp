#include "receipt.h"

#include "amount.h"

#include <QRegularExpression>

namespace fiscal {

namespace {
constexpr int kMaxPriceDigits = 7;    // up to 9 999 999,99 euro a line
constexpr int kMaxQuantityDigits = 5; // up to 99 999,999 pieces or kilograms
constexpr int kMaxRateDigits = 2;

// Characters every supported RT prints: printable ASCII and the Latin-1 letters of Italian and
// its neighbours (à, è, é, ì, ò, ù, ç, ...). A control character or a symbol outside this set
// would be dropped or replaced on paper, so the legal text would differ from the till's.
bool printable(QChar c) {
    const ushort u = c.unicode();
    return (u >= 0x20 && u < 0x7f) || (u >= 0xc0 && u <= 0xff && u != 0xd7 && u != 0xf7);
}

QString quoted(const QString& text) {
    return QLatin1Char('"') + text + QLatin1Char('"');
}
} // namespace

const char* const ReceiptBuilder::kPaymentAttributes[5] = {"cash", "card", "bancomat", "other",
                                                           "notpaid"};

qint64 Sale::amount() const {
    return lineAmount(quantity, unitPrice);
}

bool DepartmentTable::parse(const QString& text, QString* error) {
    m_byRate.clear();
    const QStringList entries =
        text.split(QRegularExpression(QStringLiteral("[\\s;]+|,\\s+")), Qt::SkipEmptyParts);
    for (const QString& entry : entries) {
        const QString rate = entry.section(QLatin1Char('='), 0, 0).remove(QLatin1Char('%'));
        const QString reparto = entry.section(QLatin1Char('='), 1);
        qint64 hundredths = 0;
        bool ok = false;
        const int department = reparto.toInt(&ok, 10);
        if (!entry.contains(QLatin1Char('=')) ||
            !parseDecimal(rate, 2, kMaxRateDigits, &hundredths) || hundredths < 0 || !ok ||
            department < 1 || department > 99) {
            *error = QStringLiteral("pastrel.fiscal.departments: %1 is not RATE=REPARTO "
                                    "(a VAT rate and a reparto 1-99)")
                         .arg(quoted(entry));
            return false;
        }
        m_byRate.insert(hundredths, department);
    }
    return true;
}

bool DepartmentTable::department(const QString& text, int* department, QString* error) const {
    const QString t = text.trimmed();
    if (t.endsWith(QLatin1Char('%'))) {
        qint64 hundredths = 0;
        if (!parseDecimal(t.chopped(1), 2, kMaxRateDigits, &hundredths) || hundredths < 0) {
            *error = QStringLiteral("the VAT rate %1 is not a rate").arg(quoted(text));
            return false;
        }
        if (!m_byRate.contains(hundredths)) {
            *error = QStringLiteral("the VAT rate %1 has no reparto in "
                                    "pastrel.fiscal.departments")
                         .arg(quoted(text));
            return false;
        }
        *department = m_byRate.value(hundredths);
        return true;
    }
    bool ok = false;
    const int value = t.toInt(&ok, 10);
    if (!ok || value < 1 || value > 99 || t.startsWith(QLatin1Char('+'))) {
        *error = QStringLiteral("the department %1 is not a reparto 1-99 nor a VAT rate such as "
                                "\"22%\"")
                     .arg(quoted(text));
        return false;
    }
    *department = value;
    return true;
}

bool DepartmentTable::rateOf(int department, qint64* rate) const {
    for (auto it = m_byRate.cbegin(); it != m_byRate.cend(); ++it) {
        if (it.value() == department) {
            *rate = it.key();
            return true;
        }
    }
    return false;
}

void ReceiptBuilder::fail(const QString& reason) {
    if (m_error.isEmpty())
        m_error = reason;
}

void ReceiptBuilder::addSale(const QString& department, const QString& quantity,
                             const QString& description, const QString& price) {
    m_started = true;
    const QString row = QStringLiteral("sale %1 (%2): ").arg(++m_rows).arg(quoted(description));
    if (m_closed) {
        fail(row + QStringLiteral("comes after the total"));
        return;
    }
    if (m_receipt.sales.size() >= kMaxSales) {
        fail(QStringLiteral("the receipt has more than %1 sales").arg(kMaxSales));
        return;
    }
    Sale sale;
    QString why;
    if (!m_departments.department(department, &sale.department, &why))
        fail(row + why);
    if (!parseDecimal(quantity, kQuantityScale, kMaxQuantityDigits, &sale.quantity) ||
        sale.quantity <= 0)
        fail(row + QStringLiteral("the quantity %1 is not a positive number with at most 3 "
                                  "decimals")
                       .arg(quoted(quantity)));
    if (!parseDecimal(price, kCentsScale, kMaxPriceDigits, &sale.unitPrice) || sale.unitPrice < 0)
        fail(row + QStringLiteral("the price %1 is not an amount in euro with at most 2 decimals")
                       .arg(quoted(price)));
    if (description.size() > kMaxDescription)
        fail(row + QStringLiteral("the description is longer than the RT's %1 characters")
                       .arg(kMaxDescription));
    for (const QChar c : description) {
        if (!printable(c)) {
            fail(row + QStringLiteral("the description holds the character U+%1, which the RT "
                                      "cannot print")
                           .arg(c.unicode(), 4, 16, QLatin1Char('0')));
            break;
        }
    }
    sale.description = description;
    m_receipt.sales.append(sale);
}

void ReceiptBuilder::close(const QXmlStreamAttributes& attributes) {
    m_started = true;
    if (m_closed) {
        fail(QStringLiteral("the document has a second total"));
        return;
    }
    m_closed = true;
    const QString price = attributes.value(QLatin1String("price")).toString();
    if (!parseDecimal(price, kCentsScale, kMaxPriceDigits + 2, &m_receipt.total) ||
        m_receipt.total <= 0)
        fail(QStringLiteral("the total's price %1 is not a positive amount in euro with at most "
                            "2 decimals")
                 .arg(quoted(price)));
    for (int kind = 0; kind < 5; ++kind) {
        const QLatin1String name(kPaymentAttributes[kind]);
        if (!attributes.hasAttribute(name))
            continue;
        const QString text = attributes.value(name).toString();
        Payment payment{static_cast<PaymentKind>(kind), 0};
        if (!parseDecimal(text, kCentsScale, kMaxPriceDigits + 2, &payment.amount) ||
            payment.amount < 0) {
            fail(QStringLiteral("the payment %1=%2 is not an amount in euro with at most 2 "
                                "decimals")
                     .arg(name, quoted(text)));
            continue;
        }
        if (payment.amount > 0)
            m_receipt.payments.append(payment);
    }
    const QString lottery = attributes.value(QLatin1String("lottery")).toString().trimmed();
    if (!lottery.isEmpty() &&
        !QRegularExpression(QStringLiteral("^[A-Z0-9]{8}$")).match(lottery).hasMatch())
        fail(QStringLiteral("the lottery code %1 is not 8 capital letters and digits")
                 .arg(quoted(lottery)));
    m_receipt.lotteryCode = lottery;
    const QString customer = attributes.value(QLatin1String("customer")).toString().trimmed();
    if (!customer.isEmpty() && !QRegularExpression(QStringLiteral("^([A-Z0-9]{16}|[0-9]{11})$"))
                                    .match(customer)
                                    .hasMatch())
        fail(QStringLiteral("the customer %1 is neither a tax code (16 capital letters and "
                            "digits) nor a VAT number (11 digits)")
                 .arg(quoted(customer)));
    m_receipt.customerId = customer;
    if (!lottery.isEmpty() && !customer.isEmpty())
        fail(QStringLiteral("a receipt takes a lottery code or a customer's tax code, not both"));
}

bool ReceiptBuilder::finish(Receipt* receipt, QString* error) const {
    QString reason = m_error;
    qint64 sum = 0;
    bool anySale = false;
    for (const Sale& sale : m_receipt.sales) {
        sum += sale.amount();
        anySale = anySale || sale.unitPrice > 0;
    }
    if (reason.isEmpty() && !anySale)
        reason = QStringLiteral("the receipt has no sale with a price");
    if (reason.isEmpty() && !m_closed)
        reason = QStringLiteral("the document has no total");
    if (reason.isEmpty() && sum != m_receipt.total)
        reason = QStringLiteral("the sales add up to %1, the total says %2")
                     .arg(formatDecimal(sum, kCentsScale, QLatin1Char('.')),
                          formatDecimal(m_receipt.total, kCentsScale, QLatin1Char('.')));
    Receipt result = m_receipt;
    if (reason.isEmpty()) {
        if (result.payments.isEmpty())
            result.payments.append(Payment{PaymentKind::Cash, result.total});
        qint64 paid = 0;
        qint64 notCash = 0;
        for (const Payment& payment : result.payments) {
            paid += payment.amount;
            if (payment.kind != PaymentKind::Cash)
                notCash += payment.amount;
        }
        // Cash may exceed the total (the RT prints the change); nothing else may.
        if (paid < result.total)
            reason = QStringLiteral("the payments add up to %1, less than the total %2")
                         .arg(formatDecimal(paid, kCentsScale, QLatin1Char('.')),
                              formatDecimal(result.total, kCentsScale, QLatin1Char('.')));
        else if (notCash > result.total)
            reason = QStringLiteral("the payments other than cash add up to %1, more than the "
                                    "total %2")
                         .arg(formatDecimal(notCash, kCentsScale, QLatin1Char('.')),
                              formatDecimal(result.total, kCentsScale, QLatin1Char('.')));
    }
    if (!reason.isEmpty()) {
        *error = reason;
        return false;
    }
    *receipt = result;
    return true;
}

} // namespace fiscal
