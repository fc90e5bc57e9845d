#pragma once

#include "document/tween_scene.h"
#include "rendering/frame_composition.h"

#include <memory>

namespace larkspool {

struct Pixel {
    int r, g, b, a;

    bool operator==(const Pixel&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Pixel& p)
    {
        return out << '(' << p.r << ", " << p.g << ", " << p.b << ", " << p.a << ')';
    }
};

inline Pixel pixelAt(const PixelBuffer& picture, int x, int y)
{
    const std::uint8_t* p = picture.row(y) + 4 * x;
    return {p[2], p[1], p[0], p[3]};
}

/// A frame of the scene at its own size, or at `size`.
inline PixelBuffer drawnFrame(const TweenScene& scene, double time = 0, std::optional<CGSize> size = {})
{
    const CGSize view = size.value_or(scene.size());
    PixelBuffer picture(static_cast<std::int64_t>(view.width), static_cast<std::int64_t>(view.height));
    Exporter::drawScene(scene, time, *makeRasterContext(picture), view);
    return picture;
}

inline TweenScene sceneWith(CGSize size, Array<Layer> layers, ColorRGBA background = ColorRGBA::white)
{
    return {.width = size.width, .height = size.height, .background = background, .layers = std::move(layers)};
}

inline constexpr ColorRGBA red{1, 0, 0, 1}, green{0, 1, 0, 1}, blue{0, 0, 1, 1};
inline constexpr Pixel redPixel{255, 0, 0, 255}, greenPixel{0, 255, 0, 255}, bluePixel{0, 0, 255, 255},
    whitePixel{255, 255, 255, 255}, blackPixel{0, 0, 0, 255};

} // namespace larkspool
