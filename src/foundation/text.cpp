#include "foundation/text.h"

#include <charconv>
#include <memory>

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
        return std::unique_ptr<UBreakIterator, CloseBreaks>(ubrk_open(UBRK_CHARACTER, "en", nullptr, 0, &status));
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
        const std::size_t count = text.size() < limit ? text.size() : limit;
        return {count, count};
    }

    UBreakIterator* breaks = characterBreaks();
    UErrorCode status = U_ZERO_ERROR;
    UText utf8 = UTEXT_INITIALIZER;
    utext_openUTF8(&utf8, text.data(), static_cast<std::int64_t>(text.size()), &status);
    ubrk_setUText(breaks, &utf8, &status);

    Walk walk;
    while (walk.characters < limit) {
        const std::int32_t next = ubrk_next(breaks);
        if (next == UBRK_DONE) break;
        ++walk.characters;
        walk.bytes = static_cast<std::size_t>(next);
    }
    utext_close(&utf8);
    return walk;
}

} // namespace

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

} // namespace larkspool
