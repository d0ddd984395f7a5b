// OutputJob: where pastrel-print's output argument takes the rendered job.
//
// A plain file is written directly, as always; so are the caller's own streams (/dev/stdout,
// /dev/stderr, /dev/fd/N). A network printer ("socket://HOST[:PORT]", or "socket://" for the
// address in the document's last printers element) or a device node under /dev is reached through
// the spool: the job is written into a spool file as it is rendered, queued once it is whole and
// on disk, then the printer's waiting jobs are sent oldest first, this one among them. A job that
// cannot be delivered stays in the spool for the next run or for `pastrel-config spool send`.
#pragma once

#include "spool.h"

#include <QString>

#include <thread>

class OutputJob {
public:
    explicit OutputJob(const QString& output);
    ~OutputJob();
    OutputJob(const OutputJob&) = delete;
    OutputJob& operator=(const OutputJob&) = delete;

    // The path the renderer writes to: the output itself for a plain file, else a channel into
    // a new spool file, whose writes this class checks. When the spool cannot take the job (the
    // reason is on standard error), a path that cannot be opened, so the renderer reports the
    // output as one that cannot be opened.
    const QString& renderPath() const { return m_renderPath; }
    // True when the job goes through the spool (a network printer or a device node).
    bool spooled() const { return m_spooled; }
    // The printer address of the document, used when the output is "socket://" with no host.
    void setDocumentPrinter(const QString& ipAddress, const QString& port);
    // Queues the rendered job and delivers the printer's waiting jobs (nothing to do for a plain
    // file). False only when this run's ticket did not print and will not by this run: it waits
    // in the spool, or could not be kept there; standard error says which.
    bool deliver();

private:
    void copyToSpool();
    bool finishWriting(QString* error); // false with the reason when the job is not whole on disk

    QString m_output;
    QString m_printer;
    QString m_renderPath;
    QString m_partPath;
    bool m_spooled = false;
    bool m_jobKept = true;
    int m_partFd = -1;
    int m_channel[2] = {-1, -1}; // the renderer writes into [1], the copy reads [0]
    std::thread m_copier;
    int m_writeError = 0; // the first failed write to the spool file
    qint64 m_bytes = 0;
    Spool m_spool;
};
