#pragma once

#include "App/AppCommanding.h"

#include <QStringList>

// Records every command instead of carrying it out: `calls` lists them by name in order, and the id
// (of the entry, for copy and paste) and mode last handed over are kept.
class RecordingCommander final : public AppCommanding
{
    Q_OBJECT
public:
    using AppCommanding::AppCommanding;

    QStringList calls;
    PasteMode lastMode = PasteMode::formatted;
    QUuid lastID;

    void toggleHub() override { calls << __func__; }
    void toggleMirror() override { calls << __func__; }
    void toggleDesktopCover() override { calls << __func__; }
    void copyEntry(const ClipboardHistoryEntry &e, PasteMode mode) override { take(__func__, e.id, mode); }
    void pasteEntry(const ClipboardHistoryEntry &e, PasteMode mode) override { take(__func__, e.id, mode); }
    void togglePin(const QUuid &id) override { take(__func__, id); }
    void deleteEntry(const QUuid &id) override { take(__func__, id); }
    void clearHistory() override { calls << __func__; }
    void clearRecentHistory() override { calls << __func__; }
    void openSettings() override { calls << __func__; }
    void openSettingsAtTab(SettingsTab) override { calls << __func__; }
    void refreshPermissions() override { calls << __func__; }
    void checkForUpdates() override { calls << __func__; }
    void refreshDevices() override { calls << __func__; }
    void resetSettings() override { calls << __func__; }
    void openPermissionSettings(const QString &) override { calls << __func__; }
    void quit() override { calls << __func__; }

private:
    void take(const char *name, const QUuid &id, PasteMode mode = PasteMode::formatted)
    {
        calls << name;
        lastID = id;
        lastMode = mode;
    }
};
