#include "Core/ScreenChanges.h"

#include <QGuiApplication>
#include <QScreen>

void ScreenChanges::watch(QObject *context, void (QScreen::*areaChanged)(const QRect &),
                          const std::function<void()> &changed)
{
    const auto watchScreen = [context, areaChanged, changed](QScreen *screen) {
        QObject::connect(screen, areaChanged, context, changed);
    };
    QObject::connect(qGuiApp, &QGuiApplication::screenAdded, context,
                     [watchScreen, changed](QScreen *screen) {
                         watchScreen(screen);
                         changed();
                     });
    QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, context, changed);
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (QScreen *screen : screens)
        watchScreen(screen);
}
