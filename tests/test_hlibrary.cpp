// Part 6.1: HLibrary's utility functions and SleepThread, on real files, a real named pipe and
// real widgets (QApplication under QT_QPA_PLATFORM=offscreen; the sheet box is answered by a
// timer). newDBConnection is in test_hlibrary_db.cpp (it needs the PostgreSQL fixture) and
// copyNumber (Part 6.2) in test_copynumber.cpp.
//
// Pauses are measured with QElapsedTimer and only their lower bound is asserted; the one upper
// bound of the file is the pause that must NOT happen (PageCopyNeverPausesAfterTheLastPiece...).
#include "hlibrary.h"
#include "outputcapture.h"
#include "sleepthread.h"
#include "testsupport.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <QTranslator>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

#include <cerrno>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

using testsupport::readFile;
using testsupport::TempHome;
using testsupport::writeFile;

// Part 6.1, data model: no instances.
static_assert(!std::is_default_constructible_v<HLibrary>, "HLibrary is static only");

namespace {

// ---- helpers ----

// A string literal's bytes, NUL bytes inside it included (not its terminator).
template <std::size_t N> QByteArray literal(const char (&text)[N]) {
    return QByteArray(text, static_cast<qsizetype>(N - 1));
}

// "line 1\n" ... "line n\n".
QByteArray numberedLines(int first, int last) {
    QByteArray text;
    for (int i = first; i <= last; ++i)
        text += "line " + QByteArray::number(i) + '\n';
    return text;
}

// count lines, line i holding length(i) bytes in all (its line end included); every byte says
// which line it belongs to and where, so a lost, doubled or moved piece changes the text.
QByteArray longLines(int count, int (*length)(int)) {
    QByteArray text;
    for (int i = 1; i <= count; ++i) {
        QByteArray line = "<" + QByteArray::number(i) + ">";
        while (line.size() < length(i) - 1)
            line += static_cast<char>('a' + (line.size() + i) % 26);
        text += line.left(length(i) - 1) + '\n';
    }
    return text;
}

// A QApplication for the tests that need widgets (the box, QComboBox).
class GuiApplication {
public:
    GuiApplication() {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        m_application = std::make_unique<QApplication>(m_argc, m_argv);
    }
    QApplication& application() { return *m_application; }

private:
    int m_argc = 1;
    char m_name[12] = "testhlib";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QApplication> m_application;
};

// What a sheet box looked like when it showed, and what the target held at that moment.
struct BoxSeen {
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    bool hasParent = true;
    bool modal = false;
    qsizetype buttons = 0;
    bool defaultIsTheButton = false;
    QByteArray targetHeld;
};

// Answers every message box by a timer: records it, then clicks its default button.
class BoxAnswerer {
public:
    explicit BoxAnswerer(QString target) : m_target(std::move(target)) {
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { answer(); });
        m_timer.start();
    }
    const std::vector<BoxSeen>& seen() const { return m_seen; }

private:
    void answer() {
        const QWidgetList widgets = QApplication::topLevelWidgets();
        for (QWidget* widget : widgets) {
            auto* box = qobject_cast<QMessageBox*>(widget);
            if (box == nullptr || !box->isVisible())
                continue;
            BoxSeen seen;
            seen.title = box->windowTitle();
            seen.text = box->text();
            seen.icon = box->icon();
            seen.hasParent = box->parentWidget() != nullptr;
            seen.modal = box->isModal();
            seen.buttons = box->buttons().size();
            seen.defaultIsTheButton = box->defaultButton() != nullptr && seen.buttons == 1 &&
                                      box->buttons().first() == box->defaultButton();
            seen.targetHeld = readFile(m_target);
            m_seen.push_back(seen);
            if (box->defaultButton() != nullptr)
                box->defaultButton()->click();
            else
                box->done(0); // never leave the test hanging on a wrong box
            return;
        }
    }

    QString m_target;
    QTimer m_timer;
    std::vector<BoxSeen> m_seen;
};

// Reads a named pipe slowly: small reads, a short sleep every few reads, and a pipe buffer
// shrunk to one page, so the writer blocks again and again.
class SlowReader {
public:
    explicit SlowReader(QString fifo) : m_fifo(std::move(fifo)), m_thread([this] { run(); }) {}
    ~SlowReader() { finish(); }
    SlowReader(const SlowReader&) = delete;
    SlowReader& operator=(const SlowReader&) = delete;

    // Waits for the end of the stream. If the writer never opened the pipe (a failed copy),
    // a writer opened here for a moment lets the reader's open return and see the end.
    QByteArray finish() {
        if (m_thread.joinable()) {
            const int fd = ::open(QFile::encodeName(m_fifo).constData(), O_WRONLY | O_NONBLOCK);
            if (fd >= 0)
                ::close(fd);
            m_thread.join();
        }
        return m_data;
    }

private:
    void run() {
        const int fd = ::open(QFile::encodeName(m_fifo).constData(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            return;
        ::fcntl(fd, F_SETPIPE_SZ, 4096);
        char buffer[16];
        for (int reads = 1;; ++reads) {
            const ssize_t size = ::read(fd, buffer, sizeof buffer);
            if (size < 0 && errno == EINTR)
                continue;
            if (size <= 0)
                break;
            m_data.append(buffer, size);
            if (reads % 8 == 0)
                ::usleep(100);
        }
        ::close(fd);
    }

    QString m_fifo;
    QByteArray m_data;
    std::thread m_thread; // last: starts when everything else is ready
};

// A named pipe in a temporary folder.
QString makeFifo(const QTemporaryDir& dir) {
    const QString path = dir.filePath(QStringLiteral("device"));
    EXPECT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    return path;
}

bool sigPipeBlockedInThisThread() {
    sigset_t mask;
    sigemptyset(&mask);
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, SIGPIPE) == 1;
}

bool sigPipePending() {
    sigset_t set;
    sigemptyset(&set);
    sigpending(&set);
    return sigismember(&set, SIGPIPE) == 1;
}

// Each test in a folder of its own, with HOME pointing at it.
class Part61 : public ::testing::Test {
protected:
    void SetUp() override { qputenv("HOME", QFile::encodeName(home.path())); }

    QString file(const char* name) const { return home.file(QLatin1String(name)); }

    // A source file holding text.
    QString source(const QByteArray& text, const char* name = "source.txt") const {
        const QString path = file(name);
        EXPECT_TRUE(writeFile(path, text));
        return path;
    }

    TempHome home;
};

// ---- fixed answers and configuration ----

// Part 6.1, interfaces table: the fixed answers of this platform.
TEST_F(Part61, FixedAnswersOfThisPlatform) {
    EXPECT_EQ(HLibrary::appData(), QString());
    EXPECT_EQ(HLibrary::programFiles(), QString());
    EXPECT_EQ(HLibrary::psql(), QStringLiteral("psql"));
    EXPECT_EQ(HLibrary::dropdb(), QStringLiteral("dropdb"));
    EXPECT_EQ(HLibrary::pg_dump(), QStringLiteral("pg_dump"));
    EXPECT_EQ(HLibrary::pg_restore(), QStringLiteral("pg_restore"));
}

// Part 6.1, interfaces table: path and text pass unchanged, whatever they hold.
TEST_F(Part61, ToWindowsFormatAndFromUtf8ReturnTheirArgumentUnchanged) {
    for (const QString& text : {QString(), QStringLiteral("/home/cassa/x y.txt"),
                                QStringLiteral("C:\\Pastrel\\dati"), QStringLiteral("Caffè €")}) {
        EXPECT_EQ(HLibrary::toWindowsFormat(text), text);
        EXPECT_EQ(HLibrary::fromUtf8(text), text);
    }
}

// Part 6.1: dataPath is the user's home directory.
TEST_F(Part61, DataPathIsTheHomeDirectory) {
    EXPECT_EQ(QDir(HLibrary::dataPath()).canonicalPath(), QDir(home.path()).canonicalPath());
}

// Part 6.1, edge case 7: no pastrel.bin.path gives "/" + name.
TEST_F(Part61, PathWithBinaryFileWithoutTheKeyIsSlashAndName) {
    home.writeConfig("pastrel : { db : { dbname = cassa; }; };");
    EXPECT_EQ(HLibrary::pathWithBinaryFile(HLibrary::psql()), QStringLiteral("/psql"));
}

// Part 6.1: pastrel.bin.path + "/" + name.
TEST_F(Part61, PathWithBinaryFileJoinsTheConfiguredFolder) {
    home.writeConfig("pastrel : { bin : { path = /usr/lib/postgresql/15/bin; }; };");
    EXPECT_EQ(HLibrary::pathWithBinaryFile(HLibrary::psql()),
              QStringLiteral("/usr/lib/postgresql/15/bin/psql"));
    EXPECT_EQ(HLibrary::pathWithBinaryFile(HLibrary::pg_dump()),
              QStringLiteral("/usr/lib/postgresql/15/bin/pg_dump"));
}

// Part 6.1: the four database settings, each from its own key.
TEST_F(Part61, DatabaseSettingsComeFromTheConfigurationFile) {
    home.writeConfig("pastrel : { db : { dbname = cassa; username = till1; password = s3cret; "
                     "hostname = dbhost.local; }; };");
    EXPECT_EQ(HLibrary::dbname(), QStringLiteral("cassa"));
    EXPECT_EQ(HLibrary::username(), QStringLiteral("till1"));
    EXPECT_EQ(HLibrary::password(), QStringLiteral("s3cret"));
    EXPECT_EQ(HLibrary::hostname(), QStringLiteral("dbhost.local"));
}

// Part 6.1: a missing key gives the empty string.
TEST_F(Part61, DatabaseSettingsAbsentAreEmpty) {
    home.writeConfig("pastrel : { db : { dbname = cassa; }; };");
    EXPECT_EQ(HLibrary::dbname(), QStringLiteral("cassa"));
    EXPECT_EQ(HLibrary::username(), QString());
    EXPECT_EQ(HLibrary::password(), QString());
    EXPECT_EQ(HLibrary::hostname(), QString());
}

// ---- touch ----

// Part 6.1, touch: a missing file is created empty.
TEST_F(Part61, TouchCreatesAMissingFileEmpty) {
    const QString path = file("new.txt");
    ASSERT_FALSE(QFile::exists(path));
    HLibrary::touch(path);
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_EQ(QFile(path).size(), 0);
}

// Part 6.1, touch: write-only WITHOUT truncation, so an existing file keeps every byte.
TEST_F(Part61, TouchKeepsTheContentOfAnExistingFileByteForByte) {
    const QByteArray content = literal("first line\n\0\x01\xff tail without line end");
    const QString path = source(content, "existing.txt");
    HLibrary::touch(path);
    EXPECT_BYTES(content, readFile(path));
}

// Part 6.1, failure handling: touch reports nothing, and creates no folder.
TEST_F(Part61, TouchInAMissingFolderCreatesNothingAndReportsNothing) {
    const QString path = file("missing/new.txt");
    const auto output = testsupport::captureOutput([&] { HLibrary::touch(path); });
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_FALSE(QDir(file("missing")).exists());
    EXPECT_BYTES(QByteArray(), output.out);
    EXPECT_BYTES(QByteArray(), output.err);
}

// docs/hlibrary.md: touch of a named pipe nobody reads returns at once (no hang).
TEST_F(Part61, TouchOfANamedPipeWithoutReaderReturnsAndLeavesIt) {
    QTemporaryDir dir;
    const QString path = makeFifo(dir);
    HLibrary::touch(path); // would block forever without O_NONBLOCK
    struct stat info {};
    ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &info), 0);
    EXPECT_TRUE(S_ISFIFO(info.st_mode));
}

// ---- page copy ----

// Part 6.1, edge case 4: lines 3, page 1 of a 7-line file copies lines 4 to 6.
TEST_F(Part61, PageCopyOfPage1WithLines3CopiesLines4To6) {
    const QString target = file("target.txt");
    EXPECT_TRUE(HLibrary::copy(source(numberedLines(1, 7)), target, 3u, 0u, 1u));
    EXPECT_BYTES(numberedLines(4, 6), readFile(target));
}

// Part 6.1, edge case 4: page 3 begins beyond the end of a 7-line file.
TEST_F(Part61, PageCopyOfPage3WithLines3OfA7LineFileIsFalse) {
    const QString target = file("target.txt");
    EXPECT_FALSE(HLibrary::copy(source(numberedLines(1, 7)), target, 3u, 0u, 3u));
    EXPECT_BYTES(QByteArray(), readFile(target)); // nothing written
}

// Part 6.1, page copy: a last page shorter than lines ends with the source, true.
TEST_F(Part61, PageCopyOfTheShortLastPageCopiesWhatIsLeft) {
    const QString target = file("target.txt");
    EXPECT_TRUE(HLibrary::copy(source(numberedLines(1, 7)), target, 3u, 0u, 2u));
    EXPECT_BYTES(numberedLines(7, 7), readFile(target));
}

// docs/hlibrary.md: a page that would begin exactly at the end of the source is beyond it.
TEST_F(Part61, PageCopyOfAPageBeginningExactlyAtTheEndIsFalse) {
    const QString src = source(numberedLines(1, 6));
    EXPECT_TRUE(HLibrary::copy(src, file("page1.txt"), 3u, 0u, 1u));
    EXPECT_BYTES(numberedLines(4, 6), readFile(file("page1.txt")));
    EXPECT_FALSE(HLibrary::copy(src, file("page2.txt"), 3u, 0u, 2u));
    EXPECT_BYTES(QByteArray(), readFile(file("page2.txt")));
}

// Part 6.1, page copy step 3: lines 0 means no limit (lines - 1 in unsigned arithmetic); the
// page number then skips nothing.
TEST_F(Part61, PageCopyWithLines0CopiesTheWholeFile) {
    const QByteArray text = numberedLines(1, 40);
    const QString src = source(text);
    EXPECT_TRUE(HLibrary::copy(src, file("page0.txt"), 0u, 0u, 0u));
    EXPECT_BYTES(text, readFile(file("page0.txt")));
    EXPECT_TRUE(HLibrary::copy(src, file("page5.txt"), 0u, 0u, 5u));
    EXPECT_BYTES(text, readFile(file("page5.txt")));
}

// Part 6.1, edge case 5: a 300-byte line is three pieces of 127, 127 and 46 bytes; each page
// of lines 1 is one piece.
TEST_F(Part61, PageCopyCountsA300ByteLineAsThreePieces) {
    const QByteArray line = longLines(1, [](int) { return 300; });
    ASSERT_EQ(line.size(), 300);
    const QString src = source(line + "next\n");
    const QString pieces[] = {file("p0"), file("p1"), file("p2"), file("p3")};
    for (unsigned int page = 0; page < 4; ++page)
        EXPECT_TRUE(HLibrary::copy(src, pieces[page], 1u, 0u, page)) << "page " << page;
    EXPECT_BYTES(line.mid(0, 127), readFile(pieces[0]));
    EXPECT_BYTES(line.mid(127, 127), readFile(pieces[1]));
    EXPECT_BYTES(line.mid(254, 46), readFile(pieces[2]));
    EXPECT_BYTES(QByteArray("next\n"), readFile(pieces[3]));
    EXPECT_FALSE(HLibrary::copy(src, file("p4"), 1u, 0u, 4u));
}

// Part 6.1, edge case 5 with a page of lines 2: the 300-byte line fills pages 0 and 1.
TEST_F(Part61, PageCopyOfTwoPiecesStopsInsideALongLine) {
    const QByteArray line = longLines(1, [](int) { return 300; });
    const QString src = source(line);
    EXPECT_TRUE(HLibrary::copy(src, file("page0"), 2u, 0u, 0u));
    EXPECT_BYTES(line.left(254), readFile(file("page0")));
    EXPECT_TRUE(HLibrary::copy(src, file("page1"), 2u, 0u, 1u));
    EXPECT_BYTES(line.mid(254), readFile(file("page1")));
}

// Part 6.1: a line of exactly 127 bytes is one piece, one of 128 bytes two.
TEST_F(Part61, PageCopyPieceBoundaryAt127Bytes) {
    const QByteArray exact = longLines(1, [](int) { return 127; });
    const QByteArray over = longLines(1, [](int) { return 128; });
    const QString src = source(exact + over);
    EXPECT_TRUE(HLibrary::copy(src, file("a"), 1u, 0u, 0u));
    EXPECT_BYTES(exact, readFile(file("a")));
    EXPECT_TRUE(HLibrary::copy(src, file("b"), 1u, 0u, 1u));
    EXPECT_BYTES(over.left(127), readFile(file("b")));
    EXPECT_TRUE(HLibrary::copy(src, file("c"), 1u, 0u, 2u));
    EXPECT_BYTES(QByteArray("\n"), readFile(file("c")));
}

// Part 6.1: every piece is written as read; no line end is added or changed (CR LF, a last
// line without line end, a NUL byte: docs/hlibrary.md).
TEST_F(Part61, PageCopyWritesEveryByteAsRead) {
    const QByteArray text = literal("dos line\r\nnul \0 inside\nno end");
    const QString target = file("target.txt");
    EXPECT_TRUE(HLibrary::copy(source(text), target, 0u, 0u, 0u));
    EXPECT_BYTES(text, readFile(target));
}

// Part 6.1, page copy: an empty source copies nothing, page 0 is true, page 1 is beyond it.
TEST_F(Part61, PageCopyOfAnEmptySource) {
    const QString src = source(QByteArray());
    EXPECT_TRUE(HLibrary::copy(src, file("page0"), 3u, 0u, 0u));
    EXPECT_TRUE(QFile::exists(file("page0")));
    EXPECT_FALSE(HLibrary::copy(src, file("page1"), 3u, 0u, 1u));
}

// Part 6.1, page copy step 1 (the DESIGN.md trap): the target is not truncated, so a longer
// old target keeps its tail after the copied bytes.
TEST_F(Part61, PageCopyDoesNotTruncateALongerTarget) {
    const QString target = source("OLD CONTENT THAT IS LONGER THAN THE COPY\n", "target.txt");
    EXPECT_TRUE(HLibrary::copy(source("new\n"), target, 0u, 0u, 0u));
    EXPECT_BYTES(QByteArray("new\nCONTENT THAT IS LONGER THAN THE COPY\n"), readFile(target));
}

// Part 6.1, failure handling: a target that cannot be opened gives false.
TEST_F(Part61, PageCopyToATargetThatCannotBeOpenedIsFalse) {
    const QString src = source(numberedLines(1, 3));
    EXPECT_FALSE(HLibrary::copy(src, file("missing/target.txt"), 0u, 0u, 0u));
    EXPECT_FALSE(QFile::exists(file("missing/target.txt")));
    EXPECT_FALSE(HLibrary::copy(src, home.path(), 0u, 0u, 0u)); // a folder
    EXPECT_FALSE(HLibrary::copy(src, QString(), 0u, 0u, 0u));
}

// Part 6.1, failure handling: a source that cannot be opened gives false, and the target is
// not even created (the source is opened first).
TEST_F(Part61, PageCopyFromASourceThatCannotBeOpenedIsFalse) {
    const QString target = file("target.txt");
    EXPECT_FALSE(HLibrary::copy(file("no-such-file"), target, 0u, 0u, 0u));
    EXPECT_FALSE(HLibrary::copy(home.path(), target, 0u, 0u, 0u)); // a folder
    EXPECT_FALSE(HLibrary::copy(QString(), target, 0u, 0u, 0u));
    EXPECT_FALSE(QFile::exists(target));
}

// Part 6.1: the copies write no message, even when they fail.
TEST_F(Part61, CopiesReportNothingOnStandardOutputOrError) {
    const QString src = source(numberedLines(1, 3));
    const auto output = testsupport::captureOutput([&] {
        EXPECT_FALSE(HLibrary::copy(file("none"), file("t1"), 0u, 0u, 0u));
        EXPECT_FALSE(HLibrary::copy(src, file("missing/t2"), 0u, 0u, 0u));
        EXPECT_FALSE(HLibrary::copy(src, file("t3"), 3u, 0u, 7u));
        EXPECT_FALSE(HLibrary::copy(file("none"), file("t4"), 2u, 0u));
        EXPECT_TRUE(HLibrary::copy(src, file("t5"), 0u, 0u, 0u));
    });
    EXPECT_BYTES(QByteArray(), output.out);
    EXPECT_BYTES(QByteArray(), output.err);
}

// docs/hlibrary.md: a write that fails (a full device) ends the copy with false.
TEST_F(Part61, CopyToAFullDeviceIsFalse) {
    if (!QFile::exists(QStringLiteral("/dev/full")))
        GTEST_SKIP() << "no /dev/full on this system";
    const QString src = source(numberedLines(1, 5));
    EXPECT_FALSE(HLibrary::copy(src, QStringLiteral("/dev/full"), 0u, 0u, 0u));
    EXPECT_FALSE(HLibrary::copy(src, QStringLiteral("/dev/full"), 0u, 0u));
}

// Part 6.1, pause: delay 50 over a page of 4 pieces makes 3 pauses, so at least 150 ms.
TEST_F(Part61, PageCopyPausesDelayBetweenPieces) {
    const QString src = source(numberedLines(1, 8));
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(HLibrary::copy(src, file("target.txt"), 4u, 50u, 0u));
    EXPECT_GE(clock.elapsed(), 150);
    EXPECT_BYTES(numberedLines(1, 4), readFile(file("target.txt")));
}

// Part 6.1, page copy: "the pause falls between pieces, never after the last piece of a
// page". A page of one piece (of a longer source) takes no pause at all: with a delay of 5 s
// the copy returns long before the pause it must not take would have ended.
TEST_F(Part61, PageCopyNeverPausesAfterTheLastPieceOfAPage) {
    const QString src = source(numberedLines(1, 5));
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(HLibrary::copy(src, file("target.txt"), 1u, 5000u, 2u));
    EXPECT_LT(clock.elapsed(), 5000);
    EXPECT_BYTES(numberedLines(3, 3), readFile(file("target.txt")));
}

// ---- sheet copy ----

// Part 6.1, edge case 3: 5 pieces with sheetLines 2 show the box after pieces 3 and 5 (the
// test comes before the increment: the first sheet is one piece longer; kept). Each box is
// placed by what the target held when it showed: every piece is flushed at once.
TEST_F(Part61, SheetCopyOf5PiecesWithSheetLines2ShowsTheBoxAfterPieces3And5) {
    GuiApplication gui;
    const QString target = file("target.txt");
    BoxAnswerer answerer(target);
    EXPECT_TRUE(HLibrary::copy(source(numberedLines(1, 5)), target, 2u, 0u));
    ASSERT_EQ(answerer.seen().size(), 2u);
    EXPECT_BYTES(numberedLines(1, 3), answerer.seen()[0].targetHeld);
    EXPECT_BYTES(numberedLines(1, 5), answerer.seen()[1].targetHeld);
    EXPECT_BYTES(numberedLines(1, 5), readFile(target));
}

// Part 6.1, sheet copy: with sheetLines 1 the first box comes after 2 pieces, then after
// every piece.
TEST_F(Part61, SheetCopyWithSheetLines1AsksAfterPiece2ThenAfterEveryPiece) {
    GuiApplication gui;
    const QString target = file("target.txt");
    BoxAnswerer answerer(target);
    EXPECT_TRUE(HLibrary::copy(source(numberedLines(1, 4)), target, 1u, 0u));
    ASSERT_EQ(answerer.seen().size(), 3u);
    EXPECT_BYTES(numberedLines(1, 2), answerer.seen()[0].targetHeld);
    EXPECT_BYTES(numberedLines(1, 3), answerer.seen()[1].targetHeld);
    EXPECT_BYTES(numberedLines(1, 4), answerer.seen()[2].targetHeld);
}

// Part 6.1, edge case 5 in the sheet copy: the pieces of a 300-byte line count one by one.
TEST_F(Part61, SheetCopyCountsThePiecesOfALongLine) {
    GuiApplication gui;
    const QByteArray line = longLines(1, [](int) { return 300; });
    const QString target = file("target.txt");
    BoxAnswerer answerer(target);
    EXPECT_TRUE(HLibrary::copy(source(line), target, 1u, 0u));
    ASSERT_EQ(answerer.seen().size(), 2u);
    EXPECT_BYTES(line.left(254), answerer.seen()[0].targetHeld);
    EXPECT_BYTES(line, answerer.seen()[1].targetHeld);
}

// Part 6.1, sheet copy: sheetLines 0 never asks.
TEST_F(Part61, SheetCopyWithSheetLines0NeverShowsTheBox) {
    GuiApplication gui;
    const QString target = file("target.txt");
    BoxAnswerer answerer(target);
    const QByteArray text = numberedLines(1, 30);
    EXPECT_TRUE(HLibrary::copy(source(text), target, 0u, 0u));
    EXPECT_EQ(answerer.seen().size(), 0u);
    EXPECT_BYTES(text, readFile(target));
}

// Part 6.1, sheet copy step 2: a modal information box without parent, caption "PaperWindow",
// text "Insert a new sheet", one button, which is the default.
TEST_F(Part61, SheetBoxIsAModalInformationBoxWithCaptionAndText) {
    GuiApplication gui;
    const QString target = file("target.txt");
    BoxAnswerer answerer(target);
    EXPECT_TRUE(HLibrary::copy(source(numberedLines(1, 2)), target, 1u, 0u));
    ASSERT_EQ(answerer.seen().size(), 1u);
    const BoxSeen& box = answerer.seen()[0];
    EXPECT_EQ(box.title, QStringLiteral("PaperWindow"));
    EXPECT_EQ(box.text, QStringLiteral("Insert a new sheet"));
    EXPECT_EQ(box.icon, QMessageBox::Information);
    EXPECT_FALSE(box.hasParent);
    EXPECT_TRUE(box.modal);
    EXPECT_EQ(box.buttons, 1);
    EXPECT_TRUE(box.defaultIsTheButton);
}

// Part 6.1: both texts go through the translator in the generic context "QObject", so the
// shipped Italian catalogue translates them.
TEST_F(Part61, SheetBoxSpeaksItalianWithTheShippedCatalogue) {
    GuiApplication gui;
    QTranslator translator;
    ASSERT_TRUE(
        translator.load(QStringLiteral(PASTREL_BINARY_DIR "/translations/pastrel_it_IT.qm")));
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    const QString target = file("target.txt");
    BoxAnswerer answerer(target);
    EXPECT_TRUE(HLibrary::copy(source(numberedLines(1, 2)), target, 1u, 0u));
    ASSERT_EQ(answerer.seen().size(), 1u);
    EXPECT_EQ(answerer.seen()[0].title, QStringLiteral("Cambio foglio"));
    EXPECT_EQ(answerer.seen()[0].text, QStringLiteral("Inserire un nuovo foglio"));
}

// docs/hlibrary.md: without a QApplication no box can be shown; the copy goes on without
// asking instead of crashing the program.
TEST_F(Part61, SheetCopyWithoutQApplicationCopiesEverythingWithoutTheBox) {
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    const QByteArray text = numberedLines(1, 9);
    const QString target = file("target.txt");
    EXPECT_TRUE(HLibrary::copy(source(text), target, 2u, 0u));
    EXPECT_BYTES(text, readFile(target));
}

// Part 6.1, sheet copy: the pause follows every piece, the last one included, so delay 50
// over 4 pieces takes at least 4 x 50 ms.
TEST_F(Part61, SheetCopyPausesDelayAfterEveryPiece) {
    const QString src = source(numberedLines(1, 4));
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(HLibrary::copy(src, file("target.txt"), 0u, 50u));
    EXPECT_GE(clock.elapsed(), 200);
    EXPECT_BYTES(numberedLines(1, 4), readFile(file("target.txt")));
}

// Part 6.1, sheet copy step 1: the target is not truncated either.
TEST_F(Part61, SheetCopyDoesNotTruncateALongerTarget) {
    const QString target = source("0123456789ABCDEF\n", "target.txt");
    EXPECT_TRUE(HLibrary::copy(source("ab\n"), target, 0u, 0u));
    EXPECT_BYTES(QByteArray("ab\n3456789ABCDEF\n"), readFile(target));
}

// Part 6.1, failure handling of the sheet copy.
TEST_F(Part61, SheetCopyWithAFileThatCannotBeOpenedIsFalse) {
    const QString src = source(numberedLines(1, 3));
    EXPECT_FALSE(HLibrary::copy(src, file("missing/target.txt"), 2u, 0u));
    EXPECT_FALSE(HLibrary::copy(src, home.path(), 2u, 0u));
    EXPECT_FALSE(HLibrary::copy(file("no-such-file"), file("target.txt"), 2u, 0u));
    EXPECT_FALSE(QFile::exists(file("target.txt")));
}

// ---- the string form ----

// Part 6.1: text that is not a number gives 0: "abc" copies the whole file without a box.
TEST_F(Part61, StringCopyWithTextThatIsNotANumberUsesZero) {
    GuiApplication gui;
    const QByteArray text = numberedLines(1, 6);
    const QString target = file("target.txt");
    BoxAnswerer answerer(target);
    EXPECT_TRUE(HLibrary::copy(source(text), target, QStringLiteral("abc"), QStringLiteral("abc")));
    EXPECT_EQ(answerer.seen().size(), 0u);
    EXPECT_BYTES(text, readFile(target));
}

// Part 6.1: decimal text is the number, so "2" behaves as sheetLines 2 (edge case 3).
TEST_F(Part61, StringCopyWithDecimalTextBehavesAsTheNumericForm) {
    GuiApplication gui;
    const QString target = file("target.txt");
    BoxAnswerer answerer(target);
    EXPECT_TRUE(HLibrary::copy(source(numberedLines(1, 5)), target, QStringLiteral("2"),
                               QStringLiteral("0")));
    ASSERT_EQ(answerer.seen().size(), 2u);
    EXPECT_BYTES(numberedLines(1, 3), answerer.seen()[0].targetHeld);
    EXPECT_BYTES(numberedLines(1, 5), answerer.seen()[1].targetHeld);
}

// Part 6.1 with the toolkit's base-10 rule (DESIGN.md): blanks around the number are allowed;
// "-1", "0x2" and "2.0" are not numbers here and give 0 (docs/hlibrary.md).
TEST_F(Part61, StringCopyReadsTheSheetLinesWithTheBase10Rule) {
    GuiApplication gui;
    const QString src = source(numberedLines(1, 5));
    {
        const QString target = file("blanks.txt");
        BoxAnswerer answerer(target);
        EXPECT_TRUE(HLibrary::copy(src, target, QStringLiteral(" 2 "), QString()));
        EXPECT_EQ(answerer.seen().size(), 2u);
    }
    for (const char* text : {"-1", "0x2", "2.0", ""}) {
        const QString target = file("other.txt");
        BoxAnswerer answerer(target);
        EXPECT_TRUE(HLibrary::copy(src, target, QLatin1String(text), QStringLiteral("0")));
        EXPECT_EQ(answerer.seen().size(), 0u) << text;
    }
}

// Part 6.1: the delay text is the pause in milliseconds.
TEST_F(Part61, StringCopyPausesTheDelayGivenAsText) {
    const QString src = source(numberedLines(1, 4));
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(HLibrary::copy(src, file("target.txt"), QStringLiteral("0"), QStringLiteral("50")));
    EXPECT_GE(clock.elapsed(), 200);
}

// ---- a slow device: a named pipe read slowly ----

int lineLength(int i) {
    return 128 + (i * 37) % 200; // 128..327 bytes: two or three pieces each
}

// Part 6.1: every piece reaches a slow device in order and nothing is lost (200 long lines,
// the pipe shrunk to one page, so the copy blocks on the device again and again).
TEST_F(Part61, PageCopyToASlowNamedPipeDeliversEveryPieceInOrder) {
    const QByteArray text = longLines(200, lineLength);
    const QString src = source(text);
    QTemporaryDir dir;
    const QString fifo = makeFifo(dir);
    SlowReader reader(fifo);
    EXPECT_TRUE(HLibrary::copy(src, fifo, 0u, 0u, 0u));
    EXPECT_BYTES(text, reader.finish());
}

// The same with a pause of 1 ms between pieces (about 500 pieces).
TEST_F(Part61, PageCopyWithADelayToASlowNamedPipeDeliversEveryPieceInOrder) {
    const QByteArray text = longLines(200, lineLength);
    const QString src = source(text);
    QTemporaryDir dir;
    const QString fifo = makeFifo(dir);
    SlowReader reader(fifo);
    EXPECT_TRUE(HLibrary::copy(src, fifo, 0u, 1u, 0u));
    EXPECT_BYTES(text, reader.finish());
}

// A page of a slow device: lines 100 of page 1 are pieces 101..200 of the source.
TEST_F(Part61, PageCopyOfOnePageToASlowNamedPipeDeliversExactlyThatPage) {
    const QByteArray text = longLines(200, [](int) { return 254; }); // two pieces a line
    const QString src = source(text);
    QTemporaryDir dir;
    const QString fifo = makeFifo(dir);
    SlowReader reader(fifo);
    EXPECT_TRUE(HLibrary::copy(src, fifo, 100u, 0u, 1u));
    EXPECT_BYTES(text.mid(50 * 254, 50 * 254), reader.finish());
}

// The sheet copy to the slow device, without and with a pause.
TEST_F(Part61, SheetCopyToASlowNamedPipeDeliversEveryPieceInOrder) {
    const QByteArray text = longLines(200, lineLength);
    const QString src = source(text);
    for (unsigned int delay : {0u, 1u}) {
        QTemporaryDir dir;
        const QString fifo = makeFifo(dir);
        SlowReader reader(fifo);
        EXPECT_TRUE(HLibrary::copy(src, fifo, 0u, delay)) << "delay " << delay;
        EXPECT_BYTES(text, reader.finish());
    }
}

// docs/hlibrary.md: a device that goes away mid-copy (the reader closes the pipe) ends the
// copy with false; SIGPIPE does not kill the program, is not left pending, and the thread's
// signal mask is as before.
TEST_F(Part61, CopyToAPipeWhoseReaderHasGoneIsFalseAndTheProgramLives) {
    const QByteArray text = longLines(4000, [](int) { return 300; }); // 1.2 MB, > any pipe
    const QString src = source(text);
    QTemporaryDir dir;
    const QString fifo = makeFifo(dir);
    ASSERT_FALSE(sigPipeBlockedInThisThread());
    for (int form = 0; form < 2; ++form) {
        std::thread reader([&] {
            const int fd = ::open(QFile::encodeName(fifo).constData(), O_RDONLY | O_CLOEXEC);
            if (fd < 0)
                return;
            char buffer[10];
            EXPECT_GT(::read(fd, buffer, sizeof buffer), 0);
            ::close(fd);
        });
        const bool copied =
            form == 0 ? HLibrary::copy(src, fifo, 0u, 0u, 0u) : HLibrary::copy(src, fifo, 0u, 0u);
        reader.join();
        EXPECT_FALSE(copied) << "form " << form;
        EXPECT_FALSE(sigPipeBlockedInThisThread());
        EXPECT_FALSE(sigPipePending());
    }
}

// ---- getNewRand ----

// Part 6.1: seeded with the time in seconds on every call, so two calls within one second give
// the same number, which is rand() after srand(time), as decimal text.
TEST_F(Part61, GetNewRandTwiceInOneSecondIsEqualAndDecimal) {
    for (int attempt = 0; attempt < 10; ++attempt) {
        const std::time_t before = std::time(nullptr);
        const QString first = HLibrary::getNewRand();
        const QString second = HLibrary::getNewRand();
        const std::time_t after = std::time(nullptr);
        if (before != after)
            continue; // a second boundary fell between the calls: try again
        EXPECT_EQ(first, second);
        EXPECT_TRUE(QRegularExpression(QStringLiteral("^[0-9]+$")).match(first).hasMatch())
            << first.toStdString();
        std::srand(static_cast<unsigned int>(before));
        EXPECT_EQ(first, QString::number(std::rand()));
        return;
    }
    FAIL() << "every attempt straddled a second boundary";
}

// ---- comboBoxIndexOf ----

// Part 6.1, edge case 6: an empty box gives -1 (and no box at all too: docs/hlibrary.md).
TEST_F(Part61, ComboBoxIndexOfOnAnEmptyBoxIsMinusOne) {
    GuiApplication gui;
    QComboBox box;
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QStringLiteral("Caffè")), -1);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QString()), -1);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(nullptr, QStringLiteral("Caffè")), -1);
}

// Part 6.1: exact match only (case, blanks, prefixes differ), first of duplicates.
TEST_F(Part61, ComboBoxIndexOfFindsTheFirstExactMatch) {
    GuiApplication gui;
    QComboBox box;
    box.addItems({QStringLiteral("Acqua"), QStringLiteral("Caffè"), QStringLiteral("Tè"),
                  QStringLiteral("Caffè"), QString()});
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QStringLiteral("Acqua")), 0);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QStringLiteral("Caffè")), 1);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QStringLiteral("Tè")), 2);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QString()), 4);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QStringLiteral("caffè")), -1);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QStringLiteral("Caff")), -1);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QStringLiteral("Caffè ")), -1);
    EXPECT_EQ(HLibrary::comboBoxIndexOf(&box, QStringLiteral("Caffe")), -1);
}

// ---- hsleep, SleepThread ----

// Part 6.1: hsleep suspends for whole seconds.
TEST_F(Part61, HsleepOfOneSecondTakesAtLeastOneSecond) {
    QElapsedTimer clock;
    clock.start();
    HLibrary::hsleep(1);
    EXPECT_GE(clock.elapsed(), 1000);
}

// Part 6.1: made and destroyed in one statement, a SleepThread blocks its creator for the pause.
TEST_F(Part61, SleepThreadMadeAndDestroyedInOneStatementBlocksForThePause) {
    QElapsedTimer clock;
    clock.start();
    SleepThread{120};
    EXPECT_GE(clock.elapsed(), 120);
}

// Part 6.1: the constructor starts the thread at once, and the destructor waits for it.
TEST_F(Part61, SleepThreadStartsAtOnceAndTheDestructorWaits) {
    QElapsedTimer clock;
    clock.start();
    {
        SleepThread pause(150);
        EXPECT_TRUE(pause.isRunning());
    }
    EXPECT_GE(clock.elapsed(), 150);
}

// ---- truncateDecimal ----

struct DecimalCase {
    const char* name;
    double value;
    const char* expected;
};

void PrintTo(const DecimalCase& c, std::ostream* os) {
    *os << c.name;
}

class TruncateDecimal : public ::testing::TestWithParam<DecimalCase> {};

// Part 6.1, two-decimal formatting: examples and edge cases 1 and 2, and more of the rule.
TEST_P(TruncateDecimal, GivesTheTextOfThePart) {
    EXPECT_EQ(HLibrary::truncateDecimal(GetParam().value).toStdString(),
              std::string(GetParam().expected));
}

const DecimalCase kDecimalCases[] = {
    // Part 6.1, examples.
    {"Example_12_3456_RoundsHalfUpOnTheThirdDecimal", 12.3456, "12.35"},
    {"Example_12_3449", 12.3449, "12.34"},
    {"Example_3_GetsPoint00", 3.0, "3.00"},
    {"Example_12_5_IsPaddedWithZero", 12.5, "12.50"},
    {"Example_Minus1_235_RoundsTowardZero", -1.235, "-1.23"},
    {"Example_0", 0.0, "0.00"},
    // Edge case 2.
    {"Edge_0_1", 0.1, "0.10"},
    {"Edge_Minus0_005_IsNeverNegativeZero", -0.005, "0.00"},
    {"NegativeZeroIsZero", -0.0, "0.00"},
    {"Minus0_004", -0.004, "0.00"},
    // Edge case 1: a thousandfold outside the 32-bit range gives -2147483.64 whatever it was.
    {"Edge_OutOfRange_3e6", 3e6, "-2147483.64"},
    {"Edge_OutOfRange_Minus3e6", -3e6, "-2147483.64"},
    {"Edge_OutOfRange_JustAbove", 2147483.648, "-2147483.64"},
    {"Edge_OutOfRange_1e300", 1e300, "-2147483.64"},
    {"NotANumberCountsAsOutOfRange", std::numeric_limits<double>::quiet_NaN(), "-2147483.64"},
    {"InfinityCountsAsOutOfRange", std::numeric_limits<double>::infinity(), "-2147483.64"},
    // The largest thousandfold inside the range.
    {"LargestInRange", 2147483.647, "2147483.65"},
    // The digits beyond the third are cut before rounding; negatives always toward zero.
    {"CutBeyondTheThirdDecimal", 0.0049, "0.00"},
    {"HalfUpAtTheThirdDecimal", 0.005, "0.01"},
    {"MinusTwelve_3456_TowardZero", -12.3456, "-12.34"},
    {"Minus0_01", -0.01, "-0.01"},
    {"OneDecimalPlace", 0.05, "0.05"},
    {"Hundred", 100.0, "100.00"},
    {"Large", 1234567.891, "1234567.89"},
};

INSTANTIATE_TEST_SUITE_P(Part61, TruncateDecimal, ::testing::ValuesIn(kDecimalCases),
                         [](const ::testing::TestParamInfo<DecimalCase>& info) {
                             return std::string(info.param.name);
                         });

// ---- getCoreFile ----

// Runs in a folder of its own as the working directory, restored afterwards.
class GetCoreFile : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        previous = QDir::currentPath();
        ASSERT_TRUE(QDir::setCurrent(dir.path()));
    }
    void TearDown() override { QDir::setCurrent(previous); }

    void make(const char* name) const {
        ASSERT_TRUE(writeFile(dir.filePath(QLatin1String(name)), "dump"));
    }

    QTemporaryDir dir;
    QString previous;
};

// Part 6.1, failure handling: no core file gives the empty string.
TEST_F(GetCoreFile, WithoutCoreFileIsEmpty) {
    make("notcore");
    make("my.core");
    EXPECT_EQ(HLibrary::getCoreFile(), QString());
}

// Part 6.1: the first name by name order ("core.123" before "core.7"), the name only.
TEST_F(GetCoreFile, ReturnsTheFirstNameByNameOrder) {
    make("core.7");
    make("core.123");
    make("notcore");
    EXPECT_EQ(HLibrary::getCoreFile(), QStringLiteral("core.123"));
}

// Part 6.1: a plain "core" is found too, and comes before "core.1".
TEST_F(GetCoreFile, PlainCoreComesFirst) {
    make("core.1");
    make("core");
    EXPECT_EQ(HLibrary::getCoreFile(), QStringLiteral("core"));
}

// docs/hlibrary.md: Qt's default listing, so the name filter ignores case and a folder counts.
TEST_F(GetCoreFile, DefaultListingIgnoresCaseAndCountsFolders) {
    make("Core.5");
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("core.0")));
    EXPECT_EQ(HLibrary::getCoreFile(), QStringLiteral("core.0"));
    ASSERT_TRUE(QDir(dir.path()).rmdir(QStringLiteral("core.0")));
    EXPECT_EQ(HLibrary::getCoreFile(), QStringLiteral("Core.5"));
}

} // namespace
