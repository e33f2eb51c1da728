#include "Platform/X11/X11RootEvents.h"

#include "Core/Logging.h"

#include <QSocketNotifier>

#include <cstdlib>

X11RootEvents::X11RootEvents(uint32_t eventMask, Handler handler, QObject *parent)
    : QObject(parent), m_handler(std::move(handler))
{
    int screenNumber = 0;
    m_connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(m_connection)) {
        qCWarning(lcPlatform) << "No second connection to the X server; root window changes go unnoticed";
        xcb_disconnect(m_connection);
        m_connection = nullptr;
        return;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber && it.rem > 1; ++i)
        xcb_screen_next(&it);
    m_root = it.data->root;
    // The event mask is per client, so this adds to nobody else's.
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &eventMask);
    xcb_flush(m_connection);
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11RootEvents::drain);
}

X11RootEvents::~X11RootEvents()
{
    delete m_notifier;
    if (m_connection)
        xcb_disconnect(m_connection);
}

void X11RootEvents::drain()
{
    if (!m_connection)
        return;
    // Replies read by the handler's own requests can leave events queued without the socket being
    // readable again, so everything queued is handled before returning.
    while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection)) {
        if (m_handler)
            m_handler(event);
        std::free(event);
    }
    if (xcb_connection_has_error(m_connection))
        m_notifier->setEnabled(false);
}
