// Fuzz target (c): the configuration file and the document together, run through compile(),
// the very function pastrel-print's main() calls. The bytes up to the first NUL are the
// configuration file, the rest the document (no NUL: all configuration, an empty document).
// The configuration singleton is read again here for every input (the harness's reset).
#include "compile.h"
#include "documentharness.h"
#include "fuzztarget.h"
#include "paconfiguration.h"
#include "syncsingleton.h"

#include <QtGlobal>

#include <cstring>
#include <string>

namespace {

DocumentHarness* harness = nullptr;
std::string programName;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char*** argv) {
    static DocumentHarness home;
    harness = &home;
    // The toolkit's warnings on odd configurations (a QDomNode call on a null node) would flood
    // the log; they go to standard error, which the suite's programs do not read.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    programName = (*argv)[0];
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    const void* nul = std::memchr(bytes, '\0', size);
    const std::size_t configurationSize =
        nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - bytes) : size;
    harness->writeConfiguration(QByteArray(bytes, static_cast<qsizetype>(configurationSize)));
    const std::size_t documentOffset = nul ? configurationSize + 1 : size;
    std::string input =
        harness->writeDocument(bytes + documentOffset, size - documentOffset).toStdString();
    std::string output = harness->outputPath().toStdString();

    SyncSingleton<PAConfiguration>::instance()->constructor(PAConfiguration::configurationPath(),
                                                            QStringLiteral("cfg"));
    char* arguments[] = {programName.data(), input.data(), output.data(), nullptr};
    compile(3, arguments);
    return 0;
}
