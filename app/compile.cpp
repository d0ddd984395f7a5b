// compile(): the work of pastrel-print, as one short sequence: the arguments, the label
// catalogue, the printer profile and its back-end (driver/printerbackends.cpp), the destination
// (spool/outputjob.h), one parse of the document into it, then delivery.
#include "compile.h"

#include "diagnostics.h"
#include "documentreader.h"
#include "messagecatalogue.h"
#include "outputjob.h"
#include "paconfiguration.h"
#include "printerbackends.h"
#include "syncsingleton.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QTranslator>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

// The input document. An output naming the input would be truncated before the input is read,
// and the document lost: the input is then read whole first (docs/robustness.md).
class Input {
public:
    Input(const QByteArray& path, const QByteArray& output) : m_path(path) {
        struct stat in {};
        struct stat out {};
        m_whole = ::stat(path.constData(), &in) == 0 && ::stat(output.constData(), &out) == 0 &&
                  S_ISREG(in.st_mode) && in.st_dev == out.st_dev && in.st_ino == out.st_ino;
        if (!m_whole)
            return;
        const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
        QFile input;
        if (fd >= 0 && input.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
            m_buffer.setData(input.read(DocumentReader::kMaxDocumentBytes + 1));
        m_buffer.open(QIODevice::ReadOnly);
    }
    // The result is not examined: the exit status is 0 whatever happened.
    void parseInto(PrinterDriver& driver) {
        DocumentReader reader(driver);
        if (m_whole)
            reader.parse(m_buffer, m_path);
        else
            reader.parse(m_path);
    }

private:
    QByteArray m_path;
    bool m_whole = false;
    QBuffer m_buffer;
};

} // namespace

void compile(int argc, char** argv) {
    // A printer spooler that stops reading, or "| head": a write to a pipe without a reader
    // fails with EPIPE and is reported like any failed write, instead of killing the program.
    std::signal(SIGPIPE, SIG_IGN);
    // argc 3 or 4 (argc - 3, unsigned, at most 1): a fourth argument is tolerated and ignored.
    if (static_cast<unsigned int>(argc - 3) > 1) {
        SuiteLines::say(SuiteLines::usage(argc > 0 && argv[0] ? argv[0] : ""));
        return;
    }
    // The paths as the file system's bytes, taken before the application object sees argv.
    const QByteArray inputPath(argv[1]);
    const QByteArray outputPath(argv[2]);
    QCoreApplication application(argc, argv); // the translator's; a till may have no display
    const PAConfiguration& configuration = *SyncSingleton<PAConfiguration>::instance();
    QTranslator translator;
    MessageCatalogue catalogue; // outlives the translator's use of it
    // A catalogue not found or refused leaves the labels in English.
    catalogue.loadConfigured(translator,
                             configuration.getStrValue(QStringLiteral("pastrel.language.basedir")),
                             configuration.getStrValue(QStringLiteral("pastrel.language.file")));
    QCoreApplication::installTranslator(&translator);

    const PrinterProfile profile = PrinterProfile::fromConfiguration(configuration);
    const PrinterBackend& backend = PrinterBackends::choose(profile);
    Input input(inputPath, outputPath);
    OutputJob job(outputPath, DeliverySettings::fromProfile(profile, backend.answersStatus));
    QIODevice* device = backend.deliver ? nullptr : job.open();
    if (!backend.deliver && !device)
        SuiteLines::say(SuiteLines::kUnableToOpenFile);
    bool delivered = true;
    bool written = true;
    {
        const std::unique_ptr<PrinterDriver> driver = backend.make(device, profile);
        input.parseInto(*driver);
        written = driver->flush() || !device;
        job.setDocumentPrinter(driver->printerAddress().ipAddress, driver->printerAddress().port);
        if (backend.deliver)
            delivered = backend.deliver(*driver, outputPath);
    }
    if (!job.finish(written) || !delivered)
        SuiteLines::say(SuiteLines::kUnableToOpenFile);
}
