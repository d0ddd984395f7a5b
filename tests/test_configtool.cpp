// pastrel-config (app/configtool.h): show, get and edit as a maintainer runs them, with a HOME
// of the test's own; and its window class ConfigEditor in-process (Part 4.3: views, loadListView).
#include "config.h"
#include "configeditor.h"
#include "testsupport.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QLineEdit>
#include <QProcess>
#include <QSet>
#include <QTest>
#include <QTreeWidget>
#include <QTreeWidgetItem>

#include <functional>
#include <memory>

using testsupport::readFile;
using ToolRun = testsupport::Run; // "Run" is also a member of ::testing::Test
using testsupport::TempHome;
using testsupport::writeFile;

// LeakSanitizer (PASTREL_SANITIZE=ON builds): fontconfig, loaded by Qt's font database, keeps
// a small cache it never frees; not this project's memory. Unused in other builds.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}

namespace {

const QByteArray kConf = "pastrel : {\n"
                         "  logger : { level = DEBUG; filename = pastrel.log; };\n"
                         "  receiptdoc : { paperWidth = 40; openCashDrawer = true; };\n"
                         "};\n";

// kConf as loadListView saves it (Part 4.3 cfg writer; settings sorted by name), with level
// changed to INFO.
const QByteArray kConfSavedWithInfo = "pastrel: \n"
                                      "{\n"
                                      "    logger: \n"
                                      "    {\n"
                                      "        filename = \"pastrel.log\";\n"
                                      "        level = \"INFO\";\n"
                                      "    };\n"
                                      "\n"
                                      "    receiptdoc: \n"
                                      "    {\n"
                                      "        openCashDrawer = \"true\";\n"
                                      "        paperWidth = \"40\";\n"
                                      "    };\n"
                                      "\n"
                                      "};\n"
                                      "\n";

const QByteArray kUsage = "usage: pastrel-config show | get KEY | set KEY VALUE | check | edit\n";

QString tool() {
    return QStringLiteral(PASTREL_CONFIG_TOOL);
}

ToolRun runTool(const TempHome& home, const QStringList& arguments,
                const QProcessEnvironment& extra = QProcessEnvironment()) {
    return testsupport::runProgram(tool(), arguments, home.path(), extra);
}

QProcessEnvironment with(const char* name, const QString& value) {
    QProcessEnvironment environment;
    environment.insert(QString::fromLatin1(name), value);
    return environment;
}

// ---------------------------------------------------------------------------------------------
// show and get

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

// Without a configuration file: the reader's message and no tree.
TEST(ConfigToolShow, WithoutConfigurationPrintsTheReadersMessageAndAnEmptyTree) {
    TempHome home;
    const ToolRun run = runTool(home, {QStringLiteral("show")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_BYTES("Error in the method FileReader::open( " + home.configPath().toLocal8Bit() +
                     " ): File Not Found\n",
                 run.out);
}

// get prints one value (Part 4.2 getStrValue) and a line end.
TEST(ConfigToolGet, PrintsOneValue) {
    TempHome home;
    home.writeConfig(kConf);
    const ToolRun run =
        runTool(home, {QStringLiteral("get"), QStringLiteral("pastrel.logger.level")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_BYTES("DEBUG\n", run.out);
    EXPECT_BYTES("", run.err);
}

// Part 4.1: a missing key and an empty value both read as the empty text: an empty line, 0.
TEST(ConfigToolGet, MissingKeyPrintsAnEmptyLine) {
    TempHome home;
    home.writeConfig(kConf);
    const ToolRun run =
        runTool(home, {QStringLiteral("get"), QStringLiteral("pastrel.logger.nokey")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_BYTES("\n", run.out);
}

// Choice (configtool.h): key and value bytes pass unchanged (Latin-1 both ways, the reader's
// rule), so a key written in UTF-8 in the file is found when typed in a UTF-8 terminal.
// ("perché", not "società": a name ending in the bytes C3 A0 loses A0 on reading, since
// Part 4.1 strips white space and Latin-1 A0 is the no-break space; docs/configuration.md.)
TEST(ConfigToolGet, KeysAndValuesKeepTheBytesOfTheFile) {
    TempHome home;
    home.writeConfig("pastrel : { perch\xc3\xa9 : { insegna = Caff\xc3\xa8 Roma; vecchia = "
                     "Caff\xe8; }; };");
    const ToolRun utf8 =
        runTool(home, {QStringLiteral("get"), QString::fromUtf8("pastrel.perch\xc3\xa9.insegna")});
    EXPECT_BYTES("Caff\xc3\xa8 Roma\n", utf8.out);
    const ToolRun latin1 =
        runTool(home, {QStringLiteral("get"), QString::fromUtf8("pastrel.perch\xc3\xa9.vecchia")});
    EXPECT_BYTES("Caff\xe8\n", latin1.out);
}

// Choice (configtool.h): show and get create no QApplication, so they run on a till without
// a display: an unusable platform plugin does not matter to them.
TEST(ConfigToolShow, ShowAndGetNeedNoDisplay) {
    TempHome home;
    home.writeConfig(kConf);
    const QProcessEnvironment noPlatform = with("QT_QPA_PLATFORM", QStringLiteral("no-such"));
    const ToolRun show = runTool(home, {QStringLiteral("show")}, noPlatform);
    EXPECT_FALSE(show.crashed);
    EXPECT_EQ(show.exitCode, 0);
    EXPECT_TRUE(show.out.contains("level = DEBUG\n"));
    const ToolRun get =
        runTool(home, {QStringLiteral("get"), QStringLiteral("pastrel.logger.level")}, noPlatform);
    EXPECT_EQ(get.exitCode, 0);
    EXPECT_BYTES("DEBUG\n", get.out);
}

// ---------------------------------------------------------------------------------------------
// Usage

// Choice (configtool.h): usage errors print the usage line on standard error and exit 2.
TEST(ConfigToolUsage, NoArgumentsPrintUsageOnStandardErrorAndExit2) {
    TempHome home;
    const ToolRun run = runTool(home, {});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_BYTES(kUsage, run.err);
    EXPECT_BYTES("", run.out);
}

TEST(ConfigToolUsage, WrongCommandOrArgumentCountExits2) {
    TempHome home;
    home.writeConfig(kConf);
    const QList<QStringList> wrong = {
        {QStringLiteral("list")},
        {QStringLiteral("get")},
        {QStringLiteral("get"), QStringLiteral("a"), QStringLiteral("b")},
        {QStringLiteral("show"), QStringLiteral("extra")},
        {QStringLiteral("edit"), QStringLiteral("extra")},
        {QStringLiteral("SHOW")},
        {QString()}};
    for (const QStringList& arguments : wrong) {
        const ToolRun run = runTool(home, arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_BYTES(kUsage, run.err);
    }
    EXPECT_BYTES(kConf, readFile(home.configPath())); // nothing touched the file
}

// Choice (configtool.h): asked for, the usage goes to standard output with status 0.
TEST(ConfigToolUsage, HelpPrintsUsageOnStandardOutputAndExits0) {
    TempHome home;
    for (const char* help : {"help", "--help", "-h"}) {
        const ToolRun run = runTool(home, {QString::fromLatin1(help)});
        EXPECT_EQ(run.exitCode, 0) << help;
        EXPECT_TRUE(run.out.startsWith(kUsage)) << run.out.constData();
    }
}

// ---------------------------------------------------------------------------------------------
// set and check, as an integrator's script runs them

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
                     " printer : { model = escpos; cut = full; logo = /no/logo.bin; };\n"
                     " receiptdoc : { paperwidth = 32; printHeader = true; copyNumber = 2; };\n"
                     " fiscaldoc : { openCashDrawer = True; printDate = false; };\n};\n");
    const ToolRun run = runTool(home, {QStringLiteral("check")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_BYTES("pastrel.receiptdoc.paperwidth: nothing reads this key; did you mean paperWidth?\n"
                 "pastrel.fiscaldoc.openCashDrawer = True: a flag is on only for the exact text "
                 "true; this reads as off\n"
                 "pastrel.printer.logo: no readable file at /no/logo.bin\n",
                 run.out);
}

// ---------------------------------------------------------------------------------------------
// edit, as the program runs it (offscreen; the hidden script drives the in-place editor)

ToolRun editWithScript(const TempHome& home, const QByteArray& script) {
    const QString scriptPath = home.file(QStringLiteral("edit-script"));
    EXPECT_TRUE(writeFile(scriptPath, script));
    return runTool(home, {QStringLiteral("edit")}, with("PASTREL_CONFIG_EDIT_SCRIPT", scriptPath));
}

// Part 4.3 + task: a value renamed in place is saved with loadListView when the window closes,
// and get reads it back.
TEST(ConfigToolEdit, RenamedValueIsSavedWhenTheWindowCloses) {
    TempHome home;
    home.writeConfig(kConf);
    const ToolRun run = editWithScript(home, "set pastrel.logger.level INFO\nclose\n");
    ASSERT_TRUE(run.finished);
    EXPECT_FALSE(run.crashed);
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_BYTES(kConfSavedWithInfo, readFile(home.configPath()));
    const ToolRun get =
        runTool(home, {QStringLiteral("get"), QStringLiteral("pastrel.logger.level")});
    EXPECT_BYTES("INFO\n", get.out);
}

// Choice (configeditor.h): closing without a change writes nothing.
TEST(ConfigToolEdit, ClosingWithoutChangesLeavesTheFileUntouched) {
    TempHome home;
    home.writeConfig(kConf);
    const ToolRun run = editWithScript(home, "close\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_BYTES(kConf, readFile(home.configPath()));
}

// Choice (configtool.h): a script line that fails is reported, the status is 1, and with no
// change made nothing is saved.
TEST(ConfigToolEdit, FailingScriptLineExits1AndSavesNothing) {
    TempHome home;
    home.writeConfig(kConf);
    const ToolRun run = editWithScript(home, "set pastrel.logger.nosuchkey x\n");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("pastrel-config: script line 1 failed: "
                                 "set pastrel.logger.nosuchkey x"));
    EXPECT_BYTES(kConf, readFile(home.configPath()));
}

// Choice (configtool.h): edit without any display says so and exits 1 instead of aborting.
TEST(ConfigToolEdit, WithoutADisplaySaysSoAndExits1) {
    TempHome home;
    home.writeConfig(kConf);
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home.path());
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(QString::fromLatin1(name));
    process.setProcessEnvironment(environment);
    process.start(tool(), {QStringLiteral("edit")});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().contains("edit needs a display"));
    EXPECT_BYTES(kConf, readFile(home.configPath()));
}

// The window draws: an offscreen grab of the edit window after an edit, saved as a PNG under
// the build folder (tests/screenshots/), has the window's size and shows text and the
// selection, not a blank page.
TEST(ConfigToolEdit, WindowScreenshotShowsTheTree) {
    TempHome home;
    home.writeConfig(kConf);
    const QString folder = QStringLiteral(PASTREL_BINARY_DIR "/tests/screenshots");
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString png = folder + QStringLiteral("/pastrel-config-edit.png");
    QFile::remove(png);
    const ToolRun run = editWithScript(home, "set pastrel.receiptdoc.paperWidth 42\ngrab " +
                                                 png.toLocal8Bit() + "\nclose\n");
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    QImage image(png);
    ASSERT_FALSE(image.isNull()) << "no screenshot at " << png.toStdString();
    EXPECT_EQ(image.size(), QSize(560, 640)); // ConfigEditor's size, device pixel ratio 1
    QSet<QRgb> colours;
    int dark = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            colours.insert(colour.rgb());
            if (colour.lightness() < 96)
                ++dark;
        }
    }
    int highlight = 0; // the selection bar of the edited value
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.blue() > colour.red() + 60)
                ++highlight;
        }
    }
    EXPECT_GT(highlight, 1000);
    EXPECT_GT(colours.size(), 8); // anti-aliased text, header, selection: not one flat colour
    EXPECT_GT(dark, 200);         // the labels' text is drawn
    EXPECT_LT(dark, image.width() * image.height() / 4); // and the page is not black
    EXPECT_TRUE(readFile(home.configPath()).contains("paperWidth = \"42\";"));
}

// DESIGN.md (Build and layout): only pastrel-config links Qt Widgets; the document compiler
// pastrel-print runs on tills without a display and must not. The linked library's name is in
// a program's dynamic section exactly when it is linked.
TEST(ConfigToolBuild, OnlyPastrelConfigLinksQtWidgets) {
    const QByteArray print = readFile(testsupport::printProgram());
    const QByteArray config = readFile(tool());
    ASSERT_FALSE(print.isEmpty());
    ASSERT_FALSE(config.isEmpty());
    EXPECT_FALSE(print.contains("libQt6Widgets.so"));
    EXPECT_TRUE(config.contains("libQt6Widgets.so"));
}

// ---------------------------------------------------------------------------------------------
// ConfigEditor in-process

void ensureApplication() {
    static int argc = 1;
    static char name[] = "test_configtool";
    static char* argv[] = {name, nullptr};
    static QApplication* application = new QApplication(argc, argv); // lives to the end
    (void)application;
}

class Editor : public ::testing::Test {
protected:
    void SetUp() override {
        ensureApplication();
        ASSERT_TRUE(writeFile(path, kConf));
        config = std::make_unique<libconfig::Config>(path, QStringLiteral("cfg"));
        editor = std::make_unique<ConfigEditor>(config.get(), config->buildConfigListView());
        editor->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(editor.get()));
    }
    TempHome home;
    const QString path = home.file(QStringLiteral("pastrel.conf"));
    std::unique_ptr<libconfig::Config> config;
    std::unique_ptr<ConfigEditor> editor;
};

void forEachItem(QTreeWidgetItem* item, const std::function<void(QTreeWidgetItem*)>& visit) {
    visit(item);
    for (int i = 0; i < item->childCount(); ++i)
        forEachItem(item->child(i), visit);
}

// Choice (configeditor.h): only the value items can be renamed; names and groups cannot.
TEST_F(Editor, OnlyValueItemsAreEditable) {
    int values = 0;
    int others = 0;
    forEachItem(editor->view()->topLevelItem(0), [&](QTreeWidgetItem* item) {
        const bool editable = item->flags().testFlag(Qt::ItemIsEditable);
        const bool value = item->childCount() == 0;
        EXPECT_EQ(editable, value) << item->text(0).toStdString();
        ++(value ? values : others);
    });
    EXPECT_EQ(values, 4);
    EXPECT_EQ(others, 8); // path, pastrel, two groups, four settings
}

// As a user does it: double-click the value, type, press Return, close the window: the file
// is saved through loadListView (Part 4.3).
TEST_F(Editor, DoubleClickTypeReturnAndCloseSavesTheFile) {
    QTreeWidgetItem* level = editor->findValueItem(QStringLiteral("pastrel.logger.level"));
    ASSERT_NE(level, nullptr);
    EXPECT_EQ(level->text(0), QStringLiteral("DEBUG"));
    QTreeWidget* view = editor->view();
    const QPoint centre = view->visualItemRect(level).center();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, centre);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, centre);
    auto* line = qobject_cast<QLineEdit*>(view->indexWidget(view->currentIndex()));
    ASSERT_NE(line, nullptr) << "no in-place editor opened";
    line->selectAll();
    QTest::keyClicks(line, QStringLiteral("INFO"));
    QTest::keyClick(line, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(level->text(0), QStringLiteral("INFO"));
    EXPECT_TRUE(editor->isModified());
    EXPECT_BYTES(kConf, readFile(path)); // nothing saved before the window closes
    editor->close();
    EXPECT_TRUE(editor->isSaved());
    EXPECT_BYTES(kConfSavedWithInfo, readFile(path));
}

// Choice (configeditor.h): an edit still open when the window closes is committed and saved.
TEST_F(Editor, OpenEditIsCommittedWhenTheWindowCloses) {
    QTreeWidgetItem* level = editor->findValueItem(QStringLiteral("pastrel.logger.level"));
    ASSERT_NE(level, nullptr);
    editor->view()->setCurrentItem(level);
    editor->view()->editItem(level, 0);
    auto* line =
        qobject_cast<QLineEdit*>(editor->view()->indexWidget(editor->view()->currentIndex()));
    ASSERT_NE(line, nullptr);
    line->setText(QStringLiteral("INFO"));
    editor->close();
    EXPECT_BYTES(kConfSavedWithInfo, readFile(path));
}

// Choice (configeditor.h): closing without a change neither saves nor touches the file.
TEST_F(Editor, CloseWithoutChangesDoesNotSave) {
    editor->close();
    EXPECT_FALSE(editor->isSaved());
    EXPECT_BYTES(kConf, readFile(path));
}

// findValueItem follows the key as Part 4.1's lookup does; a group or a missing key has none.
TEST_F(Editor, FindValueItemFollowsTheKey) {
    QTreeWidgetItem* width = editor->findValueItem(QStringLiteral("pastrel.receiptdoc.paperWidth"));
    ASSERT_NE(width, nullptr);
    EXPECT_EQ(width->text(0), QStringLiteral("40"));
    EXPECT_EQ(editor->findValueItem(QStringLiteral("pastrel.logger")), nullptr);
    EXPECT_EQ(editor->findValueItem(QStringLiteral("pastrel")), nullptr);
    EXPECT_EQ(editor->findValueItem(QStringLiteral("pastrel.db.hostname")), nullptr);
    EXPECT_EQ(editor->findValueItem(QString()), nullptr);
    EXPECT_FALSE(editor->editValue(QStringLiteral("pastrel.nothing.here"), QStringLiteral("x")));
    EXPECT_FALSE(editor->isModified());
}

// An empty configuration opens an empty window that saves nothing.
TEST(EditorEmpty, EmptyConfigurationShowsNoItemsAndSavesNothing) {
    ensureApplication();
    TempHome home;
    const QString path = home.file(QStringLiteral("pastrel.conf"));
    ASSERT_TRUE(writeFile(path, "just some words, no settings"));
    libconfig::Config config(path, QStringLiteral("cfg"));
    ConfigEditor editor(&config, config.buildConfigListView());
    editor.show();
    EXPECT_EQ(editor.view()->topLevelItemCount(), 0);
    EXPECT_EQ(editor.findValueItem(QStringLiteral("pastrel.logger.level")), nullptr);
    editor.close();
    EXPECT_BYTES("just some words, no settings", readFile(path));
}

} // namespace
