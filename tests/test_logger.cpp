// Logger: what a till's log holds for each level and type setting, each case its own process.
// Every stamp "[MM-dd-yyyy hh:mm:ss:zzz] " must be the local time of its line, then reads "[TS] ";
// the suite runs with TZ=XYZ-05:30 (tests/CMakeLists.txt), so a stamp in UTC is caught.
#include "logger.h"
#include "testsupport.h"

#include <QDateTime>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

struct LogCase {
    const char* name;
    const char* level;
    const char* type;
    QByteArray before;   // the log file's bytes before the logger starts
    QByteArray expected; // after one line of each level: d, i, w, e, f
    QByteArray out = ""; // standard output
};

const QByteArray kAll = "[TS] DEBUG: Start Logger\n[TS] DEBUG: d\n[TS] INFO: i\n"
                        "[TS] WARNING: w\n[TS] ERROR: e\n[TS] FATAL: f\n";

// clang-format off
const LogCase kCases[] = {
    {"UnknownLevelIsDebug", "VERBOSE", "APPEND", "", kAll},
    {"InfoDropsDebug", "INFO", "append", "old\n", "old\n[TS] INFO: i\n[TS] WARNING: w\n[TS] ERROR: e\n[TS] FATAL: f\n"},
    {"WarningInLowerCase", "warning", "APPEND", "", "[TS] WARNING: w\n[TS] ERROR: e\n[TS] FATAL: f\n"},
    {"ErrorInMixedCase", "ErRoR", "APPEND", "", "[TS] ERROR: e\n[TS] FATAL: f\n"},
    {"FatalOnly", "FATAL", "APPEND", "", "[TS] FATAL: f\n"},
    // 222 bytes of lines over 301: the old file's last 79 bytes stay (78 x and the line end).
    {"OverwriteKeepsTheOldTail", "DEBUG", "overwrite", QByteArray(300, 'x') + '\n', kAll + QByteArray(78, 'x') + '\n'},
    {"RotateWritesNothing", "DEBUG", "ROTATE", "", ""},
    // A later basedir replaces the first: a folder that does not exist, which is not made.
    {"AppendInMissingFolderReportsSetType", "DEBUG", "APPEND; basedir = /nonexistent/logs", "", "",
     "Error in the method Logger::setType(APPEND)\n"},
};
// clang-format on

class LoggerSettings : public ::testing::TestWithParam<LogCase> {};

TEST_P(LoggerSettings, WritesTheLinesOfItsLevelAndType) {
    const LogCase& c = GetParam();
    testsupport::TempHome home;
    home.writeConfig("pastrel : { logger : { level = " + QByteArray(c.level) + "; basedir = " +
                     home.path().toUtf8() + "; type = " + c.type + "; filename = till.log; }; };");
    qputenv("HOME", home.path().toUtf8());
    const QString path = home.file(QStringLiteral("till.log"));
    ASSERT_TRUE(c.before.isEmpty() || testsupport::writeFile(path, c.before));
    const QDateTime since = QDateTime::currentDateTime().addSecs(-1);
    ::testing::internal::CaptureStdout();
    {
        Logger logger(QStringLiteral("main"));
        logger.debug(QStringLiteral("d"));
        logger.info(QStringLiteral("i"));
        logger.warning(QStringLiteral("w"));
        logger.error(QStringLiteral("e"));
        logger.fatal(QStringLiteral("f"));
    }
    const QDateTime until = QDateTime::currentDateTime().addSecs(1);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), c.out.toStdString());
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/nonexistent")));
    static const QRegularExpression stamp(QStringLiteral("^\\[([^]]*)\\] "),
                                          QRegularExpression::MultilineOption);
    QString log = QString::fromLatin1(testsupport::readFile(path));
    for (auto it = stamp.globalMatch(log); it.hasNext();) {
        const QString text = it.next().captured(1);
        const QDateTime at = QDateTime::fromString(text, QStringLiteral("MM-dd-yyyy hh:mm:ss:zzz"));
        EXPECT_TRUE(at.isValid() && at >= since && at <= until) << text.toStdString();
    }
    EXPECT_BYTES(c.expected, log.replace(stamp, QStringLiteral("[TS] ")).toLatin1());
}

INSTANTIATE_TEST_SUITE_P(Logger, LoggerSettings, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
