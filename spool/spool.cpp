#include "spool.h"

#include "printerlink.h"
#include "printerstatus.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <sys/file.h>
#include <unistd.h>

namespace {
const QLatin1String kJobSuffix(".prn");
const QLatin1String kPartSuffix(".part");
constexpr QChar kPrinterMark(u'@');
constexpr qint64 kChunkBytes = 64 * 1024; // a job is sent in pieces: memory stays bounded
// Two runs for one printer take turns; a run waits for the other a little longer than the
// other can take to reach the printer, after which the other has sent this run's job too.
constexpr int kLockExtraMs = 2000;
constexpr int kLockRetryMs = 20;

QString encodePrinter(const QString& printer) {
    QString name = printer;
    return name.replace(QLatin1Char('%'), QLatin1String("%25"))
        .replace(QLatin1Char('/'), QLatin1String("%2F"));
}

QString decodePrinter(const QString& name) {
    return QString::fromUtf8(QByteArray::fromPercentEncoding(name.toUtf8()));
}

// An exclusive lock on one printer's queue, held while its jobs are sent.
class PrinterLock {
public:
    PrinterLock(const QString& path, int waitMs) {
        m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        QElapsedTimer clock;
        clock.start();
        while (m_fd >= 0 && flock(m_fd, LOCK_EX | LOCK_NB) != 0) {
            if (clock.elapsed() > waitMs) {
                ::close(m_fd);
                m_fd = -1;
            }
            QThread::msleep(kLockRetryMs);
        }
    }
    ~PrinterLock() {
        if (m_fd >= 0)
            ::close(m_fd); // releases the lock
    }
    PrinterLock(const PrinterLock&) = delete;
    PrinterLock& operator=(const PrinterLock&) = delete;
    bool held() const { return m_fd >= 0; }

private:
    int m_fd = -1;
};

bool sendFile(PrinterLink& link, const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return true; // dropped meanwhile by a person: nothing to send
    while (!file.atEnd()) {
        if (!link.send(file.read(kChunkBytes)))
            return false;
    }
    return link.drain();
}
} // namespace

DeliverySettings DeliverySettings::fromProfile(const PrinterProfile& profile, bool askStatus) {
    DeliverySettings settings;
    settings.timeoutMs = profile.timeoutMs;
    settings.askStatus = askStatus;
    return settings;
}

QString Spool::defaultFolder() {
    return QDir::homePath() + QLatin1String("/.pastrel/spool");
}

Spool::Spool(const QString& folder) : m_folder(folder) {}

QString Spool::newJob(QString* error) const {
    if (!QDir().mkpath(m_folder)) {
        *error = QStringLiteral("cannot make the spool folder ") + m_folder;
        return QString();
    }
    const QString id =
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")) +
        QStringLiteral("-%1").arg(::getpid(), 7, 10, QLatin1Char('0'));
    const QString path = QDir(m_folder).filePath(id + kPartSuffix);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        *error = QStringLiteral("cannot make a job in the spool folder: ") + file.errorString();
        return QString();
    }
    return path;
}

QString Spool::commit(const QString& partPath, const QString& printer, QString* error) const {
    const QString id = QFileInfo(partPath).completeBaseName();
    const QString path =
        QDir(m_folder).filePath(id + kPrinterMark + encodePrinter(printer) + kJobSuffix);
    if (!QFile::rename(partPath, path)) {
        *error = QStringLiteral("cannot queue ") + partPath;
        return QString();
    }
    return id;
}

QList<SpoolJob> Spool::jobs(const QString& printer) const {
    QList<SpoolJob> found;
    const QDir folder(m_folder);
    for (const QFileInfo& file :
         folder.entryInfoList({QLatin1String("*") + kJobSuffix}, QDir::Files, QDir::Name)) {
        const QString name = file.fileName().chopped(kJobSuffix.size());
        const qsizetype mark = name.indexOf(kPrinterMark);
        if (mark <= 0)
            continue; // not a job of ours
        SpoolJob job{name.left(mark), decodePrinter(name.mid(mark + 1)), file.filePath(),
                     file.size()};
        if (printer.isEmpty() || job.printer == printer)
            found << job;
    }
    return found;
}

QStringList Spool::printers() const {
    QStringList names;
    for (const SpoolJob& job : jobs()) {
        if (!names.contains(job.printer))
            names << job.printer;
    }
    return names;
}

bool Spool::drop(const QString& id) const {
    bool dropped = false;
    for (const SpoolJob& job : jobs()) {
        if (job.id == id)
            dropped = QFile::remove(job.path) || dropped;
    }
    return dropped;
}

DeliveryResult Spool::deliver(const QString& printer, const DeliverySettings& settings) const {
    DeliveryResult result;
    const PrinterLock lock(
        QDir(m_folder).filePath(QLatin1Char('.') + encodePrinter(printer) + QLatin1String(".lock")),
        settings.timeoutMs + kLockExtraMs);
    if (!lock.held()) {
        result.error = QStringLiteral("its queue is busy (another run is printing on it) or the "
                                      "spool folder is not writable");
        return result;
    }
    PrinterLink link(settings.timeoutMs);
    if (!link.open(printer)) {
        result.error = link.error();
        return result;
    }
    // Jobs queued by other runs while this one sends are sent too, so none is left behind.
    for (QList<SpoolJob> waiting = jobs(printer); !waiting.isEmpty(); waiting = jobs(printer)) {
        for (const SpoolJob& job : waiting) {
            if (!sendFile(link, job.path)) {
                result.error = link.error();
                return result;
            }
            if (QFile::exists(job.path) && !QFile::remove(job.path)) {
                result.error = QStringLiteral("sent, but cannot remove ") + job.path;
                return result;
            }
            ++result.sent;
        }
    }
    if (settings.askStatus && result.sent > 0)
        result.problems = PrinterStatus::problems(link);
    result.ok = true;
    return result;
}
