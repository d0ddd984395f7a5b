// Test helpers shared by every suite: readable byte dumps, a temporary home with a
// configuration file, and the built program run as a till runs it.
#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// GoogleTest prints QString values as text, QByteArray values as their size.
inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray& bytes, std::ostream* os) {
    *os << bytes.size() << " bytes";
}

namespace testsupport {

// Byte-exact comparison; on failure both sides are printed with control and non-ASCII bytes
// made visible ("\x1bi") and a dump line per printed line.
::testing::AssertionResult bytesEqual(const QByteArray& expected, const QByteArray& actual);
#define EXPECT_BYTES(expected, actual) EXPECT_TRUE(::testsupport::bytesEqual((expected), (actual)))

QByteArray readFile(const QString& path);
bool writeFile(const QString& path, const QByteArray& bytes); // makes the folders too

// A temporary folder used as HOME; writeConfig() puts text at .pastrel/conf/pastrel.conf.
class TempHome {
public:
    TempHome() { EXPECT_TRUE(m_dir.isValid()); }
    QString path() const { return m_dir.path(); }
    QString file(const QString& name) const { return m_dir.filePath(name); }
    QString configPath() const { return file(QStringLiteral(".pastrel/conf/pastrel.conf")); }
    void writeConfig(const QByteArray& text) const { EXPECT_TRUE(writeFile(configPath(), text)); }

private:
    QTemporaryDir m_dir;
};

struct Run {
    int exitCode = -1;
    bool crashed = false, finished = false;
    QByteArray out, err;
};

// Runs program with HOME set to home (unset when empty), in home (the temporary folder when none),
// with extra environment, killed after timeoutMs.
Run runProgram(const QString& program, const QStringList& arguments, const QString& home,
               const QProcessEnvironment& extra = QProcessEnvironment(), int timeoutMs = 120000);

QString printProgram(); // the built pastrel-print

// Runs pastrel-print and checks what a till relies on for every run: it ends, without crashing,
// with exit status 0 (EXPECTs, so the test goes on).
Run runPrint(const QStringList& arguments, const QString& home,
             const QProcessEnvironment& extra = QProcessEnvironment(), int timeoutMs = 120000);

} // namespace testsupport
