#pragma once

#include "Platform/Pasteboard.h"

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QList>
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
//
// As the desktop's clipboard manager it owns the CLIPBOARD_MANAGER selection from a window of its own on
// Qt's connection, and answers SAVE_TARGETS requests of exiting programs once the content is ours.
class X11Pasteboard final : public Pasteboard, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    explicit X11Pasteboard(QObject *parent = nullptr);
    ~X11Pasteboard() override;

    qint64 changeCount() const override { return m_changeCount; }
    // Where the X server tells of every new selection owner (XFixes), Qt's xcb plugin passes each on.
    bool reportsEveryChange() const override { return m_reportsEveryChange; }
    void requestContent(const PasteboardRequest &request, QObject *context, ContentHandler handler) override;
    bool write(QMimeData *data) override;
    void clear() override;
    bool mirrorToSelection() override;
    bool acceptHandovers() override;
    void finishHandover(bool taken) override;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

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

    // A request from an exiting program, waiting for its answer.
    struct Handover
    {
        quint32 requestor = 0;
        quint32 property = 0;
        quint32 time = 0;
    };
    void releaseManagerSelection();

    QClipboard *m_clipboard;
    quint32 m_managerWindow = 0;
    quint32 m_managerAtom = 0;
    quint32 m_saveTargetsAtom = 0;
    quint32 m_targetsAtom = 0;
    QList<Handover> m_handovers;
    qint64 m_changeCount = 0;
    bool m_reportsEveryChange = false;
    QHash<quint64, PendingRequest> m_pending;
    // Last, so that its thread has stopped before anything it reports to is gone.
    std::unique_ptr<X11ClipboardReader> m_reader;
};
