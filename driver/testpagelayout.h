// TestPageLayout: the page `pastrel-config test-page` prints to show that a printer is set up,
// laid out by the back-end that prints the till's documents: the model, the columns and the code
// page in use, a ruler as wide as the paper, the Italian letters and the euro, bold and tall
// text, then the end of a page.
//
// A back-end that writes a byte stream names its instance in its row of kBackends
// (printerbackends.cpp); one that delivers itself (a fiscal printer) has no test page.
#pragma once

class PrinterProfile;
class QIODevice;

namespace TestPageLayout {

// Lays the page out for the back-end Driver on device, "Model: " model; with drawer the cash
// drawer opens after the cut, as at the end of a document with openCashDrawer on. False when a
// write failed.
template <class Driver>
bool print(QIODevice* device, const PrinterProfile& profile, const char* model, bool drawer);

} // namespace TestPageLayout
