// Journal: the till's record of every fiscal operation, $HOME/.pastrel/fiscal/journal, one line
// per operation, so the suite (and a person after a power cut) can tell which receipts the RT
// issued and under which numbers.
//
// A line is eight fields separated by tabs:
//   time (ISO 8601, local, with offset)  printer  document  outcome  RT number  Z number
//   amount  RT status
// For the outcome "unknown" (a receipt's answer was lost and the RT did not tell) the RT number
// and Z number are those of the RT's last document before the receipt was sent: the next run on
// that RT decides it from them before it issues anything.
// Tabs and line ends inside a field become blanks; an empty field is "-". Each line is written
// with one write() on a file opened with O_APPEND and then synced, so a crash leaves whole lines
// only, and two tills sharing a home never mix their lines.
#pragma once

#include <QDateTime>
#include <QString>

namespace fiscal {

struct JournalEntry {
    QDateTime time;
    QString printer;  // http://host:port
    QString document; // the input file, as given
    QString outcome;  // issued, refused, not-sent, not-issued, unknown, closure, x-report,
                      // unknown-closure, unknown-x-report
    QString number;   // the RT's document number
    QString zNumber;  // the RT's Z (daily closure) number
    QString amount;   // the receipt's total, 12.50
    QString status;   // the RT's printer status
};

class Journal {
public:
    explicit Journal(const QString& path = defaultPath()) : m_path(path) {}
    static QString defaultPath(); // $HOME/.pastrel/fiscal/journal

    // Appends one line; false with error set when it could not (the folder cannot be made, a
    // full disk).
    bool append(const JournalEntry& entry, QString* error) const;
    // The last whole line, without its line end; empty when there is none.
    QString lastLine() const;
    // The last whole line of this printer's operations; empty when there is none.
    QString lastLineFor(const QString& printer) const;
    static QString format(const JournalEntry& entry);

private:
    QString m_path;
};

} // namespace fiscal
