#include "paconfiguration.h"

#include <QDir>
#include <QFile>

namespace {
const char kFolder[] = "/.pastrel/conf";
const char kFile[] = "/pastrel.conf";
} // namespace

PAConfiguration::PAConfiguration() {
    readNativeFile(nativeConfigurationPath(), QStringLiteral("cfg"));
}

QByteArray PAConfiguration::nativeConfigurationPath() {
    // A home folder whose name is not UTF-8 (Latin-1 bytes of an older till) would not survive
    // the toolkit's text: its bytes are used as they are. Any other keeps the toolkit's rules
    // (an unset or empty HOME is "/").
    const QByteArray home = qgetenv("HOME");
    if (!home.isEmpty() && QFile::encodeName(QFile::decodeName(home)) != home)
        return home + kFolder + kFile;
    return QFile::encodeName(configurationPath());
}

QString PAConfiguration::configurationFolder() {
    return QDir::homePath() + QLatin1String(kFolder);
}

QString PAConfiguration::configurationPath() {
    return configurationFolder() + QLatin1String(kFile);
}

QString PAConfiguration::getStrValue(const QString& key) const {
    const QString latinKey = QString::fromLatin1(key.toLatin1());
    return QString::fromLatin1(lookup(latinKey).toLatin1());
}
