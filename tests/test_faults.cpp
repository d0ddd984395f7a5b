// What pastrel-print does when its output, input, configuration, log folder or environment is not
// what a till gives it (docs/robustness.md lists each fault and its test): the real program on
// real files, devices and FIFOs; it always ends with status 0 and only the expected messages.
#include "samplereceipt.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtEndian>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
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
    {"ConfigurationFifo", [](const TempHome& h) {
         QDir().mkpath(h.file(QStringLiteral(".pastrel/conf")));
         EXPECT_EQ(::mkfifo(QFile::encodeName(h.configPath()).constData(), 0600), 0); return receipt(h); }, kDefaults, kNotFound},
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

// ---- Hostile inputs: no crash, no hang, nothing lost ----------------------------------------
// Each row is an input a hostile or unlucky till gave, at the size that once crashed the
// program, hung it, or made it take seconds and hundreds of megabytes. Now each run ends within
// 2 s and 200 MiB of peak memory, without a signal, exit status 0, with the document rendered as
// far as it is well-formed, and one "pastrel-print:" line on standard error saying why a ticket
// came out short (docs/robustness.md).
// Files of one run; a row fills them in. out and home are paths as the file system's bytes.
struct Scene {
    QTemporaryDir dir;
    QByteArray home = QFile::encodeName(dir.path()) + "/home";
    QByteArray in = QFile::encodeName(dir.path()) + "/in.xml";
    QByteArray out = QFile::encodeName(dir.path()) + "/out.prn";
    int stdoutFd = -1; // the program's standard output, when not a file of the test's own
    // Files by their bytes (std::filesystem keeps them; QString would not for Latin-1 names).
    static void file(const QByteArray& path, const QByteArray& bytes) {
        std::filesystem::create_directories(
            std::filesystem::path(path.toStdString()).parent_path());
        std::ofstream(path.toStdString(), std::ios::binary).write(bytes.constData(), bytes.size());
    }
    static QByteArray read(const QByteArray& path) {
        std::ifstream in(path.toStdString(), std::ios::binary);
        return QByteArray::fromStdString(
            std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()));
    }
    void config(const QByteArray& text) const { file(home + "/.pastrel/conf/pastrel.conf", text); }
};

struct Hostile {
    const char* name;
    std::function<void(Scene&)> setUp;
    QByteArray expected; // the output's bytes; null: not read (a FIFO)
    const char* err;     // a text standard error holds
};

QByteArray receipt(const QByteArray& tail) {
    return "<doc><method name=\"printFullOrderReceipt\"/><receipt serialnumber=\"1\"/>" + tail;
}
QByteArray numbered(const char* pattern, int count) {
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += QByteArray(pattern).replace("#", QByteArray::number(i));
    return text;
}
const QByteArray kGolden = PASTREL_SOURCE_DIR "/tests/documents/kitchen-order/billing-address/";
const QByteArray kReport = PASTREL_SOURCE_DIR "/tests/documents/report/rows-and-summary/";
const QByteArray kReportConf = PASTREL_SOURCE_DIR "/tests/documents/configs/report-paper-40.conf";
// An ESC/POS ticket holding only the shop's logo; the logo path follows in each row.
const QByteArray kLogoConf = "pastrel : { receiptdoc : { printLogo = true; }; "
                             "printer : { model = escpos; columns = 2; logo = ";
const QByteArray kLogoDocument = "<d><method name=\"printFullOrderReceipt\"/><logo/></d>";
const QByteArray kEscPosLogoless("\x1b@\x1c.\x1bR\x00\x1bt\x13\x1dVB\x00", 14); // start, cut

const Hostile kHostile[] = {
    {"SixteenMillionOpenElements",
     [](Scene& s) { s.file(s.in, receipt(QByteArray("<a>").repeated(16000000))); },
     receiptHead("1"), "nested deeper than 20000"},
    {"EightyThousandAttributes",
     [](Scene& s) { s.file(s.in, receipt("<e " + numbered("a#='x' ", 80000) + "/>")); },
     receiptHead("1"), "more attributes in one element than 100"},
    {"TenThousandDefaultsOnTenThousandElements",
     [](Scene& s) {
         s.file(s.in, "<!DOCTYPE doc [<!ATTLIST e " + numbered("a# CDATA 'x' ", 10000) + ">]>" +
                          receipt(QByteArray("<e/>").repeated(10000)));
     },
     "", "more attribute declarations than 50"},
    {"SixHundredThousandEntities",
     [](Scene& s) {
         s.file(s.in, "<!DOCTYPE doc [" + numbered("<!ENTITY e# 'x'>", 600000) + "]>" +
                          receipt("</doc>"));
     },
     "", "more entity declarations than 1000"},
    {"SevenMebibytesOfCommasInAnAddress",
     [](Scene& s) {
         s.config(readFile(QFile::decodeName(kGolden + "pastrel.conf")));
         s.file(s.in, readFile(QFile::decodeName(kGolden + "input.xml"))
                          .replace("billingaddress=\"\"",
                                   "billingaddress=\"" + QByteArray(7 << 20, ',') + "\""));
     },
     readFile(QFile::decodeName(kGolden + "expected.prn")), ""},
    {"HundredThousandMethodsWithTheSampleConfiguration",
     [](Scene& s) {
         s.config(readFile(
             QStringLiteral(PASTREL_SOURCE_DIR "/examples/home/.pastrel/conf/pastrel.conf")));
         s.file(s.in, "<doc>" +
                          QByteArray("<method name=\"printFullOrderReceipt\"/>").repeated(100000) +
                          "</doc>");
     },
     kEnd + kDrawer, ""},
    {"TenThousandGroupsThreeHundredMethods",
     [](Scene& s) {
         s.config("pastrel : {" + numbered("g# : { k = v; };", 9998) +
                  " receiptdoc : { openCashDrawer = true; }; };");
         s.file(s.in, "<doc>" +
                          QByteArray("<method name=\"printFullOrderReceipt\"/>").repeated(300) +
                          "</doc>");
     },
     kEnd + kDrawer, ""},
    {"HundredThousandGroups",
     [](Scene& s) {
         s.config("pastrel : {" + numbered("g#:{k=v;};", 100000) + "};");
         s.file(s.in, receipt("</doc>"));
     },
     receiptHead("1") + kEnd, "more groups than 10000"},
    {"MillionSettings",
     [](Scene& s) {
         s.config(kReceiptConf.chopped(2) + " s : {" + numbered("k#=v;", 1000000) + "}; };");
         s.file(s.in, receipt("</doc>"));
     },
     receiptHead("1") + kEnd + kDrawer, "more settings than 100000"},
    {"EndlessConfiguration",
     [](Scene& s) {
         s.config("");
         QFile::remove(QFile::decodeName(s.home + "/.pastrel/conf/pastrel.conf"));
         EXPECT_TRUE(
             QFile::link("/dev/zero", QFile::decodeName(s.home + "/.pastrel/conf/pastrel.conf")));
         s.file(s.in, receipt("</doc>"));
     },
     receiptHead("1") + kEnd, "configuration is ignored"},
    {"DamagedCatalogue", // the report as in English; this catalogue killed it at a label
     [](Scene& s) {
         s.config(readFile(QFile::decodeName(kReportConf))
                      .replace("pastrel : {",
                               "pastrel : { language : { basedir = " PASTREL_SOURCE_DIR
                               "/fuzz/regressions/catalogue/; file = "
                               "shipped-one-byte-changed-a.qm; };"));
         s.file(s.in, readFile(QFile::decodeName(kReport + "input.xml")));
     },
     readFile(QFile::decodeName(kReport + "expected.prn")), "refused"},
    {"StandardOutputWithoutReader",
     [](Scene& s) {
         int fds[2];
         ASSERT_EQ(::pipe(fds), 0);
         ::close(fds[0]);
         s.stdoutFd = fds[1];
         s.file(s.in, receipt("</doc>"));
     },
     receiptHead("1") + kEnd, ""},
    {"OutputFifoWhoseReaderLeft",
     [](Scene& s) {
         ASSERT_EQ(::mkfifo(s.out.constData(), 0600), 0);
         std::thread([path = s.out] { ::close(::open(path.constData(), O_RDONLY)); }).detach();
         s.file(s.in,
                receipt(QByteArray("<receipt/>").repeated(3000) + "</doc>")); // > a pipe's 64 kB
     },
     QByteArray(), "write error on"},
    {"Latin1Paths",
     [](Scene& s) {
         s.home += "\xfe";
         s.in.replace("in.xml", "citt\xe0.xml");
         s.out.replace("out.prn", "out\xfe.prn");
         s.config(kReceiptConf);
         s.file(s.in, receipt("</doc>"));
     },
     receiptHead("1") + kEnd + kDrawer, ""},
    {"OutputIsALinkToTheInput",
     [](Scene& s) {
         s.file(s.in, receipt("</doc>"));
         EXPECT_EQ(::symlink(s.in.constData(), s.out.constData()), 0);
     },
     receiptHead("1") + kEnd, ""},
    {"LogoRasterIsAFifo", // no writer ever comes: the ticket prints without the logo
     [](Scene& s) {
         s.config(kLogoConf + s.home + "/logo.fifo; }; };");
         ASSERT_EQ(::mkfifo((s.home + "/logo.fifo").constData(), 0600), 0);
         s.file(s.in, kLogoDocument);
     },
     kEscPosLogoless, "logo.fifo: not a regular file"},
    {"LogoRasterChecksumDoesNotMatch",
     [](Scene& s) {
         s.config(kLogoConf + s.home + "/logo.raster; }; };");
         s.file(s.home + "/logo.raster", QByteArray("PSTLOGO1\x01\x00\x01\x00\x00\x00\xff", 15));
         s.file(s.in, kLogoDocument);
     },
     kEscPosLogoless, "the checksum does not match"},
    {"CatalogueMessageOffsetOutsideTheFile", // the report as in English
     [](Scene& s) {
         QByteArray qm =
             readFile(QStringLiteral(PASTREL_BINARY_DIR "/translations/pastrel_it_IT.qm"));
         for (qsizetype at = 16; at + 13 <= qm.size();) { // blocks: tag, 32-bit length, data
             const qsizetype length = qFromBigEndian<quint32>(qm.constData() + at + 1);
             if (qm.at(at) == 0x42) { // the hashes: hash, offset of the message
                 qm.replace(at + 9, 4, "\x7f\xff\xff\xff");
                 break;
             }
             at += 5 + length;
         }
         s.file(s.home + "/qm/pastrel_it_IT.qm", qm);
         s.config(readFile(QFile::decodeName(kReportConf))
                      .replace("pastrel : {", "pastrel : { language : { basedir = " + s.home +
                                                  "/qm/; file = pastrel_it_IT.qm; };"));
         s.file(s.in, readFile(QFile::decodeName(kReport + "input.xml")));
     },
     readFile(QFile::decodeName(kReport + "expected.prn")), "refused"},
    {"CatalogueLabelSourceTextChanged", // one letter: that label alone would print in English
     [](Scene& s) {
         QByteArray qm =
             readFile(QStringLiteral(PASTREL_BINARY_DIR "/translations/pastrel_it_IT.qm"));
         const qsizetype at = qm.indexOf("Amount");
         ASSERT_GT(at, 0);
         qm[at] = char(qm.at(at) ^ 1);
         s.file(s.home + "/qm/pastrel_it_IT.qm", qm);
         s.config(readFile(QFile::decodeName(kReportConf))
                      .replace("pastrel : {", "pastrel : { language : { basedir = " + s.home +
                                                  "/qm/; file = pastrel_it_IT.qm; };"));
         s.file(s.in, readFile(QFile::decodeName(kReport + "input.xml")));
     },
     readFile(QFile::decodeName(kReport + "expected.prn")), "hash does not match its source text"},
    {"MissingInput", [](Scene&) {}, "", "cannot read input"},
    {"FolderAsInput", [](Scene& s) { s.in = s.home; }, "", "cannot read input"},
    {"InputFifoWithoutWriter", // waits a few seconds for a writer, then the output stays empty
     [](Scene& s) { ASSERT_EQ(::mkfifo(s.in.constData(), 0600), 0); }, "",
     "no writer came to the FIFO"},
    {"MalformedInput",
     [](Scene& s) { s.file(s.in, receipt("\n<receipt serialnumber=\"2\"></doc>")); },
     receiptHead("1") + receiptHead("2"),
     "in.xml:2:32: malformed XML: Opening and ending tag mismatch."},
};

class FaultHostile : public ::testing::TestWithParam<Hostile> {};

TEST_P(FaultHostile, EndsBoundedAndRendersWhatIsWellFormed) {
    Scene scene;
    GetParam().setUp(scene);
    std::filesystem::create_directories(scene.home.toStdString());
    const QByteArray stdoutPath = QFile::encodeName(scene.dir.filePath(QStringLiteral("stdout")));
    const QByteArray stderrPath = QFile::encodeName(scene.dir.filePath(QStringLiteral("stderr")));
    const QByteArray program = QFile::encodeName(testsupport::printProgram());
    const QByteArray asan =
        qgetenv("ASAN_OPTIONS") + ":quarantine_size_mb=1"; // measure the program
    const auto start = std::chrono::steady_clock::now();
    const QByteArray stats = QFile::encodeName(scene.dir.filePath(QStringLiteral("stats")));
    const pid_t child = ::fork();
    if (child == 0) {
        ::setpgid(0, 0);
        ::setenv("HOME", scene.home.constData(), 1);
        ::setenv("LC_ALL", "C", 1);
        ::setenv("ASAN_OPTIONS", asan.constData(), 1);
        const int out =
            scene.stdoutFd >= 0 ? scene.stdoutFd : ::creat(stdoutPath.constData(), 0600);
        ::dup2(out, 1);
        ::dup2(::creat(stderrPath.constData(), 0600), 2);
        // Through time(1): its own small process starts the program, so the peak memory is the
        // program's alone (a child forked from this test would count the test's pages too).
        ::execl("/usr/bin/time", "time", "-f", "%M %U %S", "-o", stats.constData(),
                program.constData(), scene.in.constData(), scene.out.constData(), nullptr);
        ::_exit(127);
    }
    if (scene.stdoutFd >= 0)
        ::close(scene.stdoutFd);
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() - start > std::chrono::seconds(30))
            ::kill(-child, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    // Peak kilobytes, then user and system processor time (not the wall clock: the machine may
    // be shared with other builds).
    const QList<QByteArray> measured = Scene::read(stats).trimmed().split('\n').last().split(' ');
    ASSERT_EQ(measured.size(), 3) << Scene::read(stats).constData();
    const double seconds = measured[1].toDouble() + measured[2].toDouble();
#if defined(__SANITIZE_ADDRESS__)
    constexpr double kSlowdown = 5; // the sanitizers' own cost
#else
    constexpr double kSlowdown = 1;
#endif
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    EXPECT_LT(seconds, 2 * kSlowdown);
    EXPECT_LT(measured[0].toLong(), 200 * 1024);
    if (!GetParam().expected.isNull()) {
        EXPECT_BYTES(GetParam().expected, Scene::read(scene.out));
    }
    const QByteArray err = Scene::read(stderrPath);
    EXPECT_TRUE(err.contains(GetParam().err)) << err.constData();
}

INSTANTIATE_TEST_SUITE_P(Till, FaultHostile, ::testing::ValuesIn(kHostile),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
