#pragma once

#include "Clipboard/ClipboardHistoryEntry.h"

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>

// A titled group of entries in the history list: "Pinned" first, then one section per day.
struct ClipboardListSection
{
    QString id;
    QString title;
    ClipboardHistoryEntries entries;

    // Entries arrive filtered and ordered (newest first); `now` and `locale` are injected for tests.
    static QList<ClipboardListSection> group(const ClipboardHistoryEntries &entries, const QDateTime &now,
                                             const QLocale &locale = QLocale());

    friend bool operator==(const ClipboardListSection &a, const ClipboardListSection &b)
    {
        return a.id == b.id && a.title == b.title && a.entries == b.entries;
    }
};
