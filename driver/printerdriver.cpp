// The renderer's own state: opening and closing the output, the document types and their
// settings, and the small helpers every layout uses.
#include "printerdriver.h"

#include "codepage.h"
#include "diagnostics.h"
#include "documenttypes.h"
#include "paconfiguration.h"
#include "syncsingleton.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

#include <algorithm>

#include <fcntl.h>

namespace {
// A configured width is taken as at most this many cells (and at least minus this many).
// A typing error such as "paperWidth = 2000000000" would make every separator and row ask for
// gigabytes and abort the program, and extreme values would overflow the width arithmetic of
// descriptionRow (W - Wq - Wp - Wt - 3). Every real paper is far narrower, so
// sane settings are untouched; negative widths keep their meaning (the text whole).
constexpr int kMaxWidth = 1000;

int boundedWidth(int width) {
    return qBound(-kMaxWidth, width, kMaxWidth);
}
} // namespace

// The required wording, mismatched class and operation names included.
const char* const PrinterDriver::kUnableToOpenFile = SuiteLines::kUnableToOpenFile;

PrinterDriver::PrinterDriver(const QString& path, bool append)
    : PrinterDriver(QFile::encodeName(path), append) {}

PrinterDriver::PrinterDriver(const QByteArray& nativePath, bool append)
    : m_configuration(SyncSingleton<PAConfiguration>::instance()), m_file(new QFile()),
      m_path(nativePath), m_stream(nullptr), m_justification(QStringLiteral("left")),
      m_profile(PrinterProfile::fromConfiguration(*m_configuration)) {
    QIODevice::OpenMode mode = QIODevice::WriteOnly;
    if (append)
        mode |= QIODevice::Append;
    else
        mode |= QIODevice::Truncate;
    // POSIX open with the path's own bytes: the toolkit's text would turn a Latin-1 byte of a
    // file name into another name.
    const int fd = ::open(nativePath.constData(),
                          O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_TRUNC), 0666);
    if (fd >= 0 && m_file->open(fd, mode, QFileDevice::AutoCloseHandle))
        openStream(m_file);
    else
        SuiteLines::say(kUnableToOpenFile);
}

PrinterDriver::PrinterDriver(QIODevice* device, const PrinterProfile& profile,
                             SettingLookup settings)
    : m_configuration(settings ? nullptr : SyncSingleton<PAConfiguration>::instance()),
      m_file(nullptr), m_stream(nullptr), m_justification(QStringLiteral("left")),
      m_profile(profile), m_lookup(std::move(settings)) {
    if (device)
        openStream(device);
}

void PrinterDriver::openStream(QIODevice* device) {
    m_stream = new QTextStream(device);
}

bool PrinterDriver::flush() {
    if (!m_stream)
        return false;
    m_stream->flush();
    return m_stream->status() == QTextStream::Ok;
}

PrinterDriver::~PrinterDriver() {
    if (m_stream && !m_file) {
        m_stream->flush(); // the device's owner closes it and sees its errors
    } else if (m_stream) {
        m_stream->flush();
        const bool streamFailed = m_stream->status() != QTextStream::Ok;
        const QString streamError = m_file->errorString(); // close() may clear it
        m_file->close(); // flushes the file's own buffer: a late failure shows here
        if (streamFailed || m_file->error() != QFileDevice::NoError) {
            // The open succeeded, so the "Unable To Open File" line does not apply and standard
            // output stays as the suite expects it; one line on standard error tells the till's
            // log why the document did not print (docs/robustness.md).
            const QString reason = streamFailed ? streamError : m_file->errorString();
            Diagnostics::warn("write error on " + m_path + ": " + reason.toLocal8Bit());
        }
    }
    delete m_stream;
    delete m_file; // an output that never opened needs no close
}

bool PrinterDriver::writable() const {
    return m_stream != nullptr && m_stream->status() == QTextStream::Ok;
}

void PrinterDriver::selectCodePage(const CodePage* fallback) {
    const QString& name = m_profile.codePage;
    m_codePage = name.isEmpty() ? fallback : CodePages::byName(name);
    if (!m_codePage && !name.isEmpty()) {
        Diagnostics::warn(QStringLiteral("unknown code page \"%1\" in %2 (%3); using %4")
                              .arg(name, PrinterProfile::key(PrinterProfile::CodePage),
                                   CodePages::names(),
                                   QLatin1String(fallback ? fallback->name : "UTF-8")));
        m_codePage = fallback;
    }
    // Encoded text reaches the stream as Latin-1 characters, which the stream writes back as
    // exactly those bytes: the page's bytes keep the stream's buffering and failure handling.
    if (m_codePage && m_stream)
        m_stream->setEncoding(QStringConverter::Latin1);
}

void PrinterDriver::write(const QString& text) {
    if (!writable())
        return;
    // ASCII is the same in every page, and most rows are ASCII: those go out as they are.
    if (!m_codePage ||
        std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; })) {
        *m_stream << text;
        return;
    }
    const qsizetype known = m_unencodable.size();
    *m_stream << QString::fromLatin1(CodePages::encode(*m_codePage, text, &m_unencodable));
    if (m_unencodable.size() == known)
        return;
    // One line per character, the first time it is met: the integrator sees what to fix in the
    // till's data, and a receipt full of one missing sign does not flood the log.
    for (const char32_t code : m_unencodable.mid(known).toUcs4()) {
        const QString character = QString::fromUcs4(&code, 1);
        Diagnostics::warn(QByteArray("code page ") + m_codePage->name + " has no \"" +
                          character.toUtf8() + "\" (U+" +
                          QByteArray::number(code, 16).toUpper().rightJustified(4, '0') +
                          "), printed as \"" + QByteArray(character.size(), '?') + "\"");
    }
}

void PrinterDriver::writeBytes(const QByteArray& bytes) {
    if (writable())
        *m_stream << QString::fromLatin1(bytes);
}

bool PrinterDriver::startDocument() {
    reset();
    return true;
}

bool PrinterDriver::endDocument() {
    endSection();
    return true;
}

bool PrinterDriver::oneTime() {
    if (m_oneTimeDone)
        return false;
    m_oneTimeDone = true;
    return true;
}

bool PrinterDriver::printDuplicate() {
    return m_duplicate;
}

void PrinterDriver::printRowFiscal(const QString&, const Attributes&) {}

void PrinterDriver::printRowFiscal(const QString&, const QString&, const QString&, const QString&) {
}

QString PrinterDriver::documentPath(const QString& doc) {
    if (const DocumentTypes::Type* type = DocumentTypes::find(doc))
        return DocumentTypes::prefix(*type);
    // Two blanks after the label: the suite's other programs match this line as it stands.
    SuiteLines::say(SuiteLines::kDocumentPathError + doc.toLower().toLocal8Bit());
    return QStringLiteral("pastrel.prefiscaldoc.");
}

void PrinterDriver::loadValues(const QString& doc) {
    m_documentPrefix = documentPath(doc);
    m_quantityFieldWidth = boundedWidth(toInt(setting("quantityFieldWidth")));
    m_priceFieldWidth = boundedWidth(toInt(setting("priceFieldWidth")));
    m_totalPriceFieldWidth = boundedWidth(toInt(setting("totalPriceFieldWidth")));
    m_paperWidth = boundedWidth(toInt(setting("paperWidth")));
    m_paperRows = toInt(setting("paperRows"));
    if (m_paperWidth == 0)
        m_paperWidth = static_cast<int>(getPaperWidth());
    setting("style"); // read and not used; older configurations carry the key

    const struct {
        const char* key;
        bool PrinterDriver::*flag;
    } flags[] = {
        {"printGeometry", &PrinterDriver::m_printGeometry},
        {"printHeader", &PrinterDriver::m_printHeader},
        {"printLogo", &PrinterDriver::m_printLogo},
        {"printCompany", &PrinterDriver::m_printCompany},
        {"printDeliveryAddress", &PrinterDriver::m_printDeliveryAddress},
        {"printBillingAddress", &PrinterDriver::m_printBillingAddress},
        {"printTelephone", &PrinterDriver::m_printTelephone},
        {"printDate", &PrinterDriver::m_printDate},
        {"printTime", &PrinterDriver::m_printTime},
        {"printTable", &PrinterDriver::m_printTable},
        {"printCustomer", &PrinterDriver::m_printCustomer},
        {"printLicenseNumber", &PrinterDriver::m_printLicenseNumber},
        {"printFiscalCode", &PrinterDriver::m_printFiscalCode},
        {"printCredit", &PrinterDriver::m_printCredit},
        {"printWaiter", &PrinterDriver::m_printWaiter},
        {"printNote", &PrinterDriver::m_printNote},
        {"openCashDrawer", &PrinterDriver::m_openCashDrawer},
    };
    for (const auto& row : flags)
        this->*row.flag = setting(row.key) == QLatin1String("true");
}

QString PrinterDriver::tr(const char* sourceText) {
    return QCoreApplication::translate("QObject", sourceText);
}

QString PrinterDriver::value(const Attributes& attributes, const char* name) {
    return attributes.value(QLatin1String(name)).toString();
}

int PrinterDriver::toInt(const QString& text) {
    return text.toInt(nullptr, 10);
}

QString PrinterDriver::setting(const char* key) const {
    // Kept per key: a document that names its method again and again (100,000 method elements)
    // reads each of the few dozen keys once.
    const QString fullKey = m_documentPrefix + QLatin1String(key);
    auto known = m_settings.constFind(fullKey);
    if (known == m_settings.constEnd())
        known = m_settings.insert(fullKey, m_lookup ? m_lookup(fullKey)
                                                    : m_configuration->getStrValue(fullKey));
    return *known;
}
