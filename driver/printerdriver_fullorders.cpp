// The full-order invoice, delivery note and fiscal document: layouts left to the implementer
// (Part 2.5, "Left to the implementer"); their element tables are in docs/documents.md.
#include "printerdriver.h"

void PrinterDriver::printFullOrderInvoice(const QString&, const Attributes&) {}
void PrinterDriver::printFullOrderDelivery(const QString&, const Attributes&) {}
void PrinterDriver::printFullOrderFiscal(const QString&, const Attributes&) {}
