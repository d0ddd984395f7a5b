#include "config.h"

#include <QFile>
#include <QStringList>

#include <exception>
#include <iostream>

namespace libconfig {

namespace {

bool isAsciiSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// Collects the bytes of one name or raw value; bytes past kMaxTokenBytes are dropped.
class TokenBuffer {
public:
    void append(char c) {
        if (m_bytes.size() < Config::kMaxTokenBytes)
            m_bytes.append(c);
    }
    void clear() { m_bytes.clear(); }
    // Each byte is one character (Latin-1), leading and trailing ASCII white space removed.
    // Only ASCII: QString::trimmed() would also strip byte A0, the last byte of a UTF-8 "à",
    // and cut "città" in a file written in UTF-8 (config.h).
    QString stripped() const {
        qsizetype begin = 0;
        qsizetype end = m_bytes.size();
        while (begin < end && isAsciiSpace(m_bytes.at(begin)))
            ++begin;
        while (end > begin && isAsciiSpace(m_bytes.at(end - 1)))
            --end;
        return QString::fromLatin1(m_bytes.constData() + begin, end - begin);
    }

private:
    QByteArray m_bytes;
};

void attach(QDomElement& element, QDomNode& parent) {
    // An element is attached once; attaching it again would give the same tree.
    if (element.parentNode().isNull())
        parent.appendChild(element);
}

} // namespace

Config::Config() = default;

Config::Config(const QString& path, const QString& format) : Config() {
    constructor(path, format);
}

Config::~Config() {
    closeFile();
}

void Config::readFile(const QString& path, const QString& format) {
    constructor(path, format);
}

void Config::constructor(const QString& path, const QString& format) {
    m_fileName = path;
    m_format = format;
    m_document = std::make_unique<QDomDocument>();
    if (format == QLatin1String("cfg"))
        loadFile();
    else if (format == QLatin1String("xml"))
        loadXmlFile();
}

bool Config::openFile(const QString& path) {
    closeFile();
    m_input.clear();
    m_input.open(path.toLocal8Bit().toStdString(), std::ios::in | std::ios::binary);
    // A folder opens like a file and fails only at the first read, where the stream buffer
    // throws: a file whose first byte cannot be read is an unreadable file, reported
    // with the same message (docs/robustness.md).
    if (m_input.is_open() && !firstByteReadable())
        m_input.close();
    if (!m_input.is_open()) {
        std::cout << "Error in the method FileReader::open( " << path.toLocal8Bit().constData()
                  << " ): File Not Found" << std::endl;
        return false;
    }
    return true;
}

bool Config::openFile() {
    return openFile(m_fileName);
}

void Config::closeFile() {
    if (m_input.is_open())
        m_input.close();
}

int Config::readByte() {
    // A closed stream reads as end of file.
    if (!m_input.is_open())
        return std::char_traits<char>::eof();
    try {
        return m_input.rdbuf()->sbumpc();
    } catch (const std::exception&) {
        // A read error (a failing disk) throws from the stream buffer whatever the stream's
        // exception mask: it ends the file here, and no operation of the store throws.
        m_input.close();
        return std::char_traits<char>::eof();
    }
}

bool Config::firstByteReadable() {
    try {
        m_input.rdbuf()->sgetc(); // peeks: the byte stays for the reader
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool Config::jump(char c) {
    for (int b = readByte(); b != std::char_traits<char>::eof(); b = readByte()) {
        if (static_cast<char>(b) == c)
            return true;
    }
    return false;
}

Config::Stop Config::readBody(QDomElement element, QDomNode parent, int depth) {
    const int eof = std::char_traits<char>::eof();
    TokenBuffer buffer;
    for (int b = readByte(); b != eof; b = readByte()) {
        const char c = static_cast<char>(b);
        if (c == ':') {
            const QString name = buffer.stripped();
            jump('{');
            attach(element, parent);
            if (depth >= kMaxGroupDepth)
                return Stop::TooDeep;
            QDomElement group = m_document->createElement(name);
            const Stop stop = readBody(group, element, depth + 1);
            if (stop == Stop::TooDeep)
                return stop;
            buffer.clear();
        } else if (c == '=') {
            const QString name = buffer.stripped();
            buffer.clear();
            for (int v = readByte(); v != eof && static_cast<char>(v) != ';'; v = readByte())
                buffer.append(static_cast<char>(v));
            QString value = buffer.stripped();
            value.remove(QLatin1Char('"'));
            element.setAttribute(name, value);
            attach(element, parent);
            buffer.clear();
        } else if (c == '}') {
            jump(';');
            return Stop::CloseBrace;
        } else {
            buffer.append(c);
        }
    }
    return Stop::EndOfFile;
}

void Config::loadFile() {
    openFile(); // not checked: a missing file reads as empty after its message
    QDomElement top = m_document->createElement(m_fileName);
    if (readBody(top, *m_document, 0) == Stop::EndOfFile)
        closeFile();
}

void Config::loadFile(const QString& name, QDomNode parent) {
    readBody(m_document->createElement(name), parent, 1);
}

void Config::loadXmlFile() {
    QFile file(m_fileName);
    if (!file.open(QIODevice::ReadOnly))
        return;
    if (!m_document->setContent(&file)) {
        file.close();
        return;
    }
    // The file's first node moves under an element tagged with the path, as for "cfg" files.
    QDomNode first = m_document->firstChild();
    QDomElement top = m_document->createElement(m_fileName);
    top.appendChild(first);
    m_document->appendChild(top);
    m_document->removeChild(first);
    file.close();
}

QString Config::lookup(const QString& key) const {
    if (!m_document)
        return QString();
    return lookup(m_document->documentElement().firstChild(), key);
}

QString Config::lookup(QDomNode node, const QString& key) const {
    if (!node.isElement())
        return QString();
    const QStringList fields = key.split(QLatin1Char('.'));
    QDomElement element = node.toElement();
    if (element.tagName() != fields.at(0))
        return QString();
    // A key of one field always yields the empty string.
    if (fields.size() < 2)
        return QString();
    if (fields.size() > 2 && !fields.at(2).isEmpty()) {
        const QString rest = key.section(QLatin1Char('.'), 1);
        for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
            const QString value = lookup(child, rest);
            if (!value.isEmpty())
                return value;
        }
        return QString();
    }
    // Third field empty: the second field names an attribute, even when more fields follow.
    const QDomAttr attribute = element.attributeNode(fields.at(1));
    return attribute.isNull() ? QString() : attribute.value();
}

} // namespace libconfig
