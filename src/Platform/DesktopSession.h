#pragma once

#include <QString>

// Whether a desktop session can be reached, asked before QApplication exists so that a missing display
// becomes one clear line instead of Qt's abort.
namespace DesktopSession {
// Halcy speaks X11: under Wayland it runs through XWayland when that is there, whatever Qt would pick.
void preferX11();
// Empty when a session is reachable; otherwise the reason, ready to print.
QString unavailableReason();
} // namespace DesktopSession
