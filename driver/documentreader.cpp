#include "documentreader.h"

#include "diagnostics.h"
#include "printerdriver.h"

#include <QFile>
#include <QXmlStreamReader>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Watches the bytes on their way to the reader for what the reader would spend quadratic time or
// unbounded memory on before it reports anything: many attributes in one tag, many entity or
// attribute declarations in the DTD. It follows only the markup's ASCII characters (tags,
// quotes, comments, CDATA, processing instructions, the DTD's internal subset): one byte each in
// UTF-8 and Latin-1, one code unit of two or four bytes in UTF-16 and UTF-32, which tools on
// other systems write. A NUL character ends the data: XML allows none.
class MarkupLimits {
public:
    // The document's code units: 1 byte (UTF-8, Latin-1), 2 (UTF-16) or 4 (UTF-32), in either
    // byte order.
    void setUnit(int bytes, bool bigEndian) {
        m_unitBytes = bytes;
        m_bigEndian = bigEndian;
    }

    // How many of the size bytes at data may pass: all of them, or those before the code unit
    // at which a limit is reached (then limit() names it).
    qint64 pass(const char* data, qint64 size) {
        for (qint64 i = 0; i < size; ++i) {
            const auto byte = static_cast<unsigned char>(data[i]);
            m_unit =
                m_bigEndian ? (m_unit << 8) | byte : m_unit | (char32_t(byte) << (8 * m_unitFill));
            if (++m_unitFill < m_unitBytes)
                continue;
            const char32_t unit = m_unit;
            m_unit = 0;
            m_unitFill = 0;
            // Only ASCII matters to the scan; any other character stands in as 0x80.
            if (!step(unit < 0x80 ? char(unit) : '\x80'))
                return std::max<qint64>(0, i + 1 - m_unitBytes);
        }
        return size;
    }
    const QByteArray& limit() const { return m_limit; }

private:
    enum class State { Text, Open, Bang, Markup, Comment, Instruction, CData };
    enum class Kind { StartTag, Other, Doctype, Entity, AttributeList };

    bool reached(const char* what, qint64 limit = -1) {
        m_limit = limit < 0 ? QByteArray(what) : what + (" " + QByteArray::number(limit));
        return false;
    }

    bool step(char c) {
        if (c == '\0')
            return reached("a NUL character");
        switch (m_state) {
        case State::Text:
            if (c == '<')
                m_state = State::Open;
            else if (c == ']' && m_inSubset) { // the end of the DTD's internal subset
                m_inSubset = false;
                startMarkup(Kind::Doctype);
            }
            return true;
        case State::Open:
            if (c == '!') {
                m_word.clear();
                m_state = State::Bang;
                return true;
            }
            if (c == '?') {
                m_state = State::Instruction;
                return true;
            }
            startMarkup(c == '/' ? Kind::Other : Kind::StartTag);
            return markup(c);
        case State::Bang:
            return bang(c);
        case State::Markup:
            return markup(c);
        case State::Comment: // ends at "-->"
        case State::CData:   // ends at "]]>"
            if (c == '>' && m_run >= 2)
                m_state = State::Text;
            m_run = c == (m_state == State::Comment ? '-' : ']') ? m_run + 1 : 0;
            return true;
        case State::Instruction: // ends at "?>"
            if (c == '>' && m_run > 0)
                m_state = State::Text;
            m_run = c == '?' ? 1 : 0;
            return true;
        }
        return true;
    }

    // After "<!": a comment, a CDATA section or a declaration, told by its first bytes.
    bool bang(char c) {
        m_word += c;
        if (m_word == "--") {
            m_state = State::Comment;
            m_run = 0;
            return true;
        }
        if (QByteArrayLiteral("[CDATA[").startsWith(m_word)) {
            if (m_word.size() == 7) {
                m_state = State::CData;
                m_run = 0;
            }
            return true;
        }
        if (m_word == "-" || ((c >= 'A' && c <= 'Z') && m_word.size() < 9))
            return true;
        const QByteArray word = m_word.chopped(1);
        if (word == "ENTITY") {
            if (++m_entities > DocumentReader::kMaxEntityDeclarations)
                return reached("more entity declarations than",
                               DocumentReader::kMaxEntityDeclarations);
            startMarkup(Kind::Entity);
        } else {
            startMarkup(word == "DOCTYPE"   ? Kind::Doctype
                        : word == "ATTLIST" ? Kind::AttributeList
                                            : Kind::Other);
        }
        return markup(c);
    }

    void startMarkup(Kind kind) {
        m_state = State::Markup;
        m_kind = kind;
        m_quote = 0;
        m_literals = 0;
    }

    // Inside a tag or declaration: quoted literals, up to the unquoted ">".
    bool markup(char c) {
        if (m_quote) {
            if (c == m_quote)
                m_quote = 0;
            return true;
        }
        if (c == '"' || c == '\'') {
            m_quote = c;
            // Each attribute of a tag has one quoted value; each attribute of an ATTLIST ends
            // in "#REQUIRED", "#IMPLIED" or a quoted default (counted once or twice).
            if (m_kind == Kind::StartTag && ++m_literals > DocumentReader::kMaxAttributes)
                return reached("more attributes in one element than",
                               DocumentReader::kMaxAttributes);
            if (m_kind == Kind::AttributeList && !declareAttribute())
                return false;
        } else if (c == '#' && m_kind == Kind::AttributeList) {
            return declareAttribute();
        } else if (c == '[' && m_kind == Kind::Doctype) {
            m_inSubset = true;
            m_state = State::Text;
        } else if (c == '>') {
            m_state = State::Text;
        }
        return true;
    }

    bool declareAttribute() {
        if (++m_attributeDeclarations > DocumentReader::kMaxAttributeDeclarations)
            return reached("more attribute declarations than",
                           DocumentReader::kMaxAttributeDeclarations);
        return true;
    }

    State m_state = State::Text;
    Kind m_kind = Kind::Other;
    QByteArray m_word; // the bytes after "<!" while they are read
    char m_quote = 0;  // the quote of the literal being read, or 0
    int m_run = 0;     // the bytes of a comment's, CDATA's or instruction's end seen so far
    bool m_inSubset = false;
    int m_literals = 0;
    int m_entities = 0;
    int m_attributeDeclarations = 0;
    QByteArray m_limit; // what was reached, empty while none is
    int m_unitBytes = 1;
    bool m_bigEndian = false;
    char32_t m_unit = 0; // the code unit being read
    int m_unitFill = 0;  // its bytes read so far
};

// The code units of a document, told by its first four bytes as XML's own rules tell them: a
// byte order mark, or "<" (and "<?") written in two or four bytes.
void detectUnits(const QByteArray& start, MarkupLimits& markup) {
    const auto is = [&](const char* bytes, int size) {
        return start.startsWith(QByteArray::fromRawData(bytes, size));
    };
    if (is("\xFF\xFE\0\0", 4) || is("<\0\0\0", 4))
        markup.setUnit(4, false);
    else if (is("\0\0\xFE\xFF", 4) || is("\0\0\0<", 4))
        markup.setUnit(4, true);
    else if (is("\xFF\xFE", 2) || is("<\0?\0", 4))
        markup.setUnit(2, false);
    else if (is("\xFE\xFF", 2) || is("\0<\0?", 4))
        markup.setUnit(2, true);
}

// Reads the input through to its end, to kMaxDocumentBytes or to the byte at which a markup
// limit is reached, whichever comes first, and then reports the end of the data; works the same
// for files, pipes and character devices.
class BoundedDevice : public QIODevice {
public:
    explicit BoundedDevice(QIODevice& source)
        : m_source(source), m_remaining(DocumentReader::kMaxDocumentBytes) {
        QIODevice::open(QIODevice::ReadOnly);
    }
    bool isSequential() const override { return true; }
    // The limit reached, or empty when the input ended by itself.
    const QByteArray& limit() const { return m_limit; }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        if (!m_limit.isEmpty())
            return -1;
        if (!m_started)
            start();
        if (m_remaining <= 0) {
            char next;
            if (take(&next, 1) == 1)
                m_limit =
                    "more bytes than " + QByteArray::number(DocumentReader::kMaxDocumentBytes);
            return -1;
        }
        const qint64 read = take(data, qMin(maxSize, m_remaining));
        if (read <= 0)
            return -1;
        const qint64 passed = m_markup.pass(data, read);
        if (passed < read)
            m_limit = m_markup.limit();
        m_remaining -= passed;
        return passed > 0 ? passed : -1;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    // The first four bytes (fewer when the input is shorter) tell the code units; a pipe may
    // hand them over one at a time.
    void start() {
        m_started = true;
        while (m_head.size() < 4) {
            char byte;
            if (m_source.read(&byte, 1) != 1)
                break;
            m_head += byte;
        }
        detectUnits(m_head, m_markup);
    }

    // Up to size bytes, the first four from m_head, the rest from the source in the same call:
    // the toolkit's reader tells the encoding from its first read.
    qint64 take(char* data, qint64 size) {
        const qint64 taken = qMin(size, qint64(m_head.size()));
        std::memcpy(data, m_head.constData(), std::size_t(taken));
        m_head.remove(0, taken);
        if (taken == size)
            return taken;
        const qint64 read = m_source.read(data + taken, size - taken);
        return read > 0 ? taken + read : (taken > 0 ? taken : read);
    }

    QIODevice& m_source; // not owned
    qint64 m_remaining;  // bytes still allowed
    MarkupLimits m_markup;
    QByteArray m_limit;
    bool m_started = false;
    QByteArray m_head; // the first bytes, read to tell the code units, not yet passed on
};

} // namespace

DocumentReader::DocumentReader(PrinterDriver& handler) : m_handler(handler) {}

bool DocumentReader::parse(const QString& path) {
    return parse(QFile::encodeName(path));
}

bool DocumentReader::parse(const QByteArray& nativePath) {
    // POSIX open with the path's own bytes: a Latin-1 file name would not survive the toolkit's
    // text. Non-blocking, so that a FIFO without a writer does not hold the open for ever.
    const int fd = ::open(nativePath.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const auto cannotRead = [&](const QByteArray& reason) {
        Diagnostics::warn("cannot read input " + nativePath + ": " + reason);
        if (fd >= 0)
            ::close(fd);
        return false; // nothing on standard output, no end sequence
    };
    if (fd < 0)
        return cannotRead(std::strerror(errno));
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode))
        return cannotRead(std::strerror(EISDIR)); // it opens, but no read would succeed
    if (S_ISFIFO(info.st_mode)) {
        pollfd writer{fd, POLLIN, 0}; // data, or a writer that came and went
        if (::poll(&writer, 1, kFifoWriterWaitMs) <= 0)
            return cannotRead("no writer came to the FIFO");
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK); // from here reads wait for data
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return cannotRead(file.errorString().toLocal8Bit());
    return parse(file, nativePath);
}

bool DocumentReader::parse(QIODevice& source, const QByteArray& name) {
    BoundedDevice input(source);
    QXmlStreamReader reader(&input);
    // No entity may expand to more characters than its reference ("&name;") takes: the
    // toolkit's default lets every reference grow by 4096, so 1 MB of references to one DTD
    // entity asked for gigabytes. A growing reference now ends the parse as malformed there;
    // predefined entities, character references and short entities are unaffected
    // (docs/robustness.md, "Entities").
    reader.setEntityExpansionLimit(0);
    const auto report = [&](const QByteArray& what) {
        Diagnostics::warn(name + ":" + QByteArray::number(reader.lineNumber()) + ":" +
                          QByteArray::number(reader.columnNumber()) + ": " + what);
        return false; // elements before this point are rendered; no endDocument
    };
    m_handler.startDocument();
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            if (++depth > kMaxDepth)
                return report("elements nested deeper than " + QByteArray::number(kMaxDepth) +
                              "; read as malformed from here");
            if (!m_handler.startElement(reader.qualifiedName().toString(), reader.attributes()))
                return false;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            m_handler.endElement(reader.qualifiedName().toString());
            break;
        default:
            break; // text, comments and processing instructions are ignored
        }
    }
    if (!input.limit().isEmpty())
        return report(input.limit() + "; read as malformed from here");
    if (reader.hasError())
        return report("malformed XML: " + reader.errorString().toUtf8());
    m_handler.endDocument();
    return true;
}
