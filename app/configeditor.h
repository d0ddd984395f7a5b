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

class QTreeWidget;

namespace libconfig {
class Config;
}

class ConfigEditor : public QMainWindow {
public:
    // Shows view (taken over as the central widget) and saves through config.
    ConfigEditor(libconfig::Config* config, QTreeWidget* view, QWidget* parent = nullptr);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void commitOpenEditor();

    libconfig::Config* m_config; // not owned
    QTreeWidget* m_view;         // owned through the window
    bool m_modified = false;
    bool m_saved = false;
};
