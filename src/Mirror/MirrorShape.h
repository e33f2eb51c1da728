#pragma once

#include "App/RawValue.h"

enum class MirrorShape { roundedRectangle, circle, square };

template <> struct EnumTraits<MirrorShape>
{
    static constexpr std::array<const char *, 3> names{"roundedRectangle", "circle", "square"};
};
