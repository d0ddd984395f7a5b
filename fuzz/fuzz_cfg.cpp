// Fuzz target (a): the "cfg" reader over arbitrary file contents, then lookups of every key the
// suite reads plus odd shapes. Beyond "no crash": a value is at most Config::kMaxTokenBytes
// characters (the reader's 2048-byte buffer; Latin-1, one character per byte).
#include "config.h"
#include "fuzztarget.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace {

QTemporaryDir* folder = nullptr; // one per fuzzing process, removed at exit

// clang-format off
const char* const kKeys[] = {
    "pastrel.language.basedir", "pastrel.language.file", "pastrel.logger.level", "pastrel.logger.basedir",
    "pastrel.logger.filename", "pastrel.logger.type", "pastrel.db.dbname", "pastrel.db.username",
    "pastrel.db.password", "pastrel.db.hostname", "pastrel.bin.path", "pastrel.receiptdoc.paperWidth",
    "pastrel.receiptdoc.topMargin", "pastrel.doc.quantityFieldWidth", "pastrel.invoicedoc.printCompany",
    "pastrel.receiptdoc.copyNumber", "pastrel", "pastrel.", ".", "", "a.b.c.d.e.f.g.h",
    "pastrel..receiptdoc", "pastrel.receiptdoc.openCashDrawer.extra"};
// clang-format on

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The toolkit's warnings (a QDomNode call on a null node) would flood the log; the
    // program's own output is what the target checks.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static QTemporaryDir dir;
    folder = &dir;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString path = folder->filePath(QStringLiteral("pastrel.conf"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort(); // the harness's own failure, not the reader's
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }
    libconfig::Config config(path, QStringLiteral("cfg"));
    for (const char* key : kKeys) {
        const QString value = config.lookup(QString::fromLatin1(key));
        if (value.size() > libconfig::Config::kMaxTokenBytes) {
            std::fprintf(stderr, "value of %s has %lld characters\n", key,
                         static_cast<long long>(value.size()));
            std::abort();
        }
    }
    return 0;
}
