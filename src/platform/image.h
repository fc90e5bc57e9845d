#pragma once

#include "foundation/geometry.h"
#include "platform/pixel_buffer.h"

#include <memory>
#include <utility>

namespace larkspool {

/// A finished picture that never changes: premultiplied BGRA, sRGB, the top row first. Shared by all who draw it, on any
/// thread.
class Image {
public:
    enum class Alpha { opaque, translucent };

    Image(PixelBuffer pixels, Alpha alpha) : pixels_(std::move(pixels)), alpha_(alpha) {}

    int width() const { return pixels_.width(); }
    int height() const { return pixels_.height(); }
    CGSize size() const { return {static_cast<double>(width()), static_cast<double>(height())}; }
    const PixelBuffer& pixels() const { return pixels_; }
    bool isOpaque() const { return alpha_ == Alpha::opaque; }
    /// The pixels, given away by whoever holds the picture alone and has no more use for it.
    PixelBuffer takePixels() && { return std::move(pixels_); }
    std::size_t byteSize() const { return pixels_.bytesPerRow() * static_cast<std::size_t>(height()); }

private:
    PixelBuffer pixels_;
    Alpha alpha_;
};

using ImageRef = std::shared_ptr<const Image>;

/// A picture wrapped for sharing, opaque if every pixel is.
ImageRef makeImage(PixelBuffer pixels);

} // namespace larkspool
