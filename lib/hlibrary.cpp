#include "hlibrary.h"

#include "diagnostics.h"
#include "documenttypes.h"

#include "databasemanager.h"
#include "paconfiguration.h"
#include "sleepthread.h"
#include "syncsingleton.h"

#include <QApplication>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QThread>

#include <climits>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace {

// A line is read into a 128-byte buffer, as the suite's copies always have been, so one piece
// is at most 127 bytes.
constexpr qint64 kLineBuffer = 128;

QString setting(const char* key) {
    return SyncSingleton<PAConfiguration>::instance()->getStrValue(QString::fromLatin1(key));
}

// Write-only WITHOUT truncation: a printer device or spool file is written over, never
// emptied first (Qt 6's WriteOnly alone truncates). A FIFO blocks here until its reader opens it,
// as a slow device would.
bool openWithoutTruncation(QFile& file, const QString& path) {
    const int fd =
        ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0)
        return false;
    if (!file.open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd); // Qt does not take the descriptor when it refuses it
        return false;
    }
    return true;
}

// Step 1 of both copies: the source read-only first (an unopenable source creates no target),
// then the target write-only without truncation.
bool openForCopy(QFile& in, const QString& source, QFile& out, const QString& target) {
    in.setFileName(source);
    return in.open(QIODevice::ReadOnly) && openWithoutTruncation(out, target);
}

// One piece: at most 127 bytes up to and including a line end. Zero or less: nothing could be
// read, which ends a copy like the end of the source (so a source that is not a regular file
// cannot keep the loop turning).
qint64 readPiece(QFile& source, char* buffer) {
    return source.readLine(buffer, kLineBuffer);
}

// Every piece is written at once and flushed, so a slow device receives it piece by piece.
// All the bytes read are written, a NUL byte included (docs/hlibrary.md).
bool writePiece(QFile& target, const char* buffer, qint64 size) {
    return target.write(buffer, size) == size && target.flush();
}

// The pause between pieces: a SleepThread made and destroyed in one statement.
void pauseBetweenPieces(unsigned int milliseconds) {
    SleepThread{milliseconds};
}

// Writing to a pipe whose reader has gone raises SIGPIPE, which would end the whole till
// program. While a copy runs, SIGPIPE is blocked in the copying thread, so such a write fails
// with EPIPE instead (the copy returns false); a SIGPIPE the copy left pending is taken back
// before the thread's mask is restored.
class SigPipeBlock {
public:
    SigPipeBlock() {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_previous);
        m_wasPending = pending();
    }
    ~SigPipeBlock() {
        if (!m_wasPending && pending()) {
            const timespec now = {0, 0};
            sigtimedwait(&m_pipe, nullptr, &now);
        }
        pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
    }
    SigPipeBlock(const SigPipeBlock&) = delete;
    SigPipeBlock& operator=(const SigPipeBlock&) = delete;

private:
    static bool pending() {
        sigset_t set;
        sigemptyset(&set);
        sigpending(&set);
        return sigismember(&set, SIGPIPE) == 1;
    }

    sigset_t m_pipe;
    sigset_t m_previous;
    bool m_wasPending = false;
};

// A modal information box, no parent, one default button; texts translated in the
// generic context "QObject". A box needs a QApplication and its thread: without them the
// request is skipped (docs/hlibrary.md) rather than crashing the program.
void askForNewSheet() {
    const auto* application = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (application == nullptr || QThread::currentThread() != application->thread())
        return;
    QMessageBox::information(nullptr, QCoreApplication::translate("QObject", "PaperWindow"),
                             QCoreApplication::translate("QObject", "Insert a new sheet"));
}

} // namespace

QString HLibrary::appData() {
    return QString();
}

QString HLibrary::programFiles() {
    return QString();
}

QString HLibrary::dataPath() {
    return QDir::homePath();
}

QString HLibrary::toWindowsFormat(QString path) {
    return path;
}

QString HLibrary::fromUtf8(const QString& text) {
    return text;
}

QString HLibrary::psql() {
    return QStringLiteral("psql");
}

QString HLibrary::dropdb() {
    return QStringLiteral("dropdb");
}

QString HLibrary::pg_dump() {
    return QStringLiteral("pg_dump");
}

QString HLibrary::pg_restore() {
    return QStringLiteral("pg_restore");
}

QString HLibrary::pathWithBinaryFile(const QString& name) {
    return setting("pastrel.bin.path") + QLatin1Char('/') + name;
}

QString HLibrary::dbname() {
    return setting("pastrel.db.dbname");
}

QString HLibrary::username() {
    return setting("pastrel.db.username");
}

QString HLibrary::password() {
    return setting("pastrel.db.password");
}

QString HLibrary::hostname() {
    return setting("pastrel.db.hostname");
}

bool HLibrary::copy(const QString& source, const QString& target, unsigned int lines,
                    unsigned int delay, unsigned int page) {
    const SigPipeBlock block;
    QFile in;
    QFile out;
    if (!openForCopy(in, source, out, target))
        return false;
    char buffer[kLineBuffer];

    // Step 2: skip lines x page pieces (64-bit, so a large product cannot wrap round). A page
    // that would begin exactly at the end is beyond the end too (docs/hlibrary.md).
    const quint64 skip = quint64(lines) * page;
    for (quint64 i = 0; i < skip; ++i) {
        if (in.atEnd() || readPiece(in, buffer) <= 0)
            return false;
    }
    if (skip > 0 && in.atEnd())
        return false;

    // Step 3: lines - 1 in unsigned arithmetic, so lines 0 means no limit. The pause comes
    // after the limit test: never after the last piece of a page.
    unsigned int counter = 0;
    while (!in.atEnd()) {
        const qint64 size = readPiece(in, buffer);
        if (size <= 0)
            break;
        if (!writePiece(out, buffer, size))
            return false;
        if (counter == lines - 1u)
            return true;
        if (delay != 0)
            pauseBetweenPieces(delay);
        ++counter;
    }
    return true;
}

bool HLibrary::copy(const QString& source, const QString& target, unsigned int sheetLines,
                    unsigned int delay) {
    const SigPipeBlock block;
    QFile in;
    QFile out;
    if (!openForCopy(in, source, out, target))
        return false;
    char buffer[kLineBuffer];

    // The test comes before the increment, so the first box follows sheetLines + 1 pieces and
    // every later one sheetLines pieces: the first sheet takes one piece more than the rest,
    // which is how the suite has always paged its copies.
    unsigned int counter = 0;
    while (!in.atEnd()) {
        const qint64 size = readPiece(in, buffer);
        if (size <= 0)
            break;
        if (!writePiece(out, buffer, size))
            return false;
        if (sheetLines != 0 && counter >= sheetLines) {
            askForNewSheet();
            counter = 0;
        }
        if (delay != 0)
            pauseBetweenPieces(delay);
        ++counter;
    }
    return true;
}

bool HLibrary::copy(const QString& source, const QString& target, const QString& sheetLines,
                    const QString& delay) {
    // Base 10; a text that is not a number, or a negative one, gives 0 (toUInt fails): "-1"
    // must not become a pause of 49 days (docs/hlibrary.md).
    return copy(source, target, sheetLines.toUInt(nullptr, 10), delay.toUInt(nullptr, 10));
}

void HLibrary::touch(const QString& path) {
    // Without truncation. O_NONBLOCK: a FIFO without reader must not hang touch.
    const int fd = ::open(QFile::encodeName(path).constData(),
                          O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    if (fd >= 0)
        ::close(fd);
}

QString HLibrary::getNewRand() {
    // Re-seeded on every call: calls within one second return the same number, which callers
    // of the suite have always lived with.
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    return QString::number(std::rand());
}

int HLibrary::comboBoxIndexOf(QComboBox* box, const QString& text) {
    if (box == nullptr)
        return -1;
    for (int i = 0; i < box->count(); ++i) {
        if (box->itemText(i) == text)
            return i;
    }
    return -1;
}

void HLibrary::hsleep(unsigned int seconds) {
    // POSIX sleep returns early when a signal arrives (a child's SIGCHLD, say): sleep the rest.
    unsigned int left = seconds;
    while (left > 0)
        left = ::sleep(left);
}

QString HLibrary::truncateDecimal(double value) {
    // Step 1: a thousandfold outside the 32-bit range (or not a number) gives INT_MIN, the
    // truncating conversion's result on the platforms the suite came from, so every such value
    // prints -2147483.64. In C++ that conversion would be undefined.
    const double thousandfold = value * 1000.0;
    int m = INT_MIN;
    if (!std::isnan(thousandfold) && thousandfold > -2147483649.0 && thousandfold < 2147483648.0)
        m = static_cast<int>(thousandfold);
    // Steps 2-3 in integers: r = 0 is the integer 0, so no "-0.00" can arise.
    const double t = m / 10.0;
    const int c = static_cast<int>(t);
    const int r = (t - c >= 0.5) ? static_cast<int>(t + 1) : c;
    // Steps 4-5.
    const QString text = QString::number(r / 100.0, 'g', 15);
    const qsizetype point = text.indexOf(QLatin1Char('.'));
    if (point < 0)
        return text + QStringLiteral(".00");
    return text.left(point) + text.mid(point).leftJustified(3, QLatin1Char('0'));
}

QSqlDatabase* HLibrary::newDBConnection(const QString& name) {
    // "QPSQL7", the suite's name of the driver; DatabaseManager takes it as Qt 6's "QPSQL".
    return SyncSingleton<DatabaseManager>::instance()->createConnection(
        QStringLiteral("QPSQL7"), dbname(), username(), password(), hostname(), name);
}

QString HLibrary::getCoreFile() {
    // QDir's default filter (AllEntries) and sort (Name | IgnoreCase).
    const QStringList names = QDir(QDir::currentPath(), QStringLiteral("core*")).entryList();
    return names.isEmpty() ? QString() : names.first();
}

QString HLibrary::copyNumber(const QString& documentType) {
    // The sold list keeps no copy number: it is reported as an unknown type, as it always has
    // been.
    const DocumentTypes::Type* type = DocumentTypes::find(documentType);
    QString prefix = QStringLiteral("pastrel.prefiscaldoc.");
    if (type && type->copyNumber) {
        prefix = DocumentTypes::prefix(*type);
    } else {
        // One blank at the end of the label: the suite's other programs match this line.
        SuiteLines::say(SuiteLines::kCopyNumberError + documentType.toLower().toLocal8Bit());
    }
    return SyncSingleton<PAConfiguration>::instance()->getStrValue(prefix +
                                                                   QStringLiteral("copyNumber"));
}
