#pragma once

#include "Clipboard/ClipboardMonitor.h"

#include <QList>
#include <QStringList>

// Stands in for the application state behind a ClipboardMonitor: capture can be switched off, and
// every publication and status message is kept for the test to read.
class RecordingMonitorDelegate final : public ClipboardMonitorDelegate
{
public:
    bool enabled = true;
    QList<ClipboardHistoryEntries> published;
    QStringList messages;

    int publications() const { return int(published.size()); }

    bool isCaptureEnabled() const override { return enabled; }
    void publishEntries(const ClipboardHistoryEntries &entries) override { published.append(entries); }
    void reportStatus(const QString &message) override { messages.append(message); }
};
