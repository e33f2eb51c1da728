#pragma once

#include "Platform/DesktopNotifier.h"

#include <QDBusConnection>

// org.freedesktop.Notifications over a D-Bus connection. Calls are sent without waiting for the
// reply, so a slow notification daemon never holds up the GUI thread.
class FreedesktopNotifier final : public DesktopNotifier
{
public:
    static constexpr const char *serviceName = "org.freedesktop.Notifications";

    explicit FreedesktopNotifier(QDBusConnection connection);
    // Whether the connection has a notification service, running or ready to be started.
    static bool isServedOn(const QDBusConnection &connection);

    bool notify(const QString &summary, const QString &body) override;

private:
    QDBusConnection m_connection;
};
