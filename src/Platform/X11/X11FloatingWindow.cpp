#include "Platform/X11/X11FloatingWindow.h"

#include "Platform/X11/X11Connection.h"

#include <QWindow>

#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t allDesktops = 0xFFFFFFFF;

xcb_atom_t atom(xcb_connection_t *connection, const char *name)
{
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : XCB_ATOM_NONE;
    std::free(reply);
    return result;
}

} // namespace

namespace X11FloatingWindow {

void showOnAllDesktops(QWindow *window)
{
    xcb_connection_t *connection = X11Connection::connection();
    if (!connection)
        return;
    const auto id = static_cast<xcb_window_t>(window->winId());
    const xcb_atom_t desktop = atom(connection, "_NET_WM_DESKTOP");
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
