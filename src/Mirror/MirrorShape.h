#pragma once

#include "Core/EnumNames.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

// QML names the cases through the namespace, Mirror.MirrorShape.roundedRectangle: it reads enum values only
// by their scope when they start with a lower-case letter.
namespace Mirror {
Q_NAMESPACE
QML_ELEMENT
enum class MirrorShape
{
    roundedRectangle,
    circle,
    square
};
Q_ENUM_NS(MirrorShape)
} // namespace Mirror
using Mirror::MirrorShape;

template <> struct EnumTraits<MirrorShape>
{
    static constexpr std::array<const char *, 3> names{"roundedRectangle", "circle", "square"};
};
