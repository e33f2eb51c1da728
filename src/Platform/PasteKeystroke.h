#pragma once

#include "Core/EnumNames.h"

struct WindowClass;

// The key combination that pastes the clipboard into a given program.
enum class PasteKeystroke
{
    controlV,
    // Terminals: Control+V is a control character there.
    controlShiftV,
    // Terminals with no key for the clipboard at all by default; Shift+Insert pastes the primary
    // selection, so the text has to be put there first.
    shiftInsertFromSelection
};

template <> struct EnumTraits<PasteKeystroke>
{
    static constexpr std::array<const char *, 3> names{"controlV", "controlShiftV",
                                                       "shiftInsertFromSelection"};
};

namespace PasteKeystrokes {
// By the target window's class: known terminals get theirs, everything else Control+V.
PasteKeystroke forWindowClass(const WindowClass &windowClass);
} // namespace PasteKeystrokes
