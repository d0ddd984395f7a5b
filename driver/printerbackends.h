// PrinterBackends: where the printer is chosen. One row per printer model that
// pastrel.printer.model can name: how to make its back-end, and how its job leaves the till.
//
// A back-end that writes a byte stream (the company printer, ESC/POS) renders into the device the
// job gives it, and the job delivers the bytes (a file, a /dev node, a network printer through the
// spool; spool/outputjob.h). A back-end that speaks another way (an HTTP request to a fiscal
// printer) is made with no device and delivers the job itself: its row's deliver operation is
// called once the document is rendered. To add a printer: write its back-end, add its row to
// kBackends in printerbackends.cpp.
#pragma once

#include "printerdriver.h"

#include <memory>

class QIODevice;

struct PrinterBackend {
    const char* model; // as pastrel.printer.model names it, lower case
    // The back-end, writing to device (null for a back-end that delivers itself).
    std::unique_ptr<PrinterDriver> (*make)(QIODevice* device, const PrinterProfile& profile);
    // Null: the job delivers the bytes. Otherwise the back-end's own delivery to the output the
    // suite named; false when the document did not reach the printer.
    bool (*deliver)(PrinterDriver& driver, const QByteArray& output);
    bool answersStatus; // the delivery asks the printer's status after the job (DLE EOT)
    // The page `pastrel-config test-page` prints (testpagelayout.h); null for a printer that
    // has none.
    bool (*printTestPage)(QIODevice* device, const PrinterProfile& profile, const char* model,
                          bool drawer);
};

namespace PrinterBackends {

// The row of the profile's model; the company printer when no model is named, or, with one line
// on standard error, when the name is unknown.
const PrinterBackend& choose(const PrinterProfile& profile);
// The row of a model name (lower case), or null.
const PrinterBackend* find(const QString& model);
// The model names known, for messages: "company, escpos, rt-epson or rt-custom".
QString names();
// The line that says a model name is unknown and the company printer prints instead; pastrel-print
// writes it on standard error, `pastrel-config check` reports it in the same words.
QString unknownModel(const QString& model);

} // namespace PrinterBackends
