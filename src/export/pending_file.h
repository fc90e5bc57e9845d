#pragma once

#include <filesystem>
#include <string>

namespace larkspool {

/// A file that is written beside its place, under a name of its own. Removed at the end of its life unless it took its name.
/// Where the place is a symbolic link to a file, that file is replaced and the link stays.
class PendingFile {
public:
    /// Throws writeFailed for a destination where no file can stand, such as a folder or a name in a folder that is not there,
    /// rather than after all the work.
    explicit PendingFile(std::filesystem::path destination);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    std::string path() const { return pending_.string(); }

    /// Puts the file in its place, over what is there. Throws writeFailed.
    void takeName();

private:
    std::filesystem::path destination_;
    std::filesystem::path pending_;
};

} // namespace larkspool
