#include "UI/SettingsWindowController.h"

#include "App/AppState.h"
#include "Core/Logging.h"
#include "Core/QmlModule.h"
#include "UI/SettingsController.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QSettings>

namespace {

const QString positionKey = QStringLiteral("HalcySettingsWindow/position");

} // namespace

SettingsWindowController::SettingsWindowController(AppState *appState, AppCommanding *commander,
                                                   LoginItem *loginItem, MirrorCameraEngine *camera,
                                                   MicrophoneLevelMonitor *microphone,
                                                   const QString &statePath, QObject *parent)
    : QObject(parent),
      m_controller(new SettingsController(appState, commander, loginItem, camera, microphone, this)),
      m_statePath(statePath)
{
}

SettingsWindowController::~SettingsWindowController()
{
    if (m_view && m_view->isVisible())
        savePosition();
}

QPoint SettingsWindowController::placement(const QPoint &topLeft, const QSize &size,
                                           const QList<QRect> &screens, const QRect &fallback)
{
    const QRect frame(topLeft, size);
    for (const QRect &screen : screens) {
        if (screen.intersects(frame))
            return topLeft;
    }
    return fallback.center() - QPoint(size.width() / 2, size.height() / 2);
}

void SettingsWindowController::createWindow()
{
    // Titled, closable, minimisable; a fixed size leaves the window manager no resize handle.
    m_view = QmlModule::createView(QStringLiteral("settingsWindow"), QStringLiteral("Halcy Settings"),
                                   Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                                       Qt::WindowMinimizeButtonHint);
    m_view->resize(contentSize);
    m_view->setMinimumSize(contentSize);
    m_view->setMaximumSize(contentSize);
    QmlModule::load(m_view.get(), "UI/SettingsView.qml",
                    {{QStringLiteral("settings"), QVariant::fromValue(m_controller)}}, lcSettings());
    // Kept when closed: letting the scene go gives back only ~2 MB (Qt keeps its QML and style caches
    // and libraries), while building it again costs a visible moment at the next open.
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible)
            savePosition();
    });

    const QSettings state(m_statePath, QSettings::IniFormat);
    const QVariant saved = state.value(positionKey);
    if (saved.canConvert<QPoint>() && saved.isValid())
        m_view->setPosition(saved.toPoint());
    else if (QScreen *screen = QGuiApplication::primaryScreen())
        m_view->setPosition(
            placement(QPoint(-100000, -100000), contentSize, {}, screen->availableGeometry()));
}

void SettingsWindowController::savePosition() const
{
    QSettings state(m_statePath, QSettings::IniFormat);
    state.setValue(positionKey, m_view->position());
}

void SettingsWindowController::show()
{
    if (!m_view)
        createWindow();
    QList<QRect> screens;
    for (QScreen *screen : QGuiApplication::screens())
        screens << screen->availableGeometry();
    if (QScreen *primary = QGuiApplication::primaryScreen())
        m_view->setPosition(
            placement(m_view->position(), contentSize, screens, primary->availableGeometry()));
    if (m_view->windowState() & Qt::WindowMinimized)
        m_view->setWindowStates(m_view->windowStates() & ~Qt::WindowMinimized);
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
}
