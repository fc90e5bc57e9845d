#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace larkspool {

/// How many characters a person sees in UTF-8 text (extended grapheme clusters). A malformed byte counts as one.
std::size_t characterCount(std::string_view text);

/// The first `count` characters a person sees, or the whole text if it has no more.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// The shortest decimal form that reads back as exactly `value`: "24", "0.1", "1e+300". `value` must be finite.
std::string shortestNumber(double value);

} // namespace larkspool
