// Part 2.1: printer driver core.
#include "printerdriver.h"

#include "paconfiguration.h"
#include "syncsingleton.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

#include <iostream>

#include <fcntl.h>

namespace {
// A configured width is taken as at most this many cells (and at least minus this many).
// Part 2.1 sets no bound, but a typing error such as "paperWidth = 2000000000" would make every
// separator and row ask for gigabytes and abort the program, and extreme values would overflow
// the width arithmetic of Part 2.3 (W - Wq - Wp - Wt - 3). Every real paper is far narrower, so
// sane settings are untouched; negative widths keep their meaning (the text whole).
constexpr int kMaxWidth = 1000;

int boundedWidth(int width) {
    return qBound(-kMaxWidth, width, kMaxWidth);
}
} // namespace

PrinterDriver::PrinterDriver(const QString& path, bool append)
    : PrinterDriver(QFile::encodeName(path), append) {}

PrinterDriver::PrinterDriver(const QByteArray& nativePath, bool append)
    : m_configuration(SyncSingleton<PAConfiguration>::instance()), m_file(new QFile()),
      m_path(nativePath), m_stream(nullptr), m_justification(QStringLiteral("left")) {
    QIODevice::OpenMode mode = QIODevice::WriteOnly;
    if (append)
        mode |= QIODevice::Append;
    else
        mode |= QIODevice::Truncate;
    // POSIX open with the path's own bytes: the toolkit's text would turn a Latin-1 byte of a
    // file name into another name.
    const int fd = ::open(nativePath.constData(),
                          O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_TRUNC), 0666);
    if (fd >= 0 && m_file->open(fd, mode, QFileDevice::AutoCloseHandle)) {
        m_stream = new QTextStream(m_file);
    } else {
        // Part 2.1: the required wording, mismatched class and operation names included.
        std::cout << "PrintManager::printAbstractOrder(...): Unable To Open File" << std::endl;
    }
}

PrinterDriver::~PrinterDriver() {
    if (m_stream) {
        m_stream->flush();
        const bool streamFailed = m_stream->status() != QTextStream::Ok;
        const QString streamError = m_file->errorString(); // close() may clear it
        m_file->close(); // flushes the file's own buffer: a late failure shows here
        if (streamFailed || m_file->error() != QFileDevice::NoError) {
            // No Part covers a failed write (the open succeeded, so Part 2.1's message does not
            // apply): standard output stays as the Parts say, and one line on standard error
            // tells the till's log why the document did not print (docs/robustness.md).
            const QString reason = streamFailed ? streamError : m_file->errorString();
            std::cerr << "pastrel-print: write error on " << m_path.constData() << ": "
                      << reason.toLocal8Bit().constData() << std::endl;
        }
    }
    delete m_stream;
    delete m_file; // an output that never opened needs no close
}

bool PrinterDriver::writable() const {
    return m_stream != nullptr && m_stream->status() == QTextStream::Ok;
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
    static const struct {
        const char* type;
        const char* prefix;
    } table[] = {
        {"order", "pastrel.doc."},          {"prefiscal", "pastrel.prefiscaldoc."},
        {"fiscal", "pastrel.fiscaldoc."},   {"receipt", "pastrel.receiptdoc."},
        {"invoice", "pastrel.invoicedoc."}, {"delivery", "pastrel.deliverydoc."},
        {"report", "pastrel.reportdoc."},   {"sold", "pastrel.solddoc."},
    };
    const QString lower = doc.toLower();
    for (const auto& row : table) {
        if (lower == QLatin1String(row.type))
            return QLatin1String(row.prefix);
    }
    // Part 2.1: two blanks at the end of the label, kept as they are.
    std::cout << "Error into PrinterDriver::documentPath:  " << lower.toLocal8Bit().constData()
              << std::endl;
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
    setting("style"); // Part 2.1 step 4: read, not used

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
        known = m_settings.insert(fullKey, m_configuration->getStrValue(fullKey));
    return *known;
}
