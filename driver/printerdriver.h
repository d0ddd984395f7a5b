// PrinterDriver: the abstract document renderer (Parts 2.1 to 2.11).
//
// It is the content handler of the parse (DESIGN.md, "Reading the input"): the four SAX-shaped
// operations startDocument, startElement, endElement and endDocument. It owns the output file and
// its text stream, holds the settings of the current document type (loadValues) and declares the
// virtual interface through which the layout Parts drive a printer back-end (Part 3.1).
//
// The layout operations live in one source file per Part: printerdriver_layout.cpp (2.3),
// printerdriver_headers.cpp (2.4, 2.5), printerdriver_orders.cpp (2.6, 2.7, 2.10, 2.11),
// printerdriver_fullorders.cpp (the three full-order documents left to the implementer),
// printerdriver_report.cpp (2.8, 2.9); the element dispatch of
// Part 2.2 is printerdriver_dispatch.cpp.
#pragma once

#include <QHash>
#include <QString>
#include <QXmlStreamAttributes>

class PAConfiguration;
class QFile;
class QTextStream;

class PrinterDriver {
public:
    using Attributes = QXmlStreamAttributes;

    // Opens path write-only, appending when append is true, truncating otherwise (Part 2.1).
    PrinterDriver(const QString& path, bool append);
    // The same for a path given as the file system's bytes (argv), which reach the file
    // unchanged even when they are not UTF-8.
    PrinterDriver(const QByteArray& nativePath, bool append);
    virtual ~PrinterDriver();
    PrinterDriver(const PrinterDriver&) = delete;
    PrinterDriver& operator=(const PrinterDriver&) = delete;

    // SAX-shaped operations (Parts 2.1 and 2.2).
    virtual bool startDocument();
    virtual bool startElement(const QString& qName, const Attributes& attributes);
    virtual bool endElement(const QString& qName);
    virtual bool endDocument();

    // Virtual operations in the slot order of Part 2.1.
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

    // Non-virtual members (Parts 2.1 and 2.3).
    void loadValues(const QString& doc);
    QString documentPath(const QString& doc);
    bool oneTime();
    QString descriptionRow(const QString& first, const QString& second, const QString& third,
                           const QString& fourth, const QChar& fill, const QString& mode);

    // Read-only views for the tests and the back-end.
    const QString& method() const { return m_method; }
    const QString& documentPrefix() const { return m_documentPrefix; }
    bool isOpen() const { return m_stream != nullptr; }

protected:
    // The translation lookup of the Parts: Qt 3's tr() with no comment in the default context,
    // which is QCoreApplication::translate("QObject", ...) on Qt 6 (DESIGN.md).
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
    QString m_printerCharSize;
    QString m_printerIpAddress;
    QString m_printerPort;
    // Settings of the current document type: 0 and false before the first method (DESIGN.md).
    int m_quantityFieldWidth = 0;
    int m_priceFieldWidth = 0;
    int m_totalPriceFieldWidth = 0;
    int m_paperWidth = 40;
    int m_paperRows = 0;
    QString m_text; // working text of the layout Parts
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
    void printAddress(const QString& address);
    void printLabelLine(const char* label, const QString& text);
    // Shared rows of the order documents (Parts 2.6, 2.7, 2.10, 2.11), reused by the three
    // full-order documents of printerdriver_fullorders.cpp.
    static QString variantSign(const QString& quantity);
    static QString variantDescription(const Attributes& attributes);
    void requestDishSize(const QString& name);
    void printKitchenVariantRow(const Attributes& attributes);
    void printPricedHeading();
    void printReceiptDishRow(const Attributes& attributes);
    void printPricedVariantRow(const Attributes& attributes);
    void printAbstractOrderRow(const Attributes& attributes);
    void printTotalRow(const char* label, const QString& amount);
    void printTaxSummary(const Attributes& attributes);
    // Shared lines of the report (Part 2.8).
    QString dottedLabel(const QString& label);
    void printReportTitle(const char* title);
    void printDottedLine(const char* label, const QString& text);
    void printSerialsLine(const Attributes& attributes);
    Layout m_layout = nullptr; // the layout operation named by m_method (Part 2.2)
    // setting() answers, by full key.
    mutable QHash<QString, QString> m_settings;
};
