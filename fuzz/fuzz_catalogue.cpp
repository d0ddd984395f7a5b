// Fuzz target: the message catalogue loader. The bytes are a .qm file; it is loaded as
// pastrel-print loads its catalogue, and when accepted every label of translations/ is looked up.
// An accepted catalogue is also copied to the end of a page followed by an unreadable one, so a
// lookup reading one byte past the file faults even inside the toolkit, which the sanitizers do
// not see.
#include "fuzztarget.h"
#include "messagecatalogue.h"

#include <QFile>
#include <QList>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>

#include <cstdlib>
#include <cstring>
#include <iostream>

#include <sys/mman.h>
#include <unistd.h>

namespace {

QTemporaryDir* folder = nullptr;
QList<QByteArray>* labels = nullptr; // every source text of the shipped catalogue

void lookUpEveryLabel(const QTranslator& translator) {
    for (const QByteArray& label : *labels)
        (void)translator.translate("QObject", label.constData());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::cerr.setstate(std::ios::badbit); // a refused catalogue's line for each input: not needed
    static QTemporaryDir dir;
    static QList<QByteArray> sources;
    folder = &dir;
    labels = &sources;
    QFile ts(QStringLiteral(PASTREL_SOURCE_DIR "/translations/pastrel_it_IT.ts"));
    if (!ts.open(QIODevice::ReadOnly))
        std::abort();
    for (QXmlStreamReader reader(&ts); !reader.atEnd();)
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"source")
            sources.append(reader.readElementText().toUtf8());
    if (sources.isEmpty())
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString path = folder->filePath(QStringLiteral("catalogue.qm"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort(); // the harness's own failure
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }
    MessageCatalogue catalogue;
    QTranslator translator;
    if (!catalogue.load(translator, path, QString()))
        return 0;
    lookUpEveryLabel(translator);

    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t pages = (size + page - 1) / page + 1;
    auto* region = static_cast<std::uint8_t*>(
        ::mmap(nullptr, pages * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (region == MAP_FAILED)
        std::abort();
    std::uint8_t* guard = region + (pages - 1) * page;
    ::mprotect(guard, page, PROT_NONE);
    std::memcpy(guard - size, data, size);
    QTranslator fenced;
    if (fenced.load(guard - size, static_cast<int>(size)))
        lookUpEveryLabel(fenced);
    ::munmap(region, pages * page);
    return 0;
}
