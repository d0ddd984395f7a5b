#include "printerlink.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QUrl>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/sockios.h>
#include <netdb.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
const QLatin1String kSocketScheme("socket://");
const QLatin1String kDeviceFolder("/dev/");
// The caller's own streams: written directly like a plain file, never spooled as a printer.
const QLatin1String kCallerStreams[] = {QLatin1String("/dev/stdout"), QLatin1String("/dev/stderr"),
                                        QLatin1String("/dev/stdin")};
const QLatin1String kCallerDescriptors("/dev/fd/");
constexpr int kMaxLinkHops = 40; // as the system follows them
// The wait for the printer's close is watched in slices this long, for progress and for resets.
constexpr int kSliceMs = 20;
// After a status answer, bytes arriving this soon belong to it and are discarded with it.
constexpr int kAnswerSettleMs = 20;
// Input discarded at once at most; a printer that talks without end gives no status answer.
constexpr int kMaxDiscardBytes = 64 * 1024;

QString systemError(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// A broken connection while the job is sent or before the printer's orderly close: what the
// printer read of it is unknown, so the job waits and goes again whole.
QString closedEarly(int error) {
    return QStringLiteral("the printer ended the connection before taking the whole job (%1)")
        .arg(systemError(error));
}

// True when opening path for writing with creation would make a new file in a folder under /dev
// (through symbolic links, dangling or not): an unplugged printer's node named through a link.
bool createsUnderDevices(const QString& path) {
    QString at = PrinterLink::normalized(path);
    for (int hop = 0; hop < kMaxLinkHops; ++hop) {
        const QFileInfo info(at);
        if (info.isSymLink()) {
            at = PrinterLink::normalized(info.symLinkTarget());
            continue;
        }
        if (info.exists())
            return false; // nothing is created
        const QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
        return !folder.isEmpty() && (folder + QLatin1Char('/')).startsWith(kDeviceFolder);
    }
    return false; // a loop of links: the open fails
}
} // namespace

PrinterLink::PrinterLink(int timeoutMs) : m_timeoutMs(timeoutMs) {}

PrinterLink::~PrinterLink() {
    close();
}

bool PrinterLink::isNetwork(const QString& printer) {
    return printer.startsWith(kSocketScheme, Qt::CaseInsensitive);
}

QString PrinterLink::normalized(const QString& path) {
    const QString absolute =
        QDir::isAbsolutePath(path) ? path : QDir::currentPath() + QLatin1Char('/') + path;
    QStringList parts;
    for (const QString& part : absolute.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (part == QLatin1String("..")) {
            if (!parts.isEmpty()) // "/.." is "/", as the system has it
                parts.removeLast();
        } else if (part != QLatin1String(".")) {
            parts << part;
        }
    }
    return QLatin1Char('/') + parts.join(QLatin1Char('/'));
}

bool PrinterLink::isDevice(const QString& path) {
    if (path.isEmpty() || isNetwork(path))
        return false;
    const QString clean = normalized(path);
    if (!clean.startsWith(kDeviceFolder))
        return createsUnderDevices(path);
    for (const QLatin1String& stream : kCallerStreams) {
        if (clean == stream)
            return false;
    }
    return !clean.startsWith(kCallerDescriptors);
}

bool PrinterLink::open(const QString& printer) {
    close();
    m_error.clear();
    m_unconfirmed = false;
    return isNetwork(printer) ? openSocket(printer) : openDevice(printer);
}

bool PrinterLink::fail(const QString& reason) {
    m_error = reason;
    release(true);
    return false;
}

bool PrinterLink::openSocket(const QString& printer) {
    const QUrl url(printer, QUrl::StrictMode);
    const int port = url.port(kDefaultPort);
    if (url.host().isEmpty())
        return fail(QStringLiteral("no printer address: give socket://HOST[:PORT], or an "
                                   "ipaddress in the document's printers element"));
    if (!url.isValid() || port <= 0)
        return fail(QStringLiteral("not a printer address (socket://HOST[:PORT])"));
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int lookup = getaddrinfo(url.host().toUtf8().constData(),
                                   QByteArray::number(port).constData(), &hints, &found);
    if (lookup != 0)
        return fail(QString::fromLocal8Bit(gai_strerror(lookup)));
    QString reason;
    for (addrinfo* at = found; at != nullptr && m_fd < 0; at = at->ai_next) {
        const int fd = ::socket(at->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (fd < 0) {
            reason = systemError(errno);
            continue;
        }
        m_fd = fd;
        m_socket = true;
        if (::connect(fd, at->ai_addr, at->ai_addrlen) != 0 && errno != EINPROGRESS) {
            reason = systemError(errno);
        } else if (!waitFor(POLLOUT, m_timeoutMs)) {
            reason = QStringLiteral("no answer within %1 ms").arg(m_timeoutMs);
        } else {
            int error = 0;
            socklen_t size = sizeof error;
            getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
            if (error == 0)
                break;
            // Taken in by the system, then reset by the printer before a byte was sent.
            reason = error == ECONNRESET ? closedEarly(error) : systemError(error);
        }
        ::close(fd);
        m_fd = -1;
    }
    freeaddrinfo(found);
    if (m_fd < 0)
        return fail(reason);
    m_readable = true;
    return true;
}

bool PrinterLink::openDevice(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    // Never O_CREAT: a missing node (the printer unplugged) must not become a regular file that
    // swallows this ticket and every later one. Read and write when allowed, for the status.
    const int flags = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    m_fd = ::open(name.constData(), O_RDWR | flags);
    m_readable = m_fd >= 0;
    if (m_fd < 0 && errno != ENOENT && errno != ENOTDIR)
        m_fd = ::open(name.constData(), O_WRONLY | flags);
    if (m_fd < 0)
        return fail(systemError(errno));
    struct stat info {};
    // A regular file under /dev is what the old behaviour left behind for an unplugged printer.
    if (fstat(m_fd, &info) == 0 && S_ISREG(info.st_mode) &&
        QFileInfo(path).canonicalFilePath().startsWith(kDeviceFolder))
        return fail(QStringLiteral("a regular file, not a printer (remove it and plug the "
                                   "printer in)"));
    return true;
}

bool PrinterLink::waitFor(short events, int waitMs) {
    QElapsedTimer clock;
    clock.start();
    pollfd entry{m_fd, events, 0};
    for (;;) {
        const int left = waitMs - static_cast<int>(clock.elapsed());
        const int ready = poll(&entry, 1, left > 0 ? left : 0);
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

bool PrinterLink::send(const QByteArray& data) {
    if (m_fd < 0)
        return false;
    const char* next = data.constData();
    qsizetype left = data.size();
    while (left > 0) {
        const ssize_t written = m_socket ? ::send(m_fd, next, size_t(left), MSG_NOSIGNAL)
                                         : ::write(m_fd, next, size_t(left));
        if (written > 0) {
            next += written;
            left -= written;
        } else if (written < 0 && errno == EINTR) {
            continue;
        } else if (written < 0 && m_socket && (errno == EPIPE || errno == ECONNRESET)) {
            return fail(closedEarly(errno));
        } else if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
            return fail(systemError(errno));
        } else if (!waitFor(POLLOUT, m_timeoutMs)) {
            return fail(QStringLiteral("the printer took no data for %1 ms").arg(m_timeoutMs));
        }
    }
    return true;
}

int PrinterLink::unsentBytes() const {
    int unsent = 0;
    return ioctl(m_fd, SIOCOUTQ, &unsent) == 0 ? unsent : 0;
}

bool PrinterLink::finish() {
    m_unconfirmed = false;
    if (m_fd < 0)
        return false;
    if (!m_socket)
        return true; // a device node has what write() took
    // The end of the job for the printer: it reads to the end, then closes its side.
    if (::shutdown(m_fd, SHUT_WR) != 0) {
        // A printer that reset the connection while the last bytes were on their way leaves the
        // socket unconnected: the reset itself, still pending on the socket, is the reason to
        // give, whichever of the two the system noticed first.
        int error = errno;
        int pending = 0;
        socklen_t size = sizeof pending;
        if (::getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &pending, &size) == 0 && pending != 0)
            error = pending;
        else if (error == ENOTCONN)
            error = ECONNRESET;
        return fail(closedEarly(error));
    }
    QElapsedTimer sinceProgress;
    sinceProgress.start();
    int unsent = unsentBytes();
    bool printerClosed = false;
    for (;;) {
        if (!printerClosed) {
            waitFor(POLLIN, kSliceMs);
            // Whatever the printer says meanwhile is read and dropped; then its close, or a reset.
            for (int read = 0; read < kMaxDiscardBytes;) {
                char buffer[512];
                const ssize_t got = ::recv(m_fd, buffer, sizeof buffer, MSG_DONTWAIT);
                if (got > 0) {
                    read += int(got);
                } else if (got == 0) {
                    printerClosed = true;
                    break;
                } else if (errno != EINTR) {
                    if (errno != EAGAIN && errno != EWOULDBLOCK)
                        return fail(closedEarly(errno));
                    break;
                }
            }
        } else {
            ::poll(nullptr, 0, kSliceMs);
        }
        int error = 0;
        socklen_t size = sizeof error;
        if (getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error != 0)
            return fail(closedEarly(error));
        const int now = unsentBytes();
        // Closed with every byte taken: a printer that closed before reading all of it would
        // have answered the rest with a reset, not with an acknowledgement.
        if (printerClosed && now == 0)
            break;
        if (now < unsent) {
            unsent = now;
            sinceProgress.restart();
        }
        if (sinceProgress.elapsed() >= m_timeoutMs) {
            if (now > 0)
                return fail(QStringLiteral("the printer took no data for %1 ms").arg(m_timeoutMs));
            // Every byte is in the printer and it neither closed nor reset: counted as printed
            // (docs/connecting-printers.md, "When a job counts as delivered").
            m_unconfirmed = true;
            break;
        }
    }
    release(false);
    return true;
}

int PrinterLink::discardInput() {
    for (int read = 0; read < kMaxDiscardBytes;) {
        char buffer[512];
        const ssize_t got = m_socket ? ::recv(m_fd, buffer, sizeof buffer, MSG_DONTWAIT)
                                     : ::read(m_fd, buffer, sizeof buffer);
        if (got > 0)
            read += int(got);
        else if (got == 0 || errno != EINTR)
            return read;
    }
    return -1;
}

int PrinterLink::ask(const QByteArray& query, int waitMs) {
    // Stale input first (a late answer to an earlier question, or what the printer sends of its
    // own accord): it must not pass for the answer to this question.
    if (m_fd < 0 || !m_readable || discardInput() < 0 || !send(query))
        return -1;
    unsigned char answer = 0;
    if (!waitFor(POLLIN, waitMs) || ::read(m_fd, &answer, 1) != 1)
        return -1;
    if (waitFor(POLLIN, kAnswerSettleMs) && discardInput() < 0)
        return -1;
    return answer;
}

void PrinterLink::release(bool reset) {
    if (m_fd < 0)
        return;
    if (m_socket && reset) {
        // A reset, not a close: bytes still queued for the printer are dropped, so a job kept
        // for the next run does not also reach the printer after this run has given up on it.
        const linger abort{1, 0};
        setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    } else if (m_socket) {
        discardInput(); // unread input would make the close a reset
    }
    ::close(m_fd);
    m_fd = -1;
    m_socket = false;
    m_readable = false;
}

void PrinterLink::close() {
    release(true);
}
