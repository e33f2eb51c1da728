#pragma once

#include "Core/EnumNames.h"

#include <QString>

enum class ClipboardContentType
{
    text,
    link,
    image,
    file,
    color
};

template <> struct EnumTraits<ClipboardContentType>
{
    static constexpr std::array<const char *, 5> names{"text", "link", "image", "file", "color"};
};

// "Text", "Link", … as shown in rows and matched by search.
QString displayName(ClipboardContentType type);

// Unknown raw values (a newer build's kinds, a damaged row) read as text.
ClipboardContentType contentTypeFromRawValue(const QString &raw);
