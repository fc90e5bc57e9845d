#pragma once

#include "foundation/shared_bytes.h"

#include <optional>
#include <string>

namespace larkspool {

/// What some systems offer to find a file again after it was moved or renamed: bytes that stand for the file and not for its path.
class Bookmarks {
public:
    /// Where a file is now.
    struct Resolved {
        std::string path;
        bool isStale = false; ///< The bookmark still serves, but should be made anew.
    };

    virtual ~Bookmarks() = default;

    /// A bookmark of the file at the path; nothing if there is none to be had.
    virtual std::optional<Bytes> make(const std::string& path) const = 0;

    /// Where the file is that the bookmark stands for. Nothing if that cannot be told.
    virtual std::optional<Resolved> resolve(const Bytes& bookmark) const = 0;
};

/// A system without bookmarks: none is made, and none that another system made means anything.
class NoBookmarks final : public Bookmarks {
public:
    std::optional<Bytes> make(const std::string&) const override { return std::nullopt; }
    std::optional<Resolved> resolve(const Bytes&) const override { return std::nullopt; }
};

/// Those of this system, which has none: files are found by their paths alone.
inline const Bookmarks& systemBookmarks()
{
    static const NoBookmarks none;
    return none;
}

} // namespace larkspool
