// Part 5.1: Logger and HLogManager. Every log is read back whole (testsupport::LogFile): the
// stamps are checked against the clock and masked, the rest compared byte for byte.
// The suite runs with TZ=XYZ-05:30 (tests/CMakeLists.txt), so a stamp written in UTC instead of
// local time is caught. Each test is its own process (fresh singletons), HOME its own folder.
#include "hlogmanager.h"
#include "logfile.h"
#include "logger.h"
#include "syncsingleton.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <memory>

using testsupport::LogFile;
using testsupport::stamped;
using testsupport::TempHome;

namespace {

class Part51Logger : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.path().size() > 0);
        qputenv("HOME", QFile::encodeName(home.path()));
    }

    QString logPath() const { return home.file(QStringLiteral("logs/pastrel.log")); }

    // Writes pastrel.logger.* settings; a null argument leaves the setting out.
    void configure(const char* level, const char* type, bool withPath = true) {
        QByteArray text = "pastrel : { logger : {\n";
        if (level != nullptr)
            text += "  level = " + QByteArray(level) + ";\n";
        if (withPath) {
            QDir().mkpath(home.file(QStringLiteral("logs")));
            text += "  basedir = " + QFile::encodeName(home.file(QStringLiteral("logs"))) +
                    ";\n  filename = pastrel.log;\n";
        }
        if (type != nullptr)
            text += "  type = " + QByteArray(type) + ";\n";
        text += "}; };\n";
        home.writeConfig(text);
    }

    // One line of every level, through the five shorthand operations.
    static void writeEveryLevel(Logger& logger) {
        logger.debug(QStringLiteral("d"));
        logger.info(QStringLiteral("i"));
        logger.warning(QStringLiteral("w"));
        logger.error(QStringLiteral("e"));
        logger.fatal(QStringLiteral("f"));
    }

    TempHome home;
};

// Part 5.1, construction step 7 and write(): the first line is "Start Logger" at DEBUG, in the
// line format "[MM-dd-yyyy hh:mm:ss:zzz] LEVEL: message".
TEST_F(Part51Logger, ConstructionWritesStartLoggerLineAtDebug) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    EXPECT_EQ(logger.fileName(), logPath());
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger"));
}

// Part 5.1, Data model: each level writes its own text; shorthand operations map to levels.
TEST_F(Part51Logger, EachShorthandWritesItsLevelText) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    writeEveryLevel(logger);
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("DEBUG", "d") +
                        stamped("INFO", "i") + stamped("WARNING", "w") + stamped("ERROR", "e") +
                        stamped("FATAL", "f"));
}

// Part 5.1, edge case 1: "warning" in lower case sets WARNING; INFO and DEBUG lines, "Start
// Logger" included, are dropped.
TEST_F(Part51Logger, LowerCaseWarningDropsInfoDebugAndStartLine) {
    configure("warning", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    EXPECT_EQ(logger.level(), Logger::WARNING);
    writeEveryLevel(logger);
    EXPECT_LOG(log, stamped("WARNING", "w") + stamped("ERROR", "e") + stamped("FATAL", "f"));
}

// Part 5.1, edge case 2: an unknown level text sets DEBUG.
TEST_F(Part51Logger, UnknownLevelVerboseMeansDebug) {
    configure("VERBOSE", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    EXPECT_EQ(logger.level(), Logger::DEBUG);
    logger.debug(QStringLiteral("kept"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("DEBUG", "kept"));
}

// Part 5.1, failure handling: a missing level setting means DEBUG.
TEST_F(Part51Logger, MissingLevelMeansDebug) {
    configure(nullptr, "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    EXPECT_EQ(logger.level(), Logger::DEBUG);
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger"));
}

// Part 5.1, setLevel: the text is upper-cased before the comparison.
TEST_F(Part51Logger, MixedCaseErrorLevelKeepsErrorAndFatalOnly) {
    configure("ErRoR", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    EXPECT_EQ(logger.level(), Logger::ERROR);
    writeEveryLevel(logger);
    EXPECT_LOG(log, stamped("ERROR", "e") + stamped("FATAL", "f"));
}

TEST_F(Part51Logger, FatalLevelKeepsFatalOnly) {
    configure("fatal", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    writeEveryLevel(logger);
    EXPECT_LOG(log, stamped("FATAL", "f"));
}

TEST_F(Part51Logger, InfoLevelDropsDebugOnly) {
    configure("Info", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    writeEveryLevel(logger);
    EXPECT_LOG(log, stamped("INFO", "i") + stamped("WARNING", "w") + stamped("ERROR", "e") +
                        stamped("FATAL", "f"));
}

// Part 5.1, setLevel after construction changes the threshold from then on.
TEST_F(Part51Logger, SetLevelChangesThresholdForLaterLines) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    logger.setLevel(QStringLiteral("error"));
    logger.warning(QStringLiteral("dropped"));
    logger.error(QStringLiteral("kept"));
    logger.setLevel(QString()); // the empty text: DEBUG again
    logger.debug(QStringLiteral("back"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("ERROR", "kept") +
                        stamped("DEBUG", "back"));
}

// Part 5.1, write() step 2: a level outside 0..4 has the empty text; one below the threshold
// is dropped.
TEST_F(Part51Logger, LevelOutsideTableHasEmptyText) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    logger.write(static_cast<Logger::Level>(7), QStringLiteral("seven"));
    logger.write(static_cast<Logger::Level>(-1), QStringLiteral("below debug"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + QStringLiteral("[TS] : seven\n"));
}

// Part 5.1, edge case 3: "append" in lower case appends to what the file holds.
TEST_F(Part51Logger, LowerCaseAppendKeepsOldContentAndAddsAtEnd) {
    configure("DEBUG", "append");
    ASSERT_TRUE(testsupport::writeFile(logPath(), "an older line\n"));
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    logger.info(QStringLiteral("new"));
    EXPECT_LOG(log, QStringLiteral("an older line\n") + stamped("DEBUG", "Start Logger") +
                        stamped("INFO", "new"));
}

// Part 5.1, setType: APPEND creates a missing file.
TEST_F(Part51Logger, AppendCreatesMissingFile) {
    configure("DEBUG", "APPEND");
    ASSERT_FALSE(QFile::exists(logPath()));
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    EXPECT_TRUE(logger.isOpen());
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger"));
}

// Two loggers on one file in APPEND mode both write at the end, line after line.
TEST_F(Part51Logger, TwoAppendLoggersOnOneFileInterleaveWholeLines) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    Logger first(QStringLiteral("first"));
    Logger second(QStringLiteral("second"));
    first.info(QStringLiteral("one"));
    second.info(QStringLiteral("two"));
    first.info(QStringLiteral("three"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("DEBUG", "Start Logger") +
                        stamped("INFO", "one") + stamped("INFO", "two") + stamped("INFO", "three"));
}

// Part 5.1, setType "OVERWRITE": write-only from the start WITHOUT truncation, so the tail of a
// longer old log stays (DESIGN.md porting trap: Qt 6's WriteOnly would truncate).
TEST_F(Part51Logger, OverwriteWritesFromStartAndKeepsTailOfLongerOldLog) {
    configure("DEBUG", "OVERWRITE");
    QByteArray old;
    for (int i = 0; i < 10; ++i)
        old += "old line " + QByteArray::number(i) + " of an earlier and longer log\n";
    ASSERT_TRUE(testsupport::writeFile(logPath(), old));
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    logger.info(QStringLiteral("short"));
    // Real stamps are 26 bytes ("[MM-dd-yyyy hh:mm:ss:zzz] "): the new text's length on disk.
    const qsizetype written =
        (26 + int(qstrlen("DEBUG: Start Logger\n"))) + (26 + int(qstrlen("INFO: short\n")));
    EXPECT_EQ(QFileInfo(logPath()).size(), old.size()); // not truncated
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("INFO", "short") +
                        QString::fromLatin1(old.mid(written)));
}

// Part 5.1, setType: OVERWRITE creates a missing file too (O_CREAT); any case is accepted.
TEST_F(Part51Logger, LowerCaseOverwriteCreatesMissingFile) {
    configure("DEBUG", "overwrite");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    EXPECT_TRUE(logger.isOpen());
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger"));
}

// Part 5.1, OVERWRITE on a file longer than what is written: a second logger overwrites the
// first logger's lines from the start (one line here replaced in place, same length).
TEST_F(Part51Logger, OverwriteTwiceReplacesSameLengthLine) {
    configure("DEBUG", "OVERWRITE");
    LogFile log(logPath());
    // The second logger's first line is newer than the first logger's tail line after it.
    log.allowStampsOutOfOrder();
    {
        Logger first(QStringLiteral("first"));
        first.info(QStringLiteral("stays in the tail"));
    }
    Logger second(QStringLiteral("second"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("INFO", "stays in the tail"));
}

// Part 5.1, edge case 3: ROTATE leaves the file unopened and silent: no file, nothing on
// standard output or standard error, every line lost.
TEST_F(Part51Logger, RotateTypeLeavesFileUnopenedAndSilent) {
    configure("DEBUG", "ROTATE");
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    {
        Logger logger(QStringLiteral("main"));
        EXPECT_FALSE(logger.isOpen());
        writeEveryLevel(logger);
    }
    const std::string out = ::testing::internal::GetCapturedStdout();
    const std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(out, "");
    EXPECT_EQ(err, "");
    EXPECT_FALSE(QFile::exists(logPath()));
}

// Part 5.1, setType: the empty (missing) type also leaves the file unopened, silently.
TEST_F(Part51Logger, MissingTypeLeavesFileUnopenedAndSilent) {
    configure("DEBUG", nullptr);
    ::testing::internal::CaptureStdout();
    Logger logger(QStringLiteral("main"));
    logger.error(QStringLiteral("lost"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(logger.isOpen());
    EXPECT_FALSE(QFile::exists(logPath()));
}

// Part 5.1, construction step 3: with basedir and filename missing the path is "/", which
// cannot be opened: the setType message, with the type as given (not upper-cased), on stdout.
TEST_F(Part51Logger, MissingPathIsRootAndFailedOpenPrintsTypeAsGiven) {
    configure("DEBUG", "append", /*withPath=*/false);
    ::testing::internal::CaptureStdout();
    Logger logger(QStringLiteral("main"));
    logger.error(QStringLiteral("lost"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Error in the method Logger::setType(append)\n");
    EXPECT_EQ(logger.fileName(), QStringLiteral("/"));
    EXPECT_FALSE(logger.isOpen());
}

TEST_F(Part51Logger, OverwriteOnUnopenablePathPrintsMessageAndKeepsLogger) {
    home.writeConfig("pastrel : { logger : { basedir = " +
                     QFile::encodeName(home.file(QStringLiteral("no/such/dir"))) +
                     "; filename = x.log; type = OverWrite; }; };");
    ::testing::internal::CaptureStdout();
    Logger logger(QStringLiteral("main"));
    logger.fatal(QStringLiteral("lost"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Error in the method Logger::setType(OverWrite)\n");
    EXPECT_FALSE(QFile::exists(home.file(QStringLiteral("no/such/dir/x.log"))));
}

// Part 4.2 + 5.1: without any configuration file the Part 4.1 message is printed once, the path
// is "/" and the type empty: the logger is unopened and silent, and nothing crashes.
TEST_F(Part51Logger, NoConfigurationFileGivesSilentUnopenedLogger) {
    ::testing::internal::CaptureStdout();
    Logger logger(QStringLiteral("main"));
    logger.info(QStringLiteral("lost"));
    const std::string out = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "Error in the method FileReader::open( " + home.configPath().toStdString() +
                       " ): File Not Found\n");
    EXPECT_EQ(logger.fileName(), QStringLiteral("/"));
    EXPECT_FALSE(logger.isOpen());
}

// Part 5.1, write() step 3: every line is flushed at once, so the file is complete while the
// logger is still alive (read here before the logger is destroyed).
TEST_F(Part51Logger, EveryLineIsOnDiskBeforeTheNextCall) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    logger.warning(QStringLiteral("first"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("WARNING", "first"));
    logger.warning(QStringLiteral("second"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("WARNING", "first") +
                        stamped("WARNING", "second"));
}

// Part 5.1: the message is written as given, line ends included (Part 7.1 logs "BEGIN\n\n"),
// in the stream's default encoding, UTF-8.
TEST_F(Part51Logger, MessageWrittenAsGivenInUtf8) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    Logger logger(QStringLiteral("main"));
    logger.debug(QStringLiteral("BEGIN\n\n"));
    logger.info(QString::fromUtf8("caff\xc3\xa8 \xe2\x82\xac 1,50"));
    logger.info(QString());
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + QStringLiteral("[TS] DEBUG: BEGIN\n\n\n") +
                        stamped("INFO", QString::fromUtf8("caff\xc3\xa8 \xe2\x82\xac 1,50")) +
                        QStringLiteral("[TS] INFO: \n"));
    EXPECT_TRUE(log.bytes().contains("caff\xc3\xa8 \xe2\x82\xac 1,50"));
}

// Part 5.1, write() step 3: the stamp is the current LOCAL time, zero-padded "MM-dd-yyyy
// hh:mm:ss:zzz". The suite's TZ is UTC+05:30, so it is checked against the UTC clock + 5:30.
TEST_F(Part51Logger, StampIsLocalTimeInMonthDayYearFormat) {
    ASSERT_EQ(qgetenv("TZ"), QByteArray("XYZ-05:30")); // set by tests/CMakeLists.txt
    configure("DEBUG", "APPEND");
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(5 * 3600 + 30 * 60);
    { Logger logger(QStringLiteral("main")); }
    const QDateTime after = QDateTime::currentDateTimeUtc().addSecs(5 * 3600 + 30 * 60);
    const QString line = QString::fromUtf8(testsupport::readFile(logPath()));
    static const QRegularExpression format(
        QStringLiteral("^\\[(\\d\\d)-(\\d\\d)-(\\d{4}) (\\d\\d):(\\d\\d):(\\d\\d):(\\d{3})\\] "
                       "DEBUG: Start Logger\\n$"));
    const QRegularExpressionMatch match = format.match(line);
    ASSERT_TRUE(match.hasMatch()) << line.toStdString();
    // The stamp read as a wall-clock time in the +05:30 zone, expressed in UTC terms.
    const QDateTime stamp(
        QDate(match.captured(3).toInt(), match.captured(1).toInt(), match.captured(2).toInt()),
        QTime(match.captured(4).toInt(), match.captured(5).toInt(), match.captured(6).toInt(),
              match.captured(7).toInt()),
        Qt::UTC);
    ASSERT_TRUE(stamp.isValid());
    EXPECT_GE(stamp, before.addMSecs(-LogFile::kToleranceMs));
    EXPECT_LE(stamp, after.addMSecs(LogFile::kToleranceMs));
}

// Part 5.1, Interfaces: the constructor's name argument is not used (same file, same lines).
TEST_F(Part51Logger, NameArgumentIsNotUsed) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    Logger named(QStringLiteral("database"));
    Logger unnamed{QString()};
    EXPECT_EQ(named.fileName(), unnamed.fileName());
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("DEBUG", "Start Logger"));
}

// Part 5.1, Destructor: the file is closed (its descriptor released).
TEST_F(Part51Logger, DestructorClosesTheLogFile) {
    configure("DEBUG", "APPEND");
    auto openDescriptors = [this]() {
        int count = 0;
        const QDir fds(QStringLiteral("/proc/self/fd"));
        for (const QString& entry : fds.entryList(QDir::Files | QDir::System)) {
            if (QFileInfo(fds.filePath(entry)).symLinkTarget() == logPath())
                ++count;
        }
        return count;
    };
    auto logger = std::make_unique<Logger>(QStringLiteral("main"));
    EXPECT_EQ(openDescriptors(), 1);
    logger.reset();
    EXPECT_EQ(openDescriptors(), 0);
}

// ---- HLogManager ----

// Same set-up: a HOME of its own with the logger settings.
class Part51LogManager : public Part51Logger {};

// Part 5.1, edge case 4: getLog("") on an empty registry returns null and leaves one entry,
// "default", holding null.
TEST_F(Part51LogManager, GetLogEmptyNameOnEmptyRegistryAddsNullDefaultEntry) {
    configure("DEBUG", "APPEND");
    HLogManager* logs = SyncSingleton<HLogManager>::instance();
    EXPECT_TRUE(logs->loggers().isEmpty());
    EXPECT_EQ(logs->getLog(QString()), nullptr);
    const QMap<QString, Logger*> registry = logs->loggers();
    EXPECT_EQ(registry.keys(), QStringList{QStringLiteral("default")});
    EXPECT_EQ(registry.value(QStringLiteral("default"), reinterpret_cast<Logger*>(1)), nullptr);
    EXPECT_FALSE(QFile::exists(logPath())); // no logger was made
}

// Part 5.1, getLog: an unregistered name gives null and creates no entry.
TEST_F(Part51LogManager, GetLogUnknownNameIsNullWithoutEntry) {
    configure("DEBUG", "APPEND");
    HLogManager* logs = SyncSingleton<HLogManager>::instance();
    EXPECT_EQ(logs->getLog(QStringLiteral("orders")), nullptr);
    EXPECT_EQ(logs->getLog(QStringLiteral("default")), nullptr);
    EXPECT_TRUE(logs->loggers().isEmpty());
}

// Part 5.1, set: the empty name registers "default", which getLog("") and getLog("default")
// both reach; the new logger writes its "Start Logger" line.
TEST_F(Part51LogManager, SetEmptyNameRegistersDefaultLogger) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    HLogManager* logs = SyncSingleton<HLogManager>::instance();
    logs->set(QStringLiteral("ignored"), QString());
    Logger* logger = logs->getLog(QString());
    ASSERT_NE(logger, nullptr);
    EXPECT_EQ(logs->getLog(QStringLiteral("default")), logger);
    EXPECT_EQ(logs->loggers().keys(), QStringList{QStringLiteral("default")});
    logger->info(QStringLiteral("through the registry"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("INFO", "through the registry"));
}

// Part 5.1: getLog("") after a null "default" entry was made, then set(): the entry is filled.
TEST_F(Part51LogManager, SetAfterNullDefaultEntryFillsIt) {
    configure("DEBUG", "APPEND");
    HLogManager* logs = SyncSingleton<HLogManager>::instance();
    EXPECT_EQ(logs->getLog(QString()), nullptr);
    logs->set(QString(), QString());
    EXPECT_NE(logs->getLog(QString()), nullptr);
    EXPECT_EQ(logs->loggers().size(), 1);
}

// Part 5.1, edge case 5: set twice under one name keeps only the second logger reachable; the
// first is not deleted (it stays alive and can still write).
TEST_F(Part51LogManager, SetTwiceKeepsOnlySecondReachableAndFirstAlive) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    HLogManager* logs = SyncSingleton<HLogManager>::instance();
    logs->set(QString(), QStringLiteral("till"));
    Logger* first = logs->getLog(QStringLiteral("till"));
    logs->set(QString(), QStringLiteral("till"));
    Logger* second = logs->getLog(QStringLiteral("till"));
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(logs->loggers().size(), 1);
    EXPECT_EQ(logs->loggers().value(QStringLiteral("till")), second);
    first->info(QStringLiteral("first is still alive"));
    second->info(QStringLiteral("second"));
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("DEBUG", "Start Logger") +
                        stamped("INFO", "first is still alive") + stamped("INFO", "second"));
}

// Part 5.1, Data model: the registry is ordered by name.
TEST_F(Part51LogManager, RegistryIsOrderedByName) {
    configure("DEBUG", "APPEND");
    HLogManager* logs = SyncSingleton<HLogManager>::instance();
    logs->set(QString(), QStringLiteral("orders"));
    logs->set(QString(), QStringLiteral("database"));
    logs->set(QString(), QString());
    EXPECT_EQ(logs->loggers().keys(),
              (QStringList{QStringLiteral("database"), QStringLiteral("default"),
                           QStringLiteral("orders")}));
}

// Part 5.1, HLogManager destructor: every logger is destroyed (its file closed); null entries
// and replaced loggers are handled without a crash.
TEST_F(Part51LogManager, ManagerDestructorClosesEveryLoggerFile) {
    configure("DEBUG", "APPEND");
    LogFile log(logPath());
    auto openDescriptors = [this]() {
        int count = 0;
        const QDir fds(QStringLiteral("/proc/self/fd"));
        for (const QString& entry : fds.entryList(QDir::Files | QDir::System)) {
            if (QFileInfo(fds.filePath(entry)).symLinkTarget() == logPath())
                ++count;
        }
        return count;
    };
    {
        HLogManager logs;
        EXPECT_EQ(logs.getLog(QString()), nullptr); // a null "default" entry
        logs.set(QString(), QStringLiteral("a"));
        logs.set(QString(), QStringLiteral("a")); // the first "a" replaced, still open
        logs.set(QString(), QStringLiteral("b"));
        EXPECT_EQ(openDescriptors(), 3);
    }
    EXPECT_EQ(openDescriptors(), 0);
    EXPECT_LOG(log, stamped("DEBUG", "Start Logger") + stamped("DEBUG", "Start Logger") +
                        stamped("DEBUG", "Start Logger"));
}

} // namespace
