// `pastrel-config logo IMAGE [RASTER]`: converts the shop's logo, once, when the till is set up,
// into the raster file the ESC/POS back-end prints (driver/logoraster.h). The conversion needs
// Qt Gui to read the image; pastrel-print, which prints every document, never links it.
#pragma once

#include <QString>

// Converts imagePath to the printer's width and writes the raster file to rasterPath, or, when
// that is empty, to the file pastrel.printer.logo names ($HOME/.pastrel/conf/logo.raster when
// the key is absent). Reports on standard output; returns the exit status.
int convertLogo(const QString& imagePath, const QString& rasterPath);
