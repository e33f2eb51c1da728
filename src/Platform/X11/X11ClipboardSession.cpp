#include "Platform/X11/X11ClipboardSession.h"

#include "Core/Logging.h"
#include "Platform/X11/X11ClipboardReader.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace {

using EventPtr = X11ClipboardSession::EventPtr;
using PropertyPtr = std::unique_ptr<xcb_get_property_reply_t, X11ClipboardSession::FreeDeleter>;

// TARGETS lists are a few dozen atoms; anything near this is not a real answer.
constexpr qsizetype maxTargetsBytes = 256 * 1024;
// A window given up on is kept this long before it is destroyed, so that an owner still feeding it
// times out quietly instead of running into a missing window.
constexpr qint64 retiredWindowLifetimeMs = 15000;
// Properties are fetched in pieces of this size: an owner's 16 MB chunk would otherwise arrive as one
// 16 MB reply, which glibc then keeps in this thread's arena long after it was freed.
constexpr uint32_t propertyPieceBytes = 1024 * 1024;

} // namespace

X11ClipboardSession::X11ClipboardSession(xcb_connection_t *connection, int screenNumber, int wakeFd,
                                         std::function<bool()> interrupted)
    : m_connection(connection), m_wakeFd(wakeFd), m_interrupted(std::move(interrupted))
{
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; it.rem > 0; xcb_screen_next(&it), ++i) {
        if (i == screenNumber || m_root == XCB_NONE)
            m_root = it.data->root;
    }
    m_clipboard = intern("CLIPBOARD");
    m_targets = intern("TARGETS");
    m_incr = intern("INCR");
    m_property = intern("HALCY_CLIPBOARD_CONTENT");
    m_atomNames.insert(m_targets, QStringLiteral("TARGETS"));
    createWindow();
}

X11ClipboardSession::~X11ClipboardSession()
{
    destroyRetiredWindows(true);
    if (m_window != XCB_NONE)
        xcb_destroy_window(m_connection, m_window);
    xcb_flush(m_connection);
}

xcb_atom_t X11ClipboardSession::intern(const char *name) const
{
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(m_connection, 0, uint16_t(std::strlen(name)), name);
    std::unique_ptr<xcb_intern_atom_reply_t, FreeDeleter> reply(
        xcb_intern_atom_reply(m_connection, cookie, nullptr));
    return reply ? reply->atom : XCB_NONE;
}

void X11ClipboardSession::createWindow()
{
    m_window = xcb_generate_id(m_connection);
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_connection, 0, m_window, m_root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_flush(m_connection);
}

// After a transfer was given up, its owner may still answer or send chunks; a fresh window keeps
// those out of the next transfer.
void X11ClipboardSession::retireWindow()
{
    QElapsedTimer age;
    age.start();
    m_retiredWindows.append({m_window, age});
    createWindow();
}

void X11ClipboardSession::destroyRetiredWindows(bool all)
{
    for (qsizetype i = m_retiredWindows.size() - 1; i >= 0; --i) {
        if (all || m_retiredWindows.at(i).second.hasExpired(retiredWindowLifetimeMs)) {
            xcb_destroy_window(m_connection, m_retiredWindows.at(i).first);
            m_retiredWindows.removeAt(i);
        }
    }
}

void X11ClipboardSession::discardEvents()
{
    while (EventPtr event{xcb_poll_for_event(m_connection)}) {
    }
}

void X11ClipboardSession::idle()
{
    discardEvents();
    pollfd fds[2] = {{xcb_get_file_descriptor(m_connection), POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
    // A broken connection stays readable; do not spin on it.
    const bool broken = xcb_connection_has_error(m_connection);
    if (::poll(broken ? fds + 1 : fds, broken ? 1 : 2, -1) > 0) {
        quint64 count = 0;
        if (::read(m_wakeFd, &count, sizeof count) < 0 && errno != EAGAIN)
            qCWarning(lcPlatform) << "clipboard reader: cannot read its wake-up counter:" << strerror(errno);
    }
}

X11ClipboardSession::Wait
X11ClipboardSession::waitFor(const std::function<bool(const xcb_generic_event_t *)> &match, EventPtr *event)
{
    const QDeadlineTimer deadline(X11ClipboardReader::transferTimeoutMs);
    for (;;) {
        while (EventPtr next{xcb_poll_for_event(m_connection)}) {
            if (match(next.get())) {
                *event = std::move(next);
                return Wait::matched;
            }
        }
        if (xcb_connection_has_error(m_connection))
            return Wait::broken;
        if (m_interrupted())
            return Wait::interrupted;
        const qint64 remaining = deadline.remainingTime();
        if (remaining == 0)
            return Wait::timedOut;
        pollfd fds[2] = {{xcb_get_file_descriptor(m_connection), POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
        if (::poll(fds, 2, int(remaining)) < 0 && errno != EINTR)
            return Wait::broken;
        if (fds[1].revents & POLLIN) {
            quint64 count = 0;
            (void)::read(m_wakeFd, &count, sizeof count);
        }
    }
}

PasteboardData X11ClipboardSession::giveUp(Wait reason, xcb_atom_t target)
{
    switch (reason) {
    case Wait::timedOut:
        qCInfo(lcPlatform).nospace().noquote()
            << "the clipboard owner sent nothing for " << X11ClipboardReader::transferTimeoutMs
            << " ms; giving up on " << m_atomNames.value(target);
        retireWindow();
        break;
    case Wait::interrupted:
        retireWindow();
        break;
    case Wait::broken:
        if (!m_reportedBrokenConnection)
            qCWarning(lcPlatform) << "clipboard reader lost its connection to the X server";
        m_reportedBrokenConnection = true;
        break;
    case Wait::matched:
        break;
    }
    return PasteboardData::of(reason == Wait::interrupted ? PasteboardData::Outcome::cancelled
                                                          : PasteboardData::Outcome::failed);
}

X11ClipboardSession::Transfer X11ClipboardSession::convert(xcb_atom_t target, qsizetype limit)
{
    if (m_interrupted())
        return {PasteboardData::of(PasteboardData::Outcome::cancelled)};
    xcb_delete_property(m_connection, m_window, m_property);
    xcb_convert_selection(m_connection, m_window, m_clipboard, target, m_property, XCB_CURRENT_TIME);
    xcb_flush(m_connection);

    const xcb_window_t window = m_window;
    const xcb_atom_t clipboard = m_clipboard;
    EventPtr event;
    const Wait wait = waitFor(
        [window, clipboard](const xcb_generic_event_t *e) {
            if ((e->response_type & 0x7f) != XCB_SELECTION_NOTIFY)
                return false;
            const auto *notify = reinterpret_cast<const xcb_selection_notify_event_t *>(e);
            return notify->requestor == window && notify->selection == clipboard;
        },
        &event);
    if (wait != Wait::matched)
        return {giveUp(wait, target)};

    const xcb_atom_t property = reinterpret_cast<const xcb_selection_notify_event_t *>(event.get())->property;
    if (property == XCB_NONE)
        return {PasteboardData::of(PasteboardData::Outcome::refused)};

    // Type and size first, so that an oversize property is never read.
    const PropertyPtr head(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, m_window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 0),
        nullptr));
    if (!head)
        return {PasteboardData::of(PasteboardData::Outcome::failed)};
    if (head->type == m_incr)
        return readIncrementally(property, target, limit);
    if (qint64(head->bytes_after) > limit) {
        xcb_delete_property(m_connection, m_window, property);
        xcb_flush(m_connection);
        return {PasteboardData::of(PasteboardData::Outcome::tooLarge, head->bytes_after), head->type};
    }
    X11SelectionData data(limit);
    data.bytes().reserve(qsizetype(head->bytes_after));
    xcb_atom_t type = head->type;
    switch (appendProperty(property, data, type)) {
    case Append::complete:
        return {PasteboardData::received(std::move(data.bytes())), type};
    case Append::tooLarge:
        xcb_delete_property(m_connection, m_window, property);
        xcb_flush(m_connection);
        return {PasteboardData::of(PasteboardData::Outcome::tooLarge, data.seen()), type};
    case Append::failed:
        break;
    }
    return {PasteboardData::of(PasteboardData::Outcome::failed)};
}

X11ClipboardSession::Append X11ClipboardSession::appendProperty(xcb_atom_t property, X11SelectionData &data,
                                                                xcb_atom_t &type)
{
    // Offsets count 32-bit units; every piece but the last is a whole number of them.
    for (uint32_t offset = 0;;) {
        const PropertyPtr piece(xcb_get_property_reply(m_connection,
                                                       xcb_get_property(m_connection, 1, m_window, property,
                                                                        XCB_GET_PROPERTY_TYPE_ANY, offset,
                                                                        propertyPieceBytes / 4),
                                                       nullptr));
        if (!piece)
            return Append::failed;
        const int length = xcb_get_property_value_length(piece.get());
        m_bytesRead += length;
        if (type == XCB_NONE)
            type = piece->type;
        // The server deletes the property along with the read that leaves nothing after it.
        switch (data.append(static_cast<const char *>(xcb_get_property_value(piece.get())), length,
                            piece->bytes_after)) {
        case X11SelectionData::Append::tooLarge:
            return Append::tooLarge;
        case X11SelectionData::Append::complete:
            return Append::complete;
        case X11SelectionData::Append::more:
            break;
        }
        offset += uint32_t(length) / 4;
    }
}

// The owner announced an INCR transfer: every deletion of the property asks for the next chunk, and a
// chunk of zero length ends it.
X11ClipboardSession::Transfer X11ClipboardSession::readIncrementally(xcb_atom_t property, xcb_atom_t target,
                                                                     qsizetype limit)
{
    const PropertyPtr header(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, m_window, property, m_incr, 0, 1), nullptr));
    const quint32 announced =
        header
            ? X11SelectionData::announcedSize(static_cast<const char *>(xcb_get_property_value(header.get())),
                                              xcb_get_property_value_length(header.get()))
            : 0;
    if (qint64(announced) > limit) {
        // Never asked for a chunk: the owner waits for a deletion that does not come, then gives up.
        retireWindow();
        return {PasteboardData::of(PasteboardData::Outcome::tooLarge, announced), target};
    }

    X11SelectionData data(limit);
    data.bytes().reserve(qsizetype(announced));
    xcb_atom_t type = XCB_NONE;
    xcb_delete_property(m_connection, m_window, property);
    xcb_flush(m_connection);

    const xcb_window_t window = m_window;
    const auto newValue = [window, property](const xcb_generic_event_t *e) {
        if ((e->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            return false;
        const auto *notify = reinterpret_cast<const xcb_property_notify_event_t *>(e);
        return notify->window == window && notify->atom == property &&
               notify->state == XCB_PROPERTY_NEW_VALUE;
    };
    for (;;) {
        EventPtr event;
        const Wait wait = waitFor(newValue, &event);
        if (wait != Wait::matched)
            return {giveUp(wait, target)};

        // An empty chunk ends the transfer; it is deleted by the read like any other.
        const qsizetype before = data.bytes().size();
        const Append append = appendProperty(property, data, type);
        xcb_flush(m_connection);
        if (append == Append::failed)
            return {PasteboardData::of(PasteboardData::Outcome::failed)};
        if (append == Append::tooLarge) {
            retireWindow();
            return {PasteboardData::of(PasteboardData::Outcome::tooLarge, data.seen()), type};
        }
        if (data.bytes().size() == before) {
            data.bytes().squeeze();
            return {PasteboardData::received(std::move(data.bytes())), type};
        }
    }
}

QStringList X11ClipboardSession::atomNames(const QList<xcb_atom_t> &atoms)
{
    QList<QPair<xcb_atom_t, xcb_get_atom_name_cookie_t>> pending;
    for (xcb_atom_t atom : atoms) {
        if (atom != XCB_NONE && !m_atomNames.contains(atom))
            pending.append({atom, xcb_get_atom_name(m_connection, atom)});
    }
    for (const auto &[atom, cookie] : std::as_const(pending)) {
        std::unique_ptr<xcb_get_atom_name_reply_t, FreeDeleter> reply(
            xcb_get_atom_name_reply(m_connection, cookie, nullptr));
        if (reply)
            m_atomNames.insert(atom, QString::fromUtf8(xcb_get_atom_name_name(reply.get()),
                                                       xcb_get_atom_name_name_length(reply.get())));
    }
    QStringList names;
    for (xcb_atom_t atom : atoms)
        names.append(m_atomNames.value(atom));
    return names;
}

PasteboardContent X11ClipboardSession::read(const PasteboardRequest &request)
{
    discardEvents();
    destroyRetiredWindows(false);
    m_offered.clear();
    m_bytesRead = 0;

    PasteboardContent unread;
    unread.changeCount = request.changeCount;

    const std::unique_ptr<xcb_get_selection_owner_reply_t, FreeDeleter> owner(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, m_clipboard), nullptr));
    if (!owner) {
        unread.status = PasteboardContent::Status::unreadable;
        return unread;
    }
    if (owner->owner == XCB_NONE) {
        unread.status = PasteboardContent::Status::empty;
        return unread;
    }

    const Transfer targets = convert(m_targets, maxTargetsBytes);
    if (targets.data.outcome != PasteboardData::Outcome::received) {
        if (targets.data.outcome == PasteboardData::Outcome::cancelled) {
            unread.status = PasteboardContent::Status::superseded;
        } else {
            qCDebug(lcPlatform) << "the clipboard owner gave no list of targets";
            unread.status = PasteboardContent::Status::unreadable;
        }
        return unread;
    }
    const QList<quint32> atoms = X11SelectionData::targetAtoms(targets.data.bytes);
    X11SelectionData::Offer offer = X11SelectionData::offer(atoms, atomNames(atoms));
    m_offered = std::move(offer.atoms);
    const QStringList &types = offer.types;

    PasteboardContent content =
        PasteboardContent::read(request.changeCount, types, request.isExcluded,
                                [this](const QString &type, qsizetype limit) { return fetch(type, limit); });
    if (request.keepEveryType && content.status == PasteboardContent::Status::received)
        readEveryType(content);
    return content;
}

void X11ClipboardSession::readEveryType(PasteboardContent &content)
{
    if (!content.text) {
        const PasteboardData text = fetch(QStringLiteral("text/plain"), PasteboardLimits::maxTextBytes);
        if (text.outcome == PasteboardData::Outcome::received)
            content.text = PasteboardContent::cleanedText(text.bytes);
    }
    qsizetype budget = PasteboardLimits::maxImageBytes;
    for (auto offered = m_offered.cbegin(); offered != m_offered.cend() && budget > 0; ++offered) {
        if (content.text &&
            (X11SelectionData::isTextTarget(offered.key()) || offered.key() == QLatin1String("text/plain")))
            continue;
        const Transfer transfer = convert(offered.value(), budget);
        if (transfer.data.outcome == PasteboardData::Outcome::cancelled)
            break;
        if (transfer.data.outcome != PasteboardData::Outcome::received)
            continue;
        budget -= transfer.data.bytes.size();
        content.everyType.append({offered.key(), transfer.data.bytes});
    }
}

PasteboardData X11ClipboardSession::fetch(const QString &type, qsizetype limit)
{
    if (type != QLatin1String("text/plain")) {
        const xcb_atom_t atom = m_offered.value(type, XCB_NONE);
        return atom == XCB_NONE ? PasteboardData::of(PasteboardData::Outcome::refused)
                                : convert(atom, limit).data;
    }
    // UTF-8 first; Latin-1 STRING is converted; COMPOUND_TEXT is not read.
    static const char *const textTargets[] = {"UTF8_STRING", "text/plain;charset=utf-8", "text/plain",
                                              "STRING", "TEXT"};
    for (const char *name : textTargets) {
        const xcb_atom_t atom = m_offered.value(QLatin1String(name), XCB_NONE);
        if (atom == XCB_NONE)
            continue;
        Transfer transfer = convert(atom, limit);
        if (transfer.data.outcome == PasteboardData::Outcome::refused)
            continue;
        if (transfer.data.outcome == PasteboardData::Outcome::received && transfer.type == XCB_ATOM_STRING)
            transfer.data.bytes = QString::fromLatin1(transfer.data.bytes).toUtf8();
        return transfer.data;
    }
    return PasteboardData::of(PasteboardData::Outcome::refused);
}
