// Mutation test: every golden input (all folders under tests/documents, found at test time) and
// 10,000 mutated copies of them go through the built program, each with its case's pastrel.conf.
// Whatever the bytes, the program must exit with status 0 (Part 1.1: "The exit status is 0 in
// every case"; Overview: failures never stop the program) and end within a second.
//
// The mutants come from a fixed seed, so a run is reproducible for a given set of golden folders;
// each mutant has its own generator (seed, index), so the ten batches are independent and ctest
// runs them in parallel. A failing mutant is saved under <build>/mutation-failures/ with its
// configuration and the reason, ready to become a golden case.
#include "testsupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using testsupport::readFile;

constexpr std::uint32_t kSeed = 20240314;
constexpr int kBatches = 10;
constexpr int kMutantsPerBatch = 1000;
constexpr qint64 kLimitMs = 1000;         // the bound every run must meet
constexpr int kKillAfterMs = 5000;        // a run still going then is killed and reported as a hang
constexpr int kMaxFailures = 10;          // a batch stops after this many failing mutants
constexpr qsizetype kMaxMutant = 1 << 16; // duplications stop growing a mutant beyond this

struct GoldenCase {
    QString name;
    QByteArray input;
    QByteArray conf; // empty with hasConf false: the run has no configuration file
    bool hasConf = false;
    QProcessEnvironment environment;
};

// The golden folders, read as the golden runner reads them (tests/test_documents.cpp).
std::vector<GoldenCase> goldenCases(const QString& home) {
    std::vector<GoldenCase> cases;
    const QDir dir(QStringLiteral(PASTREL_SOURCE_DIR "/tests/documents"));
    for (const QString& name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        const QString folder = dir.filePath(name);
        if (!QFile::exists(folder + QStringLiteral("/input.xml")))
            continue;
        GoldenCase c;
        c.name = name;
        c.input = readFile(folder + QStringLiteral("/input.xml"));
        c.hasConf = QFile::exists(folder + QStringLiteral("/pastrel.conf"));
        if (c.hasConf) {
            c.conf = readFile(folder + QStringLiteral("/pastrel.conf"));
            c.conf.replace("@HOME@", home.toLocal8Bit());
            c.conf.replace("@QM_DIR@", PASTREL_BINARY_DIR "/tests/translations");
        }
        const QByteArray env = readFile(folder + QStringLiteral("/environment"));
        for (const QByteArray& line : env.split('\n')) {
            const qsizetype eq = line.indexOf('=');
            if (eq > 0)
                c.environment.insert(QString::fromLocal8Bit(line.left(eq)),
                                     QString::fromLocal8Bit(line.mid(eq + 1)));
        }
        cases.push_back(std::move(c));
    }
    return cases;
}

// Texts worth inserting: markup, every method name, an unknown one, entities, odd bytes.
const char* const kTokens[] = {
    "<",
    ">",
    "/>",
    "</",
    "=",
    "\"",
    "'",
    "&",
    "&amp;",
    "&#0;",
    "&#xFFFF;",
    "&undefined;",
    "<![CDATA[",
    "]]>",
    "<!--",
    "-->",
    "<?xml version=\"1.0\"?>",
    "<!DOCTYPE d [<!ENTITY e \"x\">]>",
    "&e;",
    "<method name=\"printPartialOrder\"/>",
    "<method name=\"printFullOrder\"/>",
    "<method name=\"printFullOrderReceipt\"/>",
    "<method name=\"printFullOrderInvoice\"/>",
    "<method name=\"printFullOrderDelivery\"/>",
    "<method name=\"printFullOrderFiscal\"/>",
    "<method name=\"printAbstractOrder\"/>",
    "<method name=\"printAbstractOrderReceipt\"/>",
    "<method name=\"printAbstractOrderInvoice\"/>",
    "<method name=\"printAbstractOrderFiscal\"/>",
    "<method name=\"printReport\"/>",
    "<method name=\"printSold\"/>",
    "<method name=\"printStatementOfAccount\"/>",
    "<method name=\"printInvoice\"/>",
    "<headers a=\"x\"/>",
    "<geometry/>",
    "<company/>",
    "<customer billingaddress=\",,\"/>",
    "<receipe name=\"=\"/>",
    "<variant quantity=\"nan\"/>",
    "<variant quantity=\"1e308\"/>",
    "<totals/>",
    "<total/>",
    "<notPaid/>",
    "<receipe_type/>",
    "-1",
    "0",
    "1.0",
    "99999999999",
    "\xc3\xa8",
    "\xff\xfe",
    "\xef\xbb\xbf",
    "\x00",
    "\t",
    "\r\n",
};

class Mutator {
public:
    Mutator(std::uint32_t seed, std::uint32_t index) {
        std::seed_seq seq{seed, index};
        m_rng.seed(seq);
    }

    // Uniform enough in [0, n), n > 0; mt19937's output is the same on every platform.
    std::uint32_t below(std::uint32_t n) { return n == 0 ? 0 : m_rng() % n; }

    QByteArray mutate(QByteArray text, const std::vector<GoldenCase>& cases) {
        const std::uint32_t steps = 1 + below(4);
        for (std::uint32_t i = 0; i < steps; ++i)
            step(text, cases);
        return text;
    }

private:
    qsizetype position(const QByteArray& text) {
        return static_cast<qsizetype>(below(static_cast<std::uint32_t>(text.size()) + 1));
    }

    // A span [from, from + length) inside text, at most maxLength long.
    std::pair<qsizetype, qsizetype> span(const QByteArray& text, std::uint32_t maxLength) {
        const qsizetype from = position(text);
        const qsizetype room = text.size() - from;
        const qsizetype length =
            std::min<qsizetype>(room, static_cast<qsizetype>(1 + below(maxLength)));
        return {from, length};
    }

    void step(QByteArray& text, const std::vector<GoldenCase>& cases) {
        switch (below(8)) {
        case 0: // byte flip
            if (!text.isEmpty()) {
                const qsizetype at = position(text) % text.size();
                text[at] = static_cast<char>(text[at] ^ static_cast<char>(1u << below(8)));
            }
            break;
        case 1: { // random bytes inserted
            QByteArray bytes;
            for (std::uint32_t n = 1 + below(8); n > 0; --n)
                bytes.append(static_cast<char>(below(256)));
            text.insert(position(text), bytes);
            break;
        }
        case 2: { // a token inserted
            const auto count = static_cast<std::uint32_t>(std::size(kTokens));
            const char* token = kTokens[below(count)];
            // "\x00" is a one-byte token: keep its NUL.
            const QByteArray bytes = token[0] == '\0' ? QByteArray(1, '\0') : QByteArray(token);
            text.insert(position(text), bytes);
            break;
        }
        case 3: { // a span deleted
            const auto [from, length] = span(text, 64);
            text.remove(from, length);
            break;
        }
        case 4: { // a span duplicated, up to eight times, here or elsewhere
            const auto [from, length] = span(text, 400);
            const QByteArray copy = text.mid(from, length);
            const qsizetype at = below(2) ? from + length : position(text);
            for (std::uint32_t n = 1 + below(8); n > 0 && text.size() < kMaxMutant; --n)
                text.insert(at, copy);
            break;
        }
        case 5: // truncated
            text.truncate(position(text));
            break;
        case 6: // two attribute values swapped
            swapValues(text);
            break;
        default: { // a span of another golden input spliced in
            const GoldenCase& other = cases[below(static_cast<std::uint32_t>(cases.size()))];
            const auto [from, length] = span(other.input, 400);
            text.insert(position(text), other.input.mid(from, length));
            break;
        }
        }
    }

    // Swaps the texts between the quotes of two attribute values (="...").
    void swapValues(QByteArray& text) {
        std::vector<std::pair<qsizetype, qsizetype>> values; // start, length
        qsizetype at = 0;
        while ((at = text.indexOf("=\"", at)) >= 0) {
            const qsizetype start = at + 2;
            const qsizetype end = text.indexOf('"', start);
            if (end < 0)
                break;
            values.emplace_back(start, end - start);
            at = end + 1;
        }
        if (values.size() < 2)
            return;
        auto a = values[below(static_cast<std::uint32_t>(values.size()))];
        auto b = values[below(static_cast<std::uint32_t>(values.size()))];
        if (a.first == b.first)
            return;
        if (a.first > b.first)
            std::swap(a, b);
        const QByteArray first = text.mid(a.first, a.second);
        const QByteArray second = text.mid(b.first, b.second);
        text.replace(b.first, b.second, first); // the later one first: offsets of a stay valid
        text.replace(a.first, a.second, second);
    }

    std::mt19937 m_rng;
};

struct Timing {
    qint64 slowestMs = -1;
    QString slowestWhat;
};

// Runs one input through the program in home; returns the reason it failed, or an empty text.
QString runOne(const testsupport::TempHome& home, const GoldenCase& base, const QByteArray& input,
               qint64* elapsedMs) {
    const QString inputPath = home.file(QStringLiteral("input.xml"));
    const QString outputPath = home.file(QStringLiteral("out.prn"));
    QFile::remove(outputPath);
    QFile::remove(home.configPath());
    if (base.hasConf)
        home.writeConfig(base.conf);
    if (!testsupport::writeFile(inputPath, input))
        return QStringLiteral("could not write the input");

    QElapsedTimer timer;
    timer.start();
    const testsupport::Run run =
        testsupport::runProgram(testsupport::printProgram(), {inputPath, outputPath}, home.path(),
                                base.environment, QString(), kKillAfterMs);
    *elapsedMs = timer.elapsed();
    if (!run.finished)
        return QStringLiteral("did not end within %1 ms (killed)").arg(kKillAfterMs);
    if (run.crashed)
        return QStringLiteral("crashed; standard error: ") + QString::fromLocal8Bit(run.err);
    if (run.exitCode != 0)
        return QStringLiteral("exit status %1").arg(run.exitCode);
    if (*elapsedMs >= kLimitMs)
        return QStringLiteral("took %1 ms, the limit is %2 ms").arg(*elapsedMs).arg(kLimitMs);
    return QString();
}

// Keeps a failing input where it can be turned into a golden case.
QString saveFailure(const QString& name, const GoldenCase& base, const QByteArray& input,
                    const QString& reason) {
    const QString folder = QStringLiteral(PASTREL_BINARY_DIR "/mutation-failures/") + name;
    QDir().mkpath(folder);
    testsupport::writeFile(folder + QStringLiteral("/input.xml"), input);
    if (base.hasConf)
        testsupport::writeFile(folder + QStringLiteral("/pastrel.conf"), base.conf);
    testsupport::writeFile(folder + QStringLiteral("/reason.txt"),
                           (QStringLiteral("mutated from ") + base.name + QStringLiteral(": ") +
                            reason + QLatin1Char('\n'))
                               .toUtf8());
    return folder;
}

void report(const char* what, const Timing& timing, int runs) {
    std::cout << what << ": " << runs << " runs, slowest " << timing.slowestMs << " ms ("
              << timing.slowestWhat.toStdString() << ")" << std::endl;
    ::testing::Test::RecordProperty("slowest_ms", static_cast<int>(timing.slowestMs));
    ::testing::Test::RecordProperty("slowest_input", timing.slowestWhat.toStdString());
}

// Every golden input, unmutated: exit 0 within a second.
TEST(Mutation, GoldenInputsExitZeroWithinASecond) {
    testsupport::TempHome home;
    const std::vector<GoldenCase> cases = goldenCases(home.path());
    ASSERT_FALSE(cases.empty()) << "no golden folder found";
    Timing timing;
    int failures = 0;
    for (const GoldenCase& c : cases) {
        qint64 elapsed = 0;
        const QString reason = runOne(home, c, c.input, &elapsed);
        if (elapsed > timing.slowestMs) {
            timing.slowestMs = elapsed;
            timing.slowestWhat = c.name;
        }
        if (!reason.isEmpty()) {
            ++failures;
            ADD_FAILURE() << c.name.toStdString() << ": " << reason.toStdString();
        }
    }
    report("golden inputs", timing, static_cast<int>(cases.size()));
    EXPECT_EQ(failures, 0);
}

class MutatedInputs : public ::testing::TestWithParam<int> {};

// One batch of 1,000 mutants: every run exits 0 within a second.
TEST_P(MutatedInputs, ExitZeroWithinASecond) {
    const int batch = GetParam();
    testsupport::TempHome home;
    const std::vector<GoldenCase> cases = goldenCases(home.path());
    ASSERT_FALSE(cases.empty()) << "no golden folder found";
    Timing timing;
    int failures = 0;
    for (int i = 0; i < kMutantsPerBatch; ++i) {
        const int index = batch * kMutantsPerBatch + i;
        Mutator mutator(kSeed, static_cast<std::uint32_t>(index));
        const GoldenCase& base = cases[mutator.below(static_cast<std::uint32_t>(cases.size()))];
        const QByteArray input = mutator.mutate(base.input, cases);
        const QString what = QStringLiteral("mutant %1 of %2").arg(index).arg(base.name);

        qint64 elapsed = 0;
        const QString reason = runOne(home, base, input, &elapsed);
        if (elapsed > timing.slowestMs) {
            timing.slowestMs = elapsed;
            timing.slowestWhat = what;
        }
        if (!reason.isEmpty()) {
            ++failures;
            const QString saved =
                saveFailure(QStringLiteral("mutant-%1").arg(index, 5, 10, QLatin1Char('0')), base,
                            input, reason);
            ADD_FAILURE() << what.toStdString() << ": " << reason.toStdString()
                          << "; input saved in " << saved.toStdString();
            // A systematic hang would cost kKillAfterMs per mutant: stop the batch early.
            if (failures == kMaxFailures)
                break;
        }
    }
    report("mutated inputs", timing, kMutantsPerBatch);
    EXPECT_EQ(failures, 0) << "failing inputs are under " PASTREL_BINARY_DIR "/mutation-failures/";
}

INSTANTIATE_TEST_SUITE_P(Mutation, MutatedInputs, ::testing::Range(0, kBatches),
                         [](const auto& info) { return "Batch" + std::to_string(info.param); });

} // namespace
