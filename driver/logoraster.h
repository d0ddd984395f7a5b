// LogoRaster: the shop's logo as a printer draws it, one bit per dot, and the file that carries
// it from `pastrel-config logo`, which converts the image once when the till is set up, to
// pastrel-print, which only copies the dots out. pastrel-print so never decodes an image.
//
// The file: the eight bytes "PSTLOGO1", the bytes per row and the rows (16 bits each,
// little-endian), the CRC-16 of the dots (ISO 3309, as qChecksum gives it, little-endian), then
// exactly bytes-per-row x rows bytes of dots: rows top to bottom, the leftmost dot in the
// highest bit, 1 black. A file that differs in any of these is refused whole.
#pragma once

#include <QByteArray>
#include <QString>

struct LogoRaster {
    // Printers' raster commands take at most this; 128 bytes is 1024 dots, wider than any
    // receipt paper, and 2400 rows some 30 cm, longer than any logo.
    static constexpr int kMaxBytesPerRow = 128;
    static constexpr int kMaxRows = 2400;
    static constexpr int kDotsPerColumn = 12; // dots per character cell of the printer's font
    static constexpr int kHeaderSize = 14;
    static constexpr qsizetype kMaxFileSize = kHeaderSize + kMaxBytesPerRow * kMaxRows;

    int bytesPerRow = 0;
    int rows = 0;
    QByteArray dots; // bytesPerRow x rows bytes

    QByteArray toFile() const;
    // The raster in file, or an empty one (rows 0) with *why saying what is wrong.
    static LogoRaster fromFile(const QByteArray& file, QString* why);
    // The raster in the file at path, as fromFile(). Only a regular file is read, and never more
    // than kMaxFileSize + 1 bytes: a FIFO or a device named by mistake is refused at once
    // instead of holding the till's ticket until something writes to it.
    static LogoRaster read(const QString& path, QString* why);
};
