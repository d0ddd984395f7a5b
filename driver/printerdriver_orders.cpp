// Order documents: Parts 2.6, 2.7, 2.10, 2.11 and the three full-order documents left to the
// implementer (docs/documents.md). Filled in by the order-documents issue.
#include "printerdriver.h"

void PrinterDriver::printPartialOrder(const QString&, const Attributes&) {}
void PrinterDriver::printFullOrder(const QString&, const Attributes&) {}
void PrinterDriver::printFullOrderReceipt(const QString&, const Attributes&) {}
void PrinterDriver::printFullOrderInvoice(const QString&, const Attributes&) {}
void PrinterDriver::printFullOrderDelivery(const QString&, const Attributes&) {}
void PrinterDriver::printFullOrderFiscal(const QString&, const Attributes&) {}
void PrinterDriver::printAbstractOrder(const QString&, const Attributes&) {}
void PrinterDriver::printAbstractOrderReceipt(const QString&, const Attributes&) {}
void PrinterDriver::printAbstractOrderInvoice(const QString&, const Attributes&) {}
void PrinterDriver::printAbstractOrderFiscal(const QString&, const Attributes&) {}
