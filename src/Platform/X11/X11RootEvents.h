#pragma once

#include <QObject>

#include <xcb/xcb.h>

#include <functional>

class QSocketNotifier;

// A connection of its own to the X server that listens to the root window. Qt's connection is left
// alone: selecting substructure events there would make Qt re-read the monitors on every window move.
// Events are handed over from the event loop of the thread that created the object.
class X11RootEvents final : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<void(const xcb_generic_event_t *event)>;

    X11RootEvents(uint32_t eventMask, Handler handler, QObject *parent = nullptr);
    ~X11RootEvents() override;

    // Null when the server could not be reached.
    xcb_connection_t *connection() const { return m_connection; }
    xcb_window_t root() const { return m_root; }

    // Handles every event already read. Call after own round trips made outside a handler: their
    // replies may have brought events along that the socket will not announce again.
    void drain();

private:
    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    Handler m_handler;
    QSocketNotifier *m_notifier = nullptr;
};
