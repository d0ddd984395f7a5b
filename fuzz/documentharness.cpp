#include "documentharness.h"

#include <QDir>
#include <QFile>

#include <cstdlib>

namespace {

void writeOrAbort(const QString& path, const char* data, qint64 size) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data, size) != size)
        std::abort(); // the harness's own failure (a full /tmp), never the program's
}

} // namespace

DocumentHarness::DocumentHarness() {
    if (!m_home.isValid() || !QDir(m_home.path()).mkpath(QStringLiteral(".pastrel/conf")))
        std::abort();
    qputenv("HOME", QFile::encodeName(m_home.path()));
}

void DocumentHarness::writeConfiguration(const QByteArray& bytes) const {
    writeOrAbort(m_home.filePath(QStringLiteral(".pastrel/conf/pastrel.conf")), bytes.constData(),
                 bytes.size());
}

QByteArray DocumentHarness::sampleConfiguration() {
    QFile file(QStringLiteral(PASTREL_SOURCE_DIR "/examples/home/.pastrel/conf/pastrel.conf"));
    if (!file.open(QIODevice::ReadOnly))
        std::abort();
    return file.readAll().replace("@CATALOGUE_DIR@", PASTREL_CATALOGUE_DIR);
}

QString DocumentHarness::writeDocument(const char* data, std::size_t size) const {
    const QString path = m_home.filePath(QStringLiteral("input.xml"));
    writeOrAbort(path, data, static_cast<qint64>(size));
    return path;
}
