#include "Platform/VirtualDesktops.h"

#include "Platform/X11/X11VirtualDesktops.h"

#include <QGuiApplication>

std::unique_ptr<VirtualDesktops> VirtualDesktops::createDefault(QObject *parent)
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        return std::make_unique<X11VirtualDesktops>(parent);
    return std::make_unique<VirtualDesktops>(parent);
}
