#pragma once

#include "Core/EnumNames.h"

#include <QString>

// The modifiers a global shortcut may carry. The declaration order is fixed: it indexes the tables
// below and the platform backends' own tables.
enum class Modifier
{
    command,
    shift,
    control,
    option
};

// The names are the display names, not the case names.
template <> struct EnumTraits<Modifier>
{
    static constexpr std::array<const char *, 4> names{"Command", "Shift", "Control", "Option"};
};

// The symbol of a modifier as macOS menus print it.
inline QString modifierSymbol(Modifier modifier)
{
    switch (modifier) {
    case Modifier::command:
        return QStringLiteral("\u2318"); // ⌘
    case Modifier::shift:
        return QStringLiteral("\u21E7"); // ⇧
    case Modifier::control:
        return QStringLiteral("\u2303"); // ⌃
    case Modifier::option:
        return QStringLiteral("\u2325"); // ⌥
    }
    return {};
}
