// ConfigEditor: the window of "pastrel-config edit". It shows the store's tree view and lets the
// maintainer rename the value items in place;
// when the window closes after a change, the store rebuilds its tree from the view and saves
// it with loadListView.
//
// Choices (docs/configuration.md):
//  - Only value items (the one leaf child of a setting's item) are editable; group and setting
//    names are not, so the layout loadListView reads back cannot be broken from the window.
//  - Closing without any change writes nothing: a save rewrites the file without truncation and
//    drops top-level groups after the first, which nobody should get for looking.
//  - An edit still open when the window closes is committed first, as if Return was pressed.
#pragma once

#include <QMainWindow>
#include <QString>

class QTreeWidget;
class QTreeWidgetItem;

namespace libconfig {
class Config;
}

class ConfigEditor : public QMainWindow {
public:
    // Shows view (taken over as the central widget) and saves through config.
    ConfigEditor(libconfig::Config* config, QTreeWidget* view, QWidget* parent = nullptr);

    QTreeWidget* view() const { return m_view; }
    // True once a value item has been changed.
    bool isModified() const { return m_modified; }
    // True once the closing save has run.
    bool isSaved() const { return m_saved; }

    // A value item: the only child of a setting's item, without children of its own.
    static bool isValueItem(const QTreeWidgetItem* item);
    // The value item of a dotted key (looked up as the store looks it up: the first field names
    // the first top-level group, the last two the setting), or null.
    QTreeWidgetItem* findValueItem(const QString& key) const;

    // Scripted use (the test hook of pastrel-config): renames the value item of key through the
    // in-place editor, as a user does (open the editor, type, press Return). False when the key
    // has no value item or no editor opened.
    bool editValue(const QString& key, const QString& text);
    // Draws the window into a PNG file; false when it could not be written.
    bool grabTo(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void commitOpenEditor();

    libconfig::Config* m_config; // not owned
    QTreeWidget* m_view;         // owned through the window
    bool m_modified = false;
    bool m_saved = false;
};
