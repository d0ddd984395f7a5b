#include "configtool.h"

#include "configcommands.h"
#include "configeditor.h"
#include "firstrun.h"
#include "fiscaltool.h"
#include "logotool.h"
#include "paconfiguration.h"
#include "spooltool.h"
#include "syncsingleton.h"
#include "testpage.h"

#include <QApplication>
#include <QByteArray>
#include <QFile>
#include <QTreeWidget>

#include <iostream>

namespace {

const char kUsage[] = "usage: pastrel-config show | get KEY | set KEY VALUE | check | edit | "
                      "logo IMAGE [RASTER] | spool list|send|drop | fiscal last|status | "
                      "init [--force] MODEL | init --list | test-page [--drawer] OUTPUT";
const char kHelp[] =
    "The till's configuration, $HOME/.pastrel/conf/pastrel.conf:\n"
    "  show            the settings as an indented tree\n"
    "  get KEY         one value (an empty line when the key is missing)\n"
    "  set KEY VALUE   set one value, creating missing groups, and rewrite the file\n"
    "  check           list keys nothing reads, flags not written exactly true, and a\n"
    "                  catalogue or logo that cannot be found; status 1 when it finds any\n"
    "  edit            change values in a window\n"
    "  logo IMAGE [RASTER]  convert the shop's logo for the ESC/POS printer\n"
    "  spool list | send | drop JOB...|all  the jobs waiting for a printer\n"
    "  fiscal last     the last fiscal operation of the journal\n"
    "  fiscal status [http://HOST[:PORT]]  the fiscal printer's state and last document\n"
    "  init [--force] MODEL  start the file from the sample for the printer MODEL\n"
    "                  (init --list names them); --force replaces an existing file\n"
    "  test-page [--drawer] OUTPUT  print a test page (model, columns, code page, a\n"
    "                  ruler, the Italian letters and the euro sign, bold and tall text,\n"
    "                  the cut) on a file, a /dev node or socket://HOST[:PORT]; --drawer\n"
    "                  also opens the cash drawer\n"
    "  --help, --version\n"
    "See pastrel-config(1).";

int usageError() {
    std::cerr << kUsage << std::endl;
    return 2;
}

void printLatin1Line(const QString& text) {
    const QByteArray bytes = text.toLatin1();
    std::cout.write(bytes.constData(), bytes.size());
    std::cout << std::endl;
}

bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") ||
           !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// The words after the command: the one option it allows (anywhere, once), and the single other
// word. Another word starting with "--" is a mistyped option, not a file name.
bool optionAndWord(int argc, char** argv, const char* option, bool* given, QString* word) {
    int words = 0;
    for (int i = 2; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == option && !*given) {
            *given = true;
        } else if (argument.startsWith("--")) {
            return false;
        } else {
            *word = QFile::decodeName(argv[i]);
            ++words;
        }
    }
    return words == 1;
}

int edit(int& argc, char** argv) {
    if (!hasDisplay()) {
        std::cerr << "pastrel-config: edit needs a display (DISPLAY or WAYLAND_DISPLAY); "
                     "use show or get without one"
                  << std::endl;
        return 1;
    }
    QApplication application(argc, argv);
    PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();
    ConfigEditor editor(configuration, configuration->newConfigListView());
    editor.show();
    return QApplication::exec();
}

} // namespace

int configTool(int argc, char** argv) {
    if (argc < 2 || argv == nullptr || argv[1] == nullptr)
        return usageError();
    const QByteArray command(argv[1]);
    if (command == "show" && argc == 2)
        return showTree();
    if (command == "get" && argc == 3) {
        const QString key = QString::fromLatin1(argv[2]);
        printLatin1Line(SyncSingleton<PAConfiguration>::instance()->getStrValue(key));
        return 0;
    }
    if (command == "set" && argc == 4)
        return setSetting(QString::fromLatin1(argv[2]), QString::fromLatin1(argv[3]));
    if (command == "check" && argc == 2)
        return checkConfiguration();
    if (command == "spool")
        return spoolTool(argc - 1, argv + 1);
    if (command == "fiscal")
        return fiscalTool(argc - 1, argv + 1);
    if (command == "edit" && argc == 2)
        return edit(argc, argv);
    if (command == "logo" && (argc == 3 || argc == 4))
        return convertLogo(QFile::decodeName(argv[2]),
                           argc == 4 ? QFile::decodeName(argv[3]) : QString());
    if (command == "init" && argc == 3 && QByteArray(argv[2]) == "--list")
        return listModels();
    bool option = false;
    QString word;
    if (command == "init" && optionAndWord(argc, argv, "--force", &option, &word))
        return initConfiguration(word, option);
    if (command == "test-page" && optionAndWord(argc, argv, "--drawer", &option, &word))
        return printTestPage(word, option);
    if ((command == "help" || command == "--help" || command == "-h") && argc == 2) {
        std::cout << kUsage << '\n' << kHelp << std::endl;
        return 0;
    }
    if (command == "--version" && argc == 2) {
        std::cout << "pastrel-config " PASTREL_VERSION << std::endl;
        return 0;
    }
    return usageError();
}
