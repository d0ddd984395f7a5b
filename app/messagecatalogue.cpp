#include "messagecatalogue.h"

#include "diagnostics.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTranslator>
#include <QtEndian>

#include <algorithm>
#include <cstring>
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

// The toolkit's hash of a text, continued over the next one (the source text, then the comment);
// each stops at its first NUL byte, as the lookup's own hash does.
quint32 elfHashContinue(const uchar* text, quint32 length, quint32 hash) {
    for (quint32 at = 0; at < length && text[at] != 0; ++at) {
        hash = (hash << 4) + text[at];
        const quint32 high = hash & 0xf0000000;
        if (high != 0)
            hash ^= high >> 24;
        hash &= ~high;
    }
    return hash;
}

quint32 elfHashFinish(quint32 hash) {
    return hash != 0 ? hash : 1;
}

// A text record of a message: where its bytes start and how many there are.
struct Text {
    const uchar* data = nullptr;
    quint32 length = 0;
    bool present = false;
};

// One message of the messages block: where it starts and the texts a lookup compares.
struct Message {
    quint32 offset = 0;
    Text source, comment, context;
    bool filed = false; // an entry of the table of messages leads to it
};

// The messages block read from its start, message after message, each a run of records ending
// with kEnd: every record of a kind the lookup reads, inside the block, and every translation a
// whole number of 16-bit characters (an odd length makes the lookup give up on the label).
// Empty with messages filled in, or what is wrong. Each message needs an entry of the table of
// messages, so more than entries of them are refused before more memory is taken.
QString readMessages(const Span& block, quint32 entries, std::vector<Message>& messages) {
    for (quint32 at = 0; at < block.length;) {
        if (messages.size() == entries)
            return QStringLiteral("a message is missing from its table of messages");
        Message message;
        message.offset = at;
        for (;;) {
            if (at >= block.length)
                return QStringLiteral("a message runs past the end of the file");
            const uchar tag = block.data[at++];
            if (tag == kEnd)
                break;
            if (tag == kObsolete) {
                if (block.length - at < 4)
                    return QStringLiteral("a message runs past the end of the file");
                at += 4;
                continue;
            }
            if (tag != kTranslation && tag != kSourceText && tag != kContext && tag != kComment)
                return QStringLiteral("a message holds a record the translator cannot read");
            if (block.length - at < 4)
                return QStringLiteral("a message runs past the end of the file");
            const quint32 length = be32(block.data + at);
            at += 4;
            if (block.length - at < length)
                return QStringLiteral("a message runs past the end of the file");
            if (tag == kTranslation && length % 2 != 0)
                return QStringLiteral("a translation is cut in the middle of a character");
            Text* const text = tag == kSourceText ? &message.source
                               : tag == kComment  ? &message.comment
                               : tag == kContext  ? &message.context
                                                  : nullptr;
            // A second text of a kind is another record's tag changed: the lookup compares both.
            if (text != nullptr && text->present)
                return QStringLiteral("a message holds one of its texts twice");
            if (text != nullptr)
                *text = Text{block.data + at, length, true};
            at += length;
        }
        messages.push_back(message);
    }
    return QString();
}

// As the lookup compares a stored text with the one asked for: one trailing NUL byte is not part
// of the stored text.
bool sameText(const uchar* stored, quint32 length, const uchar* wanted, quint32 wantedLength) {
    if (length > 0 && stored[length - 1] == 0)
        --length;
    return length == wantedLength && std::memcmp(stored, wanted, length) == 0;
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

// True when the context is in the contexts' table, where the lookup looks for it before it
// looks at any message (a table that fits, checked by contextsFit).
bool contextListed(const Span& contexts, const Text& context) {
    const quint32 buckets = qFromBigEndian<quint16>(contexts.data);
    quint32 length = context.length;
    if (length > 0 && context.data[length - 1] == 0)
        --length;
    const quint32 bucket = elfHashFinish(elfHashContinue(context.data, length, 0)) % buckets;
    const quint32 offset = qFromBigEndian<quint16>(contexts.data + 2 + 2 * bucket);
    if (offset == 0)
        return false;
    for (quint64 at = 2 + 2ULL * buckets + 2ULL * offset;;) {
        const quint32 nameLength = contexts.data[at++];
        if (nameLength == 0)
            return false;
        if (sameText(contexts.data + at, nameLength, context.data, length))
            return true;
        at += nameLength;
    }
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
    std::vector<Message> list;
    const QString unreadable = readMessages(messages, hashes.length / 8, list);
    if (!unreadable.isEmpty())
        return unreadable;
    // The table of messages as the lookup searches it: by hash, in halves, so in ascending order;
    // each entry leads to the start of a message, and a message that carries its source text
    // (and comment, as lrelease writes every message) is found only under their hash. So a changed
    // byte in the table or in a label's source text is refused, not printed half in English.
    quint32 previous = 0;
    for (quint32 entry = 0; entry < hashes.length; entry += 8) {
        const quint32 hash = be32(hashes.data + entry);
        const quint32 offset = be32(hashes.data + entry + 4);
        if (hash < previous)
            return QStringLiteral("its table of messages is out of order");
        previous = hash;
        if (offset >= messages.length)
            return QStringLiteral("a message points outside the file");
        const auto found = std::lower_bound(
            list.begin(), list.end(), offset,
            [](const Message& message, quint32 at) { return message.offset < at; });
        if (found == list.end() || found->offset != offset)
            return QStringLiteral("a message points into the middle of another");
        if (found->filed)
            return QStringLiteral("two entries of its table of messages lead to one message");
        found->filed = true;
        const Message& message = *found;
        if (message.source.present && message.comment.present &&
            hash != elfHashFinish(elfHashContinue(
                        message.comment.data, message.comment.length,
                        elfHashContinue(message.source.data, message.source.length, 0))))
            return QStringLiteral("a message's hash does not match its source text");
        if (contexts.length > 0 && message.context.present &&
            !contextListed(contexts, message.context))
            return QStringLiteral("a message's context is missing from the table of contexts");
    }
    // lrelease files every message once: one the table does not lead to is a label the lookup
    // can never find (a changed byte of the table's tag or of an entry).
    if (hashes.length / 8 != list.size())
        return QStringLiteral("a message is missing from its table of messages");
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
