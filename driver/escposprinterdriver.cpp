#include "escposprinterdriver.h"

#include "codepage.h"
#include "codesymbol.h"
#include "escposcodes.h"
#include "logoraster.h"
#include "paconfiguration.h"

#include "diagnostics.h"

#include <QFile>

using namespace EscPosCodes;

namespace {
constexpr int kMillisecondsPerPulseUnit = 2;

// The GS v 0 commands that print raster: in bands of at most RASTER_BAND_ROWS rows, each its
// own GS v 0, so that a printer that reads only the low byte of the height still draws a tall
// image whole.
QByteArray rasterCommands(const LogoRaster& raster) {
    QByteArray bytes;
    const int bands = (raster.rows + RASTER_BAND_ROWS - 1) / RASTER_BAND_ROWS;
    bytes.reserve(8 * bands + raster.dots.size());
    for (int top = 0; top < raster.rows; top += RASTER_BAND_ROWS) {
        const int rows = qMin(RASTER_BAND_ROWS, raster.rows - top);
        for (const char byte : {GS, RASTER_IMAGE, RASTER_FORMAT, RASTER_NORMAL_SCALE})
            bytes += byte;
        for (const int value : {raster.bytesPerRow, rows}) {
            bytes += static_cast<char>(value & 0xFF);
            bytes += static_cast<char>(value >> 8);
        }
        bytes += raster.dots.mid(static_cast<qsizetype>(top) * raster.bytesPerRow,
                                 static_cast<qsizetype>(rows) * raster.bytesPerRow);
    }
    return bytes;
}

} // namespace

EscPosPrinterDriver::EscPosPrinterDriver(const QString& path, bool append)
    : EscPosPrinterDriver(QFile::encodeName(path), append) {}

EscPosPrinterDriver::EscPosPrinterDriver(const QByteArray& nativePath, bool append)
    : PrinterDriver(nativePath, append) {
    configure();
}

EscPosPrinterDriver::EscPosPrinterDriver(QIODevice* device, const PrinterProfile& profile,
                                         SettingLookup settings)
    : PrinterDriver(device, profile, std::move(settings)) {
    configure();
}

void EscPosPrinterDriver::configure() {
    selectCodePage(CodePages::byName(u"PC858")); // the euro sign and every Italian letter
    m_columns = profile().columns;
    m_condensedColumns = profile().condensedColumns;
    m_cut = profile().fullCut ? CUT_FULL_AFTER_FEED : CUT_PARTIAL_AFTER_FEED;
    m_drawerPin = profile().drawerPin == 5 ? 1 : 0;
    m_drawerOn = static_cast<char>(profile().drawerOnMs / kMillisecondsPerPulseUnit);
    m_drawerOff = static_cast<char>(profile().drawerOffMs / kMillisecondsPerPulseUnit);
    // Text the document carries reaches this printer without control characters.
    setBlankControlCharacters();
}

EscPosPrinterDriver::~EscPosPrinterDriver() = default;

void EscPosPrinterDriver::command(std::initializer_list<char> bytes) {
    // Within a line the command waits with the line's text (every such command is ASCII);
    // between lines it goes out at once.
    if (lineOpen()) {
        for (const char byte : bytes)
            m_line += QLatin1Char(byte);
        return;
    }
    writeBytes(QByteArray(bytes.begin(), static_cast<qsizetype>(bytes.size())));
}

unsigned int EscPosPrinterDriver::getPaperWidth() {
    return static_cast<unsigned int>(m_columns);
}

void EscPosPrinterDriver::reset() {
    m_style = Style(); // within a document: back to plain text (the end of a bold heading)
    if (m_started)
        return;
    // The start of the job: a known state whatever the last job left, out of the double-byte
    // mode many 58 mm printers start in (where the bytes of à, è and € are other glyphs),
    // letters as they are (USA set) and the code page the text is encoded in, by the printer's
    // own number for it when the profile gives one.
    m_started = true;
    const int page =
        profile().codePageNumber >= 0 ? profile().codePageNumber : codePage()->escPosNumber;
    command({ESC, INITIALIZE, FS, CANCEL_KANJI, ESC, CHARACTER_SET, CHARSET_USA, ESC, CODE_TABLE,
             static_cast<char>(page)});
    m_printerStyle = Style();
}

void EscPosPrinterDriver::applyStyle() {
    if (m_style == m_printerStyle)
        return;
    if (m_style.bold != m_printerStyle.bold)
        command({ESC, EMPHASIS, m_style.bold ? '\x01' : '\x00'});
    if (m_style.height != m_printerStyle.height)
        command({GS, CHARACTER_SIZE, m_style.height}); // the width nibble stays 0: width 1
    if (m_style.centred != m_printerStyle.centred)
        command({ESC, JUSTIFY, m_style.centred ? JUSTIFY_CENTRE : JUSTIFY_LEFT});
    m_printerStyle = m_style;
}

void EscPosPrinterDriver::setBold() {
    m_style.bold = true;
}

void EscPosPrinterDriver::setCharSize() {
    m_style = Style(); // plain text: ends bold, size and centring
}

void EscPosPrinterDriver::setCharSize(int size) {
    // Taller only: a wider character would push the row's columns past the paper's edge.
    m_style = Style();
    m_style.height = static_cast<char>(qBound(0, size, CHARACTER_SIZE_MAX - 1));
}

void EscPosPrinterDriver::setCenterJustify() {
    // The printer centres each line on its own width, double-height text included.
    m_style.centred = true;
}

void EscPosPrinterDriver::fullCut() {
    // The cut pastrel.printer.cut asks for (partial unless "full"), after feeding just to the
    // cutter: no paper wasted on blank lines.
    command({GS, CUT, m_cut, 0});
}

void EscPosPrinterDriver::generatePulse() {
    command({ESC, PULSE, m_drawerPin, m_drawerOn, m_drawerOff});
}

void EscPosPrinterDriver::startSection() {}

void EscPosPrinterDriver::endSection() {
    if (lineOpen())
        endLine();     // the cut waits for the start of a line
    m_style = Style(); // nothing of this job's formatting is left for the next
    applyStyle();
    fullCut();
    if (m_openCashDrawer)
        generatePulse(); // complete, so the drawer opens now, not at the next job
}

void EscPosPrinterDriver::print(unsigned int indent, const QString& text) {
    // Centred text gets no blanks: the printer centres it. A line too long for the paper
    // loses its indent, as on the company printer.
    const bool blanks = indent > 0 && !m_style.centred && text.size() <= m_columns;
    if (!blanks && text.isEmpty())
        return;
    applyStyle();
    if (blanks) {
        m_line += QString(static_cast<int>(indent), QLatin1Char(' '));
        m_lineCells += static_cast<int>(indent);
    }
    // A layout's own line break inside a row (the two-line rows) ends the line there.
    qsizetype from = 0;
    for (qsizetype end = text.indexOf(QLatin1Char(LF)); end >= 0;
         end = text.indexOf(QLatin1Char(LF), from)) {
        m_line += QStringView(text).mid(from, end - from);
        m_lineCells += static_cast<int>(end - from);
        endLine();
        from = end + 1;
    }
    m_line += QStringView(text).mid(from);
    m_lineCells += static_cast<int>(text.size() - from);
}

void EscPosPrinterDriver::println(unsigned int indent, const QString& text) {
    // An empty line gets the style too, as tall as the text around it.
    applyStyle();
    print(indent, text);
    endLine();
}

void EscPosPrinterDriver::endLine() {
    const bool condensed = m_lineCells > m_columns && m_lineCells <= m_condensedColumns;
    const char font[] = {ESC, FONT, FONT_CONDENSED, ESC, FONT, FONT_NORMAL};
    if (condensed)
        writeBytes(QByteArray(font, 3));
    m_line += QLatin1Char(LF);
    write(m_line);
    if (condensed)
        writeBytes(QByteArray(font + 3, 3));
    m_line.truncate(0); // keeps its room for the next line
    m_lineCells = 0;
}

void EscPosPrinterDriver::println(const QString& text) {
    println(0, text);
}

void EscPosPrinterDriver::printRowFiscal(const QString&, const QString&, const QString&,
                                         const QString&) {}

void EscPosPrinterDriver::printLogo() {
    if (!m_printLogo || profile().logoPath.isEmpty() || !writable())
        return;
    if (!m_logoLoaded) {
        m_logo = loadLogo(); // once per run, and so one report of a bad file
        m_logoLoaded = true;
    }
    if (m_logo.isEmpty())
        return;
    if (lineOpen())
        endLine(); // a raster image starts at the beginning of a line
    writeBytes(m_logo);
}

QByteArray EscPosPrinterDriver::loadLogo() const {
    QString why;
    LogoRaster raster = LogoRaster::read(profile().logoPath, &why);
    const int printerDots = m_columns * LogoRaster::kDotsPerColumn;
    if (raster.rows > 0 && raster.bytesPerRow * 8 > printerDots + 7) {
        why = QStringLiteral("%1 dots wide, the printer %2 (made for another printer?)")
                  .arg(raster.bytesPerRow * 8)
                  .arg(printerDots);
        raster = LogoRaster();
    }
    if (raster.rows == 0) {
        Diagnostics::warn("no logo printed: " + QFile::encodeName(profile().logoPath) + ": " +
                          why.toUtf8());
        return QByteArray();
    }
    return rasterCommands(raster);
}

void EscPosPrinterDriver::printCodeSymbol(const CodeSymbol& symbol) {
    if (!writable())
        return;
    QString why;
    const int dotsPerModule = symbol.dotsPerModule(m_columns * LogoRaster::kDotsPerColumn, &why);
    if (dotsPerModule == 0) {
        CodeSymbol::reportUnprinted(symbol.type == CodeSymbol::Type::QrCode
                                        ? QStringLiteral("qrcode")
                                        : QStringLiteral("barcode"),
                                    symbol.data, why);
        return;
    }
    if (lineOpen())
        endLine(); // a symbol starts at the beginning of a line
    // Centred plain text for the symbol and its digits; the document's own style afterwards.
    const Style style = m_style;
    m_style = Style();
    m_style.centred = true;
    applyStyle();
    if (profile().rasterCodes)
        printRasterSymbol(symbol, dotsPerModule);
    else
        printNativeSymbol(symbol, dotsPerModule);
    m_style = style;
}

void EscPosPrinterDriver::printNativeSymbol(const CodeSymbol& symbol, int dotsPerModule) {
    if (symbol.type == CodeSymbol::Type::QrCode) {
        // Model 2, the module size, the error correction, the data, then print it, with the quiet
        // zone a phone's camera needs above and below.
        const char quiet = static_cast<char>(CodeSymbol::kQuietModules * dotsPerModule);
        const char level =
            static_cast<char>(QR_LEVEL_L + QByteArray(CodeSymbol::kLevels).indexOf(symbol.level));
        // GS ( k pL pH, then cn, fn and the parameters, pL + 256 pH of them in all.
        const auto function = [this](char fn, const QByteArray& parameters) {
            const qsizetype length = 2 + parameters.size();
            command({GS, SYMBOL, SYMBOL_FUNCTION, static_cast<char>(length & 0xFF),
                     static_cast<char>(length >> 8), SYMBOL_QR, fn});
            writeBytes(parameters);
        };
        command({ESC, FEED_DOTS, quiet});
        function(QR_MODEL, QByteArray().append(QR_MODEL_2).append('\0'));
        function(QR_MODULE_SIZE, QByteArray(1, static_cast<char>(dotsPerModule)));
        function(QR_ERROR_CORRECTION, QByteArray(1, level));
        function(QR_STORE, QR_DATA_MODE + symbol.data);
        function(QR_PRINT, QByteArray(1, QR_DATA_MODE));
        command({ESC, FEED_DOTS, quiet});
        return;
    }
    static const struct {
        CodeSymbol::Type type;
        char m;
    } kBarcodes[] = {{CodeSymbol::Type::Ean13, BARCODE_EAN13},
                     {CodeSymbol::Type::Ean8, BARCODE_EAN8},
                     {CodeSymbol::Type::UpcA, BARCODE_UPCA},
                     {CodeSymbol::Type::Code39, BARCODE_CODE39},
                     {CodeSymbol::Type::Code128, BARCODE_CODE128}};
    char m = 0;
    for (const auto& row : kBarcodes)
        if (row.type == symbol.type)
            m = row.m;
    QByteArray data = symbol.data;
    if (symbol.type == CodeSymbol::Type::Code128) {
        data.replace(CODE128_SHIFT, QByteArray(2, CODE128_SHIFT));
        data.prepend(QByteArray().append(CODE128_SHIFT).append(CODE128_SET_B));
    }
    command({GS, BARCODE_HEIGHT, static_cast<char>(symbol.height)});
    command({GS, BARCODE_WIDTH, static_cast<char>(dotsPerModule)});
    command({GS, BARCODE_TEXT, static_cast<char>(symbol.text)});
    command({GS, BARCODE, m, static_cast<char>(data.size())});
    writeBytes(data);
}

void EscPosPrinterDriver::printRasterSymbol(const CodeSymbol& symbol, int dotsPerModule) {
    // Centred in the image itself: a printer without the symbol commands may not centre images.
    const LogoRaster raster = symbol.raster(dotsPerModule, m_columns * LogoRaster::kDotsPerColumn);
    if (symbol.type == CodeSymbol::Type::QrCode) {
        const char quiet = static_cast<char>(CodeSymbol::kQuietModules * dotsPerModule);
        command({ESC, FEED_DOTS, quiet});
        writeBytes(rasterCommands(raster));
        command({ESC, FEED_DOTS, quiet});
        return;
    }
    const bool above =
        symbol.text == CodeSymbol::Text::Above || symbol.text == CodeSymbol::Text::Both;
    const bool below =
        symbol.text == CodeSymbol::Text::Below || symbol.text == CodeSymbol::Text::Both;
    if (above)
        println(symbol.readable());
    writeBytes(rasterCommands(raster));
    if (below)
        println(symbol.readable());
}
