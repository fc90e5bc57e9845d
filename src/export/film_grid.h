#pragma once

#include <cstdint>

namespace larkspool {

/// How a film is cut into chunks, which are made apart from one another:
///
///     frames  0 .................. 149 | 150 ................. 299
///     chunks             0             |             1
///
/// It depends on the number of frames alone, so that the film is the same whoever makes which chunk.
class FilmGrid {
public:
    /// The most frames of a chunk. The encoder left to itself begins anew as often, so that the chunks cost a film no size.
    static constexpr std::int64_t longestChunk = 250;

    explicit FilmGrid(std::int64_t frames) : frames_(frames), chunks_((frames + longestChunk - 1) / longestChunk) {}

    std::int64_t frames() const { return frames_; }
    std::int64_t chunks() const { return chunks_; }

    /// The frame that a chunk begins with. Chunks are of one length, but for a frame. Behind the last there begins nothing at the
    /// number of all frames.
    std::int64_t firstFrame(std::int64_t chunk) const { return frames_ * chunk / chunks_; }

private:
    std::int64_t frames_;
    std::int64_t chunks_;
};

} // namespace larkspool
