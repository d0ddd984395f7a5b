// What ESC/POS printers showed when our jobs were run on them: a tall logo goes in bands, and on
// 58 mm paper every line of every sample document fits, in the normal or the condensed font.
#include "documentreader.h"
#include "escposprinterdriver.h"
#include "logoraster.h"
#include "testsupport.h"

#include <QBuffer>
#include <QDir>

#include <cstdlib>

namespace {

// A logo of 300 rows, one byte each: one GS v 0 of 255 rows, then one of 45.
TEST(EscPos, TallLogoGoesInBandsOf255Rows) {
    ::unsetenv("HOME");
    testsupport::TempHome folder;
    LogoRaster raster;
    raster.bytesPerRow = 1;
    raster.rows = 300;
    for (int row = 0; row < raster.rows; ++row)
        raster.dots += static_cast<char>(row);
    ASSERT_TRUE(
        testsupport::writeFile(folder.file(QStringLiteral("logo.raster")), raster.toFile()));
    PrinterProfile profile;
    profile.model = QStringLiteral("escpos");
    profile.logoPath = folder.file(QStringLiteral("logo.raster"));
    QBuffer input;
    input.setData("<d><method name=\"printFullOrderReceipt\"/><logo/></d>");
    input.open(QIODevice::ReadOnly);
    QBuffer output;
    output.open(QIODevice::WriteOnly);
    {
        EscPosPrinterDriver driver(&output, profile, [](const QString& key) {
            return key == QLatin1String("pastrel.receiptdoc.printLogo") ? QStringLiteral("true")
                                                                        : QString();
        });
        DocumentReader(driver).parse(input, "logo.xml");
    }
    EXPECT_BYTES(QByteArray("\x1b@\x1c.\x1bR\x00\x1bt\x13", 10) + // job start, PC858
                     QByteArray("\x1dv0\x00\x01\x00\xff\x00", 8) + raster.dots.left(255) +
                     QByteArray("\x1dv0\x00\x01\x00\x2d\x00", 8) + raster.dots.mid(255) +
                     QByteArray("\x1dVB\x00", 4), // the cut
                 output.data());
}

// The widest line of a job in printer cells, in the normal and in the condensed font (ESC M 1).
struct Widths {
    int normal = 0;
    int condensed = 0;
};

Widths lineWidths(const QByteArray& job) {
    Widths widths;
    bool condensed = false;
    int cells = 0;
    for (qsizetype i = 0; i < job.size();) {
        const char byte = job.at(i);
        const char next = i + 1 < job.size() ? job.at(i + 1) : '\0';
        if (byte == '\n') {
            int& widest = condensed ? widths.condensed : widths.normal;
            widest = qMax(widest, cells);
            cells = 0;
            i += 1;
        } else if (byte == '\x1b') { // ESC @ takes no parameter, ESC p three, the others one
            if (next == 'M')
                condensed = job.at(i + 2) == 1;
            i += next == '@' ? 2 : next == 'p' ? 5 : 3;
        } else if (byte == '\x1c') { // FS .
            i += 2;
        } else if (byte == '\x1d' && next == 'V') { // GS V m n (m 65 and 66 take n)
            i += static_cast<unsigned char>(job.at(i + 2)) >= 65 ? 4 : 3;
        } else if (byte == '\x1d' && next == 'v') { // GS v 0 m xL xH yL yH dots
            const auto at = [&](int k) { return static_cast<unsigned char>(job.at(i + k)); };
            i += 8 + (at(4) + 256 * at(5)) * (at(6) + 256 * at(7));
        } else if (byte == '\x1d') { // GS ! n
            i += 3;
        } else {
            ++cells;
            ++i;
        }
    }
    return widths;
}

// The 58 mm sample configuration, with its Italian catalogue: no line wider than 32 cells in the
// normal font, none wider than 42 in the condensed one, and some rows do need that font.
TEST(EscPos, SampleDocumentsFit58mmPaper) {
    testsupport::TempHome home;
    QByteArray conf =
        testsupport::readFile(QStringLiteral(PASTREL_SOURCE_DIR "/examples/conf/escpos-58mm.conf"));
    home.writeConfig(conf.replace("@CATALOGUE_DIR@", PASTREL_BINARY_DIR "/translations"));
    const QDir samples(QStringLiteral(PASTREL_SOURCE_DIR "/examples/documents"));
    int condensedRows = 0;
    for (const QString& name : samples.entryList({QStringLiteral("*.xml")}, QDir::Files)) {
        const QString output = home.file(name + QStringLiteral(".prn"));
        const testsupport::Run run =
            testsupport::runPrint({samples.filePath(name), output}, home.path());
        EXPECT_EQ(run.err, "") << name.toStdString();
        const Widths widths = lineWidths(testsupport::readFile(output));
        EXPECT_LE(widths.normal, 32) << name.toStdString();
        EXPECT_LE(widths.condensed, 42) << name.toStdString();
        condensedRows += widths.condensed > 0 ? 1 : 0;
    }
    EXPECT_GT(condensedRows, 0);
}

} // namespace
