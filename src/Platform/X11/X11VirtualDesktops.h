#pragma once

#include "Platform/VirtualDesktops.h"

#include <memory>

class X11RootEvents;

// Watches _NET_CURRENT_DESKTOP on the root window.
class X11VirtualDesktops final : public VirtualDesktops
{
    Q_OBJECT
public:
    explicit X11VirtualDesktops(QObject *parent = nullptr);
    ~X11VirtualDesktops() override;

private:
    std::unique_ptr<X11RootEvents> m_events;
    quint32 m_currentDesktopAtom = 0;
};
