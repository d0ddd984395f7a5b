// compile(): the work of pastrel-print. Checks the arguments, loads the label catalogue the
// configuration names, and renders the input document into the output file.
#include "compile.h"

#include "companyprinterdriver.h"
#include "documentreader.h"
#include "escposprinterdriver.h"
#include "outputjob.h"
#include "paconfiguration.h"
#include "syncsingleton.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

#include <iostream>
#include <memory>

namespace {

// The back-end pastrel.printer.model names. Without the key, the company printer, every byte as
// it has always been; an unknown name also gets the company printer, and one line on standard
// error says so.
std::unique_ptr<PrinterDriver> makeDriver(PAConfiguration& configuration, const QString& path) {
    const QString model =
        configuration.getStrValue(QStringLiteral("pastrel.printer.model")).trimmed();
    if (model.compare(QLatin1String("escpos"), Qt::CaseInsensitive) == 0)
        return std::make_unique<EscPosPrinterDriver>(path, false);
    if (!model.isEmpty() && model.compare(QLatin1String("company"), Qt::CaseInsensitive) != 0)
        std::cerr << "pastrel-print: unknown pastrel.printer.model \"" << model.toUtf8().constData()
                  << "\" (company or escpos); printing for the company printer" << std::endl;
    return std::make_unique<CompanyPrinterDriver>(path, false);
}

} // namespace

void compile(int argc, char** argv) {
    // Accepted when argc - 3, as an unsigned number, is at most 1: argc 3 or 4. A fourth
    // argument is tolerated and ignored, so a caller that passes one more still gets its
    // document.
    if (static_cast<unsigned int>(argc - 3) > 1) {
        std::cout << "Usage: " << (argc > 0 && argv[0] ? argv[0] : "") << " input_file output_file"
                  << std::endl;
        return;
    }
    // Taken before the application object sees argv, so no toolkit option can eat a path.
    const QString inputPath = QString::fromLocal8Bit(argv[1]);
    const QString outputPath = QString::fromLocal8Bit(argv[2]);

    // QCoreApplication, not QApplication: only the translator needs it, and a till may have no
    // display.
    QCoreApplication application(argc, argv);
    PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();

    QTranslator translator;
    const QString basedir = configuration->getStrValue(QStringLiteral("pastrel.language.basedir"));
    const QString file = configuration->getStrValue(QStringLiteral("pastrel.language.file"));
    if (file == QLatin1String("/")) {
        // The locale's catalogue, with the toolkit's own suffix and fallback rules.
        (void)translator.load(basedir + QLatin1String("/pastrel_") + QLocale::system().name(),
                              QStringLiteral("."), QString(), QString());
    } else {
        // Plain concatenation, no separator added: basedir carries its own "/". A failed load
        // is ignored and the labels print in English.
        (void)translator.load(basedir + file, QString(), QString(), QString());
    }
    QCoreApplication::installTranslator(&translator);

    // A network printer or device node gets the job through the spool (spool/outputjob.h).
    OutputJob job(outputPath);
    {
        // Write-only and truncating (append false); the destructor closes the output.
        const std::unique_ptr<PrinterDriver> driver = makeDriver(*configuration, job.renderPath());
        DocumentReader reader(*driver);
        reader.parse(inputPath); // the result is not examined: the exit status is always 0
        job.setDocumentPrinter(driver->printerIpAddress(), driver->printerPort());
    }
    if (!job.deliver())
        std::cout << PrinterDriver::kUnableToOpenFile << std::endl;
}
