// Golden documents: every folder tests/documents/<document>/<behaviour>/ that holds input.xml is
// one case, run through the built program as a till runs it (a temporary HOME of its own).
//   input.xml        the document
//   expected.prn     the exact output bytes, written by hand; without it the run must leave no
//                    output file at all
//   expected.stdout  the exact standard output; without it standard output must be empty
//   pastrel.conf     the configuration, installed as $HOME/.pastrel/conf/pastrel.conf, or
//   config           one line naming a shared configuration tests/documents/configs/<name>.conf;
//                    with neither the run has no configuration file
//   environment      VAR=value lines added to the program's environment
//   arguments        the program's arguments, one a line (default: @INPUT@ and @OUTPUT@)
// Placeholders: @INPUT@ the case's input.xml, @OUTPUT@ the output path in the temporary HOME,
// @PROGRAM@ the program as started, @HOME@ the temporary HOME, @QM_DIR@ the folder of the test
// catalogues built from tests/translations/, @CATALOGUE_DIR@ that of the shipped catalogues.
//
// Every sample of docs/documents.md (a line "<!-- sample: NAME -->", then an xml and a text
// block) must show a golden case's input (its comments aside) and its output as
// scripts/readable prints it.
#include "testsupport.h"

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <string>
#include <vector>

namespace {

using testsupport::readFile;

const QString kDocuments = QStringLiteral(PASTREL_SOURCE_DIR "/tests/documents/");

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    QDirIterator it(kDocuments, {QStringLiteral("input.xml")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        names.push_back(it.next().mid(kDocuments.size()).chopped(10).toStdString());
    std::sort(names.begin(), names.end());
    return names;
}

std::string testName(std::string name) {
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)))
            c = '_';
    return name;
}

TEST(GoldenDocuments, CasesAreFound) {
    EXPECT_GE(caseNames().size(), 10u) << "no golden case under " << kDocuments.toStdString();
}

class GoldenDocument : public ::testing::TestWithParam<std::string> {};

TEST_P(GoldenDocument, RendersExpectedBytes) {
    const QString folder = kDocuments + QString::fromStdString(GetParam()) + QLatin1Char('/');
    testsupport::TempHome home;
    const QString output = home.file(QStringLiteral("out.prn"));
    const auto expand = [&](QByteArray text) {
        return text.replace("@HOME@", home.path().toLocal8Bit())
            .replace("@INPUT@", QFile::encodeName(folder + QStringLiteral("input.xml")))
            .replace("@OUTPUT@", QFile::encodeName(output))
            .replace("@PROGRAM@", QFile::encodeName(testsupport::printProgram()))
            .replace("@QM_DIR@", PASTREL_BINARY_DIR "/tests/translations")
            .replace("@CATALOGUE_DIR@", PASTREL_BINARY_DIR "/translations");
    };
    const QByteArray shared = readFile(folder + QStringLiteral("config")).trimmed();
    const QString confPath = shared.isEmpty()
                                 ? folder + QStringLiteral("pastrel.conf")
                                 : kDocuments + QStringLiteral("configs/") +
                                       QString::fromUtf8(shared) + QStringLiteral(".conf");
    if (QFile::exists(confPath))
        home.writeConfig(expand(readFile(confPath)));
    else
        ASSERT_TRUE(shared.isEmpty()) << "no shared configuration " << shared.constData();

    QProcessEnvironment extra;
    for (const QByteArray& line : readFile(folder + QStringLiteral("environment")).split('\n')) {
        const qsizetype eq = line.indexOf('=');
        if (eq > 0)
            extra.insert(QString::fromLocal8Bit(line.left(eq)),
                         QString::fromLocal8Bit(line.mid(eq + 1)));
    }
    QStringList arguments;
    const QByteArray argumentLines = QFile::exists(folder + QStringLiteral("arguments"))
                                         ? readFile(folder + QStringLiteral("arguments"))
                                         : QByteArray("@INPUT@\n@OUTPUT@\n");
    for (const QByteArray& line : argumentLines.split('\n'))
        if (!line.isEmpty())
            arguments << QString::fromLocal8Bit(expand(line));

    const testsupport::Run run = testsupport::runPrint(arguments, home.path(), extra);
    if (QFile::exists(folder + QStringLiteral("expected.prn")))
        EXPECT_BYTES(readFile(folder + QStringLiteral("expected.prn")), readFile(output));
    else
        EXPECT_FALSE(QFile::exists(output)) << "an output file was made";
    EXPECT_BYTES(expand(readFile(folder + QStringLiteral("expected.stdout"))), run.out);
}

INSTANTIATE_TEST_SUITE_P(Documents, GoldenDocument, ::testing::ValuesIn(caseNames()),
                         [](const auto& info) { return testName(info.param); });

// The first fenced block of language after position from, up to its line end before "```".
QByteArray fencedBlock(const QByteArray& page, qsizetype from, const QByteArray& language) {
    const QByteArray open = "```" + language + "\n";
    const qsizetype start = page.indexOf(open, from);
    const qsizetype body = start + open.size();
    const qsizetype end = start < 0 ? -1 : page.indexOf("\n```", body - 1);
    return end < body ? QByteArray() : page.mid(body, end - body + 1);
}

QByteArray withoutComments(const QByteArray& xml) {
    static const QRegularExpression comment(QStringLiteral("\\n?[ \\t]*<!--.*?-->"),
                                            QRegularExpression::DotMatchesEverythingOption);
    return QString::fromUtf8(xml).remove(comment).toUtf8();
}

QByteArray readable(const QByteArray& bytes) {
    QProcess process;
    process.start(QStringLiteral(PASTREL_SOURCE_DIR "/scripts/readable"), {});
    process.write(bytes);
    process.closeWriteChannel();
    process.waitForFinished();
    return process.readAllStandardOutput();
}

TEST(DocsSamples, EverySampleShowsItsGoldenCase) {
    const QByteArray page = readFile(QStringLiteral(PASTREL_SOURCE_DIR "/docs/documents.md"));
    static const QRegularExpression marker(QStringLiteral("^<!-- sample: ([A-Za-z0-9/_-]+) -->$"),
                                           QRegularExpression::MultilineOption);
    int samples = 0;
    for (auto it = marker.globalMatch(QString::fromUtf8(page)); it.hasNext(); ++samples) {
        const auto match = it.next();
        const qsizetype at = page.indexOf(match.captured(0).toUtf8());
        const QString folder = kDocuments + match.captured(1) + QLatin1Char('/');
        SCOPED_TRACE(match.captured(1).toStdString());
        EXPECT_BYTES(withoutComments(readFile(folder + QStringLiteral("input.xml"))),
                     withoutComments(fencedBlock(page, at, "xml")));
        // A document ends with the end sequence, no line end; the page's block ends with one.
        QByteArray shown = readable(readFile(folder + QStringLiteral("expected.prn")));
        if (!shown.endsWith('\n'))
            shown += '\n';
        EXPECT_BYTES(shown, fencedBlock(page, at, "text"));
    }
    EXPECT_GT(samples, 0);
}

} // namespace
