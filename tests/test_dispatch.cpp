// Part 2.2 (element dispatch) through the real parse of DESIGN.md: what is not visible in the
// output (the duplicate flag, the settings prefix, the current method).
#include "companyprinterdriver.h"
#include "documentreader.h"
#include "testsupport.h"

#include <string>

namespace {

using testsupport::TempHome;

// Parses xml with a fresh CompanyPrinterDriver and hands the driver to check().
template <class Check> void parse(const QByteArray& xml, Check check) {
    TempHome home;
    qputenv("HOME", home.path().toLocal8Bit()); // no configuration: every key is empty
    const QString input = home.file(QStringLiteral("in.xml"));
    ASSERT_TRUE(testsupport::writeFile(input, xml));
    ::testing::internal::CaptureStdout();
    CompanyPrinterDriver driver(home.file(QStringLiteral("out.prn")), false);
    DocumentReader(driver).parse(input);
    ::testing::internal::GetCapturedStdout();
    check(driver);
}

QByteArray methods(std::initializer_list<const char*> names) {
    QByteArray xml = "<doc>";
    for (const char* name : names)
        xml += QByteArray("<method name=\"") + name + "\"/>";
    return xml + "</doc>";
}

struct MethodRow {
    const char* method;
    const char* prefix;
};

class MethodTable : public ::testing::TestWithParam<MethodRow> {};

// Part 2.2, step 1: each method loads its document type; a statement of account uses the
// report's settings and a full order the prefiscal document's, deliberately.
TEST_P(MethodTable, LoadsDocumentTypeAndSetsMethod) {
    const MethodRow row = GetParam();
    parse(methods({row.method}), [&](CompanyPrinterDriver& driver) {
        EXPECT_EQ(driver.method(), QLatin1String(row.method));
        EXPECT_EQ(driver.documentPrefix(), QLatin1String(row.prefix));
    });
}

const MethodRow kMethodRows[] = {
    {"printPartialOrder", "pastrel.doc."},
    {"printFullOrder", "pastrel.prefiscaldoc."},
    {"printFullOrderReceipt", "pastrel.receiptdoc."},
    {"printFullOrderInvoice", "pastrel.invoicedoc."},
    {"printFullOrderDelivery", "pastrel.deliverydoc."},
    {"printFullOrderFiscal", "pastrel.fiscaldoc."},
    {"printAbstractOrder", "pastrel.doc."},
    {"printAbstractOrderReceipt", "pastrel.receiptdoc."},
    {"printAbstractOrderInvoice", "pastrel.invoicedoc."},
    {"printAbstractOrderFiscal", "pastrel.fiscaldoc."},
    {"printReport", "pastrel.reportdoc."},
    {"printSold", "pastrel.solddoc."},
    {"printStatementOfAccount", "pastrel.reportdoc."},
};

INSTANTIATE_TEST_SUITE_P(Part22, MethodTable, ::testing::ValuesIn(kMethodRows),
                         [](const auto& info) { return std::string(info.param.method); });

struct DuplicateRow {
    const char* name;
    std::initializer_list<const char*> sequence;
    bool duplicate;
};

class DuplicateFlag : public ::testing::TestWithParam<DuplicateRow> {};

// Part 2.2: invoices set the flag, fiscal documents clear it, every other method leaves it.
TEST_P(DuplicateFlag, FollowsMethodTable) {
    const DuplicateRow& row = GetParam();
    parse(methods(row.sequence),
          [&](CompanyPrinterDriver& driver) { EXPECT_EQ(driver.printDuplicate(), row.duplicate); });
}

const DuplicateRow kDuplicateRows[] = {
    {"FalseAfterConstruction", {}, false},
    {"FullInvoiceSets", {"printFullOrderInvoice"}, true},
    {"AbstractInvoiceSets", {"printAbstractOrderInvoice"}, true},
    // Part 2.2, edge case 3.
    {"InvoiceThenReceiptStaysTrue", {"printFullOrderInvoice", "printFullOrderReceipt"}, true},
    {"InvoiceThenReportStaysTrue", {"printAbstractOrderInvoice", "printReport"}, true},
    {"InvoiceThenFullFiscalClears", {"printFullOrderInvoice", "printFullOrderFiscal"}, false},
    {"InvoiceThenAbstractFiscalClears",
     {"printFullOrderInvoice", "printAbstractOrderFiscal"},
     false},
    {"ReceiptLeavesFalse", {"printFullOrderReceipt"}, false},
};

INSTANTIATE_TEST_SUITE_P(Part22, DuplicateFlag, ::testing::ValuesIn(kDuplicateRows),
                         [](const auto& info) { return std::string(info.param.name); });

// Part 2.2, step 2: an unknown (or absent) name empties the method and stops the parse.
TEST(Part22, UnknownMethodEmptiesMethodAndStops) {
    parse("<doc><method name=\"printReport\"/><method name=\"printInvoice\"/>"
          "<method name=\"printSold\"/></doc>",
          [](CompanyPrinterDriver& driver) { EXPECT_EQ(driver.method(), QString()); });
}

TEST(Part22, AbsentNameIsUnknown) {
    parse("<doc><method name=\"printReport\"/><method/><method name=\"printSold\"/></doc>",
          [](CompanyPrinterDriver& driver) { EXPECT_EQ(driver.method(), QString()); });
}

// Part 2.2, edge case 4: "Method" is an ordinary element.
TEST(Part22, CapitalMethodIsOrdinaryElement) {
    parse("<doc><method name=\"printReport\"/><Method name=\"printSold\"/></doc>",
          [](CompanyPrinterDriver& driver) {
              EXPECT_EQ(driver.method(), QStringLiteral("printReport"));
          });
}

// Part 2.2: elements before the first method are ignored; the method stays empty.
TEST(Part22, NoMethodLeavesMethodEmpty) {
    parse("<doc><receipt serialnumber=\"1\"/></doc>", [](CompanyPrinterDriver& driver) {
        EXPECT_EQ(driver.method(), QString());
        EXPECT_EQ(driver.documentPrefix(), QString());
    });
}

// DESIGN.md "Reading the input" step 1: an unopenable input ends the parse at once.
TEST(Part22, ParseOfMissingFileReportsFalse) {
    TempHome home;
    qputenv("HOME", home.path().toLocal8Bit());
    ::testing::internal::CaptureStdout();
    CompanyPrinterDriver driver(home.file(QStringLiteral("out.prn")), false);
    EXPECT_FALSE(DocumentReader(driver).parse(home.file(QStringLiteral("absent.xml"))));
    ::testing::internal::GetCapturedStdout();
}

} // namespace
