#pragma once

#include "Core/EnumNames.h"

#include <QColor>
#include <QString>
#include <QVariant>

// One persisted field: its name (the key is "Halcy.<field>"), its default, and the rule a stored JSON
// value must pass. A stored value that breaks the rule reads as the default. In memory a value is a
// QVariant holding the field's C++ type; on disk it is plain JSON.
struct PreferenceRow
{
    const char *field;
    QVariant defaultValue;
    // The field's value for a stored JSON value; invalid when the rule refuses it.
    QVariant (*fromStored)(const QVariant &stored);
    // The JSON form of a value; invalid for a value that has none (an enum out of range).
    QVariant (*toStored)(const QVariant &value);

    QString key() const { return QStringLiteral("Halcy.") + QLatin1String(field); }

    // Only a stored Boolean counts.
    static PreferenceRow flag(const char *field, bool defaultValue);
    // The lenient reading: numbers and "true"/"yes" strings count, anything else is false.
    static PreferenceRow lenientFlag(const char *field, bool defaultValue);
    // Exactly four numbers, red, green, blue and alpha in sRGB, each clamped to 0…1.
    static PreferenceRow color(const char *field, const QColor &defaultValue);
    // Any string; the empty string is "none".
    static PreferenceRow text(const char *field);
    // A rectangle as four numbers, x, y, width and height, with a positive size.
    static PreferenceRow rect(const char *field);
    // The exact case name of one of E's cases.
    template <typename E> static PreferenceRow choice(const char *field, E defaultValue);
};

template <typename E> PreferenceRow PreferenceRow::choice(const char *field, E defaultValue)
{
    const auto fromStored = [](const QVariant &stored) -> QVariant {
        if (stored.typeId() != QMetaType::QString)
            return {};
        const std::optional<E> value = enumFromName<E>(stored.toString());
        return value ? QVariant::fromValue(*value) : QVariant();
    };
    const auto toStored = [](const QVariant &value) -> QVariant {
        if (value.metaType() != QMetaType::fromType<E>())
            return {};
        const QString name = enumName(value.value<E>());
        return name.isEmpty() ? QVariant() : QVariant(name);
    };
    return {field, QVariant::fromValue(defaultValue), fromStored, toStored};
}
