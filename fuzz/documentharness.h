// DocumentHarness: what the document fuzz targets share. A temporary HOME holding the
// configuration file, and files for the document and the rendered output, made once per fuzzing
// process (one input at a time, so one set of files serves every input). Any failure of its own
// (a full /tmp) aborts: it is the harness's, never the program's.
#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

class DocumentHarness {
public:
    DocumentHarness() { // points HOME at the temporary folder
        if (!m_home.isValid() || !QDir(m_home.path()).mkpath(QStringLiteral(".pastrel/conf")))
            std::abort();
        qputenv("HOME", QFile::encodeName(m_home.path()));
    }

    void writeConfiguration(const QByteArray& bytes) const {
        write(m_home.filePath(QStringLiteral(".pastrel/conf/pastrel.conf")), bytes.constData(),
              bytes.size());
    }

    // The sample configuration of examples/home, its catalogue folder filled in.
    static QByteArray sampleConfiguration() {
        QFile file(QStringLiteral(PASTREL_SOURCE_DIR "/examples/home/.pastrel/conf/pastrel.conf"));
        if (!file.open(QIODevice::ReadOnly))
            std::abort();
        return file.readAll().replace("@CATALOGUE_DIR@", PASTREL_CATALOGUE_DIR);
    }

    // Writes bytes as the input document and returns its path.
    QString writeDocument(const char* data, std::size_t size) const {
        write(m_home.filePath(QStringLiteral("input.xml")), data, static_cast<qint64>(size));
        return m_home.filePath(QStringLiteral("input.xml"));
    }

    QString outputPath() const { return m_home.filePath(QStringLiteral("output.prn")); }

private:
    static void write(const QString& path, const char* data, qint64 size) {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            file.write(data, size) != size)
            std::abort();
    }

    QTemporaryDir m_home; // removed when the process ends
};
