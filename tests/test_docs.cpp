// docs/documents.md: every sample on the page is a golden case (see "Samples are tests" there).
#include "testsupport.h"

#include <QProcess>
#include <QRegularExpression>

#include <string>
#include <vector>

namespace {

using testsupport::readFile;

struct Sample {
    std::string name;
    QByteArray xml;  // the first ```xml block after the marker
    QByteArray text; // the first ```text block after the marker
};

QByteArray fencedBlock(const QByteArray& page, qsizetype from, const QByteArray& language) {
    const QByteArray open = "```" + language + "\n";
    const qsizetype start = page.indexOf(open, from);
    if (start < 0)
        return QByteArray();
    const qsizetype body = start + open.size();
    const qsizetype end = page.indexOf("\n```", body - 1);
    return end < body ? QByteArray() : page.mid(body, end - body + 1);
}

std::vector<Sample> samples() {
    const QByteArray page = readFile(QStringLiteral(PASTREL_SOURCE_DIR "/docs/documents.md"));
    std::vector<Sample> found;
    // A marker is a line of its own: the page's prose quotes `<!-- sample: NAME -->` inline.
    static const QRegularExpression marker(QStringLiteral("^<!-- sample: ([A-Za-z0-9_-]+) -->$"),
                                           QRegularExpression::MultilineOption);
    auto it = marker.globalMatch(QString::fromUtf8(page));
    while (it.hasNext()) {
        const auto match = it.next();
        const qsizetype at = page.indexOf(match.captured(0).toUtf8());
        found.push_back({match.captured(1).toStdString(), fencedBlock(page, at, "xml"),
                         fencedBlock(page, at, "text")});
    }
    return found;
}

QByteArray readable(const QByteArray& bytes) {
    QProcess process;
    process.start(QStringLiteral(PASTREL_SOURCE_DIR "/scripts/readable"), {});
    process.write(bytes);
    process.closeWriteChannel();
    process.waitForFinished();
    return process.readAllStandardOutput();
}

class DocsSamples : public ::testing::TestWithParam<Sample> {};

TEST_P(DocsSamples, PageMatchesGoldenFolder) {
    const Sample& sample = GetParam();
    const QString folder =
        QStringLiteral(PASTREL_SOURCE_DIR "/tests/documents/") + QString::fromStdString(sample.name);
    const QByteArray input = readFile(folder + QStringLiteral("/input.xml"));
    ASSERT_FALSE(input.isEmpty()) << "no golden folder " << folder.toStdString();
    EXPECT_BYTES(input, sample.xml);
    // The block's last line end belongs to the closing fence: a document ends with the cut, the
    // pulse or the drawer, never with a line feed, so the page shows one more than the output has.
    EXPECT_BYTES(readable(readFile(folder + QStringLiteral("/expected.prn"))) + '\n', sample.text);
}

INSTANTIATE_TEST_SUITE_P(Docs, DocsSamples, ::testing::ValuesIn(samples()),
                         [](const auto& info) {
                             std::string name = info.param.name;
                             for (char& c : name)
                                 if (c == '-')
                                     c = '_';
                             return name;
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DocsSamples);

} // namespace
