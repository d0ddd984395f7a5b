// Fiscal printers (RT): the real pastrel-print against an RT stand-in on 127.0.0.1 in either
// dialect, as a till runs it.
//
// Golden requests: every folder tests/fiscal/<case>-epson or <case>-custom is one case.
//   input.xml      the document (@PORT@: the stand-in's port)
//   pastrel.conf   the configuration
//   output         the output argument (default: the stand-in's http://127.0.0.1:PORT)
//   request.xml    the document's request as the RT must receive it, written by hand; a run
//                  with a file output must write the same request there
//   journal        the last journal line's outcome, RT number, Z number, amount and RT status
//                  (tab-separated); without it the run must write no journal line
#include "commercialdocument.h"
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

    // A file output receives the same request, and no RT is asked.
    const QString file = home.file(QStringLiteral("request.xml"));
    EXPECT_EQ(testsupport::runPrint({input, file}, home.path()).out, "");
    EXPECT_BYTES(read("request.xml"), readFile(file));
    EXPECT_EQ(rt.documents().size(), 1);
}

INSTANTIATE_TEST_SUITE_P(Fiscal, GoldenRequest, ::testing::ValuesIn(caseNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

// A till with an RT of the given dialect and one fiscal document.
class Till {
public:
    Till(RtStandIn::Dialect dialect, const QByteArray& extraSettings = QByteArray()) {
        home.writeConfig(
            "pastrel : { printer : { model = \"" +
            QByteArray(dialect == RtStandIn::Dialect::Epson ? "rt-epson" : "rt-custom") +
            "\"; timeout = \"1\"; user = \"cassa\"; password = \"segreta\"; " + extraSettings +
            " }; };");
    }
    testsupport::Run print(const QString& output, const QByteArray& rows) {
        const QString input = home.file(QStringLiteral("input.xml"));
        testsupport::writeFile(input, "<document><method name=\"printAbstractOrderFiscal\"/>" +
                                          rows + "</document>");
        return testsupport::runPrint({input, output}, home.path());
    }
    testsupport::Run config(const QStringList& arguments) {
        return testsupport::runProgram(QStringLiteral(PASTREL_CONFIG_TOOL), arguments, home.path());
    }
    testsupport::TempHome home;
};

const QByteArray kReceipt = "<receipe_type department=\"1\" name=\"Cucina\" price=\"52.00\"/>"
                            "<receipe_type department=\"2\" name=\"Bevande\" price=\"17.00\"/>"
                            "<total price=\"69.00\"/>";

// The answer to a receipt is lost. The run asks the RT and decides; when the RT does not tell
// either, the till's next run of the same document decides it first. Either way, a till that
// prints the document again after "Unable To Open File" ends with exactly one receipt.
struct LostAnswer {
    const char* name;
    RtStandIn::Dialect dialect;
    RtStandIn::Fault fault;
    int silentQueries; // status queries left unanswered after the drop
    bool issued;       // by the first run
};

class LostAnswerCase : public ::testing::TestWithParam<LostAnswer> {};

TEST_P(LostAnswerCase, DecidedByTheRtNeverTwice) {
    const LostAnswer& c = GetParam();
    RtStandIn rt(c.dialect);
    rt.setFault(c.fault, 2500, c.silentQueries); // late: well past the one-second timeout
    Till till(c.dialect);
    const testsupport::Run run = till.print(rt.url(), kReceipt);
    EXPECT_EQ(rt.documents().size(), 1);
    const QByteArray number = c.dialect == RtStandIn::Dialect::Epson ? "1" : "0001";
    if (c.silentQueries > 0) {
        EXPECT_EQ(run.out, kUnableToOpen);
        EXPECT_TRUE(run.err.contains("does not tell its last document")) << run.err.constData();
        EXPECT_EQ(journalTail(till.home).split('\t').value(0), "unknown");
        const testsupport::Run again = till.print(rt.url(), kReceipt);
        EXPECT_EQ(again.out, "");
        EXPECT_EQ(again.err.contains("in an earlier run whose answer was lost: not issued again"),
                  c.issued)
            << again.err.constData();
    } else if (c.issued) {
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.contains("issued receipt number " + number + ' ') &&
                    run.err.contains("found on the RT after its answer was lost"))
            << run.err.constData();
        EXPECT_EQ(journalTail(till.home).split('\t').value(0), "issued");
    } else {
        EXPECT_EQ(run.out, kUnableToOpen);
        EXPECT_TRUE(run.err.contains("so this receipt was not issued")) << run.err.constData();
        EXPECT_EQ(journalTail(till.home).split('\t').value(0), "not-issued");
        EXPECT_TRUE(rt.receipts().isEmpty());
        EXPECT_EQ(till.print(rt.url(), kReceipt).out, "");
    }
    ASSERT_EQ(rt.receipts().size(), 1);
    EXPECT_EQ(rt.receipts()[0].total, 6900);
    EXPECT_EQ(journalTail(till.home),
              "issued\t" + number + '\t' + number + "\t69.00\t" +
                  (c.dialect == RtStandIn::Dialect::Epson ? "20110" : "00000"));
}

INSTANTIATE_TEST_SUITE_P(
    Fiscal, LostAnswerCase,
    ::testing::Values(LostAnswer{"DroppedAfterIssuingEpson", RtStandIn::Dialect::Epson,
                                 RtStandIn::Fault::DropIssued, 0, true},
                      LostAnswer{"DroppedAfterIssuingCustom", RtStandIn::Dialect::Custom,
                                 RtStandIn::Fault::DropIssued, 0, true},
                      LostAnswer{"DroppedBeforeIssuingEpson", RtStandIn::Dialect::Epson,
                                 RtStandIn::Fault::DropNotIssued, 0, false},
                      LostAnswer{"DroppedBeforeIssuingCustom", RtStandIn::Dialect::Custom,
                                 RtStandIn::Fault::DropNotIssued, 0, false},
                      LostAnswer{"AnsweredTooLateCustom", RtStandIn::Dialect::Custom,
                                 RtStandIn::Fault::AnswerLate, 0, true},
                      LostAnswer{"IssuedThenSilentDecidedNextRunEpson", RtStandIn::Dialect::Epson,
                                 RtStandIn::Fault::DropIssued, 1, true},
                      LostAnswer{"NotIssuedThenSilentDecidedNextRunCustom",
                                 RtStandIn::Dialect::Custom, RtStandIn::Fault::DropNotIssued, 1,
                                 false}),
    [](const ::testing::TestParamInfo<LostAnswer>& info) { return std::string(info.param.name); });

// A receipt the RT cannot take as the document gives it is refused before anything is sent.
struct Invalid {
    const char* name;
    const char* rows;
    const char* reason; // part of the line on standard error
};

class InvalidReceipt : public ::testing::TestWithParam<Invalid> {};

TEST_P(InvalidReceipt, RtSeesNoRequest) {
    const Invalid& c = GetParam();
    RtStandIn rt(RtStandIn::Dialect::Epson);
    Till till(RtStandIn::Dialect::Epson);
    const testsupport::Run run = till.print(rt.url(), c.rows);
    EXPECT_EQ(run.out, kUnableToOpen);
    EXPECT_TRUE(run.err.contains(c.reason)) << run.err.constData();
    EXPECT_TRUE(rt.requests().isEmpty());
    EXPECT_EQ(journalTail(till.home).split('\t').value(0), "not-sent");
}

INSTANTIATE_TEST_SUITE_P(
    Fiscal, InvalidReceipt,
    ::testing::Values(
        Invalid{"PriceNotAnAmount",
                "<receipe_type department=\"1\" name=\"A\" price=\"7,0x\"/><total price=\"7.00\"/>",
                "the price \"7,0x\" is not an amount"},
        Invalid{"PriceWithThreeDecimals",
                "<receipe_type department=\"1\" name=\"A\" price=\"12.505\"/>"
                "<total price=\"12.50\"/>",
                "the price \"12.505\" is not an amount"},
        Invalid{
            "SalesDoNotMatchTotal",
            "<receipe_type department=\"1\" name=\"A\" price=\"52.00\"/>"
            "<receipe_type department=\"2\" name=\"B\" price=\"17.00\"/><total price=\"70.00\"/>",
            "the sales add up to 69.00, the total says 70.00"},
        Invalid{"EmptyReceipt", "<total price=\"7.00\"/>", "the receipt has no sale with a price"},
        Invalid{"NoTotal", "<receipe_type department=\"1\" name=\"A\" price=\"7.00\"/>",
                "the document has no total"},
        Invalid{"DocumentCutShort",
                "<receipe_type department=\"1\" name=\"A\" price=\"7.00\"/><total price=\"7.00\"/",
                "not sent: the document ended before its end"},
        Invalid{"SaleAfterTotal",
                "<receipe_type department=\"1\" name=\"A\" price=\"7.00\"/><total price=\"7.00\"/>"
                "<receipe_type department=\"1\" name=\"B\" price=\"1.00\"/>",
                "sale 2 (\"B\"): comes after the total"},
        Invalid{"DescriptionTooLong",
                "<receipe_type department=\"1\" name=\"Spaghetti alla chitarra con vongole e bot\" "
                "price=\"7.00\"/><total price=\"7.00\"/>",
                "longer than the RT's 38 characters"},
        Invalid{"DescriptionControlCharacter",
                "<receipe_type department=\"1\" name=\"A&#9;B\" price=\"7.00\"/>"
                "<total price=\"7.00\"/>",
                "the character U+0009"},
        Invalid{
            "DepartmentOutOfRange",
            "<receipe_type department=\"100\" name=\"A\" price=\"7.00\"/><total price=\"7.00\"/>",
            "the department \"100\" is not a reparto 1-99"},
        Invalid{"RateWithoutTable",
                "<receipe_type department=\"22%\" name=\"A\" price=\"7.00\"/>"
                "<total price=\"7.00\"/>",
                "the VAT rate \"22%\" has no reparto"},
        Invalid{"CardAboveTotal",
                "<receipe_type department=\"1\" name=\"A\" price=\"7.00\"/>"
                "<total price=\"7.00\" card=\"9.00\"/>",
                "other than cash add up to 9.00"}),
    [](const ::testing::TestParamInfo<Invalid>& info) { return std::string(info.param.name); });

// The RT refuses, or cannot be reached: the suite's line, the reason in words, nothing issued.
struct Refusal {
    const char* name;
    RtStandIn::Dialect dialect;
    const char* settings;
    const char* reason;
    const char* outcome;
};

class RtRefusal : public ::testing::TestWithParam<Refusal> {};

TEST_P(RtRefusal, NothingIssuedAndReasonSaid) {
    const Refusal& c = GetParam();
    RtStandIn rt(c.dialect);
    rt.requireLogin("cassa", "segreta");
    if (std::string(c.name) == "PaperEnd")
        rt.setFault(RtStandIn::Fault::PaperEnd);
    rt.refuseDepartment(2);
    QString output = rt.url();
    if (std::string(c.name) == "RtSwitchedOff") {
        RtStandIn gone(c.dialect);
        output = gone.url(); // its port is closed once it is gone
    }
    Till till(c.dialect, c.settings);
    const QByteArray rows = std::string(c.name) == "RepartoRefused"
                                ? kReceipt
                                : QByteArray("<receipe_type department=\"1\" name=\"A\" "
                                             "price=\"7.00\"/><total price=\"7.00\"/>");
    const testsupport::Run run = till.print(output, rows);
    EXPECT_EQ(run.out, kUnableToOpen);
    EXPECT_TRUE(run.err.contains(c.reason)) << run.err.constData();
    EXPECT_TRUE(rt.receipts().isEmpty());
    EXPECT_EQ(journalTail(till.home).split('\t').value(0), c.outcome);
}

INSTANTIATE_TEST_SUITE_P(
    Fiscal, RtRefusal,
    ::testing::Values(Refusal{"PaperEnd", RtStandIn::Dialect::Epson, "",
                              "paper end: put a new roll in the RT", "refused"},
                      Refusal{"RepartoRefused", RtStandIn::Dialect::Custom, "",
                              "the RT does not take this reparto", "refused"},
                      Refusal{"WrongPassword", RtStandIn::Dialect::Custom,
                              "password = \"sbagliata\";",
                              "the RT refused the user name or password", "refused"},
                      Refusal{"RtSwitchedOff", RtStandIn::Dialect::Epson, "",
                              "the RT cannot be reached", "not-sent"}),
    [](const ::testing::TestParamInfo<Refusal>& info) { return std::string(info.param.name); });

TEST(Fiscal, ChunkedAnswersAreRead) {
    RtStandIn rt(RtStandIn::Dialect::Custom);
    rt.setChunkedAnswers(true);
    Till till(RtStandIn::Dialect::Custom);
    const testsupport::Run run = till.print(rt.url(), kReceipt);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.contains("issued receipt number 0001 (Z 0001), 69.00 euro\n"))
        << run.err.constData();
    EXPECT_EQ(rt.receipts().size(), 1);
}

TEST(Fiscal, NonFiscalDocumentLongerThanTheRtTakesIsRefused) {
    RtStandIn rt(RtStandIn::Dialect::Epson);
    Till till(RtStandIn::Dialect::Epson);
    QByteArray rows;
    for (int i = 0; i < 5001; ++i)
        rows += "<receipe number=\"1\" name=\"Acqua\" price=\"1.00\" totalPrice=\"1.00\"/>";
    const QString input = till.home.file(QStringLiteral("long.xml"));
    testsupport::writeFile(input,
                           "<document><method name=\"printFullOrder\"/>" + rows + "</document>");
    const testsupport::Run run = testsupport::runPrint({input, rt.url()}, till.home.path());
    EXPECT_EQ(run.out, kUnableToOpen);
    EXPECT_TRUE(run.err.contains("not sent: longer than 5000 lines")) << run.err.constData();
    EXPECT_TRUE(rt.documents().isEmpty());
}

TEST(Fiscal, ClosureIsNoMethodOfOtherPrinters) {
    testsupport::TempHome home;
    home.writeConfig("pastrel : { printer : { model = \"escpos\"; }; };");
    const QString input = home.file(QStringLiteral("input.xml"));
    testsupport::writeFile(input, "<document><method name=\"printFiscalClosure\"/></document>");
    const testsupport::Run run =
        testsupport::runPrint({input, home.file(QStringLiteral("out.prn"))}, home.path());
    EXPECT_EQ(run.out, QByteArray("File Format Not Supported\n"));
}

TEST(Fiscal, ConfigToolTellsLastOperationAndRtState) {
    RtStandIn rt(RtStandIn::Dialect::Epson);
    Till till(RtStandIn::Dialect::Epson);
    EXPECT_EQ(till.config({QStringLiteral("fiscal"), QStringLiteral("last")}).exitCode, 1);
    ASSERT_EQ(till.print(rt.url(), kReceipt).out, "");

    const testsupport::Run last = till.config({QStringLiteral("fiscal"), QStringLiteral("last")});
    EXPECT_EQ(last.exitCode, 0);
    const QList<QByteArray> fields = last.out.trimmed().split('\t');
    ASSERT_EQ(fields.size(), 8) << last.out.constData();
    EXPECT_EQ(fields[1], rt.url().toUtf8());
    EXPECT_EQ(fields[2], till.home.file(QStringLiteral("input.xml")).toUtf8());
    EXPECT_EQ(fields.mid(3).join('\t'), "issued\t1\t1\t69.00\t20110");

    // Without an address: the RT of the last operation.
    const testsupport::Run status =
        till.config({QStringLiteral("fiscal"), QStringLiteral("status")});
    EXPECT_EQ(status.exitCode, 0);
    EXPECT_EQ(status.out, "RT " + rt.url().toUtf8() +
                              ": ready\nlast document: number 1, Z 1, 69.00\nprinter status: "
                              "20110\n");
}

// pastrel-preview draws a receipt request as the documento commerciale the RT will print.
TEST(Fiscal, PreviewDrawsCommercialDocument) {
    const QString folder = kCases + QStringLiteral("rates-and-payments-custom/");
    const QByteArray request = readFile(folder + QStringLiteral("request.xml"));
    fiscal::DepartmentTable departments;
    QString error;
    ASSERT_TRUE(departments.parse(QStringLiteral("22=1, 10=2, 4=3"), &error));
    EXPECT_BYTES(readFile(folder + QStringLiteral("document.txt")),
                 fiscal::commercialDocument(request, departments, 40).join('\n').toUtf8() + '\n');

    testsupport::TempHome home;
    const QString picture = home.file(QStringLiteral("receipt.png"));
    const testsupport::Run run =
        testsupport::runProgram(QStringLiteral(PASTREL_PREVIEW),
                                {folder + QStringLiteral("request.xml"), picture}, home.path());
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_TRUE(QFile::exists(picture));
}

} // namespace
