#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace larkspool {

/// What is told of one case of an enumeration: its value in a file, and the words and symbol a person sees, where it has some.
template <typename E>
struct EnumCase {
    E value;
    std::string_view fileValue;
    std::string_view label = {};
    std::string_view symbol = {};
};

/// The cases of an enumeration in their declared order: `static constexpr EnumCase<E> cases[]`, one for each value from 0 up.
template <typename E>
struct EnumTable;

template <typename E>
constexpr const EnumCase<E>& enumCase(E value)
{
    return EnumTable<E>::cases[static_cast<std::size_t>(value)];
}

/// The case's name in a document file.
template <typename E>
constexpr std::string_view fileValue(E value)
{
    return enumCase(value).fileValue;
}

/// The case's name for a person.
template <typename E>
constexpr std::string_view label(E value)
{
    return enumCase(value).label;
}

/// The name of the case's symbol.
template <typename E>
constexpr std::string_view systemImage(E value)
{
    return enumCase(value).symbol;
}

/// The case with that file value, or nothing.
template <typename E>
constexpr std::optional<E> fromFileValue(std::string_view name)
{
    for (const EnumCase<E>& candidate : EnumTable<E>::cases)
        if (candidate.fileValue == name) return candidate.value;
    return std::nullopt;
}

} // namespace larkspool
