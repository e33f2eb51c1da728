#include "Shell/StatusItemController.h"

#include "App/AppCommanding.h"
#include "App/AppState.h"
#include "Core/Logging.h"
#include "UI/HubPopover.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>

StatusItemController::StatusItemController(AppState *appState, AppCommanding *commander,
                                           const QString &databasePath, QObject *parent)
    : QObject(parent), m_appState(appState), m_commander(commander), m_menu(std::make_unique<QMenu>()),
      m_trayIcon(std::make_unique<QSystemTrayIcon>()),
      m_popover(std::make_unique<HubPopover>(appState, commander, databasePath))
{
    m_menu->setObjectName(QStringLiteral("statusItemMenu"));
    connect(m_menu.get(), &QMenu::aboutToShow, this, &StatusItemController::rebuildMenu);
    rebuildMenu();
    m_trayIcon->setContextMenu(m_menu.get());

    configureButton(appState->mirrorOpen());
    // The glyph turns to its active variant while the mirror is open or the desktop is hidden: both
    // leave something on screen that the tray icon answers for.
    for (auto changed : {&AppState::mirrorOpenChanged, &AppState::desktopHiddenChanged}) {
        connect(appState, changed, this, [this] {
            if (m_appState)
                configureButton(m_appState->mirrorOpen());
        });
    }
    connect(m_trayIcon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                // Right click (Context) shows the menu through the tray itself; it never opens the hub. Two
                // quick clicks arrive as Trigger then DoubleClick: open, then close, like two slow ones.
                if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
                    togglePopover();
            });

    if (!QSystemTrayIcon::isSystemTrayAvailable())
        qCInfo(lcApp) << "This desktop offers no system tray: no icon is shown; the global shortcut and"
                         " 'halcy show' still open Halcy";
    m_trayIcon->show();
    // Build the hub once the tray icon is up, so that the first shortcut press shows it quickly.
    QTimer::singleShot(0, m_popover.get(), &HubPopover::preload);
}

StatusItemController::~StatusItemController()
{
    m_trayIcon->hide();
}

bool StatusItemController::isTrayAvailable() const
{
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void StatusItemController::togglePopover()
{
    m_popover->toggle(m_trayIcon->isVisible() ? m_trayIcon->geometry() : QRect());
}

void StatusItemController::closePopover()
{
    m_popover->close();
}

bool StatusItemController::isPopoverShown() const
{
    return m_popover->isShown();
}

QString StatusItemController::toolTip(bool mirrorOpen)
{
    return mirrorOpen ? QStringLiteral("Halcy — Mirror active") : QStringLiteral("Halcy");
}

QIcon StatusItemController::makeIcon(bool active)
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal unit = size / 18.0;

        // A rounded lens with a small clip on top: readable on light and dark panels thanks to the
        // dark rim around the light body.
        const QRectF body(2.5 * unit, 3.5 * unit, 13 * unit, 12 * unit);
        QPainterPath lens;
        lens.addRoundedRect(body, 3.5 * unit, 3.5 * unit);
        const QColor bodyColor = active ? QColor(0xff, 0x5a, 0x4e) : QColor(0xf2, 0xf2, 0xf4);
        painter.setPen(QPen(QColor(20, 21, 26, 220), qMax(1.0, 1.1 * unit)));
        painter.setBrush(bodyColor);
        painter.drawPath(lens);

        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(20, 21, 26));
        painter.drawRoundedRect(QRectF(6.5 * unit, 1.5 * unit, 5 * unit, 3.2 * unit), 1.2 * unit, 1.2 * unit);

        // Two history lines, or a live dot while active.
        if (active) {
            painter.setBrush(Qt::white);
            painter.drawEllipse(QPointF(9 * unit, 9.8 * unit), 2.8 * unit, 2.8 * unit);
        } else {
            painter.setBrush(QColor(20, 21, 26));
            painter.drawRoundedRect(QRectF(5.5 * unit, 7.8 * unit, 7 * unit, 1.4 * unit), 0.7 * unit,
                                    0.7 * unit);
            painter.drawRoundedRect(QRectF(5.5 * unit, 10.8 * unit, 5 * unit, 1.4 * unit), 0.7 * unit,
                                    0.7 * unit);
        }
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void StatusItemController::configureButton(bool mirrorOpen)
{
    m_trayIcon->setIcon(makeIcon(mirrorOpen || (m_appState && m_appState->desktopHidden())));
    m_trayIcon->setToolTip(toolTip(mirrorOpen));
}

// The global shortcut goes after a tab, where QMenu right-aligns shortcut text, written as the desktop
// writes it rather than as QKeySequence would ("Meta+Ctrl+M").
QString StatusItemController::withShortcut(const QString &title, const QString &shortcutID) const
{
    const QString shortcut = m_appState ? m_appState->shortcutText(shortcutID) : QString();
    return shortcut.isEmpty() ? title : title + QLatin1Char('\t') + shortcut;
}

void StatusItemController::rebuildMenu()
{
    m_menu->clear();
    auto command = [this](auto method) {
        return [this, method] {
            if (m_commander)
                (m_commander.data()->*method)();
        };
    };

    QAction *open = m_menu->addAction(QStringLiteral("Open Halcy"));
    connect(open, &QAction::triggered, this, &StatusItemController::togglePopover);
    m_menu->addSeparator();

    QAction *mirror =
        m_menu->addAction(withShortcut(QStringLiteral("Mirror"), QStringLiteral("mirror.toggle")));
    connect(mirror, &QAction::triggered, this, command(&AppCommanding::toggleMirror));

    QAction *desktop =
        m_menu->addAction(withShortcut(QStringLiteral("Hide Desktop"), QStringLiteral("desktop.toggle")));
    desktop->setCheckable(true);
    desktop->setChecked(m_appState && m_appState->desktopHidden());
    connect(desktop, &QAction::triggered, this, command(&AppCommanding::toggleDesktopCover));
    m_menu->addSeparator();

    QAction *pause = m_menu->addAction(QStringLiteral("Pause recording"));
    pause->setCheckable(true);
    pause->setChecked(m_appState && m_appState->clipboardPaused());
    pause->setEnabled(m_appState && m_appState->clipboardEnabled());
    connect(pause, &QAction::toggled, this, [this](bool paused) {
        if (m_appState)
            m_appState->setClipboardPaused(paused);
    });
    m_menu->addSeparator();

    QAction *settings = m_menu->addAction(QStringLiteral("Settings..."));
    settings->setShortcut(QKeySequence(QStringLiteral("Ctrl+,")));
    connect(settings, &QAction::triggered, this, command(&AppCommanding::openSettings));

    QAction *quit = m_menu->addAction(QStringLiteral("Quit Halcy"));
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    connect(quit, &QAction::triggered, this, command(&AppCommanding::quit));

    // The menu's shortcuts are shown for reference; only the global ones act outside the menu.
    for (QAction *action : m_menu->actions())
        action->setShortcutContext(Qt::WidgetShortcut);
}

void StatusItemController::showMessage(const QString &message)
{
    if (m_trayIcon->isVisible() && QSystemTrayIcon::supportsMessages())
        m_trayIcon->showMessage(QStringLiteral("Halcy"), message, QSystemTrayIcon::Warning, 10000);
    else
        qCWarning(lcApp).noquote() << message;
}
