#include "Clipboard/ClipboardContentType.h"

QString displayName(ClipboardContentType type)
{
    switch (type) {
    case ClipboardContentType::text:
        return QStringLiteral("Text");
    case ClipboardContentType::link:
        return QStringLiteral("Link");
    case ClipboardContentType::image:
        return QStringLiteral("Image");
    case ClipboardContentType::file:
        return QStringLiteral("File");
    case ClipboardContentType::color:
        return QStringLiteral("Color");
    }
    return QStringLiteral("Text");
}

ClipboardContentType contentTypeFromRawValue(const QString &raw)
{
    return enumFromName<ClipboardContentType>(raw).value_or(ClipboardContentType::text);
}
