#pragma once

#include "Platform/DeviceAccess.h"

#include <QString>

// Whether a sound server (PulseAudio, or PipeWire speaking its protocol) is there to list microphones.
namespace SoundServer {

bool isReachable();

// Where the PulseAudio protocol listens, from PULSE_SERVER or the runtime directory; empty when that is
// not a local socket.
QString socketPath();
// Connects to socketPath() and hangs up: open when the server takes the connection, refused when the
// socket turns this user away, none when nothing listens. A remote server counts as open; the device
// list then has the last word.
DeviceAccess access();

} // namespace SoundServer
