#pragma once

#include "App/SettingsTab.h"
#include "Clipboard/ClipboardHistoryEntry.h"
#include "Clipboard/PasteMode.h"

#include <QObject>
#include <QUuid>

// The commands that windows, the tray icon, the global shortcuts and the command line may call.
// Outcomes come back only through AppState. Holders keep a QPointer, so a call after the
// coordinator is gone does nothing.
class AppCommanding : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual void toggleHub() = 0;
    virtual void toggleMirror() = 0;
    virtual void toggleDesktopCover() = 0;
    virtual void copyEntry(const ClipboardHistoryEntry &entry, PasteMode mode) = 0;
    virtual void pasteEntry(const ClipboardHistoryEntry &entry, PasteMode mode) = 0;
    virtual void togglePin(const QUuid &entryID) = 0;
    virtual void deleteEntry(const QUuid &entryID) = 0;
    virtual void clearHistory() = 0;
    virtual void clearRecentHistory() = 0;
    virtual void openSettings() = 0;
    virtual void openSettingsAtTab(SettingsTab tab) = 0;
    virtual void refreshPermissions() = 0;
    virtual void checkForUpdates() = 0;
    // Asks the camera and the microphone for their device lists again.
    virtual void refreshDevices() = 0;
    // Every preference back to its default; the history, onboarding and chosen devices stay.
    virtual void resetSettings() = 0;
    // Opens the desktop's own settings page for a permission, where it has one.
    virtual void openPermissionSettings(const QString &permissionID) = 0;
    virtual void quit() = 0;
};
