#include "configeditor.h"

#include "config.h"

#include <QAbstractItemDelegate>
#include <QCloseEvent>
#include <QStatusBar>
#include <QTreeWidget>
#include <QTreeWidgetItem>

namespace {

// A value item: the only child of a setting's item, without children of its own.
bool isValueItem(const QTreeWidgetItem* item) {
    return item != nullptr && item->childCount() == 0 && item->parent() != nullptr &&
           item->parent()->childCount() == 1 && item->parent()->parent() != nullptr;
}

void markEditable(QTreeWidgetItem* item) {
    if (isValueItem(item))
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
