#include "documentreader.h"

#include "printerdriver.h"

#include <QFile>
#include <QXmlStreamReader>

DocumentReader::DocumentReader(PrinterDriver& handler) : m_handler(handler) {}

bool DocumentReader::parse(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false; // Part 1.1: nothing reported, no end-of-document sequence

    QXmlStreamReader reader(&file);
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
        if (reader.characterOffset() > kMaxDocumentBytes)
            return false;
    }
    if (reader.hasError())
        return false; // elements before the error are rendered; no endDocument
    m_handler.endDocument();
    return true;
}
