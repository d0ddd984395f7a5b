// The two XML dialects the shops' RTs (registratori telematici) speak over HTTP: what
// pastrel-print sends for each operation, and how it reads the RT's answer.
//
//   Epson-compatible ("fpMate"): POST /cgi-bin/fpmate.cgi?devid=local_printer&timeout=MS, the
//   request in a SOAP envelope, amounts with a decimal comma, an operator on every command.
//   Custom-compatible: POST /xml/printer.htm, plain XML, HTTP Basic authentication, amounts
//   with a decimal point.
//
// Both answer <response success="true|false" code=".." status=".."> with an <addInfo> of
// named values (receipt number, Z number, amount, printer status).
#pragma once

#include "receipt.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVector>

namespace fiscal {

enum class Dialect { Epson, Custom };

// A line of a non-fiscal document and the RT font it is printed in.
enum class Font { Normal, Bold, Tall };
struct TextLine {
    QString text;
    Font font = Font::Normal;
};

enum class Report { Closure, X }; // daily closure (Z report) and the day's figures (X report)

// The request path of the dialect; the Epson one carries the RT's own wait in milliseconds.
QByteArray requestPath(Dialect dialect, int timeoutMs);
QByteArray contentType(Dialect dialect);

// The request bodies (UTF-8 XML).
QByteArray receiptRequest(Dialect dialect, const Receipt& receipt, int operatorId);
QByteArray nonFiscalRequest(Dialect dialect, const QVector<TextLine>& lines, int operatorId);
QByteArray reportRequest(Dialect dialect, Report report, int operatorId, int timeoutMs);
// The RT's state and its last document (number, Z number, amount, date and time).
QByteArray statusRequest(Dialect dialect, int operatorId);

// The RT's answer. parsed is false when the body held no <response> element.
struct Answer {
    bool parsed = false;
    bool success = false;
    QString code;
    QString status;
    QMap<QString, QString> info; // the elements of addInfo by name

    // The values every operation reports, whichever dialect named them.
    QString receiptNumber() const;
    QString zNumber() const;
    QString amount() const; // as the RT wrote it
    QString printerStatus() const;
};
Answer parseAnswer(const QByteArray& body);

// Why the RT refused, in words a person at the till understands and can act on.
QString refusalInWords(const Answer& answer);

// The RT's last document as a status answer reports it; known is false when the answer lacks
// the numbers.
struct LastDocument {
    bool known = false;
    qint64 number = 0;
    qint64 zNumber = 0;
    bool hasAmount = false;
    qint64 amount = 0; // cents
};
LastDocument lastDocument(const Answer& answer);

} // namespace fiscal
