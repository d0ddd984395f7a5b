// Receipt: the fiscal receipt (documento commerciale) as the RT will issue it, built from the
// renderer's fiscal hooks: one sale per printRowFiscal(department, quantity, description, price),
// closed by printRowFiscal("total", attributes). Everything is checked here, before anything
// reaches the RT: a wrong legal document is worse than none, so one bad row refuses the whole
// receipt and the reason says which row and why.
#pragma once

#include <QMap>
#include <QString>
#include <QVector>
#include <QXmlStreamAttributes>

namespace fiscal {

// The longest sale description every supported RT prints on one line.
constexpr int kMaxDescription = 38;
// The most sale lines one receipt takes; a longer document is refused, not cut.
constexpr int kMaxSales = 500;

struct Sale {
    int department = 0;    // the RT's reparto, 1-99
    qint64 quantity = 0;   // thousandths
    QString description;   // at most kMaxDescription characters the RT can print
    qint64 unitPrice = 0;  // cents; 0 is a free line (a variant at no charge), printed as a message
    qint64 amount() const; // quantity times unit price, in cents
};

enum class PaymentKind { Cash, Card, Bancomat, Other, NotPaid };

struct Payment {
    PaymentKind kind = PaymentKind::Cash;
    qint64 amount = 0; // cents
};

struct Receipt {
    QVector<Sale> sales;
    QVector<Payment> payments; // in the order cash, card, bancomat, other, not paid
    qint64 total = 0;          // cents, as the document's total gives it
    QString lotteryCode;       // the customer's lottery code, or empty
    QString customerId;        // the customer's tax code or VAT number, or empty
};

// The VAT-rate table pastrel.fiscal.departments: "22=1, 10=2, 4=3, 0=4" maps a sale whose
// department is given as a rate ("22%") to the RT's reparto.
class DepartmentTable {
public:
    // False with error set when the text is not such a table (an empty text is an empty table).
    bool parse(const QString& text, QString* error);
    // The reparto of a document's department text: a number 1-99 as it stands, or a rate
    // ("10%", "22,0%") looked up in the table. False with error set otherwise.
    bool department(const QString& text, int* department, QString* error) const;
    // The VAT rate (hundredths of a percent) the table maps to department; false when none.
    bool rateOf(int department, qint64* rate) const;

private:
    QMap<qint64, int> m_byRate; // rate in hundredths of a percent -> reparto
};

class ReceiptBuilder {
public:
    explicit ReceiptBuilder(const DepartmentTable& departments) : m_departments(departments) {}

    // One sale: the four texts of printRowFiscal as the document gives them.
    void addSale(const QString& department, const QString& quantity, const QString& description,
                 const QString& price);
    // The total element: its price, payments, lottery code and customer.
    void close(const QXmlStreamAttributes& attributes);

    // True when at least one hook was called: the document is a fiscal receipt.
    bool started() const { return m_started; }
    // The receipt, when every check passed; else false and error says why, in words.
    bool finish(Receipt* receipt, QString* error) const;

    // The attribute names of the total element, in the order the payments are made.
    static const char* const kPaymentAttributes[5];

private:
    void fail(const QString& reason);

    DepartmentTable m_departments;
    Receipt m_receipt;
    QString m_error;
    bool m_started = false;
    bool m_closed = false;
    int m_rows = 0;
};

} // namespace fiscal
