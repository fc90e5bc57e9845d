#pragma once

#include "foundation/geometry.h"
#include "platform/raster/pixel_rect.h"

#include <cstdint>

namespace larkspool {

/// Premultiplied BGRA pixels to be laid somewhere.
struct PictureSource {
    const std::uint8_t* pixels = nullptr;
    std::size_t bytesPerRow = 0;
    int width = 0, height = 0;
    bool isOpaque = false;
};

/// How much of each pixel of an area a paint may cover, 0...255, in rows `area.width()` apart.
struct CoverageMask {
    PixelRect area;
    const std::uint8_t* levels = nullptr;

    const std::uint8_t* at(int x, int y) const
    {
        return levels + static_cast<std::ptrdiff_t>(y - area.top) * area.width() + (x - area.left);
    }
};

/// Composites a picture over the pixels of `target` within `clip`. Between its pixels it is smooth; beyond its edge, its
/// outermost pixels go on. Whatever lies where it should not must be masked.
///
/// `toDevice` maps pixels of the picture to device space and must be invertible. The picture is taken `level` 255ths, and as much
/// as `mask` tells, if there is one; it must hold the clip. What a pixel gets does not depend on the clip.
void paintPicture(const RasterTarget& target, const PixelRect& clip, const PictureSource& picture,
                  const AffineTransform& toDevice, std::uint32_t level, const CoverageMask* mask);

} // namespace larkspool
