// What pastrel-print does when its output, input, configuration, log folder or environment is not
// what a till gives it (docs/robustness.md lists each fault and its test): the real program on
// real files, devices and FIFOs; it always ends with status 0 and only the expected messages.
#include "samplereceipt.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <functional>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testsupport::kDrawer;
using testsupport::kEnd;
using testsupport::kReceiptConf;
using testsupport::readFile;
using testsupport::receiptDocument;
using testsupport::receiptHead;
using testsupport::TempHome;
using testsupport::writeFile;

// Seeded random bytes: the same on every machine (mt19937 is fully specified).
QByteArray randomBytes(qsizetype size, std::uint32_t seed) {
    std::mt19937 generator(seed);
    QByteArray bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return char(generator() >> 24); });
    return bytes;
}

class Fault : public ::testing::Test {
protected:
    TempHome home;
};

QString inputFile(const TempHome& home, const QByteArray& bytes) {
    EXPECT_TRUE(writeFile(home.file(QStringLiteral("in.xml")), bytes));
    return home.file(QStringLiteral("in.xml"));
}

// A plain output file on a full disk (a link to /dev/full: a path under /dev itself is a printer,
// reached through the spool): one line on standard error, and the rest of the document dropped,
// not kept in memory (100 MB of output from a 1 MB input once took 200 MB).
TEST_F(Fault, FullDiskReportsOnStandardErrorWithBoundedMemory) {
    home.writeConfig("pastrel : { receiptdoc : { paperWidth = 1000; }; };");
    const QString input = inputFile(home, "<doc><method name=\"printFullOrderReceipt\"/>" +
                                              QByteArray("<receipt/>").repeated(100000) + "</doc>");
    QProcessEnvironment environment; // the C locale: the system's error text in English
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
#if defined(__SANITIZE_ADDRESS__)
    environment.insert(QStringLiteral("ASAN_OPTIONS"), qEnvironmentVariable("ASAN_OPTIONS") +
                                                           QStringLiteral(":quarantine_size_mb=1"));
#endif
    const QString output = home.file(QStringLiteral("full.prn"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), output));
    const testsupport::Run run = testsupport::runPrint({input, output}, home.path(), environment);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "pastrel-print: write error on " + output.toLocal8Bit() +
                           ": No space left on device\n");
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    EXPECT_LT(usage.ru_maxrss, 80 * 1024);
}

// A till's mistakes and a damaged machine, each row run over an earlier run's output (truncated
// first, so an input that cannot be read leaves it empty). The receipt's drawer bytes show the
// configuration was read; "@CONF@" in the expected standard output is the configuration's path.
struct Case {
    const char* name;
    std::function<QString(const TempHome&)> prepare; // writes the files, returns the input path
    QByteArray expected;
    QByteArray out = "";
    bool home = true; // false: HOME unset
};

// A receipt with the configuration text; without it, when the configuration is broken by hand.
QString receipt(const TempHome& home, const QByteArray& conf = QByteArray()) {
    if (!conf.isNull())
        home.writeConfig(conf);
    return inputFile(home, receiptDocument("4"));
}

QByteArray randomGroupBody() {
    QByteArray body = randomBytes(10 << 20, 20260915);
    return body.replace(':', "").replace('}', ""); // read to its end, then the drawer setting
}

const QByteArray kNotFound = "Error in the method FileReader::open( @CONF@ ): File Not Found\n";
const QByteArray kDefaults = receiptHead("4") + kEnd;

// A FIFO whose writer connects and closes without writing: an empty document.
QString closedFifo(const TempHome& home) {
    const QByteArray path = QFile::encodeName(home.file(QStringLiteral("in.fifo")));
    EXPECT_EQ(::mkfifo(path.constData(), 0600), 0);
    std::thread([path] { ::close(::open(path.constData(), O_WRONLY)); }).detach();
    return home.file(QStringLiteral("in.fifo"));
}

// Entities: none may expand to more than its own "&name;", external ones are never read; one
// that would is a well-formedness error there. Between receipts A and B; the "Entity" rows run
// with a ctest TIMEOUT of a few seconds (one took half a minute and 10 GB before the limit).
QString entities(const TempHome& home, const QByteArray& dtd, const QByteArray& body) {
    return inputFile(home, "<?xml version=\"1.0\"?>\n<!DOCTYPE doc [\n" + dtd +
                               "]>\n<doc><method name=\"printFullOrderReceipt\"/><receipt "
                               "serialnumber=\"A\"/>" +
                               body + "<receipt serialnumber=\"B\"/></doc>\n");
}

QByteArray billionLaughs() { // lol9 would be 10^9 times "lol"
    QByteArray dtd = "<!ENTITY lol0 \"lol\">\n";
    for (int level = 1; level <= 9; ++level)
        dtd += "<!ENTITY lol" + QByteArray::number(level) + " \"" +
               ("&lol" + QByteArray::number(level - 1) + ";").repeated(10) + "\">\n";
    return dtd;
}

const QByteArray kExternal = "<!ENTITY xxe SYSTEM \"file:///etc/passwd\">\n";
const QByteArray kNested = "<doc><method name=\"printFullOrderReceipt\"/>" +
                           QByteArray("<a>").repeated(10000) + "<receipt serialnumber=\"deep\"/>" +
                           QByteArray("</a>").repeated(10000) + "</doc>";
const QByteArray kLongSerial(1 << 20, '7');

// clang-format off
const Case kCases[] = {
    {"Missing", [](const TempHome& h) { h.writeConfig(kReceiptConf); return QStringLiteral("/nonexistent/in.xml"); }, ""},
    {"Folder", [](const TempHome& h) { h.writeConfig(kReceiptConf); return h.path(); }, ""},
    {"EndlessDevice", [](const TempHome& h) { h.writeConfig(kReceiptConf); return QStringLiteral("/dev/zero"); }, ""},
    {"FifoClosedAtOnce", [](const TempHome& h) { h.writeConfig(kReceiptConf); return closedFifo(h); }, ""},
    {"NestedTenThousandLevels", [](const TempHome& h) { h.writeConfig(kReceiptConf); return inputFile(h, kNested); }, receiptHead("deep") + kEnd + kDrawer},
    {"OneMegabyteAttributeLosesTheIndent", [](const TempHome& h) { h.writeConfig(kReceiptConf); return inputFile(h, receiptDocument(kLongSerial)); },
     "Serial Number: " + kLongSerial + "\n" + QByteArray(40, '=') + "\n" + kEnd + kDrawer},
    {"LargerThan64MebibytesEndsAsMalformed", [](const TempHome& h) { h.writeConfig(kReceiptConf); return inputFile(h,
         "<doc><method name=\"printFullOrderReceipt\"/><receipt serialnumber=\"1\"/><!--" + QByteArray(64 << 20, 'x') +
         "--><receipt serialnumber=\"2\"/></doc>"); }, receiptHead("1")},
    {"EntityBillionLaughsInAttribute", [](const TempHome& h) { h.writeConfig(kReceiptConf); return entities(h, billionLaughs(), "<receipt serialnumber=\"&lol9;\"/>"); },
     receiptHead("A")},
    {"EntityBillionLaughsInText", [](const TempHome& h) { h.writeConfig(kReceiptConf); return entities(h, billionLaughs(), "<receipt serialnumber=\"x\">&lol9;</receipt>"); },
     receiptHead("A") + receiptHead("x")},
    {"EntityGrowingReferences", [](const TempHome& h) { h.writeConfig(kReceiptConf); return entities(h, "<!ENTITY a \"" + QByteArray(4000, 'Z') + "\">",
         "<receipt serialnumber=\"" + QByteArray("&a;").repeated(300000) + "\"/>"); }, receiptHead("A")},
    {"EntityExternalInAttribute", [](const TempHome& h) { h.writeConfig(kReceiptConf); return entities(h, kExternal, "<receipt serialnumber=\"&xxe;\"/>"); },
     receiptHead("A")},
    {"EntityExternalInTextSkipped", [](const TempHome& h) { h.writeConfig(kReceiptConf); return entities(h, kExternal, "<receipt serialnumber=\"x\">&xxe;</receipt>"); },
     receiptHead("A") + receiptHead("x") + receiptHead("B") + kEnd + kDrawer},
    {"EntityNoLongerThanItsReference", [](const TempHome& h) { h.writeConfig(kReceiptConf); return entities(h, "<!ENTITY e \"abc\"><!ENTITY n \"&e;\">",
         "<receipt serialnumber=\"&e;-&n;\"/><receipt serialnumber=\"&amp;&lt;&#65;&#x42;\"/>"); },
     receiptHead("A") + receiptHead("abc-abc") + receiptHead("&<AB") + receiptHead("B") + kEnd + kDrawer},
    {"ConfigurationFolder", [](const TempHome& h) { QDir().mkpath(h.configPath()); return receipt(h); }, kDefaults, kNotFound},
    {"ConfigurationReadErrorAtTheFirstByte", [](const TempHome& h) {
         QDir().mkpath(h.file(QStringLiteral(".pastrel/conf")));
         QFile::link(QStringLiteral("/proc/self/mem"), h.configPath()); return receipt(h); }, kDefaults, kNotFound},
    {"ConfigurationRandomTenMegabytes", [](const TempHome& h) { return receipt(h, randomBytes(10 << 20, 20260914)); }, kDefaults},
    {"ConfigurationRandomGroupBodyReadToItsEnd", [](const TempHome& h) {
         return receipt(h, "pastrel : { receiptdoc : {" + randomGroupBody() + "=x; openCashDrawer = \"true\"; }; };"); }, kDefaults + kDrawer},
    {"ConfigurationEmpty", [](const TempHome& h) { return receipt(h, ""); }, kDefaults},
    {"LogFolderMissing", [](const TempHome& h) { return receipt(h, "pastrel : { logger : { level = DEBUG; basedir = " +
         h.file(QStringLiteral("logs")).toUtf8() + "; filename = pastrel.log; type = APPEND; }; receiptdoc : { openCashDrawer = \"true\"; }; };"); },
     kDefaults + kDrawer},
    {"HomeUnsetLooksUnderTheRoot", [](const TempHome& h) { return receipt(h, kReceiptConf); }, kDefaults,
     "Error in the method FileReader::open( //.pastrel/conf/pastrel.conf ): File Not Found\n", false},
};
// clang-format on

class FaultCase : public Fault, public ::testing::WithParamInterface<Case> {};

TEST_P(FaultCase, RendersWhatCanBeRead) {
    ASSERT_FALSE(QFileInfo::exists(QStringLiteral("/.pastrel/conf/pastrel.conf")));
    const QString output = home.file(QStringLiteral("out.prn"));
    ASSERT_TRUE(writeFile(output, "bytes of an earlier run, longer than any expected output"));
    const QString input = GetParam().prepare(home);
    const testsupport::Run run =
        testsupport::runPrint({input, output}, GetParam().home ? home.path() : QString());
    EXPECT_EQ(run.out,
              QByteArray(GetParam().out).replace("@CONF@", home.configPath().toLocal8Bit()));
    EXPECT_BYTES(GetParam().expected, readFile(output));
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("logs")))); // no log folder made
}

INSTANTIATE_TEST_SUITE_P(Fault, FaultCase, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
