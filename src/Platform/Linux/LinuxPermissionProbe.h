#pragma once

#include "Platform/PermissionProbe.h"

#include <QString>

// Linux has no consent prompt: a camera whose device node opens is usable, one that refuses to open is
// not; the microphone is the audio server's (PulseAudio, or PipeWire speaking its protocol).
class LinuxPermissionProbe final : public PermissionProbe
{
public:
    // `deviceDirectory` holds the video4linux nodes (video0, video1, …).
    explicit LinuxPermissionProbe(const QString &deviceDirectory = QStringLiteral("/dev"));

    DeviceAccess cameraAccess() const override;
    DeviceAccess audioServerAccess() const override;
    bool hasAudioInput() const override;
    QStringList settingsCommand(SettingsPage page) const override;

private:
    QString m_deviceDirectory;
    QStringList m_cameraSettings;
    QStringList m_microphoneSettings;
};
