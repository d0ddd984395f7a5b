// DocumentReader: reads the input document for the renderer. A QXmlStreamReader loop over
// the input file that calls the driver's SAX-shaped operations, streaming: memory does not grow
// with the document.
#pragma once

#include <QString>

class PrinterDriver;

class DocumentReader {
public:
    // Bytes read at the most: a larger input ends there, as a malformed document (elements before
    // that point are rendered, no end sequence). Real documents are a few kilobytes; the limit
    // bounds memory for /dev/zero, endless pipes and gigabyte attributes (docs/robustness.md).
    static constexpr qint64 kMaxDocumentBytes = 64LL * 1024 * 1024;

    explicit DocumentReader(PrinterDriver& handler);

    // Parses the file at path into the handler. True when the document was well-formed and
    // endDocument() ran; false for an unopenable file, malformed XML, or a handler's stop.
    // A DTD entity reference that would expand to more characters than the reference itself is
    // malformed XML here, so memory stays bounded by the input (the toolkit's default allows
    // 4096 more characters per reference). External entities are never read.
    bool parse(const QString& path);

private:
    PrinterDriver& m_handler; // not owned
};
