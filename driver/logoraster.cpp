#include "logoraster.h"

#include <QFile>
#include <QtEndian>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

LogoRaster LogoRaster::read(const QString& path, QString* why) {
    // Non-blocking: opening a FIFO for reading would otherwise wait for a writer.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        *why = QString::fromLocal8Bit(std::strerror(errno));
        return LogoRaster();
    }
    struct stat info {};
    QByteArray file;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        *why = QStringLiteral("not a regular file");
    } else {
        file.resize(kMaxFileSize + 1);
        qsizetype size = 0;
        while (size < file.size()) {
            const ssize_t got = ::read(fd, file.data() + size, std::size_t(file.size() - size));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                *why = QString::fromLocal8Bit(std::strerror(errno));
            if (got <= 0)
                break;
            size += got;
        }
        file.truncate(size);
    }
    ::close(fd);
    return why->isEmpty() ? fromFile(file, why) : LogoRaster();
}
