#include "Platform/Linux/LinuxPermissionProbe.h"

#include "Platform/CameraDeviceAccess.h"
#include "Platform/SoundServer.h"

#include <QAudioDevice>
#include <QMediaDevices>
#include <QStandardPaths>
namespace {

bool isDesktop(const QString &name)
{
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    return desktops.contains(name, Qt::CaseInsensitive);
}

// The first program found on PATH, with its arguments.
QStringList firstInstalled(const QList<QStringList> &candidates)
{
    for (const QStringList &command : candidates) {
        const QString program = QStandardPaths::findExecutable(command.first());
        if (!program.isEmpty())
            return QStringList{program} + command.mid(1);
    }
    return {};
}

} // namespace

LinuxPermissionProbe::LinuxPermissionProbe(const QString &deviceDirectory)
    : m_deviceDirectory(deviceDirectory)
{
    // Looked up once: each is a PATH search, and the desktop does not change under a running session.
    if (isDesktop(QStringLiteral("GNOME")) || isDesktop(QStringLiteral("Unity")) ||
        isDesktop(QStringLiteral("Budgie"))) {
        m_cameraSettings =
            firstInstalled({{QStringLiteral("gnome-control-center"), QStringLiteral("camera")}});
        m_microphoneSettings =
            firstInstalled({{QStringLiteral("gnome-control-center"), QStringLiteral("sound")}});
    } else if (isDesktop(QStringLiteral("KDE"))) {
        m_microphoneSettings =
            firstInstalled({{QStringLiteral("systemsettings"), QStringLiteral("kcm_pulseaudio")},
                            {QStringLiteral("systemsettings5"), QStringLiteral("kcm_pulseaudio")}});
    }
    if (m_microphoneSettings.isEmpty())
        m_microphoneSettings = firstInstalled({{QStringLiteral("pavucontrol"), QStringLiteral("--tab=4")}});
}

DeviceAccess LinuxPermissionProbe::cameraAccess() const
{
    return CameraDeviceAccess::access(m_deviceDirectory);
}

DeviceAccess LinuxPermissionProbe::audioServerAccess() const
{
    return SoundServer::access();
}

bool LinuxPermissionProbe::hasAudioInput() const
{
    return !QMediaDevices::audioInputs().isEmpty();
}

QStringList LinuxPermissionProbe::settingsCommand(SettingsPage page) const
{
    return page == SettingsPage::camera ? m_cameraSettings : m_microphoneSettings;
}
