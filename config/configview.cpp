// The tree views and exports of libconfig::Config (declared in config.h) and
// PAConfiguration::newConfigListView(). Built as the library pastrel_configview, so that
// pastrel-print, which links only pastrel_config, links no widget code.
//
// Choices (docs/configuration.md as well):
//  - Attribute order. Qt 6 keeps an element's attributes in a hash whose order changes from one
//    process to the next, so an element's settings are taken sorted by name (exact,
//    case-sensitive): the view, the saved files and the printout are the same on every run.
//  - Sibling items keep insertion order (the widget does not sort): an element's settings,
//    then its groups in document order.
//  - A child item without children (neither a setting nor a group) is skipped when rebuilding.
//  - Each writer encodes as its reader decodes: "cfg" as Latin-1 (the reader takes one byte as
//    one character), so every byte read comes back unchanged and a character above U+00FF typed
//    into the view is saved as "?"; "xml" as UTF-8, the XML default (no declaration is written).
//  - printConfigTree writes Latin-1 bytes, the 8-bit text every lookup of the suite returns.
#include "config.h"
#include "diagnostics.h"
#include "paconfiguration.h"

#include <QDomElement>
#include <QDomNamedNodeMap>
#include <QFile>
#include <QHeaderView>
#include <QStringConverter>
#include <QTextStream>
#include <QTreeWidget>
#include <QTreeWidgetItem>

#include <algorithm>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace libconfig {

namespace {

// The one column of the view; the suite's maintainers know the tree by this heading.
QString columnLabel() {
    return QStringLiteral("ConfigurationFile");
}

// An element's attributes in a stable order (see the header comment).
std::vector<QDomAttr> sortedAttributes(const QDomElement& element) {
    const QDomNamedNodeMap map = element.attributes();
    std::vector<QDomAttr> attributes;
    attributes.reserve(static_cast<std::size_t>(map.count()));
    for (int i = 0; i < map.count(); ++i)
        attributes.push_back(map.item(i).toAttr());
    std::sort(attributes.begin(), attributes.end(),
              [](const QDomAttr& a, const QDomAttr& b) { return a.name() < b.name(); });
    return attributes;
}

// One setting of a saved "cfg" file: name, space, equals sign, space, double quote, value,
// double quote, semicolon. No escaping: a value holding a double quote or ";" does not read back
// the same.
QString settingLine(const QDomAttr& attribute) {
    return attribute.name() + QLatin1String(" = \"") + attribute.value() + QLatin1String("\";");
}

// Write-only WITHOUT truncation, as the suite's writers have always opened the file, so a shorter
// text leaves the tail of a longer old file. Qt 6's WriteOnly alone would truncate.
bool openWithoutTruncation(QFile& file, const QString& path) {
    if (path.isEmpty())
        return false;
    const int fd =
        ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0)
        return false;
    if (!file.open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd); // AutoCloseHandle adopts the descriptor only on success
        return false;
    }
    return true;
}

// Writes one file: top-level settings as setting lines in both formats, then the top
// element's first child only, through the format's element writer.
template <class ElementWriter>
void writeConfiguration(const QString& path, const QDomDocument* document,
                        QStringConverter::Encoding encoding, ElementWriter writeElement) {
    QFile file;
    if (!openWithoutTruncation(file, path))
        return; // nothing written, nothing reported
    QTextStream out(&file);
    out.setEncoding(encoding);
    const QDomElement top = document ? document->documentElement() : QDomElement();
    for (const QDomAttr& attribute : sortedAttributes(top))
        out << settingLine(attribute) << '\n';
    writeElement(top.firstChild(), out);
    out.flush();
    file.close();
}

void addSettingItems(QTreeWidgetItem* item, const QDomElement& element) {
    for (const QDomAttr& attribute : sortedAttributes(element)) {
        auto* name = new QTreeWidgetItem(item, QStringList(attribute.name()));
        new QTreeWidgetItem(name, QStringList(attribute.value()));
    }
}

// One line of printConfigTree, as 8-bit text; write() keeps any NUL of a name.
void printLine(const QString& text) {
    const QByteArray bytes = text.toLatin1();
    SuiteLines::write(bytes + '\n');
}

// Rebuilds the settings and groups of the element just made from item under parent.
void rebuildChildren(Config& config, QTreeWidgetItem* item, QDomElement element, QDomNode parent) {
    for (int i = 0; i < item->childCount(); ++i) {
        QTreeWidgetItem* child = item->child(i);
        if (child->childCount() == 0)
            continue; // neither a setting nor a group: skipped (see the header comment)
        QTreeWidgetItem* first = child->child(0);
        if (first->childCount() == 0)
            element.setAttribute(child->text(0), first->text(0));
        else
            // The parent's first child, not `element`: later sibling groups' subgroups hang
            // under the first sibling. Long-standing behaviour of the save path, which files saved
            // by earlier versions already reflect; kept.
            config.loadListView(child, parent.firstChild());
    }
}

} // namespace

QTreeWidget* Config::newConfigListView() {
    return buildConfigListView();
}

QTreeWidget* Config::buildConfigListView() {
    auto* view = new QTreeWidget; // no parent: the caller owns it
    view->setColumnCount(1);
    view->setHeaderLabels(QStringList(columnLabel()));
    // Automatic width: the column follows its widest label (a stretched last section would
    // elide long paths instead).
    view->header()->setStretchLastSection(false);
    view->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    if (m_document)
        buildConfigListView(m_document->documentElement(), view);
    return view;
}

void Config::buildConfigListView(QDomNode node, QTreeWidget* view) {
    if (view == nullptr || !node.isElement())
        return; // non-element nodes produce nothing
    const QDomElement element = node.toElement();
    auto* item = new QTreeWidgetItem(view, QStringList(element.tagName()));
    addSettingItems(item, element);
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling())
        buildConfigListView(child, item);
}

void Config::buildConfigListView(QDomNode node, QTreeWidgetItem* parent) {
    if (parent == nullptr || !node.isElement())
        return;
    const QDomElement element = node.toElement();
    auto* item = new QTreeWidgetItem(parent, QStringList(element.tagName()));
    addSettingItems(item, element);
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling())
        buildConfigListView(child, item);
}

void Config::loadListView(QTreeWidget* view) {
    if (view == nullptr)
        return;
    m_document = std::make_unique<QDomDocument>();
    for (int i = 0; i < view->topLevelItemCount(); ++i)
        loadListView(view->topLevelItem(i), m_document.get());
    rebuildIndex();
    if (m_format == QLatin1String("cfg"))
        buildConfigFile(QString());
    else if (m_format == QLatin1String("xml"))
        buildConfigXmlFile(QString());
    // any other format saves nothing
}

void Config::loadListView(QTreeWidgetItem* item, QDomDocument* document) {
    if (document == nullptr || item == nullptr)
        return;
    // A new QDomDocument is a null node until its first createElement(); a QDomNode copied
    // before that would not share the document, so create the element here.
    QDomElement element = document->createElement(item->text(0));
    document->appendChild(element);
    rebuildChildren(*this, item, element, *document);
}

void Config::loadListView(QTreeWidgetItem* item, QDomNode parent) {
    if (item == nullptr || parent.isNull())
        return;
    QDomDocument document = parent.isDocument() ? parent.toDocument() : parent.ownerDocument();
    QDomElement element = document.createElement(item->text(0));
    parent.appendChild(element);
    rebuildChildren(*this, item, element, parent);
}

void Config::buildConfigFile(const QString& path) {
    writeConfiguration(path.isEmpty() ? m_fileName : path, m_document.get(),
                       QStringConverter::Latin1,
                       [this](QDomNode node, QTextStream& out) { buildConfigFile(node, out); });
}

void Config::buildConfigXmlFile(const QString& path) {
    writeConfiguration(path.isEmpty() ? m_fileName : path, m_document.get(), QStringConverter::Utf8,
                       [this](QDomNode node, QTextStream& out) { buildConfigXmlFile(node, out); });
}

void Config::buildConfigFile(QDomNode node, QTextStream& out) {
    // One indentation for the whole process, kept across calls: a second save starts where the
    // first one left off, as it always has.
    static QString indentation;
    const QDomElement element = node.toElement(); // taken as an element without a check
    out << indentation << element.tagName() << ": " << '\n';
    out << indentation << '{' << '\n';
    indentation += QLatin1String("    ");
    for (const QDomAttr& attribute : sortedAttributes(element))
        out << indentation << settingLine(attribute) << '\n';
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        buildConfigFile(child, out);
    indentation.remove(0, 4);
    out << indentation << "};" << '\n' << '\n';
}

void Config::buildConfigXmlFile(QDomNode node, QTextStream& out) {
    // The xml writer's own process-wide indentation, kept across calls like the cfg writer's.
    static QString indentation;
    const QDomElement element = node.toElement();
    out << '\n' << indentation << '<' << element.tagName();
    indentation += QLatin1String("    ");
    for (const QDomAttr& attribute : sortedAttributes(element))
        out << '\n' << indentation << attribute.name() << " = \"" << attribute.value() << '"';
    out << '>' << '\n';
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        buildConfigXmlFile(child, out);
    indentation.remove(0, 4);
    out << indentation << "</" << element.tagName() << '>' << '\n';
}

void Config::printConfigTree() {
    SuiteLines::write("Tree \n");
    printConfigTree(m_document ? m_document->documentElement() : QDomElement());
    SuiteLines::flush();
}

void Config::printConfigTree(QDomNode node) {
    if (!node.isElement())
        return; // other nodes print nothing
    const QDomElement element = node.toElement();
    printLine(element.tagName());
    for (const QDomAttr& attribute : sortedAttributes(element))
        printLine(attribute.name() + QLatin1String(" = ") + attribute.value());
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling())
        printConfigTree(child);
}

} // namespace libconfig

// Forwards to the store's view. Defined here, with the other widget code, so that
// pastrel_config stays free of Qt Widgets.
QTreeWidget* PAConfiguration::newConfigListView() {
    return libconfig::Config::newConfigListView();
}
