// Part 6.2: HLibrary::copyNumber, a configuration lookup by document type. Every key of the
// test configuration holds a different value, so a wrong key shows as a wrong number; standard
// output is captured at the descriptor (testsupport::captureOutput).
#include "hlibrary.h"
#include "outputcapture.h"
#include "paconfiguration.h"
#include "syncsingleton.h"
#include "testsupport.h"

#include <QFile>

using testsupport::TempHome;

namespace {

// One value per key word; "solddoc" too, to show that "sold" does not read it.
const QByteArray kAllKeys = "pastrel : {\n"
                            "  doc : { copyNumber = 1; };\n"
                            "  prefiscaldoc : { copyNumber = 2; };\n"
                            "  fiscaldoc : { copyNumber = 3; };\n"
                            "  receiptdoc : { copyNumber = 4; };\n"
                            "  invoicedoc : { copyNumber = 5; };\n"
                            "  deliverydoc : { copyNumber = 6; };\n"
                            "  reportdoc : { copyNumber = 7; };\n"
                            "  solddoc : { copyNumber = 8; };\n"
                            "};\n";

const QByteArray kErrorLabel = "Error into HLibrary::copyNumber::documentPath: ";

class Part62 : public ::testing::Test {
protected:
    // HOME and the configuration are set before the first use of the singleton, which is then
    // created here so that its (silent) loading is not inside a capture.
    void useConfig(const QByteArray& text) {
        qputenv("HOME", QFile::encodeName(home.path()));
        home.writeConfig(text);
        SyncSingleton<PAConfiguration>::instance();
    }

    // copyNumber(type) and what it wrote.
    QString copyNumber(const QString& type, testsupport::CapturedOutput* output) {
        QString result;
        *output = testsupport::captureOutput([&] { result = HLibrary::copyNumber(type); });
        return result;
    }

    TempHome home;
};

struct Row {
    const char* type;
    const char* key;
    const char* value; // in kAllKeys
};

void PrintTo(const Row& row, std::ostream* os) {
    *os << row.type;
}

class CopyNumberTable : public Part62, public ::testing::WithParamInterface<Row> {};

// Part 6.2, step 2: every row of the table reads its key, silently.
TEST_P(CopyNumberTable, ReadsTheKeyOfItsRowAndPrintsNothing) {
    useConfig(kAllKeys);
    testsupport::CapturedOutput output;
    EXPECT_EQ(copyNumber(QLatin1String(GetParam().type), &output), QLatin1String(GetParam().value))
        << GetParam().key;
    EXPECT_BYTES(QByteArray(), output.out);
    EXPECT_BYTES(QByteArray(), output.err);
}

const Row kRows[] = {
    {"order", "pastrel.doc.copyNumber", "1"},
    {"prefiscal", "pastrel.prefiscaldoc.copyNumber", "2"},
    {"fiscal", "pastrel.fiscaldoc.copyNumber", "3"},
    {"receipt", "pastrel.receiptdoc.copyNumber", "4"},
    {"invoice", "pastrel.invoicedoc.copyNumber", "5"},
    {"delivery", "pastrel.deliverydoc.copyNumber", "6"},
    {"report", "pastrel.reportdoc.copyNumber", "7"},
};

INSTANTIATE_TEST_SUITE_P(Part62, CopyNumberTable, ::testing::ValuesIn(kRows),
                         [](const ::testing::TestParamInfo<Row>& info) {
                             return std::string(info.param.type);
                         });

// Part 6.2, edge case 1: "Invoice" (capital I) is lower-cased and reads
// pastrel.invoicedoc.copyNumber.
TEST_F(Part62, InvoiceWithCapitalIReadsTheInvoiceKey) {
    useConfig(kAllKeys);
    testsupport::CapturedOutput output;
    EXPECT_EQ(copyNumber(QStringLiteral("Invoice"), &output), QStringLiteral("5"));
    EXPECT_BYTES(QByteArray(), output.out);
    EXPECT_EQ(HLibrary::copyNumber(QStringLiteral("RECEIPT")), QStringLiteral("4"));
}

// Part 6.2, edge case 2: "order" reads pastrel.doc.copyNumber (key word "doc").
TEST_F(Part62, OrderReadsPastrelDocCopyNumber) {
    useConfig("pastrel : { doc : { copyNumber = 3; }; orderdoc : { copyNumber = 9; }; };");
    EXPECT_EQ(HLibrary::copyNumber(QStringLiteral("order")), QStringLiteral("3"));
}

// Part 6.2, edge case 3: "sold" has no row: the error line (one blank after the colon) on
// standard output, then the prefiscal document's value, not solddoc's.
TEST_F(Part62, SoldPrintsTheErrorLineAndReadsThePrefiscalKey) {
    useConfig(kAllKeys);
    testsupport::CapturedOutput output;
    EXPECT_EQ(copyNumber(QStringLiteral("sold"), &output), QStringLiteral("2"));
    EXPECT_BYTES(kErrorLabel + "sold\n", output.out);
    EXPECT_BYTES(QByteArray(), output.err);
}

// Part 6.2, step 3: the message names the lower-cased type.
TEST_F(Part62, UnknownTypeIsPrintedLowerCased) {
    useConfig(kAllKeys);
    testsupport::CapturedOutput output;
    EXPECT_EQ(copyNumber(QStringLiteral("Kitchen Ticket"), &output), QStringLiteral("2"));
    EXPECT_BYTES(kErrorLabel + "kitchen ticket\n", output.out);
}

// Part 6.2, step 3 with the empty type: nothing after the label's blank.
TEST_F(Part62, EmptyTypePrintsTheLabelAloneAndReadsThePrefiscalKey) {
    useConfig(kAllKeys);
    testsupport::CapturedOutput output;
    EXPECT_EQ(copyNumber(QString(), &output), QStringLiteral("2"));
    EXPECT_BYTES(kErrorLabel + "\n", output.out);
}

// Part 6.2, step 2: the names must match whole; a key word is not a document type.
TEST_F(Part62, KeyWordsAndNearNamesAreUnknownTypes) {
    useConfig(kAllKeys);
    for (const char* type : {"doc", "invoicedoc", " invoice", "invoices"}) {
        testsupport::CapturedOutput output;
        EXPECT_EQ(copyNumber(QLatin1String(type), &output), QStringLiteral("2")) << type;
        EXPECT_BYTES(kErrorLabel + QByteArray(type) + "\n", output.out);
    }
}

// Part 6.2, failure handling: an absent key gives the empty text (nothing printed).
TEST_F(Part62, AbsentKeyGivesTheEmptyText) {
    useConfig("pastrel : { receiptdoc : { copyNumber = 2; }; };");
    testsupport::CapturedOutput output;
    EXPECT_EQ(copyNumber(QStringLiteral("invoice"), &output), QString());
    EXPECT_BYTES(QByteArray(), output.out);
    EXPECT_EQ(HLibrary::copyNumber(QStringLiteral("receipt")), QStringLiteral("2"));
}

// Part 6.2, failure handling: sold with no prefiscal key prints the line and gives "".
TEST_F(Part62, SoldWithoutThePrefiscalKeyPrintsTheLineAndGivesTheEmptyText) {
    useConfig("pastrel : { solddoc : { copyNumber = 8; }; };");
    testsupport::CapturedOutput output;
    EXPECT_EQ(copyNumber(QStringLiteral("sold"), &output), QString());
    EXPECT_BYTES(kErrorLabel + "sold\n", output.out);
}

// Part 6.2, interfaces: the value is returned as text, unconverted.
TEST_F(Part62, TheValueIsReturnedUnconverted) {
    useConfig(
        "pastrel : { fiscaldoc : { copyNumber = 02; }; reportdoc : { copyNumber = due; }; };");
    EXPECT_EQ(HLibrary::copyNumber(QStringLiteral("fiscal")), QStringLiteral("02"));
    EXPECT_EQ(HLibrary::copyNumber(QStringLiteral("report")), QStringLiteral("due"));
}

// Part 6.2: nothing is counted or written back: the answer stays the same and the
// configuration file is unchanged.
TEST_F(Part62, NothingIsCountedOrWrittenBack) {
    useConfig(kAllKeys);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(HLibrary::copyNumber(QStringLiteral("receipt")), QStringLiteral("4"));
    EXPECT_BYTES(kAllKeys, testsupport::readFile(home.configPath()));
}

} // namespace
