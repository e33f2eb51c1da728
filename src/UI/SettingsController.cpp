#include "UI/SettingsController.h"

#include "App/AppCommanding.h"
#include "App/AppState.h"
#include "Core/Logging.h"
#include "Platform/LoginItem.h"

#include <QDesktopServices>

SettingsController::SettingsController(AppState *appState, AppCommanding *commander, LoginItem *loginItem,
                                       MirrorCameraEngine *camera, MicrophoneLevelMonitor *microphone,
                                       QObject *parent)
    : QObject(parent), m_appState(appState), m_commander(commander), m_loginItem(loginItem), m_camera(camera),
      m_microphone(microphone)
{
}

bool SettingsController::startAtLogin() const
{
    return m_loginItem && m_loginItem->isEnabled();
}

void SettingsController::setStartAtLogin(bool enabled)
{
    QString error;
    if (m_loginItem && !m_loginItem->setEnabled(enabled, &error))
        qCWarning(lcSettings) << error;
    m_loginItemError = error;
    // Announced either way: a switch the user flipped must snap back when the change did not stick.
    emit startAtLoginChanged();
}

QString SettingsController::versionLine()
{
    return QStringLiteral("Version %1 (%2)").arg(QStringLiteral(HALCY_VERSION), QStringLiteral(HALCY_BUILD));
}

void SettingsController::clearHistory()
{
    if (m_commander)
        m_commander->clearHistory();
}

void SettingsController::clearRecentHistory()
{
    if (m_commander)
        m_commander->clearRecentHistory();
}

void SettingsController::checkForUpdates()
{
    if (m_commander)
        m_commander->checkForUpdates();
}

void SettingsController::openUpdatePage()
{
    if (m_appState && m_appState->updateURL().isValid())
        QDesktopServices::openUrl(m_appState->updateURL());
}

void SettingsController::refreshPermissions()
{
    if (m_commander)
        m_commander->refreshPermissions();
}

void SettingsController::openPermissionSettings(const QString &permissionID)
{
    if (m_commander)
        m_commander->openPermissionSettings(permissionID);
}

void SettingsController::refreshDevices()
{
    if (m_commander)
        m_commander->refreshDevices();
}

void SettingsController::resetSettings()
{
    if (m_commander)
        m_commander->resetSettings();
}

void SettingsController::quit()
{
    if (m_commander)
        m_commander->quit();
}
