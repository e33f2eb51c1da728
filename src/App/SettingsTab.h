#pragma once

#include "App/RawValue.h"

// One settings page per case, in this order.
enum class SettingsTab { general, clipboard, mirror, desktop, permissions, about };

template <> struct EnumTraits<SettingsTab>
{
    static constexpr std::array<const char *, 6> names{"general", "clipboard", "mirror",
                                                       "desktop", "permissions", "about"};
};
