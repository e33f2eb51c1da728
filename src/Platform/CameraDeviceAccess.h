#pragma once

// Linux has no camera consent prompt: access is the device node's permissions (or a sandbox's rules).
namespace CameraDeviceAccess {

// True when a video capture node exists but none of them may be opened by this user.
bool allNodesRefused();

} // namespace CameraDeviceAccess
