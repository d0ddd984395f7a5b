#include "rtprotocol.h"

#include "amount.h"

#include <QXmlStreamReader>

namespace fiscal {

namespace {

const char kXmlHead[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const char kEnvelopeOpen[] = "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\">\n"
                             "<s:Body>\n";
const char kEnvelopeClose[] = "</s:Body>\n</s:Envelope>\n";

// The RT's payment types (both dialects number them alike) and the Epson card index, which
// tells a credit card from a debit card (bancomat) on the receipt and in the day's totals.
struct PaymentCode {
    const char* description;
    int type;
    int index;
};
const PaymentCode kPaymentCodes[] = {
    {"CONTANTI", 0, 1},         // cash
    {"CARTA DI CREDITO", 2, 1}, // card
    {"BANCOMAT", 2, 2},         // bancomat
    {"ALTRO", 1, 1},            // other: the RT's non-cash, non-card tender
    {"NON RISCOSSO", 5, 1},     // not paid
};

// Printed with printRecMessage: the customer's code after the payments, and a free line (a
// variant at no charge) among the sales.
const char kMessageSaleLine[] = "1";
const char kMessageCustomer[] = "3";

const char* fontCode(Font font) {
    switch (font) {
    case Font::Bold:
        return "2";
    case Font::Tall:
        return "4";
    case Font::Normal:
        break;
    }
    return "1";
}

QString escaped(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '&':
            out += QLatin1String("&amp;");
            break;
        case '<':
            out += QLatin1String("&lt;");
            break;
        case '>':
            out += QLatin1String("&gt;");
            break;
        case '"':
            out += QLatin1String("&quot;");
            break;
        default:
            out += c < QChar(0x20) ? QChar(0x20) : c;
        }
    }
    return out;
}

// Writes one request: the element tree, one element a line, indented by two blanks a level.
class Writer {
public:
    explicit Writer(Dialect dialect) : m_dialect(dialect) {
        m_text = QLatin1String(kXmlHead);
        if (m_dialect == Dialect::Epson)
            m_text += QLatin1String(kEnvelopeOpen);
    }
    QChar separator() const {
        return m_dialect == Dialect::Epson ? QLatin1Char(',') : QLatin1Char('.');
    }
    QString amount(qint64 cents) const { return formatDecimal(cents, kCentsScale, separator()); }
    void open(const char* name) {
        indent();
        m_text += QLatin1Char('<') + QLatin1String(name) + QLatin1String(">\n");
        ++m_depth;
    }
    void close(const char* name) {
        --m_depth;
        indent();
        m_text += QLatin1String("</") + QLatin1String(name) + QLatin1String(">\n");
    }
    // An empty element; withOperator adds the Epson operator before the given attributes.
    void element(const char* name,
                 std::initializer_list<std::pair<const char*, QString>> attributes,
                 bool withOperator = true) {
        indent();
        m_text += QLatin1Char('<') + QLatin1String(name);
        if (withOperator && m_dialect == Dialect::Epson)
            m_text +=
                QLatin1String(" operator=\"") + QString::number(m_operator) + QLatin1Char('"');
        for (const auto& attribute : attributes)
            m_text += QLatin1Char(' ') + QLatin1String(attribute.first) + QLatin1String("=\"") +
                      escaped(attribute.second) + QLatin1Char('"');
        m_text += QLatin1String("/>\n");
    }
    void setOperator(int operatorId) { m_operator = operatorId; }
    QByteArray finish() {
        if (m_dialect == Dialect::Epson)
            m_text += QLatin1String(kEnvelopeClose);
        return m_text.toUtf8();
    }
    Dialect dialect() const { return m_dialect; }

private:
    void indent() {
        const int base = m_dialect == Dialect::Epson ? 1 : 0; // inside the SOAP body
        m_text += QString(2 * (m_depth + base), QLatin1Char(' '));
    }
    Dialect m_dialect;
    QString m_text;
    int m_depth = 0;
    int m_operator = 1;
};

} // namespace

QByteArray requestPath(Dialect dialect, int timeoutMs) {
    if (dialect == Dialect::Custom)
        return QByteArrayLiteral("/xml/printer.htm");
    return QByteArrayLiteral("/cgi-bin/fpmate.cgi?devid=local_printer&timeout=") +
           QByteArray::number(timeoutMs);
}

QByteArray contentType(Dialect dialect) {
    return dialect == Dialect::Epson ? QByteArrayLiteral("text/xml; charset=utf-8")
                                     : QByteArrayLiteral("text/xml");
}

QByteArray receiptRequest(Dialect dialect, const Receipt& receipt, int operatorId) {
    Writer w(dialect);
    w.setOperator(operatorId);
    const bool epson = dialect == Dialect::Epson;
    w.open("printerFiscalReceipt");
    w.element("beginFiscalReceipt", {});
    if (!epson && !receipt.lotteryCode.isEmpty())
        w.element("setLotteryCode", {{"code", receipt.lotteryCode}});
    for (const Sale& sale : receipt.sales) {
        if (sale.unitPrice == 0) {
            w.element("printRecMessage", {{"messageType", QLatin1String(kMessageSaleLine)},
                                          {"message", sale.description}});
            continue;
        }
        w.element("printRecItem", {{"description", sale.description},
                                   {"quantity", formatQuantity(sale.quantity, w.separator())},
                                   {"unitPrice", w.amount(sale.unitPrice)},
                                   {"department", QString::number(sale.department)}});
    }
    if (epson && !receipt.lotteryCode.isEmpty())
        w.element("printRecLotteryID", {{"code", receipt.lotteryCode}});
    for (const Payment& payment : receipt.payments) {
        const PaymentCode& code = kPaymentCodes[static_cast<int>(payment.kind)];
        if (epson)
            w.element("printRecTotal", {{"description", QLatin1String(code.description)},
                                        {"payment", w.amount(payment.amount)},
                                        {"paymentType", QString::number(code.type)},
                                        {"index", QString::number(code.index)}});
        else
            w.element("printRecTotal", {{"description", QLatin1String(code.description)},
                                        {"payment", w.amount(payment.amount)},
                                        {"paymentType", QString::number(code.type)}});
    }
    if (!receipt.customerId.isEmpty())
        w.element("printRecMessage", {{"messageType", QLatin1String(kMessageCustomer)},
                                      {"message", receipt.customerId}});
    w.element(epson ? "endFiscalReceipt" : "endFiscalReceiptCut", {});
    w.close("printerFiscalReceipt");
    return w.finish();
}

QByteArray nonFiscalRequest(Dialect dialect, const QVector<TextLine>& lines, int operatorId) {
    Writer w(dialect);
    w.setOperator(operatorId);
    w.open("printerNonFiscal");
    w.element("beginNonFiscal", {});
    for (const TextLine& line : lines)
        w.element("printNormal", {{"font", QLatin1String(fontCode(line.font))},
                                  // An empty data attribute is refused by some RTs: a blank line is
                                  // one blank.
                                  {"data", line.text.isEmpty() ? QStringLiteral(" ") : line.text}});
    w.element("endNonFiscal", {});
    w.close("printerNonFiscal");
    return w.finish();
}

QByteArray reportRequest(Dialect dialect, Report report, int operatorId, int timeoutMs) {
    Writer w(dialect);
    w.open("printerFiscalReport");
    if (report == Report::Closure)
        w.element(
            "printZReport",
            {{"operator", QString::number(operatorId)}, {"timeout", QString::number(timeoutMs)}},
            false);
    else
        w.element("printXReport", {{"operator", QString::number(operatorId)}}, false);
    w.close("printerFiscalReport");
    return w.finish();
}

QByteArray statusRequest(Dialect dialect, int operatorId) {
    Writer w(dialect);
    w.setOperator(operatorId);
    w.open("printerCommand");
    if (dialect == Dialect::Epson)
        w.element("queryPrinterStatus", {{"statusType", QStringLiteral("1")}});
    else
        w.element("queryPrinterStatus", {});
    w.close("printerCommand");
    return w.finish();
}

Answer parseAnswer(const QByteArray& body) {
    Answer answer;
    QXmlStreamReader reader(body);
    bool inResponse = false;
    bool inInfo = false;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement) {
            const QStringView name = reader.name();
            if (!inResponse && name == QLatin1String("response")) {
                inResponse = true;
                answer.parsed = true;
                const QXmlStreamAttributes attributes = reader.attributes();
                answer.success =
                    attributes.value(QLatin1String("success")) == QLatin1String("true");
                answer.code = attributes.value(QLatin1String("code")).toString();
                answer.status = attributes.value(QLatin1String("status")).toString();
            } else if (inResponse && name == QLatin1String("addInfo")) {
                inInfo = true;
            } else if (inInfo && answer.info.size() < 64) {
                const QString key = name.toString();
                answer.info.insert(
                    key, reader.readElementText(QXmlStreamReader::SkipChildElements).trimmed());
            }
        } else if (token == QXmlStreamReader::EndElement) {
            if (reader.name() == QLatin1String("addInfo"))
                inInfo = false;
            else if (reader.name() == QLatin1String("response"))
                break;
        }
    }
    return answer;
}

namespace {
QString firstOf(const QMap<QString, QString>& info, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const QString value = info.value(QLatin1String(name));
        if (!value.isEmpty())
            return value;
    }
    return QString();
}
} // namespace

QString Answer::receiptNumber() const {
    return firstOf(info, {"fiscalReceiptNumber", "fiscalDoc"});
}
QString Answer::zNumber() const {
    return firstOf(info, {"zRepNumber", "nClose"});
}
QString Answer::amount() const {
    return firstOf(info, {"fiscalReceiptAmount", "lastDocAmount", "dailyAmount"});
}
QString Answer::printerStatus() const {
    return firstOf(info, {"printerStatus", "fpStatus"});
}

QString refusalInWords(const Answer& answer) {
    if (!answer.parsed)
        return QStringLiteral("the RT's answer is not an RT answer");
    // The RT's codes for the refusals a till meets, and what the person at the till does.
    static const struct {
        const char* code;
        const char* words;
    } reasons[] = {
        {"EPTR_REC_EMPTY", "paper end: put a new roll in the RT"},
        {"PAPER_END", "paper end: put a new roll in the RT"},
        {"EPTR_COVER_OPEN", "the RT's cover is open: close it"},
        {"COVER_OPEN", "the RT's cover is open: close it"},
        {"FP_WRONG_STATE", "the RT is in the middle of another document: finish or cancel it on "
                           "the RT"},
        {"WRONG_SEQUENCE", "the RT is in the middle of another document: finish or cancel it on "
                           "the RT"},
        {"FP_ZREPORT_REQUIRED", "the day was not closed for 24 hours: print the daily closure"},
        {"Z_REQUIRED", "the day was not closed for 24 hours: print the daily closure"},
        {"FP_INVALID_DEPARTMENT", "the RT does not take this reparto: set it up on the RT or fix "
                                  "pastrel.fiscal.departments"},
        {"INVALID_DEPARTMENT", "the RT does not take this reparto: set it up on the RT or fix "
                               "pastrel.fiscal.departments"},
        {"FP_INVALID_AMOUNT", "the RT does not take an amount of this receipt"},
        {"FISCAL_PRINTER_BUSY", "the RT is busy: try again"},
    };
    QString words;
    for (const auto& reason : reasons) {
        if (answer.code == QLatin1String(reason.code) ||
            answer.status == QLatin1String(reason.code)) {
            words = QLatin1String(reason.words);
            break;
        }
    }
    if (words.isEmpty())
        words = QStringLiteral("the RT refused the document");
    QString detail;
    if (!answer.code.isEmpty())
        detail += QStringLiteral("code ") + answer.code;
    if (!answer.status.isEmpty())
        detail += (detail.isEmpty() ? QString() : QStringLiteral(", ")) +
                  QStringLiteral("status ") + answer.status;
    if (!answer.printerStatus().isEmpty())
        detail += (detail.isEmpty() ? QString() : QStringLiteral(", ")) +
                  QStringLiteral("printer status ") + answer.printerStatus();
    return detail.isEmpty() ? words : words + QStringLiteral(" (") + detail + QLatin1Char(')');
}

LastDocument lastDocument(const Answer& answer) {
    LastDocument last;
    bool numberOk = false;
    bool zOk = false;
    last.number = answer.receiptNumber().toLongLong(&numberOk, 10);
    last.zNumber = answer.zNumber().toLongLong(&zOk, 10);
    last.known = answer.parsed && answer.success && numberOk && zOk;
    last.hasAmount = parseDecimal(answer.amount(), kCentsScale, 12, &last.amount);
    return last;
}

} // namespace fiscal
