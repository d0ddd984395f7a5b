// Golden documents: every folder under tests/documents/ is one case (qtbase's pattern).
//   input.xml        the document, passed to the program as the suite passes it
//   pastrel.conf     the configuration, installed as $HOME/.pastrel/conf/pastrel.conf
//                    ("@HOME@" stands for the case's temporary HOME, "@QM_DIR@" for the
//                    folder of the test catalogues built from tests/translations/,
//                    "@CATALOGUE_DIR@" for that of the shipped catalogues of translations/,
//                    "@CASE_DIR@" for the case's own folder);
//                    without it the run has no configuration file
//   expected.prn     the exact output bytes, written by hand from the Parts
//   expected.stdout  the exact standard output ("@HOME@" as above); without it standard
//                    output must be empty
//   expected.stderr  when present, the exact standard error ("@HOME@", "@CASE_DIR@" as in
//                    pastrel.conf); without it standard error is not compared
//   environment      optional VAR=value lines added to the program's environment
// A missing expected file fails the case; UPDATE_GOLDEN=1 rewrites them on purpose only.
#include "testsupport.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

namespace {

using testsupport::readFile;

QString documentsDir() {
    return QStringLiteral(PASTREL_SOURCE_DIR "/tests/documents");
}

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    const QDir dir(documentsDir());
    for (const QString& name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        if (QFile::exists(dir.filePath(name + QStringLiteral("/input.xml"))))
            names.push_back(name.toStdString());
    }
    return names;
}

std::string testName(const std::string& folder) {
    std::string name = folder;
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
    return name;
}

class GoldenDocument : public ::testing::TestWithParam<std::string> {};

TEST_P(GoldenDocument, RendersExpectedBytes) {
    const QString folder = documentsDir() + QLatin1Char('/') + QString::fromStdString(GetParam());
    const bool update = qEnvironmentVariableIntValue("UPDATE_GOLDEN") == 1;
    testsupport::TempHome home;

    const QString confPath = folder + QStringLiteral("/pastrel.conf");
    if (QFile::exists(confPath)) {
        QByteArray conf = readFile(confPath);
        conf.replace("@HOME@", home.path().toLocal8Bit());
        conf.replace("@QM_DIR@", PASTREL_BINARY_DIR "/tests/translations");
        conf.replace("@CATALOGUE_DIR@", PASTREL_BINARY_DIR "/translations");
        conf.replace("@CASE_DIR@", folder.toLocal8Bit());
        home.writeConfig(conf);
    }
    QProcessEnvironment extra;
    for (const QByteArray& line : readFile(folder + QStringLiteral("/environment")).split('\n')) {
        const qsizetype eq = line.indexOf('=');
        if (eq > 0)
            extra.insert(QString::fromLocal8Bit(line.left(eq)),
                         QString::fromLocal8Bit(line.mid(eq + 1)));
    }

    const QString output = home.file(QStringLiteral("out.prn"));
    const testsupport::Run run = testsupport::runProgram(
        testsupport::printProgram(), {folder + QStringLiteral("/input.xml"), output}, home.path(),
        extra);
    ASSERT_TRUE(run.finished) << "the program did not end";
    ASSERT_FALSE(run.crashed) << "the program crashed";
    EXPECT_EQ(run.exitCode, 0);
    const QByteArray actual = readFile(output);

    const QString expectedPrn = folder + QStringLiteral("/expected.prn");
    const QString expectedStdout = folder + QStringLiteral("/expected.stdout");
    if (update) {
        testsupport::writeFile(expectedPrn, actual);
        if (!run.out.isEmpty() || QFile::exists(expectedStdout))
            testsupport::writeFile(expectedStdout, run.out);
        GTEST_SKIP() << "UPDATE_GOLDEN=1: expected files rewritten, review the diff";
    }
    ASSERT_TRUE(QFile::exists(expectedPrn)) << "no expected.prn: write it by hand from the Part";
    EXPECT_BYTES(readFile(expectedPrn), actual);
    QByteArray stdoutExpected = readFile(expectedStdout);
    stdoutExpected.replace("@HOME@", home.path().toLocal8Bit());
    EXPECT_BYTES(stdoutExpected, run.out);
    const QString expectedStderr = folder + QStringLiteral("/expected.stderr");
    if (QFile::exists(expectedStderr)) {
        QByteArray stderrExpected = readFile(expectedStderr);
        stderrExpected.replace("@HOME@", home.path().toLocal8Bit());
        EXPECT_BYTES(stderrExpected.replace("@CASE_DIR@", folder.toLocal8Bit()), run.err);
    }
}

INSTANTIATE_TEST_SUITE_P(Documents, GoldenDocument, ::testing::ValuesIn(caseNames()),
                         [](const auto& info) { return testName(info.param); });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(GoldenDocument);

} // namespace
