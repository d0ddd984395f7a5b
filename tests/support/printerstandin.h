// PrinterStandIn: a network printer on 127.0.0.1 for the tests. It listens on an ephemeral port,
// serves one connection at a time, records every byte and answers DLE EOT n status queries from a
// table. Before start() the port is bound but not listening: a printer that is away. A behaviour
// gives it the faults of real printers: it resets or closes mid-job, crawls, stalls, keeps the
// connection open after the job, greets with a stray byte, answers twice.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

class PrinterStandIn {
public:
    enum class Fault {
        None,
        Reset,      // after reading `after` bytes, resets the connection
        Close,      // after reading `after` bytes, closes it (what is unread goes with it)
        Stall,      // after reading `after` bytes, reads no more until the till gives up
        NeverCloses // reads the whole job, then keeps the connection open
    };
    struct Behaviour {
        Fault fault = Fault::None;
        qsizetype after = 0;
        int bytesPerSecond = 0; // 0: reads as fast as it can
        int faultyConnections =
            -1;                   // connections with the fault, the later ones served well; -1 all
        int delayMs = 0;          // before serving each connection: a printer busy printing
        bool answerTwice = false; // each status answer sent twice
        QByteArray greeting;      // sent as each connection opens, before any question
    };
    enum class Mode { Reads, NeverReads }; // NeverReads: accepts, then takes no byte

    explicit PrinterStandIn(Mode mode = Mode::Reads, std::map<char, char> status = {});
    explicit PrinterStandIn(const Behaviour& behaviour, std::map<char, char> status = {});
    ~PrinterStandIn();

    QString address() const; // socket://127.0.0.1:PORT
    void start();
    // Every byte received, once `connections` connections have ended (or after a few seconds).
    QByteArray received(int connections = 1);
    // The bytes of each connection, in order (after received()).
    QList<QByteArray> connections();

private:
    void serve();
    bool serveOne(int client, bool faulty); // false when stopped
    bool pause(int ms);                     // false when stopped

    Behaviour m_behaviour;
    std::map<char, char> m_status; // n of DLE EOT n -> answer byte; none: no answer
    int m_listener = -1;
    int m_stop[2] = {-1, -1};
    unsigned short m_port = 0;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    QByteArray m_bytes;
    QList<QByteArray> m_connections;
    int m_ends = 0;
};
