#include "documentreader.h"

#include "printerdriver.h"

#include <QFile>
#include <QXmlStreamReader>

namespace {

// Reads the input through to its end or to kMaxDocumentBytes, whichever comes first, and then
// reports the end of the data; works the same for files, pipes and character devices.
class BoundedDevice : public QIODevice {
public:
    BoundedDevice(QIODevice& source, qint64 limit) : m_source(source), m_remaining(limit) {
        QIODevice::open(QIODevice::ReadOnly);
    }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        if (m_remaining <= 0)
            return -1;
        const qint64 read = m_source.read(data, qMin(maxSize, m_remaining));
        if (read <= 0)
            return -1;
        m_remaining -= read;
        return read;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QIODevice& m_source; // not owned
    qint64 m_remaining;  // bytes still allowed
};

} // namespace

DocumentReader::DocumentReader(PrinterDriver& handler) : m_handler(handler) {}

bool DocumentReader::parse(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false; // nothing reported, no end-of-document sequence

    BoundedDevice input(file, kMaxDocumentBytes);
    QXmlStreamReader reader(&input);
    // No entity may expand to more characters than its reference ("&name;") takes: the
    // toolkit's default lets every reference grow by 4096, so 1 MB of references to one DTD
    // entity asked for gigabytes. A growing reference now ends the parse as malformed there;
    // predefined entities, character references and short entities are unaffected
    // (docs/robustness.md, "Entities").
    reader.setEntityExpansionLimit(0);
    m_handler.startDocument();
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            if (!m_handler.startElement(reader.qualifiedName().toString(), reader.attributes()))
                return false;
            break;
        case QXmlStreamReader::EndElement:
            m_handler.endElement(reader.qualifiedName().toString());
            break;
        default:
            break; // text, comments and processing instructions are ignored
        }
    }
    if (reader.hasError())
        return false; // elements before the error are rendered; no endDocument
    m_handler.endDocument();
    return true;
}
