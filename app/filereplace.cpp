#include "filereplace.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileReplacer {

namespace {

QString systemError() {
    return QString::fromLocal8Bit(std::strerror(errno));
}

bool writeAll(int fd, const QByteArray& bytes) {
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t written =
            ::write(fd, bytes.constData() + done, std::size_t(bytes.size() - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

// The rename reaches the disk with the folder's own sync; a failure there leaves a complete
// file, old or new, so it is not reported.
void syncFolder(const QByteArray& folder) {
    const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

mode_t creationMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

QString target(const QString& path, QString* why) {
    const QByteArray native = QFile::encodeName(path);
    struct stat link {};
    if (::lstat(native.constData(), &link) != 0)
        return path; // a new file
    QString resolved = path;
    if (S_ISLNK(link.st_mode)) {
        char* real = ::realpath(native.constData(), nullptr);
        if (real == nullptr) {
            *why = QStringLiteral("a link to a missing file; nothing changed");
            return QString();
        }
        resolved = QFile::decodeName(real);
        std::free(real);
    }
    struct stat file {};
    if (::stat(QFile::encodeName(resolved).constData(), &file) != 0 || !S_ISREG(file.st_mode)) {
        *why = QStringLiteral("not a regular file (a device, FIFO or folder); nothing changed");
        return QString();
    }
    return resolved;
}

bool replace(const QString& path, const QByteArray& bytes, QString* why,
             const std::function<QString(const QString&)>& check) {
    const QByteArray native = QFile::encodeName(path);
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    struct stat old {};
    const bool exists = ::stat(native.constData(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        *why = path + QStringLiteral(" is not a regular file; nothing changed");
        return false;
    }
    QByteArray temporary = native + ".new-XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        *why = QStringLiteral("cannot write beside ") + path + QStringLiteral(": ") + systemError();
        return false;
    }
    const QString shownTemporary = QFile::decodeName(temporary);
    const auto fail = [&](const QString& reason) {
        *why = reason;
        ::unlink(temporary.constData());
        return false;
    };
    struct stat fresh {};
    ::fstat(fd, &fresh);
    if (exists && (fresh.st_uid != old.st_uid || fresh.st_gid != old.st_gid) &&
        ::fchown(fd, old.st_uid, old.st_gid) != 0) {
        const QString reason = systemError();
        ::close(fd);
        return fail(QStringLiteral("cannot keep the owner of ") + path + QStringLiteral(" (") +
                    reason + QStringLiteral("); run as its owner; nothing changed"));
    }
    // After the owner: a change of owner clears the set-user-ID bits.
    if (::fchmod(fd, exists ? old.st_mode & 07777 : creationMode()) != 0 || !writeAll(fd, bytes) ||
        ::fsync(fd) != 0) {
        const QString reason = systemError();
        ::close(fd);
        return fail(QStringLiteral("cannot write ") + shownTemporary + QStringLiteral(": ") +
                    reason + QStringLiteral("; ") + path + QStringLiteral(" unchanged"));
    }
    if (::close(fd) != 0)
        return fail(QStringLiteral("cannot write ") + shownTemporary + QStringLiteral(": ") +
                    systemError() + QStringLiteral("; ") + path + QStringLiteral(" unchanged"));
    if (check) {
        const QString refused = check(shownTemporary);
        if (!refused.isEmpty())
            return fail(refused);
    }
    if (::rename(temporary.constData(), native.constData()) != 0)
        return fail(QStringLiteral("cannot replace ") + path + QStringLiteral(": ") +
                    systemError());
    syncFolder(folder);
    return true;
}

FolderLock::FolderLock(const QString& folder) {
    const QByteArray native = QFile::encodeName(folder);
    m_fd = ::open(native.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_fd < 0) {
        m_error = QStringLiteral("cannot open the folder ") + folder + QStringLiteral(": ") +
                  systemError();
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kWaitMs);
    while (::flock(m_fd, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) ||
            std::chrono::steady_clock::now() > deadline) {
            m_error = QStringLiteral("another pastrel-config kept ") + folder +
                      QStringLiteral(" locked for 10 s; nothing changed, try again");
            ::close(m_fd);
            m_fd = -1;
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

FolderLock::~FolderLock() {
    if (m_fd >= 0)
        ::close(m_fd); // releases the lock
}

} // namespace FileReplacer
