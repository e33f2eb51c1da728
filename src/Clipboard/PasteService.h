#pragma once

#include "Clipboard/ClipboardHistoryEntry.h"
#include "Clipboard/PasteMode.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>

#include <optional>

class FrontmostApplication;
class KeystrokePoster;
class Pasteboard;
struct PasteboardContent;

// Puts history entries back on the clipboard and types the paste shortcut for the user. Every write
// carries the own-paste marker, so the monitor does not record it again. GUI thread only.
class PasteService final : public QObject
{
    Q_OBJECT
public:
    // Without `frontmostApplication` every paste is Control+V.
    PasteService(Pasteboard *pasteboard, KeystrokePoster *keystrokePoster,
                 FrontmostApplication *frontmostApplication = nullptr, QObject *parent = nullptr);
    ~PasteService() override;

    // Replaces the clipboard with the entry: its text (trimmed in plainText mode), its files (as
    // text/uri-list plus their paths as text) or its image (the PNG bytes given). True when content was
    // written. An entry that yields no content (no valid file URL left, missing or undecodable image
    // bytes) returns false and leaves the clipboard holding nothing but the marker, as if cleared:
    // the user asked for that entry, so the previous content would be the wrong thing to paste.
    bool write(const ClipboardHistoryEntry &entry, PasteMode mode,
               const std::optional<QByteArray> &imageBytes);

    // Makes a content read with keepEveryType ours, every type as it was offered, so that it outlives
    // the program that copied it. Marked as our own, so it is not recorded again. False when there
    // was nothing to take or the write failed.
    bool adopt(const PasteboardContent &content);

    // Whether postPasteKeystroke() can work on this display.
    bool canPostKeystrokes() const;
    // Types the paste shortcut of whatever has the keyboard focus: Control+V, or what a terminal
    // takes instead.
    bool postPasteKeystroke();

private:
    QPointer<Pasteboard> m_pasteboard;
    KeystrokePoster *m_keystrokePoster;
    FrontmostApplication *m_frontmostApplication;
};
