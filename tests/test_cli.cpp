// Part 1.1 (command-line driver) and the bad inputs of the foundation issue, tested as the
// suite runs the program: the built pastrel-print, a HOME of the test's own.
#include "samplereceipt.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>

namespace {

using testsupport::kEnd;
using testsupport::kReceiptConf;
using testsupport::kSeparator;
using testsupport::readFile;
using testsupport::receiptDocument;
using testsupport::receiptHead;
using testsupport::TempHome;

class Cli : public ::testing::Test {
protected:
    Cli() { home.writeConfig(kReceiptConf); }

    testsupport::Run print(const QStringList& arguments) {
        return testsupport::runPrint(arguments, home.path());
    }

    QString write(const QString& name, const QByteArray& bytes) {
        const QString path = home.file(name);
        EXPECT_TRUE(testsupport::writeFile(path, bytes));
        return path;
    }

    TempHome home;
};

// Part 1.1, edge case 2: one argument: the usage line with the program path as typed.
TEST_F(Cli, OneArgumentPrintsUsageAndWritesNothing) {
    const QString input = write(QStringLiteral("in.xml"), receiptDocument("1"));
    const testsupport::Run run = print({input});
    EXPECT_EQ(run.out,
              "Usage: " + testsupport::printProgram().toLocal8Bit() + " input_file output_file\n");
    EXPECT_EQ(QDir(home.path()).entryList(QDir::Files).size(), 1); // only in.xml
}

// Part 1.1, edge case 2: four arguments (five argv entries) print the usage line.
TEST_F(Cli, FourArgumentsPrintUsageAndCreateNoOutput) {
    const QString input = write(QStringLiteral("in.xml"), receiptDocument("1"));
    const QString output = home.file(QStringLiteral("out.prn"));
    const testsupport::Run run = print({input, output, QStringLiteral("c"), QStringLiteral("d")});
    EXPECT_TRUE(run.out.startsWith("Usage: "));
    EXPECT_TRUE(run.out.endsWith(" input_file output_file\n"));
    EXPECT_FALSE(QFile::exists(output));
}

TEST_F(Cli, NoArgumentPrintsUsage) {
    const testsupport::Run run = print({});
    EXPECT_TRUE(run.out.endsWith(" input_file output_file\n"));
}

// Part 1.1, edge case 1: a third argument is accepted and ignored.
TEST_F(Cli, ThirdArgumentIsIgnored) {
    const QString input = write(QStringLiteral("in.xml"), receiptDocument("12"));
    const QString plain = home.file(QStringLiteral("plain.prn"));
    const QString extra = home.file(QStringLiteral("extra.prn"));
    EXPECT_EQ(print({input, plain}).out, "");
    EXPECT_EQ(print({input, extra, QStringLiteral("c")}).out, "");
    EXPECT_BYTES(receiptHead("12") + kEnd + "\x1bp0", readFile(extra));
    EXPECT_BYTES(readFile(plain), readFile(extra));
}

// Part 1.1, edge case 4: a second run on the same path leaves only its own output.
TEST_F(Cli, SecondRunTruncatesOutput) {
    const QString output = home.file(QStringLiteral("out.prn"));
    const QString longInput = write(QStringLiteral("long.xml"), receiptDocument("123456789"));
    const QString shortInput = write(QStringLiteral("short.xml"), "<doc/>");
    print({longInput, output});
    ASSERT_TRUE(readFile(output).startsWith(" Serial"));
    print({shortInput, output});
    EXPECT_BYTES(kEnd, readFile(output)); // no drawer: no method, flags false (DESIGN.md)
}

// Part 1.1, failure handling: a missing input: nothing reported, nothing rendered.
TEST_F(Cli, MissingInputFileWritesNothing) {
    const QString output = home.file(QStringLiteral("out.prn"));
    const testsupport::Run run = print({home.file(QStringLiteral("absent.xml")), output});
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(QFile::exists(output)); // opened (and truncated) by the driver before the parse
    EXPECT_BYTES("", readFile(output));
}

TEST_F(Cli, InputIsFolderWritesNothing) {
    const QString output = home.file(QStringLiteral("out.prn"));
    const testsupport::Run run = print({home.path(), output});
    EXPECT_EQ(run.out, "");
    EXPECT_BYTES("", readFile(output));
}

// Part 2.1, failure handling: an unopenable output: the message, and nothing written anywhere.
TEST_F(Cli, OutputInMissingFolderPrintsMessage) {
    const QString input = write(QStringLiteral("in.xml"), receiptDocument("1"));
    const QString output = home.file(QStringLiteral("no/such/folder/out.prn"));
    const testsupport::Run run = print({input, output});
    EXPECT_EQ(run.out, "PrintManager::printAbstractOrder(...): Unable To Open File\n");
    EXPECT_FALSE(QFile::exists(output));
}

TEST_F(Cli, OutputIsFolderPrintsMessage) {
    const QString input = write(QStringLiteral("in.xml"), receiptDocument("1"));
    const testsupport::Run run = print({input, home.path()});
    EXPECT_EQ(run.out, "PrintManager::printAbstractOrder(...): Unable To Open File\n");
}

// Streaming parse: a document nested 10,000 levels deep renders its deepest element.
TEST_F(Cli, DeeplyNestedDocumentRenders) {
    constexpr int kDepth = 10000;
    QByteArray xml = "<doc><method name=\"printFullOrderReceipt\"/>";
    for (int i = 0; i < kDepth; ++i)
        xml += "<a>";
    xml += "<receipt serialnumber=\"deep\"/>";
    for (int i = 0; i < kDepth; ++i)
        xml += "</a>";
    xml += "</doc>";
    const QString output = home.file(QStringLiteral("out.prn"));
    EXPECT_EQ(print({write(QStringLiteral("in.xml"), xml), output}).out, "");
    EXPECT_BYTES(receiptHead("deep") + kEnd + "\x1bp0", readFile(output));
}

// An attribute of 1 MB is printed whole (Part 2.3: nothing is cut but the description).
TEST_F(Cli, OneMegabyteAttributeIsPrintedWhole) {
    const QByteArray serial(1024 * 1024, '7');
    const QString output = home.file(QStringLiteral("out.prn"));
    print({write(QStringLiteral("in.xml"), receiptDocument(serial)), output});
    // Longer than 40: the line loses its indent (Part 3.1).
    EXPECT_BYTES("Serial Number: " + serial + "\n" + kSeparator + "\n" + kEnd + "\x1bp0",
                 readFile(output));
}

// docs/robustness.md: input past DocumentReader::kMaxDocumentBytes ends as malformed there:
// what came before is rendered, the rest is not read, and there is no end sequence.
TEST_F(Cli, DocumentLargerThanLimitEndsAsMalformed) {
    QByteArray xml =
        "<doc><method name=\"printFullOrderReceipt\"/><receipt serialnumber=\"1\"/><!--";
    xml += QByteArray(64 * 1024 * 1024, 'x');
    xml += "--><receipt serialnumber=\"2\"/></doc>";
    const QString output = home.file(QStringLiteral("out.prn"));
    EXPECT_EQ(print({write(QStringLiteral("in.xml"), xml), output}).out, "");
    EXPECT_BYTES(receiptHead("1"), readFile(output));
}

// An endless device ends at the limit too, with nothing rendered.
TEST_F(Cli, DevZeroInputEndsWithNothingWritten) {
    const QString output = home.file(QStringLiteral("out.prn"));
    EXPECT_EQ(print({QStringLiteral("/dev/zero"), output}).out, "");
    EXPECT_BYTES("", readFile(output));
}

// Configuration files that are empty, binary, or hold a 5,000-byte name: every key is then
// whatever Part 4.1 reads; here the drawer key is never "true".
class CliBadConfiguration : public ::testing::TestWithParam<QByteArray> {};

TEST_P(CliBadConfiguration, RendersWithDefaults) {
    TempHome home;
    home.writeConfig(GetParam());
    const QString input = home.file(QStringLiteral("in.xml"));
    ASSERT_TRUE(testsupport::writeFile(input, receiptDocument("3")));
    const QString output = home.file(QStringLiteral("out.prn"));
    const testsupport::Run run =
        testsupport::runProgram(testsupport::printProgram(), {input, output}, home.path());
    ASSERT_TRUE(run.finished);
    EXPECT_FALSE(run.crashed);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_BYTES(receiptHead("3") + kEnd, readFile(output));
}

QByteArray binaryBytes() {
    QByteArray bytes;
    quint32 state = 12345;
    for (int i = 0; i < 65536; ++i) {
        state = state * 1103515245u + 12345u;
        bytes.append(static_cast<char>(state >> 24));
    }
    return bytes;
}

const char* const kBadConfigurationNames[] = {"Empty", "Binary", "Name5000Bytes", "Value5000Bytes"};

INSTANTIATE_TEST_SUITE_P(
    Part41, CliBadConfiguration,
    ::testing::Values(QByteArray(), binaryBytes(),
                      "pastrel : { " + QByteArray(5000, 'n') + " = \"true\"; };",
                      "pastrel : { receiptdoc : { openCashDrawer = \"" + QByteArray(5000, 't') +
                          "\"; }; };"),
    [](const auto& info) { return std::string(kBadConfigurationNames[info.index]); });

} // namespace
