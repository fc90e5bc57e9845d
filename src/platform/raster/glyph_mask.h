#pragma once

#include "platform/raster/pixel_rect.h"
#include "platform/text/glyph_face.h"

#include <cstdint>
#include <vector>

namespace larkspool {

/// The coverage of pixels by a shape, each by the exact part of its square.
struct GlyphMask {
    PixelRect area; ///< Relative to the pixel that it is painted at.
    std::vector<std::uint8_t> coverage; ///< Row by row, `area.width()` apart.
};

/// Shapes with a larger em, in device pixels, are too large for a mask.
inline constexpr double greatestMaskEm = 256;

/// The mask of an outline under a transform from its ems to device pixels; empty where it would be larger than any glyph is.
GlyphMask rasterised(const Path& outline, const AffineTransform& toDevice);

/// Positions of glyphs are rounded to this part of a pixel in both directions.
inline constexpr int glyphPhases = 8;

/// A glyph whose em is `width` by `height` device pixels, its origin `phaseX` and `phaseY` eighths right of and below the corner
/// of a pixel. The mask depends on these alone; it is kept by the calling thread for a while and holds until the next call.
const GlyphMask& glyphMask(const GlyphFace& face, std::uint32_t glyph, CGSize em, int phaseX, int phaseY);

} // namespace larkspool
