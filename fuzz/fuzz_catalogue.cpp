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

    // The region is made once: room for the largest accepted catalogue, then the guard page.
    static const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    static const std::size_t room = (MessageCatalogue::kMaxBytes + page - 1) / page * page;
    static std::uint8_t* const guard = [] {
        auto* region = static_cast<std::uint8_t*>(::mmap(
            nullptr, room + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (region == MAP_FAILED || ::mprotect(region + room, page, PROT_NONE) != 0)
            std::abort();
        return region + room;
    }();
    std::memcpy(guard - size, data, size); // accepted, so at most kMaxBytes
    QTranslator fenced;
    if (fenced.load(guard - size, static_cast<int>(size)))
        lookUpEveryLabel(fenced);
    return 0;
}
