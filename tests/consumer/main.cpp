// consumer INPUT OUTPUT: uses each installed library once, as the suite's programs do: prints
// one setting and the receipt's copy number, writes one log line, renders INPUT into OUTPUT.
#include <companyprinterdriver.h>
#include <documentreader.h>
#include <hlibrary.h>
#include <hlogmanager.h>
#include <paconfiguration.h>
#include <syncsingleton.h>

#include <QCoreApplication>

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    QCoreApplication application(argc, argv);
    PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();
    std::cout
        << "paperWidth "
        << configuration->getStrValue(QStringLiteral("pastrel.receiptdoc.paperWidth")).toStdString()
        << "\ncopies " << HLibrary::copyNumber(QStringLiteral("receipt")).toStdString()
        << std::endl;
    SyncSingleton<HLogManager>::instance()->set(QStringLiteral("consumer"), QString());
    SyncSingleton<HLogManager>::instance()->getLog(QString())->info(
        QStringLiteral("consumer rendered a receipt"));
    CompanyPrinterDriver driver(QString::fromLocal8Bit(argv[2]), false);
    DocumentReader reader(driver);
    return reader.parse(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
