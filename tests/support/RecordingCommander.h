#pragma once

#include "App/AppCommanding.h"

#include <QStringList>

// Records every command instead of carrying it out: `calls` lists them by name in order, and the last
// entry and mode handed to copy or paste are kept.
class RecordingCommander final : public AppCommanding
{
    Q_OBJECT
public:
    using AppCommanding::AppCommanding;

    QStringList calls;
    ClipboardHistoryEntry lastEntry;
    PasteMode lastMode = PasteMode::formatted;
    QUuid lastID;

    int count(const QString &name) const { return int(calls.count(name)); }

    void toggleHub() override { calls << QStringLiteral("toggleHub"); }
    void toggleMirror() override { calls << QStringLiteral("toggleMirror"); }
    void toggleDesktopCover() override { calls << QStringLiteral("toggleDesktopCover"); }
    void copyEntry(const ClipboardHistoryEntry &entry, PasteMode mode) override
    {
        calls << QStringLiteral("copyEntry");
        lastEntry = entry;
        lastMode = mode;
    }
    void pasteEntry(const ClipboardHistoryEntry &entry, PasteMode mode) override
    {
        calls << QStringLiteral("pasteEntry");
        lastEntry = entry;
        lastMode = mode;
    }
    void togglePin(const QUuid &id) override
    {
        calls << QStringLiteral("togglePin");
        lastID = id;
    }
    void deleteEntry(const QUuid &id) override
    {
        calls << QStringLiteral("deleteEntry");
        lastID = id;
    }
    void clearHistory() override { calls << QStringLiteral("clearHistory"); }
    void clearRecentHistory() override { calls << QStringLiteral("clearRecentHistory"); }
    void openSettings() override { calls << QStringLiteral("openSettings"); }
    void openSettingsAtTab(SettingsTab) override { calls << QStringLiteral("openSettingsAtTab"); }
    void refreshPermissions() override { calls << QStringLiteral("refreshPermissions"); }
    void checkForUpdates() override { calls << QStringLiteral("checkForUpdates"); }
    void refreshDevices() override { calls << QStringLiteral("refreshDevices"); }
    void resetSettings() override { calls << QStringLiteral("resetSettings"); }
    void openPermissionSettings(const QString &) override
    {
        calls << QStringLiteral("openPermissionSettings");
    }
    void quit() override { calls << QStringLiteral("quit"); }
};
