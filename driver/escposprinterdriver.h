// EscPosPrinterDriver: the back-end for Epson-compatible ESC/POS receipt printers, the 58 mm and
// 80 mm thermal printers most shops own. Text goes out in the configured code page, one byte per
// printer cell, so every row keeps the width the layout gave it; bold, the taller "other dishes"
// of a kitchen ticket, centring, the cut, the cash drawer and the shop's logo are the printer's
// own commands (escposcodes.h), and so are QR codes and barcodes, unless the printer lacks
// them (then they are drawn as images). A row wider than the paper but within the condensed font's
// width prints in that font instead of wrapping. Chosen by pastrel.printer.model = escpos
// (printerbackends.cpp); its settings are the printer profile's (printerprofile.h).
#pragma once

#include "printerdriver.h"

#include <QByteArray>

#include <initializer_list>

class EscPosPrinterDriver : public PrinterDriver {
public:
    EscPosPrinterDriver(const QString& path, bool append);
    // The same for a path given as the file system's bytes (argv).
    EscPosPrinterDriver(const QByteArray& nativePath, bool append);
    EscPosPrinterDriver(QIODevice* device, const PrinterProfile& profile,
                        SettingLookup settings = SettingLookup());
    ~EscPosPrinterDriver() override;

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

    void configure();
    void command(std::initializer_list<char> bytes);
    // Sends what differs between the style asked for and the printer's, just before the text
    // it applies to: a request the renderer takes back before printing costs no bytes.
    void applyStyle();
    // Sends the line held so far and its line feed, in the condensed font when it is wider than
    // the paper and fits that font.
    void endLine();
    QByteArray loadLogo() const;
    // The printer's own commands for a symbol, and the image that stands in for them.
    void printNativeSymbol(const CodeSymbol& symbol, int dotsPerModule);
    void printRasterSymbol(const CodeSymbol& symbol, int dotsPerModule);

    int m_columns = 48;
    int m_condensedColumns = 48;
    char m_cut = 0;       // m of GS V m n
    char m_drawerPin = 0; // m of ESC p m t1 t2
    char m_drawerOn = 0;  // t1, in units of 2 ms
    char m_drawerOff = 0; // t2, in units of 2 ms
    bool m_started = false;
    Style m_style;        // asked for by the renderer
    Style m_printerStyle; // what the printer is set to
    // The line being built: its text and style commands, and its width in cells. A line is
    // sent whole at its line feed, once its font is known.
    QString m_line;
    int m_lineCells = 0;
    // Text or a command waits for the line feed (a command joins a line only once it has text).
    bool lineOpen() const { return !m_line.isEmpty(); }
    bool m_logoLoaded = false;
    QByteArray m_logo; // the ready GS v 0 commands; empty: no logo to print
};
