#include "DesktopTools.h"

#include "PeerProcess.h"
#include "TestTime.h"

#include <QDebug>
#include <QGuiApplication>
#include <QTest>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>

std::optional<QByteArray> xclipOutput(const QString &target)
{
    QStringList arguments{"-o", "-selection", "clipboard"};
    if (!target.isEmpty())
        arguments << "-t" << target;
    const ToolResult result = runTool("xclip", arguments).value_or(ToolResult());
    return result.exitCode == 0 ? std::optional(result.output) : std::nullopt;
}

bool xdotool(const QStringList &arguments)
{
    const int exitCode = runTool("xdotool", arguments).value_or(ToolResult()).exitCode;
    if (exitCode != 0)
        qWarning() << "xdotool" << arguments << exitCode;
    return exitCode == 0;
}

bool pressKeys(const QString &combination)
{
    return xdotool({"key", "--clearmodifiers", combination});
}

bool setKeyboardLayout(const QStringList &arguments)
{
    return runTool("setxkbmap", arguments).value_or(ToolResult()).exitCode == 0;
}

bool activatePeerWindow(PeerProcess &peer)
{
    return xdotool({"windowactivate", "--sync", peer.readyLine().section(u' ', 1, 1)});
}

bool peerHasFocus(PeerProcess &peer)
{
    const auto focused = [&] {
        peer.writeLine("focus");
        return peer.readLine(1000) == QStringLiteral("focus 1");
    };
    return QTest::qWaitFor(focused, scaledTimeout(10000));
}

QString peerText(PeerProcess &peer)
{
    peer.writeLine("text");
    return peer.readLine(1000).value_or(QString()).mid(5);
}

bool publishRootBackground(const QImage &image)
{
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *c = x11 ? x11->connection() : nullptr;
    if (!c)
        return false;
    xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    for (const char *name : {"_XROOTPMAP_ID", "ESETROOT_PMAP_ID"}) {
        auto *atom = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(qstrlen(name)), name), nullptr);
        xcb_delete_property(c, screen->root, atom->atom);
        if (!image.isNull()) {
            const QImage pixels = image.convertToFormat(QImage::Format_RGB32);
            const xcb_pixmap_t pixmap = xcb_generate_id(c);
            xcb_create_pixmap(c, screen->root_depth, pixmap, screen->root, uint16_t(pixels.width()),
                              uint16_t(pixels.height()));
            const xcb_gcontext_t gc = xcb_generate_id(c);
            xcb_create_gc(c, gc, pixmap, 0, nullptr);
            // In pieces well below the server's request size limit.
            for (int y = 0; y < pixels.height(); y += 64) {
                const int rows = std::min(64, pixels.height() - y);
                xcb_put_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, gc, uint16_t(pixels.width()),
                              uint16_t(rows), 0, int16_t(y), 0, screen->root_depth,
                              uint32_t(rows * pixels.bytesPerLine()), pixels.constScanLine(y));
            }
            xcb_free_gc(c, gc);
            xcb_change_property(c, XCB_PROP_MODE_REPLACE, screen->root, atom->atom, XCB_ATOM_PIXMAP, 32, 1,
                                &pixmap);
        }
        std::free(atom);
    }
    // A round trip, so the wallpaper is in place when this returns.
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    return true;
}
