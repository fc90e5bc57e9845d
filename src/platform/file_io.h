#pragma once

#include "platform/platform_error.h"

#include <cstdint>
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

/// All bytes of a regular file. Throws FileError; anything else than a regular file is refused without waiting for it.
std::vector<std::uint8_t> readWholeFile(const std::string& path);

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
