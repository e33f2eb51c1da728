#pragma once

#include <QIcon>
#include <QObject>
#include <QPointer>

#include <memory>

class AppCommanding;
class AppState;
class HubPopover;
class QMenu;
class QSystemTrayIcon;

// The tray icon: left click toggles the hub, right click opens the menu, and the icon and tooltip
// follow whether the mirror is open.
class StatusItemController final : public QObject
{
    Q_OBJECT
public:
    // `databasePath` lets the hub show image thumbnails; empty when history is in memory only.
    StatusItemController(AppState *appState, AppCommanding *commander, const QString &databasePath,
                         QObject *parent = nullptr);
    ~StatusItemController() override;

    bool isTrayAvailable() const;
    QSystemTrayIcon *trayIcon() const { return m_trayIcon.get(); }
    QMenu *menu() const { return m_menu.get(); }
    HubPopover *popover() const { return m_popover.get(); }

    void togglePopover();
    void closePopover();
    bool isPopoverShown() const;
    // A balloon at the tray icon, for desktops without a notification service.
    void showMessage(const QString &message);

    // Drawn in code: the plain glyph, or the coloured "active" one while the mirror is open or the
    // desktop is hidden.
    static QIcon makeIcon(bool active);
    static QString toolTip(bool mirrorOpen);

private:
    void configureButton(bool mirrorOpen);
    void rebuildMenu();
    QString withShortcut(const QString &title, const QString &shortcutID) const;

    QPointer<AppState> m_appState;
    QPointer<AppCommanding> m_commander;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_trayIcon;
    std::unique_ptr<HubPopover> m_popover;
};
