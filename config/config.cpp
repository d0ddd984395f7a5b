#include "config.h"

#include "diagnostics.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QStringList>

#include <exception>
#include <iostream>
#include <vector>

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

// The tree's elements merged by the path of tags a lookup follows from the first child of the
// top element: what lookup(node, key) finds by walking the tree, found in a few hash look-ups.
// Each answer (the first non-empty value of a setting name along one path, in document order)
// is worked out on its first request and kept. Tags with a "." are left out: no field of a
// dotted key can name them.
class Config::Index {
public:
    explicit Index(const QDomNode& first) {
        if (!first.isElement())
            return;
        m_rootTag = first.toElement().tagName();
        m_nodes.emplace_back();
        add(0, first.toElement());
    }

    QString lookup(const QString& key) const {
        const QStringList fields = key.split(QLatin1Char('.'));
        if (m_nodes.empty() || fields.at(0) != m_rootTag || fields.size() < 2)
            return QString();
        int node = 0;
        qsizetype i = 0;
        // As lookup(node, key): descend while the field after next is not empty.
        for (; fields.size() > i + 2 && !fields.at(i + 2).isEmpty(); ++i) {
            node = m_nodes[node].children.value(fields.at(i + 1), -1);
            if (node < 0)
                return QString();
        }
        const QString& name = fields.at(i + 1);
        QMutexLocker locker(&m_mutex); // lookups may come from any thread
        Node& entry = m_nodes[node];
        const auto known = entry.answers.constFind(name);
        if (known != entry.answers.constEnd())
            return *known;
        QString answer;
        for (const QDomElement& element : entry.elements) {
            answer = element.attribute(name);
            if (!answer.isEmpty())
                break;
        }
        entry.answers.insert(name, answer);
        return answer;
    }

private:
    struct Node {
        QHash<QString, int> children; // tag -> index in m_nodes
        QList<QDomElement> elements;  // in document order
        QHash<QString, QString> answers;
    };

    void add(int node, const QDomElement& element) {
        m_nodes[node].elements.append(element);
        for (QDomElement child = element.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            const QString tag = child.tagName();
            if (tag.contains(QLatin1Char('.')))
                continue;
            int next = m_nodes[node].children.value(tag, -1);
            if (next < 0) {
                next = static_cast<int>(m_nodes.size());
                m_nodes[node].children.insert(tag, next);
                m_nodes.emplace_back();
            }
            add(next, child); // at most kMaxGroupDepth deep
        }
    }

    QString m_rootTag;
    mutable std::vector<Node> m_nodes; // [0]: the first child of the top element
    mutable QMutex m_mutex;            // guards the answers
};

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

void Config::readNativeFile(const QByteArray& nativePath, const QString& format) {
    m_fileName = QFile::decodeName(nativePath);
    m_nativeFileName = nativePath;
    load(format);
}

void Config::constructor(const QString& path, const QString& format) {
    m_fileName = path;
    m_nativeFileName = QFile::encodeName(path);
    load(format);
}

void Config::load(const QString& format) {
    m_format = format;
    m_document = std::make_unique<QDomDocument>();
    m_bytesRead = 0;
    m_groups = 0;
    m_settings = 0;
    m_limitReported = false;
    if (format == QLatin1String("cfg"))
        loadFile();
    else if (format == QLatin1String("xml"))
        loadXmlFile();
    rebuildIndex();
}

void Config::rebuildIndex() {
    m_index =
        m_document ? std::make_unique<Index>(m_document->documentElement().firstChild()) : nullptr;
}

Config::Stop Config::limitReached(const char* what, qint64 limit) {
    if (!m_limitReported) {
        m_limitReported = true;
        Diagnostics::warn(m_nativeFileName + ": " + what + " " + QByteArray::number(limit) +
                          "; the rest of the configuration is ignored");
    }
    return Stop::Limit;
}

bool Config::openFile(const QString& path) {
    return openNativeFile(QFile::encodeName(path));
}

bool Config::openNativeFile(const QByteArray& path) {
    closeFile();
    m_input.clear();
    m_input.open(path.toStdString(), std::ios::in | std::ios::binary);
    // A folder opens like a file and fails only at the first read, where the stream buffer
    // throws: a file whose first byte cannot be read is an unreadable file, reported
    // with the same message (docs/robustness.md).
    if (m_input.is_open() && !firstByteReadable())
        m_input.close();
    if (!m_input.is_open()) {
        SuiteLines::say(SuiteLines::fileNotFound(path));
        return false;
    }
    return true;
}

bool Config::openFile() {
    return openNativeFile(m_nativeFileName);
}

void Config::closeFile() {
    if (m_input.is_open())
        m_input.close();
}

int Config::readByte() {
    // A closed stream reads as end of file.
    if (!m_input.is_open())
        return std::char_traits<char>::eof();
    if (m_bytesRead++ >= kMaxFileBytes) { // an endless file (/dev/zero) ends here
        limitReached("larger than the limit of bytes", kMaxFileBytes);
        m_input.close();
        return std::char_traits<char>::eof();
    }
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
                return limitReached("groups nested deeper than", kMaxGroupDepth);
            if (++m_groups > kMaxGroups)
                return limitReached("more groups than", kMaxGroups);
            QDomElement group = m_document->createElement(name);
            const Stop stop = readBody(group, element, depth + 1);
            if (stop == Stop::Limit)
                return stop;
            buffer.clear();
        } else if (c == '=') {
            if (++m_settings > kMaxSettings)
                return limitReached("more settings than", kMaxSettings);
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
    rebuildIndex();
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
    if (m_index)
        return m_index->lookup(key);
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
