#include "httpclient.h"

#include <QElapsedTimer>
#include <QList>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace fiscal {

namespace {

// An RT's answer is a few kilobytes; anything far larger is not an RT.
constexpr qsizetype kMaxAnswerBytes = 1 << 20;

QString systemError(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

class Socket {
public:
    ~Socket() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    int fd() const { return m_fd; }
    void reset(int fd) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd = -1;
};

// Waits for events until the deadline; false when it passed.
bool waitFor(int fd, short events, const QElapsedTimer& clock, int timeoutMs) {
    for (;;) {
        const qint64 left = timeoutMs - clock.elapsed();
        if (left <= 0)
            return false;
        pollfd p{fd, events, 0};
        const int n = ::poll(&p, 1, static_cast<int>(left));
        if (n > 0)
            return true;
        if (n < 0 && errno != EINTR)
            return false;
    }
}

bool connectTo(Socket& socket, const HttpTarget& target, const QElapsedTimer& clock, int timeoutMs,
               QString* error) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int resolved = ::getaddrinfo(target.host.toUtf8().constData(),
                                       QByteArray::number(target.port).constData(), &hints, &found);
    if (resolved != 0) {
        *error = QStringLiteral("cannot find %1: %2")
                     .arg(target.host, QString::fromLocal8Bit(::gai_strerror(resolved)));
        return false;
    }
    QString lastError = QStringLiteral("no address");
    for (addrinfo* a = found; a; a = a->ai_next) {
        socket.reset(
            ::socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, a->ai_protocol));
        if (socket.fd() < 0) {
            lastError = systemError(errno);
            continue;
        }
        if (::connect(socket.fd(), a->ai_addr, a->ai_addrlen) == 0) {
            ::freeaddrinfo(found);
            return true;
        }
        if (errno != EINPROGRESS) {
            lastError = systemError(errno);
            continue;
        }
        if (!waitFor(socket.fd(), POLLOUT, clock, timeoutMs)) {
            lastError = QStringLiteral("no answer within %1 ms").arg(timeoutMs);
            break;
        }
        int soError = 0;
        socklen_t length = sizeof soError;
        ::getsockopt(socket.fd(), SOL_SOCKET, SO_ERROR, &soError, &length);
        if (soError == 0) {
            ::freeaddrinfo(found);
            return true;
        }
        lastError = systemError(soError);
    }
    ::freeaddrinfo(found);
    socket.reset(-1);
    *error = lastError;
    return false;
}

QByteArray base64Credentials(const HttpTarget& target) {
    return (target.user + ':' + target.password).toBase64();
}

// The body of a whole answer in raw (head and body as read), or false when it is not whole yet.
// A chunked body is joined; Content-Length is honoured; otherwise the body ends with the
// connection.
bool wholeAnswer(const QByteArray& raw, bool closed, int* status, QByteArray* body) {
    const qsizetype headEnd = raw.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return false;
    const QByteArray head = raw.left(headEnd);
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> statusLine = lines.value(0).trimmed().split(' ');
    bool ok = false;
    *status = statusLine.value(1).toInt(&ok);
    if (!statusLine.value(0).startsWith("HTTP/") || !ok)
        return false;
    qint64 length = -1;
    bool chunked = false;
    for (const QByteArray& line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon < 0)
            continue;
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "content-length")
            length = value.toLongLong();
        else if (name == "transfer-encoding" && value.toLower().contains("chunked"))
            chunked = true;
    }
    const QByteArray rest = raw.mid(headEnd + 4);
    if (chunked) {
        QByteArray joined;
        qsizetype at = 0;
        for (;;) {
            const qsizetype lineEnd = rest.indexOf("\r\n", at);
            if (lineEnd < 0)
                return false;
            bool sizeOk = false;
            const qint64 size =
                rest.mid(at, lineEnd - at).split(';').value(0).trimmed().toLongLong(&sizeOk, 16);
            if (!sizeOk || size < 0 || size > kMaxAnswerBytes)
                return false;
            if (size == 0) {
                *body = joined;
                return true;
            }
            if (rest.size() < lineEnd + 2 + size + 2)
                return false;
            joined += rest.mid(lineEnd + 2, size);
            at = lineEnd + 2 + size + 2;
        }
    }
    if (length >= 0) {
        if (rest.size() < length)
            return false;
        *body = rest.left(length);
        return true;
    }
    if (!closed)
        return false;
    *body = rest;
    return true;
}

} // namespace

HttpExchange httpPost(const HttpTarget& target, const QByteArray& contentType,
                      const QByteArray& body, int timeoutMs) {
    HttpExchange exchange;
    QElapsedTimer clock;
    clock.start();
    Socket socket;
    if (!connectTo(socket, target, clock, timeoutMs, &exchange.error))
        return exchange;

    QByteArray request = "POST " + target.path + " HTTP/1.1\r\nHost: " + target.host.toUtf8();
    if (target.port != 80)
        request += ':' + QByteArray::number(target.port);
    request += "\r\nContent-Type: " + contentType +
               "\r\nContent-Length: " + QByteArray::number(body.size()) +
               "\r\nConnection: close\r\n";
    if (!target.user.isEmpty() || !target.password.isEmpty())
        request += "Authorization: Basic " + base64Credentials(target) + "\r\n";
    request += "\r\n" + body;

    qsizetype sent = 0;
    while (sent < request.size()) {
        const ssize_t n = ::send(socket.fd(), request.constData() + sent,
                                 static_cast<size_t>(request.size() - sent), MSG_NOSIGNAL);
        if (n > 0) {
            sent += n;
            exchange.stage = HttpExchange::Stage::Sent;
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            if (!waitFor(socket.fd(), POLLOUT, clock, timeoutMs)) {
                exchange.error = QStringLiteral("the RT took no data for %1 ms").arg(timeoutMs);
                return exchange;
            }
        } else {
            exchange.error = systemError(errno);
            return exchange;
        }
    }

    QByteArray raw;
    char buffer[4096];
    for (;;) {
        if (wholeAnswer(raw, false, &exchange.status, &exchange.body))
            break;
        if (!waitFor(socket.fd(), POLLIN, clock, timeoutMs)) {
            exchange.error = QStringLiteral("no answer within %1 ms").arg(timeoutMs);
            return exchange;
        }
        const ssize_t n = ::recv(socket.fd(), buffer, sizeof buffer, 0);
        if (n > 0) {
            raw.append(buffer, n);
            if (raw.size() > kMaxAnswerBytes) {
                exchange.error = QStringLiteral("the answer is larger than an RT's");
                return exchange;
            }
        } else if (n == 0) {
            if (wholeAnswer(raw, true, &exchange.status, &exchange.body))
                break;
            exchange.error = raw.isEmpty() ? QStringLiteral("the RT closed the connection without "
                                                            "an answer")
                                           : QStringLiteral("the RT's answer was cut short");
            return exchange;
        } else if (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) {
            exchange.error = systemError(errno);
            return exchange;
        }
    }
    exchange.stage = HttpExchange::Stage::Answered;
    return exchange;
}

} // namespace fiscal
