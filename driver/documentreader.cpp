#include "documentreader.h"

#include "diagnostics.h"
#include "printerdriver.h"

#include <QFile>
#include <QXmlStreamReader>

#include <cerrno>
#include <cstring>

#include <fcntl.h>

namespace {

// Watches the bytes on their way to the reader for what the reader would spend quadratic time or
// unbounded memory on before it reports anything: many attributes in one tag, many entity or
// attribute declarations in the DTD. It follows only the markup's ASCII bytes (tags, quotes,
// comments, CDATA, processing instructions, the DTD's internal subset), which are the same in
// UTF-8 and Latin-1. A NUL byte ends the data: it is never in such a document, and it is in
// every UTF-16 or UTF-32 one, whose markup this scan could not follow.
class MarkupLimits {
public:
    // How many of the size bytes at data may pass: all of them, or those before the byte at
    // which a limit is reached (then limit() names it).
    qint64 pass(const char* data, qint64 size) {
        for (qint64 i = 0; i < size; ++i) {
            if (!step(data[i]))
                return i;
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
            return reached("a NUL byte (the document is not UTF-8 or Latin-1 text)");
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
};

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
        if (m_remaining <= 0) {
            char next;
            if (m_source.read(&next, 1) == 1)
                m_limit =
                    "more bytes than " + QByteArray::number(DocumentReader::kMaxDocumentBytes);
            return -1;
        }
        const qint64 read = m_source.read(data, qMin(maxSize, m_remaining));
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
    QIODevice& m_source; // not owned
    qint64 m_remaining;  // bytes still allowed
    MarkupLimits m_markup;
    QByteArray m_limit;
};

} // namespace

DocumentReader::DocumentReader(PrinterDriver& handler) : m_handler(handler) {}

bool DocumentReader::parse(const QString& path) {
    return parse(QFile::encodeName(path));
}

bool DocumentReader::parse(const QByteArray& nativePath) {
    // POSIX open with the path's own bytes: a Latin-1 file name would not survive the toolkit's
    // text.
    const int fd = ::open(nativePath.constData(), O_RDONLY | O_CLOEXEC);
    QFile file;
    if (fd < 0 || !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        Diagnostics::warn("cannot read input " + nativePath + ": " + std::strerror(errno));
        return false; // nothing on standard output, no end sequence
    }
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
