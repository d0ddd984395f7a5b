// What pastrel-print does when its output, input, configuration, log folder or environment is
// not what a till normally gives it (docs/robustness.md lists each fault and its test). The real
// program runs on real files, devices and FIFOs, each test in a TempHome of its own; whatever
// happens it ends with status 0 and standard output carries only the messages the suite expects.
#include "logger.h"
#include "samplereceipt.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <functional>
#include <random>
#include <thread>

#include <fcntl.h>
#include <pwd.h>
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

QByteArray fileNotFound(const QString& path) {
    return "Error in the method FileReader::open( " + path.toLocal8Bit() + " ): File Not Found\n";
}

// Seeded random bytes: the same on every machine (mt19937 is fully specified).
QByteArray randomBytes(qsizetype size, std::uint32_t seed) {
    std::mt19937 generator(seed);
    QByteArray bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(generator() >> 24);
    return bytes;
}

class Fault : public ::testing::Test {
protected:
    testsupport::Run print(const QStringList& arguments, const QString& homePath,
                           const QProcessEnvironment& extra = QProcessEnvironment()) {
        return testsupport::runPrint(arguments, homePath, extra);
    }
    testsupport::Run print(const QStringList& arguments) { return print(arguments, home.path()); }

    QString write(const QString& name, const QByteArray& bytes) {
        const QString path = home.file(name);
        EXPECT_TRUE(writeFile(path, bytes));
        return path;
    }

    // Renders the sample receipt 'serial' from in.xml to out.prn; its bytes go to *output.
    testsupport::Run printReceipt(const QByteArray& serial, QByteArray* output) {
        const QString input = write(QStringLiteral("in.xml"), receiptDocument(serial));
        const QString path = home.file(QStringLiteral("out.prn"));
        const testsupport::Run run = print({input, path});
        *output = readFile(path);
        return run;
    }

    TempHome home;
};

// A full disk: one line on standard error, and the rest of the document dropped, not kept in
// memory (100 MB of output from a 1 MB input once took 200 MB).
TEST_F(Fault, FullDiskReportsOnStandardErrorWithBoundedMemory) {
    home.writeConfig("pastrel : { receiptdoc : { paperWidth = 1000; }; };");
    const QString input =
        write(QStringLiteral("in.xml"), "<doc><method name=\"printFullOrderReceipt\"/>" +
                                            QByteArray("<receipt/>").repeated(100000) + "</doc>");
    QProcessEnvironment environment; // the C locale: the system's error text in English
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
#if defined(__SANITIZE_ADDRESS__)
    environment.insert(QStringLiteral("ASAN_OPTIONS"), qEnvironmentVariable("ASAN_OPTIONS") +
                                                           QStringLiteral(":quarantine_size_mb=1"));
#endif
    const testsupport::Run run =
        print({input, QStringLiteral("/dev/full")}, home.path(), environment);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "pastrel-print: write error on /dev/full: No space left on device\n");
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    EXPECT_LT(usage.ru_maxrss, 80 * 1024);
}

// Inputs a till should never pass: nothing on standard output, what can be read is rendered over
// an earlier run's output (truncated first, so a missing input leaves it empty).
struct InputFault {
    const char* name;
    std::function<QString(const TempHome&)> input; // the input path, its file written
    QByteArray expected;
};

QString inputFile(const TempHome& home, const QByteArray& bytes) {
    EXPECT_TRUE(writeFile(home.file(QStringLiteral("in.xml")), bytes));
    return home.file(QStringLiteral("in.xml"));
}

// A FIFO whose writer connects and closes without writing: an empty document.
QString closedFifo(const TempHome& home) {
    const QByteArray path = QFile::encodeName(home.file(QStringLiteral("in.fifo")));
    EXPECT_EQ(::mkfifo(path.constData(), 0600), 0);
    std::thread([path] { ::close(::open(path.constData(), O_WRONLY)); }).detach();
    return home.file(QStringLiteral("in.fifo"));
}

const QByteArray kNested = "<doc><method name=\"printFullOrderReceipt\"/>" +
                           QByteArray("<a>").repeated(10000) + "<receipt serialnumber=\"deep\"/>" +
                           QByteArray("</a>").repeated(10000) + "</doc>";
const QByteArray kLongSerial(1 << 20, '7');

// clang-format off
const InputFault kInputFaults[] = {
    {"Missing", [](const TempHome&) { return QStringLiteral("/nonexistent/in.xml"); }, ""},
    {"Folder", [](const TempHome& h) { return h.path(); }, ""},
    {"EndlessDevice", [](const TempHome&) { return QStringLiteral("/dev/zero"); }, ""},
    {"FifoClosedAtOnce", closedFifo, ""},
    {"NestedTenThousandLevels", [](const TempHome& h) { return inputFile(h, kNested); }, receiptHead("deep") + kEnd + kDrawer},
    {"OneMegabyteAttributeLosesTheIndent", [](const TempHome& h) { return inputFile(h, receiptDocument(kLongSerial)); },
     "Serial Number: " + kLongSerial + "\n" + QByteArray(40, '=') + "\n" + kEnd + kDrawer},
    {"LargerThan64MebibytesEndsAsMalformed", [](const TempHome& h) { return inputFile(h,
         "<doc><method name=\"printFullOrderReceipt\"/><receipt serialnumber=\"1\"/><!--" + QByteArray(64 << 20, 'x') +
         "--><receipt serialnumber=\"2\"/></doc>"); }, receiptHead("1")},
};
// clang-format on

class FaultInput : public Fault, public ::testing::WithParamInterface<InputFault> {};

TEST_P(FaultInput, RendersWhatCanBeRead) {
    home.writeConfig(kReceiptConf);
    const QString output = home.file(QStringLiteral("out.prn"));
    ASSERT_TRUE(writeFile(output, "bytes of an earlier run, longer than any expected output"));
    EXPECT_EQ(print({GetParam().input(home), output}).out, "");
    EXPECT_TRUE(QFile::exists(output));
    EXPECT_BYTES(GetParam().expected, readFile(output));
}

INSTANTIATE_TEST_SUITE_P(Fault, FaultInput, ::testing::ValuesIn(kInputFaults),
                         [](const auto& info) { return std::string(info.param.name); });

// Configurations that cannot be read or make no sense: the receipt renders with the defaults
// (drawer shut) or, where the drawer setting could still be read, with the drawer.
struct ConfigFault {
    const char* name;
    std::function<void(const TempHome&)> prepare;
    bool messageExpected;
    bool drawer;
};

QByteArray randomGroupBody() {
    QByteArray body = randomBytes(10 << 20, 20260915);
    return body.replace(':', "").replace('}', ""); // read to its end, then the drawer setting
}

// clang-format off
const ConfigFault kConfigFaults[] = {
    {"FolderAtThePath", [](const TempHome& h) { QDir().mkpath(h.configPath()); }, true, false},
    {"ReadErrorAtTheFirstByte", [](const TempHome& h) {
         QDir().mkpath(h.file(QStringLiteral(".pastrel/conf")));
         QFile::link(QStringLiteral("/proc/self/mem"), h.configPath()); }, true, false},
    {"RandomTenMegabytes", [](const TempHome& h) { h.writeConfig(randomBytes(10 << 20, 20260914)); }, false, false},
    {"RandomGroupBodyReadToItsEnd", [](const TempHome& h) {
         h.writeConfig("pastrel : { receiptdoc : {" + randomGroupBody() + "=x; openCashDrawer = \"true\"; }; };"); }, false, true},
    {"Empty", [](const TempHome& h) { h.writeConfig(""); }, false, false},
    {"LoggerInMissingFolder", [](const TempHome& h) {
         h.writeConfig("pastrel : { logger : { level = DEBUG; basedir = " + h.file(QStringLiteral("logs")).toUtf8() +
                       "; filename = pastrel.log; type = APPEND; }; receiptdoc : { openCashDrawer = \"true\"; }; };"); }, false, true},
};
// clang-format on

class FaultConfiguration : public Fault, public ::testing::WithParamInterface<ConfigFault> {};

TEST_P(FaultConfiguration, ReceiptRendersWithWhatCouldBeRead) {
    GetParam().prepare(home);
    QByteArray output;
    const testsupport::Run run = printReceipt("4", &output);
    EXPECT_EQ(run.out, GetParam().messageExpected ? fileNotFound(home.configPath()) : QByteArray());
    EXPECT_BYTES(receiptHead("4") + kEnd + (GetParam().drawer ? kDrawer : QByteArray()), output);
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("logs")))); // no log folder made
}

INSTANTIATE_TEST_SUITE_P(Fault, FaultConfiguration, ::testing::ValuesIn(kConfigFaults),
                         [](const auto& info) { return std::string(info.param.name); });

// A configuration of mode 000, read as nobody when the tests run as root (root reads any file).
TEST_F(Fault, UnreadableConfigurationReportsFileNotFound) {
    const passwd* nobody = ::getpwnam("nobody");
    ASSERT_TRUE(::geteuid() != 0 || nobody != nullptr);
    home.writeConfig(kReceiptConf);
    const QString program = home.file(QStringLiteral("bin/pastrel-print"));
    QDir().mkpath(home.file(QStringLiteral("bin")));
    ASSERT_TRUE(QFile::copy(testsupport::printProgram(), program));
    const QString input = write(QStringLiteral("in.xml"), receiptDocument("3"));
    QDir().mkpath(home.file(QStringLiteral("out")));
    for (const char* folder : {"", "/.pastrel", "/.pastrel/conf", "/bin"})
        ::chmod(QFile::encodeName(home.path() + QLatin1String(folder)).constData(), 0755);
    ::chmod(QFile::encodeName(home.file(QStringLiteral("out"))).constData(), 0777);
    ::chmod(QFile::encodeName(input).constData(), 0644);
    ::chmod(QFile::encodeName(home.configPath()).constData(), 0);
    const QString output = home.file(QStringLiteral("out/out.prn"));
    QStringList command = {program, input, output};
    if (::geteuid() == 0)
        command = QStringList{QStringLiteral("--reuid=%1").arg(nobody->pw_uid),
                              QStringLiteral("--regid=%1").arg(nobody->pw_gid),
                              QStringLiteral("--clear-groups"), QStringLiteral("--")} +
                  command;
    const testsupport::Run run = testsupport::expectEndsWithStatusZero(testsupport::runProgram(
        ::geteuid() == 0 ? QStringLiteral("setpriv") : command.takeFirst(), command, home.path()));
    EXPECT_EQ(run.out, fileNotFound(home.configPath()));
    EXPECT_BYTES(receiptHead("3") + kEnd, readFile(output));
}

// HOME unset: the configuration is looked for under the root folder.
TEST_F(Fault, HomeUnsetLooksForConfigurationUnderRoot) {
    ASSERT_FALSE(QFileInfo::exists(QStringLiteral("/.pastrel/conf/pastrel.conf")));
    home.writeConfig(kReceiptConf);
    const QString input = write(QStringLiteral("in.xml"), receiptDocument("9"));
    const QString output = home.file(QStringLiteral("out.prn"));
    EXPECT_EQ(print({input, output}, QString()).out,
              fileNotFound(QStringLiteral("//.pastrel/conf/pastrel.conf")));
    EXPECT_BYTES(receiptHead("9") + kEnd, readFile(output));
}

// An APPEND log in a missing folder: the setType message, lines lost, no folder made.
TEST_F(Fault, LoggerInMissingLogFolderReportsSetType) {
    home.writeConfig("pastrel : { logger : { level = DEBUG; basedir = " +
                     home.file(QStringLiteral("logs")).toUtf8() +
                     "; filename = pastrel.log; type = APPEND; }; };");
    qputenv("HOME", QFile::encodeName(home.path()));
    ::testing::internal::CaptureStdout();
    Logger(QStringLiteral("main")).error(QStringLiteral("lost"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Error in the method Logger::setType(APPEND)\n");
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("logs"))));
}

// Entities: no reference may expand to more than its own "&name;", and external entities are
// never read. A reference that would is a well-formedness error there: what came before is
// rendered, no end sequence. These run with a ctest TIMEOUT of a few seconds.
QByteArray billionLaughs() {
    QByteArray dtd = "<!ENTITY lol \"lol\">\n";
    for (int level = 1; level <= 9; ++level)
        dtd += "<!ENTITY lol" + QByteArray::number(level) + " \"" +
               ("&lol" + (level > 1 ? QByteArray::number(level - 1) : QByteArray()) + ";")
                   .repeated(10) +
               "\">\n";
    return dtd;
}

struct EntityCase {
    const char* name;
    QByteArray dtd, body, expected; // rendered between receipts A and B
};

const QByteArray kExternal = "<!ENTITY xxe SYSTEM \"file:///etc/passwd\">\n";
// clang-format off
const EntityCase kEntities[] = {
    {"BillionLaughsInAttribute", billionLaughs(), "<receipt serialnumber=\"&lol9;\"/>", receiptHead("A")},
    {"BillionLaughsInText", billionLaughs(), "<receipt serialnumber=\"x\">&lol9;</receipt>", receiptHead("A") + receiptHead("x")},
    {"GrowingReferences", "<!ENTITY a \"" + QByteArray(4000, 'Z') + "\">\n",
     "<receipt serialnumber=\"" + QByteArray("&a;").repeated(300000) + "\"/>", receiptHead("A")},
    {"ExternalInAttribute", kExternal, "<receipt serialnumber=\"&xxe;\"/>", receiptHead("A")},
    {"ExternalInTextSkipped", kExternal, "<receipt serialnumber=\"x\">&xxe;</receipt>",
     receiptHead("A") + receiptHead("x") + receiptHead("B") + kEnd + kDrawer},
    {"NoLongerThanItsReference", "<!ENTITY e \"abc\"><!ENTITY n \"&e;\">\n",
     "<receipt serialnumber=\"&e;-&n;\"/><receipt serialnumber=\"&amp;&lt;&#65;&#x42;\"/>",
     receiptHead("A") + receiptHead("abc-abc") + receiptHead("&<AB") + receiptHead("B") + kEnd + kDrawer},
};
// clang-format on

class FaultEntity : public Fault, public ::testing::WithParamInterface<EntityCase> {};

TEST_P(FaultEntity, ExpandsNothingLongerThanItsReference) {
    home.writeConfig(kReceiptConf);
    const QString input =
        write(QStringLiteral("in.xml"),
              "<?xml version=\"1.0\"?>\n<!DOCTYPE doc [\n" + GetParam().dtd +
                  "]>\n<doc><method name=\"printFullOrderReceipt\"/><receipt serialnumber=\"A\"/>" +
                  GetParam().body + "<receipt serialnumber=\"B\"/></doc>\n");
    const QString output = home.file(QStringLiteral("out.prn"));
    EXPECT_EQ(print({input, output}).out, "");
    EXPECT_BYTES(GetParam().expected, readFile(output));
}

INSTANTIATE_TEST_SUITE_P(FaultEntity, FaultEntity, ::testing::ValuesIn(kEntities),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
