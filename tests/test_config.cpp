// The configuration store: lookups on the "cfg" text the suite shares, and the writer.
#include "config.h"
#include "printerprofile.h"
#include "testsupport.h"

#include <QHash>

#include <tuple>

namespace {

using testsupport::readFile;
using testsupport::writeFile;

TEST(Config, LookupsReadTheFileAsTheSuiteWritesIt) {
    // clang-format off
    const std::tuple<QByteArray, const char*, const char*> lookups[] = {
        {"pastrel : { logger : { level = DEBUG; }; db : { hostname = h; }; };", "pastrel.db.hostname", "h"},
        {"pastrel : { logger : { level = DEBUG; }; };", "pastrel.logger.filename", ""},
        {"pastrel : { x = a;b; y = 2; };", "pastrel.x", "a"},
        {"pastrel : { x = \"a;b\"; };", "pastrel.x", "a"},
        {"pastrel:{logger:{level = DEBUG ;};};", "pastrel.logger.level", "DEBUG"},
        {"pastrel : { v = a\"b\"c; };", "pastrel.v", "abc"},
        {"pastrel : {\r\n\tx\t=\t1\r\n;\r\n};", "pastrel.x", "1"},
        {"pastrel : { logger : {\nThe level\nlevel = DEBUG; }; };", "pastrel.logger.level", ""},
        // Same-named groups stay apart; the search goes on while the value is empty.
        {"pastrel : { logger : { type = APPEND; }; logger : { level = INFO; }; };", "pastrel.logger.level", "INFO"},
        {"pastrel : { logger : { level = ; }; logger : { level = INFO; }; };", "pastrel.logger.level", "INFO"},
        {"pastrel : { a = 1; };\n}; pastrel : { b = 2; };", "pastrel.b", ""},
        {"pastrel : { x = 1; y : { z = 2; }; };", "pastrel.x..z", "1"},
        {"pastrel : { x = 1; }; other : { x = 2; };", "other.x", ""},
        {"pastrel : { Level = 1; };", "pastrel.level", ""},
        {"pastrel : { a : { x = 1;", "pastrel.a.x", "1"},
        {"pastrel : { v = \xe8; };", "pastrel.v", "\xc3\xa8"},
        {"pastrel : { v = " + QByteArray(5000, 'n') + "; w = ok; };", "pastrel.w", "ok"},
        {"pastrel : { a = 1; " + QByteArray(5000, ':') + QByteArray(5000, '{') + " };", "pastrel.a", "1"}, };
    // clang-format on
    testsupport::TempHome home;
    const QString path = home.file(QStringLiteral("test.cfg"));
    for (const auto& [cfg, key, expected] : lookups) {
        ASSERT_TRUE(writeFile(path, cfg));
        libconfig::Config config(path, QStringLiteral("cfg"));
        EXPECT_EQ(config.lookup(QString::fromLatin1(key)), QString::fromUtf8(expected))
            << cfg.left(80).constData();
    }
}

// Four blanks a level, settings by name, an empty line after each "};"; the file is written
// without truncation, so an old, longer file keeps its tail.
TEST(Config, WriterIndentsEachLevelAndKeepsTheOldTail) {
    testsupport::TempHome home;
    const QString path = home.file(QStringLiteral("pastrel.conf"));
    ASSERT_TRUE(writeFile(
        path, "pastrel : { shop : { price = 1; city = Caff\xe8; till : { n = 2; }; }; };"));
    libconfig::Config config(path, QStringLiteral("cfg"));
    ASSERT_TRUE(writeFile(home.file(QStringLiteral("out.conf")), QByteArray(200, 'o')));
    config.buildConfigFile(home.file(QStringLiteral("out.conf")));
    const QByteArray written = "pastrel: \n{\n    shop: \n    {\n        city = \"Caff\xe8\";\n"
                               "        price = \"1\";\n        till: \n        {\n"
                               "            n = \"2\";\n        };\n\n    };\n\n};\n\n";
    EXPECT_BYTES(written + QByteArray(200 - written.size(), 'o'),
                 readFile(home.file(QStringLiteral("out.conf"))));
}

} // namespace

namespace {

// The printer profile from the settings a till writes: names in any case and with blanks, and
// each value the printer cannot use reported in the words of check and pastrel-print, its default
// taken. Settings of the ESC/POS printer are not reported for the company printer.
TEST(PrinterProfile, ReadsEachSettingOrReportsItAndTakesTheDefault) {
    const struct {
        QHash<QString, QString> settings; // keys under pastrel.printer.
        QString model;
        int columns, condensed, pageNumber, pin, timeoutMs;
        QStringList problems;
    } cases[] = {
        {{}, "", 48, 48, -1, 2, 3000, {}},
        {{{"model", " ESCPOS "},
          {"columns", "32"},
          {"condensedColumns", "42"},
          {"codepageNumber", "2"},
          {"drawerPin", "5"},
          {"timeout", "10"}},
         "escpos",
         32,
         42,
         2,
         5,
         10000,
         {}},
        {{{"model", "escpos"}, {"columns", "0"}, {"condensedColumns", "20"}, {"timeout", "601"}},
         "escpos",
         48,
         48,
         -1,
         2,
         3000,
         {"pastrel.printer.timeout = \"601\" is not a number of seconds from 1 to 600; using 3",
          "pastrel.printer.columns = \"0\" is not a number of characters from 1 to 255; using 48"}},
        {{{"columns", "x"}, {"drawerPin", "3"}}, "", 48, 48, -1, 2, 3000, {}},
    };
    for (const auto& c : cases) {
        QStringList problems;
        const PrinterProfile profile = PrinterProfile::read(
            [&c](const QString& key) {
                return c.settings.value(key.mid(QStringLiteral("pastrel.printer.").size()));
            },
            &problems);
        EXPECT_EQ(profile.model, c.model);
        EXPECT_EQ(profile.columns, c.columns);
        EXPECT_EQ(profile.condensedColumns, c.condensed);
        EXPECT_EQ(profile.codePageNumber, c.pageNumber);
        EXPECT_EQ(profile.drawerPin, c.pin);
        EXPECT_EQ(profile.timeoutMs, c.timeoutMs);
        EXPECT_EQ(problems, c.problems);
    }
}

// The table of printer settings is the one the docs show: every key has its row there.
TEST(PrinterProfile, EverySettingIsDocumented) {
    const QByteArray docs = readFile(QStringLiteral(PASTREL_SOURCE_DIR "/docs/configuration.md"));
    for (const PrinterSetting& setting : kPrinterSettings) {
        const QByteArray name = QByteArray(setting.key).mid(int(sizeof("pastrel.printer.")) - 1);
        EXPECT_TRUE(docs.contains("`" + name + "`")) << setting.key;
    }
}

} // namespace
