#include "outputjob.h"

#include "printerlink.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <cerrno>
#include <cstring>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace {
const QLatin1String kSocketScheme("socket://");
constexpr qsizetype kCopyBytes = 64 * 1024;

void report(const QString& line) {
    std::cerr << "pastrel-print: " << line.toLocal8Bit().constData() << std::endl;
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

OutputJob::OutputJob(const QString& output) : m_output(output), m_renderPath(output) {
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
    QString error;
    m_partPath = m_spool.newJob(&error);
    if (!m_partPath.isEmpty()) {
        m_partFd = ::open(QFile::encodeName(m_partPath).constData(), O_WRONLY | O_CLOEXEC);
        if (m_partFd < 0 || ::pipe2(m_channel, O_CLOEXEC) != 0) {
            error = QStringLiteral("cannot write a job in the spool folder: ") +
                    QString::fromLocal8Bit(std::strerror(errno));
            QFile::remove(m_partPath);
            m_partPath.clear();
        }
    }
    if (m_partPath.isEmpty()) {
        report(m_printer + QLatin1String(": ") + error);
        // A path in a folder nothing creates: the renderer cannot open it and says so as usual.
        m_renderPath = QDir(m_spool.folder()).filePath(QStringLiteral(".unavailable/job"));
        m_jobKept = false;
        return;
    }
    // The renderer opens the channel by name like any output; this side copies what it writes
    // into the spool file and sees every failed write, which the renderer would only report.
    m_renderPath = QStringLiteral("/proc/self/fd/%1").arg(m_channel[1]);
    m_copier = std::thread([this] { copyToSpool(); });
}

OutputJob::~OutputJob() {
    if (m_copier.joinable()) { // never delivered: nothing of it is kept
        QString error;
        finishWriting(&error);
        QFile::remove(m_partPath);
    }
    for (const int fd : {m_channel[0], m_channel[1], m_partFd}) {
        if (fd >= 0)
            ::close(fd);
    }
}

void OutputJob::copyToSpool() {
    QByteArray buffer(kCopyBytes, Qt::Uninitialized);
    for (;;) {
        const ssize_t got = ::read(m_channel[0], buffer.data(), size_t(buffer.size()));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        m_bytes += got;
        // After a failed write the rest is still read, so the renderer never waits on it.
        for (ssize_t done = 0; done < got && m_writeError == 0;) {
            const ssize_t written =
                ::write(m_partFd, buffer.constData() + done, size_t(got - done));
            if (written > 0)
                done += written;
            else if (written < 0 && errno != EINTR)
                m_writeError = errno;
            else if (written == 0)
                m_writeError = ENOSPC;
        }
    }
    // On disk before it is queued: a job is queued whole or not at all.
    if (m_writeError == 0 && ::fsync(m_partFd) != 0)
        m_writeError = errno;
}

bool OutputJob::finishWriting(QString* error) {
    ::close(m_channel[1]); // with the renderer's own copy closed, the copy reaches the end
    m_channel[1] = -1;
    m_copier.join();
    ::close(m_channel[0]);
    m_channel[0] = -1;
    if (::close(m_partFd) != 0 && m_writeError == 0)
        m_writeError = errno;
    m_partFd = -1;
    if (m_writeError != 0)
        *error = QString::fromLocal8Bit(std::strerror(m_writeError));
    return m_writeError == 0;
}

void OutputJob::setDocumentPrinter(const QString& ipAddress, const QString& port) {
    if (m_printer.compare(kSocketScheme, Qt::CaseInsensitive) == 0)
        m_printer = networkPrinter(ipAddress, port, m_printer);
}

bool OutputJob::deliver() {
    if (!m_spooled || !m_jobKept)
        return true; // a plain file, or a job the spool could not take (already reported)
    QString error;
    QString id;
    bool lost = false; // this ticket could not be kept: it did not print and will not
    if (!finishWriting(&error)) {
        QFile::remove(m_partPath);
        report(m_printer + QLatin1String(": this ticket did not print: cannot write it into ") +
               m_spool.folder() + QLatin1String(": ") + error);
        lost = true;
    } else if (m_bytes == 0) {
        QFile::remove(m_partPath); // nothing rendered: nothing to keep, older jobs still go
    } else {
        id = m_spool.commit(m_partPath, m_printer, &error);
        if (id.isEmpty()) {
            report(m_printer + QLatin1String(": this ticket did not print: ") + error);
            lost = true;
        }
    }
    const DeliveryResult result = m_spool.deliver(m_printer, DeliverySettings::fromConfiguration());
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
