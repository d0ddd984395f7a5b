// OutputJob: where pastrel-print's output argument takes the rendered job.
//
// A plain file is written directly, as always. A network printer ("socket://HOST[:PORT]", or
// "socket://" for the address in the document's last printers element) or a device node under
// /dev is reached through the spool: the job is rendered whole into a spool file first, then the
// printer's waiting jobs are sent oldest first, then this one. A job that cannot be delivered
// stays in the spool for the next run or for `pastrel-config spool send`.
#pragma once

#include "spool.h"

#include <QString>

class OutputJob {
public:
    explicit OutputJob(const QString& output);

    // The path the renderer writes to: the output itself for a plain file, else a new spool
    // file. When the spool cannot take the job (the reason is on standard error), a path that
    // cannot be opened, so the renderer reports the output as one that cannot be opened.
    const QString& renderPath() const { return m_renderPath; }
    // True when the job goes through the spool (a network printer or a device node).
    bool spooled() const { return m_spooled; }
    // The printer address of the document, used when the output is "socket://" with no host.
    void setDocumentPrinter(const QString& ipAddress, const QString& port);
    // Delivers the rendered job (nothing to do for a plain file). False when this job or an
    // older one could not be delivered; the reason is on standard error and the jobs wait.
    bool deliver();

private:
    QString m_output;
    QString m_printer;
    QString m_renderPath;
    bool m_spooled = false;
    bool m_jobKept = true;
    Spool m_spool;
};
