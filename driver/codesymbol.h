// CodeSymbol: a QR code or a barcode a document asks for (a pay-at-the-table link on a pre-bill,
// the number of a gift voucher), checked against what its symbology can hold, and drawn into
// printer dots by the encoder libraries the distribution keeps (libqrencode for QR codes, zint
// for barcodes). The ESC/POS back-end sends it as the printer's own commands or as an image;
// pastrel-preview draws the printer's commands back with the same encoders, so the picture
// shows the modules the printer prints.
#pragma once

#include "logoraster.h"

#include <QByteArray>
#include <QString>
#include <QXmlStreamAttributes>

#include <vector>

struct CodeSymbol {
    enum class Type { QrCode, Ean13, Ean8, UpcA, Code39, Code128 };
    // Where a barcode's digits or letters print, in the order of the printer's own choice (GS H).
    enum class Text { None, Above, Below, Both };

    // QR codes: the largest payload a printer's store command takes, and the module sizes.
    static constexpr int kMaxQrBytes = 7089;
    static constexpr int kMaxModuleSize = 16;
    static constexpr int kAutoModuleSize = 6; // 0.75 mm: read by any phone at arm's length
    static constexpr int kMinAutoModuleSize = 2;
    static constexpr int kQuietModules = 4; // blank paper above and below a QR code
    // The error correction levels, from the lowest: their order is their number to the printer
    // and to the encoder.
    static constexpr char kLevels[] = "LMQH";
    // Barcodes: the bar height and the width of the narrowest bar, in dots.
    static constexpr int kMaxHeight = 255;
    static constexpr int kDefaultHeight = 80; // 10 mm
    static constexpr int kMaxBarcodeBytes = 255;
    static constexpr int kBarWidths[] = {3, 2}; // the widest that fits the paper is taken

    Type type = Type::QrCode;
    QByteArray data;  // as the printer gets it: UTF-8 for a QR code; a barcode's check digit added
    char level = 'M'; // QR error correction: L, M, Q or H
    int moduleSize = 0; // dots a module, 0: the largest from kAutoModuleSize down that fits
    int height = kDefaultHeight;
    Text text = Text::Below;

    // The symbol a qrcode or barcode element describes, encoded. False, with *why saying what
    // the symbology cannot hold, for data or attributes that cannot make one.
    static bool fromElement(const QString& name, const QXmlStreamAttributes& attributes,
                            CodeSymbol* symbol, QString* why);
    // Checks a barcode's data against what its type holds and adds a missing check digit;
    // false with *why.
    static bool checkBarcode(Type type, QByteArray* data, QString* why);
    // Encodes type, data and level, as the printer's command carries them; false with *why.
    bool encode(QString* why);
    int modulesAcross() const { return m_columns; }

    // The dots of a module for a printer dots wide: moduleSize, or the largest automatic size
    // whose symbol fits; 0 with *why when none fits.
    int dotsPerModule(int printerDots, QString* why) const;
    // The symbol drawn at dotsPerModule dots a module (a barcode height rows tall), centred in
    // an image printerDots wide (0: as wide as the symbol).
    LogoRaster raster(int dotsPerModule, int printerDots = 0) const;

    // What the symbol reads as text: the printer's line under the bars, and the company
    // printer's stand-in line.
    QString readable() const;
    // The symbology's name in the documents: "qrcode", "ean13", ...
    QString typeName() const;
    // The one standard-error line that says an element printed nothing, and why.
    static void reportUnprinted(const QString& name, const QByteArray& data, const QString& why);

private:
    int m_columns = 0; // modules across
    int m_rows = 0;    // modules down (1 for a barcode)
    std::vector<bool> m_dark;
};
