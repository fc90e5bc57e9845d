#include "foundation/text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>
#include <unicode/ubrk.h>
#include <unicode/utext.h>

namespace larkspool {

namespace {

bool isPlainAscii(std::string_view text)
{
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\r') return false;
    return true;
}

struct CloseBreaks {
    void operator()(UBreakIterator* breaks) const { ubrk_close(breaks); }
};

/// One iterator per thread: opening one reads the break rules, which costs far more than walking a text.
UBreakIterator* characterBreaks()
{
    thread_local const std::unique_ptr<UBreakIterator, CloseBreaks> breaks = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<UBreakIterator, CloseBreaks> opened(ubrk_open(UBRK_CHARACTER, "en", nullptr, 0, &status));
        if (U_FAILURE(status)) throw std::runtime_error("The rules that tell characters apart cannot be read.");
        return opened;
    }();
    return breaks.get();
}

/// Walks up to `limit` characters and returns how many there were and the byte offset after the last.
struct Walk {
    std::size_t characters = 0;
    std::size_t bytes = 0;
};

Walk walkCharacters(std::string_view text, std::size_t limit)
{
    if (isPlainAscii(text)) {
        const std::size_t count = std::min(text.size(), limit);
        return {count, count};
    }

    // The positions of ICU have 32 bits. What lies behind, in a text of gigabytes, counts byte by byte.
    constexpr std::size_t farthest = std::numeric_limits<std::int32_t>::max();
    const std::string_view reached = text.substr(0, farthest);

    UBreakIterator* breaks = characterBreaks();
    UErrorCode status = U_ZERO_ERROR;
    UText utf8 = UTEXT_INITIALIZER;
    utext_openUTF8(&utf8, reached.data(), static_cast<std::int64_t>(reached.size()), &status);
    ubrk_setUText(breaks, &utf8, &status);

    Walk walk;
    while (walk.characters < limit) {
        const std::int32_t next = ubrk_next(breaks);
        if (next == UBRK_DONE) break;
        ++walk.characters;
        walk.bytes = static_cast<std::size_t>(next);
    }
    utext_close(&utf8);
    const std::size_t single = std::min(limit - walk.characters, text.size() - reached.size());
    return {walk.characters + single, walk.bytes + single};
}

} // namespace

std::size_t wellFormedLength(std::string_view text)
{
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 0;

    const bool isOverlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
    const bool isSurrogate = lead == 0xED && byte(1) >= 0xA0;
    const bool isBeyondLast = lead == 0xF4 && byte(1) >= 0x90;
    return isOverlong || isSurrogate || isBeyondLast ? 0 : length;
}

std::string wellFormed(std::string_view text)
{
    std::string kept;
    while (!text.empty()) {
        const std::size_t length = wellFormedLength(text);
        kept += length > 0 ? text.substr(0, length) : std::string_view("\uFFFD");
        text.remove_prefix(length > 0 ? length : 1);
    }
    return kept;
}

std::size_t characterCount(std::string_view text)
{
    return walkCharacters(text, text.size()).characters;
}

std::string_view firstCharacters(std::string_view text, std::size_t count)
{
    return text.substr(0, walkCharacters(text, count).bytes);
}

std::string shortestNumber(double value)
{
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string inDoubleQuotes(std::string_view text)
{
    std::string quoted = "\"";
    for (const char character : text) {
        switch (character) {
        case '"': quoted += "\\\""; break;
        case '\\': quoted += "\\\\"; break;
        case '\n': quoted += "\\n"; break;
        case '\r': quoted += "\\r"; break;
        case '\t': quoted += "\\t"; break;
        default:
            if (const auto code = static_cast<unsigned char>(character); code < 0x20 || code == 0x7F)
                quoted += fmt::format("\\u{{{:x}}}", code);
            else
                quoted += character;
        }
    }
    return quoted + "\"";
}

} // namespace larkspool
