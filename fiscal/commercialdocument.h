// The documento commerciale as an RT prints it for a request, in lines of text, so that
// pastrel-preview can draw a receipt before any RT has issued it: the head, "DOCUMENTO
// COMMERCIALE di vendita o prestazione", each sale with its VAT rate, the total, "di cui IVA",
// the payments and the closing lines. What only the RT knows (the shop's head from its memory,
// the document's number, date and time, its serial number) is shown as a placeholder.
#pragma once

#include "receipt.h"

#include <QByteArray>
#include <QStringList>

namespace fiscal {

// True when body is a request of either dialect (a receipt, a non-fiscal document, a report).
bool isRtRequest(const QByteArray& body);

// The lines the RT prints for the request, columns wide; a sale's VAT rate comes from the
// reparti table (a reparto it lacks shows as "R.N", and its VAT is left out of "di cui IVA").
QStringList commercialDocument(const QByteArray& request, const DepartmentTable& departments,
                               int columns);

} // namespace fiscal
