#include "Platform/X11/X11Connection.h"

#include <QGuiApplication>

#include <cstdlib>

namespace X11Connection {

xcb_connection_t *connection()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    xcb_connection_t *connection = x11 ? x11->connection() : nullptr;
    return connection && !xcb_connection_has_error(connection) ? connection : nullptr;
}

xcb_window_t rootWindow(xcb_connection_t *connection)
{
    int screenNumber = 0;
    char *host = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &host, &display, &screenNumber) == 0)
        screenNumber = 0;
    std::free(host);
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; it.rem > 0; xcb_screen_next(&it), ++i) {
        if (i == screenNumber)
            return it.data->root;
    }
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

xcb_atom_t internAtom(xcb_connection_t *connection, const char *name)
{
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<uint16_t>(qstrlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : XCB_ATOM_NONE;
    std::free(reply);
    return atom;
}

std::vector<uint32_t> property32(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property,
                                 xcb_atom_t type, uint32_t maxItems)
{
    std::vector<uint32_t> items;
    if (property == XCB_ATOM_NONE)
        return items;
    // A window that is gone answers with an error instead of a reply.
    xcb_generic_error_t *error = nullptr;
    xcb_get_property_reply_t *reply = xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, property, type, 0, maxItems), &error);
    std::free(error);
    if (reply && reply->format == 32 && reply->type == type) {
        const auto *values = static_cast<const uint32_t *>(xcb_get_property_value(reply));
        items.assign(values, values + xcb_get_property_value_length(reply) / 4);
    }
    std::free(reply);
    return items;
}

} // namespace X11Connection
