#pragma once

#include "Clipboard/ClipboardCapture.h"
#include "Clipboard/ClipboardHistoryEntry.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <optional>

class ClipboardStore;
class FrontmostApplication;
class Pasteboard;
class QTimer;
struct PasteboardContent;

// What the monitor needs from the application state.
class ClipboardMonitorDelegate
{
public:
    virtual ~ClipboardMonitorDelegate() = default;
    // Clipboard history switched on and not paused.
    virtual bool isCaptureEnabled() const = 0;
    virtual void reportStatus(const QString &message) = 0;
    // Nobody owns the clipboard any more: the program that copied has gone and took its copy along.
    virtual void clipboardEmptied() {}
};

// Watches the clipboard and records every new content in the store (which announces it). It reacts to the
// pasteboard's change notification at once and also polls the change count, so a missed notification
// delays a capture but never loses it: every 0.45 s where the platform may miss a change, every 5 s as a
// fallback where it reports every one (X11), so that an idle monitor sleeps. The content is read and the
// capture built (hashing included) where the pasteboard reads, off the GUI thread on X11; only the store is
// written here. GUI thread only.
class ClipboardMonitor final : public QObject
{
    Q_OBJECT
public:
    static constexpr int frequentPollMs = 450;
    static constexpr int fallbackPollMs = 5000;

    // Whatever the clipboard holds now counts as seen: it is not captured.
    ClipboardMonitor(Pasteboard *pasteboard, ClipboardStore *store,
                     FrontmostApplication *frontmostApplication, ClipboardMonitorDelegate *delegate,
                     QObject *parent = nullptr);
    ~ClipboardMonitor() override;

    // Starts listening and polling; calling it again does nothing.
    void start();
    bool isStarted() const { return m_started; }
    int pollIntervalMs() const { return m_pollIntervalMs; }
    // 0: notifications alone.
    void setPollIntervalMs(int intervalMs);
    qint64 lastChangeCount() const { return m_lastChangeCount; }

    // One step: when the change count moved, asks for the new content, to be recorded unless capture is
    // off, or the content is Halcy's own, secret, transient or generated, or too large. An answer that
    // arrives after a newer change is dropped.
    void poll();

    // Whether a copy offering these types must not be recorded, decided before any data is read.
    static bool isExcluded(const QStringList &types);

private:
    // The capture without its source, from what the pasteboard read; runs on the reading thread.
    static std::optional<ClipboardCapture> buildCapture(const PasteboardContent &content);
    void record(const PasteboardContent &content, std::optional<ClipboardCapture> capture);
    QString sourceAppName() const;

    QPointer<Pasteboard> m_pasteboard;
    QPointer<ClipboardStore> m_store;
    FrontmostApplication *m_frontmostApplication;
    ClipboardMonitorDelegate *m_delegate;
    QTimer *m_timer;
    int m_pollIntervalMs;
    bool m_started = false;
    qint64 m_lastChangeCount = 0;
};
