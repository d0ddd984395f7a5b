#include "configcommands.h"

#include "codepage.h"
#include "config.h"
#include "filereplace.h"
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
    return libconfig::Config::settings(element);
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

// The longest value the readers take whole: they keep 2047 bytes of a raw value, and the blank
// and the opening double quote written before it count.
constexpr int kMaxValueBytes = libconfig::Config::kMaxTokenBytes - 2;

// Why the file just written at path would not give value for key to the readers, or the empty
// text when it does: the last word on what the readers' limits let through.
QString readBack(const QString& path, const QString& key, const QString& value) {
    const libconfig::Config written(path, QStringLiteral("cfg"));
    if (!written.readWhole())
        return key + QStringLiteral(" would make the file larger than the readers read whole; "
                                    "nothing changed");
    const QString read = written.lookup(key);
    if (read == value)
        return QString();
    return key + QStringLiteral(" would read back as \"") + read.left(40) +
           QStringLiteral("\" (a name longer than the readers read, or an earlier group of the "
                          "same path wins); nothing changed");
}

// ---- check

class Checker {
public:
    explicit Checker(const libconfig::Config& config) : m_config(config) {}

    void run() {
        const QDomElement top = m_config.document()->documentElement();
        for (const QDomAttr& setting : sortedSettings(top))
            report(setting.name() + QLatin1String(": outside every group; nothing reads it"));
        // The readers take the first top-level group that holds anything; every other one, and
        // every empty one, is read by nothing.
        const QDomElement read = top.firstChildElement();
        const QList<QDomElement>& groups = m_config.topLevelGroups();
        for (int i = 0; i < groups.size(); ++i) {
            const QString where = groups.at(i).tagName() + QLatin1String(" (top-level group ") +
                                  QString::number(i + 1) + QLatin1String("): ");
            if (groups.at(i) == read)
                checkKeys(read, read.tagName());
            else if (groups.at(i).parentNode().isNull())
                report(where + QLatin1String("empty; nothing reads it"));
            else
                report(where + QLatin1String("nothing reads it; only the first top-level group "
                                             "is read"));
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
        // The file is read byte by byte: "s\u00ec" typed in UTF-8 arrives as its two bytes.
        const QString typed = QString::fromUtf8(value.toLatin1());
        return kMeantTrue.contains(value.trimmed().toLower()) ||
               kMeantTrue.contains(typed.trimmed().toLower());
    }

    QString value(const char* key) const { return m_config.lookup(QLatin1String(key)); }

    // The catalogue pastrel-print would load, found, read and checked as it does.
    void checkCatalogue() {
        const QString file = value("pastrel.language.file");
        QTranslator translator;
        MessageCatalogue catalogue;
        QString name, why;
        const MessageCatalogue::Result result = catalogue.tryLoadConfigured(
            translator, value("pastrel.language.basedir"), file, &name, &why);
        if (result == MessageCatalogue::Result::NotFound && file == QLatin1String("/"))
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
        if (!profile.model.isEmpty() && !PrinterBackends::find(profile.model))
            report(PrinterBackends::unknownModel(profile.model));
        if (!profile.codePage.isEmpty() && !CodePages::byName(profile.codePage))
            report(QStringLiteral("%1 = \"%2\" is not %3")
                       .arg(PrinterProfile::key(PrinterProfile::CodePage), profile.codePage,
                            CodePages::names()));
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
    const PAConfiguration* configuration = SyncSingleton<PAConfiguration>::instance();
    const QDomDocument* document = configuration->document();
    const QDomElement top = document ? document->documentElement() : QDomElement();
    if (top.isNull())
        return 0;
    // The top-level groups as the file holds them: an empty one is shown too, though no reader
    // sees it.
    printLatin1Line(top.tagName());
    for (const QDomAttr& setting : sortedSettings(top))
        printLatin1Line(kIndent + setting.name() + QLatin1String(" = ") + setting.value());
    for (const QDomElement& group : configuration->topLevelGroups())
        printTree(group, kIndent);
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
    // Past these limits the readers would cut the value, or stop reading the file at the key
    // and lose every setting after it.
    if (fields.size() - 1 > libconfig::Config::kMaxGroupDepth) {
        complain(key + QStringLiteral(": more than ") +
                 QString::number(libconfig::Config::kMaxGroupDepth) +
                 QStringLiteral(" groups deep; the readers stop there; nothing changed"));
        return 1;
    }
    if (value.size() > kMaxValueBytes) {
        complain(QStringLiteral("a value holds at most ") + QString::number(kMaxValueBytes) +
                 QStringLiteral(" bytes; the readers cut a longer one; nothing changed"));
        return 1;
    }
    const QString configured = PAConfiguration::configurationPath();
    QString why;
    QDir().mkpath(QFileInfo(configured).absolutePath());
    const QString path = FileReplacer::target(configured, &why);
    if (path.isEmpty()) {
        complain(configured + QStringLiteral(": ") + why);
        return 1;
    }
    // One run at a time reads, changes and replaces the file: two at once would each write the
    // file without the other's change.
    const FileReplacer::FolderLock lock(QFileInfo(path).absolutePath());
    if (!lock.locked()) {
        complain(lock.error());
        return 1;
    }
    const QFileInfo info(path);
    if (info.exists() && !info.isReadable()) {
        complain(QStringLiteral("cannot read ") + path);
        return 1;
    }
    // A missing file reads as the empty /dev/null, without the message of a missing file, and
    // still gives the store a live tree: a copy of a QDomDocument that never made a node would
    // not share it.
    libconfig::Config config(info.exists() ? path : QStringLiteral("/dev/null"),
                             QStringLiteral("cfg"));
    if (!config.readWhole()) {
        complain(path + QStringLiteral(" is larger than the readers read whole; saving it would "
                                       "lose the rest; nothing changed"));
        return 1;
    }
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
    if (!FileReplacer::replace(path, config.configFileText(), &why, [&](const QString& written) {
            return readBack(written, key, value);
        })) {
        complain(why);
        return 1;
    }
    return 0;
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
