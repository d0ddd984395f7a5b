// configTool(): the command line of pastrel-config, the maintainers' tool over the till's
// configuration file ($HOME/.pastrel/conf/pastrel.conf). main() returns its result.
//
//   pastrel-config show       the tree, indented (configcommands.h)
//   pastrel-config get KEY    one value and a line end (the empty line when absent or empty)
//   pastrel-config set KEY VALUE   one value set, missing groups created (configcommands.h)
//   pastrel-config check      keys nothing reads, flags not exactly "true", a catalogue or
//                             logo that cannot be found; status 1 on any (configcommands.h)
//   pastrel-config edit       a window on the tree; value items are renamed in place and the
//                             file is saved with loadListView when the window closes
//   pastrel-config help       the usage line and a summary on standard output, status 0
//   pastrel-config logo IMAGE [RASTER]  the shop's logo made ready for an ESC/POS printer
//                             (logotool.h)
//   pastrel-config spool list|send|drop   the jobs waiting for a printer (spooltool.h)
//   pastrel-config init [--force] MODEL   a first configuration from a sample (firstrun.h)
//   pastrel-config test-page [--drawer] OUTPUT   a test page on the printer (testpage.h)
//   pastrel-config --version  "pastrel-config" and the version, status 0
//
// Choices (docs/configuration.md):
//  - No arguments, an unknown command or a wrong count: the usage line on standard error and
//    status 2 (the usual status of a usage error; scripts can tell it from a run). The
//    document compiler's "always 0" rule is about pastrel-print, not this tool.
//  - show and get open no window and need no display: no QApplication is created for them.
//  - get takes KEY's bytes as Latin-1 and prints the value's Latin-1 bytes, the reader's own rule
//    (one byte, one character), so any byte sequence in the file is found and printed unchanged.
//  - edit without a display (no DISPLAY, WAYLAND_DISPLAY or QT_QPA_PLATFORM) says so on standard
//    error and returns 1 instead of letting the toolkit abort.
#pragma once

int configTool(int argc, char** argv);
