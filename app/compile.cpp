// compile(): the work of pastrel-print. Checks the arguments, loads the label catalogue the
// configuration names, and renders the input document into the output file.
#include "compile.h"

#include "companyprinterdriver.h"
#include "documentreader.h"
#include "escposprinterdriver.h"
#include "messagecatalogue.h"
#include "outputjob.h"
#include "paconfiguration.h"
#include "rtprinterdriver.h"
#include "syncsingleton.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QLocale>
#include <QTranslator>

#include <csignal>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <sys/stat.h>

namespace {

// The back-end pastrel.printer.model names. Without the key, the company printer, every byte as
// it has always been; an unknown name also gets the company printer, and one line on standard
// error says so.
std::unique_ptr<PrinterDriver> makeDriver(PAConfiguration& configuration, const QByteArray& path) {
    const QString model =
        configuration.getStrValue(QStringLiteral("pastrel.printer.model")).trimmed();
    if (model.compare(QLatin1String("escpos"), Qt::CaseInsensitive) == 0)
        return std::make_unique<EscPosPrinterDriver>(path, false);
    if (!model.isEmpty() && model.compare(QLatin1String("company"), Qt::CaseInsensitive) != 0)
        std::cerr << "pastrel-print: unknown pastrel.printer.model \"" << model.toUtf8().constData()
                  << "\" (company or escpos); printing for the company printer" << std::endl;
    return std::make_unique<CompanyPrinterDriver>(path, false);
}

// True when the output path names the input file itself (the same file, or a link to it).
bool sameFile(const char* input, const char* output) {
    struct stat in {};
    struct stat out {};
    return ::stat(input, &in) == 0 && ::stat(output, &out) == 0 && S_ISREG(in.st_mode) &&
           in.st_dev == out.st_dev && in.st_ino == out.st_ino;
}

} // namespace

void compile(int argc, char** argv) {
    // A printer spooler that stops reading, or "| head": a write to a pipe without a reader
    // fails with EPIPE and is reported like any failed write, instead of killing the program
    // with SIGPIPE before the ticket is rendered (docs/robustness.md).
    std::signal(SIGPIPE, SIG_IGN);

    // Accepted when argc - 3, as an unsigned number, is at most 1: argc 3 or 4. A fourth
    // argument is tolerated and ignored, so a caller that passes one more still gets its
    // document.
    if (static_cast<unsigned int>(argc - 3) > 1) {
        std::cout << "Usage: " << (argc > 0 && argv[0] ? argv[0] : "") << " input_file output_file"
                  << std::endl;
        return;
    }
    // The paths as the file system's bytes, taken before the application object sees argv (so
    // no toolkit option can eat one): a Latin-1 file name must reach the file unchanged.
    const QByteArray inputPath(argv[1]);
    const QByteArray outputPath(argv[2]);

    // QCoreApplication, not QApplication: only the translator needs it, and a till may have no
    // display.
    QCoreApplication application(argc, argv);
    PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();

    QTranslator translator;
    MessageCatalogue catalogue; // outlives the translator's use of it
    const QString basedir = configuration->getStrValue(QStringLiteral("pastrel.language.basedir"));
    const QString file = configuration->getStrValue(QStringLiteral("pastrel.language.file"));
    if (file == QLatin1String("/")) {
        // The locale's catalogue, with the toolkit's own suffix and fallback rules.
        catalogue.load(translator, basedir + QLatin1String("/pastrel_") + QLocale::system().name(),
                       QStringLiteral("."));
    } else if (!(basedir + file).isEmpty()) {
        // Plain concatenation, no separator added. A failed load leaves the labels
        // in English.
        catalogue.load(translator, basedir + file, QString());
    }
    QCoreApplication::installTranslator(&translator);

    // A fiscal printer (RT) takes the document over HTTP when the run ends, never through the
    // spool: a fiscal receipt issued later would be a false document. A file output receives
    // the request instead.
    fiscal::Dialect dialect;
    if (RtPrinterDriver::dialectOf(
            configuration->getStrValue(QStringLiteral("pastrel.printer.model")), &dialect)) {
        const QString output = QFile::decodeName(outputPath);
        RtPrinterDriver driver(dialect, output, QFile::decodeName(inputPath));
        DocumentReader(driver).parse(inputPath);
        if (!driver.deliver())
            std::cout << PrinterDriver::kUnableToOpenFile << std::endl;
        return;
    }

    // An output naming the input would be truncated before the input is read, and the
    // document lost: the input is then read whole first (docs/robustness.md).
    QBuffer wholeInput;
    const bool outputIsInput = sameFile(inputPath.constData(), outputPath.constData());
    if (outputIsInput) {
        const int fd = ::open(inputPath.constData(), O_RDONLY | O_CLOEXEC);
        QFile input;
        if (fd >= 0 && input.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
            wholeInput.setData(input.read(DocumentReader::kMaxDocumentBytes + 1));
        wholeInput.open(QIODevice::ReadOnly);
    }

    // A network printer or device node gets the job through the spool (spool/outputjob.h); a
    // plain file is written directly, its path byte for byte as the suite gave it.
    OutputJob job(QFile::decodeName(outputPath));
    {
        // Write-only and truncating (append false); the destructor closes the output.
        const std::unique_ptr<PrinterDriver> driver = makeDriver(
            *configuration, job.spooled() ? QFile::encodeName(job.renderPath()) : outputPath);
        DocumentReader reader(*driver);
        // The result is not examined: the exit status is 0 whatever happened.
        if (outputIsInput)
            reader.parse(wholeInput, inputPath);
        else
            reader.parse(inputPath);
        job.setDocumentPrinter(driver->printerIpAddress(), driver->printerPort());
    }
    if (!job.deliver())
        std::cout << PrinterDriver::kUnableToOpenFile << std::endl;
}
