// Control bytes of the company's receipt printer, one named constant each.
#pragma once

namespace ControlCodes {
constexpr char LF = '\x0a';  // line feed
constexpr char CR = '\x0d';  // carriage return
constexpr char ESC = '\x1b'; // escape
constexpr char RS = '\x1e';  // record separator: the drawer pulse
constexpr char CUT = 'i';    // ESC i: full cut
constexpr char DRAWER = 'p'; // ESC p 0: open the cash drawer
constexpr char DRAWER_PIN = '0';
constexpr int kEndFeedLines = 9; // line feeds before the cut at the end of a document
} // namespace ControlCodes
