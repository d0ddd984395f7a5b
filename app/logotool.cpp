#include "logotool.h"

#include "logoraster.h"
#include "paconfiguration.h"
#include "printerprofile.h"
#include "syncsingleton.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QSaveFile>

#include <iostream>
#include <vector>

namespace {

// A receipt printer prints black dots on white paper: a transparent pixel is paper.
int lightness(QRgb pixel) {
    const int alpha = qAlpha(pixel);
    return (qGray(pixel) * alpha + 255 * (255 - alpha)) / 255;
}

// The image, centred on a raster widthDots wide, each dot black or white by Floyd-Steinberg
// error diffusion: a grey area keeps its tone as a pattern of dots instead of turning black.
LogoRaster dither(const QImage& image, int widthDots) {
    LogoRaster raster;
    raster.bytesPerRow = (widthDots + 7) / 8;
    raster.rows = image.height();
    raster.dots = QByteArray(qsizetype(raster.bytesPerRow) * raster.rows, '\0');
    const int width = image.width();
    const int left = (widthDots - width) / 2;
    // Errors carried to this row and the next, one cell of margin on each side.
    std::vector<int> current(static_cast<std::size_t>(width) + 2, 0);
    std::vector<int> next(current.size(), 0);
    for (int y = 0; y < raster.rows; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < width; ++x) {
            const std::size_t i = static_cast<std::size_t>(x) + 1;
            const int value = lightness(line[x]) + current[i] / 16;
            const bool black = value < 128;
            const int error = value - (black ? 0 : 255);
            current[i + 1] += error * 7;
            next[i - 1] += error * 3;
            next[i] += error * 5;
            next[i + 1] += error;
            if (black) {
                const int dot = left + x;
                raster.dots[qsizetype(y) * raster.bytesPerRow + dot / 8] |=
                    static_cast<char>(0x80 >> (dot % 8));
            }
        }
        current.swap(next);
        std::fill(next.begin(), next.end(), 0);
    }
    return raster;
}

} // namespace

int convertLogo(const QString& imagePath, const QString& rasterPath) {
    const PrinterProfile profile =
        PrinterProfile::fromConfiguration(*SyncSingleton<PAConfiguration>::instance());
    const int columns = profile.columns;
    const int widthDots = columns * LogoRaster::kDotsPerColumn;

    QImage image(imagePath);
    if (image.isNull()) {
        std::cerr << "pastrel-config: cannot read the image "
                  << QFile::encodeName(imagePath).constData() << std::endl;
        return 1;
    }
    // Only ever smaller: a small logo keeps its sharp edges, a large one fits the paper.
    if (image.width() > widthDots || image.height() > LogoRaster::kMaxRows)
        image = image.scaled(widthDots, LogoRaster::kMaxRows, Qt::KeepAspectRatio,
                             Qt::SmoothTransformation);
    const LogoRaster raster = dither(image.convertToFormat(QImage::Format_ARGB32), widthDots);

    // The same rule as the printer's: a relative path is taken from the configuration's folder.
    const QDir configurationFolder(PrinterProfile::configurationFolder());
    const QString& configured = profile.logo;
    QString target = rasterPath;
    if (target.isEmpty())
        target = configurationFolder.filePath(configured.isEmpty() ? QStringLiteral("logo.raster")
                                                                   : configured);
    QDir().mkpath(QFileInfo(target).absolutePath());
    QSaveFile file(target); // the printer never sees half a file
    if (!file.open(QIODevice::WriteOnly) || file.write(raster.toFile()) < 0 || !file.commit()) {
        std::cerr << "pastrel-config: cannot write " << QFile::encodeName(target).constData()
                  << ": " << file.errorString().toLocal8Bit().constData() << std::endl;
        return 1;
    }
    std::cout << "pastrel-config: logo written to " << QFile::encodeName(target).constData() << ", "
              << raster.bytesPerRow * 8 << " x " << raster.rows << " dots for a " << columns
              << "-column printer" << std::endl;
    if (configured.isEmpty() ||
        QFileInfo(configurationFolder.filePath(configured)) != QFileInfo(target))
        std::cout << "pastrel-config: set "
                  << PrinterProfile::key(PrinterProfile::Logo).toLatin1().constData()
                  << " to that file to print it" << std::endl;
    return 0;
}
