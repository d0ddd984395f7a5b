#include "escposprinterdriver.h"

#include "codepage.h"
#include "codesymbol.h"
#include "escposcodes.h"
#include "logoraster.h"
#include "paconfiguration.h"

#include <QDir>
#include <QFile>

#include <iostream>

using namespace EscPosCodes;

namespace {

constexpr int kMaxColumns = 255;
constexpr int kMaxPulseUnits = 255;
constexpr int kMillisecondsPerPulseUnit = 2;
constexpr int kDefaultDrawerOnTime = 50;   // ms: long enough for every common drawer solenoid
constexpr int kDefaultDrawerOffTime = 500; // ms

// Values a printer setting can take, and the byte each one means to the printer.
struct Choice {
    const char* text;
    char value;
};
constexpr Choice kCuts[] = {{"partial", CUT_PARTIAL_AFTER_FEED}, {"full", CUT_FULL_AFTER_FEED}};
constexpr Choice kDrawerPins[] = {{"2", 0}, {"5", 1}};
constexpr Choice kCodeForms[] = {{"native", 0}, {"raster", 1}};

QString printerSetting(PAConfiguration* configuration, const char* key) {
    return configuration->getStrValue(QLatin1String("pastrel.printer.") + QLatin1String(key))
        .trimmed();
}

// A setting the printer cannot use: the default is taken and the integrator told why, once.
void reportSetting(const char* key, const QString& value, const char* valid, const QString& used) {
    std::cerr << "pastrel-print: pastrel.printer." << key << " = \"" << value.toUtf8().constData()
              << "\" is not " << valid << "; using " << used.toUtf8().constData() << std::endl;
}

template <std::size_t N>
char choose(PAConfiguration* configuration, const char* key, const Choice (&table)[N],
            const char* valid) {
    const QString value = printerSetting(configuration, key);
    for (const Choice& choice : table) {
        if (value.compare(QLatin1String(choice.text), Qt::CaseInsensitive) == 0)
            return choice.value;
    }
    if (!value.isEmpty())
        reportSetting(key, value, valid, QLatin1String(table[0].text));
    return table[0].value;
}

// A drawer pulse time in milliseconds as the printer's units of 2 ms.
char pulseUnits(PAConfiguration* configuration, const char* key, int fallback) {
    const QString value = printerSetting(configuration, key);
    bool ok = false;
    int milliseconds = value.toInt(&ok, 10);
    const int maximum = kMaxPulseUnits * kMillisecondsPerPulseUnit;
    if (!value.isEmpty() && (!ok || milliseconds < 0 || milliseconds > maximum)) {
        reportSetting(key, value, "0 to 510 milliseconds", QString::number(fallback));
        ok = false;
    }
    if (!ok)
        milliseconds = fallback;
    return static_cast<char>(milliseconds / kMillisecondsPerPulseUnit);
}

// GS v 0 and the dots of raster.
QByteArray rasterCommand(const LogoRaster& raster) {
    QByteArray bytes;
    bytes.reserve(8 + raster.dots.size());
    for (const char byte : {GS, RASTER_IMAGE, RASTER_FORMAT, RASTER_NORMAL_SCALE})
        bytes += byte;
    for (const int value : {raster.bytesPerRow, raster.rows}) {
        bytes += static_cast<char>(value & 0xFF);
        bytes += static_cast<char>(value >> 8);
    }
    return bytes + raster.dots;
}

} // namespace

int EscPosPrinterDriver::columnsFrom(const QString& setting) {
    bool ok = false;
    const int columns = setting.toInt(&ok, 10);
    return ok && columns > 0 && columns <= kMaxColumns ? columns : 0;
}

EscPosPrinterDriver::EscPosPrinterDriver(const QString& path, bool append)
    : EscPosPrinterDriver(QFile::encodeName(path), append) {}

EscPosPrinterDriver::EscPosPrinterDriver(const QByteArray& nativePath, bool append)
    : PrinterDriver(nativePath, append) {
    selectCodePage(CodePages::byName(u"PC858")); // the euro sign and every Italian letter
    const QString columns = printerSetting(m_configuration, "columns");
    m_columns = columnsFrom(columns);
    if (m_columns == 0) {
        if (!columns.isEmpty())
            reportSetting("columns", columns, "a number of characters from 1 to 255",
                          QString::number(kDefaultColumns));
        m_columns = kDefaultColumns;
    }
    m_cut = choose(m_configuration, "cut", kCuts, "partial or full");
    m_drawerPin = choose(m_configuration, "drawerPin", kDrawerPins, "2 or 5");
    m_drawerOn = pulseUnits(m_configuration, "drawerOnTime", kDefaultDrawerOnTime);
    m_drawerOff = pulseUnits(m_configuration, "drawerOffTime", kDefaultDrawerOffTime);
    m_rasterCodes = choose(m_configuration, "qrcode", kCodeForms, "native or raster") != 0;
    const QString logo = printerSetting(m_configuration, "logo");
    // A relative path is taken from the configuration's folder, where pastrel-config puts it.
    if (!logo.isEmpty())
        m_logoPath = QDir(QDir::homePath() + QLatin1String("/.pastrel/conf")).filePath(logo);
}

EscPosPrinterDriver::~EscPosPrinterDriver() = default;

void EscPosPrinterDriver::command(std::initializer_list<char> bytes) {
    writeBytes(QByteArray(bytes.begin(), static_cast<qsizetype>(bytes.size())));
}

unsigned int EscPosPrinterDriver::getPaperWidth() {
    return static_cast<unsigned int>(m_columns);
}

void EscPosPrinterDriver::reset() {
    m_style = Style(); // within a document: back to plain text (the end of a bold heading)
    if (m_started)
        return;
    // The start of the job: a known state whatever the last job left, letters as they are
    // (USA set) and the code page the text is encoded in.
    m_started = true;
    command({ESC, INITIALIZE, ESC, CHARACTER_SET, CHARSET_USA, ESC, CODE_TABLE,
             static_cast<char>(codePage()->escPosNumber)});
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
    if (m_lineOpen)
        println(QString()); // the cut waits for the start of a line
    m_style = Style();      // nothing of this job's formatting is left for the next
    applyStyle();
    fullCut();
    if (m_openCashDrawer)
        generatePulse(); // complete, so the drawer opens now, not at the next job
}

void EscPosPrinterDriver::print(unsigned int indent, const QString& text) {
    // Centred text gets no blanks: the printer centres it. A line too long for the paper
    // loses its indent, as on the company printer.
    const qsizetype length = text.size() - (text.endsWith(QLatin1Char(LF)) ? 1 : 0);
    const bool blanks = indent > 0 && !m_style.centred && length <= m_columns;
    if (!blanks && text.isEmpty())
        return;
    applyStyle();
    if (blanks) {
        write(QString(static_cast<int>(indent), QLatin1Char(' ')));
        m_lineOpen = true;
    }
    write(text);
    if (!text.isEmpty())
        m_lineOpen = !text.endsWith(QLatin1Char(LF));
}

void EscPosPrinterDriver::println(unsigned int indent, const QString& text) {
    // One write for the row and its line feed; an empty line gets the style too, as tall as
    // the text around it.
    print(indent, text + QLatin1Char(LF));
}

void EscPosPrinterDriver::println(const QString& text) {
    println(0, text);
}

void EscPosPrinterDriver::printRowFiscal(const QString&, const QString&, const QString&,
                                         const QString&) {}

void EscPosPrinterDriver::printLogo() {
    if (!m_printLogo || m_logoPath.isEmpty() || !writable())
        return;
    if (!m_logoLoaded) {
        m_logo = loadLogo(); // once per run, and so one report of a bad file
        m_logoLoaded = true;
    }
    if (m_logo.isEmpty())
        return;
    if (m_lineOpen)
        println(QString()); // a raster image starts at the beginning of a line
    writeBytes(m_logo);
}

QByteArray EscPosPrinterDriver::loadLogo() const {
    QFile file(m_logoPath);
    QString why;
    LogoRaster raster;
    // No more than the largest raster could fill: a path naming a huge file by mistake is
    // not read whole (one byte more, and it reads as overlong).
    if (!file.open(QIODevice::ReadOnly))
        why = file.errorString();
    else
        raster = LogoRaster::fromFile(file.read(LogoRaster::kMaxFileSize + 1), &why);
    const int printerDots = m_columns * LogoRaster::kDotsPerColumn;
    if (raster.rows > 0 && raster.bytesPerRow * 8 > printerDots + 7) {
        why = QStringLiteral("%1 dots wide, the printer %2 (made for another printer?)")
                  .arg(raster.bytesPerRow * 8)
                  .arg(printerDots);
        raster = LogoRaster();
    }
    if (raster.rows == 0) {
        std::cerr << "pastrel-print: no logo printed: " << QFile::encodeName(m_logoPath).constData()
                  << ": " << why.toUtf8().constData() << std::endl;
        return QByteArray();
    }
    return rasterCommand(raster);
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
    if (m_lineOpen)
        println(QString()); // a symbol starts at the beginning of a line
    // Centred plain text for the symbol and its digits; the document's own style afterwards.
    const Style style = m_style;
    m_style = Style();
    m_style.centred = true;
    applyStyle();
    if (m_rasterCodes)
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
        writeBytes(rasterCommand(raster));
        command({ESC, FEED_DOTS, quiet});
        return;
    }
    const bool above =
        symbol.text == CodeSymbol::Text::Above || symbol.text == CodeSymbol::Text::Both;
    const bool below =
        symbol.text == CodeSymbol::Text::Below || symbol.text == CodeSymbol::Text::Both;
    if (above)
        println(symbol.readable());
    writeBytes(rasterCommand(raster));
    if (below)
        println(symbol.readable());
}
