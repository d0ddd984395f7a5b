// HLibrary: the static helpers the suite's programs share and the document copy number. No
// fields, no instances. See docs/hlibrary.md for what each does and the choices behind it.
//
// Failures are reported by return value only (false, -1, empty text); nothing throws. The
// one exception is copyNumber's "unknown type" line on standard output.
#pragma once

#include <QString>

class QComboBox;
class QSqlDatabase;

class HLibrary {
public:
    HLibrary() = delete; // static only

    // Fixed answers on this platform: these name Windows folders and formats, which a Linux
    // till does not have.
    static QString appData();                     // ""
    static QString programFiles();                // ""
    static QString dataPath();                    // the home directory (QDir::homePath)
    static QString toWindowsFormat(QString path); // unchanged
    static QString fromUtf8(const QString& text); // unchanged
    static QString psql();                        // "psql"
    static QString dropdb();                      // "dropdb"
    static QString pg_dump();                     // "pg_dump"
    static QString pg_restore();                  // "pg_restore"

    // pastrel.bin.path + "/" + name; "/" + name when the key is absent.
    static QString pathWithBinaryFile(const QString& name);
    // pastrel.db.dbname, .username, .password, .hostname; empty when absent.
    static QString dbname();
    static QString username();
    static QString password();
    static QString hostname();

    // Page copy: page `page` (from 0) of `lines` pieces of source, to target opened write-only
    // WITHOUT truncation (a longer old target keeps its tail). lines 0: no limit. A piece is
    // one read of at most 127 bytes up to and including a line end. The pause of `delay` ms
    // falls between pieces, never after the last piece of a page. False: a file cannot be
    // opened, the page lies beyond the end of the source, or a write fails.
    static bool copy(const QString& source, const QString& target, unsigned int lines,
                     unsigned int delay, unsigned int page);
    // Sheet copy: the whole source, with the modal "Insert a new sheet" box after
    // sheetLines + 1 pieces, then after every sheetLines pieces (0: never).
    static bool copy(const QString& source, const QString& target, unsigned int sheetLines,
                     unsigned int delay);
    // The same with decimal texts; anything that is not a non-negative number counts as 0.
    static bool copy(const QString& source, const QString& target, const QString& sheetLines,
                     const QString& delay);

    // Creates a missing file empty; an existing file keeps its content. Reports nothing.
    static void touch(const QString& path);

    // srand(time) then rand(), as decimal text: equal within one second, kept so.
    static QString getNewRand();

    // Index of the first item whose text equals text exactly; -1 if none (or no box).
    static int comboBoxIndexOf(QComboBox* box, const QString& text);

    // Suspends the calling thread for that many whole seconds.
    static void hsleep(unsigned int seconds);

    // Two decimals: the third is rounded half up for positive values, cut for negative ones.
    static QString truncateDecimal(double value);

    // A connection of DatabaseManager with driver "QPSQL7" and the pastrel.db.*
    // settings, under name (empty: the default connection); null on failure.
    static QSqlDatabase* newDBConnection(const QString& name);

    // The first entry of the working folder matching "core*" by name, or "".
    static QString getCoreFile();

    // The configured copy number of a document type, as text; "" when absent.
    static QString copyNumber(const QString& documentType);
};
