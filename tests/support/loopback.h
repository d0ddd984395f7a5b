// A TCP socket bound on 127.0.0.1 at a port the system picks: where the test suite's printer and
// RT stand-ins listen, so that no test ever sends to another address.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

// The bound socket (-1 when none could be made) and its port; receiveBuffer, when above 0, is set
// before binding (a printer's small buffer fills up soon when it stops reading).
inline int loopbackSocket(unsigned short* port, int receiveBuffer = 0) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer > 0)
        setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(fd, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    *port = ntohs(address.sin_port);
    return fd;
}
