#include "printerstandin.h"

#include <chrono>
#include <vector>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

PrinterStandIn::PrinterStandIn(Mode mode, std::map<char, char> status)
    : m_mode(mode), m_status(std::move(status)) {
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int small = 4096; // a printer's small buffer: one that never reads fills up soon
    setsockopt(m_listener, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(m_listener, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
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
    listen(m_listener, 4);
    m_thread = std::thread([this] { serve(); });
}

QByteArray PrinterStandIn::received(int connections) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_ended.wait_for(lock, std::chrono::seconds(5), [&] { return m_connections >= connections; });
    return m_bytes;
}

void PrinterStandIn::serve() {
    std::vector<int> held; // connections of a printer that never reads
    int client = -1;
    for (;;) {
        pollfd wait[] = {{m_stop[0], POLLIN, 0}, {client < 0 ? m_listener : client, POLLIN, 0}};
        poll(wait, 2, -1);
        if (wait[0].revents != 0)
            break;
        if (client < 0) {
            client = accept(m_listener, nullptr, nullptr);
            if (m_mode == Mode::NeverReads) {
                held.push_back(client);
                client = -1;
            }
            continue;
        }
        char buffer[4096];
        const ssize_t got = read(client, buffer, sizeof buffer);
        std::lock_guard<std::mutex> lock(m_mutex);
        if (got <= 0) {
            close(client);
            client = -1;
            ++m_connections;
            m_ended.notify_all();
            continue;
        }
        m_bytes.append(buffer, got);
        // A query is DLE EOT n; the printer answers at once when its table has n.
        const QByteArray tail = m_bytes.right(got + 2);
        for (qsizetype at = tail.indexOf("\x10\x04"); at >= 0 && at + 2 < tail.size();
             at = tail.indexOf("\x10\x04", at + 1)) {
            const auto answer = m_status.find(tail[at + 2]);
            if (answer != m_status.end())
                (void)write(client, &answer->second, 1);
        }
    }
    for (int fd : held)
        close(fd);
    if (client >= 0)
        close(client);
}
