#pragma once

#include "App/AppCommanding.h"
#include "Clipboard/ClipboardMonitor.h"
#include "Desktop/DesktopCoverManager.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <memory>

class AppState;
class CameraBackend;
class MicrophoneLevelMonitor;
class MirrorCameraEngine;
class MirrorWindowController;
class ClipboardStore;
class DesktopNotifier;
class FrontmostApplication;
class HotkeyManager;
class HotkeyRegistrar;
class KeystrokePoster;
class LoginItem;
class OnboardingWindowController;
class PermissionProbe;
class Permissions;
class SettingsWindowController;
class UpdateProvider;
struct UpdateCheckResult;
class Pasteboard;
class PasteService;
class Preferences;
class StatusItemController;

// Owns every service, builds them in a fixed order, and carries out every command. One per process.
class AppCoordinator final : public AppCommanding, private ClipboardMonitorDelegate
{
    Q_OBJECT
public:
    // Where the coordinator keeps its files; tests point these at temporary directories.
    struct Locations
    {
        QString preferencesPath;
        QString historyPath;
        // Where windows keep their positions.
        QString windowStatePath;
        // Empty: this build's feed.
        QUrl updateFeedURL = builtInFeedURL();
        static Locations standard();
        static QUrl builtInFeedURL();
    };

    // The desktop behind the platform seam; tests hand in fakes.
    struct Platform
    {
        std::unique_ptr<Pasteboard> pasteboard;
        std::unique_ptr<KeystrokePoster> keystrokePoster;
        std::unique_ptr<FrontmostApplication> frontmostApplication;
        // Null: the registrar of the running platform.
        std::unique_ptr<HotkeyRegistrar> hotkeyRegistrar;
        // Null: the probe and login item of the running system.
        std::unique_ptr<PermissionProbe> permissionProbe;
        std::unique_ptr<LoginItem> loginItem;
        // Null: no notification service, messages go to the tray icon.
        std::unique_ptr<DesktopNotifier> notifier;
        // Null: the cameras Qt Multimedia lists.
        std::unique_ptr<CameraBackend> cameraBackend;
        DesktopCoverManager::Platform desktopCover;
        static Platform createDefault();

        Platform();
        Platform(Platform &&) noexcept;
        Platform &operator=(Platform &&) noexcept;
        ~Platform();
    };

    static constexpr int clearRecentHistorySeconds = 1800;
    // How long the window manager gets to give the focus back after the hub closes for a paste.
    static constexpr int focusSettleMs = 150;
    // How long "Checking…" stays on the update button at least, so a quick answer does not flicker.
    static constexpr int updateCheckingFlagMs = 3000;
    // The same message is not shown again as a notification within this time.
    static constexpr int repeatedNotificationMs = 60000;

    explicit AppCoordinator(const Locations &locations = Locations::standard(),
                            Platform platform = Platform::createDefault(), QObject *parent = nullptr);
    ~AppCoordinator() override;

    // Brings the interface up; a second call does nothing.
    void start();
    // Leaves nothing on screen: run once when the application is about to quit.
    void shutdown();

    AppState *appState() const { return m_appState.get(); }
    ClipboardStore *clipboardStore() const { return m_clipboardStore.get(); }
    ClipboardMonitor *clipboardMonitor() const { return m_clipboardMonitor.get(); }
    HotkeyManager *hotkeyManager() const { return m_hotkeyManager.get(); }
    DesktopCoverManager *desktopCoverManager() const { return m_desktopCoverManager.get(); }
    StatusItemController *statusItemController() const { return m_statusItemController.get(); }
    SettingsWindowController *settingsWindowController() const { return m_settingsWindowController.get(); }
    OnboardingWindowController *onboardingController() const { return m_onboardingController.get(); }
    Permissions *permissions() const { return m_permissions.get(); }
    MirrorCameraEngine *cameraEngine() const { return m_cameraEngine.get(); }
    MicrophoneLevelMonitor *microphoneMonitor() const { return m_microphoneMonitor.get(); }
    MirrorWindowController *mirrorWindowController() const { return m_mirrorWindowController.get(); }

    void toggleHub() override;
    void toggleMirror() override;
    void toggleDesktopCover() override;
    void copyEntry(const ClipboardHistoryEntry &entry, PasteMode mode) override;
    void pasteEntry(const ClipboardHistoryEntry &entry, PasteMode mode) override;
    void togglePin(const QUuid &entryID) override;
    void deleteEntry(const QUuid &entryID) override;
    void clearHistory() override;
    void clearRecentHistory() override;
    void openSettings() override;
    void openSettingsAtTab(SettingsTab tab) override;
    void refreshPermissions() override;
    void checkForUpdates() override;
    void refreshDevices() override;
    void resetSettings() override;
    void openPermissionSettings(const QString &permissionID) override;
    void quit() override;

private:
    void runShortcut(const QString &actionID);
    void showOnboardingIfNeeded();
    void finishUpdateCheck(const UpdateCheckResult &result);
    void createMirror();
    // Hands the desktop preferences to the cover manager; a hidden desktop gets new covers.
    void applyDesktopSettings();
    void openClipboardStore(const QString &historyPath);
    // What the user must learn: on the hub's status line while the hub is open, otherwise as a
    // desktop notification (or the tray icon's message) with `details` added.
    void tellUser(const QString &message, const QString &details = QString());
    void reportUnregisteredShortcuts();
    bool writeEntry(const ClipboardHistoryEntry &entry, PasteMode mode);

    // ClipboardMonitorDelegate
    bool isCaptureEnabled() const override;
    void reportStatus(const QString &message) override;
    void clipboardEmptied() override;
    void takeHandover();

    Platform m_platform;
    QString m_historyPath;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<AppState> m_appState;
    std::unique_ptr<StatusItemController> m_statusItemController;
    std::unique_ptr<PasteService> m_pasteService;
    std::unique_ptr<MirrorCameraEngine> m_cameraEngine;
    std::unique_ptr<MicrophoneLevelMonitor> m_microphoneMonitor;
    std::unique_ptr<MirrorWindowController> m_mirrorWindowController;
    std::unique_ptr<DesktopCoverManager> m_desktopCoverManager;
    std::unique_ptr<HotkeyManager> m_hotkeyManager;
    std::unique_ptr<ClipboardStore> m_clipboardStore;
    std::unique_ptr<ClipboardMonitor> m_clipboardMonitor;
    std::unique_ptr<Permissions> m_permissions;
    std::unique_ptr<UpdateProvider> m_updateProvider;
    QString m_windowStatePath;
    std::unique_ptr<OnboardingWindowController> m_onboardingController;
    std::unique_ptr<SettingsWindowController> m_settingsWindowController;
    QElapsedTimer m_updateCheckClock;
    bool m_shutDown = false;
    bool m_storeFellBackToMemory = false;
    QHash<QString, QDeadlineTimer> m_recentNotifications;
};
