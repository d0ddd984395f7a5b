#include "rtprinter.h"

#include "amount.h"

namespace fiscal {

namespace {
// The daily closure prints the whole day and files it: an RT takes far longer than for a receipt
// (rtprinterdriver.cpp writes the same wait into a request file).
constexpr int kClosureTimeoutFactor = 6;

const char* stageWords(HttpExchange::Stage stage) {
    return stage == HttpExchange::Stage::NotSent ? "the RT cannot be reached"
                                                 : "the RT's answer was lost";
}

// A document or report that got no answer: nothing printed when the request never left, an
// unknown outcome when it did (the RT may have printed it).
RtResult unanswered(const HttpExchange& exchange) {
    RtResult result;
    result.outcome = exchange.stage == HttpExchange::Stage::NotSent ? RtResult::Outcome::NotSent
                                                                    : RtResult::Outcome::Unknown;
    result.reason =
        QStringLiteral("%1: %2").arg(QLatin1String(stageWords(exchange.stage)), exchange.error);
    return result;
}
} // namespace

QString RtPrinter::name() const {
    const QString host = m_settings.host.contains(QLatin1Char(':'))
                             ? QLatin1Char('[') + m_settings.host + QLatin1Char(']')
                             : m_settings.host;
    return QStringLiteral("http://%1:%2").arg(host).arg(m_settings.port);
}

HttpExchange RtPrinter::post(const QByteArray& body, int timeoutMs) {
    HttpTarget target;
    target.host = m_settings.host;
    target.port = m_settings.port;
    target.path =
        m_settings.path.isEmpty() ? requestPath(m_settings.dialect, timeoutMs) : m_settings.path;
    target.user = m_settings.user;
    target.password = m_settings.password;
    return httpPost(target, contentType(m_settings.dialect), body, timeoutMs);
}

RtResult RtPrinter::answered(const HttpExchange& exchange) {
    RtResult result;
    if (exchange.status == 401 || exchange.status == 403) {
        result.outcome = RtResult::Outcome::Refused;
        result.reason = QStringLiteral("the RT refused the user name or password "
                                       "(pastrel.printer.user and pastrel.printer.password)");
        return result;
    }
    result.answer = parseAnswer(exchange.body);
    if (exchange.status != 200 || !result.answer.parsed) {
        result.outcome = RtResult::Outcome::Refused;
        result.reason = QStringLiteral("the RT answered HTTP %1 without an RT answer: is this the "
                                       "right dialect (pastrel.printer.model) and address?")
                            .arg(exchange.status);
        return result;
    }
    if (!result.answer.success) {
        result.outcome = RtResult::Outcome::Refused;
        result.reason = refusalInWords(result.answer);
        return result;
    }
    result.outcome = RtResult::Outcome::Done;
    result.number = result.answer.receiptNumber();
    result.zNumber = result.answer.zNumber();
    return result;
}

RtResult RtPrinter::status() {
    const HttpExchange exchange =
        post(statusRequest(m_settings.dialect, m_settings.operatorId), m_settings.timeoutMs);
    if (exchange.stage != HttpExchange::Stage::Answered) {
        RtResult result;
        result.outcome = RtResult::Outcome::NotSent;
        result.reason =
            QStringLiteral("%1: %2").arg(QLatin1String(stageWords(exchange.stage)), exchange.error);
        return result;
    }
    return answered(exchange);
}

RtResult RtPrinter::issueReceipt(const Receipt& receipt) {
    // The baseline: the RT's last document before this one.
    const RtResult before = status();
    if (before.outcome != RtResult::Outcome::Done) {
        RtResult result = before;
        result.outcome = before.outcome == RtResult::Outcome::Refused ? RtResult::Outcome::Refused
                                                                      : RtResult::Outcome::NotSent;
        return result;
    }
    const LastDocument baseline = lastDocument(before.answer);
    const auto withBaseline = [&baseline](RtResult result) {
        result.before = baseline;
        return result;
    };

    const HttpExchange exchange = post(
        receiptRequest(m_settings.dialect, receipt, m_settings.operatorId), m_settings.timeoutMs);
    if (exchange.stage == HttpExchange::Stage::Answered)
        return withBaseline(answered(exchange));
    if (exchange.stage == HttpExchange::Stage::NotSent) {
        RtResult result;
        result.outcome = RtResult::Outcome::NotSent;
        result.reason = QStringLiteral("the RT cannot be reached: ") + exchange.error;
        return withBaseline(result);
    }

    // The request left and no answer came back: only the RT knows whether it issued it.
    RtResult result = decide(baseline, receipt.total,
                             QStringLiteral("the RT's answer was lost (%1)").arg(exchange.error));
    result.before = baseline;
    return result;
}

RtResult RtPrinter::decide(const LastDocument& baseline, qint64 total, const QString& lost) {
    const RtResult after = status();
    RtResult result;
    result.before = baseline;
    result.answer = after.answer;
    const LastDocument last = lastDocument(after.answer);
    if (after.outcome != RtResult::Outcome::Done || !last.known || !baseline.known) {
        result.outcome = RtResult::Outcome::Unknown;
        result.reason = lost + QStringLiteral(" and the RT does not tell its last document (%1): "
                                              "look at the RT's last receipt before issuing this "
                                              "one again")
                                   .arg(after.outcome == RtResult::Outcome::Done
                                            ? QStringLiteral("no numbers in its answer")
                                            : after.reason);
        return result;
    }
    if (last.number == baseline.number && last.zNumber == baseline.zNumber) {
        result.outcome = RtResult::Outcome::NotIssued;
        result.reason = lost + QStringLiteral("; the RT's last document is still number %1, so "
                                              "this receipt was not issued")
                                   .arg(last.number);
        return result;
    }
    const bool next = (last.zNumber == baseline.zNumber && last.number == baseline.number + 1) ||
                      (last.zNumber != baseline.zNumber && last.number == 1);
    if (next && (!last.hasAmount || last.amount == total)) {
        result.outcome = RtResult::Outcome::Done;
        result.recovered = true;
        result.number = after.answer.receiptNumber();
        result.zNumber = after.answer.zNumber();
        return result;
    }
    result.outcome = RtResult::Outcome::Unknown;
    result.reason =
        lost + QStringLiteral("; the RT's last document is number %1 of %2, not "
                              "plainly this receipt: look at the RT's last receipts "
                              "before issuing this one again")
                   .arg(last.number)
                   .arg(last.hasAmount ? formatDecimal(last.amount, kCentsScale, QLatin1Char('.'))
                                       : QStringLiteral("an unknown amount"));
    return result;
}

RtResult RtPrinter::printNonFiscal(const QVector<TextLine>& lines) {
    const HttpExchange exchange = post(
        nonFiscalRequest(m_settings.dialect, lines, m_settings.operatorId), m_settings.timeoutMs);
    return exchange.stage == HttpExchange::Stage::Answered ? answered(exchange)
                                                           : unanswered(exchange);
}

RtResult RtPrinter::printReport(Report report) {
    const int timeoutMs = report == Report::Closure ? m_settings.timeoutMs * kClosureTimeoutFactor
                                                    : m_settings.timeoutMs;
    const HttpExchange exchange = post(
        reportRequest(m_settings.dialect, report, m_settings.operatorId, timeoutMs), timeoutMs);
    return exchange.stage == HttpExchange::Stage::Answered ? answered(exchange)
                                                           : unanswered(exchange);
}

} // namespace fiscal
