#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// The number that a person has typed, "2.5" or " -3e2 ". Nothing for any other text, and for what is not a finite number.
std::optional<double> parsedNumber(std::string_view text);

/// How a number stands in a text field: in thousandths, and no longer than needed. `value` must be finite.
std::string typedNumber(double value);

} // namespace larkspool
