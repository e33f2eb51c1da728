#include "Platform/X11/X11KeystrokePoster.h"
#include "Platform/X11/X11Connection.h"

#include "Core/Logging.h"

#include <QGuiApplication>
#include <QList>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <cstdlib>

namespace {

constexpr xcb_keysym_t keysymControlL = 0xffe3;
constexpr xcb_keysym_t keysymShiftL = 0xffe1;
constexpr xcb_keysym_t keysymInsert = 0xff63;
constexpr xcb_keysym_t keysymV = 0x0076;
// Where the keys sit in the evdev map, for keyboard maps that have no "v" at all.
constexpr xcb_keycode_t evdevKeycodeV = 55;
constexpr xcb_keycode_t evdevKeycodeControlL = 37;
constexpr xcb_keycode_t evdevKeycodeShiftL = 50;
constexpr xcb_keycode_t evdevKeycodeInsert = 118;

xcb_keycode_t keycodeFor(xcb_key_symbols_t *symbols, xcb_keysym_t keysym)
{
    xcb_keycode_t *codes = xcb_key_symbols_get_keycode(symbols, keysym);
    const xcb_keycode_t code = codes ? codes[0] : XCB_NO_SYMBOL;
    std::free(codes);
    return code;
}

bool inKeycodeRange(xcb_connection_t *connection, xcb_keycode_t code)
{
    const xcb_setup_t *setup = xcb_get_setup(connection);
    return code != 0 && code >= setup->min_keycode && code <= setup->max_keycode;
}

// Keycodes bound to any modifier (Shift, Control, Super, Alt, …) that are down right now. A paste
// fired from a global shortcut arrives while the user may still hold its modifiers, and the target
// would see Super+Shift+Control+V instead of Control+V.
QList<xcb_keycode_t> heldModifierKeycodes(xcb_connection_t *connection)
{
    const xcb_get_modifier_mapping_cookie_t mappingCookie = xcb_get_modifier_mapping(connection);
    const xcb_query_keymap_cookie_t keymapCookie = xcb_query_keymap(connection);
    xcb_get_modifier_mapping_reply_t *mapping =
        xcb_get_modifier_mapping_reply(connection, mappingCookie, nullptr);
    xcb_query_keymap_reply_t *keymap = xcb_query_keymap_reply(connection, keymapCookie, nullptr);

    QList<xcb_keycode_t> held;
    if (mapping && keymap) {
        const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(mapping);
        const int count = xcb_get_modifier_mapping_keycodes_length(mapping);
        for (int i = 0; i < count; ++i) {
            const xcb_keycode_t code = codes[i];
            if (code != 0 && (keymap->keys[code / 8] & (1u << (code % 8))) && !held.contains(code))
                held.append(code);
        }
    }
    std::free(mapping);
    std::free(keymap);
    return held;
}

void fakeKey(xcb_connection_t *connection, uint8_t type, xcb_keycode_t code)
{
    xcb_test_fake_input(connection, type, code, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
}

} // namespace

X11KeystrokePoster::X11KeystrokePoster() = default;
X11KeystrokePoster::~X11KeystrokePoster() = default;

bool X11KeystrokePoster::isAvailable() const
{
    if (!m_available) {
        xcb_connection_t *connection = X11Connection::connection();
        if (!connection)
            return false;
        const xcb_query_extension_reply_t *extension = xcb_get_extension_data(connection, &xcb_test_id);
        m_available = extension && extension->present;
        if (!*m_available)
            qCWarning(lcPlatform)
                << "the X server has no XTEST extension; pasting needs the user's keystroke";
    }
    return *m_available;
}

bool X11KeystrokePoster::postPasteKeystroke(PasteKeystroke keystroke)
{
    xcb_connection_t *connection = X11Connection::connection();
    if (!connection || !isAvailable())
        return false;

    // Looked up at every paste, so a layout switch since the last one is honoured.
    xcb_key_symbols_t *symbols = xcb_key_symbols_alloc(connection);
    if (!symbols)
        return false;
    const auto lookUp = [&](xcb_keysym_t keysym, xcb_keycode_t fallback) {
        const xcb_keycode_t code = keycodeFor(symbols, keysym);
        if (inKeycodeRange(connection, code))
            return code;
        qCDebug(lcPlatform) << "no key types keysym" << Qt::hex << keysym << "here; using the evdev position";
        return fallback;
    };
    QList<xcb_keycode_t> keys;
    switch (keystroke) {
    case PasteKeystroke::controlV:
        keys = {lookUp(keysymControlL, evdevKeycodeControlL), lookUp(keysymV, evdevKeycodeV)};
        break;
    case PasteKeystroke::controlShiftV:
        keys = {lookUp(keysymControlL, evdevKeycodeControlL), lookUp(keysymShiftL, evdevKeycodeShiftL),
                lookUp(keysymV, evdevKeycodeV)};
        break;
    case PasteKeystroke::shiftInsertFromSelection:
        keys = {lookUp(keysymShiftL, evdevKeycodeShiftL), lookUp(keysymInsert, evdevKeycodeInsert)};
        break;
    }
    xcb_key_symbols_free(symbols);
    for (const xcb_keycode_t code : std::as_const(keys)) {
        if (!inKeycodeRange(connection, code)) {
            qCWarning(lcPlatform) << "no key codes for" << enumName(keystroke) << "on this display";
            return false;
        }
    }

    const QList<xcb_keycode_t> held = heldModifierKeycodes(connection);
    for (const xcb_keycode_t code : held)
        fakeKey(connection, XCB_KEY_RELEASE, code);
    if (!held.isEmpty())
        qCDebug(lcPlatform) << "released held modifier keys" << held;

    for (const xcb_keycode_t code : std::as_const(keys))
        fakeKey(connection, XCB_KEY_PRESS, code);
    for (auto code = keys.crbegin(); code != keys.crend(); ++code)
        fakeKey(connection, XCB_KEY_RELEASE, *code);

    // A round trip makes sure the server has taken the events before we report success.
    xcb_generic_error_t *error = nullptr;
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), &error));
    const bool ok = error == nullptr && !xcb_connection_has_error(connection);
    std::free(error);
    return ok;
}
