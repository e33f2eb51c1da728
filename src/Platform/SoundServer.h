#pragma once

// Whether a sound server (PulseAudio, or PipeWire speaking its protocol) is there to list microphones.
namespace SoundServer {

bool isReachable();

} // namespace SoundServer
