#pragma once

#include "Clipboard/ClipboardHistoryEntry.h"

#include <QString>

#include <optional>

// Ranking of history entries against the search field.
class ClipboardSearch final
{
public:
    // Case- and diacritic-insensitive fold, trimmed.
    static QString normalized(const QString &text);

    // Exact-rule score (100/90/75/55/35/25) or the fuzzy score; nullopt when the entry does not match.
    // The query must already be normalized and non-empty.
    static std::optional<int> score(const ClipboardHistoryEntry &entry, const QString &normalizedQuery);

    // Subsequence match rewarding adjacent runs (7, 8, 9 …) over scattered characters (2 each).
    // Compares code points, so a character outside the BMP is one character.
    static std::optional<int> fuzzyScore(const QString &query, const QString &haystack);

    // Empty query: entries unchanged. Otherwise matches only, best score first, newer first on ties.
    static ClipboardHistoryEntries rank(const ClipboardHistoryEntries &entries, const QString &query);
};
