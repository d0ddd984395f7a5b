#include "configtool.h"

#include "configcommands.h"
#include "configeditor.h"
#include "logotool.h"
#include "paconfiguration.h"
#include "spooltool.h"
#include "syncsingleton.h"

#include <QApplication>
#include <QByteArray>
#include <QFile>
#include <QList>
#include <QTimer>
#include <QTreeWidget>

#include <iostream>

namespace {

const char kUsage[] = "usage: pastrel-config show | get KEY | set KEY VALUE | check | edit | "
                      "logo IMAGE [RASTER] | spool list|send|drop";
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

// Runs the test hook's script on the shown editor; false at the first line that fails.
bool runScript(ConfigEditor& editor, const QByteArray& script) {
    int number = 0;
    for (const QByteArray& raw : script.split('\n')) {
        ++number;
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty())
            continue;
        const QString command = line.section(QLatin1Char(' '), 0, 0);
        bool ok = false;
        if (command == QLatin1String("set")) {
            const QString rest = line.section(QLatin1Char(' '), 1);
            const QString key = rest.section(QLatin1Char(' '), 0, 0);
            ok = !key.isEmpty() && editor.editValue(key, rest.section(QLatin1Char(' '), 1));
        } else if (command == QLatin1String("grab")) {
            ok = editor.grabTo(line.section(QLatin1Char(' '), 1));
        } else if (command == QLatin1String("close")) {
            return true;
        }
        if (!ok) {
            std::cerr << "pastrel-config: script line " << number << " failed: " << raw.constData()
                      << std::endl;
            return false;
        }
    }
    return true;
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

    int status = 0;
    const QString scriptPath = qEnvironmentVariable("PASTREL_CONFIG_EDIT_SCRIPT");
    if (!scriptPath.isEmpty()) {
        QTimer::singleShot(0, &editor, [&editor, &status, scriptPath]() {
            QFile file(scriptPath);
            if (!file.open(QIODevice::ReadOnly) || !runScript(editor, file.readAll()))
                status = 1;
            editor.close();
        });
    }
    const int result = QApplication::exec();
    return status != 0 ? status : result;
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
    if (command == "edit" && argc == 2)
        return edit(argc, argv);
    if (command == "logo" && (argc == 3 || argc == 4))
        return convertLogo(QFile::decodeName(argv[2]),
                           argc == 4 ? QFile::decodeName(argv[3]) : QString());
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
