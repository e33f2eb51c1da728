#include "Platform/Pasteboard.h"

#include "Core/Logging.h"
#include "Platform/X11/X11Pasteboard.h"

#include <QGuiApplication>

std::unique_ptr<Pasteboard> Pasteboard::createDefault(QObject *parent)
{
    const QString platform = QGuiApplication::platformName();
    // The X11 backend only talks to QClipboard, so it also serves platforms without a backend of their
    // own (offscreen, where the clipboard is private to the process).
    if (platform != QLatin1String("xcb"))
        qCInfo(lcPlatform) << "no dedicated clipboard backend for platform" << platform
                           << "- using Qt's clipboard";
    return std::make_unique<X11Pasteboard>(parent);
}
