#pragma once

#include <QColor>

// The brand ink: the default solid fill of the desktop cover, the tint of its material fill, and the
// ink of every view's text and marks (QML reads it as Theme.ink).
inline QColor brandInkColor()
{
    return QColor::fromRgbF(20.0f / 255.0f, 21.0f / 255.0f, 26.0f / 255.0f, 1.0f);
}
