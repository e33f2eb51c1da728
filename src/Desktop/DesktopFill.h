#pragma once

#include "App/RawValue.h"

enum class DesktopFill { systemMaterial, solidInk, blur, matchWallpaper };

template <> struct EnumTraits<DesktopFill>
{
    static constexpr std::array<const char *, 4> names{"systemMaterial", "solidInk", "blur", "matchWallpaper"};
};
