// The Italian message catalogue (translations/pastrel_it_IT.ts, Part 1.1): what it holds, that
// lupdate finds every printed label of the sources and that each one is translated, the locale
// rule of Part 1.1 finding it, its install place, and the demo printing in Italian.
#include "testsupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTranslator>
#include <QXmlStreamReader>

#include <map>
#include <vector>

namespace {

using testsupport::readFile;
using testsupport::TempHome;

const QString kSourceDir = QStringLiteral(PASTREL_SOURCE_DIR);
const QString kTsPath = kSourceDir + QStringLiteral("/translations/pastrel_it_IT.ts");
const QString kCatalogueDir = QStringLiteral(PASTREL_BINARY_DIR "/translations");
const QString kQmPath = kCatalogueDir + QStringLiteral("/pastrel_it_IT.qm");

// The driver's helpers that hand their first argument, a label literal, to tr(). lupdate sees
// only tr("...") itself, so each is given to it as another spelling of tr. A new helper of that
// kind must be added here (LupdateSources.EveryNonLiteralTrIsInAHelperLupdateKnows says so).
const QStringList kTrHelpers = {QStringLiteral("printLabelLine"), QStringLiteral("printDottedLine"),
                                QStringLiteral("printReportTitle"),
                                QStringLiteral("printTotalRow")};

// Functions whose tr() takes a text that is not a label: tr's own definition, and the
// statement's movement code (Part 2.9: a document value used as a source text).
const QStringList kNotLabelTr = {QStringLiteral("tr"), QStringLiteral("printStatementOfAccount")};

// Every label that a Part prints through the translator (Parts 2.4, 2.6 to 2.11, 6.1).
const QStringList kDriverLabels = {
    // Part 2.4
    QStringLiteral("Serial Number: "), QStringLiteral("Invoice Number:"),
    QStringLiteral("Delivery Number:"), QStringLiteral("CUSTOMER"), QStringLiteral("Telephone:"),
    QStringLiteral("License Number:"), QStringLiteral("Fiscal Code:"), QStringLiteral("Date:"),
    QStringLiteral("Time:"), QStringLiteral("Table:"), QStringLiteral("Waiter:"),
    QStringLiteral("Note:"), QStringLiteral("Credit:"),
    // Parts 2.6, 2.7, 2.10, 2.11
    QStringLiteral("Num"), QStringLiteral("Description"), QStringLiteral("Price"),
    QStringLiteral("Amount"), QStringLiteral("TOTAL"), QStringLiteral("Taxable"),
    QStringLiteral("TaxRate"), QStringLiteral("Tax"), QStringLiteral("    Amount not paid: "),
    // Part 2.8
    QStringLiteral("SUMMARIES"), QStringLiteral("BeginDate: "), QStringLiteral("EndDate: "),
    QStringLiteral("PREFISCAL SUMMARY"), QStringLiteral("RECEIPTS SUMMARY"),
    QStringLiteral("INVOICES SUMMARY"), QStringLiteral("CANCELLED DOC SUMMARY"),
    QStringLiteral("Number"), QStringLiteral("Serials"), QStringLiteral("Amount not paid: "),
    QStringLiteral("Cash: "), QStringLiteral("Credit Card: "), QStringLiteral("Bancomat: "),
    QStringLiteral("Other: "), QStringLiteral("TAXRATE"), QStringLiteral("TAXABLE"),
    QStringLiteral("TAX"), QStringLiteral("AMOUNT"), QStringLiteral("SERIAL"),
    // Part 2.9
    QStringLiteral("Date")};
const QStringList kLibraryLabels = {QStringLiteral("PaperWindow"),
                                    QStringLiteral("Insert a new sheet")}; // Part 6.1

struct Message {
    QString context;
    QString source;
    QString translation;
    QString type; // "unfinished", "vanished", "obsolete" or empty (finished)
};

std::vector<Message> readTs(const QString& path) {
    std::vector<Message> messages;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    QXmlStreamReader xml(&file);
    QString context;
    Message message;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement() && xml.name() == QLatin1String("message")) {
            messages.push_back(message);
        } else if (xml.isStartElement()) {
            const auto name = xml.name();
            if (name == QLatin1String("name")) {
                context = xml.readElementText();
            } else if (name == QLatin1String("message")) {
                message = Message{context, QString(), QString(), QString()};
            } else if (name == QLatin1String("source")) {
                message.source = xml.readElementText();
            } else if (name == QLatin1String("translation")) {
                message.type = xml.attributes().value(QLatin1String("type")).toString();
                message.translation = xml.readElementText();
            }
        }
    }
    EXPECT_FALSE(xml.hasError()) << path.toStdString() << ": " << xml.errorString().toStdString();
    return messages;
}

// The finished translations of context QObject in the shipped catalogue, by source text.
std::map<QString, QString> finishedTranslations() {
    std::map<QString, QString> found;
    for (const Message& m : readTs(kTsPath)) {
        if (m.context == QLatin1String("QObject") && m.type.isEmpty() && !m.translation.isEmpty())
            found[m.source] = m.translation;
    }
    return found;
}

// The source texts lupdate extracts from paths (files or folders), into a .ts under dir.
QStringList lupdateSources(const QStringList& paths, const QString& dir, QString* log) {
    QStringList aliases;
    for (const QString& helper : kTrHelpers)
        aliases << QStringLiteral("tr+=") + helper;
    const QString ts = dir + QStringLiteral("/extracted.ts");
    QStringList arguments = {QStringLiteral("-no-obsolete"), QStringLiteral("-locations"),
                             QStringLiteral("none"), QStringLiteral("-tr-function-alias"),
                             aliases.join(QLatin1Char(','))};
    arguments << paths << QStringLiteral("-ts") << ts;
    const testsupport::Run run =
        testsupport::runProgram(QStringLiteral(PASTREL_LUPDATE), arguments, dir);
    *log = QString::fromLocal8Bit(run.out + run.err);
    QStringList sources;
    if (!run.finished || run.exitCode != 0)
        return sources;
    for (const Message& m : readTs(ts))
        sources << m.source;
    return sources;
}

// The folders whose labels are printed (or shown, Part 6.1): the renderer, the front end and,
// once it exists, the utility library.
QStringList labelFolders() {
    QStringList folders;
    for (const char* folder : {"driver", "app", "lib"}) {
        const QString path = kSourceDir + QLatin1Char('/') + QLatin1String(folder);
        if (QDir(path).exists())
            folders << path;
    }
    return folders;
}

// The sources in which the checks fail: extracted but without a finished Italian translation,
// in the .ts or in the built .qm.
QStringList untranslated(const QStringList& sources) {
    const auto translations = finishedTranslations();
    QTranslator translator;
    EXPECT_TRUE(translator.load(kQmPath)) << kQmPath.toStdString();
    QStringList missing;
    for (const QString& source : sources) {
        const QByteArray utf8 = source.toUtf8();
        if (translations.count(source) == 0 ||
            translator.translate("QObject", utf8.constData()).isEmpty())
            missing << source;
    }
    return missing;
}

QString leadingBlanks(const QString& text) {
    qsizetype n = 0;
    while (n < text.size() && text.at(n) == QLatin1Char(' '))
        ++n;
    return text.left(n);
}

QString trailingBlanks(const QString& text) {
    qsizetype n = 0;
    while (n < text.size() && text.at(text.size() - 1 - n) == QLatin1Char(' '))
        ++n;
    return text.right(n);
}

// ----- The shipped catalogue -----

// Part 1.1 and DESIGN.md: the program looks labels up in context "QObject" only; a message in
// another context, or not finished (lrelease -nounfinished leaves it out), never prints.
TEST(ShippedCatalogue, EveryMessageIsFinishedInContextQObject) {
    const std::vector<Message> messages = readTs(kTsPath);
    ASSERT_FALSE(messages.empty()) << kTsPath.toStdString();
    for (const Message& m : messages) {
        EXPECT_EQ(m.context, QStringLiteral("QObject")) << m.source.toStdString();
        EXPECT_TRUE(m.type.isEmpty()) << m.source.toStdString() << " is " << m.type.toStdString();
        EXPECT_FALSE(m.translation.isEmpty()) << m.source.toStdString();
    }
}

// Parts 2.4, 2.6 to 2.11 and 6.1: every label of the spec has an Italian translation in the
// built catalogue, whether or not its code is in this tree yet (Part 6.1's box is in lib/).
TEST(ShippedCatalogue, BuiltCatalogueTranslatesEveryLabelOfTheSpec) {
    const QStringList labels = kDriverLabels + kLibraryLabels;
    EXPECT_EQ(labels.size(), 44);
    EXPECT_EQ(untranslated(labels), QStringList());
}

// The .qm is the .ts: every message of the source file reaches the built file unchanged.
TEST(ShippedCatalogue, BuiltCatalogueHoldsEveryMessageOfTheTs) {
    QTranslator translator;
    ASSERT_TRUE(translator.load(kQmPath)) << kQmPath.toStdString();
    const std::vector<Message> messages = readTs(kTsPath);
    EXPECT_GE(messages.size(), 46u);
    for (const Message& m : messages) {
        const QByteArray source = m.source.toUtf8();
        EXPECT_EQ(translator.translate("QObject", source.constData()), m.translation);
    }
}

// Parts 2.4, 2.8 and 2.10: blanks belong to the labels ("Serial Number: ", "BeginDate: ",
// "    Amount not paid: "); a translation keeps them exactly, so values still line up.
TEST(ShippedCatalogue, TranslationsKeepTheSourceLeadingAndTrailingBlanks) {
    for (const Message& m : readTs(kTsPath)) {
        EXPECT_EQ(leadingBlanks(m.translation), leadingBlanks(m.source)) << m.source.toStdString();
        EXPECT_EQ(trailingBlanks(m.translation), trailingBlanks(m.source))
            << m.source.toStdString();
    }
}

// Parts 2.3, 2.8, 2.9: each translation fits the cells of its place, for the widths of the
// sample configuration (examples/home: W 40, quantity 3, price 8, amount 9, report price 9).
TEST(ShippedCatalogue, TranslationsFitTheirCells) {
    struct Fit {
        const char* source;
        int cells;
        const char* place;
    };
    const Fit fits[] = {
        // Column headings (Part 2.3, "qdpt" with 3, 8, 9: description 19) and the statement
        // heading (Part 2.9, "date-amount-type": date 15, description 40-15-9-3 = 13, amount 9).
        {"Num", 3, "quantity column"},
        {"Description", 13, "statement description column"},
        {"Price", 8, "price column"},
        {"Amount", 9, "amount column"},
        {"Date", 15, "statement date column"},
        // Total rows in the description column of "qdpt" (Parts 2.7, 2.10, 2.11).
        {"Taxable", 19, "description column"},
        {"TaxRate", 19, "description column"},
        {"Tax", 19, "description column"},
        // Part 2.8: dotted labels within W - 15, titles centred on 40, the tax-rate heading
        // in 6 and 10, the cancelled table in 10, 11 and 10 ("TOTAL" serves it too).
        {"Number", 25, "dotted label"},
        {"Serials", 25, "dotted label"},
        {"TOTAL", 11, "cancelled table, total column"},
        {"SUMMARIES", 40, "title"},
        {"PREFISCAL SUMMARY", 40, "title"},
        {"RECEIPTS SUMMARY", 40, "title"},
        {"INVOICES SUMMARY", 40, "title"},
        {"CANCELLED DOC SUMMARY", 40, "title"},
        {"TAXRATE", 6, "tax-rate heading, rate column"},
        {"TAXABLE", 10, "tax-rate heading"},
        {"TAX", 10, "tax-rate heading"},
        {"AMOUNT", 10, "tax-rate heading"},
        {"SERIAL", 10, "cancelled table, serial column"},
        // Unpadded labels: room for a 10-cell amount, or a 16-cell date and time, on 40.
        {"    Amount not paid: ", 30, "unpaid line and amount"},
        {"Amount not paid: ", 30, "payment line"},
        {"Cash: ", 30, "payment line"},
        {"Credit Card: ", 30, "payment line"},
        {"Bancomat: ", 30, "payment line"},
        {"Other: ", 30, "payment line"},
        {"BeginDate: ", 24, "period line"},
        {"EndDate: ", 24, "period line"},
        // Part 2.4: label lines " label value" with room for a 16-cell value (a personal
        // fiscal code); the receipt head has one blank.
        {"Serial Number: ", 23, "receipt head"},
        {"Invoice Number:", 22, "label line"},
        {"Delivery Number:", 22, "label line"},
        {"Telephone:", 22, "label line"},
        {"License Number:", 22, "label line"},
        {"Fiscal Code:", 22, "label line"},
        {"Date:", 22, "label line"},
        {"Time:", 22, "label line"},
        {"Table:", 22, "label line"},
        {"Waiter:", 22, "label line"},
        {"Note:", 22, "label line"},
        {"Credit:", 22, "label line"},
        {"CUSTOMER", 40, "line of its own"},
        // Part 2.9: the sample movement codes in the statement's kind column.
        {"SALE", 13, "statement kind column"},
        {"PAYMENT", 13, "statement kind column"},
    };
    const auto translations = finishedTranslations();
    for (const Fit& fit : fits) {
        const auto it = translations.find(QString::fromUtf8(fit.source));
        ASSERT_NE(it, translations.end()) << fit.source;
        EXPECT_LE(it->second.size(), fit.cells) << '"' << it->second.toStdString() << "\" for \""
                                                << fit.source << "\" in the " << fit.place;
    }
}

// ----- lupdate on the sources: a new label cannot ship untranslated -----

// lupdate really sees our tr(), a static member taking a const char*, and the helpers that
// pass a label on: all 42 labels the renderer prints are extracted.
TEST(LupdateSources, ExtractsEveryLabelTheRendererPrints) {
    TempHome home;
    QString log;
    const QStringList sources = lupdateSources(labelFolders(), home.path(), &log);
    EXPECT_GE(sources.size(), kDriverLabels.size()) << log.toStdString();
    for (const QString& label : kDriverLabels)
        EXPECT_TRUE(sources.contains(label)) << '"' << label.toStdString() << "\" not extracted";
}

// The guard of issue 8: every label lupdate finds in driver/, app/ and lib/ has a finished
// Italian translation in context QObject, in the .ts and in the built .qm. On failure, add the
// listed texts to translations/pastrel_it_IT.ts by hand (context QObject).
TEST(LupdateSources, EveryExtractedLabelHasAnItalianTranslation) {
    TempHome home;
    QString log;
    const QStringList sources = lupdateSources(labelFolders(), home.path(), &log);
    ASSERT_FALSE(sources.isEmpty()) << log.toStdString();
    EXPECT_EQ(untranslated(sources), QStringList()) << "add them to translations/pastrel_it_IT.ts";
}

// The guard can fail: a source with two new labels, one direct and one through a helper, and
// one known label makes exactly the two new texts reported missing.
TEST(LupdateSources, NewLabelsWithoutTranslationAreReported) {
    TempHome home;
    const QString extra = home.file(QStringLiteral("new_label.cpp"));
    ASSERT_TRUE(testsupport::writeFile(
        extra, "void PrinterDriver::printNewThing(const Attributes& attributes) {\n"
               "    println(tr(\"Gift card: \") + value(attributes, \"gift\"));\n"
               "    printDottedLine(\"Covers\", value(attributes, \"covers\"));\n"
               "    printTotalRow(\"TOTAL\", value(attributes, \"total\"));\n"
               "}\n"));
    QString log;
    const QStringList sources = lupdateSources({extra}, home.path(), &log);
    EXPECT_EQ(sources.size(), 3) << log.toStdString();
    EXPECT_EQ(untranslated(sources),
              QStringList({QStringLiteral("Gift card: "), QStringLiteral("Covers")}));
}

// lupdate cannot see a label that reaches tr() through a variable: every tr() whose argument
// is not a literal must be inside one of kTrHelpers (whose callers lupdate reads), or be one
// of the two known non-labels.
TEST(LupdateSources, EveryNonLiteralTrIsInAHelperLupdateKnows) {
    static const QRegularExpression definition(
        QStringLiteral("^[A-Za-z_][\\w:<>,*& ]*?\\b(\\w+)\\s*\\("));
    static const QRegularExpression nonLiteralTr(QStringLiteral("\\btr\\(\\s*([^\\s\")][^)]*)\\)"));
    int helperCalls = 0;
    for (const QString& folder : labelFolders()) {
        QDirIterator files(folder, {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            QString function;
            int number = 0;
            for (const QByteArray& line : readFile(path).split('\n')) {
                ++number;
                const QString text = QString::fromUtf8(line);
                const auto head = definition.match(text);
                if (head.hasMatch())
                    function = head.captured(1);
                auto calls = nonLiteralTr.globalMatch(text);
                while (calls.hasNext()) {
                    const auto call = calls.next();
                    if (call.captured(1).startsWith(QLatin1String("const ")))
                        continue; // a declaration of tr itself
                    if (kTrHelpers.contains(function))
                        ++helperCalls;
                    else
                        EXPECT_TRUE(kNotLabelTr.contains(function))
                            << path.toStdString() << ':' << number << ": tr("
                            << call.captured(1).toStdString() << ") in " << function.toStdString()
                            << "(): add the function to kTrHelpers";
                }
            }
        }
    }
    EXPECT_EQ(helperCalls, kTrHelpers.size()) << "every helper is still a tr() of its label";
}

// ----- The locale rule of Part 1.1 -----

// A small receipt with one label of each kind: head, order data, heading, total, unpaid line.
const QByteArray kReceipt =
    "<document>\n"
    "  <method name=\"printFullOrderReceipt\"/>\n"
    "  <receipt serialnumber=\"2026/000007\"/>\n"
    "  <orderinfo date=\"21/11/2026\" table=\"4\"/>\n"
    "  <receipe number=\"1\" name=\"Caffè\" price=\"1.20\" totalPrice=\"1.20\"/>\n"
    "  <total price=\"1.20\"/>\n"
    "  <notPaid price=\"0.00\"/>\n"
    "</document>\n";

QByteArray renderReceipt(const QByteArray& language, const QString& lang) {
    TempHome home;
    home.writeConfig("pastrel : {\n    language : {\n" + language +
                     "    };\n    receiptdoc : {\n        quantityFieldWidth = 3;\n"
                     "        priceFieldWidth = 8;\n        totalPriceFieldWidth = 9;\n"
                     "        printDate = \"true\";\n        printTable = \"true\";\n    };\n};\n");
    const QString input = home.file(QStringLiteral("receipt.xml"));
    const QString output = home.file(QStringLiteral("receipt.prn"));
    EXPECT_TRUE(testsupport::writeFile(input, kReceipt));
    QProcessEnvironment environment;
    // QLocale::system() reads LC_ALL, LC_MESSAGES, LANG; a non-empty LANGUAGE overrides them.
    environment.insert(QStringLiteral("LC_ALL"), QString());
    environment.insert(QStringLiteral("LC_MESSAGES"), QString());
    environment.insert(QStringLiteral("LANGUAGE"), QString());
    environment.insert(QStringLiteral("LANG"), lang);
    const testsupport::Run run = testsupport::runProgram(testsupport::printProgram(),
                                                         {input, output}, home.path(), environment);
    EXPECT_TRUE(run.finished && !run.crashed);
    EXPECT_EQ(run.out, QByteArray());
    return readFile(output);
}

const QByteArray kByLocale =
    "        basedir = \"" + kCatalogueDir.toUtf8() + "\";\n        file = \"/\";\n";
const QByteArray kByFileName = "        basedir = \"" + kCatalogueDir.toUtf8() +
                               "/\";\n        file = \"pastrel_it_IT.qm\";\n";

// Part 1.1, edge case 3: with file "/" and the locale it_IT the program loads
// basedir/pastrel_it_IT, the very catalogue that the file name selects: same bytes.
TEST(CatalogueByLocale, ItalianLocaleFindsTheCatalogueTheFileNameSelects) {
    const QByteArray byLocale = renderReceipt(kByLocale, QStringLiteral("it_IT.UTF-8"));
    const QByteArray byFileName = renderReceipt(kByFileName, QStringLiteral("C"));
    EXPECT_BYTES(byFileName, byLocale);
    EXPECT_TRUE(byLocale.contains("    TOTALE.....")) << testsupport::escaped(byLocale);
    EXPECT_TRUE(byLocale.contains("\n    Corrispettivo non pagato: 0.00\n"));
}

// Part 1.1: with file "/" and LANG=C there is no pastrel_C catalogue (nor a bare pastrel.qm to
// fall back on): the labels print in English, as their source texts.
TEST(CatalogueByLocale, CLocalePrintsEnglishLabels) {
    const QByteArray english = renderReceipt(kByLocale, QStringLiteral("C"));
    EXPECT_TRUE(english.startsWith(" Serial Number: 2026/000007\n"))
        << testsupport::escaped(english);
    EXPECT_TRUE(english.contains("\n Table: 4\n"));
    EXPECT_TRUE(english.contains("    TOTAL......"));
    EXPECT_TRUE(english.contains("\n    Amount not paid: 0.00\n"));
    EXPECT_FALSE(english.contains("TOTALE"));
}

// ----- Install and demo -----

// `cmake --install` puts the built catalogue under <prefix>/share/pastrel/translations.
TEST(CatalogueInstall, InstallPutsTheCatalogueUnderTheShareFolder) {
    TempHome home;
    const QString prefix = home.file(QStringLiteral("prefix"));
    const testsupport::Run run =
        testsupport::runProgram(QStringLiteral(PASTREL_CMAKE_COMMAND),
                                {QStringLiteral("--install"), QStringLiteral(PASTREL_BINARY_DIR),
                                 QStringLiteral("--prefix"), prefix},
                                home.path());
    ASSERT_TRUE(run.finished) << "cmake --install did not end";
    ASSERT_EQ(run.exitCode, 0) << run.out.toStdString() << run.err.toStdString();
    const QString installed =
        prefix + QStringLiteral("/share/pastrel/translations/pastrel_it_IT.qm");
    ASSERT_TRUE(QFile::exists(installed)) << run.out.toStdString();
    EXPECT_EQ(readFile(installed), readFile(kQmPath));
}

// `make run`: the demo runs the samples on a copy of examples/home with "@CATALOGUE_DIR@" put
// in, so they print in Italian whatever the machine's locale; the sample home is left as is.
TEST(CatalogueDemo, DemoPrintsTheSamplesInItalianUnderTheCLocale) {
    TempHome home;
    const QString out = home.file(QStringLiteral("demo"));
    const QString sampleConf =
        kSourceDir + QStringLiteral("/examples/home/.pastrel/conf/pastrel.conf");
    const QByteArray sampleBefore = readFile(sampleConf);
    ASSERT_TRUE(sampleBefore.contains("basedir = \"@CATALOGUE_DIR@/\";"));
    ASSERT_TRUE(sampleBefore.contains("file = \"pastrel_it_IT.qm\";"));
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("PASTREL_DEMO_DIR"), out);
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    environment.insert(QStringLiteral("LANG"), QStringLiteral("C"));
    environment.insert(QStringLiteral("LANGUAGE"), QString());
    const testsupport::Run run = testsupport::runProgram(
        QStringLiteral("/bin/bash"),
        {kSourceDir + QStringLiteral("/scripts/demo.sh"), testsupport::printProgram(),
         kSourceDir + QStringLiteral("/examples")},
        home.path(), environment, QString(), 120000);
    ASSERT_TRUE(run.finished);
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.err, QByteArray());
    const QByteArray receipt = readFile(out + QStringLiteral("/full-order-receipt.prn"));
    EXPECT_TRUE(receipt.contains("\n Scontrino n. 2026/001234\n")) << testsupport::escaped(receipt);
    EXPECT_TRUE(receipt.contains("\nQt\xc3\xa0 Descrizione "));
    EXPECT_TRUE(receipt.contains("    TOTALE....."));
    const QByteArray statement = readFile(out + QStringLiteral("/statement-of-account.prn"));
    EXPECT_TRUE(statement.contains("Vendita")) << testsupport::escaped(statement);
    EXPECT_TRUE(statement.contains("Pagamento"));
    EXPECT_TRUE(run.out.contains("RIEPILOGO SCONTRINI"));
    EXPECT_EQ(readFile(sampleConf), sampleBefore);
}

} // namespace
