#include "receiptdecoder.h"

#include "codepage.h"
#include "codesymbol.h"
#include "controlcodes.h"
#include "escposcodes.h"

#include <algorithm>

namespace CC = ControlCodes;
namespace EP = EscPosCodes;
using namespace Preview;

namespace {

enum class Action {
    LineFeed,
    CarriageReturn,
    Initialise,
    International,
    SelectCodePage,
    Bold,
    Size,
    Justify,
    FeedLines,
    Cut,
    DrawerPulse,
    Raster,
    FeedDots,
    BarcodeHeight,
    BarcodeWidth,
    BarcodeText,
    Barcode,
    QrCode,
    StatusQuery,
    CompanyCut,
    CompanyPulse,
    CompanyDrawer,
    CancelDoubleByte,
    Font,
};

// A command as the printer recognises it: the bytes that name it and how many parameter bytes
// follow (kCounted: the command's own bytes say how many).
struct Command {
    char prefix[3];
    int prefixLength;
    int parameters;
    Action action;
};
constexpr int kCounted = -1;

const Command kEscPosCommands[] = {
    {{CC::LF}, 1, 0, Action::LineFeed},
    {{CC::CR}, 1, 0, Action::CarriageReturn},
    {{EP::ESC, EP::INITIALIZE}, 2, 0, Action::Initialise},
    {{EP::ESC, EP::CHARACTER_SET}, 2, 1, Action::International},
    {{EP::ESC, EP::CODE_TABLE}, 2, 1, Action::SelectCodePage},
    {{EP::ESC, EP::EMPHASIS}, 2, 1, Action::Bold},
    {{EP::GS, EP::CHARACTER_SIZE}, 2, 1, Action::Size},
    {{EP::ESC, EP::JUSTIFY}, 2, 1, Action::Justify},
    {{EP::ESC, EP::FEED_LINES}, 2, 1, Action::FeedLines},
    {{EP::GS, EP::CUT}, 2, kCounted, Action::Cut},
    {{EP::ESC, EP::PULSE}, 2, 3, Action::DrawerPulse},
    {{EP::GS, EP::RASTER_IMAGE, EP::RASTER_FORMAT}, 3, kCounted, Action::Raster},
    {{EP::ESC, EP::FEED_DOTS}, 2, 1, Action::FeedDots},
    {{EP::GS, EP::BARCODE_HEIGHT}, 2, 1, Action::BarcodeHeight},
    {{EP::GS, EP::BARCODE_WIDTH}, 2, 1, Action::BarcodeWidth},
    {{EP::GS, EP::BARCODE_TEXT}, 2, 1, Action::BarcodeText},
    {{EP::GS, EP::BARCODE}, 2, kCounted, Action::Barcode},
    {{EP::GS, EP::SYMBOL, EP::SYMBOL_FUNCTION}, 3, kCounted, Action::QrCode},
    {{EP::DLE, EP::EOT}, 2, 1, Action::StatusQuery},
    {{EP::FS, EP::CANCEL_KANJI}, 2, 0, Action::CancelDoubleByte},
    {{EP::ESC, EP::FONT}, 2, 1, Action::Font},
};

const Command kCompanyCommands[] = {
    {{CC::LF}, 1, 0, Action::LineFeed},
    {{CC::CR}, 1, 0, Action::CarriageReturn},
    {{CC::ESC, CC::CUT}, 2, 0, Action::CompanyCut},
    {{CC::RS}, 1, 0, Action::CompanyPulse},
    {{CC::ESC, CC::DRAWER, CC::DRAWER_PIN}, 3, 0, Action::CompanyDrawer},
};

constexpr int kRasterHeader = 8;  // GS v 0 m xL xH yL yH
constexpr int kBarcodeHeader = 4; // GS k m n
constexpr int kSymbolHeader = 5;  // GS ( k pL pH

// What a printer is set to for its symbols after ESC @.
constexpr int kPrinterBarHeight = 162;
constexpr int kPrinterBarWidth = 3;
constexpr int kPrinterModuleSize = 3;
constexpr char kPrinterLevel = 'L';

// The symbologies of GS k m (the form that counts its bytes), as the driver sends them.
const struct {
    char m;
    CodeSymbol::Type type;
} kBarcodes[] = {{EP::BARCODE_UPCA, CodeSymbol::Type::UpcA},
                 {EP::BARCODE_EAN13, CodeSymbol::Type::Ean13},
                 {EP::BARCODE_EAN8, CodeSymbol::Type::Ean8},
                 {EP::BARCODE_CODE39, CodeSymbol::Type::Code39},
                 {EP::BARCODE_CODE128, CodeSymbol::Type::Code128}};

// Dots as the printer's raster commands carry them: rows of bytes, the leftmost dot highest.
QImage bitImage(const char* dots, int rowBytes, int rows) {
    QImage image(rowBytes * 8, rows, QImage::Format_Mono); // most significant bit leftmost
    image.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)});
    for (int row = 0; row < rows; ++row)
        std::copy_n(dots + qsizetype(row) * rowBytes, rowBytes, image.scanLine(row));
    return image;
}

enum class Justification { Left, Centre, Right };

unsigned char at(QByteArrayView bytes, qsizetype index) {
    return static_cast<unsigned char>(bytes[index]);
}

// The length of the UTF-8 sequence at the start of bytes and its character; 0 when the bytes
// are not well-formed UTF-8 (a stray byte, a cut sequence, an overlong form, a surrogate).
int utf8Character(QByteArrayView bytes, char32_t* character) {
    const unsigned char lead = at(bytes, 0);
    const int length = lead < 0x80           ? 1
                       : (lead >> 5) == 0x6  ? 2
                       : (lead >> 4) == 0xE  ? 3
                       : (lead >> 3) == 0x1E ? 4
                                             : 0;
    if (length == 0 || length > bytes.size())
        return 0;
    char32_t value = length == 1 ? lead : lead & (0x7F >> length);
    for (int k = 1; k < length; ++k) {
        if ((at(bytes, k) & 0xC0) != 0x80)
            return 0;
        value = (value << 6) | (at(bytes, k) & 0x3F);
    }
    static const char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < kSmallest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return 0;
    *character = value;
    return length;
}

// The printer: its modes, the line it is collecting, and the paper printed so far.
class Printer {
public:
    Printer(Backend backend, int columns, const CodePage* page) : m_page(page) {
        m_paper.backend = backend;
        m_paper.columns = columns;
        m_utf8 = backend == Backend::Company && page == nullptr;
    }

    // The condensed font: condensedColumns cells across the paper, each as wide as the paper
    // divided among them (9 dots for 42 columns on 58 mm, as the printer's font B), so a row the
    // printer holds on one line is drawn on one line.
    void setCondensedColumns(int condensedColumns) {
        if (condensedColumns <= m_paper.columns)
            return;
        m_condensedCellWidth = std::max(m_paper.width() / condensedColumns, 1);
        m_condensedLineWidth = m_condensedCellWidth * condensedColumns;
    }

    void setNumberedPage(int number, const CodePage* page) {
        m_pageNumber = page ? number : -1;
        m_numberedPage = page;
    }

    Paper run(QByteArrayView bytes) {
        const bool escPos = m_paper.backend == Backend::EscPos;
        qsizetype i = 0;
        while (i < bytes.size() && !m_paper.truncated) {
            i += step(bytes.sliced(i), escPos);
            if (m_paper.cells.size() + m_line.size() + m_paper.cuts.size() +
                    m_paper.drawers.size() >
                kMaxMarks)
                m_paper.truncated = true;
        }
        if (std::any_of(m_line.cbegin(), m_line.cend(), [](const PaperCell& cell) {
                return cell.unknown || cell.character != U' ';
            }))
            endLine(true); // a last line without its line feed stays in the printer: shown
        m_paper.length = std::clamp(m_y, 0, kMaxPaperDots);
        return m_paper;
    }

private:
    // Decodes the command or character at the start of bytes; returns the bytes it used.
    qsizetype step(QByteArrayView bytes, bool escPos) {
        const Command* first = escPos ? std::begin(kEscPosCommands) : std::begin(kCompanyCommands);
        const Command* last = escPos ? std::end(kEscPosCommands) : std::end(kCompanyCommands);
        for (const Command* command = first; command != last; ++command) {
            const QByteArrayView prefix(command->prefix, command->prefixLength);
            if (!bytes.startsWith(prefix))
                continue;
            const qsizetype length = commandLength(*command, bytes);
            if (length == 0 || length > bytes.size())
                break; // not a complete command: its first byte is unknown
            if (!apply(command->action, bytes.first(length)))
                for (qsizetype k = 0; k < length; ++k)
                    unknown(at(bytes, k)); // the form is right, the parameters are not
            return length;
        }
        const unsigned char byte = at(bytes, 0);
        if (byte < 0x20 || byte == 0x7F) {
            unknown(byte);
            return 1;
        }
        if (m_utf8) {
            char32_t character = 0;
            const int length = utf8Character(bytes, &character);
            if (length == 0) {
                unknown(byte);
                return 1;
            }
            glyph(character);
            return length;
        }
        const CodePage& page = m_page ? *m_page : *CodePages::byName(u"PC437");
        const char16_t character = byte < 0x80 ? byte : page.upper[byte - 0x80];
        if (character == 0)
            unknown(byte);
        else
            glyph(character);
        return 1;
    }

    static qsizetype commandLength(const Command& command, QByteArrayView bytes) {
        if (command.parameters != kCounted)
            return command.prefixLength + command.parameters;
        if (command.action == Action::Cut) {
            if (bytes.size() < 3)
                return 0;
            const unsigned char m = at(bytes, 2);
            return m == EP::CUT_FULL_AFTER_FEED || m == EP::CUT_PARTIAL_AFTER_FEED ? 4 : 3;
        }
        if (command.action == Action::Barcode) {
            if (bytes.size() < kBarcodeHeader)
                return 0;
            // Only the form that counts its bytes (m from 65); the other ends in NUL.
            return at(bytes, 2) >= EP::BARCODE_UPCA ? kBarcodeHeader + at(bytes, 3) : 0;
        }
        if (command.action == Action::QrCode) {
            if (bytes.size() < kSymbolHeader)
                return 0;
            return kSymbolHeader + at(bytes, 3) + at(bytes, 4) * 256;
        }
        if (bytes.size() < kRasterHeader)
            return 0; // Action::Raster
        const qsizetype rowBytes = at(bytes, 4) + at(bytes, 5) * 256;
        const qsizetype rows = at(bytes, 6) + at(bytes, 7) * 256;
        return kRasterHeader + rowBytes * rows;
    }

    // Carries out a complete command; false when its parameters are outside what the printer
    // accepts (then every byte of it shows as unknown).
    bool apply(Action action, QByteArrayView command) {
        const unsigned char n = command.size() > 2 ? at(command, 2) : 0;
        switch (action) {
        case Action::LineFeed:
            endLine(true);
            return true;
        case Action::CarriageReturn:
            return true; // receipt printers ignore CR without their automatic line feed
        case Action::Initialise:
            m_bold = false;
            m_condensed = false;
            m_widthScale = m_heightScale = 1;
            m_justification = Justification::Left;
            m_page = CodePages::byName(u"PC437"); // page 0, the printer's own
            m_barHeight = kPrinterBarHeight;
            m_barWidth = kPrinterBarWidth;
            m_barText = CodeSymbol::Text::None;
            m_qrSize = kPrinterModuleSize;
            m_qrLevel = kPrinterLevel;
            m_qrData.clear();
            return true;
        case Action::International:
            return n == 0; // USA, the only set whose ASCII is unchanged
        case Action::SelectCodePage: {
            if (n == m_pageNumber) {
                m_page = m_numberedPage;
                return true;
            }
            const auto page = std::find_if(CodePages::begin(), CodePages::end(),
                                           [n](const CodePage& p) { return p.escPosNumber == n; });
            if (page == CodePages::end())
                return false;
            m_page = page;
            return true;
        }
        case Action::Bold:
            m_bold = n & 1;
            return true;
        case Action::Size: {
            const int width = (n >> 4) + 1, height = (n & 0xF) + 1;
            if (width > EP::CHARACTER_SIZE_MAX || height > EP::CHARACTER_SIZE_MAX)
                return false;
            m_widthScale = width;
            m_heightScale = height;
            return true;
        }
        case Action::Justify: {
            const int value = n >= '0' ? n - '0' : n;
            if (value > EP::JUSTIFY_RIGHT)
                return false;
            m_justification = static_cast<Justification>(value);
            return true;
        }
        case Action::FeedLines:
            if (n == 0 && !m_line.isEmpty())
                endLine(false);
            for (int k = 0; k < n; ++k)
                endLine(true);
            return true;
        case Action::Cut:
            return cut(command);
        case Action::DrawerPulse: {
            const int pin = n >= '0' ? n - '0' : n;
            if (pin > 1)
                return false;
            m_paper.drawers.append(
                {m_y, pin == 0 ? QStringLiteral("pin 2") : QStringLiteral("pin 5")});
            return true;
        }
        case Action::Raster:
            return raster(command);
        case Action::FeedDots:
            if (!m_line.isEmpty())
                endLine(false);
            advance(n);
            return true;
        case Action::BarcodeHeight:
            m_barHeight = n;
            return n > 0;
        case Action::BarcodeWidth:
            m_barWidth = n;
            return n >= 1 && n <= 6;
        case Action::BarcodeText: {
            const int value = n >= '0' ? n - '0' : n;
            m_barText = static_cast<CodeSymbol::Text>(value);
            return value <= 3;
        }
        case Action::Barcode:
            return barcode(command);
        case Action::QrCode:
            return qrCode(command.sliced(kSymbolHeader));
        case Action::StatusQuery:
            return false; // a question to a live printer has no place in a job file
        case Action::CompanyCut:
            m_paper.cuts.append({m_y, false});
            return true;
        case Action::CompanyPulse:
            m_paper.drawers.append({m_y, QStringLiteral("pulse")});
            return true;
        case Action::CompanyDrawer:
            m_paper.drawers.append({m_y, QStringLiteral("drawer")});
            return true;
        case Action::CancelDoubleByte:
            return true; // single-byte text, as the preview always reads it
        case Action::Font: {
            // The condensed font's rows are drawn in the one font of the preview, in narrower
            // cells when the printer settings give the condensed width.
            const int font = n >= '0' ? n - '0' : n;
            if (font != EP::FONT_NORMAL && font != EP::FONT_CONDENSED)
                return false;
            m_condensed = font == EP::FONT_CONDENSED;
            return true;
        }
        }
        return false;
    }

    bool cut(QByteArrayView command) {
        const unsigned char m = at(command, 2);
        const int kind = m >= '0' && m <= '1' ? m - '0' : m;
        if (kind == EP::CUT_FULL_AFTER_FEED || kind == EP::CUT_PARTIAL_AFTER_FEED) {
            // Feeds n dots past the last printed line, then cuts: the head-to-cutter distance
            // of a real printer is not drawn, the cut comes right under the text.
            if (!m_line.isEmpty())
                endLine(true);
            advance(at(command, 3));
            m_paper.cuts.append({m_y, kind == EP::CUT_PARTIAL_AFTER_FEED});
            return true;
        }
        if (kind != EP::CUT_FULL && kind != EP::CUT_PARTIAL)
            return false;
        m_paper.cuts.append({m_y, kind == EP::CUT_PARTIAL});
        return true;
    }

    bool raster(QByteArrayView command) {
        const unsigned char mode = at(command, 3);
        const int form = mode >= '0' ? mode - '0' : mode;
        const int rowBytes = at(command, 4) + at(command, 5) * 256;
        const int rows = at(command, 6) + at(command, 7) * 256;
        if (form > 3 || rowBytes == 0 || rows == 0)
            return false;
        const QImage image = bitImage(command.data() + kRasterHeader, rowBytes, rows);
        if (!m_line.isEmpty())
            endLine(true); // an image starts on a line of its own
        const int width = image.width() * (form & 1 ? 2 : 1);
        const int height = rows * (form & 2 ? 2 : 1);
        m_paper.rasters.append({QRect(offset(width, m_justification), m_y, width, height), image});
        advance(height);
        return true;
    }

    // GS k: the bars drawn by the encoder that drew them for the document, the printer's
    // digits above or below them.
    bool barcode(QByteArrayView command) {
        const auto row = std::find_if(std::begin(kBarcodes), std::end(kBarcodes),
                                      [&](const auto& r) { return r.m == command[2]; });
        if (row == std::end(kBarcodes))
            return false;
        CodeSymbol symbol;
        symbol.type = row->type;
        symbol.height = m_barHeight;
        symbol.data = command.sliced(kBarcodeHeader).toByteArray();
        if (symbol.type == CodeSymbol::Type::Code128) {
            const char setB[] = {EP::CODE128_SHIFT, EP::CODE128_SET_B};
            if (!symbol.data.startsWith(QByteArrayView(setB, 2)))
                return false; // code sets A and C are not drawn
            symbol.data.remove(0, 2).replace(QByteArray(2, EP::CODE128_SHIFT),
                                             QByteArray(1, EP::CODE128_SHIFT));
        }
        QString why;
        if (!CodeSymbol::checkBarcode(symbol.type, &symbol.data, &why) || !symbol.encode(&why))
            return false;
        endLineForImage();
        const bool above =
            m_barText == CodeSymbol::Text::Above || m_barText == CodeSymbol::Text::Both;
        const bool below =
            m_barText == CodeSymbol::Text::Below || m_barText == CodeSymbol::Text::Both;
        const int width = symbol.modulesAcross() * m_barWidth;
        if (above)
            digits(symbol.readable(), width);
        place(symbol, m_barWidth);
        if (below)
            digits(symbol.readable(), width);
        return true;
    }

    // GS ( k with cn '1': the QR code functions; fn and its parameters follow.
    bool qrCode(QByteArrayView function) {
        if (function.size() < 2 || function[0] != EP::SYMBOL_QR)
            return false;
        const char fn = function[1];
        const QByteArrayView parameters = function.sliced(2);
        const unsigned char n = parameters.isEmpty() ? 0 : at(parameters, 0);
        switch (fn) {
        case EP::QR_MODEL:
            return parameters.size() == 2 && n == EP::QR_MODEL_2;
        case EP::QR_MODULE_SIZE:
            m_qrSize = n;
            return parameters.size() == 1 && n >= 1 && n <= CodeSymbol::kMaxModuleSize;
        case EP::QR_ERROR_CORRECTION:
            if (parameters.size() != 1 || n < EP::QR_LEVEL_L || n > EP::QR_LEVEL_L + 3)
                return false;
            m_qrLevel = CodeSymbol::kLevels[n - EP::QR_LEVEL_L];
            return true;
        case EP::QR_STORE:
            if (parameters.isEmpty() || n != EP::QR_DATA_MODE)
                return false;
            m_qrData = parameters.sliced(1).toByteArray();
            return true;
        case EP::QR_PRINT: {
            if (parameters.size() != 1 || n != EP::QR_DATA_MODE)
                return false;
            CodeSymbol symbol;
            symbol.data = m_qrData;
            symbol.level = m_qrLevel;
            QString why;
            if (!symbol.encode(&why))
                return false;
            endLineForImage();
            place(symbol, m_qrSize);
            return true;
        }
        }
        return false;
    }

    void endLineForImage() {
        if (!m_line.isEmpty())
            endLine(true); // a symbol starts on a line of its own
    }

    void place(const CodeSymbol& symbol, int dotsPerModule) {
        const LogoRaster dots = symbol.raster(dotsPerModule);
        const int width = symbol.modulesAcross() * dotsPerModule;
        const QImage image = bitImage(dots.dots.constData(), dots.bytesPerRow, dots.rows)
                                 .copy(0, 0, width, dots.rows);
        m_paper.rasters.append(
            {QRect(offset(width, m_justification), m_y, width, dots.rows), image});
        advance(dots.rows);
    }

    // A barcode's digits, a line of the printer's font centred on the bars.
    void digits(const QString& text, int barsWidth) {
        // Half a dot to the right, as the printer's centring of a line of text rounds.
        const int left = offset(barsWidth, m_justification) +
                         (barsWidth - int(text.size()) * kCellWidth + 1) / 2;
        for (qsizetype i = 0; i < text.size(); ++i) {
            PaperCell cell;
            cell.character = text.at(i).unicode();
            cell.rect =
                QRect(std::max(left, 0) + int(i) * kCellWidth, m_y, kCellWidth, kCellHeight);
            m_paper.cells.append(cell);
        }
        advance(kCellHeight);
    }

    void glyph(char32_t character) {
        PaperCell cell;
        cell.character = character;
        cell.bold = m_bold;
        const bool condensed = m_condensed && m_condensedCellWidth > 0;
        place(cell, (condensed ? m_condensedCellWidth : kCellWidth) * m_widthScale, m_heightScale,
              condensed ? m_condensedLineWidth : m_paper.width());
    }

    void unknown(unsigned char byte) {
        PaperCell cell;
        cell.byte = byte;
        cell.unknown = true;
        place(cell, kCellWidth, 1, m_paper.width()); // room for its hex code, in any font
    }

    // Adds a cell of width dots to the line; a line that would pass lineWidth dots is printed
    // first, as the printer wraps it.
    void place(PaperCell cell, int width, int heightScale, int lineWidth) {
        if (!m_line.isEmpty() && m_lineWidth + width > lineWidth)
            endLine(true);
        if (m_line.isEmpty())
            m_lineJustification = m_justification; // the printer takes it at the line's start
        cell.rect = QRect(m_lineWidth, 0, width, kCellHeight * heightScale);
        m_lineWidth += width;
        m_line.append(cell);
    }

    // Prints the collected line (cells of different heights share its bottom) and, with feed,
    // moves the paper past it.
    void endLine(bool feed) {
        int height = kCellHeight;
        for (const PaperCell& cell : std::as_const(m_line))
            height = std::max(height, cell.rect.height());
        const int x = offset(m_lineWidth, m_lineJustification);
        for (PaperCell& cell : m_line) {
            cell.rect.translate(x, m_y + height - cell.rect.height());
            m_paper.cells.append(cell);
        }
        m_line.clear();
        m_lineWidth = 0;
        if (feed)
            advance(height);
    }

    int offset(int width, Justification justification) const {
        const int room = std::max(m_paper.width() - width, 0);
        return justification == Justification::Left     ? 0
               : justification == Justification::Centre ? room / 2
                                                        : room;
    }

    void advance(int dots) {
        m_y += dots;
        if (m_y > kMaxPaperDots)
            m_paper.truncated = true;
    }

    Paper m_paper;
    const CodePage* m_page;
    bool m_utf8 = false;
    int m_pageNumber = -1; // ESC t n of m_numberedPage; -1: every n as printers commonly number
    const CodePage* m_numberedPage = nullptr;
    bool m_bold = false;
    bool m_condensed = false;     // ESC M 1
    int m_condensedCellWidth = 0; // dots; 0: condensed text takes the normal cells
    int m_condensedLineWidth = 0; // dots the condensed font's full line takes
    int m_widthScale = 1;
    int m_heightScale = 1;
    Justification m_justification = Justification::Left;
    Justification m_lineJustification = Justification::Left;
    QVector<PaperCell> m_line;
    int m_lineWidth = 0;
    int m_y = 0;
    int m_barHeight = kPrinterBarHeight;
    int m_barWidth = kPrinterBarWidth;
    CodeSymbol::Text m_barText = CodeSymbol::Text::None;
    int m_qrSize = kPrinterModuleSize;
    char m_qrLevel = kPrinterLevel;
    QByteArray m_qrData;
};

} // namespace

namespace ReceiptDecoder {

Backend detect(const QByteArray& bytes) {
    const char start[] = {EP::ESC, EP::INITIALIZE};
    return bytes.startsWith(QByteArrayView(start, 2)) ? Backend::EscPos : Backend::Company;
}

Paper decode(const QByteArray& bytes, const DecodeOptions& options) {
    const Backend backend = detect(bytes);
    if (backend == Backend::EscPos) {
        Printer printer(backend, std::clamp(options.escPosColumns, 1, kMaxColumns),
                        CodePages::byName(u"PC437"));
        printer.setCondensedColumns(std::min(options.escPosCondensedColumns, kMaxColumns));
        printer.setNumberedPage(options.escPosPageNumber, options.escPosNumberedPage);
        return printer.run(bytes);
    }
    return Printer(backend, kCompanyColumns, options.companyCodePage).run(bytes);
}

} // namespace ReceiptDecoder
