// The smallest receipt the command-line and fault tests render: its document, its configuration
// and the bytes it prints at 40 columns, written by hand.
#pragma once

#include <QByteArray>

namespace testsupport {

// The end sequence: nine line feeds, CR, cut (ESC i), pulse (RS).
inline const QByteArray kEnd = QByteArray(9, '\n') + "\r\x1bi\x1e";
inline const QByteArray kDrawer = "\x1bp0"; // ESC p 0: open the cash drawer
inline const QByteArray kSeparator(40, '=');
// The drawer setting makes a read configuration visible in the output: its bytes come only
// when the file was read.
inline const QByteArray kReceiptConf =
    "pastrel : { receiptdoc : { openCashDrawer = \"true\"; }; };";

// A receipt head with serial number 'serial' (40 columns).
inline QByteArray receiptHead(const QByteArray& serial) {
    return " Serial Number: " + serial + "\n" + kSeparator + "\n";
}

inline QByteArray receiptDocument(const QByteArray& serial) {
    return "<doc><method name=\"printFullOrderReceipt\"/><receipt serialnumber=\"" + serial +
           "\"/></doc>";
}

} // namespace testsupport
