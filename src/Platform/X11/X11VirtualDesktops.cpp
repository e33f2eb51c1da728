#include "Platform/X11/X11VirtualDesktops.h"

#include "Platform/X11/X11Connection.h"
#include "Platform/X11/X11RootEvents.h"

X11VirtualDesktops::X11VirtualDesktops(QObject *parent) : VirtualDesktops(parent)
{
    m_events = std::make_unique<X11RootEvents>(
        XCB_EVENT_MASK_PROPERTY_CHANGE,
        [this](const xcb_generic_event_t *event) {
            if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
                return;
            const auto *notify = reinterpret_cast<const xcb_property_notify_event_t *>(event);
            if (notify->atom == m_currentDesktopAtom)
                emit currentChanged();
        },
        this);
    if (xcb_connection_t *connection = m_events->connection())
        m_currentDesktopAtom = X11Connection::internAtom(connection, "_NET_CURRENT_DESKTOP");
}

X11VirtualDesktops::~X11VirtualDesktops() = default;
