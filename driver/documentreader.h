// DocumentReader: reads the input document for the renderer. A QXmlStreamReader loop over
// the input file that calls the driver's SAX-shaped operations, streaming: memory does not grow
// with the document.
#pragma once

#include <QByteArray>
#include <QString>

class PrinterDriver;
class QIODevice;

class DocumentReader {
public:
    // Bytes read at the most: a larger input ends there, as a malformed document (elements before
    // that point are rendered, no end sequence). Real documents are a few kilobytes; the limit
    // bounds memory for /dev/zero, endless pipes and gigabyte attributes (docs/robustness.md).
    static constexpr qint64 kMaxDocumentBytes = 64LL * 1024 * 1024;
    // The other limits of docs/robustness.md, each reached as the end of a malformed document
    // at that point. A document of the suite nests 3 deep and carries at most 9 attributes in an
    // element and no DTD; each limit is far above that and keeps time and memory linear in the
    // input (the toolkit's reader checks every attribute of a tag against every other, adds
    // every DTD default to every element, and keeps every open element and declared entity).
    static constexpr int kMaxDepth = 20000;
    static constexpr int kMaxAttributes = 100;           // written in one tag
    static constexpr int kMaxEntityDeclarations = 1000;  // in the DTD
    static constexpr int kMaxAttributeDeclarations = 50; // in the DTD, all ATTLISTs together
    // How long an input FIFO may wait for its writer: the suite's writer opens it at once, and a
    // FIFO nobody writes to must not hold the till for ever.
    static constexpr int kFifoWriterWaitMs = 3000;

    explicit DocumentReader(PrinterDriver& handler);

    // Parses the file at path into the handler. True when the document was well-formed and
    // endDocument() ran; false for an unopenable file, malformed XML, a limit, or a handler's
    // stop. A DTD entity reference that would expand to more characters than the reference
    // itself is malformed XML here, so memory stays bounded by the input (the toolkit's default
    // allows 4096 more characters per reference). External entities are never read.
    // Why a document ended early (unreadable file, malformed XML with its line and column, a
    // limit) goes to standard error as one line "pastrel-print: ...", for the integrator.
    bool parse(const QString& path);
    // The same for a path given as the file system's bytes (argv: not always UTF-8).
    bool parse(const QByteArray& nativePath);
    // The same for an input already open (named for the messages).
    bool parse(QIODevice& input, const QByteArray& name);

private:
    PrinterDriver& m_handler; // not owned
};
