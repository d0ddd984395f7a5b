#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <cstdio>

namespace testsupport {

static std::string escaped(const QByteArray& bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02x", u);
        out += c == '\n'                 ? "\\n\n"
               : c == '\\'               ? "\\\\"
               : (u < 0x20 || u >= 0x7f) ? hex
                                         : std::string(1, c);
    }
    return out;
}

::testing::AssertionResult bytesEqual(const QByteArray& expected, const QByteArray& actual) {
    if (expected == actual)
        return ::testing::AssertionSuccess();
    qsizetype at = 0;
    while (at < expected.size() && at < actual.size() && expected[at] == actual[at])
        ++at;
    return ::testing::AssertionFailure()
           << "bytes differ at offset " << at << " (expected " << expected.size() << " bytes, got "
           << actual.size() << ")\n--- expected\n"
           << escaped(expected) << "\n--- actual\n"
           << escaped(actual) << "\n---";
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

Run runProgram(const QString& program, const QStringList& arguments, const QString& home,
               const QProcessEnvironment& extra, int timeoutMs) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("HOME"));
    if (!home.isEmpty())
        environment.insert(QStringLiteral("HOME"), home);
    for (const QString& key : extra.keys())
        environment.insert(key, extra.value(key));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(home.isEmpty() ? QDir::tempPath() : home);
    process.start(program, arguments);
    Run run;
    if (!process.waitForStarted(timeoutMs))
        return run;
    process.closeWriteChannel();
    run.finished = process.waitForFinished(timeoutMs);
    if (!run.finished) {
        process.kill();
        process.waitForFinished();
    }
    run.crashed = process.exitStatus() == QProcess::CrashExit;
    run.exitCode = process.exitCode();
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

QString printProgram() {
    return QStringLiteral(PASTREL_PRINT);
}

Run runPrint(const QStringList& arguments, const QString& home, const QProcessEnvironment& extra,
             int timeoutMs) {
    const Run run = runProgram(printProgram(), arguments, home, extra, timeoutMs);
    EXPECT_TRUE(run.finished && !run.crashed && run.exitCode == 0)
        << "finished " << run.finished << ", crashed " << run.crashed << ", status "
        << run.exitCode;
    return run;
}

} // namespace testsupport
