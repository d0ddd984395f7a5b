#include "printerstandin.h"

#include "loopback.h"

#include <algorithm>
#include <chrono>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
PrinterStandIn::Behaviour fromMode(PrinterStandIn::Mode mode) {
    PrinterStandIn::Behaviour behaviour;
    if (mode == PrinterStandIn::Mode::NeverReads)
        behaviour.fault = PrinterStandIn::Fault::Stall;
    return behaviour;
}
} // namespace

PrinterStandIn::PrinterStandIn(Mode mode, std::map<char, char> status)
    : PrinterStandIn(fromMode(mode), std::move(status)) {}

PrinterStandIn::PrinterStandIn(const Behaviour& behaviour, std::map<char, char> status)
    : m_behaviour(behaviour), m_status(std::move(status)) {
    m_listener = loopbackSocket(&m_port, 4096); // a printer's small buffer
    (void)pipe(m_stop);
}

PrinterStandIn::~PrinterStandIn() {
    if (m_thread.joinable()) {
        (void)write(m_stop[1], "x", 1);
        m_thread.join();
    }
    for (int fd : {m_listener, m_stop[0], m_stop[1]})
        close(fd);
}

QString PrinterStandIn::address() const {
    return QStringLiteral("socket://127.0.0.1:%1").arg(m_port);
}

void PrinterStandIn::start() {
    listen(m_listener, 64);
    m_thread = std::thread([this] { serve(); });
}

QByteArray PrinterStandIn::received(int connections) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_ended.wait_for(lock, std::chrono::seconds(5), [&] { return m_ends >= connections; });
    return m_bytes;
}

QList<QByteArray> PrinterStandIn::connections() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections;
}

bool PrinterStandIn::pause(int ms) {
    pollfd stop{m_stop[0], POLLIN, 0};
    return poll(&stop, 1, ms) == 0;
}

void PrinterStandIn::serve() {
    for (int served = 0;; ++served) {
        pollfd wait[] = {{m_stop[0], POLLIN, 0}, {m_listener, POLLIN, 0}};
        poll(wait, 2, -1);
        if (wait[0].revents != 0)
            return;
        const int client = accept(m_listener, nullptr, nullptr);
        if (client < 0)
            continue;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_connections << QByteArray();
        }
        const bool faulty =
            m_behaviour.faultyConnections < 0 || served < m_behaviour.faultyConnections;
        const bool going = serveOne(client, faulty);
        if (!going)
            return;
    }
}

bool PrinterStandIn::serveOne(int client, bool faulty) {
    const Fault fault = faulty ? m_behaviour.fault : Fault::None;
    bool counted = false;
    // Counts the connection as ended (the job is all the stand-in will get), once.
    const auto ended = [&] {
        if (counted)
            return;
        counted = true;
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_ends;
        m_ended.notify_all();
    };
    const auto end = [&](bool reset, bool going) {
        if (reset) {
            const linger abort{1, 0};
            setsockopt(client, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        }
        close(client);
        ended();
        return going;
    };
    // Until the stop or the event on fd (events) comes; false on the stop.
    const auto waitFor = [&](int fd, short events) {
        pollfd wait[] = {{m_stop[0], POLLIN, 0}, {fd, events, 0}};
        poll(wait, 2, -1);
        return wait[0].revents == 0;
    };
    if (m_behaviour.delayMs > 0 && !pause(m_behaviour.delayMs))
        return end(false, false);
    if (faulty && !m_behaviour.greeting.isEmpty())
        (void)write(client, m_behaviour.greeting.constData(), size_t(m_behaviour.greeting.size()));
    const bool limited = fault == Fault::Reset || fault == Fault::Close || fault == Fault::Stall;
    qsizetype got = 0;
    for (;;) {
        if (limited && got >= m_behaviour.after) {
            if (fault != Fault::Stall)
                return end(fault == Fault::Reset, true);
            ended(); // reads nothing more; the till's reset or close ends it
            return end(false, waitFor(client, POLLRDHUP));
        }
        if (!waitFor(client, POLLIN))
            return end(false, false);
        qsizetype want = 4096;
        if (limited)
            want = std::min(want, m_behaviour.after - got);
        if (faulty && m_behaviour.bytesPerSecond > 0)
            want = std::min<qsizetype>(want, m_behaviour.bytesPerSecond / 10);
        char buffer[4096];
        const ssize_t read = recv(client, buffer, size_t(want), 0);
        if (read <= 0)
            break; // the end of the job, or the till's reset
        got += read;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_bytes.append(buffer, read);
            m_connections.last().append(buffer, read);
            // A query is DLE EOT n; the printer answers at once when its table has n.
            const QByteArray tail = m_connections.last().right(read + 2);
            for (qsizetype at = tail.indexOf("\x10\x04"); at >= 0 && at + 2 < tail.size();
                 at = tail.indexOf("\x10\x04", at + 1)) {
                const auto answer = m_status.find(tail[at + 2]);
                if (answer != m_status.end()) {
                    const char twice[] = {answer->second, answer->second};
                    (void)write(client, twice, faulty && m_behaviour.answerTwice ? 2 : 1);
                }
            }
        }
        if (faulty && m_behaviour.bytesPerSecond > 0 && !pause(100))
            return end(false, false); // a tenth of the rate every tenth of a second
    }
    if (fault == Fault::NeverCloses) {
        ended(); // open until the next connection comes or the test ends: longer than any timeout
        return end(false, waitFor(m_listener, POLLIN));
    }
    return end(false, true);
}
