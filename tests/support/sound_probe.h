#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace larkspool {

/// Stereo sound of 48,000 frames a second.
struct DecodedSound {
    std::vector<float> left, right;

    std::size_t frames() const { return left.size(); }
};

/// The sound of a file's first sound track as the `ffmpeg` command decodes it; nothing if it has none.
DecodedSound decodedSound(const std::string& path);

/// Arguments of `ffmpeg` for a quiet tone with a click at `clickSeconds`, on every channel of `layout`.
std::string clickInput(int rate, double seconds, double clickSeconds, const std::string& layout = "mono");

/// The frame of the greatest amplitude from frame `from` on, before frame `to`.
std::size_t loudestFrame(const std::vector<float>& side, std::size_t from = 0, std::size_t to = static_cast<std::size_t>(-1));

/// The root of the mean square between two times in seconds; 0 where there is no sound.
double level(const std::vector<float>& side, double from, double to);

} // namespace larkspool
