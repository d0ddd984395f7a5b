#include "journal.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace fiscal {

namespace {
// The tail read for the last line: far more than one line ever takes.
constexpr qint64 kTailBytes = 64 * 1024;

QString field(const QString& text) {
    QString out = text;
    for (QChar& c : out) {
        if (c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            c = QLatin1Char(' ');
    }
    return out.isEmpty() ? QStringLiteral("-") : out;
}
} // namespace

QString Journal::defaultPath() {
    return QDir::homePath() + QLatin1String("/.pastrel/fiscal/journal");
}

QString Journal::format(const JournalEntry& e) {
    const QStringList fields = {
        e.time.toOffsetFromUtc(e.time.offsetFromUtc()).toString(Qt::ISODate),
        field(e.printer),
        field(e.document),
        field(e.outcome),
        field(e.number),
        field(e.zNumber),
        field(e.amount),
        field(e.status)};
    return fields.join(QLatin1Char('\t'));
}

bool Journal::append(const JournalEntry& entry, QString* error) const {
    if (!QDir().mkpath(QFileInfo(m_path).absolutePath())) {
        *error = QStringLiteral("cannot make the folder of ") + m_path;
        return false;
    }
    QByteArray line = format(entry).toUtf8() + '\n';
    const int fd = ::open(QFile::encodeName(m_path).constData(),
                          O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) {
        *error = m_path + QLatin1String(": ") + QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    // A piece of a line left by a full disk stays a line of its own: this one starts afresh.
    const off_t end = ::lseek(fd, 0, SEEK_END);
    char last = '\n';
    if (end > 0 && ::pread(fd, &last, 1, end - 1) == 1 && last != '\n')
        line.prepend('\n');
    ssize_t written;
    do {
        written = ::write(fd, line.constData(), static_cast<size_t>(line.size()));
    } while (written < 0 && errno == EINTR);
    const int writeError = errno;
    const bool synced = ::fsync(fd) == 0;
    ::close(fd);
    if (written != line.size()) {
        *error = m_path + QLatin1String(": ") +
                 QString::fromLocal8Bit(std::strerror(written < 0 ? writeError : ENOSPC));
        return false;
    }
    if (!synced) {
        *error = m_path + QLatin1String(": ") + QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    return true;
}

QString Journal::lastLineFor(const QString& printer) const {
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    file.seek(qMax<qint64>(0, file.size() - kTailBytes));
    QList<QByteArray> lines = file.read(kTailBytes).split('\n');
    lines.removeLast(); // a piece after the last line end, or the empty text after it
    const QByteArray name = printer.toUtf8();
    for (qsizetype i = lines.size() - 1; i >= 0; --i) {
        if (lines[i].split('\t').value(1) == name)
            return QString::fromUtf8(lines[i]);
    }
    return QString();
}

QString Journal::lastLine() const {
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    const qint64 size = file.size();
    file.seek(qMax<qint64>(0, size - kTailBytes));
    QByteArray tail = file.read(kTailBytes);
    // Only whole lines count: a piece after the last line end is not an entry.
    const qsizetype end = tail.lastIndexOf('\n');
    if (end < 0)
        return QString();
    tail.truncate(end);
    return QString::fromUtf8(tail.mid(tail.lastIndexOf('\n') + 1));
}

} // namespace fiscal
