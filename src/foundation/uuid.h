#pragma once

#include "foundation/random_source.h"

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// A 128-bit identifier. The default value is all zero and names nothing.
struct UUID {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    /// A fresh random identifier (version 4).
    static UUID random(RandomSource& source = systemRandom());

    /// Reads 8-4-4-4-12 hexadecimal digits in upper or lower case; anything else gives nothing.
    static std::optional<UUID> parse(std::string_view text);

    /// The canonical form: 36 characters, upper case, with hyphens.
    std::string string() const;

    auto operator<=>(const UUID&) const = default;
};

} // namespace larkspool

template <>
struct std::hash<larkspool::UUID> {
    std::size_t operator()(const larkspool::UUID& id) const noexcept { return id.high ^ (id.low * 0x9E3779B97F4A7C15u); }
};
