// QR codes and barcodes: the qrcode and barcode elements every method that prints lines accepts,
// centred on the paper. Their data is checked here, once for every back-end, so that a voucher
// number a till mistyped prints nothing on any printer, and the rest of the document prints.
#include "codesymbol.h"
#include "printerdriver.h"

void PrinterDriver::printCode(const QString& name, const Attributes& attributes) {
    CodeSymbol symbol;
    QString why;
    if (CodeSymbol::fromElement(name, attributes, &symbol, &why))
        printCodeSymbol(symbol);
    else
        CodeSymbol::reportUnprinted(name, value(attributes, "data").toUtf8(), why);
}

void PrinterDriver::printCodeSymbol(const CodeSymbol& symbol) {
    // The justification the document had stays for the lines after the code.
    const QString justification = m_justification;
    setCenterJustify();
    println(symbol.readable());
    m_justification = justification;
}
