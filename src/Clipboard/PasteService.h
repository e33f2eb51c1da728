#pragma once

#include "Clipboard/ClipboardHistoryEntry.h"
#include "Clipboard/PasteMode.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>

#include <optional>

class KeystrokePoster;
class Pasteboard;

// Puts history entries back on the clipboard and types the paste shortcut for the user. Every write
// carries the own-paste marker, so the monitor does not record it again. GUI thread only.
class PasteService final : public QObject
{
    Q_OBJECT
public:
    PasteService(Pasteboard *pasteboard, KeystrokePoster *keystrokePoster, QObject *parent = nullptr);
    ~PasteService() override;

    // Replaces the clipboard with the entry: its text (trimmed in plainText mode), its files (as
    // text/uri-list plus their paths as text) or its image (the PNG bytes given). True when content was
    // written. An entry that yields no content (no valid file URL left, missing or undecodable image
    // bytes) returns false and leaves the clipboard holding nothing but the marker, as if cleared:
    // the user asked for that entry, so the previous content would be the wrong thing to paste.
    bool write(const ClipboardHistoryEntry &entry, PasteMode mode,
               const std::optional<QByteArray> &imageBytes);

    // Whether postPasteKeystroke() can work on this display.
    bool canPostKeystrokes() const;
    // Types the paste shortcut into whatever has the keyboard focus.
    bool postPasteKeystroke();

private:
    QPointer<Pasteboard> m_pasteboard;
    KeystrokePoster *m_keystrokePoster;
};
