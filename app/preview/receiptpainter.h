// ReceiptPainter: draws a decoded Paper as the receipt comes out of the printer, one image dot a
// printer dot: the characters in a fixed cell grid, the logo dot for dot, a dashed line with
// scissors where the paper is cut, a drawer mark where the drawer opens, and every unknown byte
// as its hex code in a red box. Cut and drawer marks sit in the grey margins beside the paper.
#pragma once

#include "receiptdecoder.h"

#include <QImage>
#include <QPoint>
#include <QSize>
#include <QString>

class QPainter;

namespace ReceiptPainter {
constexpr int kMargin = 40; // grey on either side of the paper, for the marks
constexpr int kEdge = 24;   // paper on either side of the printable width (80 mm paper, 72 printed)
constexpr int kLead = 24;   // blank paper above the first line
constexpr int kTail = 56;   // below the last: room for the marks of the end of the job
constexpr QRgb kCutColour = 0xff505050;     // the dashed cut line and its scissors
constexpr QRgb kDrawerColour = 0xff1565c0;  // the drawer mark
constexpr QRgb kUnknownColour = 0xffd00000; // a byte the printer does not understand

QSize size(const Paper& paper);
// Where the paper's dot (0, 0) lands in the picture.
inline QPoint origin() {
    return QPoint(kMargin + kEdge, kLead);
}

// Needs a QGuiApplication (fonts).
void paint(const Paper& paper, QPainter& painter);
QImage image(const Paper& paper);

// Why save() cannot write a picture named path (its ending is not .png, .svg or .html), or
// the empty text when it can.
QString formatProblem(const QString& path);

// Writes the picture to path, as PNG, SVG or an HTML page holding the PNG, chosen by the file
// name's ending; false with a reason in error otherwise.
bool save(const Paper& paper, const QString& path, const QString& title, QString* error);
} // namespace ReceiptPainter
