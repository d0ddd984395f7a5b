#include "printerprofile.h"

#include "config.h"
#include "diagnostics.h"
#include "paconfiguration.h"

#include <QDir>

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
    QStringList found;
    const auto text = [&lookup](Setting which) { return lookup(key(which)).trimmed(); };
    profile.model = text(Model).toLower();
    profile.codePage = text(CodePage);
    // A fiscal printer prints the receipt before it answers: a longer default wait.
    profile.timeoutMs =
        number(setting(Timeout), text(Timeout), profile.fiscalPrinter() ? 10 : 3, &found) * 1000;
    profile.user = text(User);
    profile.password = lookup(key(Password)); // as written: blanks may belong to it
    QStringList fiscal;
    profile.operatorId = number(setting(Operator), text(Operator), 1, &fiscal);
    if (profile.fiscalPrinter())
        found << fiscal;
    // The rest belongs to the ESC/POS printer: a company printer reports none of it.
    QStringList escPos;
    profile.columns = number(setting(Columns), text(Columns), 48, &escPos);
    // Without the setting, no row prints condensed: every job stays as it was. (On the common
    // printers the condensed font is three quarters as wide: 42 columns on 58 mm, 64 on 80 mm.)
    profile.condensedColumns =
        qMax(profile.columns,
             number(setting(CondensedColumns), text(CondensedColumns), profile.columns, &escPos));
    profile.codePageNumber = number(setting(CodePageNumber), text(CodePageNumber), -1, &escPos);
    profile.fullCut = choice(setting(Cut), text(Cut), &escPos) == 1;
    profile.drawerPin = choice(setting(DrawerPin), text(DrawerPin), &escPos) == 1 ? 5 : 2;
    profile.drawerOnMs = number(setting(DrawerOnTime), text(DrawerOnTime), 50, &escPos);
    profile.drawerOffMs = number(setting(DrawerOffTime), text(DrawerOffTime), 500, &escPos);
    profile.rasterCodes = choice(setting(QrCode), text(QrCode), &escPos) == 1;
    profile.logo = text(Logo);
    if (!profile.logo.isEmpty())
        profile.logoPath = QDir(configurationFolder()).filePath(profile.logo);
    if (profile.model == QLatin1String("escpos"))
        found << escPos;
    if (problems)
        *problems << found;
    return profile;
}
