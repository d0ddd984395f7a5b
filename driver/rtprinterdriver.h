// RtPrinterDriver: the printer back-end for a fiscal printer (RT) of either dialect. Unlike the
// byte-stream back-ends it sends nothing while the document is read: the fiscal documents'
// rows become one receipt, checked whole; every other document's lines become one non-fiscal
// document; the methods printFiscalClosure and printFiscalReport become the daily closure and
// the X report. Once the document has been read, deliver() sends it to the RT once, the outcome
// goes to the journal, and a failure is said in words on standard error (the caller prints the
// suite's "Unable To Open File" line).
#pragma once

#include "printerdriver.h"
#include "receipt.h"
#include "rtprinter.h"
#include "rtprotocol.h"

#include <QVector>

class RtPrinterDriver : public PrinterDriver {
public:
    // The dialect is the profile's model's (rt-epson, rt-custom). No device: the back-end
    // delivers the job itself (driver/printerbackends.h).
    RtPrinterDriver(QIODevice* device, const PrinterProfile& profile);
    ~RtPrinterDriver() override;

    // The back-end table's delivery: deliver() to pastrel-print's output argument, the journal
    // naming the document as pastrel-print's first argument.
    static bool deliverJob(PrinterDriver& driver, const QByteArray& output);

    // True for the output names this back-end takes: "http://...".
    static bool isRtOutput(const QString& output);
    // The dialect pastrel.printer.model names ("rt-epson", "rt-custom"); false for any other
    // model.
    static bool dialectOf(const QString& model, fiscal::Dialect* dialect);
    // The RT at url ("http://HOST[:PORT][/path]") with the profile's user, password, operator
    // and timeout. False when the url names no host.
    static bool settingsFor(fiscal::Dialect dialect, const QString& url,
                            const PrinterProfile& profile, fiscal::RtSettings* settings);

    unsigned int getPaperWidth() override;
    void setBold() override;
    void setCharSize() override;
    void setCharSize(int size) override;
    void setCenterJustify() override;
    void fullCut() override {}       // the RT cuts at the end of each document by itself
    void generatePulse() override {} // the RT opens its drawer for a fiscal receipt by itself
    void startSection() override {}
    void endSection() override;
    void print(unsigned int indent, const QString& text) override;
    void println(unsigned int indent, const QString& text) override;
    void println(const QString& text) override;
    void printRowFiscal(const QString& name, const Attributes& attributes) override;
    void printRowFiscal(const QString& department, const QString& quantity,
                        const QString& description, const QString& price) override;
    void printLogo() override {} // the RT prints the shop's head from its own memory
    bool startBackEndMethod(const QString& name) override;

    // Sends the document read to output, "http://HOST[:PORT][/path]" or "http://" alone for the
    // address of the document's last printers element; any other output is a file that receives
    // the request instead (pastrel-preview draws it), nothing reaching an RT or the journal.
    // document is the input file, named in the journal. False when it did not reach the RT or
    // the RT refused it, the reason on standard error; a document that ended before its end
    // (malformed, cut short) sends nothing and is false.
    bool deliver(const QString& output, const QString& document);

private:
    bool send();
    bool writeRequest();
    bool fiscalDocument() const; // the current method is one of the two fiscal documents
    // Decides an earlier receipt on this RT whose answer was lost undecided; true when this
    // receipt must not be sent (it is that receipt, issued or still undecided).
    // delivered is the run's result then.
    bool decideEarlier(fiscal::RtPrinter& printer, qint64 total, const QString& what,
                       bool* delivered);
    bool fail(const QString& what, const QString& reason); // says why; false

    fiscal::Dialect m_dialect;
    QString m_output;
    QString m_document;
    fiscal::DepartmentTable m_departments;
    QString m_departmentsError;
    fiscal::ReceiptBuilder m_receipt;
    QVector<fiscal::TextLine> m_lines;
    QString m_pending; // printed text of the line not yet ended
    fiscal::Font m_font = fiscal::Font::Normal;
    bool m_fiscal = false;
    enum class Report { None, Closure, X } m_report = Report::None;
    bool m_tooLong = false;  // a non-fiscal document of more lines than are kept
    bool m_complete = false; // endSection: the document was read to its end
    bool m_delivered = false;
};
