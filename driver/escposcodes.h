// Command bytes of Epson-compatible ESC/POS receipt printers, one named constant each: the one
// table of them, for the sequences EscPosPrinterDriver writes and for pastrel-preview, which reads
// a job back (the forms it accepts are in app/preview/receiptdecoder.cpp).
#pragma once

namespace EscPosCodes {
constexpr char EOT = '\x04'; // end of transmission: the second byte of DLE EOT
constexpr char LF = '\x0a';  // line feed: prints the line and starts the next
constexpr char DLE = '\x10'; // data link escape: DLE EOT n asks the status, on a live link only
constexpr char ESC = '\x1b'; // escape
constexpr char FS = '\x1c';  // file separator: prefix of the FS (double-byte character) commands
constexpr char GS = '\x1d';  // group separator: prefix of the GS commands

constexpr char INITIALIZE = '@';    // ESC @: back to the printer's power-on state; opens every job
constexpr char CHARACTER_SET = 'R'; // ESC R n: international character set
constexpr char CHARSET_USA = 0;     // n = 0: no letter remapped
constexpr char CODE_TABLE = 't';    // ESC t n: code page (n from the page's table)
constexpr char CANCEL_KANJI = '.';  // FS .: leave the double-byte (Chinese) character mode
constexpr char FONT = 'M';          // ESC M n: font A (0, normal) or B (1, condensed)
constexpr char FONT_NORMAL = 0;
constexpr char FONT_CONDENSED = 1;
constexpr char EMPHASIS = 'E'; // ESC E n: bold on (1) or off (0)
constexpr char JUSTIFY = 'a';  // ESC a n: 0 left, 1 centre, 2 right (on the printer's width)
constexpr char JUSTIFY_LEFT = 0;
constexpr char JUSTIFY_CENTRE = 1;
constexpr char JUSTIFY_RIGHT = 2;
constexpr char FEED_LINES = 'd';      // ESC d n: print and feed n lines
constexpr char CHARACTER_SIZE = '!';  // GS ! n: high nibble width - 1, low nibble height - 1
constexpr int CHARACTER_SIZE_MAX = 8; // GS ! takes 1 to 8 times the normal width and height
constexpr char CUT = 'V';             // GS V m: cut now; GS V m n: feed to the cutter + n dots, cut
constexpr char CUT_FULL = 0;          // m of GS V m (also '0')
constexpr char CUT_PARTIAL = 1;       // m of GS V m (also '1')
constexpr char CUT_FULL_AFTER_FEED = 65;    // m of GS V m n
constexpr char CUT_PARTIAL_AFTER_FEED = 66; // m of GS V m n
constexpr char PULSE = 'p';                 // ESC p m t1 t2: drawer pulse, on t1 and off t2 x 2 ms
constexpr char RASTER_IMAGE = 'v';          // GS v 0 m xL xH yL yH d...: raster bit image
constexpr char RASTER_FORMAT = '0';         // the '0' of GS v 0
constexpr char RASTER_NORMAL_SCALE = 0;     // m = 0: one dot per dot
constexpr int RASTER_BAND_ROWS = 255;       // rows per GS v 0: some firmware reads only yL
constexpr char FEED_DOTS = 'J';             // ESC J n: print and feed n dots

// Barcodes: GS h n, GS w n and GS H n set up the next GS k m n d1...dn.
constexpr char BARCODE_HEIGHT = 'h'; // GS h n: bar height, 1 to 255 dots
constexpr char BARCODE_WIDTH = 'w';  // GS w n: the narrowest bar, 2 to 6 dots
constexpr char BARCODE_TEXT = 'H';   // GS H n: the digits none (0), above, below, both (3)
constexpr char BARCODE = 'k';        // GS k m n d1...dn: print a barcode of n bytes
constexpr char BARCODE_UPCA = 65;    // m: UPC-A, 11 or 12 digits
constexpr char BARCODE_EAN13 = 67;   // m: EAN-13, 12 or 13 digits
constexpr char BARCODE_EAN8 = 68;    // m: EAN-8, 7 or 8 digits
constexpr char BARCODE_CODE39 = 69;  // m: Code 39, the printer adds the * start and stop
constexpr char BARCODE_CODE128 = 73; // m: Code 128, the data led by its code set
constexpr char CODE128_SHIFT = '{';  // Code 128: "{B" chooses code set B, "{{" is a "{"
constexpr char CODE128_SET_B = 'B';

// QR codes: GS ( k pL pH cn fn parameters, pL + 256 pH bytes from cn on, cn '1' for a QR code.
constexpr char SYMBOL = '('; // GS ( k: the printer's two-dimensional symbols
constexpr char SYMBOL_FUNCTION = 'k';
constexpr char SYMBOL_QR = '1'; // cn
constexpr char QR_MODEL = 'A';  // fn 65: n1 model ('2': model 2), n2 0
constexpr char QR_MODEL_2 = '2';
constexpr char QR_MODULE_SIZE = 'C';      // fn 67: n dots a module, 1 to 16
constexpr char QR_ERROR_CORRECTION = 'E'; // fn 69: n '0' L, '1' M, '2' Q, '3' H
constexpr char QR_LEVEL_L = '0';
constexpr char QR_STORE = 'P';     // fn 80: '0', then the data
constexpr char QR_PRINT = 'Q';     // fn 81: '0', prints what was stored
constexpr char QR_DATA_MODE = '0'; // m of fn 80 and fn 81
} // namespace EscPosCodes
