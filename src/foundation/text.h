#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace larkspool {

/// How many bytes the well-formed UTF-8 character at the front of `text`, which is not empty, has; 0 if there is none.
std::size_t wellFormedLength(std::string_view text);

/// The text with U+FFFD in the place of each byte that is no part of a well-formed character.
std::string wellFormed(std::string_view text);

/// How many characters a person sees in UTF-8 text (extended grapheme clusters). Each malformed byte counts as one, and so does
/// a sequence that is only cut short.
std::size_t characterCount(std::string_view text);

/// The first `count` characters a person sees, or the whole text if it has no more.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// The shortest decimal form that reads back as exactly `value`: "24", "0.1", "1e+300". `value` must be finite.
std::string shortestNumber(double value);

/// The text in double quotes, on one line: quotes, backslashes and control characters come behind a backslash. This is how a
/// string stands in the printed form of an error value.
std::string inDoubleQuotes(std::string_view text);

} // namespace larkspool
