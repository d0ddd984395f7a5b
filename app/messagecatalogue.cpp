#include "messagecatalogue.h"

#include "diagnostics.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTranslator>
#include <QtEndian>

#include <vector>

namespace {

// The layout of a catalogue: a 16-byte magic number, then blocks of a tag byte, a 32-bit
// big-endian length and the data. A message is a run of records (a tag byte, most with a
// 32-bit length and data) ending with kEnd.
const char kMagic[] = "\x3c\xb8\x64\x18\xca\xef\x9c\x95\xcd\x21\x1c\xbf\x60\xa1\xbd\xdd";
constexpr int kMagicLength = 16;
enum Block : uchar { kContexts = 0x2f, kHashes = 0x42, kMessages = 0x69, kDependencies = 0x96 };
enum Record : uchar {
    kEnd = 1,
    kTranslation = 3,
    kObsolete = 5, // 4 bytes, no length
    kSourceText = 6,
    kContext = 7,
    kComment = 8,
};

quint32 be32(const uchar* at) {
    return qFromBigEndian<quint32>(at);
}

// One block of the catalogue: where its data starts and how long it is.
struct Span {
    const uchar* data = nullptr;
    quint32 length = 0;
};

// Follows the records of the message at offset as a lookup does, until it stops; every record
// must lie inside the block. checked marks offsets already followed, so the whole check stays
// linear in the catalogue's size.
bool messageFits(const Span& messages, quint32 offset, std::vector<bool>& checked) {
    std::vector<quint32> path;
    quint32 at = offset;
    while (at < messages.length && !checked[at]) {
        path.push_back(at);
        const uchar tag = messages.data[at++];
        if (tag == kObsolete) {
            at += 4;
            continue;
        }
        if (tag != kTranslation && tag != kSourceText && tag != kContext && tag != kComment)
            break; // kEnd or a tag that ends the lookup
        if (messages.length - at < 4)
            return false;
        const quint32 length = be32(messages.data + at);
        at += 4;
        // A comment's first byte is read even when its length is 0.
        if (messages.length - at < length || (tag == kComment && at == messages.length))
            return false;
        at += length;
    }
    for (const quint32 visited : path)
        checked[visited] = true;
    return true;
}

// The contexts' hash table: a 16-bit size, as many 16-bit offsets, then runs of
// length-prefixed names, each run ending with a 0 length.
bool contextsFit(const Span& contexts) {
    if (contexts.length == 0)
        return true;
    if (contexts.length < 2)
        return false;
    const quint32 buckets = qFromBigEndian<quint16>(contexts.data);
    const quint32 names = 2 + 2 * buckets;
    if (buckets == 0 || names > contexts.length)
        return false;
    std::vector<bool> checked(contexts.length, false);
    for (quint32 bucket = 0; bucket < buckets; ++bucket) {
        const quint32 offset = qFromBigEndian<quint16>(contexts.data + 2 + 2 * bucket);
        if (offset == 0)
            continue;
        std::vector<quint32> path;
        for (quint64 at = names + 2ULL * offset;;) {
            if (at >= contexts.length)
                return false;
            if (checked[at])
                break;
            path.push_back(static_cast<quint32>(at));
            const quint32 length = contexts.data[at++];
            if (length == 0)
                break;
            if (contexts.length - at < length)
                return false;
            at += length;
        }
        for (const quint32 visited : path)
            checked[visited] = true;
    }
    return true;
}

} // namespace

QString MessageCatalogue::defect(const QByteArray& bytes) {
    if (bytes.size() > kMaxBytes)
        return QStringLiteral("larger than %1 bytes").arg(kMaxBytes);
    if (bytes.size() < kMagicLength || !bytes.startsWith(QByteArray(kMagic, kMagicLength)))
        return QStringLiteral("not a message catalogue");
    const auto* data = reinterpret_cast<const uchar*>(bytes.constData());
    const quint32 size = static_cast<quint32>(bytes.size());
    Span contexts, hashes, messages;
    // The blocks as the translator reads them: a zero tag or length ends the list, and a later
    // block of a kind replaces an earlier one.
    for (quint32 at = kMagicLength; size > 5 && at < size - 5;) {
        const uchar tag = data[at];
        const quint32 length = be32(data + at + 1);
        at += 5;
        if (tag == 0 || length == 0)
            break;
        if (size - at < length)
            return QStringLiteral("a block runs past the end of the file");
        const Span block{data + at, length};
        if (tag == kContexts)
            contexts = block;
        else if (tag == kHashes)
            hashes = block;
        else if (tag == kMessages)
            messages = block;
        else if (tag == kDependencies)
            return QStringLiteral("it names other catalogues to load");
        at += length;
    }
    if (!contextsFit(contexts))
        return QStringLiteral("its table of contexts points outside the file");
    if (hashes.length % 8 != 0)
        return QStringLiteral("its table of messages is cut short");
    std::vector<bool> checked(messages.length, false);
    for (quint32 entry = 0; entry < hashes.length; entry += 8) {
        const quint32 offset = be32(hashes.data + entry + 4);
        if (offset > messages.length || !messageFits(messages, offset, checked))
            return QStringLiteral("a message points outside the file");
    }
    return QString();
}

namespace {

void warnRefused(const QString& why) {
    Diagnostics::warn(QLatin1String("message catalogue ") + why +
                      QLatin1String("; labels print in English"));
}

} // namespace

bool MessageCatalogue::load(QTranslator& translator, const QString& name,
                            const QString& directory) {
    QString why;
    if (tryLoad(translator, name, directory, &why) == Result::Loaded)
        return true;
    warnRefused(why);
    return false;
}

bool MessageCatalogue::loadConfigured(QTranslator& translator, const QString& basedir,
                                      const QString& file) {
    QString name, why;
    const Result result = tryLoadConfigured(translator, basedir, file, &name, &why);
    if (result == Result::NotFound || result == Result::Refused)
        warnRefused(why);
    return result == Result::Loaded;
}

MessageCatalogue::Result MessageCatalogue::tryLoadConfigured(QTranslator& translator,
                                                             const QString& basedir,
                                                             const QString& file, QString* name,
                                                             QString* why) {
    if (file == QLatin1String("/")) {
        *name = basedir + QLatin1String("/pastrel_") + QLocale::system().name();
        return tryLoad(translator, *name, QStringLiteral("."), why);
    }
    *name = basedir + file;
    if (name->isEmpty())
        return Result::NotConfigured;
    return tryLoad(translator, *name, QString(), why);
}

MessageCatalogue::Result MessageCatalogue::tryLoad(QTranslator& translator, const QString& name,
                                                   const QString& directory, QString* why) {
    QString prefix;
    if (QFileInfo(name).isRelative() && !directory.isEmpty())
        prefix = directory.endsWith(QLatin1Char('/')) ? directory : directory + QLatin1Char('/');
    QString stem = name;
    QString path;
    for (;;) {
        for (const QString& candidate : {prefix + stem + QLatin1String(".qm"), prefix + stem}) {
            const QFileInfo info(candidate);
            if (path.isEmpty() && info.isReadable() && info.isFile())
                path = candidate;
        }
        if (!path.isEmpty())
            break;
        const qsizetype cut =
            qMax(stem.lastIndexOf(QLatin1Char('_')), stem.lastIndexOf(QLatin1Char('.')));
        if (cut <= 0) {
            *why = name + QLatin1String(" not found");
            return Result::NotFound;
        }
        stem.truncate(cut);
    }
    QFile file(path);
    QString problem;
    if (!file.open(QIODevice::ReadOnly))
        problem = file.errorString();
    else
        m_bytes = file.read(kMaxBytes + 1);
    if (problem.isEmpty())
        problem = defect(m_bytes);
    if (problem.isEmpty() && !translator.load(reinterpret_cast<const uchar*>(m_bytes.constData()),
                                              static_cast<int>(m_bytes.size()), directory))
        problem = QStringLiteral("the translator did not accept it");
    if (problem.isEmpty())
        return Result::Loaded;
    *why = path + QLatin1String(" refused (") + problem + QLatin1Char(')');
    return Result::Refused;
}
