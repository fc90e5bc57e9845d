#include "foundation/uuid.h"

namespace larkspool {

namespace {

constexpr std::size_t canonicalLength = 36;

constexpr bool isHyphenPlace(std::size_t index)
{
    return index == 8 || index == 13 || index == 18 || index == 23;
}

int digitValue(char digit)
{
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

} // namespace

UUID UUID::random(RandomSource& source)
{
    constexpr std::uint64_t version = 0x4000, variant = 0x8000000000000000u;
    return {(source.next() & ~std::uint64_t{0xF000}) | version, (source.next() & 0x3FFFFFFFFFFFFFFFu) | variant};
}

std::optional<UUID> UUID::parse(std::string_view text)
{
    if (text.size() != canonicalLength) return std::nullopt;

    std::array<std::uint64_t, 2> halves{};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isHyphenPlace(i)) {
            if (text[i] != '-') return std::nullopt;
            continue;
        }
        const int value = digitValue(text[i]);
        if (value < 0) return std::nullopt;
        std::uint64_t& half = halves[digits++ / 16];
        half = half << 4 | static_cast<std::uint64_t>(value);
    }
    return UUID{halves[0], halves[1]};
}

std::string UUID::string() const
{
    constexpr char digitOf[] = "0123456789ABCDEF";
    std::string text(canonicalLength, '-');
    std::size_t digits = 0;
    for (std::size_t i = 0; i < canonicalLength; ++i) {
        if (isHyphenPlace(i)) continue;
        const std::uint64_t half = digits < 16 ? high : low;
        text[i] = digitOf[half >> (60 - 4 * (digits % 16)) & 0xF];
        ++digits;
    }
    return text;
}

} // namespace larkspool
