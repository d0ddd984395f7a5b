// Fiscal printers (RT): the real pastrel-print against an RT stand-in on 127.0.0.1 in either
// dialect, as a till runs it.
//
// Golden requests: every folder tests/fiscal/<case>-epson or <case>-custom is one case.
//   input.xml      the document (@PORT@: the stand-in's port)
//   pastrel.conf   the configuration
//   output         the output argument (default: the stand-in's http://127.0.0.1:PORT)
//   request.xml    the document's request as the RT must receive it, written by hand
//   journal        the last journal line's outcome, RT number, Z number, amount and RT status
//                  (tab-separated); without it the run must write no journal line
#include "rtstandin.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>

namespace {

using testsupport::readFile;

const QString kCases = QStringLiteral(PASTREL_SOURCE_DIR "/tests/fiscal/");
const QByteArray kUnableToOpen = "PrintManager::printAbstractOrder(...): Unable To Open File\n";

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (const QString& name : QDir(kCases).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        names.push_back(name.toStdString());
    return names;
}

RtStandIn::Dialect dialectOf(const QString& name) {
    return name.endsWith(QLatin1String("-custom")) ? RtStandIn::Dialect::Custom
                                                   : RtStandIn::Dialect::Epson;
}

// The journal's last line without its time, printer and document fields.
QByteArray journalTail(const testsupport::TempHome& home) {
    const QList<QByteArray> lines =
        readFile(home.file(QStringLiteral(".pastrel/fiscal/journal"))).split('\n');
    if (lines.size() < 2)
        return QByteArray();
    return lines[lines.size() - 2].split('\t').mid(3).join('\t');
}

class GoldenRequest : public ::testing::TestWithParam<std::string> {};

TEST_P(GoldenRequest, RtReceivesExpectedRequestOnce) {
    const QString name = QString::fromStdString(GetParam());
    const QString folder = kCases + name + QLatin1Char('/');
    RtStandIn rt(dialectOf(name));
    rt.requireLogin("cassa", "segreta");
    const QByteArray port = QByteArray::number(rt.port());
    const auto read = [&](const char* file, QByteArray otherwise = QByteArray()) {
        const QString path = folder + QLatin1String(file);
        return (QFile::exists(path) ? readFile(path) : otherwise).replace("@PORT@", port);
    };
    testsupport::TempHome home;
    home.writeConfig(read("pastrel.conf"));
    const QString input = home.file(QStringLiteral("input.xml"));
    testsupport::writeFile(input, read("input.xml"));
    const QString output = QString::fromUtf8(read("output", rt.url().toUtf8()).trimmed());

    const testsupport::Run run = testsupport::runPrint({input, output}, home.path());
    EXPECT_EQ(run.out, "") << run.err.constData();

    const QVector<QByteArray> documents = rt.documents();
    ASSERT_EQ(documents.size(), 1) << run.err.constData();
    EXPECT_BYTES(read("request.xml"), documents[0]);
    const QByteArray journal = read("journal").trimmed();
    EXPECT_EQ(journalTail(home), journal);
    // A receipt is issued once, for the total of its sales as the RT adds them up.
    if (journal.startsWith("issued")) {
        ASSERT_EQ(rt.receipts().size(), 1);
        const qint64 total = rt.receipts()[0].total;
        EXPECT_EQ(QByteArray::number(total / 100) + '.' +
                      QByteArray::number(total % 100).rightJustified(2, '0'),
                  journal.split('\t').value(3));
        EXPECT_TRUE(run.err.contains("issued receipt number")) << run.err.constData();
    } else {
        EXPECT_TRUE(rt.receipts().isEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(Fiscal, GoldenRequest, ::testing::ValuesIn(caseNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace
