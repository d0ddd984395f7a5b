// Golden documents: every folder tests/documents/<document>/<behaviour>/ holding input.xml is one
// case, run through the built program as a till runs it (a temporary HOME of its own).
//   expected.prn     the exact output bytes, written by hand; without it no output file is made
//   expected.stdout  the exact standard output (none: empty)
//   expected.stderr  the exact standard error (none: not compared)
//   pastrel.conf     the configuration ($HOME/.pastrel/conf/pastrel.conf), or a file `config`
//                    naming a shared tests/documents/configs/<name>.conf (neither: no file)
//   environment      VAR=value lines added to the program's environment
//   arguments        the program's arguments, one a line (default: @INPUT@ and @OUTPUT@)
// Placeholders: @INPUT@ the case's input.xml, @OUTPUT@ the output path in the temporary HOME,
// @PROGRAM@ the program as started, @HOME@ the temporary HOME, @CASE_DIR@ the case's folder,
// @QM_DIR@ the folder of the test catalogues built from tests/translations/, @CATALOGUE_DIR@
// that of the shipped catalogues.
#include "testsupport.h"

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTranslator>

namespace {

using testsupport::readFile;

const QString kDocuments = QStringLiteral(PASTREL_SOURCE_DIR "/tests/documents/");

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (QDirIterator it(kDocuments, {QStringLiteral("input.xml")}, QDir::Files,
                         QDirIterator::Subdirectories);
         it.hasNext();)
        names.push_back(it.next().mid(kDocuments.size()).chopped(10).toStdString());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(GoldenDocuments, CasesAreFound) {
    EXPECT_GE(caseNames().size(), 10u) << "no golden case under " << kDocuments.toStdString();
}

QByteArray readable(const QByteArray& bytes) {
    QProcess process;
    process.start(QStringLiteral(PASTREL_SOURCE_DIR "/scripts/readable"), {});
    process.write(bytes);
    process.closeWriteChannel();
    process.waitForFinished();
    return process.readAllStandardOutput();
}

class GoldenDocument : public ::testing::TestWithParam<std::string> {};

TEST_P(GoldenDocument, RendersExpectedBytes) {
    const QString folder = kDocuments + QString::fromStdString(GetParam()) + QLatin1Char('/');
    testsupport::TempHome home;
    const QString output = home.file(QStringLiteral("out.prn"));
    // A file of the case (or a shared configuration) with its placeholders filled in.
    const auto read = [&](const QString& name, QByteArray otherwise = QByteArray()) {
        const QString path = name.startsWith('/') ? name : folder + name;
        return (QFile::exists(path) ? readFile(path) : otherwise)
            .replace("@HOME@", home.path().toLocal8Bit())
            .replace("@CASE_DIR@", QFile::encodeName(folder.chopped(1)))
            .replace("@INPUT@", QFile::encodeName(folder + QStringLiteral("input.xml")))
            .replace("@OUTPUT@", QFile::encodeName(output))
            .replace("@PROGRAM@", QFile::encodeName(testsupport::printProgram()))
            .replace("@QM_DIR@", PASTREL_BINARY_DIR "/tests/translations")
            .replace("@CATALOGUE_DIR@", PASTREL_BINARY_DIR "/translations");
    };
    const QByteArray shared = read(QStringLiteral("config")).trimmed();
    const QString conf = shared.isEmpty() ? folder + QStringLiteral("pastrel.conf")
                                          : kDocuments + "configs/" + shared + ".conf";
    ASSERT_TRUE(shared.isEmpty() || QFile::exists(conf)) << conf.toStdString();
    if (QFile::exists(conf))
        home.writeConfig(read(conf));
    QProcessEnvironment extra;
    for (const QString& line :
         QString::fromLocal8Bit(read(QStringLiteral("environment"))).split('\n'))
        if (line.indexOf('=') > 0)
            extra.insert(line.section('=', 0, 0), line.section('=', 1));
    QStringList arguments =
        QString::fromLocal8Bit(read(QStringLiteral("arguments"), "@INPUT@\n@OUTPUT@"))
            .split('\n', Qt::SkipEmptyParts);
    const testsupport::Run run = testsupport::runPrint(arguments, home.path(), extra);
    if (QFile::exists(folder + QStringLiteral("expected.prn")))
        EXPECT_BYTES(readFile(folder + QStringLiteral("expected.prn")), readFile(output));
    else
        EXPECT_FALSE(QFile::exists(output)) << "an output file was made";
    EXPECT_BYTES(read(QStringLiteral("expected.stdout")), run.out);
    if (QFile::exists(folder + QStringLiteral("expected.stderr"))) {
        EXPECT_BYTES(read(QStringLiteral("expected.stderr")), run.err);
    }

    // A sample of docs/documents.md naming this case shows its input (comments aside), then its
    // output as scripts/readable prints it, with a line end after the end sequence.
    static const QString page =
        QString::fromUtf8(readFile(QStringLiteral(PASTREL_SOURCE_DIR "/docs/documents.md")));
    static const QRegularExpression comment(QStringLiteral("\\n?[ \\t]*<!--.*?-->"),
                                            QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpression sample(
        "^<!-- sample: " + QRegularExpression::escape(QString::fromStdString(GetParam())) +
            " -->$.*?```xml\n(.*?\n)```.*?```text\n(.*?\n)```",
        QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    if (auto match = sample.match(page); match.hasMatch()) {
        EXPECT_EQ(QString::fromUtf8(readFile(folder + QStringLiteral("input.xml"))).remove(comment),
                  match.captured(1).remove(comment));
        const QByteArray shown = readable(readFile(folder + QStringLiteral("expected.prn")));
        EXPECT_BYTES(shown.endsWith('\n') ? shown : shown + '\n', match.captured(2).toUtf8());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Documents, GoldenDocument, ::testing::ValuesIn(caseNames()), [](const auto& info) {
        static const QRegularExpression other(QStringLiteral("[^A-Za-z0-9]"));
        return QString::fromStdString(info.param).replace(other, "_").toStdString();
    });

// The shipped Italian catalogue: every label the renderer and the library print has a
// translation, and each fits the cells its place gives it with the sample configuration's
// widths (examples/home: paper 40, quantity 3, price 8, amount 9).
TEST(ShippedCatalogue, EveryPrintedLabelIsTranslatedAndFitsItsCells) {
    QTranslator catalogue;
    ASSERT_TRUE(
        catalogue.load(QStringLiteral(PASTREL_BINARY_DIR "/translations/pastrel_it_IT.qm")));
    // Column headings ("qdpt": description 19; the statement's description 13, date 15), titles
    // centred on 40, dotted labels within 25, the report's tax and cancelled tables, label lines
    // with room for a 16-cell value, payment and period lines with room for their value.
    // clang-format off
    const std::pair<const char*, int> labels[] = {
        {"Num", 3}, {"Description", 13}, {"Price", 8}, {"Amount", 9}, {"Date", 15}, {"TOTAL", 11},
        {"Taxable", 19}, {"TaxRate", 19}, {"Tax", 19}, {"Number", 25}, {"Serials", 25},
        {"SUMMARIES", 40}, {"PREFISCAL SUMMARY", 40}, {"RECEIPTS SUMMARY", 40},
        {"INVOICES SUMMARY", 40}, {"CANCELLED DOC SUMMARY", 40}, {"TAXRATE", 6}, {"TAXABLE", 10},
        {"TAX", 10}, {"AMOUNT", 10}, {"SERIAL", 10}, {"    Amount not paid: ", 30},
        {"Amount not paid: ", 30}, {"Cash: ", 30}, {"Credit Card: ", 30}, {"Bancomat: ", 30},
        {"Other: ", 30}, {"BeginDate: ", 24}, {"EndDate: ", 24}, {"Serial Number: ", 23},
        {"Invoice Number:", 22}, {"Delivery Number:", 22}, {"Telephone:", 22},
        {"License Number:", 22}, {"Fiscal Code:", 22}, {"Date:", 22}, {"Time:", 22},
        {"Table:", 22}, {"Waiter:", 22}, {"Note:", 22}, {"Credit:", 22}, {"CUSTOMER", 40},
        {"SALE", 13}, {"PAYMENT", 13}, {"PaperWindow", 40}, {"Insert a new sheet", 40}};
    // clang-format on
    for (const auto& [label, cells] : labels) {
        const QString translation = catalogue.translate("QObject", label);
        EXPECT_FALSE(translation.isEmpty()) << label;
        EXPECT_LE(translation.size(), cells) << label << " -> " << translation.toStdString();
    }
}

} // namespace
