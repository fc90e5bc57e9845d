#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace larkspool {

/// A raster of `width` x `height` pixels in memory: premultiplied BGRA, 8 bits a channel, sRGB, the top row first. Rows are
/// `bytesPerRow` bytes apart, which is a multiple of 64, and the first begins on a multiple of 64.
class PixelBuffer {
public:
    /// The largest side that is allocated and can be drawn into.
    static constexpr std::int64_t maximumSide = 32767;

    /// The most pixels that are allocated, which take 1 GiB.
    static constexpr std::int64_t maximumArea = std::int64_t{1} << 28;

    /// Whether there is a raster of this size: both sides lie in 1...maximumSide, and it has no more than maximumArea pixels.
    static constexpr bool isPossible(std::int64_t width, std::int64_t height)
    {
        return width >= 1 && height >= 1 && width <= maximumSide && height <= maximumSide && width * height <= maximumArea;
    }

    /// Clear pixels. Throws std::invalid_argument, naming the size, unless it is possible; throws std::bad_alloc where memory
    /// does not suffice.
    PixelBuffer(std::int64_t width, std::int64_t height);

    int width() const { return width_; }
    int height() const { return height_; }
    std::size_t bytesPerRow() const { return bytesPerRow_; }
    std::uint8_t* data() { return pixels_.get(); }
    const std::uint8_t* data() const { return pixels_.get(); }
    std::uint8_t* row(int y) { return data() + static_cast<std::size_t>(y) * bytesPerRow_; }
    const std::uint8_t* row(int y) const { return data() + static_cast<std::size_t>(y) * bytesPerRow_; }

private:
    struct Free {
        void operator()(std::uint8_t* memory) const;
    };

    int width_ = 0;
    int height_ = 0;
    std::size_t bytesPerRow_ = 0;
    std::unique_ptr<std::uint8_t[], Free> pixels_;
};

} // namespace larkspool
