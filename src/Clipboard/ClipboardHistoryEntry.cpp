#include "Clipboard/ClipboardHistoryEntry.h"

#include <QHashFunctions>

bool operator==(const ClipboardHistoryEntry &a, const ClipboardHistoryEntry &b)
{
    return a.id == b.id && a.title == b.title && a.preview == b.preview && a.type == b.type &&
           a.sourceAppName == b.sourceAppName && a.timestamp == b.timestamp && a.isPinned == b.isPinned &&
           a.textContent == b.textContent && a.textLeftInStore == b.textLeftInStore &&
           a.fileURLStrings == b.fileURLStrings && a.imageBookmark == b.imageBookmark;
}

size_t qHash(const ClipboardHistoryEntry &entry, size_t seed) noexcept
{
    // Every field that takes part in equality, so equal entries hash alike.
    QtPrivate::QHashCombine combine;
    seed = combine(seed, entry.id);
    seed = combine(seed, entry.title);
    seed = combine(seed, entry.preview);
    seed = combine(seed, static_cast<int>(entry.type));
    seed = combine(seed, entry.sourceAppName);
    seed = combine(seed, entry.timestamp);
    seed = combine(seed, entry.isPinned);
    seed = combine(seed, entry.textContent.value_or(QString()));
    seed = combine(seed, entry.textContent.has_value());
    seed = combine(seed, entry.textLeftInStore);
    seed = combine(seed, entry.fileURLStrings);
    seed = combine(seed, entry.imageBookmark.value_or(QString()));
    seed = combine(seed, entry.imageBookmark.has_value());
    return seed;
}
