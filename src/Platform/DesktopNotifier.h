#pragma once

#include <QString>

#include <memory>

// Tells the user something while no window of ours is open: a desktop notification.
class DesktopNotifier
{
public:
    virtual ~DesktopNotifier() = default;

    // The freedesktop notification service on the session bus; nothing without a session bus or a
    // notification service on it.
    static std::unique_ptr<DesktopNotifier> createDefault();

    // Shows the notification without waiting for the service. False when it could not be sent.
    virtual bool notify(const QString &summary, const QString &body) = 0;
};
