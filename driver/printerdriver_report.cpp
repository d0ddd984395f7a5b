// Report documents: Parts 2.8 and 2.9. Filled in by the report-documents issue.
#include "printerdriver.h"

void PrinterDriver::printReport(const QString&, const Attributes&) {}
void PrinterDriver::printSold(const QString&, const Attributes&) {}
void PrinterDriver::printStatementOfAccount(const QString&, const Attributes&) {}
