// ReceiptDecoder: reads a print job back the way the receipt printer would print it, into a
// Paper: every character cell, logo, cut and drawer pulse at its place in printer dots.
//
// It knows the two back-ends of pastrel-print: the 40-column company printer (UTF-8 text or a
// code page, LF, CR, ESC i, RS, ESC p 0) and Epson-compatible ESC/POS printers (a job that starts
// with ESC @). A byte neither understands is kept as an unknown cell, so that a stray byte shows
// on the preview instead of disappearing.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QRect>
#include <QString>
#include <QVector>

struct CodePage;

namespace Preview {
constexpr int kCellWidth = 12;  // dots per character cell, as 80 mm thermal printers have
constexpr int kCellHeight = 24; // dots per line of normal text
constexpr int kCompanyColumns = 40;
constexpr int kEscPosColumns = 48;   // when the configuration names no width
constexpr int kMaxColumns = 255;     // the widest line the printer settings take
constexpr int kMaxPaperDots = 20000; // 2.5 m of paper at 8 dots a mm: a longer job is cut short
constexpr int kMaxMarks = 200000; // cells, cuts and pulses: overprinting without a feed stops here
} // namespace Preview

enum class Backend { Company, EscPos };

// One character cell: a character, or (unknown true) a byte that prints as its hex code.
struct PaperCell {
    QRect rect; // in dots, from the top left corner of the printable width
    char32_t character = 0;
    unsigned char byte = 0;
    bool unknown = false;
    bool bold = false;
};

struct PaperCut {
    int y = 0;
    bool partial = false;
};

struct PaperDrawer {
    int y = 0;
    QString label; // which pulse: "pin 2" or "pin 5" (ESC/POS), "pulse" or "drawer" (company)
};

struct PaperRaster {
    QRect rect;   // where the image lands, scaled by its width and height factors
    QImage image; // one bit a dot, as sent
};

struct Paper {
    Backend backend = Backend::Company;
    int columns = Preview::kCompanyColumns;
    int length = 0;         // dots of paper fed
    bool truncated = false; // the job ran past kMaxPaperDots or kMaxMarks
    QVector<PaperCell> cells;
    QVector<PaperRaster> rasters;
    QVector<PaperCut> cuts;
    QVector<PaperDrawer> drawers;

    int width() const { return columns * Preview::kCellWidth; }
};

struct DecodeOptions {
    int escPosColumns = Preview::kEscPosColumns;
    // Characters a line holds in the printer's condensed font (ESC M 1) across the same paper;
    // not above escPosColumns: condensed text takes the normal cells and wraps as they do.
    int escPosCondensedColumns = 0;
    // The printer's own number for the configured page (ESC t n), and that page: a job that
    // selects the page by it reads as that page, whatever page n means on other printers.
    int escPosPageNumber = -1; // none
    const CodePage* escPosNumberedPage = nullptr;
    const CodePage* companyCodePage = nullptr; // null: the company printer gets UTF-8
};

namespace ReceiptDecoder {
// The back-end that wrote bytes: ESC/POS when the job starts with ESC @.
Backend detect(const QByteArray& bytes);
Paper decode(const QByteArray& bytes, const DecodeOptions& options = {});
} // namespace ReceiptDecoder
