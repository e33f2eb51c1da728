#pragma once

#include "Platform/DeviceAccess.h"

#include <QString>

// Linux has no camera consent prompt: access is the device node's permissions (or a sandbox's rules).
namespace CameraDeviceAccess {

// The video4linux nodes (video0, video1, …) in `deviceDirectory`: open when one of them opens (or is
// busy streaming to someone else), refused when they exist but turn this user away.
DeviceAccess access(const QString &deviceDirectory = QStringLiteral("/dev"));

// True when a video capture node exists but none of them may be opened by this user.
inline bool allNodesRefused()
{
    return access() == DeviceAccess::refused;
}

} // namespace CameraDeviceAccess
