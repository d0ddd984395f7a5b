#include "rtprinterdriver.h"

#include "amount.h"
#include "diagnostics.h"
#include "journal.h"
#include "paconfiguration.h"
#include "rtprinter.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QUrl>

using namespace fiscal;

namespace {
// Characters of a non-fiscal line: the width of the suite's receipts, which every RT's roll takes.
constexpr unsigned int kPaperWidth = 40;
constexpr int kClosureTimeoutFactor = 6; // as RtPrinter waits for the daily closure
// The longest non-fiscal document sent, in lines (a metre and a half of paper): the lines of a
// longer one are kept only this far, so memory stays bounded, and the document is refused.
constexpr int kMaxLines = 5000;
constexpr int kMaxLineCharacters = 200; // far wider than any roll: the RT wraps or cuts it
const QLatin1String kScheme("http://");

void say(const QString& line) {
    Diagnostics::warn(line);
}
} // namespace

bool RtPrinterDriver::isRtOutput(const QString& output) {
    return output.startsWith(kScheme, Qt::CaseInsensitive);
}

bool RtPrinterDriver::dialectOf(const QString& model, Dialect* dialect) {
    if (model.trimmed().compare(QLatin1String("rt-epson"), Qt::CaseInsensitive) == 0)
        *dialect = Dialect::Epson;
    else if (model.trimmed().compare(QLatin1String("rt-custom"), Qt::CaseInsensitive) == 0)
        *dialect = Dialect::Custom;
    else
        return false;
    return true;
}

bool RtPrinterDriver::settingsFor(Dialect dialect, const QString& url,
                                  const PrinterProfile& profile, RtSettings* settings) {
    const QUrl parsed(url, QUrl::StrictMode);
    const int port = parsed.port(80);
    if (!parsed.isValid() || parsed.host().isEmpty() || port <= 0 || port > 65535)
        return false;
    settings->dialect = dialect;
    settings->host = parsed.host();
    settings->port = static_cast<quint16>(port);
    settings->path = parsed.path(QUrl::FullyEncoded).toUtf8();
    if (!parsed.query().isEmpty())
        settings->path += '?' + parsed.query(QUrl::FullyEncoded).toUtf8();
    if (settings->path == "/")
        settings->path.clear();
    settings->user = profile.user.toUtf8();
    settings->password = profile.password.toUtf8();
    settings->operatorId = profile.operatorId;
    settings->timeoutMs = profile.timeoutMs;
    return true;
}

RtPrinterDriver::RtPrinterDriver(QIODevice*, const PrinterProfile& profile)
    : PrinterDriver(nullptr, profile), m_receipt(DepartmentTable()) {
    if (!dialectOf(profile.model, &m_dialect))
        m_dialect = Dialect::Epson;
    const QString table =
        m_configuration ? m_configuration->getStrValue(QStringLiteral("pastrel.fiscal.departments"))
                        : QString();
    if (!m_departments.parse(table, &m_departmentsError))
        m_departments = DepartmentTable();
    m_receipt = ReceiptBuilder(m_departments);
}

bool RtPrinterDriver::deliverJob(PrinterDriver& driver, const QByteArray& output) {
    // The journal names the document as the suite gave it: pastrel-print's first argument.
    return static_cast<RtPrinterDriver&>(driver).deliver(QFile::decodeName(output),
                                                         QCoreApplication::arguments().value(1));
}

RtPrinterDriver::~RtPrinterDriver() = default;

bool RtPrinterDriver::fiscalDocument() const {
    return m_method == QLatin1String("printFullOrderFiscal") ||
           m_method == QLatin1String("printAbstractOrderFiscal");
}

unsigned int RtPrinterDriver::getPaperWidth() {
    return kPaperWidth;
}

void RtPrinterDriver::setBold() {
    m_font = Font::Bold;
}

void RtPrinterDriver::setCharSize() {
    m_font = Font::Normal;
    m_justification = QStringLiteral("left");
}

void RtPrinterDriver::setCharSize(int size) {
    m_font = size > 0 ? Font::Tall : Font::Normal;
    m_justification = QStringLiteral("left");
}

void RtPrinterDriver::setCenterJustify() {
    m_justification = QStringLiteral("center");
}

void RtPrinterDriver::print(unsigned int indent, const QString& text) {
    const unsigned int length = static_cast<unsigned int>(text.size());
    unsigned int blanks = indent;
    if (m_justification == QLatin1String("center"))
        blanks = length < kPaperWidth ? (kPaperWidth - length) / 2 : 0;
    if (length > kPaperWidth)
        blanks = 0;
    if (m_pending.size() < kMaxLineCharacters) // a line is cut at println anyway
        m_pending += QString(static_cast<int>(blanks), QLatin1Char(' ')) + text;
}

void RtPrinterDriver::println(unsigned int indent, const QString& text) {
    print(indent, text);
    // A line of the renderer may hold line ends of its own (a header value): one printNormal
    // each.
    const QStringList parts = m_pending.split(QLatin1Char('\n'));
    m_pending.clear();
    for (const QString& part : parts) {
        if (m_lines.size() >= kMaxLines) {
            m_tooLong = true;
            return;
        }
        m_lines.append(TextLine{part.left(kMaxLineCharacters), m_font});
    }
}

void RtPrinterDriver::println(const QString& text) {
    println(0, text);
}

void RtPrinterDriver::printRowFiscal(const QString& name, const Attributes& attributes) {
    if (name == QLatin1String("total"))
        m_receipt.close(attributes);
}

void RtPrinterDriver::printRowFiscal(const QString& department, const QString& quantity,
                                     const QString& description, const QString& price) {
    m_receipt.addSale(department, quantity, description, price);
}

bool RtPrinterDriver::startBackEndMethod(const QString& name) {
    if (name == QLatin1String("printFiscalClosure"))
        m_report = Report::Closure;
    else if (name == QLatin1String("printFiscalReport"))
        m_report = Report::X;
    else
        return false;
    return true;
}

bool RtPrinterDriver::decideEarlier(RtPrinter& printer, qint64 total, const QString& what,
                                    bool* delivered) {
    // The last operation on this RT was a receipt whose answer was lost undecided. The till
    // prints a document again after "Unable To Open File": if that earlier receipt was issued,
    // printing this one again would give the customer a second legal receipt.
    const Journal journal;
    const QStringList earlier = journal.lastLineFor(printer.name()).split(QLatin1Char('\t'));
    if (earlier.value(3) != QLatin1String("unknown"))
        return false;
    LastDocument baseline;
    bool numberOk = false;
    bool zOk = false;
    baseline.number = earlier.value(4).toLongLong(&numberOk, 10);
    baseline.zNumber = earlier.value(5).toLongLong(&zOk, 10);
    baseline.known = numberOk && zOk;
    qint64 earlierTotal = 0;
    parseDecimal(earlier.value(6), kCentsScale, 12, &earlierTotal);
    const bool sameReceipt = earlier.value(2) == m_document && earlierTotal == total;

    const RtResult decided = printer.decide(
        baseline, earlierTotal,
        QStringLiteral("the answer to the receipt of %1 (%2) was lost in an earlier run")
            .arg(earlier.value(2), earlier.value(6)));
    JournalEntry resolution;
    resolution.time = QDateTime::currentDateTime();
    resolution.printer = printer.name();
    resolution.document = earlier.value(2);
    resolution.amount = earlier.value(6);
    resolution.status = decided.answer.printerStatus();
    QString journalError;
    if (decided.outcome == RtResult::Outcome::Done) {
        resolution.outcome = QStringLiteral("issued");
        resolution.number = decided.number;
        resolution.zNumber = decided.zNumber;
        if (!journal.append(resolution, &journalError))
            say(QStringLiteral("journal: ") + journalError);
        if (!sameReceipt)
            return false;
        say(QStringLiteral("RT %1 issued receipt number %2 (Z %3), %4 euro, in an earlier run "
                           "whose answer was lost: not issued again")
                .arg(printer.name(), decided.number, decided.zNumber, earlier.value(6)));
        *delivered = true;
        return true;
    }
    if (decided.outcome == RtResult::Outcome::NotIssued) {
        resolution.outcome = QStringLiteral("not-issued");
        if (!journal.append(resolution, &journalError))
            say(QStringLiteral("journal: ") + journalError);
        return false;
    }
    if (!sameReceipt)
        return false;
    // Still undecided: this run issues nothing. When the RT did answer, the journal records
    // this refusal, so that a person who has looked at the RT can print the document again.
    if (decided.answer.parsed) {
        JournalEntry refusal = resolution;
        refusal.outcome = QStringLiteral("not-sent");
        refusal.document = m_document;
        if (!journal.append(refusal, &journalError))
            say(QStringLiteral("journal: ") + journalError);
    }
    *delivered =
        fail(QStringLiteral("RT %1: %2").arg(printer.name(), what),
             QStringLiteral("not sent, it may have been issued already: ") + decided.reason);
    return true;
}

bool RtPrinterDriver::fail(const QString& what, const QString& reason) {
    say(what + QLatin1String(": ") + reason);
    return false;
}

void RtPrinterDriver::endSection() {
    m_complete = true;
}

bool RtPrinterDriver::deliver(const QString& output, const QString& document) {
    if (m_delivered || m_method.isEmpty())
        return true; // delivered already, or no document (its method was not known)
    m_delivered = true;
    m_output = output;
    m_document = document;
    if (m_complete)
        return isRtOutput(m_output) ? send() : writeRequest();
    // A document that ended before its end (malformed, cut short, over a limit) sends nothing:
    // half a receipt is no receipt.
    if (fiscalDocument()) {
        JournalEntry entry;
        entry.time = QDateTime::currentDateTime();
        entry.printer = m_output;
        entry.document = m_document;
        entry.outcome = QStringLiteral("not-sent");
        QString journalError;
        if (!Journal().append(entry, &journalError))
            say(QStringLiteral("journal: ") + journalError);
    }
    return fail(fiscalDocument() ? QStringLiteral("fiscal receipt") : QStringLiteral("document"),
                QStringLiteral("not sent: the document ended before its end"));
}

bool RtPrinterDriver::writeRequest() {
    RtSettings settings;
    settingsFor(m_dialect, QStringLiteral("http://request.file"), profile(), &settings);
    QByteArray body;
    if (fiscalDocument()) {
        Receipt receipt;
        QString error = m_departmentsError;
        if (!error.isEmpty() || !m_receipt.finish(&receipt, &error))
            return fail(QStringLiteral("fiscal receipt"), QStringLiteral("not written: ") + error);
        body = receiptRequest(m_dialect, receipt, settings.operatorId);
    } else if (m_report != Report::None) {
        const bool closure = m_report == Report::Closure;
        body = reportRequest(m_dialect, closure ? fiscal::Report::Closure : fiscal::Report::X,
                             settings.operatorId,
                             settings.timeoutMs * (closure ? kClosureTimeoutFactor : 1));
    } else {
        if (!m_pending.isEmpty())
            println(QString());
        if (m_tooLong)
            return fail(QStringLiteral("non-fiscal document"),
                        QStringLiteral("not written: longer than %1 lines").arg(kMaxLines));
        body = nonFiscalRequest(m_dialect, m_lines, settings.operatorId);
    }
    // Replaced whole or not at all, like every output of the suite.
    QSaveFile file(m_output);
    if (!file.open(QIODevice::WriteOnly) || file.write(body) != body.size() || !file.commit())
        return fail(QStringLiteral("RT request"),
                    QStringLiteral("cannot write %1: %2").arg(m_output, file.errorString()));
    return true;
}

bool RtPrinterDriver::send() {
    const bool fiscalDocument = this->fiscalDocument();
    JournalEntry entry;
    entry.time = QDateTime::currentDateTime();
    entry.document = m_document;

    // The RT's address: the output's, or the document's printers element for "http://" alone.
    QString address = m_output.mid(kScheme.size());
    if (address.isEmpty() || address == QLatin1String("/")) {
        const PrinterAddress& document = printerAddress();
        const QString host = document.ipAddress.contains(QLatin1Char(':'))
                                 ? QLatin1Char('[') + document.ipAddress + QLatin1Char(']')
                                 : document.ipAddress;
        address = host + (document.port.isEmpty() ? QString() : QLatin1Char(':') + document.port);
    }
    const QString what = fiscalDocument                ? QStringLiteral("fiscal receipt")
                         : m_report == Report::Closure ? QStringLiteral("daily closure")
                         : m_report == Report::X       ? QStringLiteral("X report")
                                                       : QStringLiteral("non-fiscal document");
    RtSettings settings;
    if (!settingsFor(m_dialect, kScheme + address, profile(), &settings))
        return fail(what, QStringLiteral("no RT address: the output %1 and the document's "
                                         "printers element give no host")
                              .arg(m_output));
    RtPrinter printer(settings);
    entry.printer = printer.name();

    RtResult result;
    if (fiscalDocument) {
        Receipt receipt;
        QString error = m_departmentsError;
        if (!error.isEmpty() || !m_receipt.finish(&receipt, &error)) {
            // Refused before anything is sent: nothing reaches the RT.
            entry.outcome = QStringLiteral("not-sent");
            QString journalError;
            if (!Journal().append(entry, &journalError))
                say(QStringLiteral("journal: ") + journalError);
            return fail(what, QStringLiteral("not sent: ") + error);
        }
        entry.amount = formatDecimal(receipt.total, kCentsScale, QLatin1Char('.'));
        bool delivered = false;
        if (decideEarlier(printer, receipt.total, what, &delivered))
            return delivered;
        result = printer.issueReceipt(receipt);
        if (result.outcome == RtResult::Outcome::Unknown && result.before.known) {
            // The next run decides it from the RT's last document before this one.
            result.number = QString::number(result.before.number);
            result.zNumber = QString::number(result.before.zNumber);
        }
    } else if (m_report != Report::None) {
        result = printer.printReport(m_report == Report::Closure ? fiscal::Report::Closure
                                                                 : fiscal::Report::X);
    } else {
        if (!m_pending.isEmpty())
            println(QString());
        if (m_lines.isEmpty())
            return true; // nothing rendered (printAbstractOrder): no blank paper on the RT
        if (m_tooLong)
            return fail(what, QStringLiteral("not sent: longer than %1 lines").arg(kMaxLines));
        result = printer.printNonFiscal(m_lines);
    }

    entry.number = result.number;
    entry.zNumber = result.zNumber;
    entry.status = result.answer.printerStatus();
    switch (result.outcome) {
    case RtResult::Outcome::Done:
        entry.outcome = fiscalDocument                ? QStringLiteral("issued")
                        : m_report == Report::Closure ? QStringLiteral("closure")
                        : m_report == Report::X       ? QStringLiteral("x-report")
                                                      : QStringLiteral("printed");
        break;
    case RtResult::Outcome::Refused:
        entry.outcome = QStringLiteral("refused");
        break;
    case RtResult::Outcome::NotSent:
        entry.outcome = QStringLiteral("not-sent");
        break;
    case RtResult::Outcome::NotIssued:
        entry.outcome = QStringLiteral("not-issued");
        break;
    case RtResult::Outcome::Unknown:
        // Only a receipt's unknown outcome is decided by the next run; a report's is left to
        // the person who reads the RT's paper.
        entry.outcome = fiscalDocument                ? QStringLiteral("unknown")
                        : m_report == Report::Closure ? QStringLiteral("unknown-closure")
                                                      : QStringLiteral("unknown-x-report");
        break;
    }
    // Non-fiscal documents are not fiscal operations: the journal keeps the RT's legal record.
    if (fiscalDocument || m_report != Report::None) {
        QString journalError;
        if (!Journal().append(entry, &journalError))
            say(QStringLiteral("journal: ") + journalError);
    }

    if (result.outcome != RtResult::Outcome::Done)
        return fail(QStringLiteral("RT %1: %2").arg(printer.name(), what), result.reason);
    if (fiscalDocument)
        say(QStringLiteral("RT %1 issued receipt number %2 (Z %3), %4 euro%5")
                .arg(printer.name(), result.number, result.zNumber, entry.amount,
                     result.recovered
                         ? QStringLiteral(", found on the RT after its answer was lost")
                         : QString()));
    else if (m_report == Report::Closure)
        say(QStringLiteral("RT %1 printed the daily closure number %2")
                .arg(printer.name(), result.zNumber));
    return true;
}
