#include "rtstandin.h"

#include "loopback.h"

#include <QXmlStreamReader>

#include <chrono>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
using Attributes = QVector<QPair<QString, QString>>;
using Commands = QVector<QPair<QString, Attributes>>;

QString attribute(const Attributes& attributes, const char* name) {
    for (const auto& a : attributes) {
        if (a.first == QLatin1String(name))
            return a.second;
    }
    return QString();
}

// Waits for fd to be readable, at most ms; false on the stop pipe or the end of the wait.
bool readable(int fd, int stop, int ms) {
    pollfd wait[] = {{stop, POLLIN, 0}, {fd, POLLIN, 0}};
    return poll(wait, 2, ms) > 0 && wait[0].revents == 0 && wait[1].revents != 0;
}
} // namespace

RtStandIn::RtStandIn(Dialect dialect) : m_dialect(dialect) {
    unsigned short port = 0;
    m_listener = loopbackSocket(&port);
    m_port = port;
    (void)pipe(m_stop);
    listen(m_listener, 8);
    m_acceptor = std::thread([this] { acceptLoop(); });
}

RtStandIn::~RtStandIn() {
    (void)write(m_stop[1], "x", 1);
    m_acceptor.join();
    for (std::thread& worker : m_workers)
        worker.join();
    for (int fd : {m_listener, m_stop[0], m_stop[1]})
        close(fd);
}

QString RtStandIn::url() const {
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port);
}

void RtStandIn::setFault(Fault fault, int lateMs, int silentQueries) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fault = fault;
    m_lateMs = lateMs;
    m_silentAfterDrop = silentQueries;
}

void RtStandIn::refuseDepartment(int department) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_refusedDepartments.insert(department);
}

void RtStandIn::requireLogin(const QByteArray& user, const QByteArray& password) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_authorization = "Basic " + (user + ':' + password).toBase64();
}

QVector<QByteArray> RtStandIn::requests() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

QVector<QByteArray> RtStandIn::documents() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    QVector<QByteArray> documents;
    for (int i = 0; i < m_requests.size(); ++i) {
        if (!m_isStatus[i])
            documents.append(m_requests[i]);
    }
    return documents;
}

QVector<RtStandIn::Issued> RtStandIn::receipts() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_receipts;
}

QStringList RtStandIn::nonFiscalLines() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nonFiscal;
}

int RtStandIn::zNumber() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_z;
}

void RtStandIn::acceptLoop() {
    for (;;) {
        pollfd wait[] = {{m_stop[0], POLLIN, 0}, {m_listener, POLLIN, 0}};
        poll(wait, 2, -1);
        if (wait[0].revents != 0)
            return;
        const int client = accept(m_listener, nullptr, nullptr);
        if (client >= 0)
            m_workers.emplace_back([this, client] { serve(client); });
    }
}

void RtStandIn::serve(int client) {
    QByteArray raw;
    qsizetype headEnd = -1;
    qint64 length = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (headEnd < 0 || raw.size() < headEnd + 4 + length) {
        const int left = static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                              deadline - std::chrono::steady_clock::now())
                                              .count());
        char buffer[4096];
        const ssize_t got =
            left > 0 && readable(client, m_stop[0], left) ? read(client, buffer, sizeof buffer) : 0;
        if (got <= 0) {
            close(client);
            return;
        }
        raw.append(buffer, got);
        headEnd = raw.indexOf("\r\n\r\n");
        if (headEnd >= 0) {
            const QByteArray head = raw.left(headEnd).toLower();
            const qsizetype at = head.indexOf("content-length:");
            length =
                at < 0 ? 0
                       : head.mid(at + 15, head.indexOf('\r', at) - at - 15).trimmed().toLongLong();
        }
    }
    const QList<QByteArray> lines = raw.left(headEnd).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    QByteArray authorization;
    for (const QByteArray& line : lines) {
        if (line.toLower().startsWith("authorization:"))
            authorization = line.mid(14).trimmed();
    }
    int lateMs = 0;
    const Reply reply =
        requestLine.value(0) == "POST"
            ? handle(requestLine.value(1), authorization, raw.mid(headEnd + 4, length), &lateMs)
            : Reply{true, 405, false, QString(), {}};
    if (reply.answer) {
        if (lateMs > 0)
            readable(m_stop[0], m_stop[0], lateMs); // the stop pipe ends the wait early
        const QByteArray body = reply.httpStatus == 200 ? render(reply) : QByteArray();
        QByteArray answer = "HTTP/1.1 " + QByteArray::number(reply.httpStatus) +
                            " RT\r\nContent-Type: text/xml\r\nConnection: close\r\n";
        if (m_chunked) {
            answer += "Transfer-Encoding: chunked\r\n\r\n";
            for (qsizetype at = 0; at < body.size(); at += 50) {
                const QByteArray chunk = body.mid(at, 50);
                answer += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
            }
            answer += "0\r\n\r\n";
        } else {
            answer += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
        }
        (void)write(client, answer.constData(), answer.size());
    }
    close(client);
}

QString RtStandIn::amountText(qint64 cents) const {
    return QStringLiteral("%1%2%3")
        .arg(cents / 100)
        .arg(m_dialect == Dialect::Epson ? QLatin1Char(',') : QLatin1Char('.'))
        .arg(cents % 100, 2, 10, QLatin1Char('0'));
}

// An amount in the dialect's own form: a decimal comma for Epson, a point for Custom.
bool RtStandIn::parseAmount(const QString& text, qint64* cents) const {
    const QChar separator = m_dialect == Dialect::Epson ? QLatin1Char(',') : QLatin1Char('.');
    const QStringList parts = text.split(separator);
    bool okWhole = false;
    bool okCents = parts.size() == 2 && parts[1].size() == 2;
    const qint64 whole = parts[0].toLongLong(&okWhole);
    const qint64 fraction = okCents ? parts[1].toLongLong(&okCents) : 0;
    *cents = whole * 100 + fraction;
    return okWhole && okCents && whole >= 0;
}

RtStandIn::Reply RtStandIn::lastDocumentInfo(Reply reply) const {
    if (m_dialect == Dialect::Epson) {
        reply.info += {{QStringLiteral("fiscalReceiptNumber"), QString::number(m_lastNumber)},
                       {QStringLiteral("fiscalReceiptAmount"), amountText(m_lastAmount)},
                       {QStringLiteral("zRepNumber"), QString::number(m_z)},
                       {QStringLiteral("printerStatus"), QStringLiteral("20110")}};
    } else {
        reply.info +=
            {{QStringLiteral("fiscalDoc"),
              QStringLiteral("%1").arg(m_lastNumber, 4, 10, QLatin1Char('0'))},
             {QStringLiteral("lastDocAmount"), amountText(m_lastAmount)},
             {QStringLiteral("nClose"), QStringLiteral("%1").arg(m_z, 4, 10, QLatin1Char('0'))},
             {QStringLiteral("printerStatus"), QStringLiteral("00000")}};
    }
    return reply;
}

QByteArray RtStandIn::render(const Reply& reply) const {
    QByteArray body = "<response success=\"" + QByteArray(reply.success ? "true" : "false") + '"';
    if (m_dialect == Dialect::Epson)
        body += " code=\"" + reply.code.toUtf8() + "\" status=\"2\"";
    else
        body += " status=\"" + (reply.success ? QByteArray("0") : reply.code.toUtf8()) + '"';
    body += "><addInfo>";
    for (const auto& item : reply.info)
        body += '<' + item.first.toUtf8() + '>' + item.second.toUtf8() + "</" +
                item.first.toUtf8() + '>';
    body += "</addInfo></response>";
    if (m_dialect == Dialect::Epson)
        body = "<?xml version=\"1.0\" encoding=\"utf-8\"?><soapenv:Envelope "
               "xmlns:soapenv=\"http://schemas.xmlsoap.org/soap/envelope/\"><soapenv:Body>" +
               body + "</soapenv:Body></soapenv:Envelope>";
    else
        body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>" + body;
    return body;
}

RtStandIn::Reply RtStandIn::handle(const QByteArray& path, const QByteArray& authorization,
                                   const QByteArray& body, int* lateMs) {
    std::lock_guard<std::mutex> lock(m_mutex);
    const bool epson = m_dialect == Dialect::Epson;
    if (epson ? !path.startsWith("/cgi-bin/fpmate.cgi?devid=local_printer&timeout=")
              : path != "/xml/printer.htm")
        return Reply{true, 404, false, QString(), {}};
    if (!epson && !m_authorization.isEmpty() && authorization != m_authorization)
        return Reply{true, 401, false, QString(), {}};

    // The root element (inside the SOAP body for Epson) and its commands, in order.
    QXmlStreamReader reader(body);
    QString root;
    Commands commands;
    int depth = 0;
    const int rootDepth = epson ? 3 : 1;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            ++depth;
            if (depth == rootDepth)
                root = reader.name().toString();
            else if (depth == rootDepth + 1) {
                Attributes attributes;
                for (const QXmlStreamAttribute& a : reader.attributes())
                    attributes.append({a.name().toString(), a.value().toString()});
                commands.append({reader.name().toString(), attributes});
            }
        } else if (reader.isEndElement()) {
            --depth;
        }
    }
    m_requests.append(body);
    const bool status = root == QLatin1String("printerCommand");
    m_isStatus.append(status);
    if (reader.hasError() || root.isEmpty())
        return Reply{true, 200, false, QStringLiteral("BAD_XML"), {}};
    if (status && m_silentQueries > 0) {
        --m_silentQueries;
        return Reply{false, 200, false, QString(), {}};
    }
    if (status)
        return lastDocumentInfo(Reply());

    const Fault fault = m_fault;
    m_fault = Fault::None;
    if (fault == Fault::PaperEnd)
        return Reply{true, 200, false, QStringLiteral("EPTR_REC_EMPTY"), {}};
    if (fault == Fault::DropIssued || fault == Fault::DropNotIssued)
        m_silentQueries = m_silentAfterDrop;
    if (fault == Fault::DropNotIssued)
        return Reply{false, 200, false, QString(), {}};
    if (fault == Fault::AnswerLate)
        *lateMs = m_lateMs;

    Reply reply;
    if (root == QLatin1String("printerFiscalReceipt")) {
        reply = fiscalReceipt(commands);
    } else if (root == QLatin1String("printerNonFiscal")) {
        const QString end = QStringLiteral("endNonFiscal");
        if (commands.size() < 2 || commands.first().first != QLatin1String("beginNonFiscal") ||
            commands.last().first != end)
            return Reply{true, 200, false, QStringLiteral("FP_WRONG_STATE"), {}};
        for (int i = 1; i + 1 < commands.size(); ++i)
            m_nonFiscal.append(attribute(commands[i].second, "font") + QLatin1Char('|') +
                               attribute(commands[i].second, "data"));
    } else if (root == QLatin1String("printerFiscalReport") && commands.size() == 1 &&
               commands[0].first == QLatin1String("printZReport")) {
        reply.info += {QStringLiteral("zRepNumber"), QString::number(m_z)};
        ++m_z;
        m_lastNumber = 0;
        m_lastAmount = 0;
    } else if (!(root == QLatin1String("printerFiscalReport") && commands.size() == 1 &&
                 commands[0].first == QLatin1String("printXReport"))) {
        return Reply{true, 200, false, QStringLiteral("FP_WRONG_STATE"), {}};
    }
    if (fault == Fault::DropIssued)
        reply.answer = false;
    return reply;
}

RtStandIn::Reply RtStandIn::fiscalReceipt(const Commands& commands) {
    const bool epson = m_dialect == Dialect::Epson;
    const Reply wrongState{true, 200, false, QStringLiteral("FP_WRONG_STATE"), {}};
    const Reply badAmount{true, 200, false, QStringLiteral("FP_INVALID_AMOUNT"), {}};
    if (commands.isEmpty() || commands.first().first != QLatin1String("beginFiscalReceipt"))
        return wrongState;
    Issued receipt;
    qint64 paid = 0;
    bool paying = false;
    bool ended = false;
    for (int i = 1; i < commands.size(); ++i) {
        const QString& name = commands[i].first;
        const Attributes& a = commands[i].second;
        if (ended)
            return wrongState;
        if (name == QLatin1String("printRecItem")) {
            if (paying)
                return wrongState; // no sale after the payments began
            qint64 unit = 0;
            if (!parseAmount(attribute(a, "unitPrice"), &unit))
                return badAmount;
            const QString quantity = attribute(a, "quantity");
            bool ok = false;
            const double q =
                QString(quantity).replace(QLatin1Char(','), QLatin1Char('.')).toDouble(&ok);
            const int department = attribute(a, "department").toInt();
            if (!ok || q <= 0)
                return badAmount;
            if (department < 1 || department > 99 || m_refusedDepartments.count(department))
                return Reply{true, 200, false, QStringLiteral("FP_INVALID_DEPARTMENT"), {}};
            receipt.total += qRound64(q * unit);
            receipt.sales.append(attribute(a, "department") + QLatin1Char('|') + quantity +
                                 QLatin1Char('|') + attribute(a, "description") + QLatin1Char('|') +
                                 attribute(a, "unitPrice"));
        } else if (name == QLatin1String("printRecTotal")) {
            qint64 amount = 0;
            if (!parseAmount(attribute(a, "payment"), &amount) || receipt.sales.isEmpty())
                return badAmount;
            paying = true;
            paid += amount;
            receipt.payments.append(attribute(a, "paymentType") + QLatin1Char('|') +
                                    attribute(a, "payment"));
        } else if (name == QLatin1String(epson ? "endFiscalReceipt" : "endFiscalReceiptCut")) {
            if (receipt.sales.isEmpty() || paid < receipt.total)
                return wrongState; // the payments must cover the total
            ended = true;
        } else if (name == QLatin1String("printRecMessage") ||
                   name == QLatin1String(epson ? "printRecLotteryID" : "setLotteryCode")) {
            continue;
        } else {
            return wrongState;
        }
    }
    if (!ended)
        return wrongState;
    receipt.number = ++m_lastNumber;
    receipt.z = m_z;
    m_lastAmount = receipt.total;
    m_receipts.append(receipt);
    Reply reply;
    reply = lastDocumentInfo(reply);
    return reply;
}
