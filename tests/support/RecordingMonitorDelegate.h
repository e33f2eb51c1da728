#pragma once

#include "Clipboard/ClipboardMonitor.h"
#include "Clipboard/ClipboardStore.h"

#include <QList>
#include <QStringList>

// Stands in for the application state behind a ClipboardMonitor: capture can be switched off, every
// status message is kept, and so is every entry the store announces as inserted or changed.
class RecordingMonitorDelegate final : public ClipboardMonitorDelegate
{
public:
    bool enabled = true;
    ClipboardHistoryEntries published;
    QStringList messages;

    int publications() const { return int(published.size()); }

    void watch(ClipboardStore *store)
    {
        const auto record = [this](const ClipboardHistoryEntry &entry) { published.append(entry); };
        QObject::connect(store, &ClipboardStore::entryInserted, store, record);
        QObject::connect(store, &ClipboardStore::entryChanged, store, record);
    }

    bool isCaptureEnabled() const override { return enabled; }
    void reportStatus(const QString &message) override { messages.append(message); }
};
