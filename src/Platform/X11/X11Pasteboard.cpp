#include "Platform/X11/X11Pasteboard.h"

#include "Core/Logging.h"
#include "Platform/X11/X11ClipboardReader.h"
#include "Platform/X11/X11Connection.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMimeData>
#include <QThread>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdlib>

// From Xlib. Qt declares Display already; Xlib.h itself would bring its macros (Status, None …) here.
extern "C" char *XDisplayString(Display *display);

namespace {

// Targets that belong to the selection protocol itself rather than to the content.
bool isProtocolTarget(const QString &type)
{
    return type == QLatin1String("TARGETS") || type == QLatin1String("TIMESTAMP") ||
           type == QLatin1String("MULTIPLE") || type == QLatin1String("SAVE_TARGETS") ||
           type == QLatin1String("DELETE");
}

// The display Qt is connected to, which may come from -display rather than DISPLAY.
QByteArray qtDisplayName()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (x11 && x11->display()) {
        if (const char *name = XDisplayString(x11->display()))
            return QByteArray(name);
    }
    return qgetenv("DISPLAY");
}

xcb_window_t selectionOwner(xcb_connection_t *connection, xcb_atom_t selection)
{
    xcb_get_selection_owner_reply_t *reply =
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr);
    const xcb_window_t owner = reply ? reply->owner : XCB_NONE;
    std::free(reply);
    return owner;
}

void notifyRequestor(xcb_connection_t *connection, xcb_window_t requestor, xcb_atom_t selection,
                     xcb_atom_t target, xcb_atom_t property, xcb_timestamp_t time)
{
    xcb_selection_notify_event_t notify{};
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.time = time;
    notify.requestor = requestor;
    notify.selection = selection;
    notify.target = target;
    notify.property = property;
    xcb_send_event(connection, 0, requestor, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char *>(&notify));
    xcb_flush(connection);
}

} // namespace

X11Pasteboard::X11Pasteboard(QObject *parent) : Pasteboard(parent), m_clipboard(QGuiApplication::clipboard())
{
    connect(m_clipboard, &QClipboard::changed, this, [this](QClipboard::Mode mode) {
        if (mode != QClipboard::Clipboard)
            return;
        ++m_changeCount;
        qCDebug(lcPlatform) << "clipboard changed, count" << m_changeCount;
        Q_EMIT changed();
    });

    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        if (xcb_connection_t *connection = X11Connection::connection()) {
            const xcb_query_extension_reply_t *xfixes = xcb_get_extension_data(connection, &xcb_xfixes_id);
            m_reportsEveryChange = xfixes && xfixes->present;
        }
        // The reader calls back on its own thread; the answer crosses over as a queued call, which is
        // dropped with this object if it is gone by then.
        m_reader =
            X11ClipboardReader::create(qtDisplayName(), [this](quint64 id, const PasteboardContent &content) {
                QMetaObject::invokeMethod(
                    this, [this, id, content] { deliver(id, content); }, Qt::QueuedConnection);
            });
        if (!m_reader)
            qCWarning(lcPlatform)
                << "reading the clipboard in place; a slow clipboard owner will stall the UI";
    }
}

X11Pasteboard::~X11Pasteboard()
{
    // Qt asks the clipboard manager to save our content when it shuts down; with the manager being
    // ourselves, nobody would answer and the exit would wait for Qt's time-out.
    releaseManagerSelection();
}

bool X11Pasteboard::acceptHandovers()
{
    xcb_connection_t *connection = X11Connection::connection();
    if (!connection)
        return false;
    if (m_managerWindow != 0)
        return true;
    m_managerAtom = X11Connection::internAtom(connection, "CLIPBOARD_MANAGER");
    m_saveTargetsAtom = X11Connection::internAtom(connection, "SAVE_TARGETS");
    m_targetsAtom = X11Connection::internAtom(connection, "TARGETS");
    if (m_managerAtom == XCB_ATOM_NONE || m_saveTargetsAtom == XCB_ATOM_NONE)
        return false;
    if (selectionOwner(connection, m_managerAtom) != XCB_NONE) {
        qCInfo(lcPlatform) << "another clipboard manager runs; leaving handovers to it";
        return false;
    }

    const xcb_window_t root = X11Connection::rootWindow(connection);
    m_managerWindow = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_managerWindow, root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_set_selection_owner(connection, m_managerWindow, m_managerAtom, XCB_CURRENT_TIME);
    if (selectionOwner(connection, m_managerAtom) != m_managerWindow) {
        xcb_destroy_window(connection, m_managerWindow);
        m_managerWindow = 0;
        return false;
    }
    // Manager selections announce themselves on the root window (ICCCM 2.8).
    xcb_client_message_event_t announce{};
    announce.response_type = XCB_CLIENT_MESSAGE;
    announce.format = 32;
    announce.window = root;
    announce.type = X11Connection::internAtom(connection, "MANAGER");
    announce.data.data32[0] = XCB_CURRENT_TIME;
    announce.data.data32[1] = m_managerAtom;
    announce.data.data32[2] = m_managerWindow;
    xcb_send_event(connection, 0, root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&announce));
    xcb_flush(connection);
    QCoreApplication::instance()->installNativeEventFilter(this);
    qCDebug(lcPlatform) << "taking clipboard handovers from exiting programs";
    return true;
}

void X11Pasteboard::releaseManagerSelection()
{
    if (m_managerWindow == 0)
        return;
    finishHandover(false);
    if (QCoreApplication *app = QCoreApplication::instance())
        app->removeNativeEventFilter(this);
    if (xcb_connection_t *connection = X11Connection::connection()) {
        xcb_destroy_window(connection, m_managerWindow);
        // The owner check Qt makes on its way out must already see the selection free.
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    }
    m_managerWindow = 0;
}

void X11Pasteboard::finishHandover(bool taken)
{
    xcb_connection_t *connection = X11Connection::connection();
    const QList<Handover> handovers = std::exchange(m_handovers, {});
    if (!connection)
        return;
    for (const Handover &handover : handovers) {
        notifyRequestor(connection, handover.requestor, m_managerAtom, m_saveTargetsAtom,
                        taken ? handover.property : XCB_ATOM_NONE, handover.time);
    }
}

bool X11Pasteboard::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (m_managerWindow == 0 || eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const uint8_t type = event->response_type & ~0x80;
    if (type == XCB_SELECTION_CLEAR) {
        const auto *clear = static_cast<const xcb_selection_clear_event_t *>(message);
        if (clear->owner != m_managerWindow || clear->selection != m_managerAtom)
            return false;
        qCInfo(lcPlatform) << "another clipboard manager took over";
        finishHandover(false);
        return true;
    }
    if (type != XCB_SELECTION_REQUEST)
        return false;
    const auto *request = static_cast<const xcb_selection_request_event_t *>(message);
    if (request->owner != m_managerWindow || request->selection != m_managerAtom)
        return false;

    xcb_connection_t *connection = X11Connection::connection();
    const xcb_atom_t property = request->property != XCB_ATOM_NONE ? request->property : request->target;
    if (request->target == m_saveTargetsAtom) {
        m_handovers.append({request->requestor, property, request->time});
        qCDebug(lcPlatform) << "window" << Qt::hex << request->requestor << "hands the clipboard over";
        // Answered from the event loop, never from inside Qt's event handling.
        QMetaObject::invokeMethod(this, &Pasteboard::handoverRequested, Qt::QueuedConnection);
    } else if (request->target == m_targetsAtom) {
        const xcb_atom_t targets[] = {m_targetsAtom, m_saveTargetsAtom};
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, request->requestor, property, XCB_ATOM_ATOM,
                            32, 2, targets);
        notifyRequestor(connection, request->requestor, request->selection, request->target, property,
                        request->time);
    } else {
        notifyRequestor(connection, request->requestor, request->selection, request->target, XCB_ATOM_NONE,
                        request->time);
    }
    return true;
}

void X11Pasteboard::requestContent(const PasteboardRequest &request, QObject *context, ContentHandler handler)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (m_reader) {
        // The answer is queued to this thread, so it cannot arrive before the handler is stored.
        m_pending.insert(m_reader->request(request), {context, std::move(handler)});
        return;
    }
    PasteboardContent content = readInPlace(request);
    if (request.prepare)
        request.prepare(content);
    QMetaObject::invokeMethod(
        this,
        [context = QPointer<QObject>(context), handler = std::move(handler), content] {
            if (context)
                handler(content);
        },
        Qt::QueuedConnection);
}

void X11Pasteboard::deliver(quint64 requestId, const PasteboardContent &content)
{
    const PendingRequest pending = m_pending.take(requestId);
    if (pending.context && pending.handler)
        pending.handler(content);
}

PasteboardContent X11Pasteboard::readInPlace(const PasteboardRequest &request) const
{
    const QMimeData *mime = m_clipboard->mimeData(QClipboard::Clipboard);
    QStringList types;
    if (mime) {
        const QStringList formats = mime->formats();
        for (const QString &format : formats) {
            if (!isProtocolTarget(format) && !types.contains(format))
                types.append(format);
        }
    }
    return PasteboardContent::read(
        request.changeCount, types, request.isExcluded, [mime](const QString &type, qsizetype limit) {
            const QByteArray bytes = mime->data(type);
            if (bytes.isEmpty() && !mime->hasFormat(type))
                return PasteboardData::of(PasteboardData::Outcome::refused);
            if (bytes.size() > limit)
                return PasteboardData::of(PasteboardData::Outcome::tooLarge, bytes.size());
            return PasteboardData::received(bytes);
        });
}

bool X11Pasteboard::write(QMimeData *data)
{
    if (!data)
        return false;
    m_clipboard->setMimeData(data, QClipboard::Clipboard);
    // Another client can take the selection back between our request and the server's answer; on
    // platforms that cannot tell ownership, trust the write.
    const bool owned =
        m_clipboard->ownsClipboard() || QGuiApplication::platformName() != QLatin1String("xcb");
    if (!owned)
        qCWarning(lcPlatform) << "could not take ownership of the clipboard";
    return owned;
}

void X11Pasteboard::clear()
{
    m_clipboard->clear(QClipboard::Clipboard);
}

bool X11Pasteboard::mirrorToSelection()
{
    if (!m_clipboard->supportsSelection() || !m_clipboard->ownsClipboard())
        return false;
    const QMimeData *source = m_clipboard->mimeData(QClipboard::Clipboard);
    if (!source)
        return false;
    auto copy = new QMimeData;
    const QStringList formats = source->formats();
    for (const QString &format : formats) {
        if (!isProtocolTarget(format))
            copy->setData(format, source->data(format));
    }
    m_clipboard->setMimeData(copy, QClipboard::Selection);
    return m_clipboard->ownsSelection();
}
