#include "Platform/HotkeyRegistrar.h"

#include "Core/Logging.h"
#include "Platform/X11/X11HotkeyRegistrar.h"

#include <QGuiApplication>

namespace {

class UnavailableHotkeyRegistrar final : public HotkeyRegistrar
{
public:
    using HotkeyRegistrar::HotkeyRegistrar;
    bool grab(quint32, Qt::Key, Qt::KeyboardModifiers) override { return false; }
    void ungrabAll() override {}
    bool isAvailable() const override { return false; }
};

} // namespace

std::unique_ptr<HotkeyRegistrar> HotkeyRegistrar::createDefault(QObject *parent)
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        return std::make_unique<X11HotkeyRegistrar>(parent);
    qCInfo(lcPlatform) << "global shortcuts are not supported on platform" << QGuiApplication::platformName();
    return std::make_unique<UnavailableHotkeyRegistrar>(parent);
}
