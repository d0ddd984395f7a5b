#include "commercialdocument.h"

#include "amount.h"

#include <QMap>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace fiscal {

namespace {

const QLatin1String kRoots[] = {QLatin1String("printerFiscalReceipt"),
                                QLatin1String("printerNonFiscal"),
                                QLatin1String("printerFiscalReport")};
constexpr int kRateWidth = 7;
constexpr int kAmountWidth = 10;

struct Element {
    QString name;
    QXmlStreamAttributes attributes;
};

// The commands of the request, in order, whatever envelope holds them; the root's name first.
QVector<Element> commands(const QByteArray& request, QString* root) {
    QVector<Element> found;
    QXmlStreamReader reader(request);
    int rootDepth = -1;
    int depth = 0;
    while (!reader.atEnd() && found.size() < 10000) {
        reader.readNext();
        if (reader.isStartElement()) {
            ++depth;
            const QString name = reader.name().toString();
            if (rootDepth < 0) {
                for (const QLatin1String& known : kRoots) {
                    if (name == known) {
                        rootDepth = depth;
                        *root = name;
                    }
                }
            } else if (depth == rootDepth + 1) {
                found.append(Element{name, reader.attributes()});
            }
        } else if (reader.isEndElement()) {
            --depth;
        }
    }
    return found;
}

QString amountText(qint64 cents) {
    return formatDecimal(cents, kCentsScale, QLatin1Char(','));
}

qint64 amountOf(const QXmlStreamAttributes& attributes, const char* name) {
    qint64 cents = 0;
    parseDecimal(attributes.value(QLatin1String(name)).toString(), kCentsScale, 12, &cents);
    return cents;
}

class Lines {
public:
    explicit Lines(int columns) : m_columns(columns) {}
    void add(const QString& text) { m_lines.append(text.left(m_columns)); }
    void centred(const QString& text) {
        add(QString((m_columns - qMin(m_columns, int(text.size()))) / 2, QLatin1Char(' ')) + text);
    }
    void row(const QString& left, const QString& rate, const QString& amount) {
        const int leftWidth = m_columns - kRateWidth - kAmountWidth;
        add(left.leftJustified(leftWidth, QLatin1Char(' '), true) +
            rate.rightJustified(kRateWidth) + amount.rightJustified(kAmountWidth));
    }
    void rule() { add(QString(m_columns, QLatin1Char('-'))); }
    QStringList take() { return m_lines; }

private:
    int m_columns;
    QStringList m_lines;
};

} // namespace

bool isRtRequest(const QByteArray& body) {
    QString root;
    commands(body.left(1 << 20), &root);
    return !root.isEmpty();
}

QStringList commercialDocument(const QByteArray& request, const DepartmentTable& departments,
                               int columns) {
    QString root;
    const QVector<Element> elements = commands(request, &root);
    Lines out(columns);
    out.centred(QStringLiteral("(intestazione dell'esercente)"));
    if (root == QLatin1String("printerNonFiscal")) {
        for (const Element& e : elements) {
            if (e.name == QLatin1String("printNormal"))
                out.add(e.attributes.value(QLatin1String("data")).toString());
        }
        out.rule();
        out.centred(QStringLiteral("DOCUMENTO GESTIONALE"));
        return out.take();
    }
    if (root == QLatin1String("printerFiscalReport")) {
        const bool closure =
            !elements.isEmpty() && elements[0].name == QLatin1String("printZReport");
        out.centred(closure ? QStringLiteral("CHIUSURA GIORNALIERA")
                            : QStringLiteral("LETTURA GIORNALIERA"));
        out.centred(QStringLiteral("(i totali del giorno dall'RT)"));
        return out.take();
    }

    out.centred(QStringLiteral("DOCUMENTO COMMERCIALE"));
    out.centred(QStringLiteral("di vendita o prestazione"));
    out.row(QStringLiteral("DESCRIZIONE"), QStringLiteral("IVA"),
            QStringLiteral("Prezzo(") + QChar(0x20ac) + QLatin1Char(')'));
    qint64 total = 0;
    QMap<qint64, qint64> byRate; // rate in hundredths of a percent -> amount in cents
    QVector<int> withoutRate;
    qint64 cash = 0;
    qint64 electronic = 0;
    qint64 other = 0;
    qint64 notPaid = 0;
    QString customer;
    QString lottery;
    for (const Element& e : elements) {
        const QXmlStreamAttributes& a = e.attributes;
        if (e.name == QLatin1String("printRecItem")) {
            qint64 quantity = 0;
            parseDecimal(a.value(QLatin1String("quantity")).toString(), kQuantityScale, 9,
                         &quantity);
            const qint64 unitPrice = amountOf(a, "unitPrice");
            const qint64 amount = lineAmount(quantity, unitPrice);
            total += amount;
            const int department = a.value(QLatin1String("department")).toInt();
            qint64 rate = 0;
            QString rateText;
            if (departments.rateOf(department, &rate)) {
                rateText = formatDecimal(rate, 2, QLatin1Char(','));
                rateText.remove(QRegularExpression(QStringLiteral(",?0+$")));
                rateText += QLatin1Char('%');
                byRate[rate] += amount;
            } else {
                rateText = QStringLiteral("R.%1").arg(department);
                withoutRate.append(department);
            }
            if (quantity != 1000)
                out.add(
                    QStringLiteral("  %1 x %2")
                        .arg(formatQuantity(quantity, QLatin1Char(',')), amountText(unitPrice)));
            out.row(a.value(QLatin1String("description")).toString(), rateText, amountText(amount));
        } else if (e.name == QLatin1String("printRecMessage")) {
            const QString message = a.value(QLatin1String("message")).toString();
            if (a.value(QLatin1String("messageType")) == QLatin1String("3"))
                customer = message;
            else
                out.add(message);
        } else if (e.name == QLatin1String("printRecLotteryID") ||
                   e.name == QLatin1String("setLotteryCode")) {
            lottery = a.value(QLatin1String("code")).toString();
        } else if (e.name == QLatin1String("printRecTotal")) {
            const qint64 payment = amountOf(a, "payment");
            const int type = a.value(QLatin1String("paymentType")).toInt();
            (type == 0 ? cash : type == 2 ? electronic : type == 5 ? notPaid : other) += payment;
        }
    }
    qint64 vat = 0;
    for (auto it = byRate.cbegin(); it != byRate.cend(); ++it) {
        // Per rate, as the RT computes it: the VAT inside a price that includes it.
        const qint64 numerator = it.value() * it.key();
        const qint64 denominator = 10000 + it.key();
        vat += (2 * numerator + denominator) / (2 * denominator);
    }
    out.rule();
    out.row(QStringLiteral("TOTALE COMPLESSIVO"), QString(), amountText(total));
    out.row(QStringLiteral("di cui IVA"), withoutRate.isEmpty() ? QString() : QStringLiteral("*"),
            amountText(vat));
    if (cash > 0)
        out.row(QStringLiteral("Pagamento contante"), QString(), amountText(cash));
    if (electronic > 0)
        out.row(QStringLiteral("Pagamento elettronico"), QString(), amountText(electronic));
    if (other > 0)
        out.row(QStringLiteral("Pagamento altro"), QString(), amountText(other));
    if (notPaid > 0)
        out.row(QStringLiteral("Non riscosso"), QString(), amountText(notPaid));
    const qint64 paid = cash + electronic + other + notPaid;
    if (paid > total)
        out.row(QStringLiteral("Resto"), QString(), amountText(paid - total));
    out.row(QStringLiteral("Importo pagato"), QString(), amountText(paid - notPaid));
    if (!withoutRate.isEmpty())
        out.add(QStringLiteral("* senza l'IVA dei reparti non in tabella"));
    if (!customer.isEmpty())
        out.add(QStringLiteral("C.F./P.IVA cliente: ") + customer);
    if (!lottery.isEmpty())
        out.add(QStringLiteral("Codice lotteria: ") + lottery);
    out.rule();
    out.add(QStringLiteral("--/--/---- --:--  DOCUMENTO N. ----/----"));
    out.add(QStringLiteral("RT (matricola)"));
    out.centred(QStringLiteral("ANTEPRIMA: NON ANCORA EMESSO"));
    return out.take();
}

} // namespace fiscal
