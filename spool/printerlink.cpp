#include "printerlink.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>
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

QString systemError(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}
} // namespace

PrinterLink::PrinterLink(int timeoutMs) : m_timeoutMs(timeoutMs) {}

PrinterLink::~PrinterLink() {
    close();
}

bool PrinterLink::isNetwork(const QString& printer) {
    return printer.startsWith(kSocketScheme, Qt::CaseInsensitive);
}

bool PrinterLink::isDevice(const QString& path) {
    return !isNetwork(path) && !path.isEmpty() &&
           QDir::cleanPath(QFileInfo(path).absoluteFilePath()).startsWith(kDeviceFolder);
}

bool PrinterLink::open(const QString& printer) {
    close();
    m_error.clear();
    return isNetwork(printer) ? openSocket(printer) : openDevice(printer);
}

bool PrinterLink::fail(const QString& reason) {
    m_error = reason;
    close();
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
            reason = systemError(error);
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
        } else if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
            return fail(systemError(errno));
        } else if (!waitFor(POLLOUT, m_timeoutMs)) {
            return fail(QStringLiteral("the printer took no data for %1 ms").arg(m_timeoutMs));
        }
    }
    return true;
}

bool PrinterLink::drain() {
    if (!m_socket)
        return true;
    QElapsedTimer clock;
    clock.start();
    int pending = 0;
    while (ioctl(m_fd, SIOCOUTQ, &pending) == 0 && pending > 0) {
        if (clock.elapsed() > m_timeoutMs)
            return fail(
                QStringLiteral("the printer acknowledged no data for %1 ms").arg(m_timeoutMs));
        QThread::msleep(10);
    }
    return true;
}

int PrinterLink::ask(const QByteArray& query, int waitMs) {
    if (!m_readable || !send(query))
        return -1;
    unsigned char answer = 0;
    if (!waitFor(POLLIN, waitMs) || ::read(m_fd, &answer, 1) != 1)
        return -1;
    return answer;
}

void PrinterLink::close() {
    if (m_fd < 0)
        return;
    if (m_socket)
        shutdown(m_fd, SHUT_WR);
    ::close(m_fd);
    m_fd = -1;
    m_socket = false;
    m_readable = false;
}
