// Jobs for network printers and device nodes, and the spool of jobs that wait for them: the real
// pastrel-print and pastrel-config against a printer stand-in on 127.0.0.1.
#include "printerstandin.h"
#include "samplereceipt.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <csignal>
#include <ctime>
#include <functional>
#include <thread>

#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
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
    EXPECT_BYTES(receiptJob("1") + receiptJob("2") + receiptJob("3"), printer.received(3));
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

TEST_F(Delivery, StatusAnswersAreTakenOneForEachQuestion) {
    PrinterStandIn::Behaviour twice; // two bytes to each question
    twice.answerTwice = true;
    PrinterStandIn::Behaviour greets; // a byte of its own before any question
    greets.greeting = "\x12";
    const std::map<char, char> paperOut = {{1, 0x12}, {2, 0x12}, {4, 0x72}};
    const struct {
        std::map<char, char> answers; // DLE EOT n -> answer
        QByteArray report;
        PrinterStandIn::Behaviour printer = {};
        QByteArray model = "escpos";
    } cases[] = {
        {paperOut, "paper out"},
        {{{1, 0x1a}, {2, 0x16}, {4, 0x1e}}, "offline, cover open, paper near end"},
        {{{1, 0x12}, {2, 0x12}, {4, 0x12}}, ""},
        {{}, ""}, // a printer that does not answer is not reported on
        {paperOut, "paper out", twice},
        {paperOut, "paper out", greets},
        {paperOut, "paper out", {}, " ESCPOS "}, // the model as the renderer reads it
    };
    for (const auto& row : cases) {
        home.writeConfig("pastrel : { printer : { timeout = \"1\"; model = \"" + row.model +
                         "\"; }; };");
        PrinterStandIn printer(row.printer, row.answers);
        printer.start();
        const testsupport::Run run = print("1", printer.address());
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, row.report.isEmpty() ? QByteArray()
                                                : "pastrel-print: " + printer.address().toLatin1() +
                                                      ": printer reports " + row.report + "\n");
    }
}

// Printers that misbehave after the connection is made. A ticket counts as printed only when the
// printer ended the connection in order after taking all of it, or took every byte and kept the
// connection open; otherwise it waits whole and the next send gives it to the printer once.
struct PrinterFaultRow {
    const char* name;
    PrinterStandIn::Behaviour printer; // on the first connection only
    int receipts;                      // 1000-column receipts after the ticket's own (~1 KB each)
    bool printed;
    QByteArray err; // standard error holds it
};

PrinterStandIn::Behaviour faulty(PrinterStandIn::Fault fault, qsizetype after = 0,
                                 int bytesPerSecond = 0) {
    PrinterStandIn::Behaviour behaviour;
    behaviour.fault = fault;
    behaviour.after = after;
    behaviour.bytesPerSecond = bytesPerSecond;
    behaviour.faultyConnections = 1;
    return behaviour;
}

using Fault = PrinterStandIn::Fault;
const QByteArray kEarly = "the printer ended the connection before taking the whole job";

const PrinterFaultRow kPrinterFaults[] = {
    {"ResetsWithoutReading", faulty(Fault::Reset), 0, false, "Connection reset by peer"},
    {"ClosesAfterTenBytes", faulty(Fault::Close, 10), 0, false, kEarly},
    {"StallsAfterFourKilobytes", faulty(Fault::Stall, 4096), 60, false, "took no data for 1000 ms"},
    {"CrawlsAtTenKilobytesASecondThroughTwentyKilobytes", faulty(Fault::None, 0, 10240), 20, true,
     ""},
    {"TakesEveryByteButNeverCloses", faulty(Fault::NeverCloses), 0, true,
     "kept the connection open; counted as printed"},
};

class PrinterFault : public Delivery, public ::testing::WithParamInterface<PrinterFaultRow> {};

TEST_P(PrinterFault, TicketPrintsOnce) {
    const PrinterFaultRow& row = GetParam();
    home.writeConfig("pastrel : { receiptdoc : { openCashDrawer = \"true\"; paperWidth = "
                     "\"1000\"; }; printer : { timeout = \"1\"; }; };");
    const QByteArray body = QByteArray("<receipt/>").repeated(row.receipts);
    print("1", home.file(QStringLiteral("plain.prn")), body);
    const QByteArray job = testsupport::readFile(home.file(QStringLiteral("plain.prn")));
    ASSERT_GE(job.size(), row.receipts * 1000);
    PrinterStandIn printer(row.printer);
    printer.start();
    const testsupport::Run run = print("1", printer.address(), body);
    EXPECT_TRUE(run.err.contains(row.err)) << run.err.constData();
    printer.received(1);
    if (row.printed) {
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(waiting().isEmpty());
        ASSERT_EQ(printer.connections().size(), 1);
        EXPECT_BYTES(job, printer.connections()[0]);
        return;
    }
    EXPECT_EQ(run.out, kUnableToOpen);
    EXPECT_EQ(waiting().size(), 1);
    EXPECT_EQ(spool({QStringLiteral("send")}).out,
              printer.address().toLatin1() + ": 1 job(s) sent\n");
    printer.received(2);
    ASSERT_EQ(printer.connections().size(), 2);
    EXPECT_BYTES(job, printer.connections()[1]);
    EXPECT_TRUE(waiting().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Printer, PrinterFault, ::testing::ValuesIn(kPrinterFaults),
                         [](const auto& row) { return std::string(row.param.name); });

// Two tills at once: a run that finds another run sending many waiting jobs (300 to a slow
// printer, 3,000 to a fast one) leaves its ticket to that run, which sends it before it ends; the
// ticket prints once and the run does not report it as failed (a till told so prints it again).
TEST_F(Delivery, RunFindingTheQueueBusyHandsItsTicketToTheRunSending) {
    const struct {
        int jobs;
        int delayMs;     // the printer's pause before each job
        bool handedOver; // false: the other run may be done before this run's wait ends
    } cases[] = {{300, 15, true}, {3000, 0, false}};
    for (const auto& c : cases) {
        PrinterStandIn::Behaviour busy;
        busy.delayMs = c.delayMs; // the jobs take longer than the second run waits for its turn
        PrinterStandIn printer(busy);
        port = printer.address().section(QLatin1Char(':'), -1).toLatin1();
        const QString key =
            QString(printer.address()).replace(QLatin1Char('/'), QLatin1String("%2F"));
        QByteArray jobs;
        for (int at = 0; at < c.jobs; ++at) {
            const QByteArray job = "waiting job " + QByteArray::number(at) + "\n";
            jobs += job;
            ASSERT_TRUE(testsupport::writeFile(
                home.file(QStringLiteral(".pastrel/spool/20260101-000000-000-%1@%2.prn")
                              .arg(at, 7, 10, QLatin1Char('0'))
                              .arg(key)),
                job));
        }
        printer.start();
        testsupport::Run sending;
        std::thread first([&] { sending = spool({QStringLiteral("send")}); });
        for (int tries = 0; tries < 500 && printer.connections().isEmpty(); ++tries)
            usleep(10000);
        const testsupport::Run second = print("B", printer.address());
        first.join();
        EXPECT_EQ(second.out, "") << c.jobs;
        // A run whose turn comes only after the other run is done has nothing to say: its ticket
        // went with that run, or goes now with this one.
        if (c.handedOver || !second.err.isEmpty()) {
            EXPECT_TRUE(
                second.err.contains("another run is printing on it; this ticket is in its queue"))
                << c.jobs << ": " << second.err.constData();
            EXPECT_EQ(sending.out, printer.address().toLatin1() + ": " +
                                       QByteArray::number(c.jobs + 1) + " job(s) sent\n");
        }
        EXPECT_EQ(sending.exitCode, 0);
        EXPECT_BYTES(jobs + receiptJob("B"), printer.received(c.jobs + 1));
        EXPECT_TRUE(waiting().isEmpty());
    }
}

// The spool and the output path under a till's faults: a full disk, a job another user left, a
// long printer name, a killed run, paths that climb above the root or name the caller's own
// stream. Each row prepares the till, then the ticket goes to `output` ("@PRINTER@": the
// stand-in); "@OUTPUT@" and "@SPOOL@" in the expected standard error are the output as the run
// names it and the spool folder.
struct Till {
    testsupport::TempHome home;
    PrinterStandIn printer;
    QString output = QStringLiteral("@PRINTER@");
    QString named;                 // the output as the run names it, when not output itself
    QString workingFolder;         // the home when empty
    int receipts = 0;              // 1000-column receipts after the ticket's own (~1 KB each)
    std::function<void()> inChild; // limits for the program, set in its process
    QString mounted;

    QString spool() const { return home.file(QStringLiteral(".pastrel/spool")); }
    QStringList files() const {
        return QDir(spool()).entryList({QStringLiteral("*.prn"), QStringLiteral("*.part")},
                                       QDir::Files | QDir::System, QDir::Name);
    }
    ~Till() {
        if (!mounted.isEmpty())
            ::umount2(QFile::encodeName(mounted).constData(), MNT_DETACH);
    }
};

// The spool folder on a 64 KiB file system with `free` bytes left; false when mounting is not
// allowed here.
bool fullSpool(Till& till, qsizetype free) {
    QDir().mkpath(till.spool());
    if (::mount("tmpfs", QFile::encodeName(till.spool()).constData(), "tmpfs", 0, "size=64k") != 0)
        return false;
    till.mounted = till.spool();
    return testsupport::writeFile(till.spool() + QStringLiteral("/filler"),
                                  QByteArray(64 * 1024 - free, 'f'));
}

QString printerKey(const QString& printer) {
    return QString(printer)
        .replace(QLatin1Char('%'), QLatin1String("%25"))
        .replace(QLatin1Char('/'), QLatin1String("%2F"));
}

const QString kShm = QStringLiteral("/dev/shm/pastrel-test-%1").arg(getpid());
const QByteArray kLongHost = QByteArray(63, 'a') + '.' + QByteArray(63, 'b') + '.' +
                             QByteArray(63, 'c') + '.' + QByteArray(30, 'd') + ".invalid";
// The ticket at the rows' 1000 columns.
const QByteArray kWideJob = " Serial Number: 1\n" + QByteArray(1000, '=') + "\n" + kEnd + kDrawer;
const QByteArray kNotPrinted = "this ticket did not print: cannot write it into @SPOOL@: ";
const QByteArray kMissing = "pastrel-print: cannot print on @OUTPUT@: No such file or directory; 1 "
                            "job(s) wait in @SPOOL@ and will print when the printer is back\n";

struct SpoolRow {
    const char* name;
    std::function<void(Till&)> prepare;
    QByteArray out; // standard output
    QByteArray err; // standard error holds it
    int waiting;    // jobs in the spool afterwards
    std::function<void(Till&)> check = [](Till&) {};
};

// clang-format off
const SpoolRow kSpoolRows[] = {
    {"FullSpoolFolder", [](Till& t) { if (!fullSpool(t, 0)) GTEST_SKIP() << "no mount here"; },
     kUnableToOpen, kNotPrinted + "No space left on device", 0,
     [](Till& t) { EXPECT_TRUE(t.printer.connections().isEmpty()); }},
    {"FourKibibytesLeftForAFiveKilobyteJob", [](Till& t) { t.receipts = 5; if (!fullSpool(t, 4096)) GTEST_SKIP() << "no mount here"; },
     kUnableToOpen, kNotPrinted + "No space left on device", 0,
     [](Till& t) { EXPECT_TRUE(t.printer.connections().isEmpty()); }},
    {"FileSizeLimitBelowTheJob", // what the full file system shows where mounting is refused
     [](Till& t) { t.receipts = 5; t.inChild = [] { ::signal(SIGXFSZ, SIG_IGN); const rlimit limit{4096, 4096}; ::setrlimit(RLIMIT_FSIZE, &limit); }; },
     kUnableToOpen, kNotPrinted + "File too large", 0,
     [](Till& t) { EXPECT_TRUE(t.printer.connections().isEmpty()); }},
    {"WaitingJobOfAnotherUser",
     [](Till& t) {
         const QString job = t.spool() + QStringLiteral("/20260101-000000-000-0000001@") + printerKey(t.printer.address()) + QStringLiteral(".prn");
         ASSERT_TRUE(testsupport::writeFile(job, "another user's job\n"));
         const QByteArray path = QFile::encodeName(job);
         if (::geteuid() != 0) {
             ASSERT_EQ(::chmod(path.constData(), 0), 0);
             return;
         }
         ASSERT_EQ(::chown(path.constData(), 65534, 65534), 0); // root reads it only by its powers
         ASSERT_EQ(::chmod(path.constData(), 0600), 0);
         t.inChild = [] { ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE); ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH); };
     },
     "", "cannot read the waiting job 20260101-000000-000-0000001: ", 1,
     [](Till& t) { EXPECT_BYTES(kWideJob, t.printer.received(1)); }},
    {"PrinterNameOfTwoHundredThirtyCharacters", [](Till& t) { t.output = "socket://" + kLongHost + ":9100"; },
     kUnableToOpen, "pastrel-print: cannot print on @OUTPUT@: ", 1,
     [](Till& t) {
         const testsupport::Run list = testsupport::runProgram(QStringLiteral(PASTREL_CONFIG_TOOL), {QStringLiteral("spool"), QStringLiteral("list")}, t.home.path());
         EXPECT_TRUE(list.out.endsWith("  socket://" + kLongHost + ":9100\n")) << list.out.constData();
         testsupport::runProgram(QStringLiteral(PASTREL_CONFIG_TOOL), {QStringLiteral("spool"), QStringLiteral("drop"), QStringLiteral("all")}, t.home.path());
         EXPECT_TRUE(t.files().isEmpty());
     }},
    {"PartFilesOfAKilledRun",
     [](Till& t) {
         for (const char* part : {"20260101-000000-000-0000001.part", "20260101-000000-000-0000002.part"})
             ASSERT_TRUE(testsupport::writeFile(t.spool() + QLatin1Char('/') + QLatin1String(part), "half a job"));
         const timeval old[2] = {{::time(nullptr) - 11 * 60, 0}, {::time(nullptr) - 11 * 60, 0}};
         ASSERT_EQ(::utimes(QFile::encodeName(t.spool() + "/20260101-000000-000-0000001.part").constData(), old), 0);
     },
     "", "", 0,
     [](Till& t) { EXPECT_EQ(t.files(), QStringList{"20260101-000000-000-0000002.part"}); }},
    {"DeviceAboveTheRoot", [](Till& t) { t.output = "/.." + kShm; t.named = kShm; },
     kUnableToOpen, kMissing, 1, [](Till&) { EXPECT_FALSE(QFileInfo::exists(kShm)); }},
    {"DeviceAboveTheRootFromTheRootFolder", [](Till& t) { t.output = ".." + kShm; t.named = kShm; t.workingFolder = "/"; },
     kUnableToOpen, kMissing, 1, [](Till&) { EXPECT_FALSE(QFileInfo::exists(kShm)); }},
    {"LinkToAMissingDevice",
     [](Till& t) { t.output = t.home.file("kitchen"); ASSERT_TRUE(QFile::link(kShm, t.output)); },
     kUnableToOpen, kMissing, 1, [](Till&) { EXPECT_FALSE(QFileInfo::exists(kShm)); }},
    {"PercentAndDigitInThePrinterName", [](Till& t) { t.output = kShm + "%1x%2"; },
     kUnableToOpen, kMissing, 1},
    {"StandardOutputByDescriptor", [](Till& t) { t.output = "/dev/fd/1"; }, kWideJob, "", 0},
    {"StandardOutputWhoseReaderLeft", // "| head -c 100": a 3 MB job is neither kept nor waited for
     [](Till& t) {
         t.output = "/dev/stdout";
         t.receipts = 3000;
         t.inChild = [] { int fds[2]; if (::pipe(fds) == 0) { ::close(fds[0]); ::dup2(fds[1], 1); } };
     },
     "", "pastrel-print: write error on /dev/stdout: Broken pipe", 0},
};
// clang-format on

class SpoolFault : public ::testing::TestWithParam<SpoolRow> {};

TEST_P(SpoolFault, TicketIsKeptWholeOrReported) {
    Till till;
    till.home.writeConfig("pastrel : { receiptdoc : { openCashDrawer = \"true\"; paperWidth = "
                          "\"1000\"; }; printer : { timeout = \"1\"; }; };");
    till.printer.start();
    GetParam().prepare(till);
    if (IsSkipped() || HasFatalFailure())
        return;
    const QString output =
        till.output == QLatin1String("@PRINTER@") ? till.printer.address() : till.output;
    const QString input = till.home.file(QStringLiteral("in.xml"));
    testsupport::writeFile(input, "<doc><method name=\"printFullOrderReceipt\"/><receipt "
                                  "serialnumber=\"1\"/>" +
                                      QByteArray("<receipt/>").repeated(till.receipts) + "</doc>");
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), till.home.path());
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(till.workingFolder.isEmpty() ? till.home.path()
                                                             : till.workingFolder);
    if (till.inChild)
        process.setChildProcessModifier(till.inChild);
    process.start(testsupport::printProgram(), {input, output});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_BYTES(GetParam().out, process.readAllStandardOutput());
    const QByteArray err = process.readAllStandardError();
    const QByteArray named = (till.named.isEmpty() ? output : till.named).toLocal8Bit();
    EXPECT_TRUE(err.contains(QByteArray(GetParam().err)
                                 .replace("@OUTPUT@", named)
                                 .replace("@SPOOL@", till.spool().toLocal8Bit())))
        << err.constData();
    EXPECT_EQ(QDir(till.spool()).entryList({QStringLiteral("*.prn")}, QDir::Files).size(),
              GetParam().waiting);
    GetParam().check(till);
}

INSTANTIATE_TEST_SUITE_P(Till, SpoolFault, ::testing::ValuesIn(kSpoolRows),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
