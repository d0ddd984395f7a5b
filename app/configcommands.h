// The integrators' commands of pastrel-config over $HOME/.pastrel/conf/pastrel.conf: show as a
// tree, set one value from a script, check for mistakes. Each returns the program's exit status.
//
// Choices (docs/configuration.md):
//  - show prints the top item (the file's path), then each group's settings sorted by name and
//    then its groups in file order, four more blanks per level; settings as "name = value".
//    Every top-level group is shown, also those that lookups never reach.
//  - set writes the whole file anew in the store's own layout (settings sorted by name, quotes
//    around every value): first into a new file beside it, then renamed over it, so a till never
//    finds half a file and no tail of the old one stays. The old file's permissions are kept; a
//    symbolic link is followed. Only the first top-level group is kept, since nothing reads the
//    others; set says so on standard error when it drops one.
//  - set refuses (status 1, one line on standard error) a key whose first field is not the
//    file's first top-level group, a key with fewer than two fields or an empty field, names
//    holding a character of the format (": = { } ; \"" or blanks at either end), and values
//    holding a semicolon or a double quote, which the format cannot carry.
//  - check prints one line per finding on standard output and nothing when all is well; status
//    1 when it found something, 0 otherwise. A missing file is a finding.
#pragma once

#include <QString>

int showTree();
int setSetting(const QString& key, const QString& value);
int checkConfiguration();
