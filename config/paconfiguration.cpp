#include "paconfiguration.h"

#include <QDir>

PAConfiguration::PAConfiguration() {
    readFile(configurationPath(), QStringLiteral("cfg"));
}

QString PAConfiguration::configurationPath() {
    return QDir::homePath() + QLatin1String("/.pastrel/conf/pastrel.conf");
}

QString PAConfiguration::getStrValue(const QString& key) const {
    const QString latinKey = QString::fromLatin1(key.toLatin1());
    return QString::fromLatin1(lookup(latinKey).toLatin1());
}
