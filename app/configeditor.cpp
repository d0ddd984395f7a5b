#include "configeditor.h"

#include "config.h"

#include <QAbstractItemDelegate>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPixmap>
#include <QStatusBar>
#include <QStringList>
#include <QTreeWidget>
#include <QTreeWidgetItem>

namespace {

// Searches item (an element's item) for the value item of fields, as the store's lookup walks
// the tree: first field names the element, the last two the setting.
QTreeWidgetItem* findIn(QTreeWidgetItem* item, const QStringList& fields) {
    if (item == nullptr || fields.size() < 2 || item->text(0) != fields.at(0))
        return nullptr;
    for (int i = 0; i < item->childCount(); ++i) {
        QTreeWidgetItem* child = item->child(i);
        const bool isSetting =
            child->childCount() == 1 && ConfigEditor::isValueItem(child->child(0));
        if (fields.size() == 2 && isSetting && child->text(0) == fields.at(1))
            return child->child(0);
        if (fields.size() > 2 && !isSetting) {
            if (QTreeWidgetItem* found = findIn(child, fields.mid(1)))
                return found;
        }
    }
    return nullptr;
}

void markEditable(QTreeWidgetItem* item) {
    if (ConfigEditor::isValueItem(item))
        item->setFlags(item->flags() | Qt::ItemIsEditable);
    for (int i = 0; i < item->childCount(); ++i)
        markEditable(item->child(i));
}

} // namespace

ConfigEditor::ConfigEditor(libconfig::Config* config, QTreeWidget* view, QWidget* parent)
    : QMainWindow(parent), m_config(config), m_view(view) {
    setWindowTitle(QStringLiteral("pastrel-config - ") + (config ? config->fileName() : QString()));
    for (int i = 0; i < m_view->topLevelItemCount(); ++i)
        markEditable(m_view->topLevelItem(i));
    m_view->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                            QAbstractItemView::SelectedClicked);
    m_view->expandAll();
    setCentralWidget(m_view);
    // Connected after the flags are set: setFlags() also reports itemChanged.
    connect(m_view, &QTreeWidget::itemChanged, this,
            [this](QTreeWidgetItem*, int) { m_modified = true; });
    statusBar()->showMessage(
        m_view->topLevelItemCount() == 0
            ? QStringLiteral("No settings to show.")
            : QStringLiteral("Double-click a value to change it; closing the window saves."));
    resize(560, 640);
}

bool ConfigEditor::isValueItem(const QTreeWidgetItem* item) {
    return item != nullptr && item->childCount() == 0 && item->parent() != nullptr &&
           item->parent()->childCount() == 1 && item->parent()->parent() != nullptr;
}

QTreeWidgetItem* ConfigEditor::findValueItem(const QString& key) const {
    QTreeWidgetItem* top = m_view->topLevelItem(0);
    if (top == nullptr)
        return nullptr;
    const QStringList fields = key.split(QLatin1Char('.'));
    for (int i = 0; i < top->childCount(); ++i) {
        if (QTreeWidgetItem* found = findIn(top->child(i), fields))
            return found;
    }
    return nullptr;
}

bool ConfigEditor::editValue(const QString& key, const QString& text) {
    QTreeWidgetItem* item = findValueItem(key);
    if (item == nullptr)
        return false;
    m_view->scrollToItem(item);
    m_view->setCurrentItem(item);
    m_view->editItem(item, 0);
    auto* editor = qobject_cast<QLineEdit*>(m_view->indexWidget(m_view->currentIndex()));
    if (editor == nullptr)
        return false;
    editor->setText(text);
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QCoreApplication::sendEvent(editor, &press);
    QCoreApplication::processEvents(); // the delegate commits Return through a queued call
    return item->text(0) == text;
}

bool ConfigEditor::grabTo(const QString& path) {
    return grab().save(path, "PNG");
}

void ConfigEditor::commitOpenEditor() {
    QWidget* editor = m_view->indexWidget(m_view->currentIndex());
    if (editor != nullptr)
        emit m_view->itemDelegate()->commitData(editor);
}

void ConfigEditor::closeEvent(QCloseEvent* event) {
    commitOpenEditor();
    if (m_modified && !m_saved && m_config != nullptr) {
        m_config->loadListView(m_view); // rebuild the tree and save it
        m_saved = true;
    }
    event->accept();
}
