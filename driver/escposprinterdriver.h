// EscPosPrinterDriver: the back-end for Epson-compatible ESC/POS receipt printers, the 58 mm and
// 80 mm thermal printers most shops own. Text goes out in the configured code page, one byte per
// printer cell, so every row keeps the width the layout gave it; bold, the taller "other dishes"
// of a kitchen ticket, centring, the cut, the cash drawer and the shop's logo are the printer's
// own commands (escposcodes.h), and so are QR codes and barcodes, unless the printer lacks them.
// Chosen by pastrel.printer.model = escpos; its settings are the pastrel.printer keys of
// docs/configuration.md.
#pragma once

#include "printerdriver.h"

#include <QByteArray>

#include <initializer_list>

struct LogoRaster;

class EscPosPrinterDriver : public PrinterDriver {
public:
    EscPosPrinterDriver(const QString& path, bool append);
    // The same for a path given as the file system's bytes (argv).
    EscPosPrinterDriver(const QByteArray& nativePath, bool append);
    ~EscPosPrinterDriver() override;

    // Characters per line of the printer named by a pastrel.printer.columns value; 0 when the
    // value is not a usable number (the caller then takes kDefaultColumns).
    static int columnsFrom(const QString& setting);
    static constexpr int kDefaultColumns = 48;

    unsigned int getPaperWidth() override;
    void reset() override;
    void setBold() override;
    void setCharSize() override;
    void setCharSize(int size) override;
    void setCenterJustify() override;
    void fullCut() override;
    void generatePulse() override;
    void startSection() override;
    void endSection() override;
    void print(unsigned int indent, const QString& text) override;
    void println(unsigned int indent, const QString& text) override;
    void println(const QString& text) override;
    void printRowFiscal(const QString& first, const QString& second, const QString& third,
                        const QString& fourth) override;
    using PrinterDriver::printRowFiscal;
    void printLogo() override;
    void printCodeSymbol(const CodeSymbol& symbol) override;

private:
    // How text looks: bold, height (0 normal, up to 7: eight times as tall), centred.
    struct Style {
        bool bold = false;
        char height = 0;
        bool centred = false;
        bool operator==(const Style& other) const {
            return bold == other.bold && height == other.height && centred == other.centred;
        }
    };

    void command(std::initializer_list<char> bytes);
    // Sends what differs between the style asked for and the printer's, just before the text
    // it applies to: a request the renderer takes back before printing costs no bytes.
    void applyStyle();
    QByteArray loadLogo() const;
    // The printer's own commands for a symbol, and the image that stands in for them.
    void printNativeSymbol(const CodeSymbol& symbol, int dotsPerModule);
    void printRasterSymbol(const CodeSymbol& symbol, int dotsPerModule);

    int m_columns;
    char m_cut;         // m of GS V m n
    char m_drawerPin;   // m of ESC p m t1 t2
    char m_drawerOn;    // t1, in units of 2 ms
    char m_drawerOff;   // t2, in units of 2 ms
    QString m_logoPath; // empty: no logo
    bool m_rasterCodes; // QR codes and barcodes drawn as images (pastrel.printer.qrcode = raster)
    bool m_started = false;
    Style m_style;           // asked for by the renderer
    Style m_printerStyle;    // what the printer is set to
    bool m_lineOpen = false; // text written since the last line feed
    bool m_logoLoaded = false;
    QByteArray m_logo; // the ready GS v 0 command; empty: no logo to print
};
