#include "outputjob.h"

#include "printerlink.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include "diagnostics.h"

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
        m_printer = QDir::cleanPath(QFileInfo(output).absoluteFilePath());
    } else {
        return; // a plain file
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
    if (fd < 0 || !m_file.open(fd, QIODevice::WriteOnly | QIODevice::Truncate,
                               QFileDevice::AutoCloseHandle)) {
        if (fd >= 0)
            ::close(fd);
        if (m_spooled) {
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

bool OutputJob::finish(bool written) {
    if (m_file.isOpen()) {
        const QString streamError = m_file.errorString();
        const bool failed = !written || m_file.error() != QFileDevice::NoError;
        m_file.close(); // flushes the file's own buffer: a late failure shows here
        if (failed || m_file.error() != QFileDevice::NoError) {
            // The open succeeded, so the "Unable To Open File" line does not apply and standard
            // output stays as the suite expects it; one line on standard error tells the till's
            // log why the document did not print (docs/robustness.md).
            const QString reason = failed ? streamError : m_file.errorString();
            Diagnostics::warn("write error on " +
                              (m_spooled ? QFile::encodeName(m_renderPath) : m_nativeOutput) +
                              ": " + reason.toLocal8Bit());
        }
    }
    if (!m_spooled || m_renderPath.isEmpty())
        return true; // a plain file, or a job the spool could not take (already reported)
    QString error;
    if (QFileInfo(m_renderPath).size() == 0) {
        QFile::remove(m_renderPath); // nothing rendered: nothing to keep, older jobs still go
    } else if (m_spool.commit(m_renderPath, m_printer, &error).isEmpty()) {
        report(m_printer + QLatin1String(": ") + error);
        return false;
    }
    const DeliveryResult result = m_spool.deliver(m_printer, m_settings);
    if (!result.problems.isEmpty())
        report(m_printer + QLatin1String(": printer reports ") +
               result.problems.join(QLatin1String(", ")));
    if (!result.ok) {
        report(QStringLiteral("cannot print on %1: %2; %3 job(s) wait in %4")
                   .arg(m_printer, result.error)
                   .arg(m_spool.jobs(m_printer).size())
                   .arg(m_spool.folder()));
    }
    return result.ok;
}
