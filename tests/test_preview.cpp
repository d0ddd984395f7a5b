// pastrel-preview: printer bytes written by hand drawn into pictures whose size, rows and marks
// are checked, and one document drawn end to end by the built programs.
#include "codepage.h"
#include "receiptdecoder.h"
#include "receiptpainter.h"
#include "samplereceipt.h"
#include "testsupport.h"

#include <QFile>
#include <QGuiApplication>

#include <functional>
#include <memory>

namespace {

using Preview::kCellHeight;
using Preview::kCellWidth;
using ReceiptPainter::origin;

// Fonts need a QGuiApplication. It ends before main returns, and fontconfig's memory with it.
class Application : public ::testing::Environment {
public:
    void SetUp() override { m_application = std::make_unique<QGuiApplication>(m_argc, m_argv); }
    void TearDown() override { m_application.reset(); }

private:
    int m_argc = 1;
    char m_name[13] = "test_preview";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QGuiApplication> m_application;
};
const ::testing::Environment* const kApplication =
    ::testing::AddGlobalTestEnvironment(new Application);

QImage draw(const QByteArray& bytes, const DecodeOptions& options = {}) {
    return ReceiptPainter::image(ReceiptDecoder::decode(bytes, options));
}

// A job written as a string literal, its zero bytes included.
template <std::size_t N> QByteArray bytes(const char (&literal)[N]) {
    return QByteArray(literal, N - 1);
}

// Pixels of colour (any dark one when colour is 0) in the paper's dots [x, x + w) x [y, y + h).
int count(const QImage& image, int x, int y, int w, int h, QRgb colour = 0) {
    int found = 0;
    for (int row = origin().y() + y; row < origin().y() + y + h; ++row)
        for (int column = origin().x() + x; column < origin().x() + x + w; ++column) {
            const QRgb pixel = image.pixel(column, row);
            found += colour ? pixel == colour : qGray(pixel) < 128;
        }
    return found;
}

// The first cell of the paper.
QImage cell(const QImage& image) {
    return image.copy(QRect(origin(), QSize(kCellWidth, kCellHeight)));
}

TEST(Preview, EscPosRowsMarksAndUnknownBytes) {
    const QByteArray job = bytes("\x1b@\x1bt\x13") + "AAAA\n" // PC858; row 0 at dot 0
                           + "\x1b\x45\x01" + "AAAA\n" + bytes("\x1b\x45\x00") // row 1 at 24, bold
                           + "\x1d!\x11" + "AA\n" + bytes("\x1d!\x00")         // row 2 at 48, 2 x 2
                           + "\x1b\x61\x01" + "AA\n" + bytes("\x1b\x61\x00") // row 3 at 96, centred
                           + QByteArray(50, 'B') + "\n"   // rows 4 and 5, wrapped
                           + "\x1dV\x01\x1bp\x01\x19\xfa" // partial cut at 168, pin 5
                           + "\x07\x1b\x61\x07\n";        // row 6: a bell, a bad justification
    const QImage image = draw(job);
    EXPECT_EQ(image.width() - 2 * origin().x(), 576); // 48 columns of 12 dots
    EXPECT_EQ(image.height() - origin().y(), 8 * kCellHeight + ReceiptPainter::kTail);

    EXPECT_GT(count(image, 0, 24, 48, 24), count(image, 0, 0, 48, 24) * 5 / 4) << "bold";
    EXPECT_GT(count(image, 0, 48, 48, 24), 0) << "the tall row's upper half holds ink";
    EXPECT_GT(count(image, 24, 48, 24, 48), 0) << "the wide A's reach the second cell pair";
    EXPECT_EQ(count(image, 0, 96, 22 * kCellWidth, 24), 0) << "centred: 22 blank cells";
    EXPECT_GT(count(image, 22 * kCellWidth, 96, 2 * kCellWidth, 24), 0);
    EXPECT_GT(count(image, 0, 144, 2 * kCellWidth, 24), 0) << "the 49th B wraps";
    EXPECT_EQ(count(image, 2 * kCellWidth, 144, 46 * kCellWidth, 20), 0); // 20: above the cut

    EXPECT_GT(count(image, 0, 168, 576, 1, ReceiptPainter::kCutColour), 576 / 2) << "the cut";
    EXPECT_EQ(count(image, 0, 156, 576, 1, ReceiptPainter::kCutColour), 0);
    EXPECT_GT(count(image, 576 + ReceiptPainter::kEdge, 160, ReceiptPainter::kMargin, 20,
                    ReceiptPainter::kDrawerColour),
              0)
        << "the drawer mark beside the cut";
    for (int column : {0, 1, 2, 3})
        EXPECT_GT(count(image, column * kCellWidth, 168, kCellWidth, kCellHeight,
                        ReceiptPainter::kUnknownColour),
                  0)
            << "unknown byte " << column;
}

// A byte of each code page draws the glyph of its character, as UTF-8 text draws it.
TEST(Preview, CodePageByteDrawsItsCharacter) {
    const struct {
        QByteArray job;
        const char16_t* page; // for the company printer; the ESC/POS jobs select their own
        QString character;
        int number = -1; // the printer's own number for the page below
        const char16_t* numbered = nullptr;
    } cases[] = {
        {bytes("\x1b@\x1bt\x13\xd5\n"), nullptr, QStringLiteral("€")}, // PC858
        {bytes("\x1b@\x1bt\x10\x80\n"), nullptr, QStringLiteral("€")}, // WPC1252
        {bytes("\x1b@\x1bt\x02\x8a\n"), nullptr, QStringLiteral("è")}, // PC850
        {bytes("\x1b@\x1bt\x00\x85\n"), nullptr, QStringLiteral("à")}, // PC437
        {bytes("\x1b@\x9c\n"), nullptr, QStringLiteral("£")},          // PC437 before any ESC t
        {bytes("\xd5\n"), u"PC858", QStringLiteral("€")}, // company printer with a page
        // A printer numbering PC858 its own way: its number wins over the page it usually means.
        {bytes("\x1b@\x1bt\x05\x85\n"), nullptr, QStringLiteral("à"), 5, u"PC858"},
        {bytes("\x1b@\x1bt\x10\xd5\n"), nullptr, QStringLiteral("€"), 16, u"PC858"},
        {bytes("\x1b@\x1bt\x10\x80\n"), nullptr, QStringLiteral("€"), 19, u"PC858"}, // WPC1252
    };
    for (const auto& c : cases) {
        DecodeOptions options;
        options.companyCodePage = c.page ? CodePages::byName(c.page) : nullptr;
        options.escPosPageNumber = c.number;
        options.escPosNumberedPage = c.numbered ? CodePages::byName(c.numbered) : nullptr;
        const QImage utf8 = draw(c.character.toUtf8() + "\n");
        EXPECT_GT(count(utf8, 0, 0, kCellWidth, kCellHeight), 0);
        EXPECT_EQ(cell(draw(c.job, options)), cell(utf8)) << c.character.toStdString();
    }
}

// A row between ESC M 1 and ESC M 0 on 58 mm paper (32 columns, 42 condensed): one line while
// it fits the condensed width, in cells that share the paper's 384 dots; without the condensed
// width it wraps at 32, as before.
TEST(Preview, CondensedRowsFitTheirWidth) {
    const struct {
        int condensedColumns;
        int characters;
        int rows;
    } cases[] = {{42, 42, 1}, {42, 43, 2}, {0, 42, 2}, {32, 33, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.condensedColumns << " " << c.characters);
        DecodeOptions options;
        options.escPosColumns = 32;
        options.escPosCondensedColumns = c.condensedColumns;
        const QImage image =
            draw(bytes("\x1b@\x1bM\x01") + QByteArray(c.characters, 'W') + bytes("\n\x1bM\x00"),
                 options);
        EXPECT_EQ(image.width() - 2 * origin().x(), 32 * kCellWidth);
        EXPECT_EQ(image.height() - origin().y(), c.rows * kCellHeight + ReceiptPainter::kTail);
        if (c.rows == 1) { // the 42nd W inside the paper: cells of 384 / 42 = 9 dots
            EXPECT_GT(count(image, 41 * 9, 0, 9, kCellHeight), 0);
        }
    }
    // ESC @ brings the normal font back: 33 characters wrap again.
    DecodeOptions options;
    options.escPosColumns = 32;
    options.escPosCondensedColumns = 42;
    const QImage image = draw(bytes("\x1b@\x1bM\x01\x1b@") + QByteArray(33, 'W') + "\n", options);
    EXPECT_EQ(image.height() - origin().y(), 2 * kCellHeight + ReceiptPainter::kTail);
}

// The program takes both from the printer settings pastrel-print reads.
TEST(Preview, PrinterSettingsReachThePicture) {
    const testsupport::TempHome home;
    home.writeConfig("pastrel : { printer : { model = \"escpos\"; columns = 32; "
                     "condensedColumns = 42; codepage = \"PC858\"; codepageNumber = 5; }; };\n");
    const QString job = home.file(QStringLiteral("job.prn"));
    ASSERT_TRUE(testsupport::writeFile(job, bytes("\x1b@\x1bt\x05\x85\n\x1bM\x01") +
                                                QByteArray(42, 'W') + bytes("\n\x1bM\x00")));
    const QString picture = home.file(QStringLiteral("job.png"));
    const testsupport::Run run =
        testsupport::runProgram(QStringLiteral(PASTREL_PREVIEW), {job, picture}, home.path());
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QImage image(picture);
    EXPECT_EQ(image.height() - origin().y(), 2 * kCellHeight + ReceiptPainter::kTail);
    EXPECT_EQ(cell(image), cell(draw(QStringLiteral("à\n").toUtf8())));
}

TEST(Preview, LogoDrawnDotForDot) {
    const QImage image = draw(bytes("\x1b@\x1dv0\x00\x02\x00\x03\x00" // 3 rows of 16 dots
                                    "\xf0\x0f\xf0\x0f\xf0\x0f"
                                    "A\n"));
    EXPECT_EQ(image.height() - origin().y(), 3 + kCellHeight + ReceiptPainter::kTail);
    EXPECT_EQ(count(image, 0, 0, 4, 3), 4 * 3); // dots 0-3 and 12-15 of each row, none between
    EXPECT_EQ(count(image, 4, 0, 8, 3), 0);
    EXPECT_EQ(count(image, 12, 0, 4, 3), 4 * 3);
}

// Symbol commands a printer refuses draw no symbol: their bytes show as unknown cells.
TEST(Preview, RefusedSymbolCommandsShowTheirBytes) {
    const QByteArray jobs[] = {
        bytes("\x1b@\x1dkC\x0d"
              "4006381333932"),      // EAN-13 with a wrong check digit
        bytes("\x1b@\x1dkI\x03{Ca"), // Code 128 in code set C
        bytes("\x1b@\x1dkF\x02"
              "12"),                              // ITF, not drawn
        bytes("\x1b@\x1d(k\x03\x00\x31\x43\x11"), // QR module of 17 dots
        bytes("\x1b@\x1d(k\x03\x00\x31Q0"),       // QR print with nothing stored
    };
    for (const QByteArray& job : jobs) {
        const Paper paper = ReceiptDecoder::decode(job);
        EXPECT_TRUE(paper.rasters.isEmpty()) << job.toHex().toStdString();
        EXPECT_TRUE(std::any_of(paper.cells.cbegin(), paper.cells.cend(),
                                [](const PaperCell& cell) { return cell.unknown; }))
            << job.toHex().toStdString();
    }
}

// The document as pastrel-print renders it and its bytes draw the same picture, in which the
// end of the receipt is cut and opens the drawer.
TEST(Preview, DocumentEndToEnd) {
    const testsupport::TempHome home;
    home.writeConfig(testsupport::kReceiptConf);
    const QString document = home.file(QStringLiteral("receipt.xml"));
    ASSERT_TRUE(testsupport::writeFile(document, testsupport::receiptDocument("7")));
    const QString job = home.file(QStringLiteral("receipt.prn"));
    testsupport::runPrint({document, job}, home.path());
    QStringList pictures;
    for (const QString& input : {document, job, document}) {
        pictures << home.file(
            QStringLiteral("%1.%2")
                .arg(pictures.size())
                .arg(pictures.size() < 2 ? QLatin1String("png") : QLatin1String("svg")));
        const testsupport::Run run = testsupport::runProgram(QStringLiteral(PASTREL_PREVIEW),
                                                             {input, pictures.last()}, home.path());
        EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
        EXPECT_EQ(run.err, QByteArray());
    }
    const QImage image(pictures[0]);
    EXPECT_EQ(image, QImage(pictures[1]));
    EXPECT_EQ(image.width() - 2 * origin().x(), 40 * kCellWidth);
    const int end = 11 * kCellHeight; // serial and separator lines, then nine line feeds
    EXPECT_EQ(image.height() - origin().y(), end + ReceiptPainter::kTail);
    EXPECT_GT(count(image, 0, 0, 40 * kCellWidth, 2 * kCellHeight), 0);
    EXPECT_GT(count(image, 0, end, 40 * kCellWidth, 1, ReceiptPainter::kCutColour), 200);
    EXPECT_GT(count(image, 40 * kCellWidth + ReceiptPainter::kEdge, end, ReceiptPainter::kMargin,
                    2 * kCellHeight, ReceiptPainter::kDrawerColour),
              0);
    EXPECT_TRUE(testsupport::readFile(pictures[2]).contains("<svg"));
}

// ---- Faults: pictures bounded by what they draw, writes checked ------------------------------
// Each row is a finding: a small job or document that took hundreds of megabytes to draw, or a
// picture on a full disk (a link to /dev/full) that reported success. Each run now ends with the
// status given, the line given on standard error, and a peak memory (time(1)) under the bound.
struct PreviewFault {
    const char* name;
    std::function<QString(const testsupport::TempHome&)> input; // writes it, returns its path
    const char* output;                                         // a link to /dev/full when "full.*"
    int status;
    const char* err;
    long maxKilobytes;
};

QString overprinted(const testsupport::TempHome& home) { // one line, printed 5,100 times over
    const QString path = home.file(QStringLiteral("over.prn"));
    testsupport::writeFile(path,
                           "\x1b@" + QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abcdefghijkl"
                                                "\x1b"
                                                "d")
                                         .append('\0')
                                         .repeated(5100));
    return path;
}

const PreviewFault kPreviewFaults[] = {
    {"OverprintedJobAsSvg", overprinted, "over.svg", 0, "", 100 * 1024},
    {"SmallDocumentLargeRendering", // 3.3 MB rendering to 330 MB
     [](const testsupport::TempHome& home) {
         home.writeConfig("pastrel : { receiptdoc : { paperWidth = 1000; }; };");
         const QString path = home.file(QStringLiteral("big.xml"));
         testsupport::writeFile(path, "<doc><method name=\"printFullOrderReceipt\"/>" +
                                          QByteArray("<receipt/>").repeated(330000) + "</doc>");
         return path;
     },
     "big.png", 0, "bytes of its job are drawn", 200 * 1024},
    {"SvgOnAFullDisk", overprinted, "full.svg", 1, "No space left on device", 200 * 1024},
    {"PngOnAFullDisk", overprinted, "full.png", 1, "No space left on device", 200 * 1024},
    {"HtmlOnAFullDisk", overprinted, "full.html", 1, "No space left on device", 200 * 1024},
};

class PreviewFaultRow : public ::testing::TestWithParam<PreviewFault> {};

TEST_P(PreviewFaultRow, EndsBoundedAndReportsAFailedWrite) {
    const testsupport::TempHome home;
    const QString input = GetParam().input(home);
    const QString output = home.file(QLatin1String(GetParam().output));
    if (output.contains(QLatin1String("full."))) {
        ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), output));
    }
    const QString stats = home.file(QStringLiteral("stats"));
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    const testsupport::Run run =
        testsupport::runProgram(QStringLiteral("/usr/bin/time"),
                                {QStringLiteral("-f"), QStringLiteral("%M"), QStringLiteral("-o"),
                                 stats, QStringLiteral(PASTREL_PREVIEW), input, output},
                                home.path(), environment, 60000);
    EXPECT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, GetParam().status) << run.err.constData();
    EXPECT_TRUE(run.err.contains(GetParam().err)) << run.err.constData();
#if !defined(__SANITIZE_ADDRESS__) // the sanitizers' shadow memory is not the program's
    EXPECT_LT(testsupport::readFile(stats).trimmed().split('\n').last().toLong(),
              GetParam().maxKilobytes);
#endif
}

INSTANTIATE_TEST_SUITE_P(Preview, PreviewFaultRow, ::testing::ValuesIn(kPreviewFaults),
                         [](const auto& row) { return std::string(row.param.name); });

// The preview's picture of a receipt read back by a decoder nobody here wrote (zbarimg, of
// Debian's zbar-tools): every QR code and barcode gives its data back, drawn from the printer's
// own commands as from the images a printer without them gets, on 80 mm and on 58 mm paper.
TEST(Preview, CodesReadBackByADecoder) {
    const QString document =
        QStringLiteral(PASTREL_SOURCE_DIR "/tests/documents/codes/escpos-native/input.xml");
    // Sorted lines of zbarimg's answer: the line break inside the QR code "Tavolo\n12" comes
    // back as a line of its own, "12", which proves it reached the symbol.
    const QByteArrayList expected = {"12",
                                     "CODE-128:Buono {10}",
                                     "CODE-39:RESO-42",
                                     "EAN-13:4006381333931",
                                     "EAN-8:96385074",
                                     "QR-Code:Tavolo",
                                     "QR-Code:https://pastrel.example/pay/118",
                                     "UPC-A:036000291452"};
    for (const int columns : {48, 32}) {
        QImage pictures[2]; // native, raster
        for (const bool raster : {false, true}) {
            SCOPED_TRACE(testing::Message() << (raster ? "raster, " : "native, ") << columns);
            const testsupport::TempHome home;
            home.writeConfig(QStringLiteral("pastrel : { printer : { model = \"escpos\"; "
                                            "columns = %1; qrcode = \"%2\"; }; };\n")
                                 .arg(columns)
                                 .arg(raster ? "raster" : "native")
                                 .toUtf8());
            const QString job = home.file(QStringLiteral("job.prn"));
            testsupport::runPrint({document, job}, home.path());
            const QByteArray bytes = testsupport::readFile(job);
            EXPECT_EQ(bytes.contains("\x1d(k") || bytes.contains("\x1dk"), !raster);
            EXPECT_EQ(bytes.contains("\x1dv0"), raster);
            const QString picture = home.file(QStringLiteral("job.png"));
            const testsupport::Run drawn = testsupport::runProgram(QStringLiteral(PASTREL_PREVIEW),
                                                                   {job, picture}, home.path());
            ASSERT_EQ(drawn.exitCode, 0) << drawn.err.toStdString();
            const testsupport::Run read = testsupport::runProgram(
                QStringLiteral("zbarimg"),
                {QStringLiteral("-q"), QStringLiteral("-Supca.enable"), picture}, home.path());
            ASSERT_TRUE(read.finished) << "zbarimg (Debian package zbar-tools) did not run";
            QByteArrayList found = read.out.trimmed().split('\n');
            std::sort(found.begin(), found.end());
            EXPECT_EQ(found, expected);
            pictures[raster] = QImage(picture);
        }
        // The same modules at the same places, the digits in the same cells.
        EXPECT_EQ(pictures[0], pictures[1]) << columns;
    }
}

} // namespace
