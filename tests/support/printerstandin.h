// PrinterStandIn: a network printer on 127.0.0.1 for the tests. It listens on an ephemeral port,
// takes one connection at a time, records every byte and answers DLE EOT n status queries from a
// table. Before start() the port is bound but not listening: a printer that is away.
#pragma once

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

class PrinterStandIn {
public:
    enum class Mode { Reads, NeverReads }; // NeverReads: accepts, then takes no byte
    explicit PrinterStandIn(Mode mode = Mode::Reads, std::map<char, char> status = {});
    ~PrinterStandIn();

    QString address() const; // socket://127.0.0.1:PORT
    void start();
    // Every byte received, once `connections` connections have ended (or after a few seconds).
    QByteArray received(int connections = 1);

private:
    void serve();

    Mode m_mode;
    std::map<char, char> m_status; // n of DLE EOT n -> answer byte; none: no answer
    int m_listener = -1;
    int m_stop[2] = {-1, -1};
    unsigned short m_port = 0;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    QByteArray m_bytes;
    int m_connections = 0;
};
