// Part 4.1 (configuration store) and Part 4.2 (singleton, PAConfiguration).
// Cfg cases are data rows: adding a case adds a row; every former crash becomes a row too.
#include "config.h"
#include "paconfiguration.h"
#include "syncsingleton.h"
#include "testsupport.h"

#include <QDomElement>
#include <QThread>

#include <atomic>
#include <thread>
#include <vector>

using testsupport::TempHome;

namespace {

struct LookupCase {
    const char* name;     // test name
    QByteArray cfg;       // file content
    const char* key;      // key looked up
    const char* expected; // value
};

void PrintTo(const LookupCase& c, std::ostream* os) {
    *os << c.name;
}

class CfgLookup : public ::testing::TestWithParam<LookupCase> {};

TEST_P(CfgLookup, YieldsExpectedValue) {
    const LookupCase& c = GetParam();
    TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    ASSERT_TRUE(testsupport::writeFile(path, c.cfg));
    libconfig::Config config(path, QStringLiteral("cfg"));
    EXPECT_EQ(config.lookup(QString::fromLatin1(c.key)).toStdString(), std::string(c.expected));
}

const QByteArray kLong5000(5000, 'n');

const LookupCase kLookupCases[] = {
    // Part 4.1 example.
    {"Example_LoggerLevel",
     "pastrel : { logger : { level = DEBUG; filename = x.log; }; db : { hostname = h; }; };",
     "pastrel.logger.level", "DEBUG"},
    {"Example_DbHostname",
     "pastrel : { logger : { level = DEBUG; filename = x.log; }; db : { hostname = h; }; };",
     "pastrel.db.hostname", "h"},
    {"Example_MissingSettingIsEmpty", "pastrel : { logger : { level = DEBUG; }; };",
     "pastrel.logger.filename", ""},
    // Edge case 1: the value ends at the first semicolon.
    {"SemicolonEndsValue", "pastrel : { x = a;b; };", "pastrel.x", "a"},
    {"SemicolonEndsQuotedValue", "pastrel : { x = \"a;b\"; };", "pastrel.x", "a"},
    {"BytesAfterSemicolonStartNextName", "pastrel : { x = a;b; y = 2; };", "pastrel.y", ""},
    {"BytesAfterSemicolonAreInName", "pastrel : { x = a;b; y = 2; };", "pastrel.b; y", "2"},
    // Edge case 2: blanks and quotes around the value.
    {"BlankBeforeSemicolon", "pastrel : { logger : { level = DEBUG ; }; };", "pastrel.logger.level",
     "DEBUG"},
    {"NoBlanks", "pastrel:{logger:{level=DEBUG;};};", "pastrel.logger.level", "DEBUG"},
    {"QuotedValue", "pastrel : { logger : { level = \"DEBUG\"; }; };", "pastrel.logger.level",
     "DEBUG"},
    {"QuotesRemovedEverywhere", "pastrel : { v = a\"b\"c; };", "pastrel.v", "abc"},
    {"ValueSpansLines", "pastrel : { v = one\ntwo; };", "pastrel.v", "one\ntwo"},
    // Edge case 3: prose before a setting becomes part of its name.
    {"ProseBecomesPartOfName", "pastrel : { logger : {\nThe level of the log\nlevel = DEBUG; }; };",
     "pastrel.logger.level", ""},
    {"ProseNameIsWholeStrippedText", "pastrel : { logger : {\nThe level\nlevel = DEBUG; }; };",
     "pastrel.logger.The level\nlevel", "DEBUG"},
    // Edge case 5: same-named groups stay separate; the search goes on while empty.
    {"SecondSameNamedGroupAnswers",
     "pastrel : { logger : { type = APPEND; }; logger : { level = INFO; }; };",
     "pastrel.logger.level", "INFO"},
    {"EmptyValueInFirstGroupSearchesOn",
     "pastrel : { logger : { level = ; }; logger : { level = INFO; }; };", "pastrel.logger.level",
     "INFO"},
    // Edge case 6: a top-level "}" stops the reading.
    {"TopLevelBraceStopsReading", "pastrel : { a = 1; };\n}; pastrel : { b = 2; };", "pastrel.b",
     ""},
    {"SettingBeforeTopLevelBraceKept", "pastrel : { a = 1; };\n};\npastrel : { b = 2; };",
     "pastrel.a", "1"},
    // Edge case 7: keys of one and two fields.
    {"OneFieldKeyIsEmpty", "pastrel : { x = 1; };", "pastrel", ""},
    {"TwoFieldKeyReadsSettingOfFirstGroup", "pastrel : { x = 1; };", "pastrel.x", "1"},
    {"EmptyThirdFieldReadsAttribute", "pastrel : { x = 1; y : { z = 2; }; };", "pastrel.x..z", "1"},
    {"OtherTopLevelGroupsNotReached", "pastrel : { x = 1; }; other : { x = 2; };", "other.x", ""},
    {"TopLevelSettingNotReached", "x = 1; pastrel : { y = 2; };", "pastrel.y", "2"},
    {"CaseSensitiveKeys", "pastrel : { Level = 1; };", "pastrel.level", ""},
    // Edge case 8 and other bad files.
    {"EmptyFile", "", "pastrel.logger.level", ""},
    {"FinalSettingWithoutSemicolonCounts", "pastrel : { x = last", "pastrel.x", "last"},
    {"UnterminatedGroupKeepsSettings", "pastrel : { a : { x = 1;", "pastrel.a.x", "1"},
    {"BinaryBytesAreLatin1", QByteArray("pastrel : { v = \xe8\xff; };"), "pastrel.v",
     "\xc3\xa8\xc3\xbf"},
    // config.h: only ASCII white space is stripped; a UTF-8 "à" (C3 A0) keeps its last byte.
    {"Utf8ValueEndingInAGraveKeepsBothBytes", "pastrel : { city = citt\xc3\xa0; };", "pastrel.city",
     "citt\xc3\x83\xc2\xa0"},
    {"Utf8NameEndingInAGraveKeepsBothBytes", "pastrel : { citt\xc3\xa0 = Milano; };",
     "pastrel.citt\xc3\xa0", "Milano"},
    {"TabsAndCarriageReturnsStripped", "pastrel : {\r\n\tx\t=\t1\r\n;\r\n};", "pastrel.x", "1"},
    {"RepeatedNameReplacesValue", "pastrel : { x = 1; x = 2; };", "pastrel.x", "2"},
    // Over-long names and values: truncated to 2047 bytes (config.h), never an overflow.
    {"LongValueTruncatedTo2047", "pastrel : { v = " + kLong5000 + "; w = ok; };", "pastrel.w",
     "ok"},
    {"LongNameTruncatedTo2047", "pastrel : { " + kLong5000 + " = 1; w = ok; };", "pastrel.w", "ok"},
    {"NestingBeyondLimitStopsReading",
     "pastrel : { a = 1; " + QByteArray(5000, ':') + QByteArray(5000, '{') + " };", "pastrel.a",
     "1"},
    {"OnlyBraces", QByteArray(10000, '}'), "pastrel.a", ""},
    {"OnlyColons", QByteArray(10000, ':'), "pastrel.a", ""},
};

INSTANTIATE_TEST_SUITE_P(Part41, CfgLookup, ::testing::ValuesIn(kLookupCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Part 4.1, edge case 4: an empty group leaves no element.
TEST(Part41, EmptyGroupProducesNoElement) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    ASSERT_TRUE(testsupport::writeFile(path, "pastrel : { logger : { }; x = 1; };"));
    libconfig::Config config(path, QStringLiteral("cfg"));
    const QDomElement pastrel = config.document()->documentElement().firstChildElement();
    EXPECT_EQ(pastrel.tagName(), QStringLiteral("pastrel"));
    EXPECT_TRUE(pastrel.firstChildElement(QStringLiteral("logger")).isNull());
}

// Part 4.1: the top element is tagged with the path; top-level settings are its attributes.
TEST(Part41, TopElementTaggedWithPathHoldsTopLevelSettings) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    ASSERT_TRUE(testsupport::writeFile(path, "version = 3; pastrel : { x = 1; };"));
    libconfig::Config config(path, QStringLiteral("cfg"));
    const QDomElement top = config.document()->documentElement();
    EXPECT_EQ(top.tagName(), path);
    EXPECT_EQ(top.attribute(QStringLiteral("version")), QStringLiteral("3"));
}

// Part 4.1: same-named groups are not merged.
TEST(Part41, SameNamedGroupsStaySeparateSiblings) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    ASSERT_TRUE(testsupport::writeFile(path, "pastrel : { a : { x = 1; }; a : { y = 2; }; };"));
    libconfig::Config config(path, QStringLiteral("cfg"));
    const QDomElement pastrel = config.document()->documentElement().firstChildElement();
    EXPECT_EQ(pastrel.childNodes().size(), 2);
}

// Part 4.1, edge case 8: an empty file leaves an empty document.
TEST(Part41, EmptyFileLeavesEmptyDocument) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    ASSERT_TRUE(testsupport::writeFile(path, ""));
    libconfig::Config config(path, QStringLiteral("cfg"));
    EXPECT_TRUE(config.document()->documentElement().isNull());
}

// config.h: over-long names keep their first 2047 raw bytes; the blank after "{" is the first
// of them, so 2046 letters remain after stripping.
TEST(Part41, OverLongNameKeepsFirst2047Bytes) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    ASSERT_TRUE(testsupport::writeFile(path, "pastrel : { " + QByteArray(5000, 'k') + " = v; };"));
    libconfig::Config config(path, QStringLiteral("cfg"));
    const QString key = QStringLiteral("pastrel.") + QString(2046, QLatin1Char('k'));
    EXPECT_EQ(config.lookup(key), QStringLiteral("v"));
}

TEST(Part41, OverLongValueKeepsFirst2047Bytes) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    ASSERT_TRUE(testsupport::writeFile(path, "pastrel : { v = " + QByteArray(5000, 'x') + "; };"));
    libconfig::Config config(path, QStringLiteral("cfg"));
    // The raw value is " xxx...": its blank and 2046 letters are the 2047 bytes kept.
    EXPECT_EQ(config.lookup(QStringLiteral("pastrel.v")), QString(2046, QLatin1Char('x')));
}

// Part 4.1, failure handling: a missing file prints the message and yields empty lookups.
TEST(Part41, MissingCfgFilePrintsMessage) {
    TempHome home;
    const QString path = home.file(QStringLiteral("absent.cfg"));
    ::testing::internal::CaptureStdout();
    libconfig::Config config(path, QStringLiteral("cfg"));
    const std::string out = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "Error in the method FileReader::open( " + path.toStdString() +
                       " ): File Not Found\n");
    EXPECT_EQ(config.lookup(QStringLiteral("pastrel.logger.level")), QString());
}

TEST(Part41, UnknownFormatLoadsNothingSilently) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    ASSERT_TRUE(testsupport::writeFile(path, "pastrel : { x = 1; };"));
    ::testing::internal::CaptureStdout();
    libconfig::Config config(path, QStringLiteral("CFG"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(config.lookup(QStringLiteral("pastrel.x")), QString());
}

TEST(Part41, XmlFormatAnswersLookups) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.xml"));
    ASSERT_TRUE(testsupport::writeFile(
        path, "<pastrel><logger level=\"WARNING\"/><db hostname=\"h\"/></pastrel>"));
    libconfig::Config config(path, QStringLiteral("xml"));
    EXPECT_EQ(config.lookup(QStringLiteral("pastrel.logger.level")), QStringLiteral("WARNING"));
    EXPECT_EQ(config.lookup(QStringLiteral("pastrel.db.hostname")), QStringLiteral("h"));
    EXPECT_EQ(config.document()->documentElement().tagName(), path);
}

TEST(Part41, MalformedOrMissingXmlIsEmptyAndSilent) {
    TempHome home;
    const QString path = home.file(QStringLiteral("test.xml"));
    ASSERT_TRUE(testsupport::writeFile(path, "<pastrel><logger level=\"x\">"));
    ::testing::internal::CaptureStdout();
    libconfig::Config broken(path, QStringLiteral("xml"));
    libconfig::Config missing(home.file(QStringLiteral("absent.xml")), QStringLiteral("xml"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(broken.lookup(QStringLiteral("pastrel.logger.level")), QString());
    EXPECT_EQ(missing.lookup(QStringLiteral("pastrel.logger.level")), QString());
}

TEST(Part41, DefaultConstructedConfigAnswersEmpty) {
    libconfig::Config config;
    EXPECT_EQ(config.lookup(QStringLiteral("pastrel.x")), QString());
}

TEST(Part41, JumpConsumesUpToAndIncludingCharacter) {
    TempHome home;
    const QString path = home.file(QStringLiteral("j.txt"));
    ASSERT_TRUE(testsupport::writeFile(path, "abc{d"));
    libconfig::Config config;
    ASSERT_TRUE(config.openFile(path));
    EXPECT_TRUE(config.jump('{'));
    EXPECT_TRUE(config.jump('d'));
    EXPECT_FALSE(config.jump('x'));
}

// ---- Part 4.2 ----

struct Counted {
    static inline std::atomic<int> constructions{0};
    Counted() {
        ++constructions;
        QThread::msleep(50); // widen the window in which other threads find the pointer null
    }
};

// Part 4.2, edge case 1: threads asking at once construct the instance once.
TEST(Part42, ConcurrentFirstUseConstructsOnce) {
    constexpr int kThreads = 16;
    std::vector<std::thread> threads;
    std::vector<Counted*> seen(kThreads, nullptr);
    std::atomic<bool> go{false};
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            while (!go.load())
                std::this_thread::yield();
            seen[i] = SyncSingleton<Counted>::instance();
        });
    }
    go = true;
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(Counted::constructions.load(), 1);
    for (Counted* p : seen)
        EXPECT_EQ(p, seen[0]);
}

TEST(Part42, ReadsHomeConfigurationFile) {
    TempHome home;
    home.writeConfig("pastrel : { logger : { level = INFO; }; };");
    qputenv("HOME", home.path().toLocal8Bit());
    PAConfiguration configuration;
    EXPECT_EQ(configuration.fileName(),
              home.path() + QStringLiteral("/.pastrel/conf/pastrel.conf"));
    EXPECT_EQ(configuration.getStrValue(QStringLiteral("pastrel.logger.level")),
              QStringLiteral("INFO"));
}

// Part 4.2, edge case 2: no file: empty answers and the Part 4.1 message once, on first use.
TEST(Part42, MissingFileMessageOnceOnFirstUse) {
    TempHome home;
    qputenv("HOME", home.path().toLocal8Bit());
    ::testing::internal::CaptureStdout();
    PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();
    SyncSingleton<PAConfiguration>::instance();
    const QString level = configuration->getStrValue(QStringLiteral("pastrel.logger.level"));
    const std::string out = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(level, QString());
    EXPECT_EQ(out, "Error in the method FileReader::open( " + home.path().toStdString() +
                       "/.pastrel/conf/pastrel.conf ): File Not Found\n");
}

// Part 4.2, edge case 3: keys and values pass through 8-bit text.
TEST(Part42, NonLatin1CharactersComeBackAltered) {
    TempHome home;
    home.writeConfig("pastrel : { currency = EUR; plain = abc; };");
    qputenv("HOME", home.path().toLocal8Bit());
    PAConfiguration configuration;
    EXPECT_EQ(configuration.getStrValue(QStringLiteral("pastrel.plain")), QStringLiteral("abc"));
    // U+20AC becomes "?" on the way in, so the key no longer matches.
    EXPECT_EQ(configuration.getStrValue(QStringLiteral("pastrel.currency\u20ac")), QString());
    EXPECT_EQ(configuration.getStrValue(QStringLiteral("pastrel.currency")), QStringLiteral("EUR"));
}

TEST(Part42, NonLatin1KeyMatchesQuestionMarkName) {
    TempHome home;
    home.writeConfig("pastrel : { price? = 3; };");
    qputenv("HOME", home.path().toLocal8Bit());
    PAConfiguration configuration;
    EXPECT_EQ(configuration.getStrValue(QStringLiteral("pastrel.price\u20ac")),
              QStringLiteral("3"));
}

} // namespace
