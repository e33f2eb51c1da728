#pragma once

#include "Mirror/MirrorShape.h"

// The preferences the bubble follows.
struct MirrorSettings
{
    MirrorShape shape = MirrorShape::roundedRectangle;
    bool flip = true;
    // Kept and handed on, but X11 cannot keep a window out of screen captures.
    bool excludeFromScreenShare = false;
    bool showMicLevel = true;
};
