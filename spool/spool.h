// Spool: the folder of print jobs that could not be delivered yet ($HOME/.pastrel/spool/), and
// their delivery to the printer each was meant for.
//
// One file per job holds the job's bytes exactly as the printer gets them, named
// "<id>@<printer>.prn": the id is the UTC time the job was made and the process number
// (yyyyMMdd-HHmmss-zzz-ppppppp), so names sort oldest first; the printer is its name with "%" and
// "/" written %25 and %2F. A job being rendered is "<id>.part" and belongs to no queue yet.
// A job leaves the folder only when its printer has taken all of it, or when a person drops it.
#pragma once

#include "printerprofile.h"

#include <QList>
#include <QString>
#include <QStringList>

struct SpoolJob {
    QString id;
    QString printer;
    QString path;
    qint64 bytes = 0;
};

// How a printer is reached, from the configuration.
struct DeliverySettings {
    int timeoutMs = 3000;
    bool askStatus = false; // ESC/POS printers answer status queries
    // The profile's timeout; askStatus for a printer that answers status queries (its back-end's
    // row says so, driver/printerbackends.h).
    static DeliverySettings fromProfile(const PrinterProfile& profile, bool askStatus);
};

struct DeliveryResult {
    bool ok = false; // every waiting job of the printer was sent
    int sent = 0;
    QString error;        // why delivery stopped
    QStringList problems; // what the printer reported about itself afterwards
};

class Spool {
public:
    static QString defaultFolder(); // $HOME/.pastrel/spool
    explicit Spool(const QString& folder = defaultFolder());

    const QString& folder() const { return m_folder; }
    // A new, empty "<id>.part" file to render a job into; empty with error set when the folder
    // cannot be made or written.
    QString newJob(QString* error) const;
    // Queues the rendered part file for printer; returns the job's id (empty on failure).
    QString commit(const QString& partPath, const QString& printer, QString* error) const;
    // Waiting jobs, oldest first; all printers when printer is empty.
    QList<SpoolJob> jobs(const QString& printer = QString()) const;
    QStringList printers() const;
    bool drop(const QString& id) const;
    // Sends the printer's waiting jobs over one connection, oldest first, each removed once the
    // printer has all of it; stops at the first failure, keeping that job and the later ones.
    DeliveryResult deliver(const QString& printer, const DeliverySettings& settings) const;

private:
    QString m_folder;
};
