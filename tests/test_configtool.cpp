// pastrel-config as an integrator's script runs it, with a HOME of the test's own: show as a
// tree, set with a clean rewrite, check with exactly the mistakes planted.
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <functional>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using testsupport::readFile;
using ToolRun = testsupport::Run; // "Run" is also a member of ::testing::Test
using testsupport::TempHome;

namespace {

const QByteArray kConf = "pastrel : {\n"
                         "  logger : { level = DEBUG; filename = pastrel.log; };\n"
                         "  receiptdoc : { paperWidth = 40; openCashDrawer = true; };\n"
                         "};\n";

// kConf as the store saves it (settings sorted by name), with level changed to INFO.
const QByteArray kConfSavedWithInfo = "pastrel: \n{\n    logger: \n    {\n"
                                      "        filename = \"pastrel.log\";\n"
                                      "        level = \"INFO\";\n    };\n\n"
                                      "    receiptdoc: \n    {\n"
                                      "        openCashDrawer = \"true\";\n"
                                      "        paperWidth = \"40\";\n    };\n\n};\n\n";

ToolRun runTool(const TempHome& home, const QStringList& arguments) {
    return testsupport::runProgram(QStringLiteral(PASTREL_CONFIG_TOOL), arguments, home.path());
}

// The tree of $HOME/.pastrel/conf/pastrel.conf, four blanks further in per level.
TEST(ConfigToolShow, PrintsTheHomeConfigurationAsAnIndentedTree) {
    TempHome home;
    home.writeConfig(kConf + "spare : { };\n"); // empty: no reader sees it, a person does
    const ToolRun run = runTool(home, {QStringLiteral("show")});
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_BYTES(home.configPath().toLocal8Bit() +
                     "\n    pastrel\n        logger\n            filename = pastrel.log\n"
                     "            level = DEBUG\n        receiptdoc\n"
                     "            openCashDrawer = true\n            paperWidth = 40\n    spare\n",
                 run.out);
}

struct SetCase {
    const char* name;
    QByteArray before; // empty: no file
    QStringList arguments;
    int status;
    QByteArray after; // the whole file afterwards
};

// set rewrites the whole file (no tail of a longer old one, later top-level groups dropped),
// creates missing groups and a missing file, and refuses what the file cannot carry or nothing
// would read, leaving the file as it was.
TEST(ConfigToolSet, WritesACleanFileOrRefuses) {
    const QByteArray longer = kConf + "spare : { note = \"" + QByteArray(400, 'x') + "\"; };\n";
    const QByteArray logoOnly = "pastrel: \n{\n    printer: \n    {\n        logo = \"/l b\";\n"
                                "    };\n\n};\n\n";
    const QList<SetCase> cases = {
        {"changes a value", longer, {"pastrel.logger.level", "INFO"}, 0, kConfSavedWithInfo},
        {"creates the file", "", {"pastrel.printer.logo", "/l b"}, 0, logoOnly},
        {"other first group", kConf, {"other.logger.level", "INFO"}, 1, kConf},
        {"empty field", kConf, {"pastrel..level", "INFO"}, 1, kConf},
        {"semicolon", kConf, {"pastrel.logger.level", "A;B"}, 1, kConf},
    };
    for (const SetCase& c : cases) {
        TempHome home;
        if (!c.before.isEmpty())
            home.writeConfig(c.before);
        const ToolRun run = runTool(home, QStringList{QStringLiteral("set")} + c.arguments);
        EXPECT_EQ(run.exitCode, c.status) << c.name << ": " << run.err.constData();
        EXPECT_BYTES(c.after, readFile(home.configPath())) << c.name;
    }
}

// Six planted mistakes among right settings (a catalogue that loads, flags exactly "true",
// printer keys): check reports exactly those six and exits 1.
TEST(ConfigToolCheck, ReportsExactlyThePlantedMistakes) {
    TempHome home;
    home.writeConfig(
        "pastrel : {\n language : { basedir = \"" PASTREL_BINARY_DIR
        "/translations/\"; file = pastrel_it_IT.qm; };\n"
        " printer : { model = \" ESCPOS\"; cut = full; drawerPin = 3;"
        " logo = /no/logo.bin; };\n"
        " receiptdoc : { paperwidth = 32; printHeader = true; copyNumber = 2; };\n"
        " fiscaldoc : { openCashDrawer = True; printDate = false; printLogo = s\xc3\xac; "
        "};\n};\nspare : { };\n");
    const ToolRun run = runTool(home, {QStringLiteral("check")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_BYTES("pastrel.receiptdoc.paperwidth: nothing reads this key; did you mean paperWidth?\n"
                 "pastrel.fiscaldoc.openCashDrawer = True: a flag is on only for the exact text "
                 "true; this reads as off\n"
                 "pastrel.fiscaldoc.printLogo = s\xc3\xac: a flag is on only for the exact text "
                 "true; this reads as off\n"
                 "spare (top-level group 2): empty; nothing reads it\n"
                 "pastrel.printer.drawerPin = \"3\" is not 2 or 5; using 2\n"
                 "pastrel.printer.logo: no readable file at /no/logo.bin\n",
                 run.out);
}

// Every damaged catalogue that pastrel-print refuses, check refuses too: both load it one way.
TEST(ConfigToolCheck, RefusesEveryDamagedCatalogue) {
    const QDir damaged(QStringLiteral(PASTREL_SOURCE_DIR "/fuzz/regressions/catalogue"));
    const QStringList names = damaged.entryList({QStringLiteral("*.qm")}, QDir::Files);
    ASSERT_FALSE(names.isEmpty());
    for (const QString& name : names) {
        TempHome home;
        home.writeConfig("pastrel : { language : { basedir = \"" + damaged.path().toLocal8Bit() +
                         "/\"; file = \"" + name.toLocal8Bit() + "\"; }; };\n");
        const ToolRun run = runTool(home, {QStringLiteral("check")});
        EXPECT_EQ(run.exitCode, 1) << name.toStdString();
        EXPECT_TRUE(run.out.startsWith("pastrel.language.basedir + file: catalogue " +
                                       damaged.filePath(name).toLocal8Bit() + " refused ("))
            << run.out.constData();
    }
}

// What pastrel-print warns about, check finds from the same rules: a catalogue folder without a
// file (pastrel-print looks for the folder's own name), a model no back-end has, in pastrel-print's
// very words, and a code page no table has.
TEST(ConfigToolCheck, FindsWhatPastrelPrintWarnsAbout) {
    TempHome home;
    home.writeConfig("pastrel : {\n language : { basedir = \"/no/catalogues/\"; };\n"
                     " printer : { model = epson; codepage = PC999; };\n};\n");
    const ToolRun check = runTool(home, {QStringLiteral("check")});
    EXPECT_EQ(check.exitCode, 1);
    EXPECT_BYTES("pastrel.language.basedir + file: no catalogue at /no/catalogues/; the labels "
                 "print in English\n"
                 "unknown pastrel.printer.model \"epson\" (company, escpos, rt-epson or "
                 "rt-custom); printing for the company printer\n"
                 "pastrel.printer.codepage = \"PC999\" is not PC437, PC850, PC858 or WPC1252\n",
                 check.out);
    const ToolRun print = testsupport::runPrint(
        {QStringLiteral(PASTREL_SOURCE_DIR
                        "/tests/documents/receipt/company-printer-code-page/input.xml"),
         home.file(QStringLiteral("out.prn"))},
        home.path());
    EXPECT_BYTES("pastrel-print: message catalogue /no/catalogues/ not found; labels print in "
                 "English\n"
                 "pastrel-print: unknown pastrel.printer.model \"epson\" (company, escpos, "
                 "rt-epson or rt-custom); printing for the company printer\n"
                 "pastrel-print: unknown code page \"PC999\" in pastrel.printer.codepage (PC437, "
                 "PC850, PC858 or WPC1252); using UTF-8\n",
                 print.err);
}

// Ten runs of set at once, each a key of its own, three times over: every run's key is kept,
// the file stays readable, and no temporary file is left beside it.
TEST(ConfigToolSet, TenAtOnceKeepEveryChange) {
    for (int round = 0; round < 3; ++round) {
        TempHome home;
        home.writeConfig(kConf);
        std::vector<std::unique_ptr<QProcess>> runs;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), home.path());
        for (int i = 0; i < 10; ++i) {
            runs.push_back(std::make_unique<QProcess>());
            runs.back()->setProcessEnvironment(environment);
            runs.back()->start(QStringLiteral(PASTREL_CONFIG_TOOL),
                               {QStringLiteral("set"), QStringLiteral("pastrel.till.key%1").arg(i),
                                QStringLiteral("value %1").arg(i)});
        }
        for (const auto& run : runs) {
            ASSERT_TRUE(run->waitForFinished(60000));
            EXPECT_EQ(run->exitCode(), 0) << run->readAllStandardError().constData();
        }
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(
                runTool(home, {QStringLiteral("get"), QStringLiteral("pastrel.till.key%1").arg(i)})
                    .out,
                QStringLiteral("value %1\n").arg(i).toLatin1())
                << "round " << round;
        EXPECT_EQ(
            runTool(home, {QStringLiteral("get"), QStringLiteral("pastrel.logger.level")}).out,
            "DEBUG\n");
        EXPECT_EQ(QDir(home.file(QStringLiteral(".pastrel/conf"))).entryList(QDir::Files),
                  QStringList{QStringLiteral("pastrel.conf")});
    }
}

// ---- Faults: pastrel-config as an unlucky till meets it ---------------------------------------
// Each row is a finding: a run that hung, lost settings, wrote a half file, replaced a device, or
// took time in the square of the settings. Each run now ends, in a few seconds of processor time
// at the most, with the status given; the row's own check says what stayed.

QByteArray numbered(const char* pattern, int count) {
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += QByteArray(pattern).replace("#", QByteArray::number(i));
    return text;
}

// As many settings in one group as the readers read in a file.
const QByteArray kHundredThousand =
    "pastrel : { big : {" + numbered("k# = v#;\n", 100000) + "}; };\n";

// A black PBM image, width x height pixels, which the toolkit reads without a plugin.
QByteArray blackImage(int width, int height) {
    return "P4\n" + QByteArray::number(width) + " " + QByteArray::number(height) + "\n" +
           QByteArray((width + 7) / 8 * height, '\xff');
}

QString confFolder(const TempHome& home) {
    return home.file(QStringLiteral(".pastrel/conf"));
}

// A 64 KiB tmpfs as the configuration folder, filled but for a few bytes; false where this
// machine may not mount one (the row is then skipped; the file size limit rows still run).
bool fullDisk(const TempHome& home, const QByteArray& conf, const QByteArray& raster = {}) {
    QDir().mkpath(confFolder(home));
    if (::mount("tmpfs", QFile::encodeName(confFolder(home)).constData(), "tmpfs", 0, "size=64k") !=
        0)
        return false;
    home.writeConfig(conf);
    if (!raster.isNull())
        testsupport::writeFile(confFolder(home) + QStringLiteral("/logo.raster"), raster);
    QFile filler(confFolder(home) + QStringLiteral("/filler"));
    filler.open(QIODevice::WriteOnly);
    while (filler.write(QByteArray(512, 'f')) == 512 && filler.flush()) {
    }
    return true;
}

bool isRegular(const QString& path) {
    struct stat info {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 && S_ISREG(info.st_mode);
}

// The folder holds exactly these files: nothing half-written left beside them.
void expectOnly(const TempHome& home, QStringList names) {
    names.sort();
    EXPECT_EQ(QDir(confFolder(home)).entryList(QDir::Files | QDir::System | QDir::Hidden), names);
}

struct ToolFault {
    const char* name;
    std::function<bool(const TempHome&)> setUp; // false: cannot be set up here
    QStringList arguments;
    int status;
    std::function<void(const TempHome&, const ToolRun&)> verify;
    int fileSizeBlocks = 0; // a limit of the file size in 512-byte blocks (ulimit -f), or none
};

const QByteArray kSmallConf = "pastrel : { receiptdoc : { paperWidth = 40; }; };\n";

void unchanged(const TempHome& home, const ToolRun&) {
    EXPECT_BYTES(kSmallConf, readFile(home.configPath()));
    expectOnly(home, {QStringLiteral("pastrel.conf")});
}

bool smallConf(const TempHome& home) {
    home.writeConfig(kSmallConf);
    return true;
}

QString get(const TempHome& home, const QString& key) {
    return QString::fromLatin1(runTool(home, {QStringLiteral("get"), key}).out.chopped(1));
}

const QString kDeep = QStringLiteral("pastrel") + QStringLiteral(".g").repeated(100) +
                      QStringLiteral(".k"); // 101 groups: one more than the readers read

// clang-format off
const ToolFault kToolFaults[] = {
    {"ShowHundredThousandSettings", [](const TempHome& h) { h.writeConfig(kHundredThousand); return true; }, {"show"}, 0,
     [](const TempHome&, const ToolRun& r) { EXPECT_EQ(r.out.count('\n'), 100003); }},
    {"CheckHundredThousandSettings", [](const TempHome& h) { h.writeConfig(kHundredThousand); return true; }, {"check"}, 1,
     [](const TempHome&, const ToolRun& r) { EXPECT_EQ(r.out.count('\n'), 100000); }},
    {"SetAmongHundredThousandSettings", [](const TempHome& h) { h.writeConfig(kHundredThousand); return true; },
     {"set", "pastrel.big.k5", "changed"}, 0, [](const TempHome& h, const ToolRun&) {
         EXPECT_EQ(get(h, QStringLiteral("pastrel.big.k5")), QStringLiteral("changed"));
         EXPECT_EQ(get(h, QStringLiteral("pastrel.big.k99999")), QStringLiteral("v99999")); }},
    {"SetDeeperThanTheReadersRead", smallConf, {"set", kDeep, "v"}, 1, unchanged},
    {"SetValueLongerThanTheReadersRead", smallConf, {"set", "pastrel.receiptdoc.note", QString(2046, 'x')}, 1, unchanged},
    {"SetValueAsLongAsTheReadersRead", smallConf, {"set", "pastrel.receiptdoc.note", QString(2045, 'x')}, 0,
     [](const TempHome& h, const ToolRun&) { EXPECT_EQ(get(h, QStringLiteral("pastrel.receiptdoc.note")), QString(2045, 'x')); }},
    {"SpoolDropAllThreeThousandJobs", [](const TempHome& h) { // each drop once rescanned the folder
         const QString spool = h.file(QStringLiteral(".pastrel/spool/"));
         for (int job = 0; job < 3000; ++job)
             EXPECT_TRUE(testsupport::writeFile(spool + QStringLiteral("20260101-000000-000-%1@%2.prn")
                                                    .arg(job, 7, 10, QLatin1Char('0'))
                                                    .arg(job % 2 ? "%2Fdev%2Fusb%2Flp0" : "socket:%2F%2F127.0.0.1:9100"), "a ticket\n"));
         return true; },
     {"spool", "drop", "all"}, 0, [](const TempHome& h, const ToolRun&) {
         EXPECT_EQ(QDir(h.file(QStringLiteral(".pastrel/spool"))).entryList({QStringLiteral("*.prn")}, QDir::Files).size(), 0); }},
    {"SetNameLongerThanTheReadersRead", smallConf, {"set", "pastrel." + QString(2045, 'n'), "v"}, 1, unchanged},
    {"SetOnAFullDisk", [](const TempHome& h) { return fullDisk(h, kSmallConf); },
     {"set", "pastrel.receiptdoc.note", QString(2000, 'x')}, 1, [](const TempHome& h, const ToolRun&) {
         EXPECT_BYTES(kSmallConf, readFile(h.configPath()));
         expectOnly(h, {QStringLiteral("pastrel.conf"), QStringLiteral("filler")}); }},
    {"SetOverTheFileSizeLimit", smallConf, {"set", "pastrel.receiptdoc.note", QString(2000, 'x')}, 1, unchanged, 2},
    {"SetThroughALinkToAFifo", [](const TempHome& h) {
         QDir().mkpath(confFolder(h));
         return ::mkfifo(QFile::encodeName(h.file(QStringLiteral("conf.fifo"))).constData(), 0600) == 0 &&
                QFile::link(h.file(QStringLiteral("conf.fifo")), h.configPath()); },
     {"set", "pastrel.a.b", "c"}, 1, [](const TempHome& h, const ToolRun& r) {
         EXPECT_FALSE(isRegular(h.file(QStringLiteral("conf.fifo"))));
         EXPECT_TRUE(r.err.contains("not a regular file")) << r.err.constData(); }},
    {"SetKeepsTheOwnerAndMode", [](const TempHome& h) {
         smallConf(h);
         return ::geteuid() == 0 && ::chown(QFile::encodeName(h.configPath()).constData(), 65534, 65534) == 0 &&
                ::chmod(QFile::encodeName(h.configPath()).constData(), 0640) == 0; },
     {"set", "pastrel.receiptdoc.paperWidth", "32"}, 0, [](const TempHome& h, const ToolRun&) {
         struct stat info {};
         ASSERT_EQ(::stat(QFile::encodeName(h.configPath()).constData(), &info), 0);
         EXPECT_EQ(info.st_uid, 65534u);
         EXPECT_EQ(info.st_gid, 65534u);
         EXPECT_EQ(info.st_mode & 07777, 0640u); }},
    {"LogoImageIsAFifo", [](const TempHome& h) {
         return ::mkfifo(QFile::encodeName(h.file(QStringLiteral("logo.pbm"))).constData(), 0600) == 0; },
     {"logo", "logo.pbm"}, 1, [](const TempHome&, const ToolRun& r) {
         EXPECT_TRUE(r.err.contains("cannot read the image")) << r.err.constData(); }},
    {"LogoOverADeviceNode", [](const TempHome& h) { // a FIFO where this machine makes no node
         testsupport::writeFile(h.file(QStringLiteral("logo.pbm")), blackImage(8, 8));
         const QByteArray node = QFile::encodeName(h.file(QStringLiteral("lp0")));
         return ::mknod(node.constData(), S_IFCHR | 0600, makedev(1, 3)) == 0 || ::mkfifo(node.constData(), 0600) == 0; },
     {"logo", "logo.pbm", "lp0"}, 1, [](const TempHome& h, const ToolRun& r) {
         EXPECT_FALSE(isRegular(h.file(QStringLiteral("lp0"))));
         EXPECT_TRUE(r.err.contains("not a regular file")) << r.err.constData(); }},
    {"LogoOnAFullDisk", [](const TempHome& h) {
         testsupport::writeFile(h.file(QStringLiteral("logo.pbm")), blackImage(480, 480));
         return fullDisk(h, kSmallConf, "the old raster"); },
     {"logo", "logo.pbm"}, 1, [](const TempHome& h, const ToolRun&) {
         EXPECT_EQ(readFile(confFolder(h) + QStringLiteral("/logo.raster")), "the old raster");
         expectOnly(h, {QStringLiteral("pastrel.conf"), QStringLiteral("filler"), QStringLiteral("logo.raster")}); }},
    {"LogoOverTheFileSizeLimit", [](const TempHome& h) {
         smallConf(h);
         testsupport::writeFile(confFolder(h) + QStringLiteral("/logo.raster"), "the old raster");
         return testsupport::writeFile(h.file(QStringLiteral("logo.pbm")), blackImage(480, 480)); },
     {"logo", "logo.pbm"}, 1, [](const TempHome& h, const ToolRun&) {
         EXPECT_EQ(readFile(confFolder(h) + QStringLiteral("/logo.raster")), "the old raster");
         expectOnly(h, {QStringLiteral("pastrel.conf"), QStringLiteral("logo.raster")}); }, 8},
    {"LogoForAHundredColumns", [](const TempHome& h) { // wider than a printer's raster
         h.writeConfig("pastrel : { printer : { model = escpos; columns = 100; logo = logo.raster; };"
                       " receiptdoc : { printLogo = true; }; };");
         return testsupport::writeFile(h.file(QStringLiteral("logo.pbm")), blackImage(1024, 2)); },
     {"logo", "logo.pbm"}, 0, [](const TempHome& h, const ToolRun&) {
         testsupport::writeFile(h.file(QStringLiteral("in.xml")), "<d><method name=\"printFullOrderReceipt\"/><logo/></d>");
         testsupport::runPrint({h.file(QStringLiteral("in.xml")), h.file(QStringLiteral("out.prn"))}, h.path());
         // 128 bytes (1024 dots) by 2 rows, every dot black.
         EXPECT_TRUE(readFile(h.file(QStringLiteral("out.prn"))).contains(
             QByteArray("\x1dv0\x00\x80\x00\x02\x00", 8) + QByteArray(256, '\xff'))); }},
};
// clang-format on

class ConfigToolFault : public ::testing::TestWithParam<ToolFault> {};

TEST_P(ConfigToolFault, EndsBoundedAndKeepsTheFilesWhole) {
    TempHome home;
    const bool ready = GetParam().setUp(home);
    if (!ready) {
        ::umount2(QFile::encodeName(confFolder(home)).constData(), MNT_DETACH);
        GTEST_SKIP() << "cannot be set up on this machine (mount, mknod or root)";
    }
    // Through time(1) for the processor time (the machine may be shared), under the row's file
    // size limit; a limit exceeded fails the write instead of killing the program.
    const QString stats = home.file(QStringLiteral("stats"));
    QString script = QStringLiteral("trap '' XFSZ; ");
    if (GetParam().fileSizeBlocks > 0)
        script += QStringLiteral("ulimit -f %1; ").arg(GetParam().fileSizeBlocks);
    script += QStringLiteral("exec /usr/bin/time -f '%U %S' -o \"$0\" \"$@\"");
    const ToolRun run = testsupport::runProgram(
        QStringLiteral("/bin/sh"),
        QStringList{QStringLiteral("-c"), script, stats, QStringLiteral(PASTREL_CONFIG_TOOL)} +
            GetParam().arguments,
        home.path(), QProcessEnvironment(), 60000);
    EXPECT_TRUE(run.finished && !run.crashed);
    EXPECT_EQ(run.exitCode, GetParam().status) << run.err.constData();
    const QList<QByteArray> times = readFile(stats).trimmed().split('\n').last().split(' ');
    ASSERT_EQ(times.size(), 2) << readFile(stats).constData();
#if defined(__SANITIZE_ADDRESS__)
    constexpr double kSlowdown = 5; // the sanitizers' own cost
#else
    constexpr double kSlowdown = 1;
#endif
    EXPECT_LT(times[0].toDouble() + times[1].toDouble(), 5 * kSlowdown);
    GetParam().verify(home, run);
    ::umount2(QFile::encodeName(confFolder(home)).constData(), MNT_DETACH);
}

INSTANTIATE_TEST_SUITE_P(Till, ConfigToolFault, ::testing::ValuesIn(kToolFaults),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
