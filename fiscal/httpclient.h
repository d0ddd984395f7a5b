// HttpClient: one HTTP/1.1 POST to an RT, every wait bounded by one deadline (resolving,
// connecting, sending, waiting for and reading the answer), so a switched-off or stuck RT never
// hangs the till.
//
// What matters for a fiscal receipt is how far the exchange got: a request that never left is
// safe to send again; one that left without an answer may have been issued, and only the RT can
// say (rtprinter.h asks it).
#pragma once

#include <QByteArray>
#include <QString>

namespace fiscal {

struct HttpExchange {
    enum class Stage {
        NotSent,  // nothing reached the RT: no connection, or not one byte taken
        Sent,     // the request (or part of it) left, but no whole answer came back
        Answered, // a whole answer: status and body
    };
    Stage stage = Stage::NotSent;
    int status = 0;
    QByteArray body;
    QString error; // why, when not answered
};

struct HttpTarget {
    QString host;
    quint16 port = 80;
    QByteArray path;
    QByteArray user; // HTTP Basic when not empty
    QByteArray password;
};

HttpExchange httpPost(const HttpTarget& target, const QByteArray& contentType,
                      const QByteArray& body, int timeoutMs);

} // namespace fiscal
