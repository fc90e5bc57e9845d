#include "foundation/base64.h"

#include <algorithm>
#include <array>
#include <string>

namespace larkspool {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Marks a character outside the alphabet: a bit that no value of 24 bits has.
constexpr std::uint32_t invalid = 1u << 31;

/// The value of a character in the first to fourth place of a group, already shifted to where it belongs.
constexpr std::array<std::array<std::uint32_t, 256>, 4> placeValues = [] {
    std::array<std::array<std::uint32_t, 256>, 4> values{};
    for (auto& place : values) place.fill(invalid);
    for (std::uint32_t value = 0; value < 64; ++value)
        for (std::uint32_t place = 0; place < 4; ++place)
            values[place][static_cast<unsigned char>(alphabet[value])] = value << (18 - 6 * place);
    return values;
}();

/// The two characters of each value of 12 bits: half as many steps as one character at a time.
constexpr std::array<std::array<std::uint8_t, 2>, 4096> characterPairs = [] {
    std::array<std::array<std::uint8_t, 2>, 4096> pairs{};
    for (std::size_t value = 0; value < pairs.size(); ++value)
        pairs[value] = {static_cast<std::uint8_t>(alphabet[value >> 6]), static_cast<std::uint8_t>(alphabet[value & 63])};
    return pairs;
}();

std::uint32_t group(const unsigned char* text)
{
    return placeValues[0][text[0]] | placeValues[1][text[1]] | placeValues[2][text[2]] | placeValues[3][text[3]];
}

std::size_t paddingLength(std::string_view text)
{
    if (text.ends_with("==")) return 2;
    return text.ends_with('=') ? 1 : 0;
}

// Both directions work through a block that stays in the nearest cache, so that the large buffer is written only once.
constexpr std::size_t blockGroups = 1024;

} // namespace

std::optional<std::vector<std::uint8_t>> base64Decoded(std::string_view text)
{
    if (text.size() % 4 != 0) return std::nullopt;
    std::vector<std::uint8_t> bytes;
    if (text.empty()) return bytes;

    const std::size_t padding = paddingLength(text);
    const std::size_t wholeGroups = text.size() / 4 - (padding > 0 ? 1 : 0);
    bytes.reserve(text.size() / 4 * 3 - padding);

    const auto* next = reinterpret_cast<const unsigned char*>(text.data());
    std::array<std::uint8_t, blockGroups * 3> block;
    for (std::size_t done = 0; done < wholeGroups;) {
        const std::size_t count = std::min(blockGroups, wholeGroups - done);
        std::uint32_t seen = 0;
        for (std::size_t i = 0; i < count; ++i, next += 4) {
            const std::uint32_t value = group(next);
            seen |= value;
            block[3 * i] = static_cast<std::uint8_t>(value >> 16);
            block[3 * i + 1] = static_cast<std::uint8_t>(value >> 8);
            block[3 * i + 2] = static_cast<std::uint8_t>(value);
        }
        if (seen & invalid) return std::nullopt;
        bytes.insert(bytes.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(3 * count));
        done += count;
    }
    if (padding == 0) return bytes;

    const unsigned char last[4] = {next[0], next[1], padding == 2 ? static_cast<unsigned char>('A') : next[2], 'A'};
    const std::uint32_t value = group(last);
    const std::uint32_t strayBits = padding == 2 ? 0xFFFF : 0xFF;
    if (value & (invalid | strayBits)) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(value >> 16));
    if (padding == 1) bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    return bytes;
}

void appendBase64(std::vector<std::uint8_t>& text, std::span<const std::uint8_t> bytes)
{
    std::array<std::uint8_t, blockGroups * 4> block;
    while (bytes.size() >= 3) {
        const std::size_t count = std::min(blockGroups, bytes.size() / 3);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t value =
                std::uint32_t{bytes[3 * i]} << 16 | std::uint32_t{bytes[3 * i + 1]} << 8 | bytes[3 * i + 2];
            const auto& first = characterPairs[value >> 12];
            const auto& second = characterPairs[value & 0xFFF];
            block[4 * i] = first[0];
            block[4 * i + 1] = first[1];
            block[4 * i + 2] = second[0];
            block[4 * i + 3] = second[1];
        }
        text.insert(text.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(4 * count));
        bytes = bytes.subspan(3 * count);
    }
    if (bytes.empty()) return;

    const bool hasTwo = bytes.size() == 2;
    const std::uint32_t value = std::uint32_t{bytes[0]} << 16 | (hasTwo ? std::uint32_t{bytes[1]} << 8 : 0);
    const auto& first = characterPairs[value >> 12];
    const auto& second = characterPairs[value & 0xFFF];
    const std::uint8_t rest[4] = {first[0], first[1], hasTwo ? second[0] : std::uint8_t{'='}, '='};
    text.insert(text.end(), rest, rest + 4);
}

} // namespace larkspool
