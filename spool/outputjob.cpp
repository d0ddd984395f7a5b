#include "outputjob.h"

#include "printerlink.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <iostream>

namespace {
const QLatin1String kSocketScheme("socket://");

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
        m_printer = QDir::cleanPath(QFileInfo(output).absoluteFilePath());
    } else {
        return; // a plain file
    }
    m_spooled = true;
    QString error;
    m_renderPath = m_spool.newJob(&error);
    if (m_renderPath.isEmpty()) {
        report(m_printer + QLatin1String(": ") + error);
        // A path in a folder nothing creates: the renderer cannot open it and says so as usual.
        m_renderPath = QDir(m_spool.folder()).filePath(QStringLiteral(".unavailable/job"));
        m_jobKept = false;
    }
}

void OutputJob::setDocumentPrinter(const QString& ipAddress, const QString& port) {
    if (m_printer.compare(kSocketScheme, Qt::CaseInsensitive) == 0)
        m_printer = networkPrinter(ipAddress, port, m_printer);
}

bool OutputJob::deliver() {
    if (!m_spooled || !m_jobKept)
        return true; // a plain file, or a job the spool could not take (already reported)
    QString error;
    if (QFileInfo(m_renderPath).size() == 0) {
        QFile::remove(m_renderPath); // nothing rendered: nothing to keep, older jobs still go
    } else if (m_spool.commit(m_renderPath, m_printer, &error).isEmpty()) {
        report(m_printer + QLatin1String(": ") + error);
        return false;
    }
    const DeliveryResult result = m_spool.deliver(m_printer, DeliverySettings::fromConfiguration());
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
