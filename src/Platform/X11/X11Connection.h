#pragma once

#include <xcb/xcb.h>

#include <vector>

// Qt's own connection to the X server and the root window of the default screen, shared by the X11
// backends. Only files under Platform/X11 include this.
namespace X11Connection {
// Null when the application does not run on xcb or the connection has failed.
xcb_connection_t *connection();
xcb_window_t rootWindow(xcb_connection_t *connection);
// XCB_ATOM_NONE when the server does not answer.
xcb_atom_t internAtom(xcb_connection_t *connection, const char *name);
// The 32-bit items (windows, atoms, pixmaps) of a property of `type`; empty when it is missing, of
// another type, or the window is gone.
std::vector<uint32_t> property32(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property,
                                 xcb_atom_t type, uint32_t maxItems = 4096);
} // namespace X11Connection
