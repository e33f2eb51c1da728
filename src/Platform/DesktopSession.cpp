#include "Platform/DesktopSession.h"

#include <xcb/xcb.h>

namespace DesktopSession {

QString unavailableReason()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb"))
        return QString(); // offscreen, wayland, …: Qt reports its own problems for these.

    if (platform.isEmpty() && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return QString();

    const QByteArray display = qgetenv("DISPLAY");
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
