// KnownKeys: the one table of every configuration key that something in the suite reads:
// pastrel-print and its renderer, the printer back-ends, the logger, the utility class (database
// connection, tools folder, copy numbers). `pastrel-config check` reports every other key of a
// till's file as a mistake, so a key read anywhere new must be added here in the same change.
#pragma once

#include <QString>

#include <vector>

class KnownKeys {
public:
    struct Key {
        QString name; // the full dotted key, "pastrel.receiptdoc.paperWidth"
        bool flag;    // on only for the exact text "true"
    };

    KnownKeys() = delete;

    // Every key, grouped as the file groups them.
    static const std::vector<Key>& all();
    // The key spelt exactly so (case-sensitive, as every lookup is), or null.
    static const Key* find(const QString& name);
    // The known key a misspelt one most likely meant: one differing only in letter case first,
    // otherwise the nearest by edit distance, if at most kMaxSuggestionDistance edits away;
    // empty when none is that close.
    static QString nearest(const QString& name);

    static constexpr int kMaxSuggestionDistance = 3;
};
