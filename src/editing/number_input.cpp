#include "editing/number_input.h"

#include "foundation/text.h"
#include "foundation/trim.h"

#include <charconv>
#include <cmath>

namespace larkspool {

std::optional<double> parsedNumber(std::string_view text)
{
    text = trimmed(text);
    // A person may write a plus; the reader knows none.
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    double value = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || rest != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::string typedNumber(double value)
{
    constexpr double thousandths = 1000;
    // Beyond this, thousandths are finer than the number itself.
    constexpr double finest = 1e12;
    if (std::abs(value) < finest) value = std::round(value * thousandths) / thousandths;
    return shortestNumber(value == 0 ? 0 : value);
}

} // namespace larkspool
