#include "knownkeys.h"

#include "documenttypes.h"
#include "printerprofile.h"

#include <QStringList>

#include <algorithm>
#include <cstdlib>

namespace {

// The layout settings PrinterDriver::loadValues and the header blocks read under each group.
const char* const kDocumentValues[] = {"quantityFieldWidth",
                                       "priceFieldWidth",
                                       "totalPriceFieldWidth",
                                       "paperWidth",
                                       "paperRows",
                                       "topMargin",
                                       "style"};
const char* const kDocumentFlags[] = {"printGeometry",
                                      "printHeader",
                                      "printLogo",
                                      "printCompany",
                                      "printDeliveryAddress",
                                      "printBillingAddress",
                                      "printTelephone",
                                      "printDate",
                                      "printTime",
                                      "printTable",
                                      "printCustomer",
                                      "printLicenseNumber",
                                      "printFiscalCode",
                                      "printCredit",
                                      "printWaiter",
                                      "printNote",
                                      "openCashDrawer"};

// Keys outside the document groups and the printer's: the catalogue (compile), the logger, the
// database and tools settings of HLibrary, and the fiscal printer's reparti table.
const char* const kOtherKeys[] = {
    "pastrel.language.basedir", "pastrel.language.file",   "pastrel.logger.level",
    "pastrel.logger.basedir",   "pastrel.logger.filename", "pastrel.logger.type",
    "pastrel.db.dbname",        "pastrel.db.username",     "pastrel.db.password",
    "pastrel.db.hostname",      "pastrel.bin.path",        "pastrel.fiscal.departments"};

std::vector<KnownKeys::Key> buildTable() {
    std::vector<KnownKeys::Key> keys;
    for (const char* name : kOtherKeys)
        keys.push_back({QLatin1String(name), false});
    for (const PrinterSetting& setting : kPrinterSettings)
        keys.push_back({QLatin1String(setting.key), false});
    for (const DocumentTypes::Type& type : DocumentTypes::kTypes) {
        const QString prefix = DocumentTypes::prefix(type);
        for (const char* value : kDocumentValues)
            keys.push_back({prefix + QLatin1String(value), false});
        for (const char* flag : kDocumentFlags)
            keys.push_back({prefix + QLatin1String(flag), true});
        if (type.copyNumber)
            keys.push_back({prefix + QLatin1String("copyNumber"), false});
    }
    return keys;
}

// Levenshtein distance, two rows; limit + 1 as soon as it must be more than limit (every row's
// smallest entry only grows), so that checking 100,000 unknown keys takes a second, not minutes.
int editDistance(const QString& a, const QString& b, int limit) {
    if (std::abs(a.size() - b.size()) > limit)
        return limit + 1;
    std::vector<int> previous(static_cast<std::size_t>(b.size()) + 1);
    std::vector<int> current(previous.size());
    for (std::size_t j = 0; j < previous.size(); ++j)
        previous[j] = static_cast<int>(j);
    for (qsizetype i = 1; i <= a.size(); ++i) {
        current[0] = static_cast<int>(i);
        int smallest = current[0];
        for (qsizetype j = 1; j <= b.size(); ++j) {
            const int substitution =
                previous[static_cast<std::size_t>(j - 1)] + (a.at(i - 1) == b.at(j - 1) ? 0 : 1);
            current[static_cast<std::size_t>(j)] =
                std::min({previous[static_cast<std::size_t>(j)] + 1,
                          current[static_cast<std::size_t>(j - 1)] + 1, substitution});
            smallest = std::min(smallest, current[static_cast<std::size_t>(j)]);
        }
        if (smallest > limit)
            return limit + 1;
        std::swap(previous, current);
    }
    return previous.back();
}

} // namespace

const std::vector<KnownKeys::Key>& KnownKeys::all() {
    static const std::vector<Key> table = buildTable();
    return table;
}

const KnownKeys::Key* KnownKeys::find(const QString& name) {
    for (const Key& key : all()) {
        if (key.name == name)
            return &key;
    }
    return nullptr;
}

QString KnownKeys::nearest(const QString& name) {
    // Compared in lower case, so a key differing only in letter case is at distance 0 and wins.
    const QString lower = name.toLower();
    static const QStringList lowered = [] {
        QStringList names;
        for (const Key& key : all())
            names.append(key.name.toLower());
        return names;
    }();
    QString best;
    int bestDistance = kMaxSuggestionDistance + 1;
    for (qsizetype i = 0; i < lowered.size(); ++i) {
        const int distance = editDistance(lower, lowered.at(i), bestDistance - 1);
        if (distance < bestDistance) {
            best = all()[static_cast<std::size_t>(i)].name;
            bestDistance = distance;
        }
    }
    return best;
}
