// DocumentHarness: what the document fuzz targets share. A temporary HOME holding the
// configuration file, and files for the document and the rendered output, made once per
// fuzzing process (one input at a time, so one set of files serves every input).
#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

class DocumentHarness {
public:
    // Makes the temporary HOME and points the HOME variable at it.
    DocumentHarness();

    // Writes bytes as $HOME/.pastrel/conf/pastrel.conf.
    void writeConfiguration(const QByteArray& bytes) const;

    // The sample configuration of examples/home, its catalogue folder filled in.
    static QByteArray sampleConfiguration();

    // Writes bytes as the input document and returns its path.
    QString writeDocument(const char* data, std::size_t size) const;

    QString outputPath() const { return m_home.filePath(QStringLiteral("output.prn")); }

private:
    QTemporaryDir m_home; // removed when the process ends
};
