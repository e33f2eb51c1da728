#pragma once

#include "App/AppCommanding.h"
#include "Clipboard/ClipboardMonitor.h"

#include <QPointer>
#include <QString>

#include <memory>

class AppState;
class ClipboardStore;
class FrontmostApplication;
class HotkeyManager;
class HotkeyRegistrar;
class KeystrokePoster;
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
        static Locations standard();
    };

    // The desktop behind the platform seam; tests hand in fakes.
    struct Platform
    {
        std::unique_ptr<Pasteboard> pasteboard;
        std::unique_ptr<KeystrokePoster> keystrokePoster;
        std::unique_ptr<FrontmostApplication> frontmostApplication;
        // Null: the registrar of the running platform.
        std::unique_ptr<HotkeyRegistrar> hotkeyRegistrar;
        static Platform createDefault();

        Platform();
        Platform(Platform &&) noexcept;
        Platform &operator=(Platform &&) noexcept;
        ~Platform();
    };

    static constexpr int clearRecentHistorySeconds = 1800;
    // How long the window manager gets to give the focus back after the hub closes for a paste.
    static constexpr int focusSettleMs = 150;

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
    StatusItemController *statusItemController() const { return m_statusItemController.get(); }

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
    void quit() override;

private:
    void runShortcut(const QString &actionID);
    void openClipboardStore(const QString &historyPath);
    void reloadEntries();
    bool writeEntry(const ClipboardHistoryEntry &entry, PasteMode mode);

    // ClipboardMonitorDelegate
    bool isCaptureEnabled() const override;
    void publishEntries(const ClipboardHistoryEntries &entries) override;
    void reportStatus(const QString &message) override;

    Platform m_platform;
    QString m_historyPath;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<AppState> m_appState;
    std::unique_ptr<StatusItemController> m_statusItemController;
    std::unique_ptr<PasteService> m_pasteService;
    std::unique_ptr<HotkeyManager> m_hotkeyManager;
    std::unique_ptr<ClipboardStore> m_clipboardStore;
    std::unique_ptr<ClipboardMonitor> m_clipboardMonitor;
    bool m_shutDown = false;
};
