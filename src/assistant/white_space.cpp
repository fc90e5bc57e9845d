#include "assistant/white_space.h"

namespace larkspool {

namespace {

constexpr std::string_view wideSpaces[] = {
    "\u0085", "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006",
    "\u2007", "\u2008", "\u2009", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000",
};

bool isNarrowSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::size_t trailingWhiteSpaceCharacter(std::string_view text)
{
    if (text.empty()) return 0;
    if (isNarrowSpace(text.back())) return 1;
    for (const std::string_view space : wideSpaces)
        if (text.ends_with(space)) return space.size();
    return 0;
}

} // namespace

std::size_t leadingWhiteSpaceCharacter(std::string_view text)
{
    if (text.empty()) return 0;
    if (isNarrowSpace(text.front())) return 1;
    for (const std::string_view space : wideSpaces)
        if (text.starts_with(space)) return space.size();
    return 0;
}

std::string_view withoutTrailingWhiteSpace(std::string_view text)
{
    while (const std::size_t space = trailingWhiteSpaceCharacter(text)) text.remove_suffix(space);
    return text;
}

std::string_view withoutOuterBlanks(std::string_view text)
{
    constexpr std::string_view blanks = " \t";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace larkspool
