// Fuzz target (b): the document compiler over arbitrary document bytes, rendered through
// CompanyPrinterDriver with the sample configuration of examples/home and its Italian catalogue.
#include "companyprinterdriver.h"
#include "documentharness.h"
#include "documentreader.h"
#include "fuzztarget.h"
#include "messagecatalogue.h"
#include "paconfiguration.h"
#include "syncsingleton.h"

#include <QCoreApplication>
#include <QTranslator>

namespace {

DocumentHarness* harness = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static DocumentHarness home;
    harness = &home;
    home.writeConfiguration(DocumentHarness::sampleConfiguration());
    static QCoreApplication application(*argc, *argv);
    PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();
    // The labels' catalogue found and loaded as pastrel-print loads it.
    static MessageCatalogue catalogue;
    static QTranslator translator;
    catalogue.loadConfigured(translator,
                             configuration->getStrValue(QStringLiteral("pastrel.language.basedir")),
                             configuration->getStrValue(QStringLiteral("pastrel.language.file")));
    QCoreApplication::installTranslator(&translator);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString input = harness->writeDocument(reinterpret_cast<const char*>(data), size);
    CompanyPrinterDriver driver(harness->outputPath(), false);
    DocumentReader reader(driver);
    reader.parse(input);
    return 0;
}
