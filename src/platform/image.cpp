#include "platform/image.h"

#include <algorithm>

namespace larkspool {

ImageRef makeImage(PixelBuffer pixels)
{
    bool opaque = true;
    for (int y = 0; y < pixels.height() && opaque; ++y) {
        std::uint8_t least = 255;
        for (int x = 0; x < pixels.width(); ++x) least = std::min(least, pixels.row(y)[4 * x + 3]);
        opaque = least == 255;
    }
    return std::make_shared<const Image>(std::move(pixels), opaque ? Image::Alpha::opaque : Image::Alpha::translucent);
}

} // namespace larkspool
