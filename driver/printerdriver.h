// PrinterDriver: the document renderer. It lays out the documents of the suite (kitchen ticket,
// receipts, invoices, delivery note, fiscal documents, reports and lists) as fixed-width lines
// and leaves the bytes of each request (bold, centring, cut, drawer) to a printer back-end, a
// subclass such as CompanyPrinterDriver.
//
// DocumentReader hands it the input as four operations: startDocument, startElement for every
// element, endElement and endDocument. A <method name="..."/> element picks the layout operation
// and loads that document type's settings (loadValues); every later element goes to it. The
// driver owns the output file and its text stream.
//
// Where each document is laid out, and its sample in examples/documents/:
//
//   method                     source file                   sample
//   printPartialOrder          printerdriver_kitchen.cpp     kitchen-order.xml
//   printAbstractOrder         printerdriver_kitchen.cpp     abstract-order.xml
//   printFullOrder             printerdriver_receipts.cpp    full-order.xml
//   printFullOrderReceipt      printerdriver_receipts.cpp    full-order-receipt.xml
//   printAbstractOrderReceipt  printerdriver_receipts.cpp    abstract-order-receipt.xml
//   printFullOrderInvoice      printerdriver_invoices.cpp    full-order-invoice.xml
//   printAbstractOrderInvoice  printerdriver_invoices.cpp    abstract-order-invoice.xml
//   printFullOrderDelivery     printerdriver_invoices.cpp    full-order-delivery.xml
//   printFullOrderFiscal       printerdriver_fiscal.cpp      full-order-fiscal.xml
//   printAbstractOrderFiscal   printerdriver_fiscal.cpp      abstract-order-fiscal.xml
//   printReport                printerdriver_reports.cpp     report.xml
//   printSold                  printerdriver_reports.cpp     sold.xml
//   printStatementOfAccount    printerdriver_reports.cpp     statement-of-account.xml
//
// The steps they share: the method table and element dispatch (printerdriver_dispatch.cpp); the
// document heads and the section elements every method offers first (printerdriver_headers.cpp);
// descriptionRow, the column heading and the separator (printerdriver_columns.cpp); the dish,
// variant and total rows used by several documents (printerdriver_rows.cpp); opening the output,
// the settings and the helpers (printerdriver.cpp); the qrcode and barcode elements
// (printerdriver_codes.cpp, codesymbol.h). docs/documents.md describes every document
// for the programs that write them.
//
// Where the bytes go: the renderer writes to the device it is given (a file, a spool file, a
// buffer); which device is the job's business (spool/outputjob.h, chosen in app/compile.cpp).
// The constructors on a path, which open the file themselves, stay for the suite's programs that
// render in-process. What the document says about its own printer comes back as printerAddress().
#pragma once

#include "printerprofile.h"

#include <QHash>
#include <QString>
#include <QXmlStreamAttributes>

#include <cstddef>
#include <functional>

class PAConfiguration;
class QFile;
class QIODevice;
struct CodePage;
struct CodeSymbol;
class QTextStream;

// The printer a document names for itself: its last "printers" element, wherever it stands and
// whatever the method. Delivery to "socket://" with no host uses it.
struct PrinterAddress {
    QString ipAddress;
    QString port;
};

class PrinterDriver {
public:
    using Attributes = QXmlStreamAttributes;

    // Opens path write-only, appending when append is true, truncating otherwise.
    PrinterDriver(const QString& path, bool append);
    // The same for a path given as the file system's bytes (argv), which reach the file
    // unchanged even when they are not UTF-8.
    PrinterDriver(const QByteArray& nativePath, bool append);
    // A full key's setting text, for the document settings ("pastrel.receiptdoc.paperWidth").
    using SettingLookup = std::function<QString(const QString&)>;
    // Writes to device, open for writing and not owned (null: the job has nowhere to go, and
    // nothing is written). The document settings come from settings, or from the process's
    // configuration when it is empty.
    PrinterDriver(QIODevice* device, const PrinterProfile& profile,
                  SettingLookup settings = SettingLookup());
    virtual ~PrinterDriver();
    PrinterDriver(const PrinterDriver&) = delete;
    PrinterDriver& operator=(const PrinterDriver&) = delete;

    // The operations DocumentReader calls while it reads the input.
    virtual bool startDocument();
    virtual bool startElement(const QString& qName, const Attributes& attributes);
    virtual bool endElement(const QString& qName);
    virtual bool endDocument();

    // The virtual operations, numbered in their vtable order; a new operation goes at the end,
    // so that the slots of the others stay where back-ends expect them.
    virtual unsigned int getPaperWidth() = 0;                                       // 1
    virtual void reset() {}                                                         // 2
    virtual void setBold() = 0;                                                     // 3
    virtual void setCharSize() = 0;                                                 // 4
    virtual void setCharSize(int size) = 0;                                         // 5
    virtual void setCenterJustify() = 0;                                            // 6
    virtual void fullCut() = 0;                                                     // 7
    virtual void generatePulse() = 0;                                               // 8
    virtual void printSeparatorLine();                                              // 9
    virtual void startSection() = 0;                                                // 10
    virtual void endSection() = 0;                                                  // 11
    virtual void initPrinter() {}                                                   // 12
    virtual void print(unsigned int indent, const QString& text) = 0;               // 13
    virtual void println(unsigned int indent, const QString& text) = 0;             // 14
    virtual void println(const QString& text) = 0;                                  // 15
    virtual void printRowFiscal(const QString& name, const Attributes& attributes); // 16
    virtual void printRowFiscal(const QString& first, const QString& second,        // 17
                                const QString& third, const QString& fourth);
    virtual void printGeometry(const Attributes& attributes);                            // 18
    virtual void printPrinterInfo();                                                     // 19
    virtual void printHeaders(const Attributes& attributes);                             // 20
    virtual void printLogo() = 0;                                                        // 21
    virtual void printCompanyHeader(const Attributes& attributes);                       // 22
    virtual void printReceiptHeader(const Attributes& attributes);                       // 23
    virtual void printInvoiceHeader(const Attributes& attributes);                       // 24
    virtual void printDeliveryHeader(const Attributes& attributes);                      // 25
    virtual void printCustomerHeader(const Attributes& attributes);                      // 26
    virtual void printOrderInfo(const Attributes& attributes);                           // 27
    virtual bool printSections(const QString& name, const Attributes& attributes);       // 28
    virtual void printColumnsHeader(const QString& quantity, const QString& description, // 29
                                    const QString& price, const QString& total);
    virtual void printPartialOrder(const QString& name, const Attributes& attributes);         // 30
    virtual void printFullOrder(const QString& name, const Attributes& attributes);            // 31
    virtual void printFullOrderReceipt(const QString& name, const Attributes& attributes);     // 32
    virtual void printFullOrderInvoice(const QString& name, const Attributes& attributes);     // 33
    virtual void printFullOrderDelivery(const QString& name, const Attributes& attributes);    // 34
    virtual void printFullOrderFiscal(const QString& name, const Attributes& attributes);      // 35
    virtual void printAbstractOrder(const QString& name, const Attributes& attributes);        // 36
    virtual void printAbstractOrderReceipt(const QString& name, const Attributes& attributes); // 37
    virtual void printAbstractOrderInvoice(const QString& name, const Attributes& attributes); // 38
    virtual void printAbstractOrderFiscal(const QString& name, const Attributes& attributes);  // 39
    virtual void printReport(const QString& name, const Attributes& attributes);               // 40
    virtual void printSold(const QString& name, const Attributes& attributes);                 // 41
    virtual void printStatementOfAccount(const QString& name, const Attributes& attributes);   // 42
    virtual bool printDuplicate();                                                             // 43
    // A QR code or barcode of the document, its data already checked: the printer's own
    // symbol where it has one; here, for printers without, its text as a centred line.
    virtual void printCodeSymbol(const CodeSymbol& symbol); // 44
    // A method of the back-end's own, named by a method element the table above does not know
    // (the fiscal printer's daily closure): true when the back-end takes it, and its elements
    // are then ignored. The byte-stream back-ends take none.
    virtual bool startBackEndMethod(const QString&) { return false; } // 45

    // Non-virtual members.
    void loadValues(const QString& doc);
    QString documentPath(const QString& doc);
    bool oneTime();
    QString descriptionRow(const QString& first, const QString& second, const QString& third,
                           const QString& fourth, const QChar& fill, const QString& mode);

    // The address of the document's last printers element, for delivering the job.
    const PrinterAddress& printerAddress() const { return m_printerAddress; }
    // Writes out what the text stream still holds; false when a write has failed.
    bool flush();
    // The line printed on standard output when the output cannot be opened (SuiteLines).
    static const char* const kUnableToOpenFile;

protected:
    // The translation lookup of every printed label: context "QObject", no comment, the context
    // the suite's catalogues (translations/pastrel_it_IT.ts) have always used.
    static QString tr(const char* sourceText);
    // A missing attribute reads as the empty text.
    static QString value(const Attributes& attributes, const char* name);
    // A text converted to a whole number with the toolkit's base-10 rule (bad or missing: 0).
    static int toInt(const QString& text);
    QString setting(const char* key) const;
    // False when the output could not be opened or a write to it has failed (a full disk):
    // writers then drop their text. QTextStream keeps every later text in memory once a write
    // has failed, so without this a failed device would hold the whole document.
    bool writable() const;
    // Text to the output: through the text stream in UTF-8, as the suite's printers have always
    // received it, or, once selectCodePage has chosen a page, one byte per character of that page.
    void write(const QString& text);
    // Control bytes as they are, past the code page (bytes from 0x80 up need a code page).
    void writeBytes(const QByteArray& bytes);
    // Chooses the page the profile names, or fallback when it names none (nullptr: UTF-8). An
    // unknown name is reported on standard error and fallback taken.
    void selectCodePage(const CodePage* fallback);
    const PrinterProfile& profile() const { return m_profile; }
    // From now on the control characters of the document's attribute values (a TAB, LF or CR
    // written as a character reference inside a dish name) reach the layouts as blanks, so that
    // no row of a printer that would obey them loses its width.
    void setBlankControlCharacters() { m_blankControls = true; }
    const CodePage* codePage() const { return m_codePage; }

    PAConfiguration* m_configuration; // not owned
    QString m_method;
    QFile* m_file;         // owned
    QByteArray m_path;     // the output as the file system's bytes
    QTextStream* m_stream; // owned; null when the output could not be opened
    bool m_duplicate = false;
    bool m_oneTimeDone = false;
    QString m_justification;
    QString m_documentPrefix;
    QString m_printerName;
    // Settings of the current document type: 0 and false before the first method.
    int m_quantityFieldWidth = 0;
    int m_priceFieldWidth = 0;
    int m_totalPriceFieldWidth = 0;
    int m_paperWidth = 40;
    int m_paperRows = 0;
    QString m_text; // working text for the layouts
    bool m_printGeometry = false;
    bool m_printHeader = false;
    bool m_printLogo = false;
    bool m_printCompany = false;
    bool m_printDeliveryAddress = false;
    bool m_printTelephone = false;
    bool m_printDate = false;
    bool m_printTime = false;
    bool m_printTable = false;
    bool m_printCustomer = false;
    bool m_printBillingAddress = false;
    bool m_printLicenseNumber = false;
    bool m_printFiscalCode = false;
    bool m_printCredit = false;
    bool m_printWaiter = false;
    bool m_printNote = false;
    bool m_openCashDrawer = false;
    QString m_credit;

private:
    using Layout = void (PrinterDriver::*)(const QString&, const Attributes&);
    // The three column headings of the order documents: unit price and amount, the abstract
    // order's price alone, and the delivery note's none.
    enum class ColumnsHeader { Priced, AbstractOrder, Unpriced };
    void printColumnsHeaderOnce(ColumnsHeader kind);
    void printAddress(const QString& address);
    // A qrcode or barcode element: its symbol, or, for data its symbology cannot hold, nothing
    // and one line on standard error (printerdriver_codes.cpp).
    void printCode(const QString& name, const Attributes& attributes);
    void printLabelLine(const char* label, const QString& text);
    // The blocks the order documents print for their elements (printerdriver_rows.cpp), each
    // taking (element name, attributes) as a layout does, so that a document's routing is a table.
    static QString variantSign(const QString& quantity);
    static QString variantDescription(const Attributes& attributes);
    void requestDishSize(const QString& name);
    void printCustomerBlock(const QString& name, const Attributes& attributes);
    void printKitchenDishRow(const QString& name, const Attributes& attributes);
    void printKitchenVariantRow(const QString& name, const Attributes& attributes);
    void printFullOrderDishRow(const QString& name, const Attributes& attributes);
    void printReceiptDishRow(const QString& name, const Attributes& attributes);
    void printDeliveryDishRow(const QString& name, const Attributes& attributes);
    void printPricedVariantRow(const QString& name, const Attributes& attributes);
    void printAbstractOrderRow(const QString& name, const Attributes& attributes);
    void printTotalBlock(const QString& name, const Attributes& attributes);
    void printBoldTotalBlock(const QString& name, const Attributes& attributes);
    void printNotPaidLine(const QString& name, const Attributes& attributes);
    void printAbstractNotPaidLine(const QString& name, const Attributes& attributes);
    void printTotalRow(const char* label, const QString& amount);
    void printTaxSummary(const QString& name, const Attributes& attributes);
    // The lines of the summary report (printerdriver_reports.cpp).
    QString dottedLabel(const QString& label);
    void printReportTitle(const char* title);
    void printDottedLine(const char* label, const QString& text);
    void printSerialsLine(const Attributes& attributes);
    Layout m_layout = nullptr; // the layout operation named by m_method

    // One row of an order document's routing: an element name and the block that prints it.
    struct Route {
        const char* element;
        Layout block;
    };
    // The element goes to printSections first (the common blocks), then to the block of the
    // route that names it; an element no route names prints nothing.
    template <std::size_t N>
    void route(const Route (&routes)[N], const QString& name, const Attributes& attributes) {
        if (printSections(name, attributes))
            return;
        for (const Route& r : routes) {
            if (name == QLatin1String(r.element)) {
                (this->*r.block)(name, attributes);
                return;
            }
        }
    }

    const CodePage* m_codePage = nullptr; // null: UTF-8 text
    QString m_unencodable;                // characters the page lacks, each reported once
    // setting() answers, by full key.
    mutable QHash<QString, QString> m_settings;
    PrinterProfile m_profile;
    SettingLookup m_lookup; // empty: m_configuration
    PrinterAddress m_printerAddress;
    bool m_blankControls = false;
    void openStream(QIODevice* device);
};
