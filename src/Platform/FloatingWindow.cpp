#include "Platform/FloatingWindow.h"

#include "Platform/X11/X11FloatingWindow.h"

#include <QGuiApplication>

namespace FloatingWindow {

void showOnAllDesktops(QWindow *window)
{
    if (window && QGuiApplication::platformName() == QLatin1String("xcb"))
        X11FloatingWindow::showOnAllDesktops(window);
}

} // namespace FloatingWindow
