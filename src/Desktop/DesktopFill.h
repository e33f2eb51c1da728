#pragma once

#include "Core/EnumNames.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

// QML names the cases through the namespace, Desktop.DesktopFill.systemMaterial: it reads enum values only by
// their scope when they start with a lower-case letter.
namespace Desktop {
Q_NAMESPACE
QML_ELEMENT
enum class DesktopFill
{
    systemMaterial,
    solidInk,
    blur,
    matchWallpaper
};
Q_ENUM_NS(DesktopFill)
} // namespace Desktop
using Desktop::DesktopFill;

template <> struct EnumTraits<DesktopFill>
{
    static constexpr std::array<const char *, 4> names{"systemMaterial", "solidInk", "blur",
                                                       "matchWallpaper"};
};
