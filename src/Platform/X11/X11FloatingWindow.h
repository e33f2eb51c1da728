#pragma once

class QWindow;

namespace X11FloatingWindow {

// _NET_WM_DESKTOP "all desktops": as a property before the window is mapped, and as a request to the
// window manager once it is.
void showOnAllDesktops(QWindow *window);

} // namespace X11FloatingWindow
