#pragma once

#include "platform/platform_error.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

namespace larkspool {

/// Why a file could not be read or written. The words are the system's own.
class FileError : public PlatformFailure {
public:
    /// `code` is an errno.
    FileError(std::string path, int code);

    const std::string& path() const noexcept { return path_; }
    int code() const noexcept { return static_cast<int>(error().code); } ///< The errno.

private:
    std::string path_;
};

/// All bytes of a regular file. Throws FileError; anything else than a regular file is refused without waiting for it, and one of
/// more than `greatestSize` bytes (EFBIG) before any memory is taken for it.
std::vector<std::uint8_t> readWholeFile(const std::string& path,
                                        std::size_t greatestSize = std::numeric_limits<std::size_t>::max());

/// The first bytes of a regular file, `count` of them or all that it has. Otherwise the same.
std::vector<std::uint8_t> readFileHead(const std::string& path, std::size_t count);

/// Makes `contents` the whole file at `path`, or throws FileError and leaves what was there.
///
/// The bytes go to a new file in the same folder, reach the disk and then take the name in one step, so that no moment and no
/// failure shows half a file. A file that is replaced hands down its permissions, and a symbolic link stays a link to the
/// file. Only a regular file is replaced.
void replaceFileAtomically(const std::string& path, std::span<const std::uint8_t> contents);

/// Makes a folder that is for this user alone, and the folders above it, unless it is there. An empty path stands for no folder.
/// Throws FileError.
void makePrivateFolder(const std::string& path);

} // namespace larkspool
