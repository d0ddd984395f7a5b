#include "paconfiguration.h"

#include <QDir>
#include <QFile>

PAConfiguration::PAConfiguration() {
    readNativeFile(nativeConfigurationPath(), QStringLiteral("cfg"));
}

QByteArray PAConfiguration::nativeConfigurationPath() {
    // A home folder whose name is not UTF-8 (Latin-1 bytes of an older till) would not survive
    // the toolkit's text: its bytes are used as they are. Any other keeps the toolkit's rules
    // (an unset or empty HOME is "/").
    const QByteArray home = qgetenv("HOME");
    if (!home.isEmpty() && QFile::encodeName(QFile::decodeName(home)) != home)
        return home + "/.pastrel/conf/pastrel.conf";
    return QFile::encodeName(configurationPath());
}

QString PAConfiguration::configurationPath() {
    return QDir::homePath() + QLatin1String("/.pastrel/conf/pastrel.conf");
}

QString PAConfiguration::getStrValue(const QString& key) const {
    const QString latinKey = QString::fromLatin1(key.toLatin1());
    return QString::fromLatin1(lookup(latinKey).toLatin1());
}
