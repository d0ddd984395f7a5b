// The smallest receipt the fault tests render: its document, its configuration and the bytes it
// prints at 40 columns, written by hand.
#pragma once

#include <QByteArray>

namespace testsupport {

inline const QByteArray kEnd = QByteArray(9, '\n') + "\r\x1bi\x1e"; // 9 LF, CR, cut, pulse
inline const QByteArray kDrawer = "\x1bp0";                         // open the cash drawer
inline const QByteArray kSeparator(40, '=');
// The drawer's bytes come only when the configuration file was read.
inline const QByteArray kReceiptConf =
    "pastrel : { receiptdoc : { openCashDrawer = \"true\"; }; };";

inline QByteArray receiptHead(const QByteArray& serial) {
    return " Serial Number: " + serial + "\n" + kSeparator + "\n";
}

inline QByteArray receiptDocument(const QByteArray& serial) {
    return "<doc><method name=\"printFullOrderReceipt\"/><receipt serialnumber=\"" + serial +
           "\"/></doc>";
}

} // namespace testsupport
