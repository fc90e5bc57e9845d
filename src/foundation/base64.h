#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace larkspool {

/// The bytes that a Base64 text stands for (the alphabet with "+" and "/"), or nothing if the text is not exactly what an
/// encoder writes: no white space, padded with "=" to a multiple of four, and no stray bits before the padding.
std::optional<std::vector<std::uint8_t>> base64Decoded(std::string_view text);

/// Appends the padded Base64 text of `bytes`.
void appendBase64(std::vector<std::uint8_t>& text, std::span<const std::uint8_t> bytes);

/// How many characters the padded Base64 text of that many bytes has.
constexpr std::size_t base64Length(std::size_t byteCount)
{
    return (byteCount + 2) / 3 * 4;
}

} // namespace larkspool
