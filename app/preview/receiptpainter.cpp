#include "receiptpainter.h"

#include <QBuffer>
#include <QFile>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QHash>
#include <QPainter>
#include <QSvgGenerator>

#include <algorithm>

#include <cstdio>

using namespace Preview;

namespace ReceiptPainter {
namespace {

constexpr int kDotsPerInch = 203; // 8 dots a millimetre, as receipt printers print
constexpr QRgb kMarginColour = 0xffc8c8c8;
constexpr int kGlyphPixels = 20; // DejaVu Sans Mono at 20 px: 12 dots wide, 24 high with leading
constexpr int kHexPixels = 10;   // the two digits of an unknown byte, one above the other
constexpr int kLabelPixels = 10; // the words under a drawer mark
constexpr int kDash = 6, kDashGap = 4;
constexpr int kStackedMark = 28; // a second drawer mark at the same place goes below the first
constexpr int kPartialCutTab = 2 * kCellWidth; // the uncut bridge in the middle of a partial cut
constexpr int kMaxOverprint = 8;               // different characters drawn at one place

// fonts-dejavu-core puts the fonts here; fontconfig finds the family elsewhere.
const char* const kFontFiles[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf",
                                  "/usr/share/fonts/truetype/dejavu/DejaVuSansMono-Bold.ttf"};
const char* const kFontFamily = "DejaVu Sans Mono";

QFont makeFont(int pixels, bool bold) {
    QFont result(QString::fromLatin1(kFontFamily));
    result.setStyleHint(QFont::Monospace);
    result.setPixelSize(pixels);
    result.setBold(bold);
    return result;
}

// The four fonts of a picture, made once: the DejaVu files are added to the application's fonts
// on first use.
struct Fonts {
    QFont glyph = makeFont(kGlyphPixels, false);
    QFont bold = makeFont(kGlyphPixels, true);
    QFont hex = makeFont(kHexPixels, true);
    QFont label = makeFont(kLabelPixels, false);
};

const Fonts& fonts() {
    static const Fonts made = [] {
        for (const char* file : kFontFiles)
            QFontDatabase::addApplicationFont(QString::fromLatin1(file));
        if (QFontInfo(QFont(QString::fromLatin1(kFontFamily))).family() !=
            QLatin1String(kFontFamily))
            std::fprintf(stderr,
                         "pastrel-preview: %s not found (Debian package "
                         "fonts-dejavu-core); drawing with another font\n",
                         kFontFamily);
        return Fonts();
    }();
    return made;
}

// text centred in box, in the painter's font. Not QPainter::drawText(QRect, flags, ...), which
// takes time in proportion to the picture's height: a long job's cells would take minutes.
void drawCentred(QPainter& painter, const QRectF& box, const QString& text) {
    const QFontMetricsF metrics(painter.font());
    const QPointF baseline(box.x() + (box.width() - metrics.horizontalAdvance(text)) / 2,
                           box.y() + (box.height() - metrics.height()) / 2 + metrics.ascent());
    painter.drawText(baseline, text);
}

void drawCell(QPainter& painter, const PaperCell& cell) {
    if (cell.unknown) {
        const QRect box = cell.rect.adjusted(0, 1, -1, -2);
        painter.setPen(QColor::fromRgb(kUnknownColour));
        painter.drawRect(box);
        painter.setFont(fonts().hex);
        const QString hex = QStringLiteral("%1").arg(cell.byte, 2, 16, QLatin1Char('0')).toUpper();
        const int half = box.height() / 2;
        drawCentred(painter, QRect(box.x(), box.y(), box.width(), half), hex.left(1));
        drawCentred(painter, QRect(box.x(), box.y() + half, box.width(), half), hex.right(1));
        return;
    }
    painter.setPen(Qt::black);
    painter.setFont(cell.bold ? fonts().bold : fonts().glyph);
    const QString character = QString::fromUcs4(&cell.character, 1);
    if (cell.rect.size() == QSize(kCellWidth, kCellHeight)) {
        // Most cells: no transformation, so an SVG writes one text element for the cell instead
        // of a group with its own transformation and font.
        drawCentred(painter, cell.rect, character);
        return;
    }
    painter.save();
    painter.translate(cell.rect.topLeft());
    painter.scale(cell.rect.width() / double(kCellWidth), cell.rect.height() / double(kCellHeight));
    drawCentred(painter, QRect(0, 0, kCellWidth, kCellHeight), character);
    painter.restore();
}

// The part of a logo that lands on the printable width (a printer drops the rest), unsmoothed:
// one dot stays one dot, or two when the job doubled it.
void drawRaster(QPainter& painter, const PaperRaster& raster, const QRect& printable) {
    const QRect shown = raster.rect.intersected(printable);
    if (shown.isEmpty())
        return;
    const int widthScale = raster.rect.width() / raster.image.width();
    const int heightScale = raster.rect.height() / raster.image.height();
    const QRect source((shown.x() - raster.rect.x()) / widthScale,
                       (shown.y() - raster.rect.y()) / heightScale, shown.width() / widthScale,
                       shown.height() / heightScale);
    painter.drawImage(shown, raster.image, source);
}

// The cutter crosses the whole paper, edges included.
void drawCut(QPainter& painter, const PaperCut& cut, int width) {
    const QColor colour = QColor::fromRgb(kCutColour);
    const int tabStart = (width - kPartialCutTab) / 2;
    for (int x = -kEdge; x < width + kEdge; x += kDash + kDashGap) {
        if (cut.partial && x + kDash > tabStart && x < tabStart + kPartialCutTab)
            continue; // the bridge that holds a partly cut receipt to the roll
        painter.fillRect(QRect(x, cut.y - 1, std::min(kDash, width + kEdge - x), 2), colour);
    }
    painter.setPen(colour);
    painter.setFont(fonts().glyph);
    drawCentred(painter, QRect(-kEdge - kMargin, cut.y - kCellHeight / 2, kMargin, kCellHeight),
                QStringLiteral("\u2702"));
}

void drawDrawer(QPainter& painter, const PaperDrawer& drawer, int x, int y) {
    const QColor colour = QColor::fromRgb(kDrawerColour);
    const QRect box(x + 8, y - 6, kMargin - 16, 12);
    painter.setPen(colour);
    painter.drawRect(box);
    painter.fillRect(QRect(box.center().x() - 4, box.center().y() - 1, 9, 3), colour); // handle
    painter.setFont(fonts().label);
    drawCentred(painter, QRect(x, y + 6, kMargin, kLabelPixels + 4), drawer.label);
}

} // namespace

QSize size(const Paper& paper) {
    return QSize(paper.width() + 2 * (kMargin + kEdge), paper.length + kLead + kTail);
}

void paint(const Paper& paper, QPainter& painter) {
    const QSize whole = size(paper);
    painter.fillRect(QRect(QPoint(0, 0), whole), QColor::fromRgb(kMarginColour));
    painter.fillRect(QRect(kMargin, 0, paper.width() + 2 * kEdge, whole.height()), Qt::white);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.translate(origin());

    for (const PaperRaster& raster : paper.rasters)
        drawRaster(painter, raster, QRect(0, 0, paper.width(), paper.length));
    // A place printed over again without a feed shows each different character once, and at
    // most kMaxOverprint of them (more are one black cell): the picture, above all an SVG that
    // writes every glyph, stays as large as the paper, not as the job (a 260 KB job once took
    // 690 MB to write as SVG).
    QHash<quint64, QList<PaperCell>> drawn; // by the cell's top left corner
    for (const PaperCell& cell : paper.cells) {
        QList<PaperCell>& here =
            drawn[quint64(quint32(cell.rect.x())) << 32 | quint32(cell.rect.y())];
        const bool seen = std::any_of(here.cbegin(), here.cend(), [&](const PaperCell& other) {
            return other.rect == cell.rect && other.character == cell.character &&
                   other.byte == cell.byte && other.unknown == cell.unknown &&
                   other.bold == cell.bold;
        });
        if (seen || here.size() >= kMaxOverprint)
            continue;
        here.append(cell);
        drawCell(painter, cell);
    }

    for (const PaperCut& cut : paper.cuts)
        drawCut(painter, cut, paper.width());
    int lastY = -1, stacked = 0; // the company printer pulses and opens the drawer at one place
    for (const PaperDrawer& drawer : paper.drawers) {
        stacked = drawer.y == lastY ? stacked + 1 : 0;
        lastY = drawer.y;
        drawDrawer(painter, drawer, paper.width() + kEdge, drawer.y + stacked * kStackedMark + 4);
    }
    if (paper.truncated) {
        painter.setPen(QColor::fromRgb(kUnknownColour));
        painter.setFont(fonts().label);
        drawCentred(painter, QRect(0, paper.length, paper.width(), kLead),
                    QStringLiteral("the rest of the job is not drawn"));
    }
}

QImage image(const Paper& paper) {
    QImage result(size(paper), QImage::Format_RGB32);
    QPainter painter(&result);
    paint(paper, painter);
    return result;
}

QString formatProblem(const QString& path) {
    for (const char* ending : {".png", ".svg", ".html"})
        if (path.endsWith(QLatin1String(ending), Qt::CaseInsensitive))
            return QString();
    return QStringLiteral("%1: the picture's name must end in .png, .svg or .html").arg(path);
}

bool save(const Paper& paper, const QString& path, const QString& title, QString* error) {
    *error = formatProblem(path);
    if (!error->isEmpty())
        return false;
    if (path.endsWith(QLatin1String(".svg"), Qt::CaseInsensitive)) {
        // Written through a file of our own, so that a failed write (a full disk) is seen.
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
            return false;
        }
        QSvgGenerator generator;
        generator.setOutputDevice(&file);
        generator.setSize(size(paper));
        generator.setViewBox(QRect(QPoint(0, 0), size(paper)));
        generator.setTitle(title);
        generator.setResolution(kDotsPerInch); // so the SVG is as wide as the paper
        QPainter painter;
        if (painter.begin(&generator)) {
            paint(paper, painter);
            if (painter.end() && file.flush() && file.error() == QFileDevice::NoError)
                return true;
        }
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    const bool html = path.endsWith(QLatin1String(".html"), Qt::CaseInsensitive);
    const QImage picture = image(paper);
    if (!html) {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate) && picture.save(&file, "PNG") &&
            file.flush() && file.error() == QFileDevice::NoError)
            return true;
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "PNG");
    const QByteArray escaped = title.toHtmlEscaped().toUtf8();
    QFile file(path);
    const QByteArray page = "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" +
                            escaped + "</title></head>\n<body style=\"background:#888\">\n" +
                            "<p style=\"color:#fff;font-family:sans-serif\">" + escaped +
                            "</p>\n<img alt=\"" + escaped + "\" src=\"data:image/png;base64," +
                            png.toBase64() + "\">\n</body></html>\n";
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(page) == page.size() &&
        file.flush())
        return true;
    *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
    return false;
}

} // namespace ReceiptPainter
