#include "outputjob.h"

#include "diagnostics.h"
#include "printerlink.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {
const QLatin1String kSocketScheme("socket://");

void report(const QString& line) {
    Diagnostics::warn(line);
}

// One name per network printer, so that "socket://h" and "socket://h:9100" share a queue. An
// address that does not parse is kept as given: its jobs wait until a person drops them.
QString networkPrinter(const QString& host, const QString& port, const QString& asGiven) {
    if (host.isEmpty())
        return asGiven;
    const QUrl url(kSocketScheme + (host.contains(QLatin1Char(':')) ? '[' + host + ']' : host) +
                       (port.isEmpty() ? QString() : QLatin1Char(':') + port),
                   QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty() || url.port(PrinterLink::kDefaultPort) <= 0)
        return asGiven;
    const QString name = url.host(QUrl::FullyEncoded);
    return kSocketScheme + (name.contains(QLatin1Char(':')) ? '[' + name + ']' : name) +
           QLatin1Char(':') + QString::number(url.port(PrinterLink::kDefaultPort));
}
} // namespace

OutputJob::OutputJob(const QByteArray& nativeOutput, const DeliverySettings& settings)
    : m_nativeOutput(nativeOutput), m_output(QFile::decodeName(nativeOutput)),
      m_settings(settings) {
    const QString& output = m_output;
    if (PrinterLink::isNetwork(output)) {
        const QUrl url(output, QUrl::StrictMode);
        const QString host = url.host();
        m_printer =
            networkPrinter(host, url.port() < 0 ? QString() : QString::number(url.port()), output);
    } else if (PrinterLink::isDevice(output)) {
        m_printer = PrinterLink::normalized(output);
    } else {
        return; // a plain file, or the caller's own stream
    }
    m_spooled = true;
}

QIODevice* OutputJob::open() {
    if (m_spooled) {
        QString error;
        m_renderPath = m_spool.newJob(&error);
        if (m_renderPath.isEmpty()) {
            report(m_printer + QLatin1String(": ") + error);
            return nullptr; // finish() then has nothing to deliver
        }
    }
    // POSIX open with the path's own bytes: the toolkit's text would turn a Latin-1 byte of a
    // file name into another name.
    const QByteArray path = m_spooled ? QFile::encodeName(m_renderPath) : m_nativeOutput;
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC | O_TRUNC, 0666);
    const int openError = errno;
    if (fd < 0 || !m_file.open(fd, QIODevice::WriteOnly | QIODevice::Truncate,
                               QFileDevice::AutoCloseHandle)) {
        if (fd >= 0)
            ::close(fd);
        if (m_spooled) {
            report(
                m_printer + QLatin1String(": cannot write a job in the spool folder: ") +
                (fd < 0 ? QString::fromLocal8Bit(std::strerror(openError)) : m_file.errorString()));
            QFile::remove(m_renderPath);
            m_renderPath.clear();
        }
        return nullptr;
    }
    return &m_file;
}

void OutputJob::setDocumentPrinter(const QString& ipAddress, const QString& port) {
    if (m_printer.compare(kSocketScheme, Qt::CaseInsensitive) == 0)
        m_printer = networkPrinter(ipAddress, port, m_printer);
}

bool OutputJob::closeSpoolFile(bool written, QString* error) {
    // The reason first: the file's next operations clear it.
    *error = m_file.errorString();
    bool whole = written && m_file.error() == QFileDevice::NoError;
    if (!whole && m_file.handle() >= 0) {
        // A write the system took only in part (the last free block, a file size limit) is
        // reported by the toolkit without the system's reason. One more byte into this file,
        // which is removed anyway, asks the system for it.
        if (::write(m_file.handle(), "", 1) < 0)
            *error = QString::fromLocal8Bit(std::strerror(errno));
    }
    if (whole && !m_file.flush()) {
        whole = false;
        *error = m_file.errorString();
    }
    // On disk before it is queued: a job is queued whole or not at all.
    if (whole && ::fsync(m_file.handle()) != 0) {
        whole = false;
        *error = QString::fromLocal8Bit(std::strerror(errno));
    }
    m_file.close();
    if (whole && m_file.error() != QFileDevice::NoError) {
        whole = false;
        *error = m_file.errorString();
    }
    return whole;
}

bool OutputJob::finish(bool written) {
    if (!m_spooled) {
        if (!m_file.isOpen())
            return true; // not opened: "Unable To Open File" was said
        const QString streamError = m_file.errorString();
        const bool failed = !written || m_file.error() != QFileDevice::NoError;
        m_file.close(); // flushes the file's own buffer: a late failure shows here
        if (failed || m_file.error() != QFileDevice::NoError) {
            // The open succeeded, so the "Unable To Open File" line does not apply and standard
            // output stays as the suite expects it; one line on standard error tells the till's
            // log why the document did not print (docs/robustness.md).
            const QString reason = failed ? streamError : m_file.errorString();
            Diagnostics::warn("write error on " + m_nativeOutput + ": " + reason.toLocal8Bit());
        }
        return true;
    }
    if (m_renderPath.isEmpty())
        return true; // a job the spool could not take (already reported)
    QString error;
    QString id;
    bool lost = false; // this ticket could not be kept: it did not print and will not
    const bool whole = closeSpoolFile(written, &error);
    if (!whole) {
        QFile::remove(m_renderPath);
        report(m_printer + QLatin1String(": this ticket did not print: cannot write it into ") +
               m_spool.folder() + QLatin1String(": ") + error);
        lost = true;
    } else if (QFileInfo(m_renderPath).size() == 0) {
        QFile::remove(m_renderPath); // nothing rendered: nothing to keep, older jobs still go
    } else {
        id = m_spool.commit(m_renderPath, m_printer, &error);
        if (id.isEmpty()) {
            report(m_printer + QLatin1String(": this ticket did not print: ") + error);
            lost = true;
        }
    }
    return deliver(id, lost);
}

bool OutputJob::deliver(const QString& id, bool lost) {
    const DeliveryResult result = m_spool.deliver(m_printer, m_settings);
    if (!result.problems.isEmpty())
        report(m_printer + QLatin1String(": printer reports ") +
               result.problems.join(QLatin1String(", ")));
    for (const QString& job : result.unreadable)
        report(m_printer + QLatin1String(": cannot read the waiting job ") + job +
               QLatin1String("; it stays in the spool until it can be read or is dropped"));
    if (result.unconfirmed > 0)
        report(m_printer + QLatin1String(": the printer took every byte but kept the connection "
                                         "open; counted as printed"));
    // Sent by this run, or by another run that had the queue (only sending or a person's drop
    // takes a job out of the spool).
    const bool waits = !id.isEmpty() && m_spool.waits(id, m_printer);
    if (result.handedOver && waits) {
        report(m_printer + QLatin1String(": another run is printing on it; this ticket is in "
                                         "its queue and prints with it"));
    } else if (!result.ok) {
        // One substitution for all: a printer name may hold "%1" itself.
        report(QStringLiteral("cannot print on %1: %2; %3 job(s) wait in %4 and will print when "
                              "the printer is back")
                   .arg(m_printer, result.error, QString::number(m_spool.jobs(m_printer).size()),
                        m_spool.folder()));
    }
    return !lost && (!waits || result.handedOver);
}
