#pragma once

#include "Platform/DeviceAccess.h"

#include <QStringList>

#include <memory>

// The settings pages of the desktop that a permission row can open.
enum class SettingsPage
{
    camera,
    microphone
};

// Asks the system, without asking the user, whether the camera and the microphone can be used, and
// knows which program shows the desktop's own settings for them.
class PermissionProbe
{
public:
    virtual ~PermissionProbe() = default;

    // The probe of the running system.
    static std::unique_ptr<PermissionProbe> createDefault();

    // These two may wait on device nodes or on the audio server: call them off the GUI thread. Safe to
    // call from any thread.
    virtual DeviceAccess cameraAccess() const = 0;
    virtual DeviceAccess audioServerAccess() const = 0;
    // GUI thread, and only once the audio server let us in: whether it offers any input to record from.
    virtual bool hasAudioInput() const = 0;
    // Program and arguments that open the page; empty when this desktop has none.
    virtual QStringList settingsCommand(SettingsPage page) const = 0;
};
