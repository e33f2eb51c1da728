#pragma once

#include "Clipboard/ClipboardCapture.h"
#include "Clipboard/ClipboardHistoryEntry.h"

#include <QDateTime>
#include <QUuid>

// A history entry whose title, preview and text are all `title`, copied from "Terminal".
inline ClipboardHistoryEntry makeEntry(const QString &title, const QDateTime &when, bool pinned = false,
                                       ClipboardContentType type = ClipboardContentType::text)
{
    ClipboardHistoryEntry entry;
    entry.id = QUuid::createUuid();
    entry.title = entry.preview = title;
    entry.type = type;
    entry.sourceAppName = QStringLiteral("Terminal");
    entry.timestamp = when;
    entry.isPinned = pinned;
    entry.textContent = title;
    return entry;
}

inline QStringList titlesOf(const ClipboardHistoryEntries &entries)
{
    QStringList titles;
    for (const ClipboardHistoryEntry &entry : entries)
        titles.append(entry.title);
    return titles;
}

inline QDateTime secondsAgo(int seconds)
{
    return QDateTime::currentDateTime().addSecs(-seconds);
}

// A copy of `text` as the monitor would make it, copied at `when`.
inline ClipboardCapture textCapture(const QString &text, const QDateTime &when = QDateTime::currentDateTime(),
                                    const QString &source = QStringLiteral("Terminal"))
{
    ClipboardCapture capture = ClipboardCapture::fromString(text, source).value_or(ClipboardCapture());
    capture.timestamp = when;
    return capture;
}
