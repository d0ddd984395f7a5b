// Single-byte code pages of ESC/POS receipt printers, as data: each page is the table of the
// characters its upper 128 bytes print. The lower half of every page here is ASCII.
//
// A printer prints one byte into one cell, so text encoded through a page keeps exactly the width
// the layout gave it: a character the page lacks becomes one '?' per UTF-16 unit the layout
// counted, never a multi-byte sequence that would shift the rest of the row.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

struct CodePage {
    const char* name;           // as the configuration names it: "PC858"
    unsigned char escPosNumber; // n of ESC t n on Epson-compatible printers
    char16_t upper[128];        // the character of each byte 0x80..0xFF; 0 where the page has none
};

namespace CodePages {
// The page named name (case-insensitive), or nullptr when no page has that name.
const CodePage* byName(QStringView name);
// The pages' names in alphabetical order, as the lines that name the accepted values list them:
// "PC437, PC850, PC858 or WPC1252".
QString names();
// Every page, for listing and for tests.
const CodePage* begin();
const CodePage* end();

// text as bytes of page. A character the page lacks becomes '?' (two for one beyond U+FFFF);
// when missing is given, each such character is appended to it once.
QByteArray encode(const CodePage& page, QStringView text, QString* missing = nullptr);
// bytes as text; a byte the page does not define decodes to U+FFFD.
QString decode(const CodePage& page, QByteArrayView bytes);
} // namespace CodePages
