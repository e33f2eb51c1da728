#include "Platform/DesktopSession.h"

#include <xcb/xcb.h>

namespace DesktopSession {

void preferX11()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "xcb");
}

QString unavailableReason()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    // Tests run parts of Halcy on these; they need no desktop.
    if (platform.startsWith("offscreen") || platform.startsWith("minimal"))
        return QString();
    const bool wayland = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (!platform.isEmpty() && !platform.startsWith("xcb"))
        return QStringLiteral(
                   "Halcy needs X11 and cannot run on the \"%1\" platform: under Wayland, start it "
                   "through XWayland with QT_QPA_PLATFORM=xcb.")
            .arg(QString::fromLocal8Bit(platform));

    const QByteArray display = qgetenv("DISPLAY");
    if (display.isEmpty() && wayland)
        return QStringLiteral("Halcy needs X11: this Wayland session has no XWayland display (DISPLAY is not "
                              "set). Turn XWayland on in the compositor, then start Halcy with DISPLAY set.");
    if (display.isEmpty())
        return QStringLiteral("Halcy needs a desktop session: neither DISPLAY nor WAYLAND_DISPLAY is set.");

    xcb_connection_t *connection = xcb_connect(display.constData(), nullptr);
    const bool failed = xcb_connection_has_error(connection) != 0;
    xcb_disconnect(connection);
    if (failed)
        return QStringLiteral("Halcy needs a desktop session: cannot connect to display %1.")
            .arg(QString::fromLocal8Bit(display));
    return QString();
}

} // namespace DesktopSession
