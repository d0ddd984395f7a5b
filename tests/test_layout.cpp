// Part 2.3 (column layout), with the parts of Part 2.1 (driver core) and Part 3.1 (company
// back-end) that the layout stands on. The driver writes to a file in the test's own temporary
// HOME; the file is read back after the driver is destroyed. Expected rows are written by hand
// from the Part's table of pieces; each row also carries its length, worked out separately from
// the widths, so a slip in a hand-written row shows up as a length mismatch.
#include "paconfiguration.h"
#include "syncsingleton.h"
#include "testdriver.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>

#include <functional>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <sstream>
#include <utility>

using testsupport::TempHome;

namespace {

// Captures what the code under test writes to std::cout (the driver's messages go there).
class CoutCapture {
public:
    CoutCapture() : m_old(std::cout.rdbuf(m_buffer.rdbuf())) {}
    ~CoutCapture() { std::cout.rdbuf(m_old); }
    CoutCapture(const CoutCapture&) = delete;
    CoutCapture& operator=(const CoutCapture&) = delete;
    std::string text() const { return m_buffer.str(); }

private:
    std::ostringstream m_buffer;
    std::streambuf* m_old;
};

// Every test gets a HOME of its own with an empty configuration, so the configuration
// singleton that the driver takes never reads the real user's ~/.pastrel and prints nothing.
class DriverTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_oldHome = qgetenv("HOME");
        m_home.writeConfig("pastrel : { };\n");
        qputenv("HOME", m_home.path().toLocal8Bit());
        SyncSingleton<PAConfiguration>::instance(); // created here, outside any capture
    }
    void TearDown() override { qputenv("HOME", m_oldHome); }

    QString outputPath() const { return m_home.file(QStringLiteral("out.prn")); }

    // A driver on the output file with the widths of the Part's example (W 40, Wq 3, Wp 8,
    // Wt 9); steps drive it; the driver is destroyed and the bytes it wrote are returned.
    QByteArray render(const std::function<void(TestDriver&)>& steps, bool append = false) {
        {
            TestDriver driver(outputPath(), append);
            driver.setWidths(40, 3, 8, 9);
            steps(driver);
        }
        return testsupport::readFile(outputPath());
    }

    TempHome m_home;
    QByteArray m_oldHome;
};

// One fixture name per Part, so the test names say which Part they check.
class ColumnLayout : public DriverTest {};   // Part 2.3
class DriverCore : public DriverTest {};     // Part 2.1
class CompanyBackEnd : public DriverTest {}; // Part 3.1

// ---------------------------------------------------------------------------------------------
// Part 2.3: descriptionRow, one row of the table per case.

struct RowCase {
    const char* name;
    int paper, quantity, price, total; // W, Wq, Wp, Wt
    const char* first;
    const char* second;
    const char* third;
    const char* fourth;
    char fill;
    const char* mode;
    const char* expected; // written by hand from the Part's pieces
    int length;           // the row's length, worked out from the widths
};

void PrintTo(const RowCase& c, std::ostream* os) {
    *os << c.name;
}

const RowCase kRows[] = {
    // Part 2.3, the example: D = 40 - 3 - 8 - 9 - 3 = 17; the description is cut to 17.
    {"QxdptPartExampleCutsLongDescription", 40, 3, 8, 9, "2", "Spaghetti alla carbonara", "7.50",
     "15.00", '.', "qxdpt", "  2 x Spaghetti alla ca....7.50    15.00", 40},
    // Part 2.3, the example with «Acqua»: padded to 17 with the fill, the dots run on to the price.
    {"QxdptPartExamplePadsShortDescriptionWithFill", 40, 3, 8, 9, "2", "Acqua", "7.50", "15.00",
     '.', "qxdpt", "  2 x Acqua................7.50    15.00", 40},
    // Part 2.3, the example headings in "qdpt" with blank fill: D = 19.
    {"QdptPartExampleColumnHeadings", 40, 3, 8, 9, "Qty", "Description", "Price", "Total", ' ',
     "qdpt", "Qty Description           Price    Total", 40},
    // Edge case 1: a description of exactly D (19) characters is kept as it is...
    {"QdptDescriptionOfExactlyDIsKept", 40, 3, 8, 9, "1", "Pizza margherita XL", "8.00", "8.00",
     '.', "qdpt", "  1 Pizza margherita XL....8.00     8.00", 40},
    // ...and one character more is cut to D, never wrapped.
    {"QdptDescriptionLongerThanDIsCutNotWrapped", 40, 3, 8, 9, "1", "Pizza margherita XXL", "8.00",
     "8.00", '.', "qdpt", "  1 Pizza margherita XX....8.00     8.00", 40},
    // Point 1: the fill runs up to the price and stops; quantity and total are blank-padded.
    {"QdptFillStopsAtPriceTotalIsBlankPadded", 40, 3, 8, 9, "2", "Acqua", "7.50", "15.00", '.',
     "qdpt", "  2 Acqua..................7.50    15.00", 40},
    {"QxdptFillStopsAtPriceTotalIsBlankPadded", 40, 3, 8, 9, "12", "Vino", "4.00", "48.00", '*',
     "qxdpt", " 12 x Vino*****************4.00    48.00", 40},
    // Failure handling: an empty description becomes a run of D fill characters.
    {"QdptEmptyDescriptionIsRunOfFill", 40, 3, 8, 9, "1", "", "3.00", "3.00", '.', "qdpt",
     "  1 .......................3.00     3.00", 40},
    // Edge case 2: an over-long quantity, price or total is kept whole and widens the line.
    {"QxdptLongQuantityWidensLine", 40, 3, 8, 9, "1000", "Acqua", "7.50", "7500.00", '.', "qxdpt",
     "1000 x Acqua................7.50  7500.00", 41},
    {"QxdptLongPriceWidensLine", 40, 3, 8, 9, "2", "Acqua", "123456789.00", "15.00", '.', "qxdpt",
     "  2 x Acqua............123456789.00    15.00", 44},
    {"QxdptLongTotalWidensLine", 40, 3, 8, 9, "2", "Acqua", "7.50", "1234567890.00", '.', "qxdpt",
     "  2 x Acqua................7.501234567890.00", 44},
    // Edge case 3: D = 0 (W 23) drops the description.
    {"QxdptZeroDescriptionWidthDropsDescription", 23, 3, 8, 9, "2", "Acqua", "7.50", "15.00", '.',
     "qxdpt", "  2 x ....7.50    15.00", 23},
    {"QdZeroDescriptionWidthDropsDescription", 6, 3, 0, 0, "2", "Acqua", "", "", '.', "qd", "  2 ",
     4},
    // Edge case 3: W smaller than the columns, D negative: the description whole and unpadded.
    {"QxdptNegativeDescriptionWidthPrintsDescriptionWhole", 20, 3, 8, 9, "2",
     "Spaghetti alla carbonara", "7.50", "15.00", '.', "qxdpt",
     "  2 x Spaghetti alla carbonara....7.50    15.00", 47},
    {"QdptDescriptionWidthMinusOnePrintsDescriptionWhole", 20, 3, 8, 9, "2", "Acqua", "7.50",
     "15.00", '.', "qdpt", "  2 Acqua....7.50    15.00", 26},
    {"QdNegativeDescriptionWidthPrintsDescriptionWhole", 4, 3, 0, 0, "2", "Acqua", "", "", '.',
     "qd", "  2 Acqua", 9},
    // Point 4: two lines in one text; the first unpadded, the second W wide, total fill-padded.
    {"QxdtDoubleLineGivesTwoLines", 40, 3, 8, 9, "2", "Acqua", "7.50", "15.00", '.',
     "qxdtDoubleLine", "2 x 7.50\nAcqua..............................15.00", 49},
    // Edge case 5: empty first and third give a first line " x ".
    {"QxdtDoubleLineEmptyFirstAndThirdGiveX", 40, 3, 8, 9, "", "Acqua", "", "15.00", '.',
     "qxdtDoubleLine", " x \nAcqua..............................15.00", 44},
    // The description column of the second line is W - Wt = 31 cells: cut there.
    {"QxdtDoubleLineCutsDescriptionToWMinusWt", 40, 3, 8, 9, "1",
     "Spaghetti alla carbonara con guanciale", "7.50", "15.00", '.', "qxdtDoubleLine",
     "1 x 7.50\nSpaghetti alla carbonara con gu....15.00", 49},
    // Edge case 6: all three column widths 0: D = W - 3 = 37, price and total run together.
    {"QxdptAllColumnWidthsZero", 40, 0, 0, 0, "2", "Acqua", "7.50", "15.00", '.', "qxdpt",
     "2 x Acqua................................7.5015.00", 50},
    // "qxd": D = W - Wq - 3 = 34, padded with the fill to the full paper width.
    {"QxdPadsDescriptionWithFillToPaperWidth", 40, 3, 8, 9, "2", "Acqua", "", "", '.', "qxd",
     "  2 x Acqua.............................", 40},
    // Point 2: "qd" pads with blanks whatever the fill and is two cells short (38 of 40).
    {"QdIgnoresFillAndIsTwoCellsShort", 40, 3, 8, 9, "2", "Acqua", "7.50", "15.00", '.', "qd",
     "  2 Acqua                             ", 38},
    {"QdCutsLongDescription", 40, 3, 8, 9, "12", "Spaghetti alla carbonara con guanciale", "", "",
     '.', "qd", " 12 Spaghetti alla carbonara con guanc", 38},
    // Point 3: 15-cell first column, D = 40 - 15 - 8 - 3 = 14, three cells short, fourth ignored.
    {"DateAmountTypeIsThreeCellsShortAndIgnoresFourth", 40, 3, 8, 9, "01/02/2024", "Cash", "12.50",
     "ignored", '.', "date-amount-type", "01/02/2024     Cash.............12.50", 37},
    {"DateAmountTypeFirstColumnIsNotCut", 40, 3, 8, 9, "2024-02-01 12:30", "Cash", "12.50", "", '.',
     "date-amount-type", "2024-02-01 12:30Cash.............12.50", 38},
    {"DateAmountTypeBlankFill", 40, 3, 8, 9, "01/02/2024", "Cash", "12.50", "", ' ',
     "date-amount-type", "01/02/2024     Cash             12.50", 37},
};

class DescriptionRow : public DriverTest, public ::testing::WithParamInterface<RowCase> {};

TEST_P(DescriptionRow, LaysOutRowAsThePartsPieces) {
    const RowCase& c = GetParam();
    // The hand-written row and the hand-worked length must agree before the code is asked.
    ASSERT_EQ(QString::fromUtf8(c.expected).size(), c.length) << "test table slip in " << c.name;
    QString row;
    render([&](TestDriver& driver) {
        driver.setWidths(c.paper, c.quantity, c.price, c.total);
        row = driver.descriptionRow(QString::fromUtf8(c.first), QString::fromUtf8(c.second),
                                    QString::fromUtf8(c.third), QString::fromUtf8(c.fourth),
                                    QChar(QLatin1Char(c.fill)), QString::fromUtf8(c.mode));
    });
    EXPECT_EQ(row, QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(Part23, DescriptionRow, ::testing::ValuesIn(kRows),
                         [](const auto& info) { return std::string(info.param.name); });

// Part 2.3, point 5: an unknown mode (the comparison is case-sensitive) gives the null string.
TEST_F(ColumnLayout, DescriptionRowUnknownModeGivesNullString) {
    render([](TestDriver& driver) {
        for (const char* mode : {"QD", "", "qdp", "qxdtdoubleline", "date-amount", "qdpt "}) {
            const QString row = driver.descriptionRow(
                QStringLiteral("2"), QStringLiteral("Acqua"), QStringLiteral("7.50"),
                QStringLiteral("15.00"), QLatin1Char('.'), QString::fromUtf8(mode));
            EXPECT_TRUE(row.isNull()) << "mode \"" << mode << "\" gave " << row.toStdString();
        }
    });
}

// Part 2.3: the widths are read at each call, so a later change lays out with the new widths.
TEST_F(ColumnLayout, DescriptionRowReadsWidthsAtEachCall) {
    render([](TestDriver& driver) {
        const auto row = [&driver] {
            return driver.descriptionRow(QStringLiteral("2"), QStringLiteral("Acqua"), QString(),
                                         QString(), QLatin1Char('.'), QStringLiteral("qxd"));
        };
        EXPECT_EQ(row(), QStringLiteral("  2 x Acqua............................."));
        driver.setWidths(20, 2, 0, 0);
        EXPECT_EQ(row(), QStringLiteral(" 2 x Acqua.........."));
    });
}

// ---------------------------------------------------------------------------------------------
// Part 2.3: printColumnsHeader and printSeparatorLine.

const QByteArray kHeading = "Qty Description           Price    Total\n";

// Part 2.3, edge case 4: a second call in the same run prints nothing.
TEST_F(ColumnLayout, ColumnsHeaderPrintsQdptHeadingOncePerRun) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.printColumnsHeader(QStringLiteral("Qty"), QStringLiteral("Description"),
                                  QStringLiteral("Price"), QStringLiteral("Total"));
        driver.printColumnsHeader(QStringLiteral("Num"), QStringLiteral("Other"),
                                  QStringLiteral("P"), QStringLiteral("T"));
        driver.println(QStringLiteral("after"));
    });
    EXPECT_BYTES(kHeading + "after\n", out);
}

// Part 2.3: the heading shares oneTime()'s flag: never printed if oneTime() was consulted first.
TEST_F(ColumnLayout, ColumnsHeaderNeverPrintedAfterOneTime) {
    const QByteArray out = render([](TestDriver& driver) {
        EXPECT_TRUE(driver.oneTime());
        driver.printColumnsHeader(QStringLiteral("Qty"), QStringLiteral("Description"),
                                  QStringLiteral("Price"), QStringLiteral("Total"));
    });
    EXPECT_BYTES(QByteArray(), out);
}

// Part 2.3: printing the heading consumes the run's one-time flag.
TEST_F(ColumnLayout, ColumnsHeaderConsumesOneTimeFlag) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.printColumnsHeader(QStringLiteral("Qty"), QStringLiteral("Description"),
                                  QStringLiteral("Price"), QStringLiteral("Total"));
        EXPECT_FALSE(driver.oneTime());
    });
    EXPECT_BYTES(kHeading, out);
}

// Part 2.3 step 5 with Part 3.1: the heading prints in the current justification (centred:
// a 32-cell row gets (40 - 32) >> 1 = 4 blanks), then setCharSize() returns to the left.
TEST_F(ColumnLayout, ColumnsHeaderEndsWithSetCharSize) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setWidths(32, 3, 8, 9); // D = 32 - 3 - 8 - 9 - 1 = 11
        driver.setCenterJustify();
        driver.printColumnsHeader(QStringLiteral("Qty"), QStringLiteral("Description"),
                                  QStringLiteral("Price"), QStringLiteral("Total"));
        EXPECT_EQ(driver.justification(), QStringLiteral("left"));
        driver.println(QStringLiteral("x"));
    });
    EXPECT_BYTES("    Qty Description   Price    Total\nx\n", out);
}

TEST_F(ColumnLayout, SeparatorLineIsPaperWidthEqualSigns) {
    const QByteArray out = render([](TestDriver& driver) { driver.printSeparatorLine(); });
    EXPECT_BYTES("========================================\n", out);
}

// Part 2.3: the configured paper width, not the back-end's 40.
TEST_F(ColumnLayout, SeparatorLineFollowsConfiguredPaperWidth) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setWidths(32, 0, 0, 0);
        driver.printSeparatorLine();
    });
    EXPECT_BYTES("================================\n", out);
}

// Part 2.3 with Part 3.1: printed through println, so centred when the justification is centre.
TEST_F(ColumnLayout, SeparatorLineIsCentredWhenJustificationIsCentre) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setWidths(32, 0, 0, 0);
        driver.setCenterJustify();
        driver.printSeparatorLine();
    });
    EXPECT_BYTES("    ================================\n", out);
}

// A negative paper width (a configuration of "-5") gives an empty rule, not a failure.
TEST_F(ColumnLayout, SeparatorLineWithNegativePaperWidthIsEmptyLine) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setWidths(-5, 0, 0, 0);
        driver.printSeparatorLine();
    });
    EXPECT_BYTES("\n", out);
}

// ---------------------------------------------------------------------------------------------
// Parts 2.4 and 2.5: what the output cannot show (return values, stored texts).

class SectionRouting : public DriverTest {};  // Part 2.5
class DocumentHeaders : public DriverTest {}; // Part 2.4

PrinterDriver::Attributes
attributes(std::initializer_list<std::pair<const char*, const char*>> list) {
    PrinterDriver::Attributes result;
    for (const auto& [name, text] : list)
        result.append(QString::fromUtf8(name), QString::fromUtf8(text));
    return result;
}

// Part 2.5: the nine section elements are taken (true), whatever the flags say.
TEST_F(SectionRouting, TakesTheNineSectionElements) {
    render([](TestDriver& driver) {
        for (const char* name : {"printers", "geometry", "headers", "logo", "company", "receipt",
                                 "invoice", "delivery", "orderinfo"})
            EXPECT_TRUE(driver.printSections(QString::fromUtf8(name), {})) << name;
    });
}

// Part 2.5: any other name, "customer" and other letter cases included, is not taken, prints
// nothing and changes nothing.
TEST_F(SectionRouting, OtherNamesReturnFalseAndPrintNothing) {
    QStringList texts;
    const QByteArray out = render([&texts](TestDriver& driver) {
        for (const char* name : {"customer", "Printers", "PRINTERS", "Headers", "orderInfo",
                                 "receipe", "variant", "", "printers "})
            EXPECT_FALSE(
                driver.printSections(QString::fromUtf8(name), attributes({{"name", "Bar"}})))
                << name;
        texts = driver.printerTexts();
        EXPECT_EQ(driver.initPrinterCalls, 0);
    });
    EXPECT_BYTES(QByteArray(), out);
    EXPECT_EQ(texts, QStringList({QString(), QString(), QString(), QString()}));
}

// Part 2.5: "printers" stores the four texts, calls initPrinter() and prints nothing; one
// without attributes empties all four (edge case 2).
TEST_F(SectionRouting, PrintersStoresFourTextsAndEmptiesThemWithoutAttributes) {
    const QByteArray out = render([](TestDriver& driver) {
        EXPECT_TRUE(driver.printSections(QStringLiteral("printers"),
                                         attributes({{"port", "9100"},
                                                     {"name", "Cucina"},
                                                     {"ipaddress", "192.168.1.50"},
                                                     {"charsize", "2"}})));
        EXPECT_EQ(driver.printerTexts(),
                  QStringList({QStringLiteral("Cucina"), QStringLiteral("2"),
                               QStringLiteral("192.168.1.50"), QStringLiteral("9100")}));
        EXPECT_EQ(driver.initPrinterCalls, 1);
        EXPECT_TRUE(driver.printSections(QStringLiteral("printers"), {}));
        EXPECT_EQ(driver.printerTexts(), QStringList({QString(), QString(), QString(), QString()}));
        EXPECT_EQ(driver.initPrinterCalls, 2);
    });
    EXPECT_BYTES(QByteArray(), out);
}

// Part 2.5, edge case 4: "logo" with the company back-end gives no bytes and is still taken.
TEST_F(SectionRouting, LogoIsTakenAndPrintsNothing) {
    const QByteArray out = render([](TestDriver& driver) {
        EXPECT_TRUE(driver.printSections(QStringLiteral("logo"), attributes({{"file", "a.bmp"}})));
    });
    EXPECT_BYTES(QByteArray(), out);
}

// Part 2.4, step 3 of printOrderInfo and edge case 5: the credit is kept only when the credit
// line is printed; with the flag off the earlier value stays.
TEST_F(DocumentHeaders, OrderInfoKeepsCreditOnlyWhenCreditLinePrinted) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setPrintCredit(true);
        driver.printOrderInfo(attributes({{"credit", "10.00"}}));
        EXPECT_EQ(driver.credit(), QStringLiteral("10.00"));
        driver.setPrintCredit(false);
        driver.printOrderInfo(attributes({{"credit", "20.00"}}));
        EXPECT_EQ(driver.credit(), QStringLiteral("10.00"));
    });
    EXPECT_BYTES(" Credit: 10.00\n"
                 "========================================\n"
                 "========================================\n",
                 out);
}

// Part 2.4: a printed credit line without the attribute stores the empty text.
TEST_F(DocumentHeaders, OrderInfoWithoutCreditAttributeStoresEmptyCredit) {
    render([](TestDriver& driver) {
        driver.setPrintCredit(true);
        driver.printOrderInfo(attributes({{"credit", "10.00"}}));
        driver.printOrderInfo({});
        EXPECT_EQ(driver.credit(), QString());
    });
}

// ---------------------------------------------------------------------------------------------
// Part 2.1: documentPath, oneTime, the output file.

struct PathCase {
    const char* name;
    const char* prefix;
};

void PrintTo(const PathCase& c, std::ostream* os) {
    *os << c.name;
}

// Part 2.1, edge case 1: letter case is ignored.
const PathCase kPaths[] = {
    {"order", "pastrel.doc."},          {"PreFiscal", "pastrel.prefiscaldoc."},
    {"FISCAL", "pastrel.fiscaldoc."},   {"Receipt", "pastrel.receiptdoc."},
    {"invoice", "pastrel.invoicedoc."}, {"Delivery", "pastrel.deliverydoc."},
    {"report", "pastrel.reportdoc."},   {"SOLD", "pastrel.solddoc."},
};

class DocumentPath : public DriverTest, public ::testing::WithParamInterface<PathCase> {};

TEST_P(DocumentPath, GivesPrefixIgnoringCaseSilently) {
    const PathCase& c = GetParam();
    QString prefix;
    std::string said;
    render([&](TestDriver& driver) {
        CoutCapture capture;
        prefix = driver.documentPath(QString::fromUtf8(c.name));
        said = capture.text();
    });
    EXPECT_EQ(prefix, QString::fromUtf8(c.prefix));
    EXPECT_EQ(said, "");
}

INSTANTIATE_TEST_SUITE_P(Part21, DocumentPath, ::testing::ValuesIn(kPaths),
                         [](const auto& info) { return std::string(info.param.name); });

// Part 2.1, edge case 1: any other name prints the message (two blanks, lower-cased name) and
// falls back to the prefiscal prefix.
TEST_F(DriverCore, DocumentPathUnknownNamePrintsMessageAndFallsBackToPrefiscal) {
    render([](TestDriver& driver) {
        CoutCapture capture;
        EXPECT_EQ(driver.documentPath(QStringLiteral("Ticket")),
                  QStringLiteral("pastrel.prefiscaldoc."));
        EXPECT_EQ(capture.text(), "Error into PrinterDriver::documentPath:  ticket\n");
    });
}

TEST_F(DriverCore, DocumentPathEmptyNamePrintsMessageAndFallsBack) {
    render([](TestDriver& driver) {
        CoutCapture capture;
        EXPECT_EQ(driver.documentPath(QString()), QStringLiteral("pastrel.prefiscaldoc."));
        EXPECT_EQ(capture.text(), "Error into PrinterDriver::documentPath:  \n");
    });
}

// Part 2.1, edge case 4.
TEST_F(DriverCore, OneTimeGivesTrueThenFalseThenFalse) {
    render([](TestDriver& driver) {
        EXPECT_TRUE(driver.oneTime());
        EXPECT_FALSE(driver.oneTime());
        EXPECT_FALSE(driver.oneTime());
    });
}

// Part 2.1, edge case 5: appending keeps the earlier contents of the output file.
TEST_F(DriverCore, AppendKeepsEarlierContents) {
    ASSERT_TRUE(testsupport::writeFile(outputPath(), "earlier line\n"));
    const QByteArray out =
        render([](TestDriver& driver) { driver.println(QStringLiteral("later")); }, true);
    EXPECT_BYTES("earlier line\nlater\n", out);
}

// Part 2.1 constructor step 3: without append the output is truncated.
TEST_F(DriverCore, WithoutAppendOutputIsTruncated) {
    ASSERT_TRUE(testsupport::writeFile(outputPath(), "a much longer earlier line\n"));
    const QByteArray out =
        render([](TestDriver& driver) { driver.println(QStringLiteral("short")); }, false);
    EXPECT_BYTES("short\n", out);
}

// Part 2.1, failure handling: the exact message, construction does not fail, and the writers
// then write nowhere (DESIGN.md, "An output that cannot be opened").
TEST_F(DriverCore, UnopenableOutputPrintsMessageAndWritesNothing) {
    const QString path = m_home.file(QStringLiteral("no-such-folder/out.prn"));
    std::string said;
    {
        CoutCapture capture;
        TestDriver driver(path, false);
        EXPECT_FALSE(driver.isOpen());
        driver.println(QStringLiteral("text"));
        driver.printSeparatorLine();
        driver.endSection();
        said = capture.text();
    }
    EXPECT_EQ(said, "PrintManager::printAbstractOrder(...): Unable To Open File\n");
    EXPECT_FALSE(QFile::exists(path));
}

// ---------------------------------------------------------------------------------------------
// Part 3.1: print and the justification.

// Part 3.1, edge case 1.
TEST_F(CompanyBackEnd, PrintIndentsByIndentWhenLeft) {
    const QByteArray out =
        render([](TestDriver& driver) { driver.print(4, QStringLiteral("abc")); });
    EXPECT_BYTES("    abc", out);
}

// Part 3.1, edge case 1: centred, (40 - 3) >> 1 = 18 blanks whatever the indent.
TEST_F(CompanyBackEnd, PrintCentresOnFortyColumnsWhenCentre) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setCenterJustify();
        driver.print(4, QStringLiteral("abc"));
    });
    EXPECT_BYTES("                  abc", out);
}

// Part 3.1: the back-end's 40 columns, never the configured paper width.
TEST_F(CompanyBackEnd, PrintCentresOnFortyColumnsWhateverThePaperWidth) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setWidths(32, 0, 0, 0);
        driver.setCenterJustify();
        driver.print(0, QStringLiteral("abcd"));
    });
    EXPECT_BYTES("                  abcd", out);
}

// Part 3.1, edge case 2: 41 characters lose their indent, left or centred.
TEST_F(CompanyBackEnd, PrintFortyOneCharactersHasNoLeadingBlanks) {
    const QString text(41, QLatin1Char('x'));
    const QByteArray out = render([&text](TestDriver& driver) {
        driver.println(5, text);
        driver.setCenterJustify();
        driver.println(5, text);
    });
    const QByteArray line = QByteArray(41, 'x') + '\n';
    EXPECT_BYTES(line + line, out);
}

// Part 3.1: exactly 40 characters keep the indent (the test is "less than"), and centre at 0.
TEST_F(CompanyBackEnd, PrintFortyCharactersKeepsIndent) {
    const QString text(40, QLatin1Char('x'));
    const QByteArray out = render([&text](TestDriver& driver) {
        driver.println(3, text);
        driver.setCenterJustify();
        driver.println(3, text);
    });
    EXPECT_BYTES("   " + QByteArray(40, 'x') + '\n' + QByteArray(40, 'x') + '\n', out);
}

// Part 3.1, edge case 3: setCharSize(2) after setCenterJustify() returns printing to the left.
TEST_F(CompanyBackEnd, SetCharSizeWithArgumentReturnsToLeft) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setCenterJustify();
        driver.setCharSize(2);
        EXPECT_EQ(driver.justification(), QStringLiteral("left"));
        driver.print(4, QStringLiteral("abc"));
    });
    EXPECT_BYTES("    abc", out);
}

TEST_F(CompanyBackEnd, SetCharSizeWithoutArgumentReturnsToLeft) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setCenterJustify();
        driver.setCharSize();
        driver.print(4, QStringLiteral("abc"));
    });
    EXPECT_BYTES("    abc", out);
}

// DESIGN.md, clarification: println of an empty line while centred is 20 blanks and a line feed.
TEST_F(CompanyBackEnd, EmptyLineWhileCentredIsTwentyBlanks) {
    const QByteArray out = render([](TestDriver& driver) {
        driver.setCenterJustify();
        driver.println(QString());
    });
    EXPECT_BYTES(QByteArray(20, ' ') + '\n', out);
}

} // namespace
