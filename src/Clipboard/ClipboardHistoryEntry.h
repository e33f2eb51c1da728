#pragma once

#include "Clipboard/ClipboardContentType.h"

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

// One history item as the interface shows it. Image bytes and the fingerprint stay in the store.
struct ClipboardHistoryEntry
{
    QUuid id;
    QString title;
    QString preview;
    ClipboardContentType type = ClipboardContentType::text;
    QString sourceAppName;
    QDateTime timestamp;
    bool isPinned = false;
    std::optional<QString> textContent;
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
