// MessageCatalogue: the printed labels' message catalogue (a .qm file), read whole and checked
// before the translator may look anything up in it.
//
// The toolkit's translator trusts every length and offset in the file: a damaged catalogue (a
// half-copied update, one changed byte) sent its lookups far outside the file and killed the
// program at the first label. A catalogue that fails the check is refused: the labels print in
// English, and one line on standard error says why (docs/robustness.md).
#pragma once

#include <QByteArray>
#include <QString>

class QTranslator;

class MessageCatalogue {
public:
    // A catalogue larger than this is refused; the shipped one has a few kilobytes.
    static constexpr qint64 kMaxBytes = 4 * 1024 * 1024;

    // Empty when every block, length and offset that a lookup can follow lies inside bytes, the
    // messages are whole and each filed once under its own hash in the order the lookup searches,
    // and the catalogue names no other catalogue to load; otherwise what is wrong.
    static QString defect(const QByteArray& bytes);

    // Finds name as QTranslator::load(name, directory) does (name + ".qm", then name, then name
    // cut at its last "_" or "." and again), reads it and checks it. On success the translator
    // is loaded from this object's copy, which must outlive it. A missing, unreadable or
    // refused catalogue leaves the translator empty and writes one line on standard error.
    bool load(QTranslator& translator, const QString& name, const QString& directory);

    // The same, silent: what happened, with *why describing a catalogue not found ("NAME not
    // found") or refused ("PATH refused (REASON)"). `pastrel-config check` reports it its way.
    enum class Result { Loaded, NotFound, Refused, NotConfigured };
    Result tryLoad(QTranslator& translator, const QString& name, const QString& directory,
                   QString* why);

    // The catalogue that the settings pastrel.language.basedir and pastrel.language.file name,
    // loaded as load() does. With file "/", the locale's catalogue basedir + "/pastrel_" +
    // LOCALE, with the toolkit's suffix and fallback rules; otherwise basedir + file joined as
    // they are, no separator added. Both empty: nothing is loaded, nothing said.
    bool loadConfigured(QTranslator& translator, const QString& basedir, const QString& file);
    // The same, silent, as tryLoad(); *name receives the name looked for. NotConfigured when
    // both settings are empty.
    Result tryLoadConfigured(QTranslator& translator, const QString& basedir, const QString& file,
                             QString* name, QString* why);

private:
    QByteArray m_bytes; // the catalogue the translator reads
};
