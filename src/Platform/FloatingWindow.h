#pragma once

class QWindow;

// What Qt's window flags cannot say about a floating window.
namespace FloatingWindow {

// Keeps the window on every virtual desktop (workspace). Call once the native window exists; where
// the desktop has no such notion this does nothing.
void showOnAllDesktops(QWindow *window);

} // namespace FloatingWindow
