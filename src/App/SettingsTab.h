#pragma once

#include "Core/EnumNames.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

// One settings page per case, in this order.
// QML names the cases through the namespace, Settings.SettingsTab.general: it reads enum values only by
// their scope when they start with a lower-case letter.
namespace Settings {
Q_NAMESPACE
QML_ELEMENT
enum class SettingsTab
{
    general,
    clipboard,
    mirror,
    desktop,
    permissions,
    about
};
Q_ENUM_NS(SettingsTab)
} // namespace Settings
using Settings::SettingsTab;

template <> struct EnumTraits<SettingsTab>
{
    static constexpr std::array<const char *, 6> names{"general", "clipboard",   "mirror",
                                                       "desktop", "permissions", "about"};
};
