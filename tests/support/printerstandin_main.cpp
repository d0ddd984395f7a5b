// printerstandin ADDRESS_FILE CONNECTIONS: the test suite's printer stand-in (printerstandin.h) as
// a program, for the shell tests. It listens on 127.0.0.1, writes its address
// ("socket://127.0.0.1:PORT") into ADDRESS_FILE (whole, by a rename), and when its standard input
// ends writes to standard output every byte that CONNECTIONS connections brought.
#include "printerstandin.h"

#include <QFile>

#include <cstdio>
#include <iostream>

namespace {

bool writeWhole(const QString& path, const QByteArray& bytes) {
    QFile file(path + QStringLiteral(".new"));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return false;
    file.close();
    return file.error() == QFileDevice::NoError && file.rename(path);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: printerstandin ADDRESS_FILE CONNECTIONS" << std::endl;
        return 2;
    }
    PrinterStandIn printer;
    printer.start();
    if (!writeWhole(QFile::decodeName(argv[1]), printer.address().toLatin1())) {
        std::cerr << "printerstandin: cannot write " << argv[1] << std::endl;
        return 1;
    }
    // The test closes standard input once its programs have ended, and with them their
    // connections; the last bytes of the last one may still be on their way.
    while (std::getchar() != EOF) {
    }
    const QByteArray bytes = printer.received(QByteArray(argv[2]).toInt());
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
