// Command bytes of Epson-compatible ESC/POS receipt printers, one named constant each: the
// sequences EscPosPrinterDriver writes, and the only ones a program reading its output meets.
#pragma once

namespace EscPosCodes {
constexpr char LF = '\x0a';  // line feed: prints the line and starts the next
constexpr char ESC = '\x1b'; // escape
constexpr char GS = '\x1d';  // group separator: prefix of the GS commands

constexpr char INITIALIZE = '@';    // ESC @: back to the printer's power-on state
constexpr char CHARACTER_SET = 'R'; // ESC R n: international character set
constexpr char CHARSET_USA = 0;     // n = 0: no letter remapped
constexpr char CODE_TABLE = 't';    // ESC t n: code page (n from the page's table)
constexpr char EMPHASIS = 'E';      // ESC E n: bold on (1) or off (0)
constexpr char JUSTIFY = 'a';       // ESC a n: 0 left, 1 centre (on the printer's own width)
constexpr char JUSTIFY_LEFT = 0;
constexpr char JUSTIFY_CENTRE = 1;
constexpr char CHARACTER_SIZE = '!'; // GS ! n: high nibble width - 1, low nibble height - 1
constexpr char CUT = 'V';            // GS V m n: feed to the cutter plus n dots, then cut
constexpr char CUT_FULL_AFTER_FEED = 65;
constexpr char CUT_PARTIAL_AFTER_FEED = 66;
constexpr char PULSE = 'p';             // ESC p m t1 t2: drawer pulse, on t1 and off t2 x 2 ms
constexpr char RASTER_IMAGE = 'v';      // GS v 0 m xL xH yL yH d...: raster bit image
constexpr char RASTER_FORMAT = '0';     // the '0' of GS v 0
constexpr char RASTER_NORMAL_SCALE = 0; // m = 0: one dot per dot
} // namespace EscPosCodes
