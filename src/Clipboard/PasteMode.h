#pragma once

#include "App/RawValue.h"

// formatted writes text back exactly as stored; plainText trims surrounding whitespace first.
enum class PasteMode { formatted, plainText };

template <> struct EnumTraits<PasteMode>
{
    static constexpr std::array<const char *, 2> names{"formatted", "plainText"};
};
