#include "Platform/WindowLayer.h"

#include "Core/Logging.h"
#include "Platform/X11/X11WindowLayer.h"

#include <QGuiApplication>

std::unique_ptr<WindowLayer> WindowLayer::createDefault(QObject *parent)
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        return std::make_unique<X11WindowLayer>(parent);
    return std::make_unique<WindowLayer>(parent);
}

void WindowLayer::prepare(QWindow *window, bool clickThrough)
{
    Qt::WindowFlags flags =
        Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnBottomHint | Qt::WindowDoesNotAcceptFocus;
    if (clickThrough)
        flags |= Qt::WindowTransparentForInput;
    window->setFlags(flags);
}

void WindowLayer::keep(const QList<QWindow *> &) {}
