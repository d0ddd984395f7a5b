// Part 1.1: command-line driver.
#include "compile.h"

#include "companyprinterdriver.h"
#include "documentreader.h"
#include "escposprinterdriver.h"
#include "paconfiguration.h"
#include "syncsingleton.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

#include <iostream>
#include <memory>

void compile(int argc, char** argv) {
    // Accepted when argc - 3, as an unsigned number, is at most 1: argc 3 or 4. A fourth
    // argument is tolerated and ignored, deliberately (Part 1.1).
    if (static_cast<unsigned int>(argc - 3) > 1) {
        std::cout << "Usage: " << (argc > 0 && argv[0] ? argv[0] : "") << " input_file output_file"
                  << std::endl;
        return;
    }
    // Taken before the application object sees argv, so no toolkit option can eat a path.
    const QString inputPath = QString::fromLocal8Bit(argv[1]);
    const QString outputPath = QString::fromLocal8Bit(argv[2]);

    // QCoreApplication, not QApplication: only the translator needs it (DESIGN.md).
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
        // Plain concatenation, no separator added (Part 1.1). A failed load is ignored.
        (void)translator.load(basedir + file, QString(), QString(), QString());
    }
    QCoreApplication::installTranslator(&translator);

    // Write-only and truncating (append false); the destructor closes the output. Without
    // pastrel.printer.model, the company printer, every byte as it has always been.
    const QString model =
        configuration->getStrValue(QStringLiteral("pastrel.printer.model")).trimmed();
    std::unique_ptr<PrinterDriver> driver;
    if (model.compare(QLatin1String("escpos"), Qt::CaseInsensitive) == 0) {
        driver = std::make_unique<EscPosPrinterDriver>(outputPath, false);
    } else {
        if (!model.isEmpty() && model.compare(QLatin1String("company"), Qt::CaseInsensitive) != 0)
            std::cerr << "pastrel-print: unknown pastrel.printer.model \""
                      << model.toUtf8().constData()
                      << "\" (company or escpos); printing for the company printer" << std::endl;
        driver = std::make_unique<CompanyPrinterDriver>(outputPath, false);
    }
    DocumentReader reader(*driver);
    reader.parse(inputPath); // the result is not examined (Part 1.1)
}
