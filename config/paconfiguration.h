// PAConfiguration: the process-wide view of $HOME/.pastrel/conf/pastrel.conf,
// reached through SyncSingleton<PAConfiguration>::instance().
#pragma once

#include "config.h"

class PAConfiguration : public libconfig::Config {
public:
    PAConfiguration();

    // The configuration's folder, the home directory (QDir::homePath(), so $HOME) +
    // "/.pastrel/conf": the file, and the printer's logo named relative to it.
    static QString configurationFolder();
    // The file this process reads: the home directory (QDir::homePath(), so $HOME) +
    // "/.pastrel/conf/pastrel.conf".
    static QString configurationPath();
    // The same path as the file system's bytes, exact also for a home folder whose name is not
    // UTF-8.
    static QByteArray nativeConfigurationPath();

    // The setting's text, or the empty text. Key and value pass through 8-bit (Latin-1) text,
    // as the suite's programs have always passed them, so characters above U+00FF come back
    // as "?".
    QString getStrValue(const QString& key) const;

    QTreeWidget* newConfigListView();
};
