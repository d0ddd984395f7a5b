// Test helpers shared by every suite: readable byte dumps, a temporary home with a
// configuration file, and the built program run as the suite runs it.
#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>
#include <string>

// GoogleTest prints QString values as text, and QByteArray values as a short size note.
inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray& bytes, std::ostream* os) {
    *os << bytes.size() << " bytes";
}

namespace testsupport {

// Bytes with every control byte and non-ASCII byte made visible: "\x1b" "i" reads "\x1bi",
// line feeds read "\n" and start a new dump line, so a diff shows where lines differ.
std::string escaped(const QByteArray& bytes);

// Byte-exact comparison that prints both sides escaped on failure.
::testing::AssertionResult bytesEqual(const QByteArray& expected, const QByteArray& actual);
#define EXPECT_BYTES(expected, actual) EXPECT_TRUE(::testsupport::bytesEqual((expected), (actual)))

QByteArray readFile(const QString& path);
bool writeFile(const QString& path, const QByteArray& bytes);

// A temporary folder used as HOME; writeConfig() puts text at .pastrel/conf/pastrel.conf.
class TempHome {
public:
    TempHome();
    QString path() const { return m_dir.path(); }
    QString file(const QString& name) const { return m_dir.filePath(name); }
    QString configPath() const;
    void writeConfig(const QByteArray& text) const;

private:
    QTemporaryDir m_dir;
};

// Result of one run of a program.
struct Run {
    int exitCode = -1;
    bool crashed = false;
    bool finished = false;
    QByteArray out;
    QByteArray err;
};

// Runs program with arguments, HOME set to home (unset when home is empty), in the working
// directory workDir (home when empty), with extra environment, killed after timeoutMs.
Run runProgram(const QString& program, const QStringList& arguments, const QString& home,
               const QProcessEnvironment& extra = QProcessEnvironment(),
               const QString& workDir = QString(), int timeoutMs = 30000);

// The built pastrel-print.
QString printProgram();

// Checks what Part 1.1 promises for every run of pastrel-print: it ends, without crashing, with
// exit status 0 (EXPECTs: the caller's test goes on). Returns run.
Run expectEndsWithStatusZero(const Run& run);

// Runs pastrel-print as the suite does, with expectEndsWithStatusZero.
Run runPrint(const QStringList& arguments, const QString& home,
             const QProcessEnvironment& extra = QProcessEnvironment());

} // namespace testsupport
