// OutputJob: where the bytes go. pastrel-print's output argument names the destination; the job
// opens it, hands the renderer a device to write to, and delivers what was written.
//
// A plain file is written directly, as always, its path byte for byte as the suite gave it. A
// network printer ("socket://HOST[:PORT]", or "socket://" for the address in the document's last
// printers element) or a device node under /dev is reached through the spool: the job is rendered
// whole into a spool file first, then the printer's waiting jobs are sent oldest first, then this
// one. A job that cannot be delivered stays in the spool for the next run or for
// `pastrel-config spool send`.
#pragma once

#include "spool.h"

#include <QByteArray>
#include <QFile>
#include <QString>

class OutputJob {
public:
    OutputJob(const QByteArray& nativeOutput, const DeliverySettings& settings);

    // The destination opened write-only and empty, for the renderer; null when it cannot be
    // opened (for a spooled job, the reason is on standard error).
    QIODevice* open();
    // True when the job goes through the spool (a network printer or a device node).
    bool spooled() const { return m_spooled; }
    // The printer address the document gave, used when the output is "socket://" with no host.
    void setDocumentPrinter(const QString& ipAddress, const QString& port);
    // Closes the destination (a failed write, or written false, is reported on standard error)
    // and delivers the job. written: every write of the renderer succeeded. False when this job or
    // an older one could not be delivered; the reason is on standard error and the jobs wait.
    bool finish(bool written);

private:
    QByteArray m_nativeOutput;
    QString m_output;
    QString m_printer;
    QString m_renderPath; // the spool file of a spooled job, once opened
    bool m_spooled = false;
    DeliverySettings m_settings;
    QFile m_file;
    Spool m_spool;
};
