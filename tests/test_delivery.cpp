// Jobs for network printers and device nodes, and the spool of jobs that wait for them: the real
// pastrel-print and pastrel-config against a printer stand-in on 127.0.0.1.
#include "printerstandin.h"
#include "samplereceipt.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace {

using testsupport::kDrawer;
using testsupport::kEnd;
using testsupport::receiptHead;

const QByteArray kUnableToOpen = "PrintManager::printAbstractOrder(...): Unable To Open File\n";

QByteArray receiptJob(const QByteArray& serial) {
    return receiptHead(serial) + kEnd + kDrawer;
}

class Delivery : public ::testing::Test {
protected:
    explicit Delivery(const QByteArray& printerSettings = "timeout = \"1\";") {
        home.writeConfig("pastrel : { receiptdoc : { openCashDrawer = \"true\"; };"
                         " printer : { " +
                         printerSettings + " }; };");
    }

    // A receipt whose printers element names the stand-in's address, rendered to output.
    testsupport::Run print(const QByteArray& serial, const QString& output,
                           const QByteArray& body = QByteArray(), int timeoutMs = 30000) {
        const QString input = home.file(QStringLiteral("in.xml"));
        testsupport::writeFile(input, "<doc><method name=\"printFullOrderReceipt\"/>"
                                      "<printers ipaddress=\"127.0.0.1\" port=\"" +
                                          port + "\"/><receipt serialnumber=\"" + serial + "\"/>" +
                                          body + "</doc>");
        QProcessEnvironment english; // the system's reasons in English
        english.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
        return testsupport::runPrint({input, output}, home.path(), english, timeoutMs);
    }

    testsupport::Run spool(const QStringList& arguments) {
        return testsupport::runProgram(QStringLiteral(PASTREL_CONFIG_TOOL),
                                       QStringList{QStringLiteral("spool")} + arguments,
                                       home.path());
    }

    QStringList waiting() const {
        return QDir(home.file(QStringLiteral(".pastrel/spool"))).entryList({"*.prn"}, QDir::Files);
    }

    testsupport::TempHome home;
    QByteArray port;
};

TEST_F(Delivery, JobArrivesAtGivenOrDocumentAddress) {
    for (const bool fromDocument : {false, true}) {
        PrinterStandIn printer;
        printer.start();
        port = printer.address().section(QLatin1Char(':'), -1).toLatin1();
        const QString output = fromDocument ? QStringLiteral("socket://") : printer.address();
        const testsupport::Run run = print("1", output);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "");
        EXPECT_BYTES(receiptJob("1"), printer.received());
        EXPECT_TRUE(waiting().isEmpty());
    }
}

// "socket://" takes the document's own printer whatever the method (the three that never look at
// the common blocks included) and wherever the printers element stands; with several, the last.
// The first printers element of each document names a printer that is away: using it would keep
// the job and print "Unable To Open File".
TEST_F(Delivery, DocumentPrinterIsItsLastPrintersElementWhateverTheMethod) {
    const struct {
        const char* method;
        bool printersFirst; // both printers elements before the method element
    } cases[] = {
        {"printAbstractOrder", false},
        {"printAbstractOrderFiscal", false},
        {"printFullOrderFiscal", false},
        {"printPartialOrder", true},
    };
    PrinterStandIn away;
    const QByteArray awayPort = away.address().section(QLatin1Char(':'), -1).toLatin1();
    for (const auto& c : cases) {
        PrinterStandIn printer;
        printer.start();
        const QByteArray printers = "<printers ipaddress=\"127.0.0.1\" port=\"" + awayPort +
                                    "\"/><printers ipaddress=\"127.0.0.1\" port=\"" +
                                    printer.address().section(QLatin1Char(':'), -1).toLatin1() +
                                    "\"/>";
        const QByteArray method = QByteArray("<method name=\"") + c.method + "\"/>";
        const QString input = home.file(QStringLiteral("in.xml"));
        testsupport::writeFile(input,
                               "<doc>" + (c.printersFirst ? printers + method : method + printers) +
                                   "<total price=\"1.00\"/></doc>");
        const testsupport::Run run =
            testsupport::runPrint({input, QStringLiteral("socket://")}, home.path());
        EXPECT_EQ(run.out, "") << c.method;
        EXPECT_EQ(run.err, "") << c.method;
        // None of these prints a row on the company printer: the end of the document alone.
        EXPECT_BYTES(kEnd, printer.received()) << c.method;
        EXPECT_TRUE(waiting().isEmpty()) << c.method;
    }
}

TEST_F(Delivery, JobsWaitWhilePrinterIsAwayAndNextRunSendsThemInOrder) {
    PrinterStandIn printer; // bound, not listening: connections are refused
    for (const QByteArray serial : {"1", "2"}) {
        const testsupport::Run run = print(serial, printer.address());
        EXPECT_EQ(run.out, kUnableToOpen);
        EXPECT_TRUE(run.err.startsWith("pastrel-print: cannot print on " +
                                       printer.address().toLatin1() + ": Connection refused"));
    }
    EXPECT_EQ(waiting().size(), 2);
    EXPECT_EQ(spool({QStringLiteral("list")}).out.count(printer.address().toLatin1()), 2);
    printer.start();
    EXPECT_EQ(print("3", printer.address()).out, "");
    EXPECT_BYTES(receiptJob("1") + receiptJob("2") + receiptJob("3"), printer.received());
    EXPECT_TRUE(waiting().isEmpty());
}

// The bound on a hang: the configured second plus a wide margin, not a speed check.
TEST_F(Delivery, PrinterThatNeverReadsTimesOutAndTheJobWaits) {
    home.writeConfig("pastrel : { receiptdoc : { paperWidth = \"1000\"; };"
                     " printer : { timeout = \"1\"; }; };");
    PrinterStandIn printer(PrinterStandIn::Mode::NeverReads);
    printer.start();
    const testsupport::Run run =
        print("1", printer.address(), QByteArray("<receipt/>").repeated(4000), 11000);
    EXPECT_EQ(run.out, kUnableToOpen);
    EXPECT_TRUE(run.err.contains("the printer took no data for 1000 ms")) << run.err.constData();
    ASSERT_EQ(waiting().size(), 1);
    EXPECT_GT(QFileInfo(home.file(".pastrel/spool/" + waiting()[0])).size(), 4000 * 1000);
}

TEST_F(Delivery, DeviceThatIsMissingOrRefusesKeepsTheJobAndIsNeverCreated) {
    const QString device = QStringLiteral("/dev/pastrel-test-missing-%1").arg(getpid());
    const testsupport::Run run = print("1", device);
    EXPECT_EQ(run.out, kUnableToOpen);
    EXPECT_FALSE(QFile::exists(device));
    ASSERT_EQ(waiting().size(), 1);
    EXPECT_EQ(spool({QStringLiteral("send")}).exitCode, 1);
    const QString id = waiting()[0].section(QLatin1Char('@'), 0, 0);
    EXPECT_EQ(spool({QStringLiteral("list")}).out, id.toLatin1() + "  " +
                                                       QByteArray::number(receiptJob("1").size()) +
                                                       "  " + device.toLatin1() + "\n");
    EXPECT_EQ(spool({QStringLiteral("drop"), id}).exitCode, 0);
    EXPECT_TRUE(waiting().isEmpty());

    const testsupport::Run full = print("2", QStringLiteral("/dev/full")); // refuses every byte
    EXPECT_EQ(full.out, kUnableToOpen);
    EXPECT_TRUE(full.err.startsWith("pastrel-print: cannot print on /dev/full: "));
    EXPECT_EQ(waiting().size(), 1);
}

class Status : public Delivery {
protected:
    // Written as a person may write it: the model is compared trimmed and without case.
    Status() : Delivery("model = \" ESCPOS \";") {}
};

TEST_F(Status, PrinterProblemsAreReportedAfterTheJob) {
    const struct {
        std::map<char, char> answers; // DLE EOT n -> answer
        QByteArray report;
    } cases[] = {
        {{{1, 0x12}, {2, 0x12}, {4, 0x72}}, "paper out"},
        {{{1, 0x1a}, {2, 0x16}, {4, 0x1e}}, "offline, cover open, paper near end"},
        {{{1, 0x12}, {2, 0x12}, {4, 0x12}}, ""},
        {{}, ""}, // a printer that does not answer is not reported on
    };
    for (const auto& row : cases) {
        PrinterStandIn printer(PrinterStandIn::Mode::Reads, row.answers);
        printer.start();
        const testsupport::Run run = print("1", printer.address());
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, row.report.isEmpty() ? QByteArray()
                                                : "pastrel-print: " + printer.address().toLatin1() +
                                                      ": printer reports " + row.report + "\n");
    }
}

} // namespace
