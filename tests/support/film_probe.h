#pragma once

#include "platform/pixel_buffer.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace larkspool {

/// What a film file says of itself, and what decoding it found.
struct FilmReport {
    std::string container;   ///< All names of the demuxer, such as "mov,mp4,m4a,3gp,3g2,mj2".
    std::string codec;       ///< Such as "h264".
    std::string pixelFormat; ///< Such as "yuv420p".
    int width = 0;
    int height = 0;
    int rateNumerator = 0; ///< Frames a second, the rate that all presentation times fit.
    int rateDenominator = 0;
    std::int64_t declaredFrames = 0;
    double seconds = 0;     ///< The length of the picture track.
    double fileSeconds = 0; ///< The length of the file.
    std::string colorRange, colorSpace, colorPrimaries, colorTransfer, chromaLocation;
    bool hasAudio = false;
    bool indexAtFront = false;             ///< The `moov` box stands before `mdat`.
    std::vector<double> presentationTimes; ///< Seconds, of every decoded frame, as shown.
    std::vector<double> decodingTimes;     ///< Seconds, of every coded picture, as stored.

    std::int64_t frames() const { return static_cast<std::int64_t>(presentationTimes.size()); }
};

/// Reads and decodes the whole film. Throws std::runtime_error with words for a file that is none.
FilmReport probeFilm(const std::string& path);

/// Calls `visit` with every frame in the order shown, as opaque BGRA by the film's own colour matrix and range. One picture is
/// in memory at a time; it holds during the call alone.
void forEachFrame(const std::string& path, const std::function<void(std::int64_t index, const PixelBuffer& picture)>& visit);

/// All frames of a short film, or its first `limit`.
std::vector<PixelBuffer> decodedFrames(const std::string& path, std::int64_t limit = 1000);

/// The mean distance per colour channel between two pictures of one size, in steps of 255; alpha does not count.
double meanChannelError(const PixelBuffer& first, const PixelBuffer& second);

} // namespace larkspool
