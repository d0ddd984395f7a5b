// RtPrinter: one RT (registratore telematico) on the shop's network and the operations the suite
// asks of it: issue a fiscal receipt exactly once or not at all, print a non-fiscal document,
// print the daily closure or the X report, and tell its state.
//
// Exactly once: before a receipt is sent the RT is asked for its last document. When the answer
// to the receipt is lost (the connection drops or the wait ends after the request left), the RT
// is asked again before the run ends: a new last document of this receipt's amount means it was
// issued; the same last document means it was not. Anything else stays "unknown" and is said so,
// for a person to look at the RT before issuing it again.
#pragma once

#include "httpclient.h"
#include "rtprotocol.h"

#include <QString>

namespace fiscal {

struct RtSettings {
    Dialect dialect = Dialect::Epson;
    QString host;
    quint16 port = 80;
    QByteArray path; // empty: the dialect's own
    QByteArray user;
    QByteArray password;
    int operatorId = 1;
    int timeoutMs = 10000;
};

struct RtResult {
    enum class Outcome {
        Done,      // issued, printed, closed
        Refused,   // the RT answered no; nothing issued
        NotSent,   // the RT could not be reached, or the document was refused before sending
        NotIssued, // the answer was lost, and the RT says the receipt was not issued
        Unknown,   // the answer was lost, and the RT cannot tell
    };
    Outcome outcome = Outcome::NotSent;
    QString reason; // in words, when not Done
    Answer answer;  // the RT's last answer
    QString number; // the RT's document number, when issued
    QString zNumber;
    bool recovered = false; // Done after a lost answer (the RT's last document is this one)
    LastDocument before;    // a receipt: the RT's last document before it was sent
};

class RtPrinter {
public:
    explicit RtPrinter(const RtSettings& settings) : m_settings(settings) {}

    // "http://host:port" as the journal names the printer.
    QString name() const;

    RtResult issueReceipt(const Receipt& receipt);
    RtResult printNonFiscal(const QVector<TextLine>& lines);
    RtResult printReport(Report report);
    RtResult status();
    // After a lost answer (lost says how), whether the receipt of total was issued: the RT's
    // last document now against baseline, its last document before the receipt was sent. Done
    // (issued, recovered), NotIssued, or Unknown.
    RtResult decide(const LastDocument& baseline, qint64 total, const QString& lost);

private:
    HttpExchange post(const QByteArray& body, int timeoutMs);
    RtResult answered(const HttpExchange& exchange);

    RtSettings m_settings;
};

} // namespace fiscal
