#include "logoraster.h"

#include <QtEndian>

namespace {
constexpr char kMagic[] = "PSTLOGO1";
constexpr int kMagicSize = 8;
static_assert(LogoRaster::kHeaderSize == kMagicSize + 3 * 2, "magic and three 16-bit numbers");

void appendUint16(QByteArray& bytes, int value) {
    bytes += static_cast<char>(value & 0xFF);
    bytes += static_cast<char>((value >> 8) & 0xFF);
}
} // namespace

QByteArray LogoRaster::toFile() const {
    QByteArray file(kMagic, kMagicSize);
    appendUint16(file, bytesPerRow);
    appendUint16(file, rows);
    appendUint16(file, qChecksum(dots, Qt::ChecksumIso3309));
    return file + dots;
}

LogoRaster LogoRaster::fromFile(const QByteArray& file, QString* why) {
    LogoRaster raster;
    if (file.size() < kHeaderSize || !file.startsWith(QByteArray(kMagic, kMagicSize))) {
        *why = QStringLiteral("not a logo raster file");
        return raster;
    }
    const auto header = reinterpret_cast<const uchar*>(file.constData()) + kMagicSize;
    const int bytesPerRow = qFromLittleEndian<quint16>(header);
    const int rows = qFromLittleEndian<quint16>(header + 2);
    const quint16 checksum = qFromLittleEndian<quint16>(header + 4);
    if (bytesPerRow < 1 || bytesPerRow > kMaxBytesPerRow || rows < 1 || rows > kMaxRows) {
        *why = QStringLiteral("size %1 x %2 dots is out of range").arg(bytesPerRow * 8).arg(rows);
        return raster;
    }
    const QByteArray dots = file.mid(kHeaderSize);
    if (dots.size() != qsizetype(bytesPerRow) * rows) {
        *why = QStringLiteral("truncated or overlong: %1 bytes of dots, %2 expected")
                   .arg(dots.size())
                   .arg(bytesPerRow * rows);
        return raster;
    }
    if (qChecksum(dots, Qt::ChecksumIso3309) != checksum) {
        *why = QStringLiteral("damaged: the checksum does not match");
        return raster;
    }
    raster.bytesPerRow = bytesPerRow;
    raster.rows = rows;
    raster.dots = dots;
    return raster;
}
