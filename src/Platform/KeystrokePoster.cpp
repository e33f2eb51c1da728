#include "Platform/KeystrokePoster.h"

#include "Core/Logging.h"
#include "Platform/X11/X11KeystrokePoster.h"

#include <QGuiApplication>

namespace {

class UnavailableKeystrokePoster final : public KeystrokePoster
{
public:
    bool isAvailable() const override { return false; }
    bool postPasteKeystroke(PasteKeystroke) override { return false; }
};

} // namespace

std::unique_ptr<KeystrokePoster> KeystrokePoster::createDefault()
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        return std::make_unique<X11KeystrokePoster>();
    qCInfo(lcPlatform) << "simulated paste is not supported on platform" << QGuiApplication::platformName();
    return std::make_unique<UnavailableKeystrokePoster>();
}
