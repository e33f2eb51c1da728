#pragma once

#include "App/AppCommanding.h"

#include <QPointer>
#include <QString>

#include <memory>

class AppState;
class ClipboardStore;
class Preferences;
class StatusItemController;

// Owns every service, builds them in a fixed order, and carries out every command. One per process.
class AppCoordinator final : public AppCommanding
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

    static constexpr int clearRecentHistorySeconds = 1800;

    explicit AppCoordinator(const Locations &locations = Locations::standard(), QObject *parent = nullptr);
    ~AppCoordinator() override;

    // Brings the interface up; a second call does nothing.
    void start();
    // Leaves nothing on screen: run once when the application is about to quit.
    void shutdown();

    AppState *appState() const { return m_appState.get(); }
    ClipboardStore *clipboardStore() const { return m_clipboardStore.get(); }
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
    void openClipboardStore(const QString &historyPath);
    void reloadEntries();

    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<AppState> m_appState;
    std::unique_ptr<StatusItemController> m_statusItemController;
    std::unique_ptr<ClipboardStore> m_clipboardStore;
    bool m_shutDown = false;
};
