// libconfig::Config: the suite's configuration store.
//
// Reads one file in the "cfg" or "xml" format into a QDomDocument whose top element is tagged
// with the file's path, and answers dotted-key lookups such as "pastrel.logger.level".
//
// Choices (documented in docs/configuration.md as well):
//  - A name or raw value longer than 2047 bytes is truncated: the first 2047 bytes are kept,
//    the rest up to its terminator is read and dropped, so the reading stays in step.
//  - Groups nested deeper than kMaxGroupDepth end the reading there, as a top-level "}" does:
//    what was read so far stays, the rest of the file is ignored. No real configuration comes
//    near the limit; it keeps the stack and the tree bounded for hostile files.
//  - "White space" stripped around names and values is ASCII white space only (blank, tab,
//    line feed, carriage return, vertical tab, form feed). Bytes A0 and 85, white space in
//    Latin-1, stay: they end UTF-8 letters such as "à" (C3 A0) in files written in UTF-8.
//  - A file is read up to kMaxFileBytes, kMaxGroups groups and kMaxSettings settings; past any
//    of them the reading ends as at kMaxGroupDepth, and one line on standard error names the
//    limit (docs/robustness.md). An endless file (/dev/zero) ends too.
//  - settings() lists a group's settings sorted by name in time linear in their number (plus the
//    sort): the toolkit's QDomNamedNodeMap::item(i) walks its hash from the start on every call,
//    so listing 100,000 settings one index at a time took minutes.
//  - Lookups go through an index of the tree built once after every load, so a lookup costs a
//    few hash look-ups whatever the number of groups; the answers are those of lookup(node, key).
//  - A path that opens but cannot be read (a folder) is reported by openFile() as a missing
//    file is; a read error later in the file ends the file there.
//  - A second constructor() call releases the earlier tree (nothing can observe the difference
//    except a leak checker).
#pragma once

#include <QByteArray>
#include <QDomDocument>
#include <QDomElement>
#include <QDomNode>
#include <QList>
#include <QString>

#include <fstream>
#include <memory>
#include <vector>

class QTextStream;
class QTreeWidget;
class QTreeWidgetItem;

namespace libconfig {

class Config {
public:
    // Limit of a name or raw value in bytes: the suite has always read them into a 2048-byte
    // buffer with its terminating zero.
    static constexpr int kMaxTokenBytes = 2047;
    // Deepest group nesting that is read (see the header comment).
    static constexpr int kMaxGroupDepth = 100;
    // Bytes, groups and settings that are read at the most. A till's configuration is about
    // 4 kB with 15 groups and 150 settings; the 16 MiB also keeps the 10 MB files of the fault
    // tests whole. Together they keep the tree under about 60 MB.
    static constexpr qint64 kMaxFileBytes = 16LL * 1024 * 1024;
    static constexpr int kMaxGroups = 10000;
    static constexpr int kMaxSettings = 100000;

    Config();
    Config(const QString& path, const QString& format);
    ~Config();
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;

    void readFile(const QString& path, const QString& format);
    // As readFile(), for a path given as the file system's bytes (a home folder whose name is
    // not UTF-8 reaches the file unchanged).
    void readNativeFile(const QByteArray& nativePath, const QString& format);
    void constructor(const QString& path, const QString& format);

    bool openFile(const QString& path);
    bool openFile();
    void closeFile();
    bool jump(char c);

    void loadFile();
    void loadFile(const QString& name, QDomNode parent);
    void loadXmlFile();

    QString lookup(const QString& key) const;
    QString lookup(QDomNode node, const QString& key) const;

    // Tree views and export. Defined in configview.cpp (target pastrel_configview),
    // so that programs without a display do not link Qt Widgets.
    QTreeWidget* newConfigListView();
    QTreeWidget* buildConfigListView();
    void buildConfigListView(QDomNode node, QTreeWidget* view);
    void buildConfigListView(QDomNode node, QTreeWidgetItem* parent);
    void loadListView(QTreeWidget* view);
    void loadListView(QTreeWidgetItem* item, QDomDocument* document);
    void loadListView(QTreeWidgetItem* item, QDomNode parent);
    void buildConfigFile(const QString& path);
    // The text buildConfigFile() writes for the "cfg" format, for a writer that checks every
    // step of its own write (pastrel-config set).
    QByteArray configFileText();
    void buildConfigXmlFile(const QString& path);
    void buildConfigFile(QDomNode node, QTextStream& out);
    void buildConfigXmlFile(QDomNode node, QTextStream& out);
    void printConfigTree();
    void printConfigTree(QDomNode node);
    // An element's settings sorted by name (exact, case-sensitive), in linear time.
    static std::vector<QDomAttr> settings(const QDomElement& element);
    // The tree (never null after constructor()), for pastrel-config's show and check.
    const QDomDocument* document() const { return m_document.get(); }
    const QString& fileName() const { return m_fileName; }
    // False when the last load stopped at a limit (the rest of the file was not read): a writer
    // that saved this tree would lose that rest.
    bool readWhole() const { return !m_limitReported; }
    // The top-level groups of the last "cfg" load in file order, empty ones too: the tree holds
    // only groups with a setting or a group inside (a reader never sees an empty one), but a
    // person reading the file sees them all.
    const QList<QDomElement>& topLevelGroups() const { return m_topLevelGroups; }

private:
    class Index;
    enum class Stop { EndOfFile, CloseBrace, Limit };
    // Reads the body of one group (or the top level) into element, attaching element to
    // parent when its first setting or subgroup is read. One loop serves every level.
    Stop readBody(QDomElement element, QDomNode parent, int depth);
    int readByte();
    bool firstByteReadable(); // false when the open stream fails at its first read (a folder)
    void load(const QString& format);
    bool openNativeFile(const QByteArray& nativePath);
    Stop limitReached(const char* what, qint64 limit); // reports once, on standard error
    void rebuildIndex();

    QString m_fileName;                       // path as given to constructor()
    QString m_format;                         // "cfg" or "xml" as given
    std::ifstream m_input;                    // the "cfg" reader's binary input
    std::unique_ptr<QDomDocument> m_document; // the tree; owned
    QByteArray m_nativeFileName;              // m_fileName as the file system's bytes
    qint64 m_bytesRead = 0;                   // of the current file
    int m_groups = 0;
    int m_settings = 0;
    bool m_limitReported = false;
    QList<QDomElement> m_topLevelGroups;
    std::unique_ptr<Index> m_index; // built after each load; null: lookups walk the tree
};

} // namespace libconfig
