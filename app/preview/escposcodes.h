// Control bytes of Epson-compatible (ESC/POS) receipt printers that a pastrel job may carry, one
// named constant each. The preview reads them back; the command forms are in receiptdecoder.cpp.
#pragma once

namespace EscPosCodes {
constexpr char DLE = '\x10'; // DLE EOT n: status query, only on a live connection
constexpr char EOT = '\x04';
constexpr char ESC = '\x1b';
constexpr char GS = '\x1d';
constexpr char INIT = '@';          // ESC @: initialise, the first bytes of every job
constexpr char INTERNATIONAL = 'R'; // ESC R n: international character set (0 = USA)
constexpr char CODE_PAGE = 't';     // ESC t n: code page by its Epson number
constexpr char BOLD = 'E';          // ESC E n: bold on (1) or off (0)
constexpr char JUSTIFY = 'a';       // ESC a n: 0 left, 1 centre, 2 right
constexpr char FEED_LINES = 'd';    // ESC d n: print and feed n lines
constexpr char PULSE = 'p';         // ESC p m t1 t2: drawer pulse on pin m
constexpr char SIZE = '!';          // GS ! n: width and height multipliers
constexpr char CUT = 'V';           // GS V m [n]: cut
constexpr char RASTER = 'v';        // GS v 0 m xL xH yL yH d...: raster image
constexpr char RASTER_FORM = '0';

constexpr unsigned char kCutFull = 0, kCutPartial = 1;                     // GS V m, also '0' '1'
constexpr unsigned char kCutFullAfterFeed = 65, kCutPartialAfterFeed = 66; // GS V m n
constexpr int kMaxSizeMultiplier = 8; // GS ! accepts 1 to 8 in each direction
} // namespace EscPosCodes
