#include "platform/pixel_buffer.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#include <fmt/format.h>

namespace larkspool {

namespace {

constexpr std::size_t alignment = 64;

} // namespace

void PixelBuffer::Free::operator()(std::uint8_t* memory) const
{
    std::free(memory);
}

PixelBuffer::PixelBuffer(std::int64_t width, std::int64_t height)
{
    if (!isPossible(width, height))
        throw std::invalid_argument(fmt::format("a raster of {} x {} pixels cannot be made", width, height));
    width_ = static_cast<int>(width);
    height_ = static_cast<int>(height);
    bytesPerRow_ = (static_cast<std::size_t>(width) * 4 + alignment - 1) / alignment * alignment;
    const std::size_t bytes = bytesPerRow_ * static_cast<std::size_t>(height);
    pixels_.reset(static_cast<std::uint8_t*>(std::aligned_alloc(alignment, bytes)));
    if (!pixels_) throw std::bad_alloc();
    std::memset(pixels_.get(), 0, bytes);
}

} // namespace larkspool
