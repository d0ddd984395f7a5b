// The shipped Italian catalogue: every label the renderer and the library print has a
// translation, and each fits the cells its place gives it with the sample configuration's
// widths (examples/home: paper 40, quantity 3, price 8, amount 9).
#include "testsupport.h"

#include <QTranslator>

namespace {

TEST(ShippedCatalogue, EveryPrintedLabelIsTranslatedAndFitsItsCells) {
    QTranslator catalogue;
    ASSERT_TRUE(
        catalogue.load(QStringLiteral(PASTREL_BINARY_DIR "/translations/pastrel_it_IT.qm")));
    // Column headings ("qdpt": description 19; the statement's description 13, date 15), titles
    // centred on 40, dotted labels within 25, the report's tax and cancelled tables, label lines
    // with room for a 16-cell value, payment and period lines with room for their value.
    // clang-format off
    const std::pair<const char*, int> labels[] = {
        {"Num", 3}, {"Description", 13}, {"Price", 8}, {"Amount", 9}, {"Date", 15}, {"TOTAL", 11},
        {"Taxable", 19}, {"TaxRate", 19}, {"Tax", 19}, {"Number", 25}, {"Serials", 25},
        {"SUMMARIES", 40}, {"PREFISCAL SUMMARY", 40}, {"RECEIPTS SUMMARY", 40},
        {"INVOICES SUMMARY", 40}, {"CANCELLED DOC SUMMARY", 40}, {"TAXRATE", 6}, {"TAXABLE", 10},
        {"TAX", 10}, {"AMOUNT", 10}, {"SERIAL", 10}, {"    Amount not paid: ", 30},
        {"Amount not paid: ", 30}, {"Cash: ", 30}, {"Credit Card: ", 30}, {"Bancomat: ", 30},
        {"Other: ", 30}, {"BeginDate: ", 24}, {"EndDate: ", 24}, {"Serial Number: ", 23},
        {"Invoice Number:", 22}, {"Delivery Number:", 22}, {"Telephone:", 22},
        {"License Number:", 22}, {"Fiscal Code:", 22}, {"Date:", 22}, {"Time:", 22},
        {"Table:", 22}, {"Waiter:", 22}, {"Note:", 22}, {"Credit:", 22}, {"CUSTOMER", 40},
        {"SALE", 13}, {"PAYMENT", 13}, {"PaperWindow", 40}, {"Insert a new sheet", 40}};
    // clang-format on
    for (const auto& [label, cells] : labels) {
        const QString translation = catalogue.translate("QObject", label);
        EXPECT_FALSE(translation.isEmpty()) << label;
        EXPECT_LE(translation.size(), cells) << label << " -> " << translation.toStdString();
    }
}

} // namespace
