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

} // namespace X11Connection
