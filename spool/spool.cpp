#include "spool.h"

#include "printerlink.h"
#include "printerstatus.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QSaveFile>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {
const QLatin1String kJobSuffix(".prn");
const QLatin1String kPartSuffix(".part");
const QLatin1String kLockSuffix(".lock");
const QLatin1String kNameSuffix(".printer");
constexpr QChar kPrinterMark(u'@');
constexpr QChar kHashMark(u'~');
constexpr qint64 kChunkBytes = 64 * 1024; // a job is sent in pieces: memory stays bounded
// A printer's part of a file name at most: with the id, "@" and ".prn", or with "." and ".lock",
// well within the 255 bytes a file name may have. Longer names are hashed.
constexpr int kMaxKeyBytes = 200;
// Two runs for one printer take turns; a run waits for the other a little longer than the other
// can take to find the printer away, after which the other run has this run's job in hand.
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
        const QByteArray name = QFile::encodeName(path);
        // Readable by all: a run as another user on the same home still takes its turn.
        m_fd = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (m_fd < 0)
            m_fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
        if (m_fd < 0) {
            m_error = QString::fromLocal8Bit(std::strerror(errno));
            return;
        }
        QElapsedTimer clock;
        clock.start();
        while (flock(m_fd, LOCK_EX | LOCK_NB) != 0) {
            if (clock.elapsed() >= waitMs) {
                ::close(m_fd);
                m_fd = -1;
                return;
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
    const QString& error() const { return m_error; } // set when the lock file cannot be opened

private:
    int m_fd = -1;
    QString m_error;
};
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

QString Spool::key(const QString& printer) const {
    const QString encoded = encodePrinter(printer);
    if (QFile::encodeName(encoded).size() <= kMaxKeyBytes)
        return encoded;
    return kHashMark +
           QString::fromLatin1(
               QCryptographicHash::hash(printer.toUtf8(), QCryptographicHash::Sha256).toHex());
}

QString Spool::printerOf(const QString& key) const {
    if (!key.startsWith(kHashMark))
        return decodePrinter(key);
    QFile name(QDir(m_folder).filePath(QLatin1Char('.') + key + kNameSuffix));
    // Without its name file the job is still listed, sent by nobody, and can be dropped.
    return name.open(QIODevice::ReadOnly) ? QString::fromUtf8(name.read(64 * 1024)) : key;
}

QString Spool::newJob(QString* error) const {
    if (!QDir().mkpath(m_folder)) {
        *error = QStringLiteral("cannot make the spool folder ") + m_folder;
        return QString();
    }
    // A killed run leaves its part file; none is written to for this long by a live run.
    const QDateTime stale = QDateTime::currentDateTimeUtc().addSecs(-kStalePartSeconds);
    for (const QFileInfo& part :
         QDir(m_folder).entryInfoList({QLatin1String("*") + kPartSuffix}, QDir::Files)) {
        if (part.lastModified() < stale)
            QFile::remove(part.filePath());
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
    const QString printerKey = key(printer);
    const QString nameFile = QDir(m_folder).filePath(QLatin1Char('.') + printerKey + kNameSuffix);
    if (printerKey.startsWith(kHashMark) && !QFile::exists(nameFile)) {
        QSaveFile name(nameFile);
        if (!name.open(QIODevice::WriteOnly) || name.write(printer.toUtf8()) < 0 ||
            !name.commit()) {
            *error = QStringLiteral("cannot keep the printer's name in the spool folder: ") +
                     name.errorString();
            QFile::remove(partPath);
            return QString();
        }
    }
    const QString path = QDir(m_folder).filePath(id + kPrinterMark + printerKey + kJobSuffix);
    if (::rename(QFile::encodeName(partPath).constData(), QFile::encodeName(path).constData()) !=
        0) {
        *error = QStringLiteral("cannot queue the job in the spool folder: ") +
                 QString::fromLocal8Bit(std::strerror(errno));
        QFile::remove(partPath);
        return QString();
    }
    // The folder's entry on disk too, so a power cut after the run leaves the job queued.
    const int folder = ::open(QFile::encodeName(m_folder).constData(), O_RDONLY | O_CLOEXEC);
    if (folder >= 0) {
        ::fsync(folder);
        ::close(folder);
    }
    return id;
}

bool Spool::waits(const QString& id, const QString& printer) const {
    return QFileInfo::exists(
        QDir(m_folder).filePath(id + kPrinterMark + key(printer) + kJobSuffix));
}

QList<SpoolJob> Spool::jobs(const QString& printer) const {
    QList<SpoolJob> found;
    const QString wanted = printer.isEmpty() ? QString() : key(printer);
    QHash<QString, QString> names; // printer key -> printer
    const QDir folder(m_folder);
    for (const QFileInfo& file :
         folder.entryInfoList({QLatin1String("*") + kJobSuffix}, QDir::Files, QDir::Name)) {
        const QString name = file.fileName().chopped(kJobSuffix.size());
        const qsizetype mark = name.indexOf(kPrinterMark);
        if (mark <= 0)
            continue; // not a job of ours
        const QString printerKey = name.mid(mark + 1);
        if (!wanted.isNull() && printerKey != wanted)
            continue;
        auto known = names.find(printerKey);
        if (known == names.end())
            known = names.insert(printerKey, printerOf(printerKey));
        found << SpoolJob{name.left(mark), *known, file.filePath(), file.size()};
    }
    return found;
}

QStringList Spool::printers() const {
    QStringList names;
    QSet<QString> seen;
    for (const SpoolJob& job : jobs()) {
        if (!seen.contains(job.printer)) {
            seen.insert(job.printer);
            names << job.printer;
        }
    }
    return names;
}

QStringList Spool::drop(const QStringList& ids) const {
    QSet<QString> missing(ids.begin(), ids.end());
    QSet<QString> wanted = missing;
    for (const SpoolJob& job : jobs()) {
        if (wanted.contains(job.id) && QFile::remove(job.path))
            missing.remove(job.id);
    }
    QStringList notThere;
    for (const QString& id : ids) {
        if (missing.contains(id))
            notThere << id;
    }
    return notThere;
}

void Spool::dropAll() const {
    for (const SpoolJob& job : jobs())
        QFile::remove(job.path);
}

QList<SpoolJob> Spool::sendable(const QString& printer, const QSet<QString>& skipped) const {
    QList<SpoolJob> waiting = jobs(printer);
    waiting.removeIf([&](const SpoolJob& job) { return skipped.contains(job.path); });
    return waiting;
}

bool Spool::sendWaiting(const QString& printer, const DeliverySettings& settings,
                        QSet<QString>& skipped, DeliveryResult& result) const {
    // Jobs queued by other runs while this one sends are sent too, so none is left behind.
    for (QList<SpoolJob> batch = sendable(printer, skipped); !batch.isEmpty();
         batch = sendable(printer, skipped)) {
        for (qsizetype at = 0; at < batch.size(); ++at) {
            const SpoolJob& job = batch.at(at);
            QFile file(job.path);
            if (!file.open(QIODevice::ReadOnly)) {
                if (QFileInfo::exists(job.path)) { // dropped meanwhile by a person, else kept
                    result.unreadable << job.id + QLatin1String(": ") + file.errorString();
                    skipped.insert(job.path);
                }
                continue;
            }
            // One connection per job: the printer's close confirms this job and no other.
            PrinterLink link(settings.timeoutMs);
            if (!link.open(printer)) {
                result.error = link.error();
                return false;
            }
            while (!file.atEnd()) {
                const QByteArray chunk = file.read(kChunkBytes);
                if (chunk.isEmpty() && file.error() != QFileDevice::NoError) {
                    result.error = QStringLiteral("cannot read ") + job.path + QLatin1String(": ") +
                                   file.errorString();
                    return false;
                }
                if (!link.send(chunk)) {
                    result.error = link.error();
                    return false;
                }
            }
            if (settings.askStatus && at == batch.size() - 1)
                result.problems = PrinterStatus::problems(link);
            if (!link.finish()) {
                result.error = link.error();
                return false;
            }
            if (!QFile::remove(job.path) && QFileInfo::exists(job.path)) {
                result.error = QStringLiteral("sent, but cannot remove ") + job.path;
                return false;
            }
            ++result.sent;
            result.sentIds << job.id;
            if (link.unconfirmed())
                ++result.unconfirmed;
        }
    }
    return true;
}

DeliveryResult Spool::deliver(const QString& printer, const DeliverySettings& settings) const {
    DeliveryResult result;
    QSet<QString> skipped; // jobs that cannot be read: kept, reported once
    const QString lockPath = QDir(m_folder).filePath(QLatin1Char('.') + key(printer) + kLockSuffix);
    for (bool first = true;; first = false) {
        {
            const PrinterLock lock(lockPath, first ? settings.timeoutMs + kLockExtraMs : 0);
            if (!lock.error().isEmpty()) {
                result.error =
                    QStringLiteral("cannot lock its queue in the spool folder: ") + lock.error();
                return result;
            }
            if (!lock.held()) {
                // The run holding the lock looks at the queue again after releasing it, so it
                // sends what this run queued.
                result.handedOver = first;
                result.ok = true;
                return result;
            }
            if (!sendWaiting(printer, settings, skipped, result))
                return result;
        }
        // A job queued by a run that found the lock held just before it was released is sent
        // here, unless that run or a third one has the lock now and sends it itself.
        if (sendable(printer, skipped).isEmpty()) {
            result.ok = true;
            return result;
        }
    }
}
