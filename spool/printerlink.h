// PrinterLink: one open connection to a printer that takes raw bytes, either a network printer
// (raw TCP, "socket://HOST[:PORT]") or a device node under /dev (a USB or parallel printer).
//
// A network printer has a job only when it ends the connection in order after reading all of it:
// the link half-closes its side once the job is sent and waits for the printer's close, as print
// servers do. A printer that resets, or closes before it has taken every byte, has not got the
// job. Every wait is bounded by the link's timeout and is a wait for progress, never for the whole
// job: connecting, each wait for the printer to take more bytes, and the wait for its close, so a
// printer that is switched off, unplugged or stuck never hangs the till while a slow one that
// keeps reading gets a long job whole. Device nodes are opened without creating them: a missing
// node is a printer that is not there.
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

    // "socket://..." (the scheme in any case).
    static bool isNetwork(const QString& printer);
    // A path the job reaches through the spool as a printer's device node: one under /dev once
    // made absolute and cleaned ("/../dev/x" and "../dev/x" from "/" count), or one whose opening
    // would create a file under /dev through a symbolic link. /dev/stdout, /dev/stderr, /dev/stdin
    // and /dev/fd/N are not: they are the caller's own streams.
    static bool isDevice(const QString& path);
    // The absolute path with "." and ".." taken away by the text alone, never above "/".
    static QString normalized(const QString& path);

    // Opens "socket://HOST:PORT" or a device path; false with error() set when it cannot.
    bool open(const QString& printer);
    // Sends all of data; false with error() set when the printer refuses or stops taking bytes.
    bool send(const QByteArray& data);
    // Ends the job. On a network printer, half-closes the connection and waits for the printer's
    // orderly close after it has taken every byte; false with error() set (and the connection
    // reset, so nothing of it is delivered later) when the printer resets, closes early or stops
    // taking bytes. A printer that has taken every byte but keeps the connection open for the
    // whole timeout is counted as having the job: unconfirmed() is then true.
    bool finish();
    bool unconfirmed() const { return m_unconfirmed; }
    // Sends a one-byte status query and returns the answer byte, or -1 when none came in waitMs.
    // Input that came before the query is discarded first, and bytes that follow the answer
    // closely are discarded with it, so one answer is never taken for the next.
    int ask(const QByteArray& query, int waitMs);
    // Resets a network connection (what the printer has not taken yet is dropped), closes a node.
    void close();

    const QString& error() const { return m_error; }

private:
    bool openSocket(const QString& printer);
    bool openDevice(const QString& path);
    bool fail(const QString& reason);
    bool waitFor(short events, int waitMs);
    int discardInput(); // bytes discarded; -1 when the input does not run dry
    int unsentBytes() const;
    void release(bool reset);

    int m_timeoutMs;
    int m_fd = -1;
    bool m_socket = false;
    bool m_readable = false;
    bool m_unconfirmed = false;
    QString m_error;
};
