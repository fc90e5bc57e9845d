#pragma once

#include <string>
#include <string_view>

namespace larkspool {

/// The path of a file that a document names by a `file:` URL or by a plain path.
///
/// A URL loses its scheme (in any case), a host, a query and a fragment, and its escapes (%20) become the bytes that they stand
/// for; an escape that is none stays as it is written. A URL that names a zero byte has no path: the result is empty. Anything
/// that does not begin with `file:` is a path already and comes back untouched, percent signs included.
std::string pathFromURLOrPath(std::string_view text);

/// The `file:` URL of an absolute path, with every byte escaped that a URL cannot hold. `pathFromURLOrPath` gives the path back.
std::string fileURLFromPath(std::string_view path);

} // namespace larkspool
