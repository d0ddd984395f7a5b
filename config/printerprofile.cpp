#include "printerprofile.h"

#include "config.h"
#include "diagnostics.h"
#include "paconfiguration.h"

#include <QDir>

#include <optional>

namespace {

// The value of a number setting, or its default with the reason in problems.
int number(const PrinterSetting& row, const QString& value, int fallback, QStringList* problems) {
    bool ok = false;
    const int parsed = value.toInt(&ok, 10);
    if (ok && parsed >= row.minimum && parsed <= row.maximum)
        return parsed;
    if (!value.isEmpty())
        *problems << QStringLiteral("%1 = \"%2\" is not %3; using %4")
                         .arg(QLatin1String(row.key), value, QLatin1String(row.valid),
                              fallback < 0 ? QStringLiteral("the page's own")
                                           : QString::number(fallback));
    return fallback;
}

// The index of a choice setting's value among its choices (any case), or 0, its default.
int choice(const PrinterSetting& row, const QString& value, QStringList* problems) {
    const QStringList choices = QString::fromLatin1(row.choices).split(QLatin1Char('|'));
    for (int i = 0; i < choices.size(); ++i) {
        if (value.compare(choices.at(i), Qt::CaseInsensitive) == 0)
            return i;
    }
    if (!value.isEmpty())
        *problems << QStringLiteral("%1 = \"%2\" is not %3; using %4")
                         .arg(QLatin1String(row.key), value, QLatin1String(row.valid),
                              choices.first());
    return 0;
}

} // namespace

const PrinterSetting* PrinterProfile::find(const QString& key) {
    for (const PrinterSetting& row : kPrinterSettings) {
        if (key == QLatin1String(row.key))
            return &row;
    }
    return nullptr;
}

QString PrinterProfile::configurationFolder() {
    return PAConfiguration::configurationFolder();
}

PrinterProfile PrinterProfile::fromConfiguration(const PAConfiguration& configuration) {
    QStringList problems;
    const PrinterProfile profile = read(
        [&configuration](const QString& key) { return configuration.getStrValue(key); }, &problems);
    for (const QString& problem : problems)
        Diagnostics::warn(problem);
    return profile;
}

PrinterProfile PrinterProfile::fromConfig(const libconfig::Config& config, QStringList* problems) {
    return read([&config](const QString& key) { return config.lookup(key); }, problems);
}

PrinterProfile PrinterProfile::read(const std::function<QString(const QString&)>& lookup,
                                    QStringList* problems) {
    PrinterProfile profile;
    profile.model = lookup(key(Model)).trimmed().toLower();
    // The settings only the ESC/POS printer reads (escPosOnly in the table) are not reported for
    // a company printer: they do not concern it.
    const bool escPos = profile.model == QLatin1String("escpos");
    QStringList ignored;
    const auto text = [&lookup](Setting which) { return lookup(key(which)).trimmed(); };
    // A number setting; without a fallback given, the table's default. A wrong value is
    // reported when the setting concerns this printer.
    const auto number = [&](Setting which, std::optional<int> fallback = std::nullopt,
                            std::optional<bool> concerns = std::nullopt) {
        const PrinterSetting& row = setting(which);
        const bool reported = concerns.value_or(!row.escPosOnly || escPos);
        return ::number(row, text(which), fallback.value_or(QByteArray(row.fallback).toInt()),
                        reported && problems ? problems : &ignored);
    };
    const auto choice = [&](Setting which) {
        const PrinterSetting& row = setting(which);
        return ::choice(row, text(which),
                        row.escPosOnly && !escPos ? &ignored
                        : problems                ? problems
                                                  : &ignored);
    };
    profile.codePage = text(CodePage);
    // A fiscal printer prints the receipt before it answers: a longer default wait.
    profile.timeoutMs = number(Timeout, profile.fiscalPrinter() ? 10 : 3) * 1000;
    profile.user = text(User);
    profile.password = lookup(key(Password)); // as written: blanks may belong to it
    // The operator concerns only a fiscal printer: any other reports nothing of it.
    profile.operatorId = number(Operator, std::nullopt, profile.fiscalPrinter());
    profile.columns = number(Columns);
    // Without the setting, no row prints condensed: every job stays as it was. (On the common
    // printers the condensed font is three quarters as wide: 42 columns on 58 mm, 64 on 80 mm.)
    profile.condensedColumns = qMax(profile.columns, number(CondensedColumns, profile.columns));
    profile.codePageNumber = number(CodePageNumber, -1);
    profile.fullCut = choice(Cut) == 1;
    profile.drawerPin = choice(DrawerPin) == 1 ? 5 : 2;
    profile.drawerOnMs = number(DrawerOnTime);
    profile.drawerOffMs = number(DrawerOffTime);
    profile.rasterCodes = choice(QrCode) == 1;
    profile.logo = text(Logo);
    if (!profile.logo.isEmpty())
        profile.logoPath = QDir(configurationFolder()).filePath(profile.logo);
    return profile;
}
