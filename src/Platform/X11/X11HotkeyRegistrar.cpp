#include "Platform/X11/X11HotkeyRegistrar.h"
#include "Platform/X11/X11Connection.h"

#include "Core/Logging.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QMetaObject>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <initializer_list>
#include <utility>

namespace {

constexpr xcb_keysym_t keysymNumLock = 0xff7f;
constexpr xcb_keysym_t keysymSuperL = 0xffeb;
constexpr xcb_keysym_t keysymSuperR = 0xffec;
constexpr xcb_keysym_t keysymAltL = 0xffe9;
constexpr xcb_keysym_t keysymAltR = 0xffea;
constexpr uint8_t errorBadAccess = 10;
// Shift, Lock, Control and Mod1–Mod5; the button bits of a key event's state do not matter.
constexpr uint16_t keyboardModifierBits = 0x00ff;
// XKEYBOARD event subtypes that mean the keys now type something else.
constexpr uint8_t xkbNewKeyboardNotify = 0;
constexpr uint8_t xkbMapNotify = 1;

// Letters, digits and the punctuation of the shortcut table have Latin-1 keysyms equal to their
// character; Qt names letters by their upper-case form, the keysym that the unshifted key types is
// lower case.
xcb_keysym_t keysymFor(Qt::Key key)
{
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return static_cast<xcb_keysym_t>(key - Qt::Key_A + 'a');
    if (key > Qt::Key_Space && key <= Qt::Key_AsciiTilde)
        return static_cast<xcb_keysym_t>(key);
    return XCB_NO_SYMBOL;
}

// Modifier indexes (Mod1 = 3 … Mod5 = 7) whose keys produce one of `keysyms`, as a mask.
class ModifierMap
{
public:
    explicit ModifierMap(xcb_connection_t *connection, xcb_key_symbols_t *symbols)
        : m_symbols(symbols),
          m_reply(xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr))
    {
    }
    ~ModifierMap() { std::free(m_reply); }
    ModifierMap(const ModifierMap &) = delete;
    ModifierMap &operator=(const ModifierMap &) = delete;

    uint16_t maskFor(std::initializer_list<xcb_keysym_t> keysyms, uint16_t fallback) const
    {
        if (!m_reply)
            return fallback;
        const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(m_reply);
        const int perModifier = m_reply->keycodes_per_modifier;
        for (int modifier = 3; modifier < 8; ++modifier) {
            for (int i = 0; i < perModifier; ++i) {
                const xcb_keycode_t code = codes[modifier * perModifier + i];
                if (code == 0)
                    continue;
                for (int column = 0; column < 4; ++column) {
                    const xcb_keysym_t sym = xcb_key_symbols_get_keysym(m_symbols, code, column);
                    for (const xcb_keysym_t wanted : keysyms) {
                        if (sym == wanted)
                            return static_cast<uint16_t>(1u << modifier);
                    }
                }
            }
        }
        return fallback;
    }

private:
    xcb_key_symbols_t *m_symbols;
    xcb_get_modifier_mapping_reply_t *m_reply;
};

QList<quint8> keycodesFor(xcb_key_symbols_t *symbols, xcb_keysym_t keysym)
{
    QList<quint8> result;
    xcb_keycode_t *codes = xcb_key_symbols_get_keycode(symbols, keysym);
    for (xcb_keycode_t *code = codes; code && *code != XCB_NO_SYMBOL; ++code) {
        if (!result.contains(*code))
            result.append(*code);
    }
    std::free(codes);
    return result;
}

std::array<uint16_t, 4> lockVariants(uint16_t lockMask)
{
    const uint16_t numLock = lockMask & ~XCB_MOD_MASK_LOCK;
    return {0, XCB_MOD_MASK_LOCK, numLock, static_cast<uint16_t>(XCB_MOD_MASK_LOCK | numLock)};
}

} // namespace

X11HotkeyRegistrar::X11HotkeyRegistrar(QObject *parent) : HotkeyRegistrar(parent)
{
    if (xcb_connection_t *connection = X11Connection::connection()) {
        m_root = X11Connection::rootWindow(connection);
        // Qt selects XKB's keymap events on its connection, and with them the server stops sending
        // the core MappingNotify; watch for both.
        static constexpr char xkbName[] = "XKEYBOARD";
        xcb_query_extension_reply_t *xkb = xcb_query_extension_reply(
            connection, xcb_query_extension(connection, sizeof(xkbName) - 1, xkbName), nullptr);
        if (xkb && xkb->present)
            m_xkbEventBase = xkb->first_event;
        std::free(xkb);
    }
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11HotkeyRegistrar::~X11HotkeyRegistrar()
{
    if (QCoreApplication *app = QCoreApplication::instance())
        app->removeNativeEventFilter(this);
    ungrabAll();
}

bool X11HotkeyRegistrar::grab(quint32 id, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    ungrabId(id);

    xcb_connection_t *connection = X11Connection::connection();
    const xcb_keysym_t keysym = keysymFor(key);
    if (!connection || m_root == 0 || keysym == XCB_NO_SYMBOL)
        return false;

    xcb_key_symbols_t *symbols = xcb_key_symbols_alloc(connection);
    if (!symbols)
        return false;
    Grab grab;
    grab.id = id;
    grab.key = key;
    grab.requested = modifiers;
    grab.keycodes = keycodesFor(symbols, keysym);
    {
        const ModifierMap map(connection, symbols);
        grab.lockMask = XCB_MOD_MASK_LOCK | map.maskFor({keysymNumLock}, XCB_MOD_MASK_2);
        if (modifiers & Qt::MetaModifier)
            grab.modifiers |= map.maskFor({keysymSuperL, keysymSuperR}, XCB_MOD_MASK_4);
        if (modifiers & Qt::ShiftModifier)
            grab.modifiers |= XCB_MOD_MASK_SHIFT;
        if (modifiers & Qt::ControlModifier)
            grab.modifiers |= XCB_MOD_MASK_CONTROL;
        if (modifiers & Qt::AltModifier)
            grab.modifiers |= map.maskFor({keysymAltL, keysymAltR}, XCB_MOD_MASK_1);
    }
    xcb_key_symbols_free(symbols);

    if (grab.keycodes.isEmpty()) {
        qCDebug(lcPlatform) << "no key of the current keyboard map types keysym" << Qt::hex << keysym;
        return false;
    }

    QList<xcb_void_cookie_t> cookies;
    for (const quint8 keycode : std::as_const(grab.keycodes)) {
        for (const uint16_t locks : lockVariants(grab.lockMask)) {
            cookies << xcb_grab_key_checked(connection, 0, m_root, grab.modifiers | locks, keycode,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        }
    }
    bool ok = true;
    for (const xcb_void_cookie_t cookie : std::as_const(cookies)) {
        if (xcb_generic_error_t *error = xcb_request_check(connection, cookie)) {
            if (ok) {
                qCDebug(lcPlatform) << "grab of key" << key << "modifiers" << Qt::hex << grab.modifiers
                                    << "failed"
                                    << (error->error_code == errorBadAccess ? "(taken by another client)"
                                                                            : "")
                                    << "error" << Qt::dec << error->error_code;
            }
            ok = false;
            std::free(error);
        }
    }
    if (!ok) {
        // Our own part of a combination someone else holds in another lock state is useless; give it
        // back. Ungrabbing a variant we never got is harmless: the other client's grab is untouched.
        release(grab);
        return false;
    }
    m_grabs.append(grab);
    return true;
}

void X11HotkeyRegistrar::ungrabAll()
{
    const QList<Grab> grabs = std::exchange(m_grabs, {});
    for (const Grab &grab : grabs)
        release(grab);
    m_held.clear();
}

void X11HotkeyRegistrar::ungrabId(quint32 id)
{
    for (qsizetype i = m_grabs.size() - 1; i >= 0; --i) {
        if (m_grabs.at(i).id == id)
            release(m_grabs.takeAt(i));
    }
}

// `grab` must no longer be in m_grabs. The server keeps one grab per key and modifier state and
// client, so a combination that another id of ours also uses stays grabbed.
void X11HotkeyRegistrar::release(const Grab &grab)
{
    xcb_connection_t *connection = X11Connection::connection();
    if (!connection || m_root == 0)
        return;
    for (const quint8 keycode : grab.keycodes) {
        const bool shared = std::any_of(m_grabs.cbegin(), m_grabs.cend(), [&](const Grab &other) {
            return other.modifiers == grab.modifiers && other.lockMask == grab.lockMask &&
                   other.keycodes.contains(keycode);
        });
        if (shared)
            continue;
        for (const uint16_t locks : lockVariants(grab.lockMask))
            xcb_ungrab_key(connection, keycode, m_root, grab.modifiers | locks);
    }
    xcb_flush(connection);
}

void X11HotkeyRegistrar::regrabAll()
{
    m_regrabQueued = false;
    const QList<Grab> grabs = m_grabs;
    for (const Grab &grab : grabs) {
        if (!this->grab(grab.id, grab.key, grab.requested))
            qCDebug(lcPlatform) << "after the keyboard map changed, key" << grab.key
                                << "could not be grabbed";
    }
    qCDebug(lcPlatform) << "keyboard map changed; grabbed" << m_grabs.size() << "of" << grabs.size()
                        << "again";
}

bool X11HotkeyRegistrar::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (m_grabs.isEmpty() || eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const uint8_t type = event->response_type & ~0x80;
    const bool keymapChanged =
        type == XCB_MAPPING_NOTIFY || (m_xkbEventBase != 0 && type == m_xkbEventBase &&
                                       (event->pad0 == xkbNewKeyboardNotify || event->pad0 == xkbMapNotify));
    if (keymapChanged && !m_regrabQueued) {
        // One layout switch brings several of these; Qt must also have read the new map first.
        m_regrabQueued = true;
        QMetaObject::invokeMethod(this, &X11HotkeyRegistrar::regrabAll, Qt::QueuedConnection);
        return false;
    }
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE)
        return false;
    const auto *key = static_cast<const xcb_key_press_event_t *>(message);
    if (key->event != m_root)
        return false;

    if (type == XCB_KEY_RELEASE) {
        m_lastRelease = {key->detail, key->time};
        return m_held.remove(key->detail);
    }

    for (const Grab &grab : std::as_const(m_grabs)) {
        const uint16_t state = key->state & keyboardModifierBits & ~grab.lockMask;
        if (state != grab.modifiers || !grab.keycodes.contains(key->detail))
            continue;
        // A held key repeats: either as presses without releases, or as release/press pairs that
        // carry the same time stamp, depending on the client's auto-repeat mode.
        const bool repeat = m_held.contains(key->detail) ||
                            (m_lastRelease.keycode == key->detail && m_lastRelease.time == key->time);
        m_held.insert(key->detail);
        if (repeat)
            return true;
        const quint32 id = grab.id;
        QMetaObject::invokeMethod(
            this, [this, id] { Q_EMIT pressed(id); }, Qt::QueuedConnection);
        return true;
    }
    return false;
}
