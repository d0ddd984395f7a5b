// The shop's logo from image to paper: pastrel-config logo converts it for the printer's width,
// pastrel-print copies the dots out as a raster image, both run as a till's set-up runs them.
#include "testsupport.h"

#include <QImage>

namespace {

TEST(Logo, ImageConvertedOnceThenPrintedAsRaster) {
    testsupport::TempHome home;
    // Two columns of 12 dots: the raster is 24 dots, 3 bytes, wide.
    home.writeConfig("pastrel : { printer : { model = escpos; columns = 2; logo = shop.raster; };\n"
                     "receiptdoc : { printLogo = true; }; };\n");
    // 48 x 8 pixels, halved to fit: the top half black on the left, the bottom transparent.
    QImage image(48, 8, QImage::Format_ARGB32);
    image.fill(Qt::white);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 24; ++x)
            image.setPixel(x, y, qRgb(0, 0, 0));
        for (int x = 0; x < 48; ++x)
            image.setPixel(x, y + 4, qRgba(0, 0, 0, 0));
    }
    ASSERT_TRUE(image.save(home.file(QStringLiteral("shop.png"))));
    const testsupport::Run run = testsupport::runProgram(
        QStringLiteral(PASTREL_CONFIG_TOOL),
        {QStringLiteral("logo"), home.file(QStringLiteral("shop.png"))}, home.path());
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();

    const QString document = home.file(QStringLiteral("logo.xml"));
    testsupport::writeFile(document, "<d><method name=\"printFullOrderReceipt\"/><logo/></d>");
    testsupport::runPrint({document, home.file(QStringLiteral("out.prn"))}, home.path());
    const QByteArray dots("\xff\xf0\x00\xff\xf0\x00\x00\x00\x00\x00\x00\x00", 12);
    EXPECT_BYTES(QByteArray("\x1b@\x1c.\x1bR\x00\x1bt\x13", 10) +  // job start, PC858
                     QByteArray("\x1dv0\x00\x03\x00\x04\x00", 8) + // 3 bytes by 4 rows
                     dots + QByteArray("\x1dVB\x00", 4),           // the cut
                 testsupport::readFile(home.file(QStringLiteral("out.prn"))));
}

} // namespace
