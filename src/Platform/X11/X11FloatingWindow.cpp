#include "Platform/X11/X11FloatingWindow.h"

#include "Platform/X11/X11Connection.h"

#include <QWindow>

namespace {

constexpr uint32_t allDesktops = 0xFFFFFFFF;

} // namespace

namespace X11FloatingWindow {

void showOnAllDesktops(QWindow *window)
{
    xcb_connection_t *connection = X11Connection::connection();
    if (!connection)
        return;
    const auto id = static_cast<xcb_window_t>(window->winId());
    const xcb_atom_t desktop = X11Connection::internAtom(connection, "_NET_WM_DESKTOP");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, desktop, XCB_ATOM_CARDINAL, 32, 1,
                        &allDesktops);
    if (window->isVisible()) {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = id;
        event.type = desktop;
        event.data.data32[0] = allDesktops;
        event.data.data32[1] = 2; // from a pager or an application acting for the user
        xcb_send_event(connection, 0, X11Connection::rootWindow(connection),
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char *>(&event));
    }
    xcb_flush(connection);
}

} // namespace X11FloatingWindow
