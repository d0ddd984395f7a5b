// pastrel-preview INPUT OUTPUT: draws a print job as the receipt it will become. INPUT is an XML
// document, rendered first by the pastrel-print installed beside this program with the same
// configuration, or the bytes pastrel-print already wrote, or the request pastrel-print wrote for
// a fiscal printer (RT), drawn as the documento commerciale; OUTPUT is a .png, .svg or .html file.
#include "codepage.h"
#include "commercialdocument.h"
#include "controlcodes.h"
#include "diagnostics.h"
#include "paconfiguration.h"
#include "printerprofile.h"
#include "receiptdecoder.h"
#include "receiptpainter.h"
#include "syncsingleton.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

namespace {

// More than any job needs to fill 2.5 m of paper, where the drawing stops anyway (a logo as
// wide as a printer goes, all the way down, is 2.5 MB): a larger job or input is read only this
// far, so memory follows the picture, not the input.
constexpr qint64 kMaxInputBytes = 16 * 1024 * 1024;
constexpr int kRenderTimeoutMs = 60000; // pastrel-print takes milliseconds for any real document

int fail(const QString& message) {
    std::fprintf(stderr, "pastrel-preview: %s\n", message.toLocal8Bit().constData());
    return 1;
}

// An XML document starts, after an optional byte order mark and blanks, with "<?", "<!" or a
// tag; printer output starts with text or a control byte.
bool isXml(const QByteArray& bytes) {
    QByteArrayView rest(bytes);
    if (rest.startsWith("\xEF\xBB\xBF"))
        rest = rest.sliced(3);
    rest = rest.trimmed();
    if (rest.size() < 2 || rest[0] != '<')
        return false;
    const char next = rest[1];
    return next == '?' || next == '!' || next == '_' || QChar::isLetter(char16_t(next));
}

// Renders the document with pastrel-print into a temporary file and returns its bytes: the
// preview then shows exactly what that program sends to the printer, with every setting of
// the same configuration applied by the same code.
bool render(const QString& document, QByteArray* bytes, QString* error) {
    const QString program =
        QCoreApplication::applicationDirPath() + QLatin1String("/pastrel-print");
    QTemporaryDir folder;
    if (!folder.isValid()) {
        *error = QStringLiteral("cannot make a temporary folder: %1").arg(folder.errorString());
        return false;
    }
    const QString job = folder.filePath(QStringLiteral("job.prn"));
    QProcess print;
    print.setProcessChannelMode(QProcess::ForwardedChannels); // its messages are the user's too
    print.start(program, {document, job});
    // A small document can render to hundreds of megabytes: once the job holds more than is
    // drawn, pastrel-print is stopped, and the rest is neither written nor read.
    bool cut = false;
    QElapsedTimer clock;
    clock.start();
    while (!print.waitForFinished(50)) {
        cut = QFileInfo(job).size() > kMaxInputBytes;
        if (cut || clock.elapsed() > kRenderTimeoutMs || print.state() == QProcess::NotRunning)
            break;
    }
    if (print.state() != QProcess::NotRunning) {
        print.kill();
        print.waitForFinished();
    }
    if (!cut &&
        (print.exitStatus() != QProcess::NormalExit || print.error() == QProcess::FailedToStart)) {
        *error =
            QStringLiteral("%1 did not render %2: %3").arg(program, document, print.errorString());
        return false;
    }
    QFile file(job);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1 wrote no output for %2").arg(program, document);
        return false;
    }
    *bytes = file.read(kMaxInputBytes);
    if (cut)
        fail(QStringLiteral("%1: only the first %2 bytes of its job are drawn")
                 .arg(document)
                 .arg(kMaxInputBytes));
    return true;
}

// An RT request (pastrel-print writes one for an RT model and a file output) as the bytes of a
// 40-column job: the documento commerciale the RT will print, then the cut.
QByteArray commercialDocumentJob(const QByteArray& request) {
    fiscal::DepartmentTable departments;
    QString error;
    if (QFileInfo(PAConfiguration::configurationPath()).isFile() &&
        !departments.parse(SyncSingleton<PAConfiguration>::instance()->getStrValue(
                               QStringLiteral("pastrel.fiscal.departments")),
                           &error))
        fail(error);
    QByteArray job;
    for (const QString& line :
         fiscal::commercialDocument(request, departments, Preview::kCompanyColumns))
        job += line.toUtf8() + char(ControlCodes::LF);
    return job + char(ControlCodes::ESC) + char(ControlCodes::CUT);
}

// The layout settings of the printers, from the configuration pastrel-print reads.
DecodeOptions configuredOptions() {
    DecodeOptions options;
    if (!QFileInfo(PAConfiguration::configurationPath()).isFile())
        return options; // no configuration: the printers' defaults, and no complaint here
    const PrinterProfile profile =
        PrinterProfile::fromConfiguration(*SyncSingleton<PAConfiguration>::instance());
    options.escPosColumns = profile.columns;
    options.escPosCondensedColumns = profile.condensedColumns;
    const QString& page = profile.codePage;
    if (!page.isEmpty()) {
        options.companyCodePage = CodePages::byName(page);
        if (!options.companyCodePage)
            fail(QStringLiteral("no code page %1; company printer text read as UTF-8").arg(page));
    }
    if (profile.codePageNumber >= 0) {
        // The page pastrel-print encodes ESC/POS text in, which it selects by that number: the
        // one named, or its own PC858 when none or an unknown one is named.
        options.escPosPageNumber = profile.codePageNumber;
        options.escPosNumberedPage =
            options.companyCodePage ? options.companyCodePage : CodePages::byName(u"PC858");
    }
    return options;
}

// Notices of Qt that say nothing about the job: XDG_RUNTIME_DIR not set (a till's service
// account or a build machine has none, and a program that opens no window needs none), and a
// font without the shaping tables of a script that no receipt prints (stray bytes read as
// UTF-8 can name any script). Everything else Qt says is passed on.
QtMessageHandler qtHandler = nullptr;
void withoutNoise(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (!message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR")) &&
        !message.contains(QLatin1String("OpenType support missing for")))
        qtHandler(type, context, message);
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen"); // it never opens a window: no display needed
    qtHandler = qInstallMessageHandler(withoutNoise);
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("pastrel-preview"));
    Diagnostics::setProgramName(QStringLiteral("pastrel-preview"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PASTREL_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Draws a print job as the receipt it will become: every character in the printer's cell "
        "grid, bold and large text, the logo, the cuts, the drawer pulses, and any byte the "
        "printer does not understand as a red hex code."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(
        QStringLiteral("INPUT"),
        QStringLiteral(
            "an XML document (rendered by pastrel-print) or the printer bytes it wrote"));
    parser.addPositionalArgument(QStringLiteral("OUTPUT"),
                                 QStringLiteral("the picture: NAME.png, NAME.svg or NAME.html"));
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2)
        return fail(QStringLiteral("usage: pastrel-preview INPUT OUTPUT (see --help)"));

    QString error = ReceiptPainter::formatProblem(arguments[1]);
    if (!error.isEmpty())
        return fail(error); // before pastrel-print runs for nothing
    QFile input(arguments[0]);
    if (!input.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot read %1: %2").arg(arguments[0], input.errorString()));
    QByteArray bytes = input.read(kMaxInputBytes);
    if (!input.atEnd())
        fail(QStringLiteral("%1: only its first %2 bytes are drawn")
                 .arg(arguments[0])
                 .arg(kMaxInputBytes));
    input.close();
    if (!fiscal::isRtRequest(bytes) && isXml(bytes) && !render(arguments[0], &bytes, &error))
        return fail(error);
    if (fiscal::isRtRequest(bytes))
        bytes = commercialDocumentJob(bytes);

    const Paper paper = ReceiptDecoder::decode(bytes, configuredOptions());
    if (!ReceiptPainter::save(paper, arguments[1], QFileInfo(arguments[0]).fileName(), &error))
        return fail(error);
    return 0;
}
