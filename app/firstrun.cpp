#include "firstrun.h"

#include "diagnostics.h"
#include "paconfiguration.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace {

// A printer a till can start from: the name `init` takes, the sample it copies, and the line
// `init --list` shows.
struct PrinterModel {
    const char* name;
    const char* sample;
    const char* description;
};

constexpr PrinterModel kModels[] = {
    {"company", "company.conf", "the company printer, 40 columns, UTF-8"},
    {"escpos-58mm", "escpos-58mm.conf", "ESC/POS receipt printer, 58 mm paper, 32 columns, PC858"},
    {"escpos-80mm", "escpos-80mm.conf", "ESC/POS receipt printer, 80 mm paper, 48 columns, PC858"},
};

void complain(const QString& text) {
    Diagnostics::warn(text);
}

const PrinterModel* findModel(const QString& name) {
    for (const PrinterModel& model : kModels) {
        if (name == QLatin1String(model.name))
            return &model;
    }
    return nullptr;
}

// The installed samples, from the folder of the running program (/proc/self/exe: the real file,
// also when the program was started through a link).
QString samplesFolder() {
    const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    return QDir::cleanPath(QFileInfo(program).absolutePath() +
                           QLatin1String("/" PASTREL_SAMPLES_FROM_BINDIR));
}

QString systemError() {
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

int listModels() {
    for (const PrinterModel& model : kModels)
        std::cout << QByteArray(model.name).leftJustified(14, ' ').constData() << model.description
                  << '\n';
    std::cout.flush();
    return 0;
}

int initConfiguration(const QString& name, bool force) {
    const PrinterModel* model = findModel(name);
    if (model == nullptr) {
        QStringList names;
        for (const PrinterModel& known : kModels)
            names << QLatin1String(known.name);
        complain(QStringLiteral("no printer model \"%1\"; one of: %2")
                     .arg(name, names.join(QLatin1String(", "))));
        return 2;
    }
    const QString samplePath = samplesFolder() + QLatin1Char('/') + QLatin1String(model->sample);
    QFile sample(samplePath);
    if (!sample.open(QIODevice::ReadOnly)) {
        complain(
            QStringLiteral("cannot read the sample %1: %2").arg(samplePath, sample.errorString()));
        return 1;
    }
    const QByteArray text = sample.readAll();

    const QString configured = QFile::decodeName(PAConfiguration::nativeConfigurationPath());
    const QFileInfo info(configured);
    const QString target = info.isSymLink() ? info.symLinkTarget() : configured;
    if (!force && QFileInfo::exists(target)) {
        complain(QStringLiteral("%1 exists and is kept; init --force %2 replaces it")
                     .arg(configured, name));
        return 1;
    }
    const QString folder = QFileInfo(target).absolutePath();
    if (!QDir().mkpath(folder)) {
        complain(QStringLiteral("cannot make the folder %1").arg(folder));
        return 1;
    }
    // The new file beside the old one, so that the rename or link stays on one file system.
    QTemporaryFile fresh(folder + QLatin1String("/.pastrel.conf.XXXXXX"));
    if (!fresh.open() || fresh.write(text) != text.size() || !fresh.flush() ||
        ::fsync(fresh.handle()) != 0) {
        complain(QStringLiteral("cannot write %1: %2").arg(fresh.fileName(), fresh.errorString()));
        return 1;
    }
    fresh.close();
    const QByteArray from = QFile::encodeName(fresh.fileName());
    const QByteArray to = QFile::encodeName(target);
    // Without --force, link() puts the file in place only where none is, also when another
    // init got there first; the temporary name goes away with `fresh`.
    const bool placed = force ? std::rename(from.constData(), to.constData()) == 0
                              : ::link(from.constData(), to.constData()) == 0;
    if (!placed) {
        if (!force && errno == EEXIST)
            complain(QStringLiteral("%1 exists and is kept; init --force %2 replaces it")
                         .arg(configured, name));
        else
            complain(QStringLiteral("cannot write %1: %2").arg(target, systemError()));
        return 1;
    }
    if (force)
        fresh.setAutoRemove(false); // renamed: nothing left to remove
    // The folder's new entry on the disk too, so that a till switched off right after init
    // finds the file after the restart.
    const int folderFd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY);
    if (folderFd >= 0) {
        ::fsync(folderFd);
        ::close(folderFd);
    }
    std::cout << QFile::encodeName(configured).constData() << ": started from the " << model->name
              << " sample\n"
                 "next: pastrel-config test-page PRINTER prints a test page on the till's printer"
              << std::endl;
    return 0;
}
