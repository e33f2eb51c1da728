#pragma once

#include "Core/EnumNames.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

// formatted writes text back exactly as stored; plainText trims surrounding whitespace first.
// QML names the cases through the namespace, Clipboard.PasteMode.formatted: it reads enum values only by
// their scope when they start with a lower-case letter.
namespace Clipboard {
Q_NAMESPACE
QML_ELEMENT
enum class PasteMode
{
    formatted,
    plainText
};
Q_ENUM_NS(PasteMode)
} // namespace Clipboard
using Clipboard::PasteMode;

template <> struct EnumTraits<PasteMode>
{
    static constexpr std::array<const char *, 2> names{"formatted", "plainText"};
};
