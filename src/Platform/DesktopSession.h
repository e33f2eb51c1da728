#pragma once

#include <QString>

// Whether a desktop session can be reached, asked before QApplication exists so that a missing display
// becomes one clear line instead of Qt's abort.
namespace DesktopSession {
// Empty when a session is reachable; otherwise the reason, ready to print.
QString unavailableReason();
} // namespace DesktopSession
