// PrinterProfile: the till's printer as the configuration describes it (the pastrel.printer
// group), read once and handed to everything that drives or describes the printer: the back-ends,
// the delivery and spool, pastrel-preview, `pastrel-config logo` and `check`.
//
// kPrinterSettings is the one table of the printer settings: key, kind, default and range. The
// reader below, `pastrel-config check` and docs/configuration.md follow it. To add a setting:
// add its row here (and its member and the line of read() that fills it), then its line in
// docs/configuration.md; `check` knows the key at once.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class PAConfiguration;
namespace libconfig {
class Config;
}

struct PrinterSetting {
    enum class Kind { Text, Number, Choice, Path };
    const char* key;      // the full dotted key
    Kind kind;            //
    const char* fallback; // the default, as the docs show it; empty: none
    int minimum;          // Number: the range taken
    int maximum;          //
    const char* choices;  // Choice: the values taken, "|" between them, the first the default
    const char* valid;    // how a wrong value is described to the integrator
    bool escPosOnly;      // a wrong value is reported only for an ESC/POS printer
};

// clang-format off
inline constexpr PrinterSetting kPrinterSettings[] = {
    {"pastrel.printer.model", PrinterSetting::Kind::Text, "company", 0, 0, "", "a printer model", false},
    {"pastrel.printer.codepage", PrinterSetting::Kind::Text, "", 0, 0, "", "a code page", false},
    {"pastrel.printer.codepageNumber", PrinterSetting::Kind::Number, "", 0, 255, "", "a number from 0 to 255", true},
    {"pastrel.printer.columns", PrinterSetting::Kind::Number, "48", 1, 255, "", "a number of characters from 1 to 255", true},
    {"pastrel.printer.condensedColumns", PrinterSetting::Kind::Number, "", 1, 255, "", "a number of characters from 1 to 255", true},
    {"pastrel.printer.cut", PrinterSetting::Kind::Choice, "partial", 0, 0, "partial|full", "partial or full", true},
    {"pastrel.printer.drawerPin", PrinterSetting::Kind::Choice, "2", 0, 0, "2|5", "2 or 5", true},
    {"pastrel.printer.drawerOnTime", PrinterSetting::Kind::Number, "50", 0, 510, "", "0 to 510 milliseconds", true},
    {"pastrel.printer.drawerOffTime", PrinterSetting::Kind::Number, "500", 0, 510, "", "0 to 510 milliseconds", true},
    {"pastrel.printer.logo", PrinterSetting::Kind::Path, "", 0, 0, "", "a file", true},
    {"pastrel.printer.timeout", PrinterSetting::Kind::Number, "3", 1, 600, "", "a number of seconds from 1 to 600", false},
    {"pastrel.printer.qrcode", PrinterSetting::Kind::Choice, "native", 0, 0, "native|raster", "native or raster", true},
    {"pastrel.printer.user", PrinterSetting::Kind::Text, "", 0, 0, "", "a user name", false},
    {"pastrel.printer.password", PrinterSetting::Kind::Text, "", 0, 0, "", "a password", false},
    {"pastrel.printer.operator", PrinterSetting::Kind::Number, "1", 1, 99, "", "an operator number from 1 to 99", false},
};
// clang-format on

class PrinterProfile {
public:
    // The settings in the order of kPrinterSettings.
    enum Setting {
        Model,
        CodePage,
        CodePageNumber,
        Columns,
        CondensedColumns,
        Cut,
        DrawerPin,
        DrawerOnTime,
        DrawerOffTime,
        Logo,
        Timeout,
        QrCode,
        User,
        Password,
        Operator
    };
    static const PrinterSetting& setting(Setting which) { return kPrinterSettings[which]; }
    static QString key(Setting which) { return QLatin1String(setting(which).key); }
    // The setting of that full key, or null.
    static const PrinterSetting* find(const QString& key);

    // The configuration folder, $HOME/.pastrel/conf: the file, and the logo named relative to it.
    static QString configurationFolder();

    // Read from the process's configuration; every value the printer cannot use is reported on
    // standard error (once, here) and its default taken.
    static PrinterProfile fromConfiguration(const PAConfiguration& configuration);
    // Read from a configuration file given; the values not taken are described in problems.
    static PrinterProfile fromConfig(const libconfig::Config& config, QStringList* problems);
    // Read through any lookup of a full key.
    static PrinterProfile read(const std::function<QString(const QString&)>& lookup,
                               QStringList* problems);

    // pastrel.printer.model trimmed and lower-cased, so "ESCPOS" and " escpos " name one printer;
    // empty when absent. The back-ends are chosen from it (driver/printerbackends.h).
    QString model;
    // Characters per line in the normal font, and in the printer's condensed font (the same
    // paper in the narrower font: 32 and 42 on 58 mm, 48 and 64 on 80 mm).
    int columns = 48;
    int condensedColumns = 48; // at least columns; equal: nothing prints condensed
    QString codePage;          // the page's name as configured (trimmed); empty: the back-end's own
    int codePageNumber = -1; // n of ESC t n when the printer numbers the page its own way; -1: none
    bool fullCut = false;
    int drawerPin = 2; // 2 or 5
    int drawerOnMs = 50;
    int drawerOffMs = 500;
    QString logo;         // as configured (trimmed); empty: no logo
    QString logoPath;     // the same, a relative path taken from the configuration folder
    int timeoutMs = 3000; // 10 s for a fiscal printer (rt-...), which prints before it answers
    // QR codes and barcodes drawn as images, for a printer without their commands.
    bool rasterCodes = false;
    // A fiscal printer's (rt-epson, rt-custom): its web user and password (HTTP Basic, Custom)
    // and the operator number its commands carry.
    QString user;
    QString password;
    int operatorId = 1;

    // True for the fiscal printer models (driver/rtprinterdriver.h).
    bool fiscalPrinter() const { return model.startsWith(QLatin1String("rt-")); }
};
