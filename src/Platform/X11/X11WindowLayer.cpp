#include "Platform/X11/X11WindowLayer.h"

#include "Core/Logging.h"
#include "Platform/X11/X11Connection.h"
#include "Platform/X11/X11RootEvents.h"

#include <QTimer>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>

namespace {

using X11Connection::property32;

std::vector<xcb_window_t> childWindows(xcb_connection_t *connection, xcb_window_t window,
                                       xcb_window_t *parent)
{
    std::vector<xcb_window_t> result;
    xcb_query_tree_reply_t *reply =
        xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr);
    if (!reply)
        return result;
    const xcb_window_t *first = xcb_query_tree_children(reply);
    result.assign(first, first + xcb_query_tree_children_length(reply));
    if (parent)
        *parent = reply->parent;
    std::free(reply);
    return result;
}

} // namespace

X11WindowLayer::X11WindowLayer(QObject *parent) : WindowLayer(parent)
{
    m_events = std::make_unique<X11RootEvents>(
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        [this](const xcb_generic_event_t *event) {
            xcb_window_t window = XCB_WINDOW_NONE;
            switch (event->response_type & 0x7f) {
            case XCB_CONFIGURE_NOTIFY:
                window = reinterpret_cast<const xcb_configure_notify_event_t *>(event)->window;
                break;
            case XCB_MAP_NOTIFY:
                window = reinterpret_cast<const xcb_map_notify_event_t *>(event)->window;
                break;
            case XCB_CIRCULATE_NOTIFY:
                window = reinterpret_cast<const xcb_circulate_notify_event_t *>(event)->window;
                break;
            default:
                return;
            }
            // Our own restacking comes back as events too; answering those would never end.
            if (!m_ids.contains(window))
                queueRestack();
        },
        this);
    if (xcb_connection_t *connection = m_events->connection()) {
        m_clientListAtom = X11Connection::internAtom(connection, "_NET_CLIENT_LIST");
        m_windowTypeAtom = X11Connection::internAtom(connection, "_NET_WM_WINDOW_TYPE");
        m_desktopTypeAtom = X11Connection::internAtom(connection, "_NET_WM_WINDOW_TYPE_DESKTOP");
    }
}

X11WindowLayer::~X11WindowLayer() = default;

void X11WindowLayer::prepare(QWindow *window, bool clickThrough)
{
    WindowLayer::prepare(window, clickThrough);
    window->setFlags((window->flags() & ~Qt::WindowStaysOnBottomHint) | Qt::X11BypassWindowManagerHint);
}

void X11WindowLayer::keep(const QList<QWindow *> &windows)
{
    m_windows.clear();
    m_ids.clear();
    for (QWindow *window : windows) {
        m_windows.append(window);
        m_ids.append(static_cast<quint32>(window->winId()));
    }
    restack();
    m_events->drain();
}

void X11WindowLayer::queueRestack()
{
    if (m_restackQueued || m_ids.isEmpty())
        return;
    m_restackQueued = true;
    // A window being dragged sends a stream of events; one look per pass of the event loop is enough.
    QTimer::singleShot(0, this, [this] {
        m_restackQueued = false;
        restack();
    });
}

QList<quint32> X11WindowLayer::desktopFrames() const
{
    xcb_connection_t *connection = m_events->connection();
    const std::vector<uint32_t> clients =
        property32(connection, m_events->root(), m_clientListAtom, XCB_ATOM_WINDOW);
    std::vector<xcb_get_property_cookie_t> cookies;
    cookies.reserve(clients.size());
    for (uint32_t client : clients)
        cookies.push_back(xcb_get_property(connection, 0, client, m_windowTypeAtom, XCB_ATOM_ATOM, 0, 16));

    QList<quint32> frames;
    for (size_t i = 0; i < clients.size(); ++i) {
        xcb_get_property_reply_t *reply = xcb_get_property_reply(connection, cookies[i], nullptr);
        bool isDesktop = false;
        if (reply && reply->format == 32) {
            const auto *types = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply));
            const int count = xcb_get_property_value_length(reply) / 4;
            isDesktop = std::find(types, types + count, m_desktopTypeAtom) != types + count;
        }
        std::free(reply);
        if (!isDesktop)
            continue;
        // A reparenting window manager stacks its frame, not the client: climb to the root's child.
        xcb_window_t window = clients[i];
        for (int depth = 0; depth < 8; ++depth) {
            xcb_window_t parent = XCB_WINDOW_NONE;
            childWindows(connection, window, &parent);
            if (parent == XCB_WINDOW_NONE || parent == m_events->root())
                break;
            window = parent;
        }
        frames.append(window);
    }
    return frames;
}

void X11WindowLayer::restack()
{
    xcb_connection_t *connection = m_events->connection();
    for (qsizetype i = m_windows.size() - 1; i >= 0; --i) {
        if (!m_windows.at(i)) {
            m_windows.removeAt(i);
            m_ids.removeAt(i);
        }
    }
    if (!connection || m_ids.isEmpty())
        return;

    const QList<quint32> frames = desktopFrames();
    const std::vector<xcb_window_t> stack = childWindows(connection, m_events->root(), nullptr);
    qsizetype desktopTop = -1;
    for (qsizetype i = 0; i < qsizetype(stack.size()); ++i) {
        if (frames.contains(stack[i]))
            desktopTop = i;
    }
    bool inPlace = desktopTop + m_ids.size() < qsizetype(stack.size());
    for (qsizetype i = 0; inPlace && i < m_ids.size(); ++i)
        inPlace = m_ids.contains(stack[desktopTop + 1 + i]);
    if (inPlace)
        return;

    qCDebug(lcDesktop) << "Restacking" << m_ids.size() << "covers above" << frames;
    xcb_window_t sibling = desktopTop >= 0 ? stack[desktopTop] : XCB_WINDOW_NONE;
    for (quint32 id : std::as_const(m_ids)) {
        if (sibling == XCB_WINDOW_NONE) {
            const uint32_t values[] = {XCB_STACK_MODE_BELOW};
            xcb_configure_window(connection, id, XCB_CONFIG_WINDOW_STACK_MODE, values);
        } else {
            const uint32_t values[] = {sibling, XCB_STACK_MODE_ABOVE};
            xcb_configure_window(connection, id, XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE,
                                 values);
        }
        sibling = id;
    }
    xcb_flush(connection);
}
