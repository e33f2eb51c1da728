#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <optional>

// Enumerations persist and travel as their case names. Each enumeration specialises EnumTraits with
// its names in declaration order; the helpers below are the only place that maps between the two.
template <typename E> struct EnumTraits;

template <typename E> QString enumName(E value)
{
    const auto &names = EnumTraits<E>::names;
    const auto index = static_cast<std::size_t>(value);
    return index < names.size() ? QString::fromLatin1(names[index]) : QString();
}

template <typename E> std::optional<E> enumFromName(const QString &raw)
{
    const auto &names = EnumTraits<E>::names;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (raw == QLatin1String(names[i]))
            return static_cast<E>(i);
    }
    return std::nullopt;
}

template <typename E> constexpr std::size_t enumCaseCount()
{
    return EnumTraits<E>::names.size();
}
