#pragma once

#include <cstddef>
#include <string_view>

namespace larkspool {

/// How many bytes the white space at the front of a UTF-8 text takes; 0 if there is none.
std::size_t leadingWhiteSpaceCharacter(std::string_view text);

/// The text without the white space at its end; a view into it.
std::string_view withoutTrailingWhiteSpace(std::string_view text);

/// The text without blanks and tabs at its ends, whose line feeds stay; a view into it.
std::string_view withoutOuterBlanks(std::string_view text);

} // namespace larkspool
