// A till's first run as an installer meets it: pastrel-config init starting the configuration
// from a sample and keeping what is there, and pastrel-config test-page printing its page, byte
// for byte, to a file, to a printer stand-in on 127.0.0.1, and into the spool when the printer
// is away.
#include "printerstandin.h"
#include "testsupport.h"

#include <QDir>

using testsupport::readFile;
using ToolRun = testsupport::Run; // "Run" is also a member of ::testing::Test
using testsupport::TempHome;

namespace {

ToolRun runTool(const TempHome& home, const QStringList& arguments) {
    return testsupport::runProgram(QStringLiteral(PASTREL_CONFIG_TOOL), arguments, home.path());
}

// A sample as init must write it: the source file with the build tree's catalogue folder.
QByteArray sample(const char* source) {
    return readFile(QStringLiteral(PASTREL_SOURCE_DIR "/") + QLatin1String(source))
        .replace("@CATALOGUE_DIR@", PASTREL_BINARY_DIR "/translations");
}

const QByteArray kOld = "pastrel : { printer : { model = escpos; }; };\n";

struct InitCase {
    const char* name;
    QByteArray before; // empty: no file
    QStringList arguments;
    int status;
    QByteArray after; // empty: no file
};

// init writes the model's sample, keeps an existing file unless --force, and refuses a model it
// does not know without writing anything.
TEST(ConfigToolInit, WritesTheSampleAndKeepsAnExistingFile) {
    const QList<InitCase> cases = {
        {"80 mm", "", {"escpos-80mm"}, 0, sample("examples/conf/escpos-80mm.conf")},
        {"58 mm", "", {"escpos-58mm"}, 0, sample("examples/conf/escpos-58mm.conf")},
        {"company", "", {"company"}, 0, sample("examples/home/.pastrel/conf/pastrel.conf")},
        {"kept", kOld, {"escpos-58mm"}, 1, kOld},
        {"forced", kOld, {"escpos-58mm", "--force"}, 0, sample("examples/conf/escpos-58mm.conf")},
        {"unknown", "", {"escpos-76mm"}, 2, ""},
    };
    for (const InitCase& c : cases) {
        TempHome home;
        if (!c.before.isEmpty())
            home.writeConfig(c.before);
        const ToolRun run = runTool(home, QStringList{QStringLiteral("init")} + c.arguments);
        EXPECT_EQ(run.exitCode, c.status) << c.name << ": " << run.err.constData();
        EXPECT_BYTES(c.after, readFile(home.configPath())) << c.name;
        // Nothing but the configuration is left in its folder.
        const QStringList left = QDir(home.file(QStringLiteral(".pastrel/conf")))
                                     .entryList(QDir::Files | QDir::Hidden | QDir::System);
        EXPECT_EQ(left, c.after.isEmpty() ? QStringList() : QStringList{"pastrel.conf"}) << c.name;
    }
}

// A file that cannot be replaced (a folder in its place) stays as it is, and no half-written
// file is left beside it.
TEST(ConfigToolInit, LeavesNothingBehindWhenTheFileCannotBeReplaced) {
    TempHome home;
    ASSERT_TRUE(QDir().mkpath(home.configPath() + QStringLiteral("/inside")));
    const ToolRun run = runTool(home, {"init", "--force", "escpos-80mm"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith("pastrel-config: cannot write ")) << run.err.constData();
    EXPECT_EQ(QDir(home.file(QStringLiteral(".pastrel/conf")))
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"pastrel.conf"});
    EXPECT_TRUE(QFileInfo(home.configPath() + QStringLiteral("/inside")).isDir());
}

// The 80 mm sample's test page, written by hand: 48 columns, PC858 (à 85, è 8A, é 82, ì 8D,
// ò 95, ù 97, À B7, È D4, É 90, Ì DE, Ò E3, Ù EB, € D5), the partial cut GS V 66 0.
const QByteArray kEscPosPage =
    QByteArray("\x1b@\x1c.\x1bR\x00\x1bt\x13", 10) + // init, no double-byte mode, USA, PC858
    QByteArray("\x1b"
               "E\x01\x1b"
               "a\x01"
               "PASTREL TEST PAGE\n",
               24) + // bold, centred
    QByteArray("\x1b"
               "E\x00\x1b"
               "a\x00",
               6) +
    "Model: escpos\nColumns: 48\nCode page: PC858\n"
    "----+----1----+----2----+----3----+----4----+---\n"
    "Italian letters and the euro:\n"
    "\x85 \x8a \x82 \x8d \x95 \x97 \xb7 \xd4 \x90 \xde \xe3 \xeb \xd5\n" +
    QByteArray("\x1b"
               "E\x01"
               "Bold text\n",
               13) +
    QByteArray("\x1b"
               "E\x00\x1d!\x01"
               "Tall text\n",
               16) +
    QByteArray("\x1d!\x00\x1dVB\x00", 7);
const QByteArray kEscPosDrawer("\x1bp\x00\x19\xfa", 5); // pin 2, on 50 ms, off 500 ms

// The company printer's page: 40 columns, UTF-8, the title centred with blanks, no bold or size
// bytes, the end feed and cut ESC i, and only with the drawer its pulse RS and ESC p 0.
const QByteArray kCompanyPage = "           PASTREL TEST PAGE\n"
                                "Model: company\nColumns: 40\nCode page: UTF-8\n"
                                "----+----1----+----2----+----3----+----4\n"
                                "Italian letters and the euro:\n"
                                "\xc3\xa0 \xc3\xa8 \xc3\xa9 \xc3\xac \xc3\xb2 \xc3\xb9 "
                                "\xc3\x80 \xc3\x88 \xc3\x89 \xc3\x8c \xc3\x92 \xc3\x99 "
                                "\xe2\x82\xac\n"
                                "Bold text\nTall text\n" +
                                QByteArray(9, '\n') + "\r\x1bi";

struct PageCase {
    const char* model;
    bool drawer;
    QByteArray page;
};

TEST(ConfigToolTestPage, PrintsThePageOfTheModelToAFile) {
    const QList<PageCase> cases = {
        {"escpos-80mm", false, kEscPosPage},
        {"escpos-80mm", true, kEscPosPage + kEscPosDrawer},
        {"company", false, kCompanyPage},
        {"company", true, kCompanyPage + "\x1e\x1bp0"},
    };
    for (const PageCase& c : cases) {
        TempHome home;
        ASSERT_EQ(runTool(home, {"init", c.model}).exitCode, 0);
        const QString output = home.file(QStringLiteral("page.prn"));
        QStringList arguments{"test-page", output};
        if (c.drawer)
            arguments.insert(1, QStringLiteral("--drawer"));
        const ToolRun run = runTool(home, arguments);
        EXPECT_EQ(run.exitCode, 0) << c.model << ": " << run.err.constData();
        EXPECT_BYTES(c.page, readFile(output)) << c.model << (c.drawer ? " with the drawer" : "");
    }
}

// To a network printer the page goes as a document does: whole to the printer that listens, and
// into the spool, to be sent later, while the printer is away.
TEST(ConfigToolTestPage, ReachesThePrinterOrWaitsInTheSpool) {
    TempHome home;
    ASSERT_EQ(runTool(home, {"init", "company"}).exitCode, 0);
    PrinterStandIn printer; // bound, not listening yet: away
    ToolRun run = runTool(home, {"test-page", printer.address()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("the test page waits in the spool")) << run.err.constData();
    EXPECT_EQ(QDir(home.file(QStringLiteral(".pastrel/spool"))).entryList({"*.prn"}).size(), 1);

    printer.start();
    run = runTool(home, {"test-page", printer.address()});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    // The page that waited, then this one, over one connection.
    EXPECT_BYTES(kCompanyPage + kCompanyPage, printer.received());
    EXPECT_TRUE(QDir(home.file(QStringLiteral(".pastrel/spool"))).entryList({"*.prn"}).isEmpty());
}

// "socket://" alone takes the address from a document's printers element, which the page lacks:
// refused at once, rather than left in the spool where no address will ever reach it.
TEST(ConfigToolTestPage, RefusesANetworkOutputWithoutAnAddress) {
    TempHome home;
    ASSERT_EQ(runTool(home, {"init", "escpos-80mm"}).exitCode, 0);
    for (const char* output : {"socket://", "socket://:9100"}) {
        const ToolRun run = runTool(home, {"test-page", output});
        EXPECT_EQ(run.exitCode, 2) << output;
        EXPECT_TRUE(run.err.contains("names no printer")) << run.err.constData();
        EXPECT_FALSE(QDir(home.file(QStringLiteral(".pastrel/spool"))).exists()) << output;
    }
}

} // namespace
