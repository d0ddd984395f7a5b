// pastrel-config as an integrator's script runs it, with a HOME of the test's own: show as a
// tree, set with a clean rewrite, check with exactly the mistakes planted.
#include "testsupport.h"

#include <QDir>

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
    home.writeConfig(kConf);
    const ToolRun run = runTool(home, {QStringLiteral("show")});
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_BYTES(home.configPath().toLocal8Bit() +
                     "\n    pastrel\n        logger\n            filename = pastrel.log\n"
                     "            level = DEBUG\n        receiptdoc\n"
                     "            openCashDrawer = true\n            paperWidth = 40\n",
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

// Three planted mistakes among right settings (a catalogue that loads, flags exactly "true",
// printer keys): check reports exactly those three and exits 1.
TEST(ConfigToolCheck, ReportsExactlyThePlantedMistakes) {
    TempHome home;
    home.writeConfig("pastrel : {\n language : { basedir = \"" PASTREL_BINARY_DIR
                     "/translations/\"; file = pastrel_it_IT.qm; };\n"
                     " printer : { model = \" ESCPOS\"; cut = full; drawerPin = 3;"
                     " logo = /no/logo.bin; };\n"
                     " receiptdoc : { paperwidth = 32; printHeader = true; copyNumber = 2; };\n"
                     " fiscaldoc : { openCashDrawer = True; printDate = false; };\n};\n");
    const ToolRun run = runTool(home, {QStringLiteral("check")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_BYTES("pastrel.receiptdoc.paperwidth: nothing reads this key; did you mean paperWidth?\n"
                 "pastrel.fiscaldoc.openCashDrawer = True: a flag is on only for the exact text "
                 "true; this reads as off\n"
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

} // namespace
