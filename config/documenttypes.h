// DocumentTypes: the one table of the suite's document types and the settings group each one
// reads ("receipt" reads pastrel.receiptdoc.*). The renderer's settings, the copy numbers of the
// utility class and `pastrel-config check` all look a type up here.
#pragma once

#include <QString>

namespace DocumentTypes {

struct Type {
    const char* name;  // as the renderer and the suite name it: "receipt"
    const char* group; // its settings group under "pastrel.": "receiptdoc"
    bool copyNumber;   // the utility class keeps a copy number for it
};

// In the order the types are compared; the sold list has no copy number.
inline constexpr Type kTypes[] = {
    {"order", "doc", true},          {"prefiscal", "prefiscaldoc", true},
    {"fiscal", "fiscaldoc", true},   {"receipt", "receiptdoc", true},
    {"invoice", "invoicedoc", true}, {"delivery", "deliverydoc", true},
    {"report", "reportdoc", true},   {"sold", "solddoc", false},
};

// The type named so, lower-cased first; null when none is.
const Type* find(const QString& name);
// "pastrel.<group>." of a type.
QString prefix(const Type& type);

} // namespace DocumentTypes
