// DocumentReader: the parse of DESIGN.md ("Reading the input"). A QXmlStreamReader loop over
// the input file that calls the driver's SAX-shaped operations, streaming: memory does not grow
// with the document.
#pragma once

#include <QString>

class PrinterDriver;

class DocumentReader {
public:
    // Documents larger than this are treated as malformed at this point (docs/robustness.md).
    static constexpr qint64 kMaxDocumentBytes = 256LL * 1024 * 1024;

    explicit DocumentReader(PrinterDriver& handler);

    // Parses the file at path into the handler. True when the document was well-formed and
    // endDocument() ran; false for an unopenable file, malformed XML, or a handler's stop.
    bool parse(const QString& path);

private:
    PrinterDriver& m_handler; // not owned
};
