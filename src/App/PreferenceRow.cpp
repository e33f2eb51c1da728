#include "App/PreferenceRow.h"

#include <QRect>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}

QVariant strictBool(const QVariant &stored)
{
    return stored.typeId() == QMetaType::Bool ? stored : QVariant();
}

QVariant lenientBool(const QVariant &stored)
{
    if (!stored.isValid())
        return {};
    if (stored.typeId() == QMetaType::Bool)
        return stored;
    if (isNumber(stored))
        return stored.toDouble() != 0.0;
    if (stored.typeId() == QMetaType::QString) {
        const QString text = stored.toString().trimmed().toLower();
        return text == QLatin1String("true") || text == QLatin1String("yes") ||
               (!text.isEmpty() && text.toDouble() != 0.0);
    }
    return false;
}

QVariant boolToStored(const QVariant &value)
{
    return value.typeId() == QMetaType::Bool ? value : QVariant();
}

QVariant colorFromStored(const QVariant &stored)
{
    if (stored.typeId() != QMetaType::QVariantList)
        return {};
    const QVariantList components = stored.toList();
    if (components.size() != 4)
        return {};
    float rgba[4];
    for (int i = 0; i < 4; ++i) {
        if (!isNumber(components.at(i)))
            return {};
        rgba[i] = static_cast<float>(qBound(0.0, components.at(i).toDouble(), 1.0));
    }
    return QColor::fromRgbF(rgba[0], rgba[1], rgba[2], rgba[3]);
}

QVariant colorToStored(const QVariant &value)
{
    const QColor color = value.value<QColor>();
    if (value.typeId() != QMetaType::QColor || !color.isValid())
        return {};
    const QColor rgb = color.toRgb();
    return QVariantList{double(rgb.redF()), double(rgb.greenF()), double(rgb.blueF()), double(rgb.alphaF())};
}

QVariant textFromStored(const QVariant &stored)
{
    return stored.typeId() == QMetaType::QString ? stored : QVariant();
}

QVariant textToStored(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value : QVariant();
}

// A coordinate a window can have: a hand-edited 1e308 must not overflow the conversion to int.
bool isCoordinate(const QVariant &value)
{
    constexpr double limit = std::numeric_limits<int>::max() / 2;
    return isNumber(value) && std::abs(value.toDouble()) <= limit;
}

QVariant rectFromStored(const QVariant &stored)
{
    if (stored.typeId() != QMetaType::QVariantList)
        return {};
    const QVariantList numbers = stored.toList();
    if (numbers.size() != 4 || !std::all_of(numbers.cbegin(), numbers.cend(), isCoordinate))
        return {};
    const QRect rect(qRound(numbers[0].toDouble()), qRound(numbers[1].toDouble()),
                     qRound(numbers[2].toDouble()), qRound(numbers[3].toDouble()));
    return rect.width() > 0 && rect.height() > 0 ? QVariant(rect) : QVariant();
}

QVariant rectToStored(const QVariant &value)
{
    const QRect rect = value.toRect();
    if (value.typeId() != QMetaType::QRect || !rect.isValid())
        return {};
    return QVariantList{rect.x(), rect.y(), rect.width(), rect.height()};
}

} // namespace

PreferenceRow PreferenceRow::text(const char *field)
{
    return {field, QString(), textFromStored, textToStored};
}

PreferenceRow PreferenceRow::rect(const char *field)
{
    return {field, QRect(), rectFromStored, rectToStored};
}

PreferenceRow PreferenceRow::flag(const char *field, bool defaultValue)
{
    return {field, defaultValue, strictBool, boolToStored};
}

PreferenceRow PreferenceRow::lenientFlag(const char *field, bool defaultValue)
{
    return {field, defaultValue, lenientBool, boolToStored};
}

PreferenceRow PreferenceRow::color(const char *field, const QColor &defaultValue)
{
    return {field, defaultValue, colorFromStored, colorToStored};
}
