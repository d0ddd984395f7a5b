#include "configcommands.h"

#include "codepage.h"
#include "config.h"
#include "knownkeys.h"
#include "messagecatalogue.h"
#include "paconfiguration.h"
#include "printerbackends.h"
#include "printerprofile.h"
#include "syncsingleton.h"

#include <QDir>
#include <QDomElement>
#include <QDomNamedNodeMap>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QStringList>
#include <QTranslator>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <vector>

namespace {

const QLatin1String kIndent("    ");

void printLatin1Line(const QString& text) {
    const QByteArray bytes = text.toLatin1();
    std::cout.write(bytes.constData(), bytes.size());
    std::cout << '\n';
}

void complain(const QString& text) {
    std::cerr << "pastrel-config: " << text.toLocal8Bit().constData() << std::endl;
}

std::vector<QDomAttr> sortedSettings(const QDomElement& element) {
    const QDomNamedNodeMap map = element.attributes();
    std::vector<QDomAttr> settings;
    for (int i = 0; i < map.count(); ++i)
        settings.push_back(map.item(i).toAttr());
    std::sort(settings.begin(), settings.end(),
              [](const QDomAttr& a, const QDomAttr& b) { return a.name() < b.name(); });
    return settings;
}

QList<QDomElement> childGroups(const QDomElement& element) {
    QList<QDomElement> groups;
    for (QDomElement child = element.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement())
        groups.append(child);
    return groups;
}

void printTree(const QDomElement& element, const QString& indent) {
    printLatin1Line(indent + element.tagName());
    const QString inner = indent + kIndent;
    for (const QDomAttr& setting : sortedSettings(element))
        printLatin1Line(inner + setting.name() + QLatin1String(" = ") + setting.value());
    for (const QDomElement& group : childGroups(element))
        printTree(group, inner);
}

// ---- set

bool isPlainName(const QString& name) {
    static const QString kSpecial = QStringLiteral(":={};\"");
    if (name.isEmpty() || name != name.trimmed())
        return false;
    return std::none_of(name.begin(), name.end(), [](QChar c) { return kSpecial.contains(c); });
}

// The element under parent that a lookup of name reaches first, created when there is none.
QDomElement groupFor(QDomNode parent, const QString& name) {
    QDomElement group = parent.firstChildElement(name);
    if (group.isNull()) {
        group = parent.ownerDocument().createElement(name);
        parent.appendChild(group);
    }
    return group;
}

// Writes config's tree to path through a new file beside it that replaces it at once.
bool replaceFile(libconfig::Config& config, const QString& path) {
    const QFileInfo info(path);
    const QString target = info.isSymLink() ? info.canonicalFilePath() : path;
    const QString fresh = target + QLatin1String(".new");
    QFile::remove(fresh);
    // The old file's permissions before a byte is written: the file may hold the database
    // password, and the writer creates files readable by everyone the umask allows.
    if (QFile(fresh).open(QIODevice::WriteOnly) && QFileInfo::exists(target))
        QFile::setPermissions(fresh, QFile::permissions(target));
    config.buildConfigFile(fresh);
    if (!QFileInfo(fresh).isFile() || QFileInfo(fresh).size() == 0) {
        QFile::remove(fresh);
        complain(QStringLiteral("cannot write ") + fresh);
        return false;
    }
    if (std::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(target).constData()) !=
        0) {
        QFile::remove(fresh);
        complain(QStringLiteral("cannot replace ") + target);
        return false;
    }
    return true;
}

// ---- check

class Checker {
public:
    explicit Checker(const libconfig::Config& config) : m_config(config) {}

    void run() {
        const QDomElement top = m_config.document()->documentElement();
        for (const QDomAttr& setting : sortedSettings(top))
            report(setting.name() + QLatin1String(": outside every group; nothing reads it"));
        const QList<QDomElement> groups = childGroups(top);
        for (int i = 0; i < groups.size(); ++i) {
            if (i == 0)
                checkKeys(groups.at(0), groups.at(0).tagName());
            else
                report(groups.at(i).tagName() + QLatin1String(" (top-level group ") +
                       QString::number(i + 1) +
                       QLatin1String("): nothing reads it; only the first top-level group is "
                                     "read"));
        }
        checkCatalogue();
        checkPrinter();
    }

    int findings() const { return m_findings; }

private:
    void report(const QString& text) {
        printLatin1Line(text);
        ++m_findings;
    }

    void checkKeys(const QDomElement& group, const QString& path) {
        for (const QDomAttr& setting : sortedSettings(group)) {
            const QString key = path + QLatin1Char('.') + setting.name();
            const KnownKeys::Key* known = KnownKeys::find(key);
            if (known == nullptr)
                reportUnknown(key);
            else if (known->flag && setting.value() != QLatin1String("true") &&
                     looksMeantTrue(setting.value()))
                report(key + QLatin1String(" = ") + setting.value() +
                       QLatin1String(": a flag is on only for the exact text true; this reads as "
                                     "off"));
        }
        for (const QDomElement& child : childGroups(group))
            checkKeys(child, path + QLatin1Char('.') + child.tagName());
    }

    void reportUnknown(const QString& key) {
        QString suggestion = KnownKeys::nearest(key);
        QString text = key + QLatin1String(": nothing reads this key");
        if (!suggestion.isEmpty()) {
            // Only the last field when the rest is spelt right, as a reader compares it.
            const int dot = key.lastIndexOf(QLatin1Char('.'));
            if (suggestion.startsWith(key.left(dot + 1)))
                suggestion = suggestion.mid(dot + 1);
            text += QLatin1String("; did you mean ") + suggestion + QLatin1Char('?');
        }
        report(text);
    }

    // Texts a person writes for "on" that the readers take as off.
    static bool looksMeantTrue(const QString& value) {
        static const QStringList kMeantTrue = {QStringLiteral("true"),
                                               QStringLiteral("1"),
                                               QStringLiteral("yes"),
                                               QStringLiteral("y"),
                                               QStringLiteral("on"),
                                               QStringLiteral("si"),
                                               QString::fromUtf8("s\xc3\xac"),
                                               QStringLiteral("enabled"),
                                               QStringLiteral("t")};
        return kMeantTrue.contains(value.trimmed().toLower());
    }

    QString value(const char* key) const { return m_config.lookup(QLatin1String(key)); }

    // The catalogue pastrel-print would load, found, read and checked as it does.
    void checkCatalogue() {
        const QString basedir = value("pastrel.language.basedir");
        const QString file = value("pastrel.language.file");
        if (file.isEmpty())
            return; // no catalogue configured: the labels print in English
        QTranslator translator;
        MessageCatalogue catalogue;
        QString why;
        const bool byLocale = file == QLatin1String("/");
        const QString name = byLocale
                                 ? basedir + QLatin1String("/pastrel_") + QLocale::system().name()
                                 : basedir + file;
        const MessageCatalogue::Result result =
            catalogue.tryLoad(translator, name, byLocale ? QStringLiteral(".") : QString(), &why);
        if (result == MessageCatalogue::Result::NotFound && byLocale)
            report(QLatin1String("pastrel.language.file = /: no catalogue for the locale ") +
                   QLocale::system().name() + QLatin1String(" (") + name +
                   QLatin1String(".qm); the labels print in English"));
        else if (result == MessageCatalogue::Result::NotFound)
            report(QLatin1String("pastrel.language.basedir + file: no catalogue at ") + name +
                   QLatin1String("; the labels print in English"));
        else if (result == MessageCatalogue::Result::Refused)
            report(QLatin1String("pastrel.language.basedir + file: catalogue ") + why +
                   QLatin1String("; the labels print in English"));
    }

    // The printer settings as pastrel-print reads them (the printer profile).
    void checkPrinter() {
        QStringList problems;
        const PrinterProfile profile = PrinterProfile::fromConfig(m_config, &problems);
        const QString model = PrinterProfile::key(PrinterProfile::Model);
        if (!profile.model.isEmpty() && !PrinterBackends::find(profile.model))
            report(QStringLiteral("%1 = \"%2\" is not %3; printing for the company printer")
                       .arg(model, profile.model, PrinterBackends::names()));
        if (!profile.codePage.isEmpty() && !CodePages::byName(profile.codePage))
            report(QStringLiteral("%1 = \"%2\" is not PC437, PC850, PC858 or WPC1252")
                       .arg(PrinterProfile::key(PrinterProfile::CodePage), profile.codePage));
        for (const QString& problem : problems)
            report(problem);
        // A relative path counts from the configuration's folder, as pastrel-print takes it.
        const QFileInfo info(profile.logoPath);
        if (!profile.logo.isEmpty() && !(info.isFile() && info.isReadable()))
            report(PrinterProfile::key(PrinterProfile::Logo) +
                   QLatin1String(": no readable file at ") + profile.logo);
    }

    const libconfig::Config& m_config;
    int m_findings = 0;
};

} // namespace

int showTree() {
    const QDomDocument* document = SyncSingleton<PAConfiguration>::instance()->document();
    const QDomElement top = document ? document->documentElement() : QDomElement();
    if (!top.isNull())
        printTree(top, QString());
    std::cout.flush();
    return 0;
}

int setSetting(const QString& key, const QString& value) {
    const QStringList fields = key.split(QLatin1Char('.'));
    if (fields.size() < 2 || !std::all_of(fields.begin(), fields.end(), isPlainName)) {
        complain(QStringLiteral("not a key the file can hold: ") + key);
        return 1;
    }
    if (value.contains(QLatin1Char(';')) || value.contains(QLatin1Char('"'))) {
        complain(QStringLiteral("a value cannot hold a semicolon or a double quote"));
        return 1;
    }
    const QString path = PAConfiguration::configurationPath();
    const QFileInfo info(path);
    if (info.exists() && !(info.isFile() && info.isReadable())) {
        complain(QStringLiteral("cannot read ") + path);
        return 1;
    }
    // A missing file (and folder) is first made empty, so that reading it reports nothing and
    // still gives the store a live tree: a copy of a QDomDocument that never made a node would
    // not share it.
    if (!info.exists() &&
        !(QDir().mkpath(info.absolutePath()) && QFile(path).open(QIODevice::WriteOnly))) {
        complain(QStringLiteral("cannot create ") + path);
        return 1;
    }
    libconfig::Config config(path, QStringLiteral("cfg"));
    QDomDocument document = *config.document(); // shares the tree
    QDomElement top = document.documentElement();
    if (top.isNull()) {
        top = document.createElement(path);
        document.appendChild(top);
    }
    const QDomElement first = top.firstChildElement();
    if (!first.isNull() && first.tagName() != fields.first()) {
        complain(QStringLiteral("nothing reads ") + key + QStringLiteral(": the file's group is ") +
                 first.tagName());
        return 1;
    }
    for (QDomElement later = first.nextSiblingElement(); !later.isNull();) {
        const QDomElement next = later.nextSiblingElement();
        complain(QStringLiteral("dropped the top-level group ") + later.tagName() +
                 QStringLiteral(", which nothing reads"));
        top.removeChild(later);
        later = next;
    }
    QDomElement group = groupFor(top, fields.first());
    for (int i = 1; i < fields.size() - 1; ++i)
        group = groupFor(group, fields.at(i));
    group.setAttribute(fields.last(), value);
    return replaceFile(config, path) ? 0 : 1;
}

int checkConfiguration() {
    const QString path = PAConfiguration::configurationPath();
    const QFileInfo info(path);
    if (!info.isFile() || !info.isReadable()) {
        printLatin1Line(path + QLatin1String(": no configuration file; every setting takes its "
                                             "default"));
        return 1;
    }
    const libconfig::Config config(path, QStringLiteral("cfg"));
    Checker checker(config);
    checker.run();
    std::cout.flush();
    return checker.findings() == 0 ? 0 : 1;
}
