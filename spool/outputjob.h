// OutputJob: where the bytes go. pastrel-print's output argument names the destination; the job
// opens it, hands the renderer a device to write to, and delivers what was written.
//
// A plain file is written directly, as always, its path byte for byte as the suite gave it; so are
// the caller's own streams (/dev/stdout, /dev/stderr, /dev/fd/N). A network printer
// ("socket://HOST[:PORT]", or "socket://" for the address in the document's last printers
// element) or a device node under /dev is reached through the spool: the job is written into a
// spool file as it is rendered, queued once it is whole and on disk, then the printer's waiting
// jobs are sent oldest first, this one among them. A job that cannot be delivered stays in the
// spool for the next run or for `pastrel-config spool send`.
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
    // Closes the destination and delivers the job. written: every write of the renderer
    // succeeded. A failed write to a plain file is reported on standard error. A spooled job is
    // queued only when written whole and synced to disk. False only when this run's ticket did
    // not print and will not by this run: it waits in the spool, or could not be kept there;
    // standard error says which.
    bool finish(bool written);

private:
    bool closeSpoolFile(bool written, QString* error); // false: the job is not whole on disk
    bool deliver(const QString& id, bool lost);

    QByteArray m_nativeOutput;
    QString m_output;
    QString m_printer;
    QString m_renderPath; // the spool file of a spooled job, once opened
    bool m_spooled = false;
    DeliverySettings m_settings;
    QFile m_file;
    Spool m_spool;
};
