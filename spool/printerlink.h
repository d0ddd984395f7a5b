// PrinterLink: one open connection to a printer that takes raw bytes, either a network printer
// (raw TCP, "socket://HOST[:PORT]") or a device node under /dev (a USB or parallel printer).
//
// Every wait is bounded by the link's timeout: connecting, and each wait for the printer to take
// more bytes, so a printer that is switched off, unplugged or stuck never hangs the till. Device
// nodes are opened without creating them: a missing node is a printer that is not there.
#pragma once

#include <QByteArray>
#include <QString>

class PrinterLink {
public:
    static constexpr quint16 kDefaultPort = 9100; // raw printing, as printers and CUPS use it

    explicit PrinterLink(int timeoutMs);
    ~PrinterLink();
    PrinterLink(const PrinterLink&) = delete;
    PrinterLink& operator=(const PrinterLink&) = delete;

    // True for the printer names this class can open: "socket://..." and paths under /dev.
    static bool isNetwork(const QString& printer);
    static bool isDevice(const QString& path);

    // Opens "socket://HOST:PORT" or a device path; false with error() set when it cannot.
    bool open(const QString& printer);
    // Sends all of data; false with error() set when the printer refuses or stops taking bytes.
    bool send(const QByteArray& data);
    // On a network printer, waits until the printer has acknowledged every byte sent, so that a
    // job is only taken as printed when the printer really has it.
    bool drain();
    // Sends a one-byte status query and returns the answer byte, or -1 when none came in waitMs.
    int ask(const QByteArray& query, int waitMs);
    void close();

    const QString& error() const { return m_error; }

private:
    bool openSocket(const QString& printer);
    bool openDevice(const QString& path);
    bool fail(const QString& reason);
    bool waitFor(short events, int waitMs);

    int m_timeoutMs;
    int m_fd = -1;
    bool m_socket = false;
    bool m_readable = false;
    QString m_error;
};
