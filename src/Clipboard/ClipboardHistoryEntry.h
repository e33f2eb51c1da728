#pragma once

#include "Clipboard/ClipboardContentType.h"

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

// One history item as the interface shows it. Image bytes, the fingerprint and long texts stay in the
// store.
struct ClipboardHistoryEntry
{
    // Texts up to this many UTF-16 units come along; longer ones are read back when pasted.
    static constexpr qsizetype inlineTextLength = 16 * 1024;

    QUuid id;
    QString title;
    QString preview;
    ClipboardContentType type = ClipboardContentType::text;
    QString sourceAppName;
    QDateTime timestamp;
    bool isPinned = false;
    std::optional<QString> textContent;
    // A text too long to come along: textContent is empty, ClipboardStore::withFullText() reads it.
    bool textLeftInStore = false;
    QStringList fileURLStrings;
    std::optional<QString> imageBookmark;

    friend bool operator==(const ClipboardHistoryEntry &a, const ClipboardHistoryEntry &b);
    friend bool operator!=(const ClipboardHistoryEntry &a, const ClipboardHistoryEntry &b)
    {
        return !(a == b);
    }
};

size_t qHash(const ClipboardHistoryEntry &entry, size_t seed = 0) noexcept;

using ClipboardHistoryEntries = QList<ClipboardHistoryEntry>;

Q_DECLARE_METATYPE(ClipboardHistoryEntry)
