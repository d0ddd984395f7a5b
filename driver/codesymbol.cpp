#include "codesymbol.h"

#include "diagnostics.h"

#include <qrencode.h>
#include <zint.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

// The symbologies the documents name, with the digits a retail code takes without and with its
// check digit (0: letters, no check digit), and zint's symbology for the bars.
struct Symbology {
    const char* name;
    CodeSymbol::Type type;
    int digits;
    int zint;
};
constexpr Symbology kSymbologies[] = {
    {"ean13", CodeSymbol::Type::Ean13, 12, BARCODE_EANX},
    {"ean8", CodeSymbol::Type::Ean8, 7, BARCODE_EANX},
    {"upca", CodeSymbol::Type::UpcA, 11, BARCODE_UPCA},
    {"code39", CodeSymbol::Type::Code39, 0, BARCODE_CODE39},
    // Code set B alone, as the printer is told to use: every printable ASCII character.
    {"code128", CodeSymbol::Type::Code128, 0, BARCODE_CODE128B},
};

const Symbology* symbology(CodeSymbol::Type type) {
    for (const Symbology& s : kSymbologies)
        if (s.type == type)
            return &s;
    return nullptr; // a QR code
}

// Letters Code 39 holds besides the digits and the capitals ('*' is its start and stop sign,
// which the printer adds).
constexpr char kCode39Signs[] = " -.$/+%";

// The retail codes' check digit: from the rightmost data digit leftwards, weights 3, 1, 3, ...
char checkDigit(const QByteArray& digits) {
    int sum = 0, weight = 3;
    for (qsizetype i = digits.size() - 1; i >= 0; --i, weight = 4 - weight)
        sum += (digits[i] - '0') * weight;
    return static_cast<char>('0' + (10 - sum % 10) % 10);
}

// A character of the data as a message shows it: quoted, or its code when it would not show.
QString shown(QChar c) {
    const char16_t u = c.unicode();
    if (u < ' ' || u == 0x7f || c.isSurrogate())
        return QStringLiteral("U+%1").arg(int(u), 4, 16, QLatin1Char('0')).toUpper();
    return QLatin1Char('"') + c + QLatin1Char('"');
}

// A whole number from low to high, or -1.
int number(const QString& text, int low, int high) {
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    return ok && value >= low && value <= high ? value : -1;
}

bool checkData(const Symbology& s, QByteArray* data, QString* why) {
    if (s.digits > 0) {
        for (const QChar c : QString::fromUtf8(*data))
            if (c < QLatin1Char('0') || c > QLatin1Char('9')) {
                *why = QStringLiteral("%1 is not a digit").arg(shown(c));
                return false;
            }
        if (data->size() != s.digits && data->size() != s.digits + 1) {
            *why = QStringLiteral("%1 takes %2 digits, or %3 with the check digit; this has %4")
                       .arg(QLatin1String(s.name))
                       .arg(s.digits)
                       .arg(s.digits + 1)
                       .arg(data->size());
            return false;
        }
        const char check = checkDigit(data->left(s.digits));
        if (data->size() == s.digits)
            *data += check;
        else if (data->back() != check) {
            *why = QStringLiteral("the check digit is %1, not %2")
                       .arg(QChar(QLatin1Char(check)))
                       .arg(QChar(QLatin1Char(data->back())));
            return false;
        }
        return true;
    }
    for (const QChar c : QString::fromUtf8(*data)) {
        const char16_t u = c.unicode();
        const bool holds = s.type == CodeSymbol::Type::Code39
                               ? (u >= '0' && u <= '9') || (u >= 'A' && u <= 'Z') ||
                                     (u > 0 && u < 0x80 && std::strchr(kCode39Signs, char(u)))
                               : u >= ' ' && u <= '~';
        if (!holds) {
            *why = QStringLiteral("%1 cannot hold %2").arg(QLatin1String(s.name), shown(c));
            return false;
        }
    }
    // The printer's command counts its bytes in one byte: Code 128 spends two on its code set
    // and two on every "{".
    const qsizetype bytes =
        s.type == CodeSymbol::Type::Code128 ? 2 + data->size() + data->count('{') : data->size();
    if (bytes > CodeSymbol::kMaxBarcodeBytes) {
        *why = QStringLiteral("more than the %1 bytes a printer's %2 takes")
                   .arg(CodeSymbol::kMaxBarcodeBytes)
                   .arg(QLatin1String(s.name));
        return false;
    }
    return true;
}

struct ZintDeleter {
    void operator()(zint_symbol* symbol) const { ZBarcode_Delete(symbol); }
};
struct QrDeleter {
    void operator()(QRcode* code) const { QRcode_free(code); }
};

} // namespace

bool CodeSymbol::fromElement(const QString& name, const QXmlStreamAttributes& attributes,
                             CodeSymbol* symbol, QString* why) {
    *symbol = CodeSymbol();
    symbol->data = attributes.value(QLatin1String("data")).toString().toUtf8();
    if (name == QLatin1String("qrcode")) {
        const QString level = attributes.value(QLatin1String("level")).toString();
        if (!level.isEmpty()) {
            const qsizetype index =
                level.size() == 1
                    ? QByteArray(CodeSymbol::kLevels).indexOf(level.at(0).toUpper().toLatin1())
                    : -1;
            if (index < 0) {
                *why = QStringLiteral("level \"%1\" is not L, M, Q or H").arg(level);
                return false;
            }
            symbol->level = CodeSymbol::kLevels[index];
        }
        const QString size = attributes.value(QLatin1String("size")).toString();
        if (!size.isEmpty() && (symbol->moduleSize = number(size, 1, kMaxModuleSize)) < 0) {
            *why = QStringLiteral("size \"%1\" is not a whole number of dots from 1 to %2")
                       .arg(size)
                       .arg(kMaxModuleSize);
            return false;
        }
    } else {
        const QString type = attributes.value(QLatin1String("type")).toString();
        const auto found =
            std::find_if(std::begin(kSymbologies), std::end(kSymbologies),
                         [&](const Symbology& s) { return type == QLatin1String(s.name); });
        if (found == std::end(kSymbologies)) {
            *why =
                QStringLiteral("type \"%1\" is not ean13, ean8, upca, code39 or code128").arg(type);
            return false;
        }
        symbol->type = found->type;
        const QString height = attributes.value(QLatin1String("height")).toString();
        if (!height.isEmpty() && (symbol->height = number(height, 1, kMaxHeight)) < 0) {
            *why = QStringLiteral("height \"%1\" is not a whole number of dots from 1 to %2")
                       .arg(height)
                       .arg(kMaxHeight);
            return false;
        }
        const QString text = attributes.value(QLatin1String("text")).toString();
        static const char* const kTexts[] = {"none", "above", "below", "both"};
        const auto where = std::find_if(std::begin(kTexts), std::end(kTexts),
                                        [&](const char* t) { return text == QLatin1String(t); });
        if (!text.isEmpty() && where == std::end(kTexts)) {
            *why = QStringLiteral("text \"%1\" is not below, above, both or none").arg(text);
            return false;
        }
        if (!text.isEmpty())
            symbol->text = static_cast<Text>(where - std::begin(kTexts));
        if (!checkBarcode(symbol->type, &symbol->data, why))
            return false;
    }
    return symbol->encode(why);
}

bool CodeSymbol::checkBarcode(Type type, QByteArray* data, QString* why) {
    const Symbology* s = symbology(type);
    if (!s) {
        *why = QStringLiteral("not a barcode");
        return false;
    }
    if (data->isEmpty()) {
        *why = QStringLiteral("no data");
        return false;
    }
    return checkData(*s, data, why);
}

bool CodeSymbol::encode(QString* why) {
    m_columns = m_rows = 0;
    m_dark.clear();
    if (data.isEmpty()) {
        *why = QStringLiteral("no data");
        return false;
    }
    if (type == Type::QrCode) {
        const qsizetype index = QByteArray(CodeSymbol::kLevels).indexOf(level);
        // Longer than any QR code holds: not handed to the encoder at all.
        std::unique_ptr<QRcode, QrDeleter> code(
            data.size() > kMaxQrBytes || data.contains('\0') || index < 0
                ? nullptr
                : QRcode_encodeString(data.constData(), 0, static_cast<QRecLevel>(index), QR_MODE_8,
                                      1));
        if (!code) {
            *why = QStringLiteral("%1 bytes are more than a QR code holds at level %2")
                       .arg(data.size())
                       .arg(QLatin1Char(level));
            return false;
        }
        m_columns = m_rows = code->width;
        m_dark.resize(static_cast<std::size_t>(m_columns) * m_rows);
        for (std::size_t i = 0; i < m_dark.size(); ++i)
            m_dark[i] = code->data[i] & 1; // bit 0: a dark module
        return true;
    }
    const Symbology* s = symbology(type);
    std::unique_ptr<zint_symbol, ZintDeleter> bars(ZBarcode_Create());
    if (!s || !bars) {
        *why = QStringLiteral("no encoder");
        return false;
    }
    bars->symbology = s->zint;
    bars->show_hrt = 0; // the printer prints the text in its own font
    bars->output_options = BARCODE_NO_QUIET_ZONES;
    bars->scale = 0.5f; // one pixel a module
    // The retail codes go to zint without their check digit, which it adds itself.
    const QByteArray input = s->digits > 0 ? data.left(s->digits) : data;
    if (ZBarcode_Encode(bars.get(), reinterpret_cast<const unsigned char*>(input.constData()),
                        static_cast<int>(input.size())) >= ZINT_ERROR ||
        ZBarcode_Buffer(bars.get(), 0) >= ZINT_ERROR || !bars->bitmap) {
        *why = QString::fromUtf8(bars->errtxt);
        return false;
    }
    // The top row of the picture crosses every bar (the guard bars of a retail code only reach
    // further down); white at either end is trimmed, so the bars start and end the symbol.
    const int width = bars->bitmap_width;
    const auto dark = [&](int x) { return bars->bitmap[3 * x] < 0x80; };
    int first = 0, last = width - 1;
    while (first < width && !dark(first))
        ++first;
    while (last > first && !dark(last))
        --last;
    if (first >= width) {
        *why = QStringLiteral("no bars");
        return false;
    }
    m_columns = last - first + 1;
    m_rows = 1;
    for (int x = first; x <= last; ++x)
        m_dark.push_back(dark(x));
    return true;
}

int CodeSymbol::dotsPerModule(int printerDots, QString* why) const {
    if (m_columns == 0) {
        *why = QStringLiteral("not encoded");
        return 0;
    }
    if (type == Type::QrCode && moduleSize > 0) {
        if (m_columns * moduleSize <= printerDots)
            return moduleSize;
        *why = QStringLiteral("%1 modules of %2 dots are %3 dots wide; the paper has %4")
                   .arg(m_columns)
                   .arg(moduleSize)
                   .arg(m_columns * moduleSize)
                   .arg(printerDots);
        return 0;
    }
    const int largest = type == Type::QrCode ? kAutoModuleSize : kBarWidths[0];
    const int smallest = type == Type::QrCode ? kMinAutoModuleSize : kBarWidths[1];
    for (int size = largest; size >= smallest; --size)
        if (m_columns * size <= printerDots)
            return size;
    *why = QStringLiteral("%1 modules need at least %2 dots; the paper has %3")
               .arg(m_columns)
               .arg(m_columns * smallest)
               .arg(printerDots);
    return 0;
}

LogoRaster CodeSymbol::raster(int dotsPerModule, int printerDots) const {
    LogoRaster result;
    const int width = m_columns * dotsPerModule;
    if (width == 0)
        return result;
    const int wide = std::max(width, printerDots);
    const int left = (wide - width) / 2;
    result.bytesPerRow = (wide + 7) / 8;
    result.rows = type == Type::QrCode ? m_rows * dotsPerModule : height;
    result.dots = QByteArray(qsizetype(result.bytesPerRow) * result.rows, '\0');
    for (int y = 0; y < result.rows; ++y) {
        const int moduleRow = type == Type::QrCode ? y / dotsPerModule : 0;
        char* row = result.dots.data() + qsizetype(y) * result.bytesPerRow;
        for (int x = 0; x < width; ++x) {
            if (!m_dark[std::size_t(moduleRow) * m_columns + x / dotsPerModule])
                continue;
            const int dot = left + x;
            row[dot / 8] = static_cast<char>(row[dot / 8] | (0x80 >> (dot % 8)));
        }
    }
    return result;
}

QString CodeSymbol::readable() const {
    QString text = QString::fromUtf8(data);
    // A QR code may carry line breaks (a contact card): as a line of text they print as blanks.
    for (QChar& c : text)
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            c = QLatin1Char(' ');
    return text;
}

QString CodeSymbol::typeName() const {
    const Symbology* s = symbology(type);
    return QLatin1String(s ? s->name : "qrcode");
}

void CodeSymbol::reportUnprinted(const QString& name, const QByteArray& data, const QString& why) {
    // Enough of the data to find the element; control bytes do not reach the terminal.
    constexpr int kShown = 40;
    QString excerpt = QString::fromUtf8(data.left(kShown * 4)).left(kShown);
    for (QChar& c : excerpt)
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            c = QLatin1Char('?');
    if (excerpt.size() < QString::fromUtf8(data).size())
        excerpt += QLatin1String("...");
    Diagnostics::warn(QStringLiteral("no %1 printed for \"%2\": %3").arg(name, excerpt, why));
}
