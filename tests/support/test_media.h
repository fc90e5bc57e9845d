#pragma once

#include "platform/image.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// A folder that goes with everything in it at the end of the scope.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(std::string_view name) const { return folder_ + "/" + std::string(name); }

    /// The names of what lies in it, sorted.
    std::vector<std::string> names() const;

private:
    std::string folder_;
};

/// Runs `ffmpeg` with these arguments, written as for a shell, and the file at `path` as its output. Throws std::runtime_error
/// with what it said if it fails.
void makeMedia(const std::string& path, const std::string& arguments);

/// A lavfi source whose picture tells its number: flat grey with Y = 16 + 4 * (number modulo 50).
std::string countingSource(int frames, int framesPerSecond = 30, std::string_view size = "64x48");

/// The number, modulo 50, that a picture of `countingSource` tells; -1 for no picture.
int toldNumber(const ImageRef& image);

std::vector<std::uint8_t> fileBytes(const std::string& path);
void writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes);
void writeFile(const std::string& path, std::string_view text);

} // namespace larkspool
