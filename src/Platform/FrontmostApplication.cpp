#include "Platform/FrontmostApplication.h"

#include "Core/Logging.h"
#include "Platform/X11/X11FrontmostApplication.h"

#include <QGuiApplication>

namespace {

class NoFrontmostApplication final : public FrontmostApplication
{
public:
    QString name() const override { return QString(); }
};

} // namespace

std::unique_ptr<FrontmostApplication> FrontmostApplication::createDefault()
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        return std::make_unique<X11FrontmostApplication>();
    qCInfo(lcPlatform) << "the active application cannot be named on platform"
                       << QGuiApplication::platformName();
    return std::make_unique<NoFrontmostApplication>();
}
