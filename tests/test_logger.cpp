// Logger: what a till's log holds for each level and type setting, and the stamp of each line.
// Each case is its own process (the configuration is read once per process). The suite runs with
// TZ=XYZ-05:30 (tests/CMakeLists.txt), so a stamp in UTC instead of local time is caught.
#include "logger.h"
#include "testsupport.h"

#include <QDateTime>
#include <QRegularExpression>

namespace {

using testsupport::readFile;

// The log after writing one line of every level (d, i, w, e, f) with the given settings, over a
// file that held 'before'.
QByteArray logAfterEveryLevel(const QByteArray& level, const QByteArray& type,
                              const QByteArray& before) {
    testsupport::TempHome home;
    home.writeConfig("pastrel : { logger : { level = " + level + "; type = " + type +
                     "; basedir = " + home.path().toUtf8() + "; filename = till.log; }; };");
    qputenv("HOME", home.path().toUtf8());
    if (!before.isEmpty())
        testsupport::writeFile(home.file(QStringLiteral("till.log")), before);
    {
        Logger logger(QStringLiteral("main"));
        logger.debug(QStringLiteral("d"));
        logger.info(QStringLiteral("i"));
        logger.warning(QStringLiteral("w"));
        logger.error(QStringLiteral("e"));
        logger.fatal(QStringLiteral("f"));
    }
    return readFile(home.file(QStringLiteral("till.log")));
}

struct LogCase {
    const char* name;
    const char* level;
    const char* type;
    QByteArray before;
    QByteArray expected; // stamps written "[TS] "
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
};

// clang-format on
class LoggerSettings : public ::testing::TestWithParam<LogCase> {};

TEST_P(LoggerSettings, WritesTheLinesOfItsLevelAndType) {
    static const QRegularExpression stamp(
        QStringLiteral("^\\[\\d\\d-\\d\\d-\\d{4} \\d\\d:\\d\\d:\\d\\d:\\d{3}\\] "),
        QRegularExpression::MultilineOption);
    const QByteArray log = logAfterEveryLevel(GetParam().level, GetParam().type, GetParam().before);
    EXPECT_BYTES(GetParam().expected,
                 QString::fromLatin1(log).replace(stamp, QStringLiteral("[TS] ")).toLatin1());
}

INSTANTIATE_TEST_SUITE_P(Logger, LoggerSettings, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// "[MM-dd-yyyy hh:mm:ss:zzz] " in local time, taken when the line is written.
TEST(LoggerStamp, IsLocalTimeMonthFirst) {
    const QDateTime before = QDateTime::currentDateTime();
    const QByteArray log = logAfterEveryLevel("DEBUG", "APPEND", "");
    const QDateTime after = QDateTime::currentDateTime();
    const QDateTime stamped = QDateTime::fromString(QString::fromLatin1(log.mid(1, 23)),
                                                    QStringLiteral("MM-dd-yyyy hh:mm:ss:zzz"));
    ASSERT_TRUE(stamped.isValid()) << log.left(26).constData();
    EXPECT_EQ(log.mid(24, 2), "] ");
    EXPECT_GE(stamped, before.addMSecs(-before.time().msec()).addSecs(-1));
    EXPECT_LE(stamped, after.addSecs(1));
}

} // namespace
