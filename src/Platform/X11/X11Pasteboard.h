#pragma once

#include "Platform/Pasteboard.h"

#include <QHash>
#include <QPointer>

#include <memory>

class QClipboard;
class QMimeData;
class X11ClipboardReader;

// The CLIPBOARD selection. Changes and writes go through QClipboard: Qt's xcb plugin learns of foreign
// copies from XFixes selection notifications, and keeps serving what we wrote from its own hidden
// window for as long as the process lives. Reads go through an X11ClipboardReader on a thread and
// connection of its own, because QClipboard reads block the GUI thread for as long as the owner takes
// (up to 5 s per request). Off X11, Qt's clipboard is private to the process and is read in place.
class X11Pasteboard final : public Pasteboard
{
    Q_OBJECT
public:
    explicit X11Pasteboard(QObject *parent = nullptr);
    ~X11Pasteboard() override;

    qint64 changeCount() const override { return m_changeCount; }
    void requestContent(const PasteboardRequest &request, QObject *context, ContentHandler handler) override;
    bool write(QMimeData *data) override;
    void clear() override;

    // Whether reads happen on the reader's thread rather than in place.
    bool readsInBackground() const { return m_reader != nullptr; }

private:
    struct PendingRequest
    {
        QPointer<QObject> context;
        ContentHandler handler;
    };

    void deliver(quint64 requestId, const PasteboardContent &content);
    PasteboardContent readInPlace(const PasteboardRequest &request) const;

    QClipboard *m_clipboard;
    qint64 m_changeCount = 0;
    QHash<quint64, PendingRequest> m_pending;
    // Last, so that its thread has stopped before anything it reports to is gone.
    std::unique_ptr<X11ClipboardReader> m_reader;
};
