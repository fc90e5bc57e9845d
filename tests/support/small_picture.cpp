#include "support/small_picture.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>

namespace larkspool {

std::ostream& operator<<(std::ostream& stream, const StoredPixel& pixel)
{
    return stream << "rgba(" << pixel.r << ", " << pixel.g << ", " << pixel.b << ", " << pixel.a << ')';
}

PixelBuffer drawn(int width, int height, const std::function<void(RasterContext&)>& draw)
{
    PixelBuffer pixels(width, height);
    draw(*makeRasterContext(pixels));
    return pixels;
}

StoredPixel storedPixelAt(const PixelBuffer& pixels, int x, int y)
{
    const std::uint8_t* pixel = pixels.row(y) + static_cast<std::ptrdiff_t>(x) * 4;
    return {.r = pixel[2], .g = pixel[1], .b = pixel[0], .a = pixel[3]};
}

std::string alphaPicture(const PixelBuffer& pixels)
{
    std::string picture;
    for (int y = 0; y < pixels.height(); ++y) {
        for (int x = 0; x < pixels.width(); ++x) {
            const int alpha = storedPixelAt(pixels, x, y).a;
            if (alpha == 0)
                picture += '.';
            else if (alpha == 255)
                picture += '#';
            else
                picture += static_cast<char>('0' + std::clamp((alpha * 10 + 127) / 255, 1, 9));
        }
        picture += '\n';
    }
    return picture;
}

int greatestDifference(const PixelBuffer& a, const PixelBuffer& b)
{
    int greatest = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int i = 0; i < a.width() * 4; ++i) greatest = std::max(greatest, std::abs(int{a.row(y)[i]} - int{b.row(y)[i]}));
    return greatest;
}

std::uint64_t pixelHash(const PixelBuffer& pixels)
{
    std::uint64_t hash = 0xcbf29ce484222325;
    for (int y = 0; y < pixels.height(); ++y)
        for (int i = 0; i < pixels.width() * 4; ++i) hash = (hash ^ pixels.row(y)[i]) * 0x100000001b3;
    return hash;
}

} // namespace larkspool
