// Spool: the folder of print jobs that could not be delivered yet ($HOME/.pastrel/spool/), and
// their delivery to the printer each was meant for.
//
// One file per job holds the job's bytes exactly as the printer gets them, named
// "<id>@<printer>.prn": the id is the UTC time the job was made and the process number
// (yyyyMMdd-HHmmss-zzz-ppppppp), so names sort oldest first; the printer is its name with "%" and
// "/" written %25 and %2F, or, when that would make too long a file name, "~" and a hash of the
// name, whose file ".~<hash>.printer" holds the name itself. A job being written is "<id>.part"
// and belongs to no queue yet; it is queued only once written whole and on disk. A job leaves the
// folder only when its printer has taken all of it, or when a person drops it.
#pragma once

#include "printerprofile.h"

#include <QList>
#include <QSet>
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
    bool ok = false; // every waiting job that can be read went out, or goes with another run
    bool handedOver = false; // another run is sending to this printer: the jobs go out with it
    int sent = 0;
    QStringList sentIds;
    int unconfirmed = 0;    // of those sent, taken whole by a printer that kept the line open
    QString error;          // why delivery stopped
    QStringList unreadable; // "<id>: <reason>" of waiting jobs that cannot be read (they stay)
    QStringList problems;   // what the printer reported about itself afterwards
};

class Spool {
public:
    static QString defaultFolder(); // $HOME/.pastrel/spool
    explicit Spool(const QString& folder = defaultFolder());

    const QString& folder() const { return m_folder; }
    // A new, empty "<id>.part" file to write a job into; empty with error set when the folder
    // cannot be made or written. Part files left by runs that were killed are removed here once
    // they are older than kStalePartSeconds.
    QString newJob(QString* error) const;
    // Queues the part file, written whole and synced by its writer, for printer; returns the
    // job's id. On failure the part file is removed (nothing half is kept) and error says why.
    QString commit(const QString& partPath, const QString& printer, QString* error) const;
    // True while the job waits (neither sent nor dropped).
    bool waits(const QString& id, const QString& printer) const;
    // Waiting jobs, oldest first; all printers when printer is empty.
    QList<SpoolJob> jobs(const QString& printer = QString()) const;
    QStringList printers() const;
    // Drops the named jobs; returns the ids of those that are not there.
    QStringList drop(const QStringList& ids) const;
    void dropAll() const;
    // Sends the printer's waiting jobs oldest first, each over its own connection and removed
    // once the printer has taken all of it, until none is left, jobs queued meanwhile by other
    // runs included; stops at the first failure, keeping that job and the later ones. A job
    // that cannot be read is kept and reported, and the others still go. When another run is
    // sending to the printer for longer than the timeout and two seconds, the jobs are left to
    // that run, which sends them before it ends (handedOver).
    DeliveryResult deliver(const QString& printer, const DeliverySettings& settings) const;

    static constexpr int kStalePartSeconds = 10 * 60;

private:
    QString key(const QString& printer) const;
    QString printerOf(const QString& key) const;
    QList<SpoolJob> sendable(const QString& printer, const QSet<QString>& skipped) const;
    bool sendWaiting(const QString& printer, const DeliverySettings& settings,
                     QSet<QString>& skipped, DeliveryResult& result) const;

    QString m_folder;
};
